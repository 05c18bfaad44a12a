#pragma once
// Arguments of effects: what a row of the effect table says about them, and their values once they have been read.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

enum class ArgumentType {
    Size,     // WxH, Wx, xH or N%
    Integer,  // whole number
    Number,   // decimal number
    Choice    // one word out of a list
};

struct ArgumentRow {
    const char* name;
    ArgumentType type;
    const char* fallback;  // text of the value when none is given; null: the argument must be given
    double least;          // range of Integer and Number, both ends included
    double most;
    std::vector<const char*> choices;  // of Choice
    const char* help;
};

// A size as it was asked for. Exactly one of the two forms is in use.
struct SizeRequest {
    int width = 0;       // pixels; 0: follows from the height
    int height = 0;      // rows; 0: follows from the width
    double percent = 0;  // above 0: of both sides, instead
};

// The size that a picture gets: sides that follow keep its shape; each is rounded, and at least 1.
struct PixelSize {
    std::int64_t width;
    std::int64_t height;
};
PixelSize Resolve(const SizeRequest& request, int width, int height);

struct ArgumentValue {
    SizeRequest size;
    double number = 0;  // Integer, Number; the place in the list of a Choice
};

// The values of one effect's arguments, in the order of its rows.
class Arguments {
public:
    // Reads words as "name=value", or as bare values for the arguments that must be given, in their order. `effect`
    // goes into the messages, and a word that fits nowhere is compared with `otherWords`, which could have stood there.
    // A UsageError names the word and what was expected.
    Arguments(const std::string& effect, const std::vector<ArgumentRow>& rows, const std::vector<std::string>& words,
              const std::vector<std::string>& otherWords);

    // By name; a name that the rows do not have is an error of the program.
    [[nodiscard]] const SizeRequest& Size(std::string_view name) const { return Value(name).size; }
    [[nodiscard]] int Integer(std::string_view name) const { return static_cast<int>(Value(name).number); }
    [[nodiscard]] double Number(std::string_view name) const { return Value(name).number; }
    [[nodiscard]] std::string Choice(std::string_view name) const;

private:
    [[nodiscard]] std::size_t Index(std::string_view name) const;
    [[nodiscard]] const ArgumentValue& Value(std::string_view name) const { return values_[Index(name)]; }

    const std::vector<ArgumentRow>* rows_;
    std::vector<ArgumentValue> values_;
};

// What an argument takes, for messages and help: "a whole number from 0 to 32".
std::string Expectation(const ArgumentRow& row);

// How it is written in a usage line: "SIZE", "[threads=N]".
std::string Placeholder(const ArgumentRow& row);
