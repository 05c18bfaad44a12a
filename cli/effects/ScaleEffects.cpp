#include "effects/ScaleEffects.h"

#include <algorithm>

#include "Engine.h"
#include "Errors.h"
#include "Raster.h"

namespace {

struct Filter {
    const char* word;
    const char* constant;  // of PictureZOR
};

constexpr Filter kFilters[] = {{"lanczos3", "ScaleLanczos3"},
                               {"lanczos8", "ScaleLanczos8"},
                               {"mitchell", "ScaleMitchell"},
                               {"cubic", "ScaleCubic"},
                               {"poly3", "ScalePoly3"},
                               {"triangle", "ScaleTriangle"},
                               {"box", "ScaleBox"}};

std::vector<const char*> FilterWords() {
    std::vector<const char*> words;
    for (const Filter& filter : kFilters) words.push_back(filter.word);
    return words;
}

int FilterMode(const std::string& word) {
    for (const Filter& filter : kFilters)
        if (word == filter.word) return EngineConstant(filter.constant);
    throw RunError("unknown filter " + word);
}

// The views under which the scaler takes an image. As a whole it would leave the alpha of gray pixels out, and make the
// yellow of CMYK from their cyan; one channel at a time all of them come out right. Empty: the image as a whole.
std::vector<const char*> ScaledViews(PixelKind kind) {
    if (kind == PixelKind::GrayAlpha) return {"GrayChannel", "AlphaChannel"};
    if (kind == PixelKind::CMYK) return {"CyanChannel", "MagentaChannel", "YellowChannel", "BlackChannel"};
    return {};
}

ImageShape PlanFastScale(const ImageShape& source, const Arguments& arguments) {
    const PixelSize size = Resolve(arguments.Size("size"), source.width, source.height);
    return {static_cast<int>(size.width), static_cast<int>(size.height), source.kind};
}

ImageShape PlanScale(const ImageShape& source, const Arguments& arguments) {
    const ImageShape result = PlanFastScale(source, arguments);
    // Between its two passes the scaler holds an image as wide as the result and as high as the source.
    const bool narrow = source.kind == PixelKind::Gray || !ScaledViews(source.kind).empty();
    CheckImageFits("scale: the image between the two passes", result.width, source.height,
                   narrow ? "ImageFormatScaling1" : "ImageFormatScaling4", narrow ? 1 : 4);
    return result;
}

bool ScaleView(const zorhost::Object& target, const zorhost::Object& source, int threads, int mode,
               const ImageShape& result) {
    const zorhost::Object noTemp;
    if (threads == 1) return target.Call("Scale", source, noTemp, mode, result.width, result.height).AsBool();
    return target.Call("ScaleMT", threads, source, noTemp, mode, result.width, result.height).AsBool();
}

void RunScale(Raster* image, const ImageShape& result, const Arguments& arguments) {
    const int mode = FilterMode(arguments.Choice("filter"));
    const int threads = arguments.Integer("threads");
    Raster target(result);
    bool done = true;
    const std::vector<const char*> views = ScaledViews(result.kind);
    if (views.empty()) done = ScaleView(target.Image(), image->Image(), threads, mode, result);
    for (const char* view : views)
        done = done && ScaleView(target.View(view), image->View(view), threads, mode, result);
    if (!done) throw RunError("scale: not enough memory");
    *image = std::move(target);
}

void RunFastScale(Raster* image, const ImageShape& result, const Arguments&) {
    Raster target(result);
    if (!target.Image().Call("ScaleFast", image->Image(), result.width, result.height).AsBool())
        throw RunError("scalefast: not enough memory");
    *image = std::move(target);
}

constexpr ArgumentType kSize = ArgumentType::Size;

}  // namespace

std::vector<EffectRow> ScaleEffects() {
    return {
        {"scale",
         "Size",
         "Another size, filtered",
         "With one side given, or a percentage, the picture keeps its shape. The filters differ in sharpness: lanczos8 "
         "and\n"
         "lanczos3 are sharp, cubic, poly3 and mitchell softer, triangle soft, box makes blocks. The result is the "
         "same\n"
         "for any number of threads.",
         "scale 800x filter=mitchell",
         {{"size", kSize, nullptr, 0, 0, {}, "the new size in pixels"},
          {"filter", ArgumentType::Choice, "lanczos3", 0, 0, FilterWords(), "how pixels are weighted"},
          {"threads", ArgumentType::Integer, "0", 0, 32, {}, "how many threads work, 0 for one on each processor"}},
         PlanScale,
         RunScale},
        {"scalefast",
         "Size",
         "Another size, nearest pixel",
         "Takes pixels of the source as they are, without a filter: fast, and made for pictures with few, hard "
         "colours.\n"
         "With one side given, or a percentage, the picture keeps its shape.",
         "scalefast 400%",
         {{"size", kSize, nullptr, 0, 0, {}, "the new size in pixels"}},
         PlanFastScale,
         RunFastScale},
    };
}
