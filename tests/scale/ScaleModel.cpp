#include "ScaleModel.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "host/HostCalls.h"

using namespace zor;

// --- images ---------------------------------------------------------------------------------------------------------

TestImage MakeOver(const TestImage& image, int shift, int width, int height, int format, int rowSize) {
    FakeHost& host = FakeHost::Current();
    TestImage over(host.NewImage(), "over another image");
    ImageConstructorMemory(over.object(), image->MemoryTarget, width, height, format, rowSize);
    // No application can move the base; but shapes that meet in every way come cheaply from it.
    over->Pixels += shift;
    over->StorageBytes = std::min<std::int64_t>(over->StorageBytes, image->StorageBytes - shift);
    return over;
}

RowTableImage::RowTableImage(int width, int height, int format) : image_(FakeHost::Current().NewImage(), "row table") {
    rows_.resize(static_cast<std::size_t>(height), std::vector<std::uint8_t>(static_cast<std::size_t>(width) * 4));
    for (auto& row : rows_) pointers_.push_back(row.data());
    ImageClassData* const record = image_.record();
    InitImageClassData(record, width, height, format);
    record->RowSize = width * 4;
    record->RowPointers = pointers_.data();
    record->TableRows = height;
    record->StorageBytes = width * 4;
    record->GetRow = GetRowGDImage;
    record->Valid = true;
}

void RowTableImage::FillWithNoise(Random& random) {
    for (auto& row : rows_) {
        for (std::uint8_t& byte : row) byte = random.Byte();
    }
}

// --- the model ------------------------------------------------------------------------------------------------------

std::int64_t ModelImage::Row(int y) const {
    return (mirrored ? std::int64_t{height} - y - 1 : std::int64_t{y}) + rowOffset;
}

// The first row of the window that is mapped for this row; below 0 the mapping fails.
std::int64_t ModelImage::FirstMapped(std::int64_t row) const {
    return std::min<std::int64_t>(row <= 1 ? row : row - 2, height - windowRows);
}

// In a file only bytes of the row itself are looked at: what lies around it depends on where the window was.
std::int64_t ModelImage::Find(int y, std::int64_t at) const {
    const std::int64_t row = Row(y);
    if (rowBytes != 0) {
        if (row < 0 || row >= height || at < 0 || at >= rowBytes) return -1;
        return row * rowBytes + at;
    }
    if (windowRows != 0) {
        const std::int64_t first = FirstMapped(row);
        if (first < 0 || row >= first + windowRows || at < 0 || at >= rowSize) return -1;
    }
    const std::int64_t index = row * rowSize + at;
    return index >= 0 && index < size ? base + index : -1;
}

bool ModelImage::HasRow(int y) const {
    if (windowRows != 0) return FirstMapped(Row(y)) >= 0;
    return rowBytes == 0 || (Row(y) >= 0 && Row(y) < height);
}

int ModelImage::Load(int y, std::int64_t at) const {
    const std::int64_t index = Find(y, at);
    return index < 0 ? 0 : (*bytes)[static_cast<std::size_t>(index)];
}

void ModelImage::Store(int y, std::int64_t at, int value) const {
    const std::int64_t index = Find(y, at);
    if (index >= 0) (*bytes)[static_cast<std::size_t>(index)] = static_cast<std::uint8_t>(value);
}

std::vector<std::uint8_t> Model::RealBytes(const Region& region) {
    std::vector<std::uint8_t> bytes(region.bytes.size());
    if (region.file >= 0) {
        if (pread(region.file, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) std::abort();
        return bytes;
    }
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto rowBytes = static_cast<std::size_t>(region.rowBytes);
        bytes[i] = region.rows ? region.rows[i / rowBytes][i % rowBytes] : region.memory[i];
    }
    return bytes;
}

ModelImage Model::Of(const TestImage& image) {
    const ImageClassData* const record = image.record();
    Region* found = nullptr;
    std::int64_t base = 0;
    for (const auto& region : regions_) {
        if (record->IsMapping ? region->file == record->FileHandle
                              : record->RowPointers && region->rows == record->RowPointers) {
            found = region.get();
        } else if (!record->IsMapping && !record->RowPointers && region->memory && record->Pixels >= region->memory &&
                   record->Pixels < region->memory + region->bytes.size()) {
            found = region.get();
            base = record->Pixels - region->memory;
        }
    }
    const std::int64_t size = record->IsMapping     ? record->TotalSize
                              : record->RowPointers ? record->StorageBytes * record->Height
                                                    : record->StorageBytes;
    if (!found) {
        auto region = std::make_unique<Region>();
        region->bytes.resize(static_cast<std::size_t>(size < 0 ? 0 : size));
        if (record->IsMapping) {
            region->file = record->FileHandle;
        } else if (record->RowPointers) {
            region->rows = record->RowPointers;
            region->rowBytes = static_cast<int>(record->StorageBytes);
        } else {
            region->memory = record->Pixels;
        }
        region->bytes = RealBytes(*region);
        found = region.get();
        regions_.push_back(std::move(region));
    }
    ModelImage model{};
    model.bytes = &found->bytes;
    model.base = base;
    model.size = size;
    model.rowBytes = found->rowBytes;
    model.width = record->Width;
    model.height = record->Height;
    model.rowSize = record->RowSize;
    model.rowOffset = record->RowOffset;
    model.pixelSize = record->PixelSize;
    model.mirrored = record->GetRow == GetRowLinearMirrored || record->GetRow == GetRowMappingMirrored ||
                     record->GetRow == GetRowGDImageMirrored;
    model.windowRows = record->IsMapping ? record->MappedRowCount : 0;
    model.offset = {{'r', record->RedOffset},     {'g', record->GreenOffset},  {'b', record->BlueOffset},
                    {'w', record->GrayOffset},    {'a', record->AlphaOffset},  {'c', record->CyanOffset},
                    {'m', record->MagentaOffset}, {'y', record->YellowOffset}, {'k', record->BlackOffset}};
    model.family = record->IsCMYK ? 'c' : record->IsRGB ? 'r' : record->IsGray ? 'w' : '\0';
    model.alpha = record->HasAlpha;
    return model;
}

ModelImage Model::Scratch(int height, int rowSize) {
    auto region = std::make_unique<Region>();
    region->bytes.resize(static_cast<std::size_t>(std::int64_t{height} * rowSize));
    ModelImage model{};
    model.bytes = &region->bytes;
    model.size = static_cast<std::int64_t>(region->bytes.size());
    model.height = height;
    model.rowSize = rowSize;
    regions_.push_back(std::move(region));
    return model;
}

std::string Model::Difference() const {
    for (const auto& region : regions_) {
        if (!region->memory && region->file < 0 && !region->rows) continue;
        const std::vector<std::uint8_t> real = RealBytes(*region);
        for (std::size_t i = 0; i < real.size(); ++i) {
            if (real[i] != region->bytes[i]) {
                return "byte " + std::to_string(i) + " of " + std::to_string(real.size()) + " is " +
                       std::to_string(real[i]) + ", expected " + std::to_string(region->bytes[i]);
            }
        }
    }
    return {};
}
