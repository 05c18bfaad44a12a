#pragma once
// Square convolution for people's pictures, without images: (sum of weight * neighbour + delta) * factor, rounded and
// cut to 0 to 255. Pixels of the border stand in for those outside. Alpha stays, and a clear pixel as it is; a
// neighbour that is clear counts as the pixel itself, one that is half clear as what lies halfway between the two. Rows
// are fed and taken as those of a BlurStream.

#include <cstdint>
#include <vector>

#include "core/HeapArray.h"
#include "kernels/KernelTable.h"

namespace zor {

struct MatrixStreamRequest {
    int width;
    int height;
    int channels;              // 1 to 4, packed
    bool hasAlpha;             // the last one, of 2 or 4
    std::vector<int> weights;  // a square, row by row; the centre of an even one lies to the lower right of the middle
    int side;                  // of the square, 1 or more
    int delta = 0;
    double factor = 1;
    const KernelTable* kernels = &Kernels();
};

class MatrixStream {
public:
    [[nodiscard]] bool Start(const MatrixStreamRequest& request);
    [[nodiscard]] bool Feed(const std::uint8_t* row);
    [[nodiscard]] bool Take(std::uint8_t* row);

private:
    // A weight and where its neighbour lies, which is cut to what there can be beside a pixel.
    struct Cell {
        int row, column;
        int weight;
    };

    void ReadCells();
    bool WantsRow() const { return next_ < request_.height && fed_ < request_.height && fed_ <= next_ + below_; }
    std::ptrdiff_t samples() const { return std::ptrdiff_t{request_.width} * request_.channels; }
    std::uint8_t* RowAt(int y) const;  // column 0
    bool FindClearPixels();
    void Weigh(std::ptrdiff_t x, std::uint8_t* pixel) const;

    MatrixStreamRequest request_{};
    MatrixFinish finish_{};
    std::vector<Cell> cells_;
    std::vector<MatrixTap> taps_;
    int above_ = 0, below_ = 0, left_ = 0, right_ = 0;  // rows and columns beside the pixel that count
    bool started_ = false;
    int fed_ = 0, next_ = 0;
    HeapArray<std::uint8_t> rows_;       // with edge pixels repeated
    HeapArray<std::uint8_t> notOpaque_;  // by pixel, in any row that counts
};

}  // namespace zor
