#include "effects/ToneEffects.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "Errors.h"
#include "Rows.h"
#include "effects/ConvertEffects.h"
#include "effects/Curve.h"
#include "effects/Filters.h"
#include "effects/KindRows.h"
#include "effects/MappedRows.h"
#include "effects/PixelEffects.h"
#include "filters/Curves.h"
#include "filters/LevelStretch.h"
#include "filters/OrderedDither.h"

namespace {

using zorhost::Object;

constexpr const char* kColours[] = {"red", "green", "blue"};

bool GivesColours(const Arguments& arguments) {
    return std::any_of(std::begin(kColours), std::end(kColours),
                       [&](const char* name) { return arguments.Given(name); });
}

// Channels can be told apart where the picture has them.
ImageShape PlanChannels(const char* effect, const ImageShape& source, const Arguments& arguments) {
    const auto refuse = [&](const char* channel) {
        throw RunError(std::string(effect) + ": the picture is " + Describe(source.kind).name + " and has no " +
                       channel);
    };
    if (WithAlpha(source.kind, false) != PixelKind::RGB)
        for (const char* name : kColours)
            if (arguments.Given(name)) refuse(name);
    if (arguments.Given("alpha") && !Describe(source.kind).hasAlpha) refuse("alpha");
    return source;
}

// Calls one of the four forms of a filter: with one value for all colours or one for each, with one for alpha or none.
// `value` gives what an argument asks for.
void RunChannels(Raster* image, const char* effect, const char* method, const char* common, const Arguments& arguments,
                 const std::function<zorhost::Value(const char* name)>& value) {
    const auto of = [&](const char* name) { return value(arguments.Given(name) ? name : common); };
    const bool alpha = arguments.Given("alpha");
    RunFilter(image, effect, alpha ? FilterPart::Whole : FilterPart::Light,
              [&](const Object& source, const Object& target, const char*) {
                  std::vector<zorhost::Value> values = {target};
                  if (GivesColours(arguments))
                      for (const char* name : kColours) values.push_back(of(name));
                  else
                      values.push_back(of(common));
                  if (alpha) values.push_back(of("alpha"));
                  return source.CallWith(method, values).AsObject();
              });
}

ImageShape PlanGamma(const ImageShape& source, const Arguments& arguments) {
    return PlanChannels("gamma", source, arguments);
}

void RunGamma(Raster* image, const ImageShape&, const Arguments& arguments) {
    RunChannels(image, "gamma", "GammaFilter", "gamma", arguments,
                [&](const char* name) { return zorhost::Value(arguments.Number(name)); });
}

std::vector<std::int32_t> CurveOf(const Arguments& arguments, const char* name) {
    const std::vector<std::int32_t>& curve = arguments.Numbers(name);
    return curve.empty() ? LoadCurve(arguments.Text(name)) : curve;
}

void RunCurve(Raster* image, const ImageShape&, const Arguments& arguments) {
    RunChannels(image, "curve", "TransferFilter", "curve", arguments,
                [&](const char* name) { return zorhost::Value(CurveOf(arguments, name)); });
}

// Tells of a file that holds no curve before the picture is read.
ImageShape PlanCurve(const ImageShape& source, const Arguments& arguments) {
    for (const char* name : {"curve", "red", "green", "blue", "alpha"})
        if (arguments.Given(name)) CurveOf(arguments, name);
    return PlanChannels("curve", source, arguments);
}

void RunGain(Raster* image, const ImageShape&, const Arguments& arguments) {
    RunFilter(image, "gain", FilterPart::Light, [&](const Object& source, const Object& target, const char*) {
        return source.Call("GainFilter", target, arguments.Number("gain"), arguments.Number("bias")).AsObject();
    });
}

// Rounded, where the engine cuts off.
std::unique_ptr<RowSource> StreamGain(std::unique_ptr<RowSource> rows, const ImageShape& shape,
                                      const Arguments& arguments) {
    const zor::ByteTable table = zor::GainTable(arguments.Number("gain"), arguments.Number("bias"), 0.5);
    return MapRows(std::move(rows), {0, 0, shape.width, shape.height}, [&](int c, int byte) -> int {
        if (Describe(shape.kind).hasAlpha && c == Describe(shape.kind).channels - 1) return byte;
        return shape.kind == PixelKind::CMYK ? 255 - table.entry[255 - byte] : table.entry[byte];
    });
}

void RunSolarize(Raster* image, const ImageShape&, const Arguments&) {
    RunFilter(image, "solarize", FilterPart::Light, [](const Object& source, const Object& target, const char*) {
        return source.Call("SolarizeFilter", target).AsObject();
    });
}

ImageShape PlanAutoLevel(const ImageShape& source, const Arguments& arguments) {
    AreaOf("autolevel", source, arguments);
    if (source.kind == PixelKind::CMYK) throw RunError("autolevel: works on RGB and gray pictures, not on CMYK");
    return source;
}

// The engine levels RGB only: a gray picture takes the way through one whose channels are all alike.
void RunAutoLevel(Raster* image, const ImageShape& shape, const Arguments& arguments) {
    const PixelArea area = AreaOf("autolevel", shape, arguments);
    const bool gray = WithAlpha(shape.kind, false) == PixelKind::Gray;
    if (!gray) {
        if (!image->Image().Call("AutoLevel", area.x, area.y, area.width, area.height).AsBool())
            throw RunError("autolevel: the picture cannot be levelled");
        return;
    }
    WorkOnArea(image, area, [](Raster* part) {
        const Raster colour({part->Shape().width, part->Shape().height, PixelKind::RGB});
        CopyAll(colour.Image(), part->View("GrayChannel"), "autolevel");
        if (!colour.Image().Call("AutoLevel").AsBool()) throw RunError("autolevel: the picture cannot be levelled");
        CopyAll(part->View("GrayChannel"), colour.View("RedChannel"), "autolevel");
    });
}

void LevelRightly(Raster* image, const ImageShape& shape, const Arguments& arguments) {
    const PixelArea area = AreaOf("autolevel", shape, arguments);
    const PixelParts parts = PartsOf(shape.kind);
    zor::LevelStretch stretch(parts.colours, parts.alpha);
    for (int y = 0; y < area.height; ++y)
        stretch.Count(image->Row(area.y + y) + std::ptrdiff_t{area.x} * parts.Channels(), area.width);
    const zor::ByteTable table = stretch.Table();
    MapImage(image, area, [&](int c, int byte) { return c < parts.colours ? table.entry[byte] : byte; });
}

struct Matrix {
    const char* word;
    const char* constant;  // of PictureZOR
};

constexpr Matrix kMatrices[] = {
    {"magic2x2", "DitherMagic2x2Matrix"},      {"magic4x4", "DitherMagic4x4Matrix"},
    {"ordered4x4", "DitherOrdered4x4Matrix"},  {"lines4x4", "DitherLines4x4Matrix"},
    {"halftone", "Dither90Halftone6x6Matrix"}, {"ordered6x6", "DitherOrdered6x6Matrix"},
    {"ordered8x8", "DitherOrdered8x8Matrix"},  {"cluster3", "DitherCluster3Matrix"},
    {"cluster4", "DitherCluster4Matrix"},      {"cluster8", "DitherCluster8Matrix"},
};

std::vector<const char*> MatrixWords() {
    std::vector<const char*> words;
    for (const Matrix& matrix : kMatrices) words.push_back(matrix.word);
    return words;
}

int MatrixNumber(const std::string& word) {
    for (const Matrix& known : kMatrices)
        if (word == known.word) return EngineConstant(known.constant);
    throw RunError("unknown matrix " + word);
}

void RunDither(Raster* image, const ImageShape&, const Arguments& arguments) {
    const int matrix = MatrixNumber(arguments.Choice("matrix"));
    RunFilter(image, "dither", FilterPart::Light, [&](const Object& source, const Object& target, const char*) {
        return source.Call("DitherFilter", target, matrix, arguments.Integer("levels")).AsObject();
    });
}

class DitheredRows : public RowSource {
public:
    DitheredRows(std::unique_ptr<RowSource> rows, const Arguments& arguments)
        : RowSource(rows->Shape()), rows_(std::move(rows)) {
        const PixelKindRow& kind = Describe(Shape().kind);
        if (!dither_.Start({MatrixNumber(arguments.Choice("matrix")), arguments.Integer("levels"), kind.channels,
                            kind.hasAlpha, Shape().kind == PixelKind::CMYK}))
            throw RunError("dither: not enough memory");
        row_.resize(static_cast<std::size_t>(Shape().width) * static_cast<std::size_t>(kind.channels));
    }

    const std::uint8_t* Next() override {
        dither_.DitherRow(rows_->Next(), row_.data(), Shape().width, next_++);
        return row_.data();
    }

private:
    std::unique_ptr<RowSource> rows_;
    zor::OrderedDither dither_;
    std::vector<std::uint8_t> row_;
    int next_ = 0;
};

std::unique_ptr<RowSource> StreamDither(std::unique_ptr<RowSource> rows, const ImageShape&,
                                        const Arguments& arguments) {
    return std::make_unique<DitheredRows>(std::move(rows), arguments);
}

constexpr ArgumentType kNumber = ArgumentType::Number;

// An argument for all colours, and the same for single channels, which pictures with such channels take.
std::vector<ArgumentRow> ChannelRows(const ArgumentRow& common) {
    std::vector<ArgumentRow> rows = {common};
    for (const auto& [name, help] : {std::pair{"red", "another for red"},
                                     {"green", "another for green"},
                                     {"blue", "another for blue"},
                                     {"alpha", "one for alpha"}}) {
        rows.push_back(common);
        rows.back().name = name;
        rows.back().fallback = "";
        rows.back().help = help;
    }
    return rows;
}

}  // namespace

std::vector<EffectRow> ToneEffects() {
    return {
        {"gamma", "Tone", "Brighter or darker middle tones",
         "Above 1 the middle tones get brighter, below 1 darker; black and white stay. Works on gray, red, green and\n"
         "blue; alpha stays unless it is given a gamma. CMYK: on each ink, taken as the light that it leaves.",
         "gamma 1.8 blue=1.6", ChannelRows({"gamma", kNumber, nullptr, 0.01, 100, {}, "the exponent is 1 / gamma"}),
         PlanGamma, RunGamma, 1, nullptr, nullptr, true},
        {"curve", "Tone", "Map values along a curve",
         "Straight lines join the points, each of which says which value X becomes which value Y. A file holds "
         "points,\n"
         "or all 256 values, with spaces, commas or line ends between them. Works on gray, red, green and blue; alpha\n"
         "stays unless it is given a curve. CMYK: on each ink, taken as the light that it leaves.",
         "curve 0:0,64:40,192:215,255:255", ChannelRows({"curve", ArgumentType::Curve, nullptr, 0, 0, {}, "the curve"}),
         PlanCurve, RunCurve, 1, nullptr, nullptr, true},
        {"gain",
         "Tone",
         "Contrast and brightness by two bends",
         "The gain bends the middle: below 0.5 less contrast there, above 0.5 more. The bias bends the whole: above "
         "0.5\n"
         "brighter. 0.5 and 0.5 change nothing. Works on gray, red, green and blue; alpha stays. CMYK: on each ink,\n"
         "taken as the light that it leaves.",
         "gain 0.6 0.5",
         {{"gain", kNumber, nullptr, 0.001, 0.999, {}, "bend of the middle"},
          {"bias", kNumber, nullptr, 0.001, 0.999, {}, "bend of the whole"}},
         nullptr,
         RunGain,
         1,
         StreamGain},
        {"solarize",
         "Tone",
         "Middle tones to black",
         "Black and white become white, the middle black. Works on gray, red, green and blue; alpha stays. CMYK: on\n"
         "each ink, taken as the light that it leaves.",
         "solarize",
         {},
         nullptr,
         RunSolarize,
         1,
         nullptr,
         nullptr,
         true},
        {"autolevel",
         "Tone",
         "Stretch the contrast to black and white",
         "The darkest and the lightest half percent of the picture become black and white, and what lies between is\n"
         "stretched, in the same way for gray, red, green and blue. With an area, both are that of the area alone. "
         "Alpha\n"
         "stays, and clear pixels count for nothing; CMYK pictures are refused.",
         "autolevel",
         {AreaRow()},
         PlanAutoLevel,
         RunAutoLevel,
         1,
         nullptr,
         LevelRightly},
        {"dither",
         "Tone",
         "Few levels, with a pattern between them",
         "Each channel gets one of a few values, evenly from black to white, and a pattern chooses between the two "
         "next\n"
         "to what was there, so that from afar the picture looks as it did. Works on gray, red, green and blue; alpha\n"
         "stays. CMYK: on each ink, taken as the light that it leaves.",
         "dither ordered4x4 2",
         {{"matrix", ArgumentType::Choice, nullptr, 0, 0, MatrixWords(), "the pattern"},
          {"levels", ArgumentType::Integer, nullptr, 2, 256, {}, "values of each channel"}},
         nullptr,
         RunDither,
         2,
         StreamDither},
    };
}
