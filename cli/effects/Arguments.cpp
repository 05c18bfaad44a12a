#include "effects/Arguments.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>

#include "Errors.h"
#include "Suggest.h"

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

bool InRange(const ArgumentRow& row, double number) {
    return std::isfinite(number) && number >= row.least && number <= row.most;
}

bool ReadValue(const ArgumentRow& row, std::string_view text, ArgumentValue* value) {
    switch (row.type) {
        case ArgumentType::Size:
            return ReadSize(text, &value->size);
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
    }
    return false;
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
        std::size_t index = 0;
        while (index < rows.size() &&
               (named ? name != rows[index].name : given[index] || rows[index].fallback != nullptr))
            ++index;
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
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (given[i]) continue;
        if (rows[i].fallback == nullptr)
            throw UsageError(effect + ": " + rows[i].name + " is missing: " + Expectation(rows[i]));
        if (!ReadValue(rows[i], rows[i].fallback, &values_[i])) throw std::logic_error(rows[i].name);
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
        case ArgumentType::Integer:
            return "a whole number from " + NumberText(row.least) + " to " + NumberText(row.most);
        case ArgumentType::Number:
            return "a number from " + NumberText(row.least) + " to " + NumberText(row.most);
        case ArgumentType::Choice:
            return "one of " + Join(row.choices, ", ");
    }
    return {};
}

std::string Placeholder(const ArgumentRow& row) {
    std::string value = "N";
    if (row.type == ArgumentType::Size) value = "WxH|Wx|xH|N%";
    if (row.type == ArgumentType::Choice) value = Join(row.choices, "|");
    return row.fallback == nullptr ? value : std::string("[") + row.name + "=" + value + "]";
}
