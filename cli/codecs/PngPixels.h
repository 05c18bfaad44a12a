#pragma once
// The pixels of a PNG file as they stand in it: rows that are filtered and deflated. Bands of rows are deflated side by
// side and joined; the bytes are the same whatever the number of threads.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "Workers.h"

struct ImageShape;

class PngPixels {
public:
    // Gets the bytes, part by part, in their order. What it throws comes out of AddRow.
    using Take = std::function<void(const std::vector<std::uint8_t>& bytes)>;

    // `level` is 0 to 9: 0 leaves the bytes as they are.
    PngPixels(const ImageShape& shape, int level, Take take);

    // With the last one everything is taken. std::bad_alloc where memory does not suffice.
    void AddRow(const std::uint8_t* row);

private:
    // Of both the one that leaves less is taken.
    struct Ways {
        bool runs = false;
        bool repetitions = false;
    };
    struct Band {
        std::vector<std::uint8_t> bytes, before;
        bool last = false;
        int level = 0;
        Ways ways;
        std::size_t number = 0;  // of the work
        // What the work leaves.
        std::vector<std::uint8_t> deflated;
        unsigned long sum = 0;
        bool good = false;
    };

    static void Deflate(Band& band) noexcept;
    void FilterRows(std::size_t first, std::size_t end);
    [[nodiscard]] Ways ChooseWays();
    void CloseBand();
    void TakeFirst();

    std::size_t rowBytes_, step_, bandRows_, rowsLeft_;
    int level_;
    Take take_;
    std::vector<std::uint8_t> plain_, filtered_;  // rows of the next band, each behind the number of its filter
    std::vector<std::uint8_t> above_, trial_;     // the row in front of them; room for one
    std::vector<std::uint8_t> before_;            // what stands in front of them, which they may repeat
    std::deque<std::unique_ptr<Band>> bands_;     // that are not taken yet
    std::size_t mostBands_;
    unsigned long sum_;  // of all that was taken
    bool begun_ = false;
    Workers workers_;  // behind all that it works on, so that it ends before
};
