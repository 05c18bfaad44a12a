#include "effects/ArtisticEffects.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Rows.h"
#include "effects/ConvertEffects.h"
#include "effects/Effects.h"
#include "effects/Filters.h"
#include "effects/KindRows.h"
#include "effects/StreamedRows.h"
#include "filters/MatrixStream.h"
#include "filters/NeonStream.h"
#include "filters/OilStream.h"
#include "filters/StampStream.h"

namespace {

using zorhost::Object;

void RunOil(Raster* image, const ImageShape&, const Arguments& arguments) {
    RunFilter(image, "oil", FilterPart::Whole, [&](const Object& source, const Object& target, const char*) {
        return source.Call("OilFilter", target, arguments.Integer("levels"), arguments.Integer("range")).AsObject();
    });
}

std::unique_ptr<RowSource> StreamOil(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                     const Arguments& arguments) {
    auto request = RequestFor<zor::OilStreamRequest>(result);
    request.classes = arguments.Integer("levels");
    request.range = arguments.Integer("range");
    return Streamed<zor::OilStream>(std::move(rows), "oil", request);
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

// A relief is the difference to one neighbour, that is a matrix of two weights.
std::unique_ptr<RowSource> StreamEngrave(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                         const Arguments& arguments) {
    constexpr int kMiddle = 128;
    auto request = RequestFor<zor::MatrixStreamRequest>(result);
    const int level = arguments.Integer("level"), reach = std::abs(level);
    request.side = 2 * reach + 1;
    request.weights.resize(static_cast<std::size_t>(request.side) * static_cast<std::size_t>(request.side));
    const auto weight = [&](int away) -> int& {
        return request.weights[static_cast<std::size_t>((reach + away) * (request.side + 1))];
    };
    weight(0) += 1;
    weight(level) -= 1;
    request.delta = kMiddle;
    return StreamedAsLight<zor::MatrixStream>(std::move(rows), "engrave", request);
}

std::unique_ptr<RowSource> StreamNeon(std::unique_ptr<RowSource> rows, const ImageShape& result, const Arguments&) {
    return StreamedAsLight<zor::NeonStream>(std::move(rows), "neon", RequestFor<zor::NeonStreamRequest>(result));
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

zor::StampStreamRequest StampRequest(const ImageShape& shape, const Arguments& arguments) {
    auto request = RequestFor<zor::StampStreamRequest>(shape);
    request.radius = static_cast<int>(arguments.Number("radius") / 3);  // of each of three
    request.threshold = arguments.Number("threshold");
    request.softness = arguments.Number("softness");
    const std::vector<const char*> views = ColourViews(shape.kind);
    const auto parts = [&](const RGBAColour& colour) {
        std::array<std::uint8_t, 4> bytes{};
        if (shape.kind != PixelKind::CMYK) {
            ChannelsOf(colour, shape.kind, bytes.data());
            return bytes;
        }
        for (std::size_t c = 0; c < views.size(); ++c) bytes[c] = static_cast<std::uint8_t>(PartOf(colour, views[c]));
        return bytes;
    };
    request.black = parts(arguments.Colour("black"));
    request.white = parts(arguments.Colour("white"));
    return request;
}

ImageShape PlanStamp(const ImageShape& source, const Arguments& arguments) {
    if (PluginBytes()) return source;
    const ImageShape shape = ShapeInColours(source, {arguments.Colour("black"), arguments.Colour("white")});
    const zor::StampStreamRequest request = StampRequest(shape, arguments);
    CheckScratchHolds("stamp", {WaitingRows(request.waitingRows(), request.waitingRowBytes())});
    return shape;
}

std::unique_ptr<RowSource> StreamStamp(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                       const Arguments& arguments) {
    zor::StampStreamRequest request = StampRequest(result, arguments);
    request.store = StoreFor(WaitingRows(request.waitingRows(), request.waitingRowBytes()));
    return StreamedAsLight<zor::StampStream>(RowsInKind(std::move(rows), result.kind), "stamp", request);
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
         "gray, red, green and blue each by itself, and on each ink; alpha stays, and clear pixels are left out.",
         "oil range=4 levels=20",
         {{"range", kInteger, "3", 0, 100, {}, "pixels to each side of the square"},
          {"levels", kInteger, "20", 1, 256, {}, "classes; fewer make larger dabs"}},
         nullptr,
         RunOil,
         1,
         StreamOil,
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
         "and blue; alpha stays, and clear pixels leave no mark. CMYK: on each ink, taken as the light that it leaves.",
         "engrave level=2",
         {{"level", kInteger, "1", -1000, 1000, {}, "how far right and down; negative: left and up"}},
         nullptr,
         RunEngrave,
         1,
         StreamEngrave},
        {"neon",
         "Artistic",
         "Glowing edges on black",
         "The steeper a change to the right or down, the brighter; the picture's own border does not glow. Works on\n"
         "gray, red, green and blue; alpha stays, and clear pixels leave no mark. CMYK: on each ink, taken as the "
         "light\n"
         "that it leaves.",
         "neon",
         {},
         nullptr,
         RunNeon,
         1,
         StreamNeon},
        {"stamp",
         "Artistic",
         "Two colours, as from a rubber stamp",
         "Blurs, and then makes dark values the one colour and light values the other. Works on red, green and blue\n"
         "each by itself; a gray picture becomes RGB where a colour is given; alpha stays, and clear pixels count for\n"
         "nothing. CMYK: on each ink, taken as the light that it leaves.",
         "stamp radius=6 threshold=0.4",
         {{"radius", kNumber, "6", 3, 10000, {}, "of the blur, in pixels"},
          {"threshold", kNumber, "0.5", 0, 1, {}, "where dark ends"},
          {"softness", kNumber, "0.1", 0, 1, {}, "width of the passage between dark and light"},
          {"black", ArgumentType::Colour, "#000000", 0, 0, {}, "what dark values become"},
          {"white", ArgumentType::Colour, "#FFFFFF", 0, 0, {}, "what light values become"}},
         PlanStamp,
         RunStamp,
         6,
         StreamStamp},
    };
}
