#include "effects/ArtisticEffects.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "effects/Filters.h"

namespace {

using zorhost::Object;

void RunOil(Raster* image, const ImageShape&, const Arguments& arguments) {
    RunFilter(image, "oil", FilterPart::Whole, [&](const Object& source, const Object& target, const char*) {
        return source.Call("OilFilter", target, arguments.Integer("levels"), arguments.Integer("range")).AsObject();
    });
}

// Every class is asked how frequent it is; the square comes in where it is large.
double OilEffort(const Arguments& arguments) {
    const double range = arguments.Integer("range"), levels = arguments.Integer("levels");
    return 0.5 * range * range + 0.1 * levels;
}

// The engine draws from the C library's generator. Each ink starts it anew, so that all of them move alike.
void RunDiffuse(Raster* image, const ImageShape&, const Arguments& arguments) {
    image->WidenWindow(2 * std::int64_t{arguments.Integer("level")} + 8);
    RunFilter(image, "diffuse", FilterPart::Channels, [&](const Object& source, const Object& target, const char*) {
        std::srand(static_cast<unsigned>(arguments.Integer("seed")));
        return source.Call("DiffuseFilter", target, arguments.Integer("level")).AsObject();
    });
}

void RunEngrave(Raster* image, const ImageShape&, const Arguments& arguments) {
    RunFilter(image, "engrave", FilterPart::Light, [&](const Object& source, const Object& target, const char*) {
        return source.Call("EngraveFilter", target, arguments.Integer("level")).AsObject();
    });
}

void RunNeon(Raster* image, const ImageShape&, const Arguments&) {
    RunFilter(image, "neon", FilterPart::Light, [](const Object& source, const Object& target, const char*) {
        return source.Call("NeonFilter", target).AsObject();
    });
}

// The part of a colour that a view shows; the light that black ink leaves is that of the brightest part.
int PartOf(const RGBAColour& colour, const std::string& view) {
    if (view == "CyanChannel") return colour.red;
    if (view == "MagentaChannel") return colour.green;
    if (view == "YellowChannel") return colour.blue;
    return std::max({colour.red, colour.green, colour.blue});
}

zorhost::Color ColourFor(const RGBAColour& colour, const char* view) {
    const std::string name = view == nullptr ? "" : view;
    const bool isInk =
        name == "CyanChannel" || name == "MagentaChannel" || name == "YellowChannel" || name == "BlackChannel";
    const int part = isInk ? PartOf(colour, name) : 0;
    return isInk ? zorhost::Color::FromRGB(part, part, part)
                 : zorhost::Color::FromRGB(colour.red, colour.green, colour.blue);
}

void RunStamp(Raster* image, const ImageShape&, const Arguments& arguments) {
    RunFilter(image, "stamp", FilterPart::Light, [&](const Object& source, const Object& target, const char* view) {
        return source
            .Call("StampFilter", target, arguments.Number("radius"), arguments.Number("threshold"),
                  arguments.Number("softness"), ColourFor(arguments.Colour("black"), view),
                  ColourFor(arguments.Colour("white"), view))
            .AsObject();
    });
}

constexpr ArgumentType kInteger = ArgumentType::Integer;
constexpr ArgumentType kNumber = ArgumentType::Number;

}  // namespace

std::vector<EffectRow> ArtisticEffects() {
    return {
        {"oil",
         "Artistic",
         "Like dabs of oil paint",
         "Each value becomes the mean of the class of values that is most frequent in a square around it. Works on\n"
         "every channel by itself, on alpha and on inks too.",
         "oil range=4 levels=20",
         {{"range", kInteger, "3", 0, 100, {}, "pixels to each side of the square"},
          {"levels", kInteger, "20", 1, 256, {}, "classes; fewer make larger dabs"}},
         nullptr,
         RunOil,
         1,
         nullptr,
         nullptr,
         false,
         nullptr,
         0,
         OilEffort},
        {"diffuse",
         "Artistic",
         "Scatter pixels at random",
         "Each pixel is taken from a place near it. Pixels move whole, with all their channels. The same seed makes "
         "the\n"
         "same picture again.",
         "diffuse level=3 seed=7",
         {{"level", kInteger, "2", 0, 1000, {}, "how far pixels come, at most"},
          {"seed", kInteger, "1", 0, 2147483647, {}, "where the random numbers start"}},
         nullptr,
         RunDiffuse,
         18},
        {"engrave",
         "Artistic",
         "A relief, as if engraved",
         "The difference to the pixel further right and down, around a middle gray of 128. Works on gray, red, green\n"
         "and blue; alpha stays. CMYK: on each ink, taken as the light that it leaves.",
         "engrave level=2",
         {{"level", kInteger, "1", -1000, 1000, {}, "how far right and down; negative: left and up"}},
         nullptr,
         RunEngrave},
        {"neon",
         "Artistic",
         "Glowing edges on black",
         "The steeper a change to the right or down, the brighter; outside the picture all is black. Works on gray,\n"
         "red, green and blue; alpha stays. CMYK: on each ink, taken as the light that it leaves.",
         "neon",
         {},
         nullptr,
         RunNeon},
        {"stamp",
         "Artistic",
         "Two colours, as from a rubber stamp",
         "Blurs, and then makes dark values the one colour and light values the other. Works on red, green and blue\n"
         "each by itself; gray takes the green of the colours; alpha stays. CMYK: on each ink, taken as the light\n"
         "that it leaves.",
         "stamp radius=6 threshold=0.4",
         {{"radius", kNumber, "6", 3, 10000, {}, "of the blur, in pixels"},
          {"threshold", kNumber, "0.5", 0, 1, {}, "where dark ends"},
          {"softness", kNumber, "0.1", 0, 1, {}, "width of the passage between dark and light"},
          {"black", ArgumentType::Colour, "#000000", 0, 0, {}, "what dark values become"},
          {"white", ArgumentType::Colour, "#FFFFFF", 0, 0, {}, "what light values become"}},
         nullptr,
         RunStamp,
         6},
    };
}
