#include "Rows.h"

#include <cstring>
#include <utility>
#include <vector>

#include "kernels/KernelTable.h"

namespace {

std::size_t RowBytes(const ImageShape& shape) {
    return static_cast<std::size_t>(shape.width) * static_cast<std::size_t>(Describe(shape.kind).channels);
}

class RowsOfImage : public RowSource {
public:
    explicit RowsOfImage(Raster image) : RowSource(image.Shape()), image_(std::move(image)) {}
    const std::uint8_t* Next() override { return image_.Row(next_++); }
    Raster* Whole() override { return &image_; }
    void Skip(int count) override { next_ += count; }

private:
    Raster image_;
    int next_ = 0;
};

class RowsOfPart : public RowSource {
public:
    RowsOfPart(std::unique_ptr<RowSource> rows, int x, int y, int width, int height)
        : RowSource({width, height, rows->Shape().kind}), rows_(std::move(rows)), x_(x), unread_(y) {
        rows_->NeedColumns(x, width);
    }

    const std::uint8_t* Next() override {
        if (unread_ > 0) rows_->Skip(std::exchange(unread_, 0));
        return rows_->Next() + static_cast<std::ptrdiff_t>(x_) * Describe(Shape().kind).channels;
    }
    void Skip(int count) override { unread_ += count; }
    void NeedColumns(int first, int count) override { rows_->NeedColumns(x_ + first, count); }

private:
    std::unique_ptr<RowSource> rows_;
    int x_;
    int unread_;  // rows to be left out before the next
};

class RowsMirrored : public RowSource {
public:
    explicit RowsMirrored(std::unique_ptr<RowSource> rows)
        : RowSource(rows->Shape()), rows_(std::move(rows)), row_(RowBytes(Shape())) {}

    const std::uint8_t* Next() override {
        const int channels = Describe(Shape().kind).channels;
        zor::ChannelSet set{};
        set.count = channels;
        for (int c = 0; c < channels; ++c) set.offset[c] = c;
        // The kernel only reads here, by the same kind of run.
        auto* last = const_cast<std::uint8_t*>(rows_->Next()) + row_.size() - static_cast<std::size_t>(channels);
        zor::ByCount(zor::Kernels().geometry.copy, channels)({row_.data(), channels, set}, {last, -channels, set},
                                                             Shape().width);
        return row_.data();
    }
    void Skip(int count) override { rows_->Skip(count); }
    void NeedColumns(int first, int count) override { rows_->NeedColumns(Shape().width - first - count, count); }

private:
    std::unique_ptr<RowSource> rows_;
    std::vector<std::uint8_t> row_;
};

}  // namespace

std::unique_ptr<RowSource> RowsOf(Raster image) {
    return std::make_unique<RowsOfImage>(std::move(image));
}

std::unique_ptr<RowSource> PartOf(std::unique_ptr<RowSource> rows, int x, int y, int width, int height) {
    return std::make_unique<RowsOfPart>(std::move(rows), x, y, width, height);
}

std::unique_ptr<RowSource> MirroredRows(std::unique_ptr<RowSource> rows) {
    return std::make_unique<RowsMirrored>(std::move(rows));
}

Raster Collect(RowSource& rows) {
    if (Raster* whole = rows.Whole()) return std::move(*whole);
    const ImageShape& shape = rows.Shape();
    Raster image(shape);
    for (int y = 0; y < shape.height; ++y) std::memcpy(image.Row(y), rows.Next(), RowBytes(shape));
    return image;
}
