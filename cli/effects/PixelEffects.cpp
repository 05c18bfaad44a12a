#include "effects/PixelEffects.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "Errors.h"
#include "Raster.h"
#include "Rows.h"
#include "effects/ConvertEffects.h"
#include "effects/Effects.h"
#include "effects/KindRows.h"
#include "effects/MappedRows.h"

namespace {

// Channel c of the colour in pictures of that kind, which have no alpha there. CMYK takes grays.
int PartOf(const RGBAColour& colour, PixelKind kind, int c) {
    const bool gray = WithAlpha(kind, false) == PixelKind::Gray;
    if (gray) return (77 * colour.red + 151 * colour.green + 28 * colour.blue) >> 8;
    return c == 1 ? colour.green : c == 2 ? colour.blue : colour.red;
}

bool IsAlpha(PixelKind kind, int c) {
    return Describe(kind).hasAlpha && c == Describe(kind).channels - 1;
}

ImageShape PlanFill(const ImageShape& source, const Arguments& arguments) {
    AreaOf("fill", source, arguments);
    CheckColourFits("fill", source.kind, arguments.Colour("colour"));
    return PluginBytes() ? source : ShapeInColours(source, {arguments.Colour("colour")});
}

void RunFill(Raster* image, const ImageShape& shape, const Arguments& arguments) {
    const PixelArea area = AreaOf("fill", shape, arguments);
    const RGBAColour& colour = arguments.Colour("colour");
    const auto fillChannel = [&](const char* view, int value) {
        image->View(view).Call("FillRect", area.x, area.y, area.width, area.height, value);
    };
    const zorhost::Object& object = image->Image();
    if (shape.kind == PixelKind::CMYK)
        object.Call("FillRect", area.x, area.y, area.width, area.height, colour.red);
    else if (shape.kind == PixelKind::RGB || shape.kind == PixelKind::RGBA)
        object.Call("FillRectRGB", area.x, area.y, area.width, area.height, colour.red, colour.green, colour.blue);
    else
        fillChannel("GrayChannel", (77 * colour.red + 151 * colour.green + 28 * colour.blue) >> 8);
    if (Describe(shape.kind).hasAlpha) fillChannel("AlphaChannel", arguments.Integer("alpha"));
}

std::unique_ptr<RowSource> StreamFill(std::unique_ptr<RowSource> rows, const ImageShape& shape,
                                      const Arguments& arguments) {
    rows = RowsInKind(std::move(rows), shape.kind);
    return MapRows(std::move(rows), AreaOf("fill", shape, arguments), [&](int c, int) {
        return IsAlpha(shape.kind, c) ? arguments.Integer("alpha") : PartOf(arguments.Colour("colour"), shape.kind, c);
    });
}

ImageShape PlanClear(const ImageShape& source, const Arguments& arguments) {
    AreaOf("clear", source, arguments);
    return source;
}

void RunClear(Raster* image, const ImageShape& shape, const Arguments& arguments) {
    const PixelArea area = AreaOf("clear", shape, arguments);
    image->Image().Call("ClearRect", area.x, area.y, area.width, area.height);
}

std::unique_ptr<RowSource> StreamClear(std::unique_ptr<RowSource> rows, const ImageShape& shape,
                                       const Arguments& arguments) {
    return MapRows(std::move(rows), AreaOf("clear", shape, arguments), [](int, int) { return 0; });
}

void CheckAlphaWord(const char* effect, const ImageShape& source, const Arguments& arguments) {
    if (arguments.Given("alpha") && !Describe(source.kind).hasAlpha)
        throw RunError(std::string(effect) + ": the picture is " + Describe(source.kind).name + " and has no alpha");
}

ImageShape PlanInvert(const ImageShape& source, const Arguments& arguments) {
    AreaOf("invert", source, arguments);
    CheckAlphaWord("invert", source, arguments);
    return source;
}

void RunInvert(Raster* image, const ImageShape& shape, const Arguments& arguments) {
    const PixelArea area = AreaOf("invert", shape, arguments);
    const auto invert = [&area](const zorhost::Object& object) {
        object.Call("Invert", area.x, area.y, area.width, area.height);
    };
    if (arguments.Given("alpha") || !Describe(shape.kind).hasAlpha) return invert(image->Image());
    invert(image->View(shape.kind == PixelKind::RGBA ? "RGBChannels" : "GrayChannel"));
}

std::unique_ptr<RowSource> StreamInvert(std::unique_ptr<RowSource> rows, const ImageShape& shape,
                                        const Arguments& arguments) {
    const bool keepsAlpha = !arguments.Given("alpha");
    return MapRows(std::move(rows), AreaOf("invert", shape, arguments),
                   [&](int c, int byte) { return keepsAlpha && IsAlpha(shape.kind, c) ? byte : 255 - byte; });
}

ImageShape PlanCrop(const ImageShape& source, const Arguments& arguments) {
    const PixelArea area = AreaOf("crop", source, arguments);
    return {area.width, area.height, source.kind};
}

std::unique_ptr<RowSource> StreamCrop(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                      const Arguments& arguments) {
    const PixelArea area = AreaOf("crop", rows->Shape(), arguments);
    return PartOf(std::move(rows), area.x, area.y, result.width, result.height);
}

void RunCrop(Raster* image, const ImageShape&, const Arguments& arguments) {
    const PixelArea area = AreaOf("crop", image->Shape(), arguments);
    *image = image->Part(area.x, area.y, area.width, area.height);
}

// Gray channels that take a number, for CMYK, which the engine has no colours for.
std::vector<const char*> InkViews(const ImageShape& shape) {
    return shape.kind == PixelKind::CMYK ? ColourViews(shape.kind) : std::vector<const char*>{nullptr};
}

ImageShape PlanTint(const ImageShape& source, const Arguments& arguments) {
    AreaOf("tint", source, arguments);
    CheckColourFits("tint", source.kind, arguments.Colour("colour"));
    return PluginBytes() ? source : ShapeInColours(source, {arguments.Colour("colour")});
}

void RunTint(Raster* image, const ImageShape& shape, const Arguments& arguments) {
    const PixelArea area = AreaOf("tint", shape, arguments);
    const RGBAColour& colour = arguments.Colour("colour");
    for (const char* view : InkViews(shape))
        (view == nullptr ? image->Image() : image->View(view))
            .Call("FillRectApply", area.x, area.y, area.width, area.height, colour.red, colour.green, colour.blue,
                  arguments.Integer("opacity"));
}

// Rounded, where the engine cuts off.
std::unique_ptr<RowSource> StreamTint(std::unique_ptr<RowSource> rows, const ImageShape& shape,
                                      const Arguments& arguments) {
    const int opacity = arguments.Integer("opacity");
    rows = RowsInKind(std::move(rows), shape.kind);
    return MapRows(std::move(rows), AreaOf("tint", shape, arguments), [&](int c, int byte) {
        if (IsAlpha(shape.kind, c)) return byte;
        return (byte * (255 - opacity) + PartOf(arguments.Colour("colour"), shape.kind, c) * opacity + 127) / 255;
    });
}

ImageShape PlanRandom(const ImageShape& source, const Arguments& arguments) {
    AreaOf("random", source, arguments);
    CheckAlphaWord("random", source, arguments);
    return source;
}

// The engine's random fill ends by the width alone, so that it is to start at the left edge of what it is given.
void RunRandom(Raster* image, const ImageShape& shape, const Arguments& arguments) {
    WorkOnArea(image, AreaOf("random", shape, arguments), [&](Raster* part) {
        const bool whole = arguments.Given("alpha") || !Describe(shape.kind).hasAlpha;
        std::srand(static_cast<unsigned>(arguments.Integer("seed")));
        (whole ? part->Image() : part->View(shape.kind == PixelKind::RGBA ? "RGBChannels" : "GrayChannel"))
            .Call("FillRectRandom");
    });
}

}  // namespace

PixelArea AreaOf(const char* effect, const ImageShape& source, const Arguments& arguments) {
    if (!arguments.Given("area")) return {0, 0, source.width, source.height};
    const PixelArea area = CutToPicture(arguments.Area("area"), source.width, source.height);
    if (area.width < 1 || area.height < 1)
        throw RunError(std::string(effect) + ": the area lies beside the picture of " + std::to_string(source.width) +
                       " x " + std::to_string(source.height) + " pixels");
    return area;
}

void WorkOnArea(Raster* image, const PixelArea& area, const std::function<void(Raster* part)>& work) {
    const ImageShape& shape = image->Shape();
    if (area.width == shape.width && area.height == shape.height) return work(image);
    Raster part = image->Part(area.x, area.y, area.width, area.height);
    work(&part);
    image->Put(part, area.x, area.y);
}

ArgumentRow AreaRow() {
    return {"area", ArgumentType::Area, "", 0, 0, {}, "only there; the whole picture unless given"};
}

PixelArea CutToPicture(const AreaRequest& area, int width, int height) {
    const auto cut = [](int start, int length, int limit, int* first, int* count) {
        const std::int64_t end = std::min(std::int64_t{start} + length, std::int64_t{limit});
        *first = std::max(start, 0);
        *count = static_cast<int>(std::max(end - *first, std::int64_t{0}));
    };
    PixelArea result{};
    cut(area.x, area.width, width, &result.x, &result.width);
    cut(area.y, area.height, height, &result.y, &result.height);
    return result;
}

std::vector<EffectRow> PixelEffects() {
    return {
        {"fill",
         "Pixels",
         "One colour over an area",
         "A shell may take a # at the start of a word for a comment; the colour can be written without it. A gray\n"
         "picture becomes RGB for a colour. CMYK takes a number only, which every ink gets, 255 being full ink.\n"
         "What of the area lies beside the picture is left out.",
         "fill FF8000 area=10,20,300x100",
         {{"colour", ArgumentType::Colour, nullptr, 0, 0, {}, "the colour"},
          AreaRow(),
          {"alpha", ArgumentType::Integer, "255", 0, 255, {}, "for pictures with alpha, 255 is opaque"}},
         PlanFill,
         RunFill,
         1,
         StreamFill},
        {"clear",
         "Pixels",
         "Zero in every channel of an area",
         "The area becomes black, in pictures with alpha clear, in CMYK free of ink.",
         "clear area=10,20,300x100",
         {AreaRow()},
         PlanClear,
         RunClear,
         1,
         StreamClear},
        {"invert",
         "Pixels",
         "The negative of an area",
         "Each channel becomes 255 less what it was. Alpha stays unless the word alpha is given.",
         "invert area=10,20,300x100",
         {AreaRow(), {"alpha", ArgumentType::Flag, "", 0, 0, {}, "inverts the alpha too"}},
         PlanInvert,
         RunInvert,
         1,
         StreamInvert},
        {"tint",
         "Pixels",
         "One colour laid over an area, partly transparent",
         "Opacity 255 leaves nothing of what was there, 128 half of it. Works on gray, red, green and blue;\n"
         "alpha stays. A gray picture becomes RGB for a colour. CMYK takes a number only, for every ink, 255 being\n"
         "full ink.",
         "tint FF8000 opacity=96 area=10,20,300x100",
         {{"colour", ArgumentType::Colour, nullptr, 0, 0, {}, "the colour"},
          {"opacity", ArgumentType::Integer, "128", 0, 255, {}, "how much of the colour shows"},
          AreaRow()},
         PlanTint,
         RunTint,
         1,
         StreamTint},
        {"random",
         "Pixels",
         "Random values over an area",
         "Every channel gets values from 0 to 255 by chance, the inks of CMYK too. Alpha stays unless the word alpha "
         "is\n"
         "given. The same seed makes the same picture again.",
         "random seed=7 area=10,20,300x100",
         {AreaRow(),
          {"seed", ArgumentType::Integer, "1", 0, 2147483647, {}, "where the random numbers start"},
          {"alpha", ArgumentType::Flag, "", 0, 0, {}, "random alpha too"}},
         PlanRandom,
         RunRandom,
         19},
        {"crop",
         "Size",
         "Cut an area out",
         "X and Y are the left and upper edge, counted from 0. What of the area lies beside the picture is left out,\n"
         "and the result is so much smaller.",
         "crop 10,20,300x200",
         {{"area", ArgumentType::Area, nullptr, 0, 0, {}, "what stays of the picture"}},
         PlanCrop,
         RunCrop,
         1,
         StreamCrop},
    };
}
