#include "effects/StreamedRows.h"

#include <algorithm>

namespace {

class Inverted : public RowSource {
public:
    explicit Inverted(std::unique_ptr<RowSource> rows) : RowSource(rows->Shape()), rows_(std::move(rows)) {
        row_.resize(static_cast<std::size_t>(Shape().width) *
                    static_cast<std::size_t>(Describe(Shape().kind).channels));
    }
    const std::uint8_t* Next() override {
        const std::uint8_t* const row = rows_->Next();
        std::transform(row, row + row_.size(), row_.begin(),
                       [](std::uint8_t byte) { return static_cast<std::uint8_t>(255 - byte); });
        return row_.data();
    }

private:
    std::unique_ptr<RowSource> rows_;
    std::vector<std::uint8_t> row_;
};

}  // namespace

std::unique_ptr<RowSource> InvertedRows(std::unique_ptr<RowSource> rows) {
    return std::make_unique<Inverted>(std::move(rows));
}

ImageNeed WaitingRows(std::int64_t rows, std::int64_t rowBytes) {
    return {rowBytes, rows, 1};
}

zor::RowStore StoreFor(const ImageNeed& need) {
    if (!GoesToScratch(need)) return nullptr;
    const auto rows = std::make_shared<Raster>(
        ImageShape{static_cast<int>(need.width), static_cast<int>(need.height), PixelKind::Gray});
    return [rows](std::int64_t row) { return rows->Row(static_cast<int>(row)); };
}
