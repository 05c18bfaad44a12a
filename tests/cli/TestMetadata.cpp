#include "TestMetadata.h"

#include <zlib.h>

#include <algorithm>
#include <map>
#include <ostream>
#include <stdexcept>

#include "CorpusBytes.h"
#include "ZorTest.h"

namespace {

constexpr int kCamera = 34665, kPlace = 34853, kExchange = 40965, kThumbnailAt = 513, kThumbnailBytes = 514;

std::size_t ValueBytes(int type) {
    static const std::map<int, std::size_t> bytes = {{1, 1}, {2, 1}, {3, 2}, {4, 4}, {5, 8}, {7, 1}, {10, 8}, {13, 4}};
    return bytes.at(type);
}
std::size_t NumberBytes(int type) {
    return std::min<std::size_t>(ValueBytes(type), 4);
}

class Maker {
public:
    Maker(bool bigEndian, bool big) : bigEndian_(bigEndian), big_(big) {}

    [[nodiscard]] std::string Number(std::uint64_t value, std::size_t count) const {
        return bigEndian_ ? Big(value, static_cast<int>(count)) : Little(value, static_cast<int>(count));
    }

    // The directory at the end of what there is; its place.
    std::uint64_t Append(std::vector<ExifEntryOf> entries) {
        std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a.tag < b.tag; });
        if (bytes.size() % 2 != 0) bytes += '\0';
        const std::size_t place = bytes.size(), room = big_ ? 8 : 4;
        const std::size_t end = place + (big_ ? 8 : 2) + entries.size() * (big_ ? 20 : 12) + room;
        std::string behind;
        bytes += Number(entries.size(), big_ ? 8 : 2);
        for (const ExifEntryOf& entry : entries) {
            std::string value;
            for (const std::uint32_t number : entry.numbers) value += Number(number, NumberBytes(entry.type));
            bytes += Number(static_cast<std::uint64_t>(entry.tag), 2) +
                     Number(static_cast<std::uint64_t>(entry.type), 2) +
                     Number(value.size() / ValueBytes(entry.type), room);
            if (value.size() > room) {
                bytes += Number(end + behind.size(), room);
                behind += value + std::string(value.size() % 2, '\0');
            } else {
                value.resize(room, '\0');
                bytes += value;
            }
        }
        next = bytes.size();
        bytes += Number(0, room) + behind;
        return place;
    }

    std::string bytes;
    std::size_t next = 0;  // where the last directory says which comes next

private:
    bool bigEndian_;
    bool big_;
};

class Taker {
public:
    explicit Taker(const std::string& bytes) : bytes_(bytes), bigEndian_(bytes.starts_with("MM")) {
        if (bytes.substr(0, 4) != std::string("II*\0", 4) && bytes.substr(0, 4) != std::string("MM\0*", 4))
            throw std::runtime_error("no block");
    }

    [[nodiscard]] std::uint32_t Number(std::size_t at, std::size_t count) const {
        if (at + count > bytes_.size()) throw std::runtime_error("a block ends too early");
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < count; ++i)
            value = value << 8 | static_cast<unsigned char>(bytes_[bigEndian_ ? at + i : at + count - 1 - i]);
        return value;
    }

    // The place of the next directory.
    std::size_t Take(std::size_t place, std::vector<ExifEntryOf>* entries) const {
        const std::uint32_t count = Number(place, 2);
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::size_t at = place + 2 + 12 * i;
            ExifEntryOf entry{static_cast<int>(Number(at, 2)), static_cast<int>(Number(at + 2, 2)), {}};
            const std::size_t size = Number(at + 4, 4) * ValueBytes(entry.type), each = NumberBytes(entry.type);
            const std::size_t from = size > 4 ? Number(at + 8, 4) : at + 8;
            for (std::size_t k = 0; k < size; k += each) entry.numbers.push_back(Number(from + k, each));
            if (!entries->empty() && entries->back().tag >= entry.tag) throw std::runtime_error("tags without order");
            entries->push_back(std::move(entry));
        }
        return Number(place + 2 + 12 * count, 4);
    }

private:
    const std::string& bytes_;
    bool bigEndian_;
};

// Takes the entry out; its first number, 0 where there was none.
std::uint32_t TakeOut(std::vector<ExifEntryOf>* entries, int tag) {
    const auto found =
        std::find_if(entries->begin(), entries->end(), [tag](const ExifEntryOf& entry) { return entry.tag == tag; });
    if (found == entries->end()) return 0;
    const std::uint32_t number = found->numbers.at(0);
    entries->erase(found);
    return number;
}

std::string Unpacked(const std::string& packed) {
    std::string text(1 << 24, '\0');
    uLongf size = text.size();
    if (uncompress(reinterpret_cast<Bytef*>(text.data()), &size, reinterpret_cast<const Bytef*>(packed.data()),
                   packed.size()) != Z_OK)
        throw std::runtime_error("a text does not unpack");
    text.resize(size);
    return text;
}

std::uint32_t BigNumber(const std::string& bytes, std::size_t at, std::size_t count) {
    if (at + count > bytes.size()) throw std::runtime_error("a file ends too early");
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

std::string IptcOfBlock(const std::string& block) {
    for (std::size_t at = 0; at < block.size();) {
        if (block.substr(at, 4) != "8BIM" || block.substr(at + 6, 2) != std::string(2, '\0'))
            throw std::runtime_error("no resource");
        const std::uint32_t size = BigNumber(block, at + 8, 4);
        if (BigNumber(block, at + 4, 2) == 0x404) return block.substr(at + 12, size);
        at += 12 + size + size % 2;
    }
    return {};
}

void LoadJpegMetadata(const std::string& bytes, MetadataOf* found) {
    const std::string exif("Exif\0\0", 6), xmp("http://ns.adobe.com/xap/1.0/\0", 29), photoshop("Photoshop 3.0\0", 14);
    for (std::size_t at = 2; bytes.at(at) == '\xFF' && bytes.at(at + 1) != '\xDA';) {
        const int marker = static_cast<unsigned char>(bytes[at + 1]);
        const std::uint32_t size = BigNumber(bytes, at + 2, 2);
        const std::string part = bytes.substr(at + 4, size - 2);
        if (marker == 0xE1 && part.starts_with(exif)) found->exif += part.substr(exif.size());
        if (marker == 0xE1 && part.starts_with(xmp)) found->xmp += part.substr(xmp.size());
        if (marker == 0xED && part.starts_with(photoshop)) found->iptc += IptcOfBlock(part.substr(photoshop.size()));
        if (marker == 0xFE) found->texts.emplace_back("", part);
        at += size + 2;
    }
}

void LoadPngMetadata(const std::string& bytes, MetadataOf* found) {
    for (std::size_t at = 8; at < bytes.size();) {
        const std::uint32_t size = BigNumber(bytes, at, 4);
        const std::string name = bytes.substr(at + 4, 4), part = bytes.substr(at + 8, size);
        if (PngChunk(name, part) != bytes.substr(at, size + 12)) throw std::runtime_error("a wrong sum");
        at += size + 12;
        if (name == "eXIf") found->exif += part;
        if (name != "tEXt" && name != "zTXt" && name != "iTXt") continue;
        std::size_t from = part.find('\0') + 1;
        const std::string keyword = part.substr(0, from - 1);
        bool packed = name == "zTXt";
        if (packed) ++from;
        if (name == "iTXt") {
            packed = part.at(from) == 1;
            from = part.find('\0', part.find('\0', from + 2) + 1) + 1;
        }
        const std::string text = packed ? Unpacked(part.substr(from)) : part.substr(from);
        if (keyword == "XML:com.adobe.xmp") {
            found->xmp += text;
        } else if (keyword == "Raw profile type iptc") {
            std::string block, digits;
            for (const char c : text.substr(text.find('\n', text.find_first_of("0123456789"))))
                if (c != '\n') digits += c;
            for (std::size_t i = 0; i < digits.size(); i += 2)
                block += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
            found->iptc += IptcOfBlock(block);
        } else {
            found->texts.emplace_back(keyword, text);
            found->kinds.push_back(name);
        }
    }
}

void LoadWebpMetadata(const std::string& bytes, MetadataOf* found) {
    std::string order;
    for (std::size_t at = 12; at < bytes.size();) {
        std::uint32_t size = 0;
        for (int i = 3; i >= 0; --i)
            size = size << 8 | static_cast<unsigned char>(bytes.at(at + 4 + static_cast<std::size_t>(i)));
        const std::string name = bytes.substr(at, 4), part = bytes.substr(at + 8, size);
        if (name == "EXIF") found->exif += part;
        if (name == "XMP ") found->xmp += part;
        at += 8 + size + size % 2;
    }
}

// The directories as a block of their own, as EXIF is elsewhere.
void LoadTiffMetadata(const std::string& bytes, MetadataOf* found) {
    ExifOf exif = ReadExifBytes(bytes);
    for (const auto& [tag, text] : exif.blocks) {
        if (tag == 700) found->xmp = text;
        if (tag == 33723) found->iptc = text;
    }
    while (found->iptc.ends_with('\0')) found->iptc.pop_back();  // to whole numbers of four bytes
    exif.blocks.clear();
    std::erase_if(exif.picture, [](const ExifEntryOf& entry) {
        return entry.type != 2 && entry.tag < 0x9000;  // what tells of the pixels
    });
    found->exif = ExifBytes(exif);
}

}  // namespace

void PrintTo(const ExifEntryOf& entry, std::ostream* out) {
    *out << entry.tag << " of type " << entry.type << ":";
    for (const std::uint32_t number : entry.numbers) *out << " " << number;
}

void PrintTo(const ExifOf& exif, std::ostream* out) {
    for (const auto* directory : {&exif.picture, &exif.camera, &exif.place, &exif.exchange, &exif.small})
        *out << testing::PrintToString(*directory) << "\n";
    *out << exif.thumbnail;
}

ExifEntryOf Letters(int tag, const std::string& text) {
    ExifEntryOf entry{tag, 2, {text.begin(), text.end()}};
    entry.numbers.push_back(0);
    return entry;
}

const ExifEntryOf* ExifOf::Find(const std::vector<ExifEntryOf>& directory, int tag) const {
    for (const ExifEntryOf& entry : directory)
        if (entry.tag == tag) return &entry;
    return nullptr;
}

std::string ExifBytes(const ExifOf& exif, bool bigEndian, const std::string& front, bool big) {
    Maker maker(bigEndian, big);
    const std::size_t room = big ? 8 : 4;
    maker.bytes = std::string(bigEndian ? "MM" : "II") + maker.Number(big ? 43 : 42, 2);
    if (big) maker.bytes += maker.Number(8, 2) + maker.Number(0, 2);
    const std::size_t firstAt = maker.bytes.size();
    maker.bytes += std::string(room, '\0') + front;
    std::vector<ExifEntryOf> camera = exif.camera, picture = exif.picture, small = exif.small;
    const auto lead = [&](std::vector<ExifEntryOf>* from, int tag, const std::vector<ExifEntryOf>& to) {
        if (!to.empty()) from->push_back({tag, 4, {static_cast<std::uint32_t>(maker.Append(to))}});
    };
    lead(&camera, kExchange, exif.exchange);
    lead(&picture, kCamera, camera);
    lead(&picture, kPlace, exif.place);
    for (const auto& [tag, text] : exif.blocks) {
        ExifEntryOf entry{tag, 1, {}};
        for (const char c : text) entry.numbers.push_back(static_cast<unsigned char>(c));
        picture.push_back(std::move(entry));
    }
    const std::uint64_t first = maker.Append(picture);
    maker.bytes.replace(firstAt, room, maker.Number(first, room));
    if (exif.thumbnail.empty()) return maker.bytes;
    const std::size_t nextAt = maker.next;
    small.push_back({kThumbnailAt, 4, {static_cast<std::uint32_t>(maker.bytes.size())}});
    small.push_back({kThumbnailBytes, 4, {static_cast<std::uint32_t>(exif.thumbnail.size())}});
    maker.bytes += exif.thumbnail;
    const std::uint64_t second = maker.Append(small);
    maker.bytes.replace(nextAt, room, maker.Number(second, room));
    return maker.bytes;
}

ExifOf ReadExifBytes(const std::string& bytes) {
    const Taker taker(bytes);
    ExifOf exif;
    const std::size_t second = taker.Take(taker.Number(4, 4), &exif.picture);
    if (const std::uint32_t place = TakeOut(&exif.picture, kCamera)) taker.Take(place, &exif.camera);
    if (const std::uint32_t place = TakeOut(&exif.picture, kPlace)) taker.Take(place, &exif.place);
    if (const std::uint32_t place = TakeOut(&exif.camera, kExchange)) taker.Take(place, &exif.exchange);
    if (second != 0) taker.Take(second, &exif.small);
    if (const std::uint32_t at = TakeOut(&exif.small, kThumbnailAt))
        exif.thumbnail = bytes.substr(at, TakeOut(&exif.small, kThumbnailBytes));
    for (const int tag : {700, 33723, 34377}) {
        const ExifEntryOf* entry = exif.Find(exif.picture, tag);
        if (entry == nullptr) continue;
        std::string text;
        for (const std::uint32_t number : entry->numbers)
            for (std::size_t i = 0; i < NumberBytes(entry->type); ++i) text += static_cast<char>(number >> (8 * i));
        exif.blocks.emplace_back(tag, text);
        TakeOut(&exif.picture, tag);
    }
    return exif;
}

std::vector<ExifEntryOf> GrayTiffTags(int width, int height, bool big) {
    const auto across = static_cast<std::uint32_t>(width), down = static_cast<std::uint32_t>(height);
    return {{256, 4, {across}},
            {257, 4, {down}},
            {258, 3, {8}},
            {259, 3, {1}},
            {262, 3, {1}},
            {277, 3, {1}},
            {273, 4, {big ? 16U : 8U}},
            {278, 4, {down}},
            {279, 4, {across * down}}};
}

ExifOf CameraExif(int orientation) {
    ExifOf exif;
    exif.picture = {Letters(270, "Boats at the quay"),
                    Letters(271, "Maker"),
                    Letters(272, "Maker Nine"),
                    {274, 3, {static_cast<std::uint32_t>(orientation)}},
                    {282, 5, {3000, 10}},
                    {283, 5, {3000, 10}},
                    {296, 3, {2}},
                    Letters(305, "Darkroom 3"),
                    Letters(315, "Ada Example"),
                    Letters(33432, "free")};
    exif.camera = {{33434, 5, {1, 250}},
                   {33437, 5, {28, 10}},
                   {34855, 3, {200}},
                   {36864, 7, {'0', '2', '3', '1'}},
                   Letters(36867, "2024:05:17 09:30:00"),
                   Letters(36881, "+02:00"),
                   {37380, 10, {0xFFFFFFFF, 3}},
                   {37386, 5, {50, 1}},
                   {37500, 7, {'n', 'o', 't', 'e', 's', 0, 1, 2, 3}},
                   {40962, 4, {6000}},
                   {40963, 4, {4000}},
                   {41989, 3, {75}},
                   Letters(42036, "Lens 50mm")};
    exif.place = {{0, 1, {2, 3, 0, 0}},
                  Letters(1, "S"),
                  {2, 5, {33, 1, 51, 1, 3624, 100}},
                  Letters(3, "E"),
                  {4, 5, {151, 1, 12, 1, 4050, 100}},
                  {5, 1, {0}},
                  {6, 5, {125, 2}}};
    exif.exchange = {Letters(1, "R98"), {2, 7, {'0', '1', '0', '0'}}};
    exif.small = {{259, 3, {6}}};
    exif.thumbnail = "\xFF\xD8 what was cropped away \xFF\xD9";
    return exif;
}

MetadataOf LoadMetadata(const std::string& path) {
    const std::string bytes = ReadFile(path);
    MetadataOf found;
    if (path.ends_with(".jpg")) LoadJpegMetadata(bytes, &found);
    if (path.ends_with(".png")) LoadPngMetadata(bytes, &found);
    if (path.ends_with(".webp")) LoadWebpMetadata(bytes, &found);
    if (path.ends_with(".tif")) LoadTiffMetadata(bytes, &found);
    return found;
}

void AddJpegMarkers(const std::string& path, const std::vector<std::pair<int, std::string>>& markers) {
    std::string parts;
    for (const auto& [number, bytes] : markers)
        parts += std::string("\xFF") + static_cast<char>(number) + Big(bytes.size() + 2, 2) + bytes;
    std::string file = ReadFile(path);
    const std::size_t at = file.substr(2, 2) == "\xFF\xE0" ? 4 + BigNumber(file, 4, 2) : 2;
    WriteFile(path, file.insert(at, parts));
}

void AddPngChunks(const std::string& path, const std::string& chunks, bool behindPixels) {
    std::string file = ReadFile(path);
    WriteFile(path, file.insert(behindPixels ? file.size() - 12 : 33, chunks));
}

std::string PhotoshopBlock(const std::string& iptc) {
    const auto resource = [](int number, const std::string& bytes) {
        return "8BIM" + Big(static_cast<std::uint64_t>(number), 2) + std::string(2, '\0') + Big(bytes.size(), 4) +
               bytes + std::string(bytes.size() % 2, '\0');
    };
    return std::string("Photoshop 3.0\0", 14) + resource(0x3ED, "resolution info") + resource(0x404, iptc) +
           resource(0x40C, "a small copy of the picture");
}

std::string IptcRecord(int number, const std::string& value, int set) {
    return std::string("\x1C") + static_cast<char>(set) + static_cast<char>(number) + Big(value.size(), 2) + value;
}
