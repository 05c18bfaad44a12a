#pragma once
// Box blur for people's pictures, without images: means of the pixels around each one, rounded once, with colours
// weighed by alpha. Rows are fed from the top, and rows of the result are taken as soon as they are whole.
//
//     BlurStream stream;
//     if (!stream.Start(request)) return false;
//     for (int y = 0; y < height; ++y) {
//         while (!stream.Take(row)) stream.Feed(NextRow());
//         Write(row);
//     }
//
// Pixels of the border stand in for those outside. The iterations run behind each other, each as soon as it has the
// rows that it needs; between them 255 steps make a level. So many rows as their windows cover together have to wait.

#include <cstdint>
#include <vector>

#include "filters/SlidingWindow.h"

namespace zor {

struct BlurStreamRequest {
    int width;
    int height;
    int channels;   // 1 to 4, packed
    bool hasAlpha;  // the last one, of 2 or 4
    int across;     // radii, 0 to WindowShape::kMaxRadius
    int down;
    int iterations = 1;        // 1 or more
    RowStore store = nullptr;  // of waitingRows() rows; without: memory
    const KernelTable* kernels = &Kernels();
    bool toWords = false;  // TakeWords is called instead of Take

    std::int64_t waitingRows() const;
    std::int64_t waitingRowBytes() const;
};

class BlurStream {
public:
    static constexpr int kWordsOfLevel = 255;

    // Ends what was going on before. False for sizes out of range and without memory; there is nothing to feed or to
    // take then.
    [[nodiscard]] bool Start(const BlurStreamRequest& request);

    // The next row. False if rows have to be taken first, and behind the last one.
    [[nodiscard]] bool Feed(const std::uint8_t* row);

    // The next row of the result, as many bytes as one of the source. False, with nothing written, if there is none yet
    // or none any more.
    [[nodiscard]] bool Take(std::uint8_t* row);

    // The same in kWordsOfLevel steps for a level, for those who round no sooner.
    [[nodiscard]] bool TakeWords(std::uint16_t* row);

private:
    struct Step {
        SlidingWindow window;
        WindowMean mean{};               // to words for the next step, and to bytes where nothing is weighed
        HeapArray<std::uint16_t> words;  // what it is fed
    };
    bool MakeRow(std::size_t step, std::uint8_t* row);
    void Finish(const Step& step, std::uint8_t* row) const;

    BlurStreamRequest request_{};
    std::vector<Step> steps_;
    HeapArray<std::uint8_t> memory_;
};

// Memory for rows that wait, for those who have no store of their own.
bool MakeRowStore(std::int64_t rows, std::int64_t rowBytes, HeapArray<std::uint8_t>* memory, RowStore* store);

}  // namespace zor
