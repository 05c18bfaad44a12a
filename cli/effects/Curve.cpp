#include "effects/Curve.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>

#include "Errors.h"
#include "files/InputFile.h"

namespace {

constexpr std::size_t kEntries = 256;

std::vector<std::string_view> Words(std::string_view text) {
    constexpr std::string_view kBetween = ", \t\r\n";
    std::vector<std::string_view> words;
    for (std::size_t start = text.find_first_not_of(kBetween); start < text.size();) {
        const std::size_t end = std::min(text.find_first_of(kBetween, start), text.size());
        words.push_back(text.substr(start, end - start));
        start = text.find_first_not_of(kBetween, end);
    }
    return words;
}

std::optional<std::int32_t> ReadByte(std::string_view text) {
    std::uint8_t value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

std::optional<std::vector<std::int32_t>> AllValues(std::string_view text) {
    std::vector<std::int32_t> values;
    for (const std::string_view word : Words(text)) {
        const std::optional<std::int32_t> value = ReadByte(word);
        if (!value) return std::nullopt;
        values.push_back(*value);
    }
    if (values.size() != kEntries) return std::nullopt;
    return values;
}

}  // namespace

bool LooksLikeCurvePoints(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789:,") == std::string_view::npos;
}

std::optional<std::vector<std::int32_t>> CurveThroughPoints(std::string_view text) {
    std::vector<std::int32_t> values;
    int lastX = -1, lastY = 0;
    for (const std::string_view word : Words(text)) {
        const std::size_t colon = word.find(':');
        if (colon == std::string_view::npos) return std::nullopt;
        const std::optional<std::int32_t> x = ReadByte(word.substr(0, colon)), y = ReadByte(word.substr(colon + 1));
        if (!x || !y || *x <= lastX) return std::nullopt;
        const int fromY = lastX < 0 ? *y : lastY;
        for (int i = lastX + 1; i <= *x; ++i)
            values.push_back(
                fromY + static_cast<int>(std::lround(static_cast<double>(*y - fromY) * (i - lastX) / (*x - lastX))));
        lastX = *x;
        lastY = *y;
    }
    if (lastX < 0) return std::nullopt;
    values.resize(kEntries, lastY);
    return values;
}

std::vector<std::int32_t> LoadCurve(const std::string& path) {
    // A slip in the points makes a name of a file of them.
    if (path != "-" && access(path.c_str(), F_OK) != 0)
        throw RunError("curve: '" + path + "' is neither points X:Y,X:Y,... nor a file: " + std::strerror(errno));
    InputFile file(path);
    // Far more than any list of 256 points needs.
    std::string text(65536, '\0');
    text.resize(file.Read(reinterpret_cast<std::uint8_t*>(text.data()), text.size()));
    if (file.Error() != 0) FailSystem(path, file.Error());
    std::optional<std::vector<std::int32_t>> values = AllValues(text);
    if (!values) values = CurveThroughPoints(text);
    if (!values) FailFile(path, "holds no curve: neither 256 values from 0 to 255 nor points X:Y with rising X");
    return *values;
}
