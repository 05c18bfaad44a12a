#include "effects/ToneEffects.h"

#include "Errors.h"
#include "effects/Curve.h"
#include "effects/Filters.h"

namespace {

using zorhost::Object;

void RunGamma(Raster* image, const ImageShape&, const Arguments& arguments) {
    RunFilter(image, "gamma", FilterPart::Light, [&](const Object& source, const Object& target, const char*) {
        return source.Call("GammaFilter", target, arguments.Number("gamma")).AsObject();
    });
}

void RunCurve(Raster* image, const ImageShape&, const Arguments& arguments) {
    std::vector<std::int32_t> curve = arguments.Numbers("curve");
    if (curve.empty()) curve = LoadCurve(arguments.Text("curve"));
    RunFilter(image, "curve", FilterPart::Light, [&](const Object& source, const Object& target, const char*) {
        return source.Call("TransferFilter", target, curve).AsObject();
    });
}

// Tells of a file that holds no curve before the picture is read.
ImageShape PlanCurve(const ImageShape& source, const Arguments& arguments) {
    if (arguments.Numbers("curve").empty()) LoadCurve(arguments.Text("curve"));
    return source;
}

void RunGain(Raster* image, const ImageShape&, const Arguments& arguments) {
    RunFilter(image, "gain", FilterPart::Light, [&](const Object& source, const Object& target, const char*) {
        return source.Call("GainFilter", target, arguments.Number("gain"), arguments.Number("bias")).AsObject();
    });
}

void RunSolarize(Raster* image, const ImageShape&, const Arguments&) {
    RunFilter(image, "solarize", FilterPart::Light, [](const Object& source, const Object& target, const char*) {
        return source.Call("SolarizeFilter", target).AsObject();
    });
}

ImageShape PlanAutoLevel(const ImageShape& source, const Arguments&) {
    if (source.kind == PixelKind::CMYK) throw RunError("autolevel: works on RGB and gray pictures, not on CMYK");
    return source;
}

// The engine levels RGB only: a gray picture takes the way through one whose channels are all alike.
void RunAutoLevel(Raster* image, const ImageShape& shape, const Arguments&) {
    const bool gray = shape.kind == PixelKind::Gray || shape.kind == PixelKind::GrayAlpha;
    if (!gray) {
        if (!image->Image().Call("AutoLevel").AsBool()) throw RunError("autolevel: the picture cannot be levelled");
        return;
    }
    Raster colour({shape.width, shape.height, PixelKind::RGB});
    const int step = Describe(shape.kind).channels;
    for (int y = 0; y < shape.height; ++y)
        for (int x = 0; x < shape.width; ++x)
            for (int c = 0; c < 3; ++c) colour.Row(y)[x * 3 + c] = image->Row(y)[x * step];
    if (!colour.Image().Call("AutoLevel").AsBool()) throw RunError("autolevel: the picture cannot be levelled");
    for (int y = 0; y < shape.height; ++y)
        for (int x = 0; x < shape.width; ++x) image->Row(y)[x * step] = colour.Row(y)[x * 3];
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

void RunDither(Raster* image, const ImageShape&, const Arguments& arguments) {
    int matrix = 0;
    for (const Matrix& known : kMatrices)
        if (arguments.Choice("matrix") == known.word) matrix = EngineConstant(known.constant);
    RunFilter(image, "dither", FilterPart::Light, [&](const Object& source, const Object& target, const char*) {
        return source.Call("DitherFilter", target, matrix, arguments.Integer("levels")).AsObject();
    });
}

constexpr ArgumentType kNumber = ArgumentType::Number;

}  // namespace

std::vector<EffectRow> ToneEffects() {
    return {
        {"gamma",
         "Tone",
         "Brighter or darker middle tones",
         "Above 1 the middle tones get brighter, below 1 darker; black and white stay. Works on gray, red, green and\n"
         "blue; alpha stays. CMYK: on each ink, taken as the light that it leaves.",
         "gamma 1.8",
         {{"gamma", kNumber, nullptr, 0.01, 100, {}, "the exponent is 1 / gamma"}},
         nullptr,
         RunGamma},
        {"curve",
         "Tone",
         "Map values along a curve",
         "Straight lines join the points, each of which says which value X becomes which value Y. A file holds "
         "points,\n"
         "or all 256 values, with spaces, commas or line ends between them. Works on gray, red, green and blue; alpha\n"
         "stays. CMYK: on each ink, taken as the light that it leaves.",
         "curve 0:0,64:40,192:215,255:255",
         {{"curve", ArgumentType::Curve, nullptr, 0, 0, {}, "the curve"}},
         PlanCurve,
         RunCurve},
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
         RunGain},
        {"solarize",
         "Tone",
         "Middle tones to black",
         "Black and white become white, the middle black. Works on gray, red, green and blue; alpha stays. CMYK: on\n"
         "each ink, taken as the light that it leaves.",
         "solarize",
         {},
         nullptr,
         RunSolarize},
        {"autolevel",
         "Tone",
         "Stretch the contrast to black and white",
         "The darkest and the lightest half percent of the picture become black and white, and what lies between is\n"
         "stretched, in the same way for gray, red, green and blue. Alpha stays; CMYK pictures are refused.",
         "autolevel",
         {},
         PlanAutoLevel,
         RunAutoLevel},
        {"dither",
         "Tone",
         "Few levels, with a pattern between them",
         "Each channel gets one of a few values, and a pattern chooses between two neighbours. With 2 levels light "
         "and\n"
         "dark change places: 'curve 0:255,255:0' before it makes up for that. With more levels bright values of one\n"
         "step may come out darker than dark values of the next. Works on gray, red, green and blue; alpha stays.\n"
         "CMYK: on each ink, taken as the light that it leaves.",
         "curve 0:255,255:0 dither ordered4x4 2",
         {{"matrix", ArgumentType::Choice, nullptr, 0, 0, MatrixWords(), "the pattern"},
          {"levels", ArgumentType::Integer, nullptr, 2, 256, {}, "values of each channel"}},
         nullptr,
         RunDither},
    };
}
