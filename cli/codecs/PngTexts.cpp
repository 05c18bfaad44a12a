#include "codecs/PngTexts.h"

#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <optional>

#include "codecs/Iptc.h"
#include "codecs/TextBytes.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr const char* kXmpKeyword = "XML:com.adobe.xmp";
constexpr const char* kRawKeyword = "Raw profile type ";  // blocks of other formats as hexadecimal digits
constexpr const char* kTooMuch = "texts that take more than 16 MiB are left out";
constexpr const char* kDamaged = "a damaged text is left out";
constexpr std::size_t kMaxKeyword = 79;
constexpr std::size_t kMaxTexts = 1000;
constexpr std::size_t kPackFrom = 1024;  // shorter texts hardly get smaller

std::size_t SizeOf(const Metadata& metadata) {
    std::size_t size = metadata.exif.size() + metadata.xmp.size() + metadata.iptc.size();
    for (const PictureText& text : metadata.texts)
        size += text.keyword.size() + text.text.size() + text.language.size() + text.translatedKeyword.size();
    return size;
}

// Goes over the bytes of a part.
class PartReader {
public:
    explicit PartReader(const Bytes& bytes) : bytes_(bytes) {}

    // Up to the next zero, which is passed; nothing where there is none.
    std::optional<std::string> Word() {
        const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(at_);
        const auto end = std::find(from, bytes_.end(), 0);
        if (end == bytes_.end()) return {};
        at_ = static_cast<std::size_t>(end - bytes_.begin()) + 1;
        return std::string(from, end);
    }
    // -1: there is no more.
    int Byte() { return at_ < bytes_.size() ? bytes_[at_++] : -1; }
    [[nodiscard]] std::string Rest() const { return {bytes_.begin() + static_cast<std::ptrdiff_t>(at_), bytes_.end()}; }

private:
    const Bytes& bytes_;
    std::size_t at_ = 0;
};

// False: damaged, or longer than `most`, which `text` then is.
bool Unpack(const std::string& packed, std::size_t most, std::string* text) {
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK) return false;
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    char buffer[16384];
    int status = Z_OK;
    while (status == Z_OK && text->size() <= most) {
        stream.next_out = reinterpret_cast<Bytef*>(buffer);
        stream.avail_out = sizeof buffer;
        status = inflate(&stream, Z_NO_FLUSH);
        text->append(buffer, sizeof buffer - stream.avail_out);
    }
    inflateEnd(&stream);
    return status == Z_STREAM_END && text->size() <= most;
}

void Append(Bytes* bytes, const std::string& text) {
    bytes->insert(bytes->end(), text.begin(), text.end());
}

void AppendPacked(Bytes* bytes, const std::string& text) {
    uLongf size = compressBound(text.size());
    const std::size_t start = bytes->size();
    bytes->resize(start + size);
    compress2(bytes->data() + start, &size, reinterpret_cast<const Bytef*>(text.data()), text.size(), 9);
    bytes->resize(start + size);
}

// A line with the name, one with the count of bytes, and then the bytes.
std::optional<Bytes> UnpackRaw(const std::string& text) {
    std::size_t at = text.find_first_not_of(" \n");
    if (at != std::string::npos) at = text.find('\n', at);
    if (at == std::string::npos) return {};
    while (at < text.size() && std::isspace(static_cast<unsigned char>(text[at])) != 0) ++at;
    std::size_t count = 0;
    for (; at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])) != 0; ++at) {
        count = count * 10 + static_cast<std::size_t>(text[at] - '0');
        if (count > text.size()) return {};
    }
    Bytes bytes;
    int high = -1;
    for (; at < text.size() && bytes.size() < count; ++at) {
        const auto letter = static_cast<unsigned char>(text[at]);
        if (std::isspace(letter) != 0) continue;
        if (std::isxdigit(letter) == 0) return {};
        const int digit = std::isdigit(letter) != 0 ? letter - '0' : std::tolower(letter) - 'a' + 10;
        if (high >= 0) bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit));
        high = high < 0 ? digit : -1;
    }
    if (bytes.size() != count) return {};
    return bytes;
}

std::string PackRaw(const char* name, const Bytes& bytes) {
    char word[16];
    std::snprintf(word, sizeof word, "%8zu", bytes.size());
    std::string text = std::string("\n") + name + "\n" + word;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i % 36 == 0) text += '\n';
        std::snprintf(word, sizeof word, "%02x", bytes[i]);
        text += word;
    }
    return text + "\n";
}

bool StartsWith(const Bytes& bytes, const char* text, std::size_t size) {
    return bytes.size() > size && std::memcmp(bytes.data(), text, size) == 0;
}

void TakeIfNone(const Bytes& bytes, std::size_t from, Bytes* place) {
    if (place->empty()) place->assign(bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.end());
}

// A block that another program has put into a text.
std::string TakeRaw(const std::string& name, const std::string& text, Metadata* metadata) {
    const std::optional<Bytes> bytes = UnpackRaw(text);
    if (!bytes) return kDamaged;
    static constexpr char kXmpStart[] = "http://ns.adobe.com/xap/1.0/";
    if (name == "exif" || name == "APP1") {
        if (StartsWith(*bytes, kXmpStart, sizeof kXmpStart))
            TakeIfNone(*bytes, sizeof kXmpStart, &metadata->xmp);
        else
            TakeIfNone(*bytes, StartsWith(*bytes, "Exif\0\0", 6) ? 6 : 0, &metadata->exif);
    } else if (name == "xmp") {
        TakeIfNone(*bytes, 0, &metadata->xmp);
    } else if (name == "iptc" || name == "8bim") {
        const Bytes records = StartsWith(*bytes, "8BIM", 4) ? IptcOfPhotoshop(*bytes) : *bytes;
        TakeIfNone(records, 0, &metadata->iptc);
    } else {
        return "a block of the kind '" + OneLine(name, 40) + "' is left out";
    }
    return {};
}

std::string TakeText(PictureText text, Metadata* metadata) {
    if (text.keyword == kXmpKeyword) {
        if (metadata->xmp.empty()) metadata->xmp.assign(text.text.begin(), text.text.end());
        return {};
    }
    if (text.keyword.starts_with(kRawKeyword))
        return TakeRaw(text.keyword.substr(std::strlen(kRawKeyword)), text.text, metadata);
    std::replace(text.text.begin(), text.text.end(), '\0', ' ');
    if (metadata->texts.size() == kMaxTexts) return "more than 1000 texts; the others are left out";
    metadata->texts.push_back(std::move(text));
    return {};
}

PngPart PartOf(const PictureText& text) {
    const std::string keyword = Latin1OfUtf8(text.keyword).value_or(kCommentKeyword).substr(0, kMaxKeyword);
    const std::optional<std::string> latin = Latin1OfUtf8(text.text);
    const bool packs = text.text.size() >= kPackFrom;
    PngPart part{"tEXt", {}};
    Append(&part.bytes, keyword);
    part.bytes.push_back(0);
    if (latin && text.language.empty() && text.translatedKeyword.empty()) {
        if (!packs) {
            Append(&part.bytes, *latin);
            return part;
        }
        part.name = "zTXt";
        part.bytes.push_back(0);
        AppendPacked(&part.bytes, *latin);
        return part;
    }
    part.name = "iTXt";
    part.bytes.push_back(packs ? 1 : 0);
    part.bytes.push_back(0);
    for (const std::string* word : {&text.language, &text.translatedKeyword}) {
        Append(&part.bytes, *word);
        part.bytes.push_back(0);
    }
    packs ? AppendPacked(&part.bytes, text.text) : Append(&part.bytes, text.text);
    return part;
}

}  // namespace

bool IsPngText(const char* name) {
    static constexpr const char* kNames[] = {"eXIf", "tEXt", "zTXt", "iTXt"};
    return std::any_of(std::begin(kNames), std::end(kNames),
                       [name](const char* one) { return std::memcmp(name, one, 4) == 0; });
}

std::string TakePngText(const PngPart& part, Metadata* metadata) {
    const std::size_t used = SizeOf(*metadata);
    if (used >= kMaxMetadataBytes || part.bytes.size() > kMaxMetadataBytes - used) return kTooMuch;
    if (part.name == "eXIf") {
        metadata->exif = part.bytes;  // before one that stands in a text
        return {};
    }
    PartReader reader(part.bytes);
    const std::optional<std::string> keyword = reader.Word();
    if (!keyword || keyword->empty() || keyword->size() > kMaxKeyword) return kDamaged;
    PictureText text{Utf8OfLatin1(*keyword), {}, {}, {}};
    bool packed = part.name == "zTXt";
    if (part.name == "iTXt") {
        packed = reader.Byte() == 1;
        if (reader.Byte() < 0) return kDamaged;
        const std::optional<std::string> language = reader.Word(), translated = reader.Word();
        if (!language || !translated) return kDamaged;
        text.language = *language;
        text.translatedKeyword = *translated;
    } else if (packed && reader.Byte() != 0) {
        return kDamaged;
    }
    text.text = reader.Rest();
    if (packed) {
        std::string unpacked;
        if (!Unpack(text.text, kMaxMetadataBytes - used, &unpacked))
            return unpacked.size() > kMaxMetadataBytes - used ? kTooMuch : kDamaged;
        text.text = std::move(unpacked);
    }
    if (part.name != "iTXt" && !keyword->starts_with(kRawKeyword)) text.text = Utf8OfLatin1(text.text);
    if (part.name == "iTXt")
        for (const std::string* word : {&text.text, &text.language, &text.translatedKeyword})
            if (!IsUtf8(*word)) return kDamaged;
    return TakeText(std::move(text), metadata);
}

std::vector<PngPart> PngTextsOf(const Metadata& metadata) {
    std::vector<PngPart> parts;
    if (!metadata.exif.empty()) parts.push_back({"eXIf", metadata.exif});
    if (!metadata.xmp.empty()) {
        PngPart part{"iTXt", {}};
        Append(&part.bytes, kXmpKeyword);
        part.bytes.insert(part.bytes.end(), 5, 0);
        part.bytes.insert(part.bytes.end(), metadata.xmp.begin(), metadata.xmp.end());
        parts.push_back(std::move(part));
    }
    if (!metadata.iptc.empty())
        parts.push_back(
            PartOf({std::string(kRawKeyword) + "iptc", PackRaw("iptc", PhotoshopOfIptc(metadata.iptc)), {}, {}}));
    for (const PictureText& text : metadata.texts) parts.push_back(PartOf(text));
    return parts;
}
