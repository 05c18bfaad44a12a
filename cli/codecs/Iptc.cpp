#include "codecs/Iptc.h"

#include <cstddef>
#include <cstring>
#include <functional>

#include "codecs/TextBytes.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kIptcResource = 0x0404;

struct Record {
    int set = 0;
    int number = 0;
    const std::uint8_t* bytes = nullptr;  // of its value
    std::size_t size = 0;
    const std::uint8_t* whole = nullptr;  // with what stands before the value
    std::size_t wholeSize = 0;
};

// Each begins with a mark, the two numbers and the size of its value: 15 bits, or how many bytes the size has.
void ForEachRecord(const Bytes& records, const std::function<void(const Record&)>& told) {
    std::size_t at = 0;
    while (records.size() - at >= 5 && records[at] == 0x1C) {
        std::size_t size = std::size_t{records[at + 3]} << 8 | records[at + 4];
        std::size_t start = at + 5;
        if (size > 0x7FFF) {
            const std::size_t count = size & 0x7FFF;
            if (count > 4 || count > records.size() - start) return;
            size = 0;
            for (std::size_t i = 0; i < count; ++i) size = size << 8 | records[start++];
        }
        if (size > records.size() - start) return;
        told({records[at + 1], records[at + 2], records.data() + start, size, records.data() + at, start + size - at});
        at = start + size;
    }
}

// Format and bytes of a small copy of the picture.
bool IsPreview(const Record& record) {
    return record.set == 2 && record.number >= 200 && record.number <= 202;
}

const char* NameOf(const Record& record) {
    struct Row {
        int number;
        const char* name;
    };
    static constexpr Row kRows[] = {{5, "title"},    {105, "headline"}, {120, "caption"}, {80, "author"},
                                    {110, "credit"}, {115, "source"},   {116, "rights"},  {25, "keyword"},
                                    {90, "city"},    {95, "province"},  {101, "country"}};
    for (const Row& row : kRows)
        if (record.set == 2 && record.number == row.number) return row.name;
    return nullptr;
}

}  // namespace

Bytes IptcOfPhotoshop(const Bytes& block) {
    std::size_t at = 0;
    while (block.size() - at >= 12 && std::memcmp(block.data() + at, "8BIM", 4) == 0) {
        const int number = block[at + 4] << 8 | block[at + 5];
        // A name with its length before it, to an even number of bytes; then the size.
        const std::size_t name = (std::size_t{block[at + 6]} + 2) / 2 * 2;
        if (name + 10 > block.size() - at) return {};
        const std::size_t start = at + 6 + name + 4;
        std::size_t size = 0;
        for (std::size_t i = start - 4; i < start; ++i) size = size << 8 | block[i];
        if (size > block.size() - start) return {};
        if (number == kIptcResource)
            return {block.begin() + static_cast<std::ptrdiff_t>(start),
                    block.begin() + static_cast<std::ptrdiff_t>(start + size)};
        at = start + size + size % 2;
        if (at > block.size()) return {};
    }
    return {};
}

Bytes PhotoshopOfIptc(const Bytes& records) {
    Bytes block = {'8', 'B', 'I', 'M', kIptcResource >> 8, kIptcResource & 255, 0, 0};
    for (const int shift : {24, 16, 8, 0}) block.push_back(static_cast<std::uint8_t>(records.size() >> shift));
    block.insert(block.end(), records.begin(), records.end());
    if (records.size() % 2 != 0) block.push_back(0);
    return block;
}

Bytes TrueIptc(const Bytes& records) {
    Bytes result;
    ForEachRecord(records, [&result](const Record& record) {
        if (!IsPreview(record)) result.insert(result.end(), record.whole, record.whole + record.wholeSize);
    });
    return result;
}

std::vector<std::pair<std::string, std::string>> TextsOfIptc(const Bytes& records) {
    std::vector<std::pair<std::string, std::string>> texts;
    ForEachRecord(records, [&texts](const Record& record) {
        if (const char* name = NameOf(record)) texts.emplace_back(name, TextOfBytes(record.bytes, record.size));
    });
    return texts;
}
