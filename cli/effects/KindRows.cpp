#include "effects/KindRows.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "Errors.h"
#include "compositing/LayRows.h"
#include "effects/ConvertEffects.h"
#include "exchange/ColourRows.h"

PixelParts PartsOf(PixelKind kind) {
    const PixelKindRow& row = Describe(kind);
    return {row.channels - (row.hasAlpha ? 1 : 0), row.hasAlpha};
}

void ChannelsOf(const RGBAColour& colour, PixelKind kind, std::uint8_t* channels) {
    const auto byte = [](int value) { return static_cast<std::uint8_t>(value); };
    const int colours = PartsOf(kind).colours;
    if (colours == 3) {
        const std::uint8_t rgb[] = {byte(colour.red), byte(colour.green), byte(colour.blue)};
        std::copy_n(rgb, 3, channels);
    } else {
        std::fill_n(channels, colours, zor::GrayOf(colour.red, colour.green, colour.blue));
    }
}

ImageShape ShapeInColours(const ImageShape& source, std::initializer_list<RGBAColour> colours) {
    const bool gray = WithAlpha(source.kind, false) == PixelKind::Gray;
    const bool coloured = std::any_of(colours.begin(), colours.end(), [](const RGBAColour& colour) {
        return colour.red != colour.green || colour.green != colour.blue;
    });
    if (!gray || !coloured) return source;
    return {source.width, source.height, WithAlpha(PixelKind::RGB, Describe(source.kind).hasAlpha)};
}

void CheckColourFits(const char* effect, PixelKind kind, const RGBAColour& colour) {
    if (kind == PixelKind::CMYK && !colour.isGray)
        throw RunError(std::string(effect) +
                       ": CMYK takes one number from 0 to 255, which every ink gets, and no colour");
}

RowTurner::RowTurner(PixelKind from, PixelParts to, int width, const RGBAColour& ground)
    : from_(PartsOf(from)), to_(to), width_(width), ground_{} {
    ChannelsOf(ground, from, ground_);
    const auto bytes = [width](int channels) {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(channels);
    };
    if (from_.alpha && !to_.alpha) flat_.resize(bytes(from_.colours));
    turned_.resize(bytes(to_.Channels()));
}

const std::uint8_t* RowTurner::Turn(const std::uint8_t* row) {
    bool alpha = from_.alpha;
    if (!flat_.empty()) {
        zor::FlattenRow(row, flat_.data(), width_, from_.colours, ground_);
        row = flat_.data();
        alpha = false;
    }
    if (from_.colours == to_.colours && alpha == to_.alpha) return row;
    if (!zor::RecolourRow(row, from_.colours, alpha, turned_.data(), to_.colours, to_.alpha, width_))
        throw std::logic_error("rows that cannot become each other");
    return turned_.data();
}

namespace {

class TurnedRows : public RowSource {
public:
    TurnedRows(std::unique_ptr<RowSource> rows, PixelKind kind, const RGBAColour& ground)
        : RowSource({rows->Shape().width, rows->Shape().height, kind}),
          rows_(std::move(rows)),
          turner_(rows_->Shape().kind, PartsOf(kind), Shape().width, ground) {}

    const std::uint8_t* Next() override { return turner_.Turn(rows_->Next()); }

private:
    std::unique_ptr<RowSource> rows_;
    RowTurner turner_;
};

}  // namespace

std::unique_ptr<RowSource> RowsInKind(std::unique_ptr<RowSource> rows, PixelKind kind, const RGBAColour& ground) {
    if (rows->Shape().kind == kind) return rows;
    return std::make_unique<TurnedRows>(std::move(rows), kind, ground);
}
