#include "effects/ScaleEffects.h"

#include <algorithm>

#include "Engine.h"
#include "Errors.h"
#include "Rows.h"
#include "Storage.h"
#include "scale/FineScaleStream.h"

namespace {

struct Filter {
    const char* word;
    const char* constant;  // of PictureZOR, whose value is the engine's number for it
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

// Between its two passes the scaler holds an image as wide as the result and as high as the source.
struct TemporaryImage {
    ImageNeed need;
    const char* constant;  // its format
};

TemporaryImage BetweenPasses(const ImageShape& source, const ImageShape& result) {
    const bool narrow = source.kind == PixelKind::Gray || !ScaledViews(source.kind).empty();
    return {{result.width, source.height, narrow ? 1 : 4}, narrow ? "ImageFormatScaling1" : "ImageFormatScaling4"};
}

void CheckBetweenPasses(const std::string& effect, const ImageShape& source, const ImageShape& result) {
    const TemporaryImage between = BetweenPasses(source, result);
    CheckImageFits(effect + ": the image between the two passes", between.need.width, between.need.height,
                   between.constant, between.need.bytesPerPixel);
    CheckScratchHolds(effect, {NeedOf(source), between.need, NeedOf(result)});
}

ImageShape PlanScale(const ImageShape& source, const Arguments& arguments) {
    const ImageShape result = PlanFastScale(source, arguments);
    if (PluginBytes()) CheckBetweenPasses("scale", source, result);
    return result;
}

// The scaler makes its temporary image by itself in memory only: one that is file-backed must be handed to it, and only
// the form with one thread may have it.
zorhost::Object MakeTemporary(const ImageShape& source, const ImageShape& result) {
    const TemporaryImage between = BetweenPasses(source, result);
    if (!GoesToScratch(between.need)) return {};
    return Engine()
        .CallShared("PictureZOR", "CreatePictureZOR", result.width, source.height, EngineConstant(between.constant))
        .AsObject();
}

void ScaleWhole(Raster* image, const ImageShape& result, int mode, int threads) {
    const zorhost::Object temp = MakeTemporary(image->Shape(), result);
    if (temp) threads = 1;
    Raster target(result);
    const auto scale = [&](const zorhost::Object& to, const zorhost::Object& from) {
        return threads == 1 ? to.Call("Scale", from, temp, mode, result.width, result.height).AsBool()
                            : to.Call("ScaleMT", threads, from, temp, mode, result.width, result.height).AsBool();
    };
    const std::vector<const char*> views = ScaledViews(result.kind);
    bool done = !views.empty() || scale(target.Image(), image->Image());
    for (const char* view : views) done = done && scale(target.View(view), image->View(view));
    if (!done) throw RunError("scale: not enough memory");
    *image = std::move(target);
}

void RunScale(Raster* image, const ImageShape& result, const Arguments& arguments) {
    ScaleWhole(image, result, FilterMode(arguments.Choice("filter")), arguments.Integer("threads"));
}

void RunFastScale(Raster* image, const ImageShape& result, const Arguments&) {
    Raster target(result);
    if (!target.Image().Call("ScaleFast", image->Image(), result.width, result.height).AsBool())
        throw RunError("scalefast: not enough memory");
    *image = std::move(target);
}

// Rounded, from rows as they come.
class ScaledRows : public RowSource {
public:
    ScaledRows(std::unique_ptr<RowSource> rows, const ImageShape& result, int mode)
        : RowSource(result), rows_(std::move(rows)) {
        const ImageShape& source = rows_->Shape();
        const int channels = Describe(source.kind).channels;
        zor::ScaleStreamRequest request{};
        request.kernel = zor::KernelOfMode(mode);
        request.srcWidth = source.width;
        request.srcHeight = source.height;
        request.width = result.width;
        request.height = result.height;
        request.shape = zor::ResampleShapeOf(channels, false);
        if (!stream_.Start(request, Describe(source.kind).hasAlpha)) throw RunError("scale: not enough memory");
        step_ = channels;
        row_.resize(static_cast<std::size_t>(stream_.rowBytes()));
    }

    const std::uint8_t* Next() override {
        while (!stream_.Take(row_.data()))
            if (!stream_.Feed(rows_->Next(), step_)) throw RunError("scale: not enough memory");
        return row_.data();
    }

private:
    std::unique_ptr<RowSource> rows_;
    zor::FineScaleStream stream_;
    std::ptrdiff_t step_ = 0;
    std::vector<std::uint8_t> row_;
};

std::unique_ptr<RowSource> StreamTo(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                    const std::string& filter) {
    const ImageShape& source = rows->Shape();
    if (source.width == result.width && source.height == result.height) return rows;  // some filters would soften it
    return std::make_unique<ScaledRows>(std::move(rows), result, FilterMode(filter));
}

std::unique_ptr<RowSource> StreamScale(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                       const Arguments& arguments) {
    return StreamTo(std::move(rows), result, arguments.Choice("filter"));
}

// Into the box, as large as fits, but no larger than it is.
ImageShape PlanThumbnail(const ImageShape& source, const Arguments& arguments) {
    const AreaRequest& box = arguments.Area("size");
    const double part =
        std::min({static_cast<double>(box.width) / source.width, static_cast<double>(box.height) / source.height, 1.0});
    const PixelSize size = Resolve({0, 0, 100 * part}, source.width, source.height);
    const ImageShape result{static_cast<int>(size.width), static_cast<int>(size.height), source.kind};
    if (PluginBytes()) CheckBetweenPasses("thumbnail", source, result);
    return result;
}

constexpr const char* kThumbnailFilter = "lanczos3";
constexpr int kThumbnailSourceSides = 2;  // what is left for the filter to do, so that it makes what people see

void RunThumbnail(Raster* image, const ImageShape& result, const Arguments&) {
    ScaleWhole(image, result, FilterMode(kThumbnailFilter), 0);
}

std::unique_ptr<RowSource> StreamThumbnail(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                           const Arguments&) {
    return StreamTo(std::move(rows), result, kThumbnailFilter);
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
         RunScale,
         6,
         StreamScale},
        {"thumbnail",
         "Size",
         "Small enough for a box, quickly",
         "The picture keeps its shape and becomes as large as the box allows, but never larger than it is. One number\n"
         "is a box with sides of that length. As the first effect on a JPEG file it is much faster than scale: no "
         "more\n"
         "of the picture is decoded than the small one shows.",
         "thumbnail 800",
         {{"size", ArgumentType::Box, nullptr, 0, 0, {}, "the box in pixels"}},
         PlanThumbnail,
         RunThumbnail,
         6,
         StreamThumbnail,
         nullptr,
         false,
         nullptr,
         kThumbnailSourceSides},
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
