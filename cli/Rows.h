#pragma once
// Rows of pixels on their way out of a file, through effects, into a file: each once, from the top. Where all that is
// asked of a picture can be done so, no more of it is held than the rows in between.

#include <cstdint>
#include <memory>

#include "PixelKind.h"
#include "Raster.h"

class RowSource {
public:
    explicit RowSource(const ImageShape& shape) : shape_(shape) {}
    virtual ~RowSource() = default;
    RowSource(const RowSource&) = delete;
    RowSource& operator=(const RowSource&) = delete;

    [[nodiscard]] const ImageShape& Shape() const { return shape_; }

    // The next row: Width pixels of the kind's channels. Good until the next call; not to be asked for after the last.
    // A RunError where it cannot be had.
    [[nodiscard]] virtual const std::uint8_t* Next() = 0;

    // The image that the rows come out of, where all of them are there already: who needs the whole takes it, and
    // leaves the rows alone. Null: there is none.
    [[nodiscard]] virtual Raster* Whole() { return nullptr; }

    // Leaves out the next rows: what no one looks at need not be made.
    virtual void Skip(int count) {
        for (; count > 0; --count) static_cast<void>(Next());
    }

    // Before the first row: no others than these columns are looked at, and they may hold anything. What is told last
    // counts.
    virtual void NeedColumns(int first, int count) {
        static_cast<void>(first);
        static_cast<void>(count);
    }

private:
    ImageShape shape_;
};

// The rows of an image.
std::unique_ptr<RowSource> RowsOf(Raster image);

// The rows of a part, which must lie within: from column `x` and row `y` on.
std::unique_ptr<RowSource> PartOf(std::unique_ptr<RowSource> rows, int x, int y, int width, int height);

// Left and right exchanged.
std::unique_ptr<RowSource> MirroredRows(std::unique_ptr<RowSource> rows);

// All of the rows as an image; none may have been taken.
Raster Collect(RowSource& rows);
