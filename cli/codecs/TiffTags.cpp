#include "codecs/TiffTags.h"

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Notes.h"
#include "codecs/Exif.h"
#include "codecs/Iptc.h"
#include "files/InputFile.h"
#include "files/OutputFile.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

enum : std::uint16_t {
    kXmp = 700,
    kIptc = 33723,
    kPhotoshop = 34377,
    kCameraDirectory = 34665,
    kPlaceDirectory = 34853,
    kExchangeDirectory = 40965,
};
enum : std::uint16_t { kByte = 1, kAscii = 2, kShort = 3, kLong = 4, kUndefined = 7, kDirectory = 13, kLong8 = 16 };

// Among the tags of the picture those that people and cameras give it; the others say how its pixels are stored.
constexpr std::uint16_t kOfPicture[] = {269,   270,    271,    272,    285,    305,    306,    315,   316,
                                        33432, 0x4746, 0x4749, 0x9C9B, 0x9C9C, 0x9C9D, 0x9C9E, 0x9C9F};

// A value of EXIF beyond this is no camera's.
constexpr std::uint64_t kMaxValueBytes = 65000;
constexpr std::uint64_t kMaxEntries = 1000;  // of a directory

// Bytes of one value, and of the numbers in it; 0: no type that EXIF has.
std::uint64_t TypeBytes(std::uint16_t type) {
    static constexpr std::uint64_t kBytes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
    return type < std::size(kBytes) ? kBytes[type] : 0;
}
std::size_t NumberBytes(std::uint16_t type) {
    return type == 5 || type == 10 ? 4 : static_cast<std::size_t>(TypeBytes(type));
}

bool IsDirectory(std::uint16_t tag) {
    return tag == kCameraDirectory || tag == kPlaceDirectory || tag == kExchangeDirectory;
}

class DirectoryReader {
public:
    DirectoryReader(InputFile& file, TIFF* tiff, Notes& notes)
        : file_(file), notes_(notes), bigEndian_(TIFFIsBigEndian(tiff) != 0), big_(TIFFIsBigTIFF(tiff) != 0) {}

    // Tells of each entry whose tag is wanted, with its value; the least byte of numbers first.
    void Read(std::uint64_t place, const std::function<std::uint64_t(std::uint16_t tag)>& mostBytes,
              const std::function<void(ExifValue value)>& told) {
        const std::size_t entryBytes = big_ ? 20 : 12, countBytes = big_ ? 8 : 2;
        const std::uint64_t count = std::min(Number(place, countBytes).value_or(0), kMaxEntries);
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::uint64_t entry = place + countBytes + i * entryBytes;
            const auto tag = static_cast<std::uint16_t>(Number(entry, 2).value_or(0));
            const auto type = static_cast<std::uint16_t>(Number(entry + 2, 2).value_or(0));
            const std::uint64_t values = Number(entry + 4, big_ ? 8 : 4).value_or(0), most = mostBytes(tag);
            if (most == 0 || values == 0) continue;
            const bool place64 = type >= kLong8 && IsDirectory(tag);
            const std::uint64_t each = place64 ? 8 : TypeBytes(type);
            if (each == 0) continue;
            if (values > most / each) {
                notes_.Say(file_.Path(), "the tag " + std::to_string(tag) + " of more than " + std::to_string(most) +
                                             " bytes is left out");
                continue;
            }
            const std::uint64_t size = values * each, inside = entry + (big_ ? 12 : 8), room = big_ ? 8 : 4;
            const std::uint64_t from = size <= room ? inside : Number(inside, room).value_or(0);
            ExifValue value{tag, type, static_cast<std::uint32_t>(values), Bytes(static_cast<std::size_t>(size))};
            if (from > kFarthest || file_.ReadAt(static_cast<std::int64_t>(from), value.bytes.data(),
                                                 value.bytes.size()) != value.bytes.size())
                continue;
            if (bigEndian_) Reverse(&value.bytes, place64 ? 8 : NumberBytes(type));
            told(std::move(value));
        }
    }

    // The directory without those that it leads to, whose places are told.
    std::vector<ExifValue> ReadAll(std::uint64_t place, std::uint64_t* exchange) {
        std::vector<ExifValue> values;
        Read(
            place, [](std::uint16_t) { return kMaxValueBytes; },
            [&](ExifValue value) {
                if (value.tag == kExchangeDirectory)
                    *exchange = PlaceIn(value);
                else if (!IsDirectory(value.tag))
                    values.push_back(std::move(value));
            });
        return values;
    }

    static std::uint64_t PlaceIn(const ExifValue& value) {
        std::uint64_t place = 0;
        for (std::size_t i = std::min<std::size_t>(value.bytes.size(), 8); i-- > 0;)
            place = place << 8 | value.bytes[i];
        return place;
    }

private:
    static constexpr std::uint64_t kFarthest = std::uint64_t{1} << 62;

    std::optional<std::uint64_t> Number(std::uint64_t place, std::size_t count) {
        std::array<std::uint8_t, 8> bytes{};
        if (place > kFarthest || file_.ReadAt(static_cast<std::int64_t>(place), bytes.data(), count) != count)
            return {};
        if (!bigEndian_) std::reverse(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
        std::uint64_t number = 0;
        for (std::size_t i = 0; i < count; ++i) number = number << 8 | bytes[i];
        return number;
    }

    static void Reverse(Bytes* bytes, std::size_t each) {
        for (std::size_t at = 0; at + each <= bytes->size(); at += each)
            std::reverse(bytes->begin() + static_cast<std::ptrdiff_t>(at),
                         bytes->begin() + static_cast<std::ptrdiff_t>(at + each));
    }

    InputFile& file_;
    Notes& notes_;
    bool bigEndian_;
    bool big_;
};

// Some programs write the records as numbers of four bytes, in the order of the file or not.
Bytes IptcOf(ExifValue value, bool bigEndian) {
    if (value.type == kLong && bigEndian && !value.bytes.empty() && value.bytes[0] != 0x1C)
        for (std::size_t at = 0; at + 4 <= value.bytes.size(); at += 4)
            std::reverse(value.bytes.begin() + static_cast<std::ptrdiff_t>(at),
                         value.bytes.begin() + static_cast<std::ptrdiff_t>(at + 4));
    return std::move(value.bytes);
}

// A directory at the end of a file, as libtiff would write it: entries in order, values behind them.
class DirectoryWriter {
public:
    DirectoryWriter(OutputFile& file, bool big) : file_(file), big_(big) {}

    // Its place; nothing at an error. `exchange` is the place of the one that it leads to; 0: none.
    std::optional<std::uint64_t> Append(std::vector<ExifValue> values, std::uint64_t exchange) {
        if (exchange != 0) values.push_back({kExchangeDirectory, kLong, 1, Little(exchange, 4)});
        std::sort(values.begin(), values.end(), [](const ExifValue& a, const ExifValue& b) { return a.tag < b.tag; });
        std::int64_t end = file_.Seek(0, SEEK_END);
        if (end < 0 || (end % 2 != 0 && !file_.Write("", 1))) return {};
        end += end % 2;
        const std::size_t room = big_ ? 8 : 4;
        Bytes entries = Little(values.size(), big_ ? 8 : 2), behind;
        const std::size_t size = entries.size() + values.size() * (big_ ? 20 : 12) + room;
        for (const ExifValue& value : values) {
            for (const Bytes& part : {Little(value.tag, 2), Little(value.type, 2), Little(value.count, room)})
                entries.insert(entries.end(), part.begin(), part.end());
            Bytes inside = value.bytes;
            if (inside.size() > room) {
                inside = Little(static_cast<std::uint64_t>(end) + size + behind.size(), room);
                behind.insert(behind.end(), value.bytes.begin(), value.bytes.end());
                if (behind.size() % 2 != 0) behind.push_back(0);
            }
            inside.resize(room);
            entries.insert(entries.end(), inside.begin(), inside.end());
        }
        entries.resize(size);  // no directory comes next
        entries.insert(entries.end(), behind.begin(), behind.end());
        if (!file_.Write(entries.data(), entries.size())) return {};
        return static_cast<std::uint64_t>(end);
    }

private:
    static Bytes Little(std::uint64_t value, std::size_t count) {
        Bytes bytes;
        for (std::size_t i = 0; i < count; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        return bytes;
    }

    OutputFile& file_;
    bool big_;
};

// libtiff knows the common ones; it is told of the others, which it would refuse.
bool SetTag(TIFF* tiff, const ExifValue& value) {
    const TIFFField* field = TIFFFindField(tiff, value.tag, TIFF_ANY);
    if (field == nullptr && (value.type == kByte || value.type == kUndefined)) {
        static char name[] = "Unnamed";
        const TIFFFieldInfo info = {
            value.tag, TIFF_VARIABLE2, TIFF_VARIABLE2, static_cast<TIFFDataType>(value.type), FIELD_CUSTOM, 1, 1, name};
        if (TIFFMergeFieldInfo(tiff, &info, 1) != 0) return false;
        return TIFFSetField(tiff, value.tag, value.count, value.bytes.data()) == 1;
    }
    if (field == nullptr || value.type != kAscii || TIFFFieldDataType(field) != TIFF_ASCII ||
        TIFFFieldPassCount(field) != 0)
        return true;
    return TIFFSetField(tiff, value.tag, std::string(value.bytes.begin(), value.bytes.end()).c_str()) == 1;
}

bool SetDirectory(DirectoryWriter& writer, TIFF* tiff, std::uint32_t tag, const std::vector<ExifValue>& values,
                  std::uint64_t exchange) {
    if (values.empty() && exchange == 0) return true;
    const std::optional<std::uint64_t> place = writer.Append(values, exchange);
    return place && TIFFSetField(tiff, tag, *place) == 1;
}

bool SetExif(OutputFile& file, TIFF* tiff, const Bytes& block) {
    const ExifDirectories exif = TakeExifApart(block);
    for (const ExifValue& value : exif.picture)
        if (std::find(std::begin(kOfPicture), std::end(kOfPicture), value.tag) != std::end(kOfPicture) &&
            !SetTag(tiff, value))
            return false;
    DirectoryWriter writer(file, TIFFIsBigTIFF(tiff) != 0);
    std::uint64_t exchange = 0;
    if (!exif.exchange.empty()) {
        const std::optional<std::uint64_t> place = writer.Append(exif.exchange, 0);
        if (!place) return false;
        exchange = *place;
    }
    return SetDirectory(writer, tiff, TIFFTAG_EXIFIFD, exif.camera, exchange) &&
           SetDirectory(writer, tiff, TIFFTAG_GPSIFD, exif.place, 0);
}

}  // namespace

Metadata ReadTiffMetadata(InputFile& file, TIFF* tiff, Notes& notes) {
    Metadata metadata;
    ExifDirectories exif;
    Bytes photoshop;
    std::uint64_t camera = 0, place = 0, exchange = 0;
    DirectoryReader reader(file, tiff, notes);
    const auto most = [](std::uint16_t tag) -> std::uint64_t {
        if (tag == kXmp || tag == kIptc || tag == kPhotoshop) return kMaxMetadataBytes;
        const bool wanted =
            IsDirectory(tag) || std::find(std::begin(kOfPicture), std::end(kOfPicture), tag) != std::end(kOfPicture);
        return wanted ? kMaxValueBytes : 0;
    };
    reader.Read(TIFFCurrentDirOffset(tiff), most, [&](ExifValue value) {
        if (value.tag == kXmp)
            metadata.xmp = std::move(value.bytes);
        else if (value.tag == kIptc)
            metadata.iptc = IptcOf(std::move(value), TIFFIsBigEndian(tiff) != 0);
        else if (value.tag == kPhotoshop)
            photoshop = std::move(value.bytes);
        else if (value.tag == kCameraDirectory)
            camera = DirectoryReader::PlaceIn(value);
        else if (value.tag == kPlaceDirectory)
            place = DirectoryReader::PlaceIn(value);
        else if (!IsDirectory(value.tag))
            exif.picture.push_back(std::move(value));
    });
    if (camera != 0) exif.camera = reader.ReadAll(camera, &exchange);
    std::uint64_t none = 0;
    if (place != 0) exif.place = reader.ReadAll(place, &none);
    if (exchange != 0) exif.exchange = reader.ReadAll(exchange, &none);
    metadata.exif = PutExifTogether(exif);
    if (metadata.exif.size() > kMaxExifBytes) {
        // A camera's notes about itself are most of it, and their places are not true any more in another file.
        std::erase_if(exif.camera, [](const ExifValue& value) { return value.bytes.size() > 4096; });
        metadata.exif = PutExifTogether(exif);
        notes.Say(file.Path(), "large tags of EXIF are left out");
        if (metadata.exif.size() > kMaxExifBytes) metadata.exif.clear();
    }
    if (metadata.iptc.empty()) metadata.iptc = IptcOfPhotoshop(photoshop);
    return metadata;
}

bool WriteTiffMetadata(OutputFile& file, TIFF* tiff, const Metadata& metadata) {
    if (!metadata.exif.empty() && !SetExif(file, tiff, metadata.exif)) return false;
    if (!metadata.xmp.empty() && TIFFSetField(tiff, TIFFTAG_XMLPACKET, static_cast<std::uint32_t>(metadata.xmp.size()),
                                              metadata.xmp.data()) != 1)
        return false;
    if (metadata.iptc.empty()) return true;
    const TIFFField* field = TIFFFindField(tiff, TIFFTAG_RICHTIFFIPTC, TIFF_ANY);
    if (field != nullptr && TIFFFieldSetGetSize(field) == 1)
        return TIFFSetField(tiff, TIFFTAG_RICHTIFFIPTC, static_cast<std::uint32_t>(metadata.iptc.size()),
                            metadata.iptc.data()) == 1;
    // Older ones take numbers of four bytes; the file has the least byte first.
    std::vector<std::uint32_t> numbers((metadata.iptc.size() + 3) / 4);
    for (std::size_t i = 0; i < metadata.iptc.size(); ++i)
        numbers[i / 4] |= std::uint32_t{metadata.iptc[i]} << (i % 4 * 8);
    return TIFFSetField(tiff, TIFFTAG_RICHTIFFIPTC, static_cast<std::uint32_t>(numbers.size()), numbers.data()) == 1;
}
