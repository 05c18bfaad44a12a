#include "effects/Arguments.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>

#include "Errors.h"
#include "Suggest.h"
#include "effects/Curve.h"

namespace {

constexpr int kLongestSide = 2147483647;

// The whole of the text as a number; false: it is none.
template <typename Number>
bool ReadNumber(std::string_view text, Number* number) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, *number);
    return error == std::errc() && stop == end && !text.empty();
}

bool ReadSide(std::string_view text, int* side) {
    *side = 0;
    return text.empty() || (ReadNumber(text, side) && *side >= 1);
}

bool ReadSize(std::string_view text, SizeRequest* size) {
    if (text.ends_with('%'))
        return ReadNumber(text.substr(0, text.size() - 1), &size->percent) && std::isfinite(size->percent) &&
               size->percent > 0;
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos) return false;
    return ReadSide(text.substr(0, cross), &size->width) && ReadSide(text.substr(cross + 1), &size->height) &&
           (size->width > 0 || size->height > 0);
}

bool ReadBox(std::string_view text, AreaRequest* box) {
    const std::size_t cross = text.find('x');
    const std::string_view height = cross == std::string_view::npos ? text : text.substr(cross + 1);
    return ReadNumber(text.substr(0, cross), &box->width) && ReadNumber(height, &box->height) && box->width >= 1 &&
           box->height >= 1;
}

bool ReadPoint(std::string_view text, int* x, int* y) {
    const std::size_t comma = text.find(',');
    return comma != std::string_view::npos && ReadNumber(text.substr(0, comma), x) &&
           ReadNumber(text.substr(comma + 1), y);
}

bool ReadArea(std::string_view text, AreaRequest* area) {
    const std::size_t comma = text.rfind(',');
    const std::size_t cross = text.find('x');
    if (comma == std::string_view::npos || cross == std::string_view::npos || cross < comma) return false;
    return ReadPoint(text.substr(0, comma), &area->x, &area->y) &&
           ReadNumber(text.substr(comma + 1, cross - comma - 1), &area->width) &&
           ReadNumber(text.substr(cross + 1), &area->height) && area->width >= 1 && area->height >= 1;
}

bool InRange(const ArgumentRow& row, double number) {
    return std::isfinite(number) && number >= row.least && number <= row.most;
}

// Two hexadecimal digits.
bool ReadPair(std::string_view text, int* value) {
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), *value, 16);
    return error == std::errc() && stop == text.data() + text.size() && text[0] != '-';
}

// A # may be left out, since a shell takes it at the start of a word for a comment: six or eight digits are a colour,
// up to three a gray.
bool ReadColour(std::string_view text, bool withAlpha, RGBAColour* colour) {
    const bool hash = text.starts_with('#');
    const std::string_view digits = hash ? text.substr(1) : text;
    *colour = {};
    if (digits.size() == 6 || (withAlpha && digits.size() == 8))
        return ReadPair(digits.substr(0, 2), &colour->red) && ReadPair(digits.substr(2, 2), &colour->green) &&
               ReadPair(digits.substr(4, 2), &colour->blue) &&
               (digits.size() == 6 || ReadPair(digits.substr(6, 2), &colour->alpha));
    int gray = 0;
    if (hash || digits.size() > 3 || !ReadNumber(digits, &gray) || gray < 0 || gray > 255) return false;
    *colour = {gray, gray, gray, 255, true};
    return true;
}

bool ReadMatrix(const ArgumentRow& row, std::string_view text, std::vector<std::int32_t>* numbers) {
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(',', start), text.size());
        std::int32_t number = 0;
        if (!ReadNumber(text.substr(start, end - start), &number) || !InRange(row, number)) return false;
        numbers->push_back(number);
        start = end + 1;
    }
    const int side = MatrixSide(numbers->size());
    return side >= 3 && side <= 50 &&
           static_cast<std::size_t>(side) * static_cast<std::size_t>(side) == numbers->size();
}

bool ReadCurve(std::string_view text, std::vector<std::int32_t>* values) {
    if (!LooksLikeCurvePoints(text)) return !text.empty();
    const std::optional<std::vector<std::int32_t>> curve = CurveThroughPoints(text);
    if (curve) *values = *curve;
    return curve.has_value();
}

bool ReadValue(const ArgumentRow& row, std::string_view text, ArgumentValue* value) {
    switch (row.type) {
        case ArgumentType::Size:
            return ReadSize(text, &value->size);
        case ArgumentType::Box:
            return ReadBox(text, &value->area);
        case ArgumentType::Integer: {
            std::int64_t whole = 0;
            if (!ReadNumber(text, &whole)) return false;
            value->number = static_cast<double>(whole);
            return InRange(row, value->number);
        }
        case ArgumentType::Number:
            return ReadNumber(text, &value->number) && InRange(row, value->number);
        case ArgumentType::Choice: {
            const auto found = std::find(row.choices.begin(), row.choices.end(), text);
            value->number = static_cast<double>(found - row.choices.begin());
            return found != row.choices.end();
        }
        case ArgumentType::Colour:
        case ArgumentType::ColourAlpha:
            return ReadColour(text, row.type == ArgumentType::ColourAlpha, &value->colour);
        case ArgumentType::Matrix:
            return ReadMatrix(row, text, &value->numbers);
        case ArgumentType::Curve:
            value->text = text;
            return ReadCurve(text, &value->numbers);
        case ArgumentType::Area:
            return ReadArea(text, &value->area);
        case ArgumentType::Point:
            return ReadPoint(text, &value->area.x, &value->area.y);
        case ArgumentType::File:
            value->text = text;
            return !text.empty();
        case ArgumentType::Flag:
            return text == row.name;
    }
    return false;
}

// The row that a word is for; the number of rows: none.
std::size_t FindNamed(const std::vector<ArgumentRow>& rows, const std::string& name) {
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const ArgumentRow& row) { return name == row.name; });
    return static_cast<std::size_t>(found - rows.begin());
}

std::size_t FindBare(const std::vector<ArgumentRow>& rows, const std::vector<bool>& given, const std::string& word) {
    const std::size_t named = FindNamed(rows, word);
    if (named < rows.size() && rows[named].type == ArgumentType::Flag) return named;
    std::size_t index = 0;
    while (index < rows.size() && (given[index] || rows[index].fallback != nullptr)) ++index;
    return index;
}

std::string NumberText(double number) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, number).ptr;
    return {text, end};
}

std::string Join(const std::vector<const char*>& words, const char* between) {
    std::string text;
    for (const char* word : words) text += (text.empty() ? "" : between) + std::string(word);
    return text;
}

std::vector<std::string> Names(const std::vector<ArgumentRow>& rows) {
    std::vector<std::string> names;
    for (const ArgumentRow& row : rows) names.emplace_back(row.name);
    return names;
}

std::string List(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return text;
}

}  // namespace

int MatrixSide(std::size_t count) {
    return static_cast<int>(std::lround(std::sqrt(static_cast<double>(count))));
}

PixelSize Resolve(const SizeRequest& request, int width, int height) {
    const auto side = [](double pixels) {
        return static_cast<std::int64_t>(std::clamp(std::round(pixels), 1.0, static_cast<double>(kLongestSide)));
    };
    if (request.percent > 0) return {side(width * request.percent / 100), side(height * request.percent / 100)};
    if (request.width == 0) return {side(static_cast<double>(request.height) * width / height), request.height};
    if (request.height == 0) return {request.width, side(static_cast<double>(request.width) * height / width)};
    return {request.width, request.height};
}

Arguments::Arguments(const std::string& effect, const std::vector<ArgumentRow>& rows,
                     const std::vector<std::string>& words, const std::vector<std::string>& otherWords)
    : rows_(&rows), values_(rows.size()) {
    std::vector<bool> given(rows.size(), false);
    for (const std::string& word : words) {
        const std::size_t equals = word.find('=');
        const bool named = equals != std::string::npos;
        const std::string name = named ? word.substr(0, equals) : std::string();
        const std::size_t index = named ? FindNamed(rows, name) : FindBare(rows, given, word);
        if (index == rows.size() && named)
            throw UsageError(effect + ": unknown argument '" + name + "'" + Suggestion(name, Names(rows)) +
                             "; it takes " + List(Names(rows)));
        if (index == rows.size())
            throw UsageError("'" + word + "' is neither an argument of " + effect + " nor an effect" +
                             Suggestion(word, otherWords) + "; see 'zor help " + effect + "'");
        const ArgumentRow& row = rows[index];
        if (given[index]) throw UsageError(effect + ": '" + word + "' gives " + name + " a second time");
        given[index] = true;
        const std::string text = named ? word.substr(equals + 1) : word;
        if (!ReadValue(row, text, &values_[index]))
            throw UsageError(effect + ": '" + word + "': " + row.name + " is " + Expectation(row) +
                             Suggestion(text, {row.choices.begin(), row.choices.end()}));
        values_[index].given = true;
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (given[i]) continue;
        if (rows[i].fallback == nullptr)
            throw UsageError(effect + ": " + rows[i].name + " is missing: " + Expectation(rows[i]));
        if (*rows[i].fallback == '\0') continue;
        if (!ReadValue(rows[i], rows[i].fallback, &values_[i])) throw std::logic_error(rows[i].name);
        values_[i].given = true;
    }
}

std::size_t Arguments::Index(std::string_view name) const {
    for (std::size_t i = 0; i < rows_->size(); ++i)
        if ((*rows_)[i].name == name) return i;
    throw std::logic_error(std::string(name));
}

std::string Arguments::Choice(std::string_view name) const {
    const std::size_t index = Index(name);
    return (*rows_)[index].choices[static_cast<std::size_t>(values_[index].number)];
}

std::string Expectation(const ArgumentRow& row) {
    switch (row.type) {
        case ArgumentType::Size:
            return "a size such as 800x600, 800x, x600 or 50%";
        case ArgumentType::Box:
            return "a size such as 800 or 800x600";
        case ArgumentType::Integer:
            return "a whole number from " + NumberText(row.least) + " to " + NumberText(row.most);
        case ArgumentType::Number:
            return "a number from " + NumberText(row.least) + " to " + NumberText(row.most);
        case ArgumentType::Choice:
            return "one of " + Join(row.choices, ", ");
        case ArgumentType::Colour:
            return "a colour such as #FF8000, or a gray from 0 to 255";
        case ArgumentType::ColourAlpha:
            return "a colour such as #FF8000, #FF800080 with alpha, or a gray from 0 to 255";
        case ArgumentType::Matrix:
            return "9, 16, 25 or more numbers of a square up to 50 x 50, whole and from " + NumberText(row.least) +
                   " to " + NumberText(row.most) + ", with commas between them";
        case ArgumentType::Curve:
            return "points X:Y,X:Y,... from 0 to 255 with rising X, or a file that holds such points or 256 values";
        case ArgumentType::Area:
            return "an area X,Y,WxH such as 10,20,300x200";
        case ArgumentType::Point:
            return "a place X,Y such as 10,20";
        case ArgumentType::File:
            return "a picture file";
        case ArgumentType::Flag:
            return "said by the word alone";
    }
    return {};
}

std::string Placeholder(const ArgumentRow& row) {
    if (row.type == ArgumentType::Flag) return std::string("[") + row.name + "]";
    const std::string value = [&row]() -> std::string {
        switch (row.type) {
            case ArgumentType::Size:
                return "WxH|Wx|xH|N%";
            case ArgumentType::Box:
                return "N|WxH";
            case ArgumentType::Choice:
                return Join(row.choices, "|");
            case ArgumentType::Area:
                return "X,Y,WxH";
            case ArgumentType::Point:
                return "X,Y";
            case ArgumentType::Colour:
                return "#RRGGBB|N";
            case ArgumentType::ColourAlpha:
                return "#RRGGBB[AA]|N";
            case ArgumentType::Matrix:
                return "N,N,...";
            case ArgumentType::Curve:
                return "X:Y,...|FILE";
            case ArgumentType::File:
                return "FILE";
            default:
                return "N";
        }
    }();
    return row.fallback == nullptr ? value : std::string("[") + row.name + "=" + value + "]";
}
