#include "effects/MappedRows.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "kernels/KernelTable.h"

namespace {

constexpr int kMostChannels = 4;

template <int kChannels>
void MapPixels(const zor::ByteTable* tables, const std::uint8_t* from, std::size_t bytes, std::uint8_t* to) {
    for (std::size_t i = 0; i < bytes; i += kChannels)
        for (int c = 0; c < kChannels; ++c) to[i + c] = tables[c].entry[from[i + c]];
}

// What bytes of every channel become.
class ByteTables {
public:
    ByteTables(PixelKind kind, const ByteMap& map) : channels_(static_cast<std::size_t>(Describe(kind).channels)) {
        for (std::size_t c = 0; c < channels_; ++c)
            for (int byte = 0; byte < 256; ++byte)
                tables_[c].entry[byte] = static_cast<std::uint8_t>(map(static_cast<int>(c), byte));
        allAlike_ = std::all_of(tables_, tables_ + channels_, [this](const zor::ByteTable& table) {
            return std::memcmp(table.entry, tables_[0].entry, sizeof table.entry) == 0;
        });
    }

    // `to` may be `from`.
    void Map(const std::uint8_t* from, std::size_t bytes, std::uint8_t* to) const {
        if (allAlike_) {
            zor::Kernels().bytes.map(from, to, static_cast<std::ptrdiff_t>(bytes), tables_[0].entry);
        } else if (channels_ == 2) {
            MapPixels<2>(tables_, from, bytes, to);
        } else if (channels_ == 3) {
            MapPixels<3>(tables_, from, bytes, to);
        } else {
            MapPixels<4>(tables_, from, bytes, to);
        }
    }

private:
    std::size_t channels_;
    zor::ByteTable tables_[kMostChannels];
    bool allAlike_ = false;
};

class MappedRows : public RowSource {
public:
    MappedRows(std::unique_ptr<RowSource> rows, const PixelArea& area, const ByteMap& map)
        : RowSource(rows->Shape()),
          rows_(std::move(rows)),
          area_(area),
          channels_(static_cast<std::size_t>(Describe(Shape().kind).channels)),
          row_(static_cast<std::size_t>(Shape().width) * channels_),
          tables_(Shape().kind, map) {}

    const std::uint8_t* Next() override {
        const std::uint8_t* const row = rows_->Next();
        const int y = next_++;
        if (y < area_.y || y - area_.y >= area_.height) return row;
        const std::size_t first = static_cast<std::size_t>(area_.x) * channels_;
        const std::size_t bytes = static_cast<std::size_t>(area_.width) * channels_;
        std::copy_n(row, first, row_.begin());
        tables_.Map(row + first, bytes, row_.data() + first);
        std::copy(row + first + bytes, row + row_.size(), row_.data() + first + bytes);
        return row_.data();
    }

private:
    std::unique_ptr<RowSource> rows_;
    PixelArea area_;
    std::size_t channels_;
    std::vector<std::uint8_t> row_;
    ByteTables tables_;
    int next_ = 0;
};

}  // namespace

std::unique_ptr<RowSource> MapRows(std::unique_ptr<RowSource> rows, const PixelArea& area, const ByteMap& map) {
    return std::make_unique<MappedRows>(std::move(rows), area, map);
}

void MapImage(Raster* image, const PixelArea& area, const ByteMap& map) {
    const ByteTables tables(image->Shape().kind, map);
    const std::ptrdiff_t channels = Describe(image->Shape().kind).channels;
    for (int y = 0; y < area.height; ++y) {
        std::uint8_t* const row = image->Row(area.y + y) + area.x * channels;
        tables.Map(row, static_cast<std::size_t>(area.width * channels), row);
    }
}
