#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <functional>

#include "Errors.h"
#include "Notes.h"
#include "codecs/Pnm.h"
#include "codecs/Samples.h"
#include "files/InputFile.h"

namespace {

constexpr std::int64_t kMaxNumber = 4294967295;
constexpr int kEnd = -1;
constexpr std::size_t kMaxWord = 200;  // letters of a word in a header; real ones have twenty

// The bytes of the file, one at a time or many.
class Bytes {
public:
    explicit Bytes(InputFile& file) : file_(file) {}

    // The next byte; kEnd behind the last.
    int Next() {
        if (at_ == filled_) Fill();
        return at_ < filled_ ? buffer_[at_++] : kEnd;
    }

    // The next byte of a header or of plain text, where a comment stands for the end of its line.
    int NextOfText() {
        int byte = Next();
        if (byte == '#')
            while (byte != '\n' && byte != '\r' && byte != kEnd) byte = Next();
        return byte;
    }

    // False when there are fewer.
    bool Read(std::uint8_t* bytes, std::size_t count) {
        const std::size_t buffered = std::min(count, filled_ - at_);
        std::memcpy(bytes, buffer_.data() + at_, buffered);
        at_ += buffered;
        return buffered == count || file_.Read(bytes + buffered, count - buffered) == count - buffered;
    }

    // Leaves bytes out; that there are fewer shows at the next one that is read.
    void Skip(std::int64_t count) {
        const auto buffered = std::min(count, static_cast<std::int64_t>(filled_ - at_));
        at_ += static_cast<std::size_t>(buffered);
        file_.Skip(count - buffered);
    }

private:
    void Fill() {
        filled_ = file_.Read(buffer_.data(), buffer_.size());
        at_ = 0;
    }

    InputFile& file_;
    std::array<std::uint8_t, 16384> buffer_{};
    std::size_t at_ = 0;
    std::size_t filled_ = 0;
};

enum class Form { PlainBits, PlainNumbers, PackedBits, Bytes };

struct TupleRow {
    const char* name;
    std::int64_t depth;
    PixelKind kind;
};

// The first of each depth is what a file without a type means.
constexpr TupleRow kTuples[] = {
    {"GRAYSCALE", 1, PixelKind::Gray},
    {"GRAYSCALE_ALPHA", 2, PixelKind::GrayAlpha},
    {"RGB", 3, PixelKind::RGB},
    {"RGB_ALPHA", 4, PixelKind::RGBA},
    {"BLACKANDWHITE", 1, PixelKind::Gray},
    {"BLACKANDWHITE_ALPHA", 2, PixelKind::GrayAlpha},
    {"CMYK", 4, PixelKind::CMYK},
};

int BitsFor(std::int64_t most) {
    int bits = 1;
    while ((std::int64_t{1} << bits) <= most) ++bits;
    return bits;
}

bool IsSpace(int byte) {
    return byte != kEnd && std::isspace(byte) != 0;
}

class PnmReader : public PictureReader {
public:
    PnmReader(InputFile& file, Notes& notes) : file_(file), notes_(notes), bytes_(file) { ReadHeader(); }
    void ReadRow(std::uint8_t* row) override;
    void SkipRows(std::int64_t count) override;

private:
    [[noreturn]] void Fail(const std::string& what) const {
        if (file_.Error() != 0) FailSystem(file_.Path(), file_.Error());
        FailFile(file_.Path(), "damaged " + name_ + ": " + what);
    }
    [[noreturn]] void FailShort() const { Fail("the file ends too early"); }

    void ReadHeader();
    void ReadPamHeader();
    void CheckSides() const;
    void CheckMost() const;
    void DescribeStorage();
    void StartRows();

    // The next word of the text, and the one byte behind it; empty: the file ends here.
    std::string Word();
    std::int64_t Number(const std::string& word, const char* what) const;
    std::int64_t Number(const char* what) { return Number(Word(), what); }

    [[nodiscard]] std::uint8_t Sample(std::uint32_t value) const {
        if (value > most_)
            Fail("it has a value of " + std::to_string(value) + " where " + std::to_string(most_) + " is the largest");
        return in8Bits_[value];
    }

    void ReadPlainBits(std::uint8_t* row);
    void ReadPlainNumbers(std::uint8_t* row);
    void ReadPackedBits(std::uint8_t* row);
    void ReadBytes(std::uint8_t* row);

    InputFile& file_;
    Notes& notes_;
    Bytes bytes_;
    std::string name_;  // of the format
    Form form_ = Form::Bytes;
    std::int64_t most_ = 1;              // the largest value of a sample
    std::int64_t done_ = 0;              // rows
    std::size_t samples_ = 0;            // of a row; 0: none was read yet
    std::vector<std::uint8_t> in8Bits_;  // for each value
    std::vector<std::uint8_t> fileRow_;  // as the file holds it, where that differs from the image
};

std::string PnmReader::Word() {
    int byte = bytes_.NextOfText();
    while (IsSpace(byte)) byte = bytes_.NextOfText();
    std::string word;
    for (; byte != kEnd && !IsSpace(byte); byte = bytes_.NextOfText()) {
        if (word.size() == kMaxWord) Fail("a word of its text has no end");
        word += static_cast<char>(byte);
    }
    return word;
}

std::int64_t PnmReader::Number(const std::string& word, const char* what) const {
    if (word.empty()) FailShort();
    std::int64_t value = 0;
    for (const char c : word) {
        if (std::isdigit(static_cast<unsigned char>(c)) == 0) Fail(std::string(what) + " is no number: '" + word + "'");
        value = value * 10 + (c - '0');
        if (value > kMaxNumber) Fail(std::string(what) + " is too large: " + word);
    }
    return value;
}

void PnmReader::ReadHeader() {
    bytes_.Next();
    const int digit = bytes_.Next();
    if (digit == '7') {
        ReadPamHeader();
    } else {
        static constexpr const char* kNames[] = {"PBM", "PGM", "PPM"};
        const int colours = (digit - '1') % 3;
        const bool plain = digit <= '3';
        name_ = kNames[colours];
        header_.kind = colours == 2 ? PixelKind::RGB : PixelKind::Gray;
        header_.width = Number("the width");
        header_.height = Number("the height");
        if (colours != 0) most_ = Number("the largest value");
        form_ =
            colours != 0 ? (plain ? Form::PlainNumbers : Form::Bytes) : (plain ? Form::PlainBits : Form::PackedBits);
    }
    CheckSides();
    CheckMost();
    DescribeStorage();
}

void PnmReader::ReadPamHeader() {
    name_ = "PAM";
    std::int64_t depth = 0;
    std::string type;
    most_ = 0;
    // One entry a line; the type may be spread over several.
    for (std::string word = Word(); word != "ENDHDR"; word = Word()) {
        if (word.empty()) FailShort();
        if (word == "WIDTH") {
            header_.width = Number("WIDTH");
        } else if (word == "HEIGHT") {
            header_.height = Number("HEIGHT");
        } else if (word == "DEPTH") {
            depth = Number("DEPTH");
        } else if (word == "MAXVAL") {
            most_ = Number("MAXVAL");
        } else if (word == "TUPLTYPE") {
            type += (type.empty() ? "" : " ") + Word();
        } else {
            Fail("unknown entry '" + word + "' in its header");
        }
    }
    const TupleRow* found = nullptr;
    for (const TupleRow& row : kTuples)
        if (found == nullptr && row.depth == depth && (type.empty() || type == row.name)) found = &row;
    if (found == nullptr)
        FailFile(file_.Path(), "unsupported PAM: " + std::to_string(depth) + " samples a pixel of type '" + type + "'");
    header_.kind = found->kind;
}

void PnmReader::CheckSides() const {
    if (header_.width < 1 || header_.height < 1)
        Fail("a size of " + std::to_string(header_.width) + " x " + std::to_string(header_.height) + " pixels");
}

void PnmReader::CheckMost() const {
    if (most_ < 1 || most_ > 65535)
        Fail("the largest value is " + std::to_string(most_) + ", where 1 to 65535 are allowed");
}

void PnmReader::DescribeStorage() {
    header_.bitDepth = BitsFor(most_);
    header_.storage = form_ == Form::PlainBits || form_ == Form::PlainNumbers ? "plain text" : "bytes";
    if (most_ + 1 != std::int64_t{1} << header_.bitDepth) header_.storage += ", 0 to " + std::to_string(most_);
}

// PBM counts ink: 0 is white.
void PnmReader::ReadPlainBits(std::uint8_t* row) {
    for (std::size_t i = 0; i < samples_; ++i) {
        int byte = bytes_.NextOfText();
        while (IsSpace(byte)) byte = bytes_.NextOfText();
        if (byte == kEnd) FailShort();
        if (byte != '0' && byte != '1') Fail(std::string("'") + static_cast<char>(byte) + "' is neither 0 nor 1");
        row[i] = byte == '0' ? 255 : 0;
    }
}

void PnmReader::ReadPlainNumbers(std::uint8_t* row) {
    for (std::size_t i = 0; i < samples_; ++i) row[i] = Sample(static_cast<std::uint32_t>(Number("a value")));
}

void PnmReader::ReadPackedBits(std::uint8_t* row) {
    if (!bytes_.Read(fileRow_.data(), fileRow_.size())) FailShort();
    for (std::size_t i = 0; i < samples_; ++i) row[i] = (fileRow_[i / 8] >> (7 - i % 8) & 1) == 0 ? 255 : 0;
}

void PnmReader::ReadBytes(std::uint8_t* row) {
    const bool wide = most_ > 255;
    if (!bytes_.Read(wide ? fileRow_.data() : row, samples_ * (wide ? 2U : 1U))) FailShort();
    if (most_ == 255) return;
    for (std::size_t i = 0; i < samples_; ++i) {
        const std::uint32_t value =
            wide ? static_cast<std::uint32_t>(fileRow_[2 * i] << 8 | fileRow_[2 * i + 1]) : row[i];
        row[i] = Sample(value);
    }
}

void PnmReader::StartRows() {
    samples_ = static_cast<std::size_t>(header_.width) * static_cast<unsigned>(Describe(header_.kind).channels);
    for (std::int64_t value = 0; value <= most_; ++value)
        in8Bits_.push_back(SampleIn8Bits(static_cast<std::uint32_t>(value), static_cast<std::uint32_t>(most_)));
    if (form_ == Form::PackedBits) fileRow_.resize((samples_ + 7) / 8);
    if (form_ == Form::Bytes && most_ > 255) fileRow_.resize(samples_ * 2);
}

void PnmReader::SkipRows(std::int64_t count) {
    if (samples_ == 0) StartRows();
    if (form_ == Form::PlainBits || form_ == Form::PlainNumbers) return PictureReader::SkipRows(count);
    bytes_.Skip(count * static_cast<std::int64_t>(fileRow_.empty() ? samples_ : fileRow_.size()));
}

void PnmReader::ReadRow(std::uint8_t* row) {
    if (samples_ == 0) StartRows();
    switch (form_) {
        case Form::PlainBits:
            ReadPlainBits(row);
            break;
        case Form::PlainNumbers:
            ReadPlainNumbers(row);
            break;
        case Form::PackedBits:
            ReadPackedBits(row);
            break;
        case Form::Bytes:
            ReadBytes(row);
            break;
    }
    if (++done_ == header_.height && header_.bitDepth > 8)
        notes_.Say(file_.Path(), std::to_string(header_.bitDepth) + " bits a channel are reduced to 8");
}

}  // namespace

std::unique_ptr<PictureReader> OpenPnm(InputFile& file, Notes& notes) {
    return std::make_unique<PnmReader>(file, notes);
}
