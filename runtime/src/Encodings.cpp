#include <iconv.h>

#include <bit>
#include <cerrno>
#include <string>
#include <system_error>

#include "zorhost/Value.h"

namespace zorhost {

namespace {

constexpr bool kLittleEndian = std::endian::native == std::endian::little;
constexpr const char* kCodePoints = kLittleEndian ? "UTF-32LE" : "UTF-32BE";

struct EncodingName {
    unsigned encoding;
    const char* name;       // as iconv knows it
    std::size_t unitBytes;  // what is passed over where a text is wrong
};

constexpr EncodingName kEncodings[] = {
    {kMacRoman, "MACINTOSH", 1}, {kUTF16, kLittleEndian ? "UTF-16LE" : "UTF-16BE", 2},
    {kASCII, "ASCII", 1},        {kUTF8, "UTF-8", 1},
    {kUTF32, kCodePoints, 4},
};

const EncodingName& FindEncoding(unsigned encoding) {
    for (const EncodingName& known : kEncodings) {
        if (known.encoding == encoding) return known;
    }
    throw Error("unknown text encoding " + std::to_string(encoding));
}

class Converter {
public:
    Converter(const char* to, const char* from) : handle_(iconv_open(to, from)) {
        if (handle_ == kInvalid) throw Error(std::string("this system converts no text from ") + from + " to " + to);
    }
    ~Converter() { iconv_close(handle_); }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    // Converts everything; replacement, in the target's encoding, stands for each unit that has no counterpart.
    std::string Run(std::string text, std::size_t unitBytes, std::string_view replacement) {
        std::string result;
        char* in = text.data();
        std::size_t left = text.size();
        char buffer[1024];
        while (left > 0) {
            char* out = buffer;
            std::size_t room = sizeof buffer;
            const std::size_t count = iconv(handle_, &in, &left, &out, &room);
            result.append(buffer, sizeof buffer - room);
            if (count != static_cast<std::size_t>(-1) || errno == E2BIG) continue;
            result.append(replacement);
            const std::size_t skipped = unitBytes < left ? unitBytes : left;
            in += skipped;
            left -= skipped;
        }
        return result;
    }

private:
    static inline const iconv_t kInvalid = reinterpret_cast<iconv_t>(-1);
    iconv_t handle_;
};

}  // namespace

String Convert(const String& text, unsigned encoding) {
    if (encoding == text.encoding || encoding == kRawBytes || text.encoding == kRawBytes) {
        return String{text.bytes, encoding};
    }
    const EncodingName& from = FindEncoding(text.encoding);
    const EncodingName& to = FindEncoding(encoding);
    // By way of code points, so that one character that the target lacks becomes one "?".
    constexpr char32_t kQuestionMark = U'?';
    const std::string_view wideReplacement(reinterpret_cast<const char*>(&kQuestionMark), sizeof kQuestionMark);
    std::string points = Converter(kCodePoints, from.name).Run(text.bytes, from.unitBytes, wideReplacement);
    Converter encode(to.name, kCodePoints);
    const std::string replacement = encode.Run(std::string(wideReplacement), sizeof(char32_t), "");
    return String{encode.Run(std::move(points), sizeof(char32_t), replacement), encoding};
}

}  // namespace zorhost
