#pragma once
// Arguments of effects: what a row of the effect table says about them, and their values once they have been read.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

enum class ArgumentType {
    Size,         // WxH, Wx, xH or N%
    Box,          // WxH, or N for NxN
    Integer,      // whole number
    Number,       // decimal number
    Choice,       // one word out of a list
    Colour,       // RRGGBB with or without a # before it, or one number from 0 to 255 for a gray
    ColourAlpha,  // the same, or RRGGBBAA
    Matrix,       // whole numbers with commas between them, as many as fill a square of 3 x 3 to 50 x 50
    Curve,        // points X:Y,X:Y,... or the name of a file
    Area,         // X,Y,WxH
    Point,        // X,Y
    File,         // path of a picture file
    Flag          // its own name, without a value
};

struct ArgumentRow {
    const char* name;
    ArgumentType type;
    const char* fallback;  // text of the value when none is given; null: the argument must be given; "": there is none
    double least;          // range of Integer, Number and each number of a Matrix, both ends included
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

// The side of the square that so many numbers make.
int MatrixSide(std::size_t count);

// A rectangle of pixels as it was asked for; it may reach over the edges of the picture, or lie beside it.
struct AreaRequest {
    int x = 0;
    int y = 0;
    int width = 0;  // at least 1, like the height
    int height = 0;
};

// Channels from 0 to 255.
struct RGBAColour {
    int red = 0;
    int green = 0;
    int blue = 0;
    int alpha = 255;
    bool isGray = false;  // given as one number
};

struct ArgumentValue {
    bool given = false;  // or there is a fallback
    SizeRequest size;
    AreaRequest area;   // Area; x and y of a Point; width and height of a Box
    double number = 0;  // Integer, Number; the place in the list of a Choice
    RGBAColour colour;
    std::vector<std::int32_t> numbers;  // Matrix, in rows; Curve: 256 values, or empty where the text names a file
    std::string text;                   // File, Curve
};

// The values of one effect's arguments, in the order of its rows.
class Arguments {
public:
    // Reads words as "name=value", as bare values for the arguments that must be given, in their order, or as the bare
    // name of a Flag. `effect` goes into the messages, and a word that fits nowhere is compared with `otherWords`,
    // which could have stood there. A UsageError names the word and what was expected.
    Arguments(const std::string& effect, const std::vector<ArgumentRow>& rows, const std::vector<std::string>& words,
              const std::vector<std::string>& otherWords);

    // By name; a name that the rows do not have is an error of the program.
    [[nodiscard]] const SizeRequest& Size(std::string_view name) const { return Value(name).size; }
    [[nodiscard]] int Integer(std::string_view name) const { return static_cast<int>(Value(name).number); }
    [[nodiscard]] double Number(std::string_view name) const { return Value(name).number; }
    [[nodiscard]] std::string Choice(std::string_view name) const;
    [[nodiscard]] const RGBAColour& Colour(std::string_view name) const { return Value(name).colour; }
    [[nodiscard]] const std::vector<std::int32_t>& Numbers(std::string_view name) const { return Value(name).numbers; }
    [[nodiscard]] const std::string& Text(std::string_view name) const { return Value(name).text; }
    [[nodiscard]] const AreaRequest& Area(std::string_view name) const { return Value(name).area; }
    // Whether there is a value. The others give zeros where there is none.
    [[nodiscard]] bool Given(std::string_view name) const { return Value(name).given; }

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
