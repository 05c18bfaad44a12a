#include "effects/FilterEffects.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "Errors.h"
#include "Rows.h"
#include "Storage.h"
#include "effects/Effects.h"
#include "effects/Filters.h"
#include "effects/StreamedRows.h"
#include "filters/BlurStream.h"
#include "filters/MatrixStream.h"
#include "filters/SoftBlurStream.h"
#include "filters/UnsharpStream.h"

namespace {

using zorhost::Object;

// --- matrix ---------------------------------------------------------------------------------------------------------

std::unique_ptr<RowSource> StreamMatrix(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                        const Arguments& arguments) {
    auto request = RequestFor<zor::MatrixStreamRequest>(result);
    request.weights = arguments.Numbers("weights");
    request.side = MatrixSide(request.weights.size());
    request.delta = arguments.Integer("delta");
    request.factor = arguments.Number("factor");
    return StreamedAsLight<zor::MatrixStream>(std::move(rows), "matrix", request);
}

void RunMatrix(Raster* image, const ImageShape&, const Arguments& arguments) {
    const std::vector<std::int32_t>& weights = arguments.Numbers("weights");
    RunFilter(image, "matrix", FilterPart::Light, [&](const Object& source, const Object& target, const char*) {
        return source
            .Call("ApplyMatrix", target, MatrixSide(weights.size()), weights, arguments.Integer("delta"),
                  arguments.Number("factor"))
            .AsObject();
    });
}

// --- blur -----------------------------------------------------------------------------------------------------------

zor::BlurStreamRequest BlurRequest(const ImageShape& shape, const Arguments& arguments) {
    auto request = RequestFor<zor::BlurStreamRequest>(shape);
    const std::string axis = arguments.Choice("axis");
    request.across = axis == "v" ? 0 : arguments.Integer("radius");
    request.down = axis == "h" ? 0 : arguments.Integer("radius");
    request.iterations = arguments.Integer("iterations");
    return request;
}

ImageShape PlanBlur(const ImageShape& source, const Arguments& arguments) {
    if (PluginBytes()) return source;
    const zor::BlurStreamRequest request = BlurRequest(source, arguments);
    CheckScratchHolds("blur", {WaitingRows(request.waitingRows(), request.waitingRowBytes())});
    return source;
}

std::unique_ptr<RowSource> StreamBlur(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                      const Arguments& arguments) {
    zor::BlurStreamRequest request = BlurRequest(result, arguments);
    request.store = StoreFor(WaitingRows(request.waitingRows(), request.waitingRowBytes()));
    return Streamed<zor::BlurStream>(std::move(rows), "blur", request);
}

// One step after the other: done by the engine at one go they would take an image more.
void RunBlur(Raster* image, const ImageShape&, const Arguments& arguments) {
    const double radius = arguments.Integer("radius");
    const std::string axis = arguments.Choice("axis");
    for (int i = 0; i < arguments.Integer("iterations"); ++i)
        RunFilter(image, "blur", FilterPart::Whole, [&](const Object& source, const Object& target, const char*) {
            return source.Call("BoxBlurFilter", target, radius, axis != "h", axis != "v").AsObject();
        });
}

std::unique_ptr<RowSource> StreamSoftBlur(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                          const Arguments& arguments) {
    auto request = RequestFor<zor::SoftBlurStreamRequest>(result);
    request.radius = arguments.Number("radius");
    return Streamed<zor::SoftBlurStream>(std::move(rows), "softblur", request);
}

void RunSoftBlur(Raster* image, const ImageShape&, const Arguments& arguments) {
    RunFilter(image, "softblur", FilterPart::Channels, [&](const Object& source, const Object& target, const char*) {
        return source.Call("BoxBlurFractionalFilter", target, arguments.Number("radius")).AsObject();
    });
}

// --- unsharp --------------------------------------------------------------------------------------------------------

zor::UnsharpStreamRequest UnsharpRequest(const ImageShape& shape, const Arguments& arguments) {
    auto request = RequestFor<zor::UnsharpStreamRequest>(shape);
    request.amount = arguments.Number("amount");
    request.radius = arguments.Integer("radius");
    request.threshold = arguments.Integer("threshold");
    return request;
}

ImageNeed UnsharpNeed(const zor::UnsharpStreamRequest& request) {
    return WaitingRows(request.waitingRows(), std::int64_t{request.width} * request.channels);
}

ImageShape PlanUnsharp(const ImageShape& source, const Arguments& arguments) {
    const ImageNeed image = NeedOf(source);
    if (PluginBytes()) {
        CheckScratchHolds("unsharp", {image, image, image});  // the source, its blurred copy and the result
    } else {
        CheckScratchHolds("unsharp", {UnsharpNeed(UnsharpRequest(source, arguments))});
    }
    return source;
}

std::unique_ptr<RowSource> StreamUnsharp(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                         const Arguments& arguments) {
    zor::UnsharpStreamRequest request = UnsharpRequest(result, arguments);
    request.store = StoreFor(UnsharpNeed(request));
    return Streamed<zor::UnsharpStream>(std::move(rows), "unsharp", request);
}

// The filter works in place, against a blurred copy: the target starts as one more copy of the source.
void RunUnsharp(Raster* image, const ImageShape&, const Arguments& arguments) {
    RunFilter(image, "unsharp", FilterPart::Colours, [&](const Object& source, const Object& target, const char*) {
        const double radius = arguments.Integer("radius");
        const Object blurred = source.Call("BoxBlurFilter", Object(), radius, true, true).AsObject();
        const bool done = blurred && target.Call("CopyPixels", source).AsBool();
        // The copy takes the format of what it shows, as the view over the source does.
        return done && target.Call("UnsharpFilter", blurred, arguments.Number("amount"), arguments.Integer("threshold"))
                           .AsBool()
                   ? target
                   : Object();
    });
}

constexpr ArgumentType kInteger = ArgumentType::Integer;
constexpr ArgumentType kNumber = ArgumentType::Number;

}  // namespace

std::vector<EffectRow> FilterEffects() {
    return {
        {"matrix",
         "Sharpness",
         "Weighted sum of each pixel's neighbours",
         "The weights are a square of 3 x 3, 4 x 4 ... 50 x 50 numbers, row by row, that lies over each pixel in "
         "turn.\n"
         "Value: (sum of weight x neighbour + delta) x factor, rounded and cut to 0 to 255. Pixels of the border stand "
         "in\n"
         "for those outside, and the pixel itself for clear neighbours. Works on gray, red, green and blue; alpha "
         "stays.\n"
         "CMYK: on each ink, taken as the light that it leaves.",
         "matrix 0,-1,0,-1,5,-1,0,-1,0",
         {{"weights", ArgumentType::Matrix, nullptr, -1000, 254, {}, "how much each neighbour counts"},
          {"delta", kInteger, "0", -65535, 65535, {}, "what is added to the sum"},
          {"factor", kNumber, "1", -1000, 1000, {}, "what the sum is multiplied with at last"}},
         nullptr,
         RunMatrix,
         4,
         StreamMatrix},
        {"blur",
         "Sharpness",
         "Mean of a square around each pixel",
         "The square has 2 x radius + 1 pixels a side; the time does not depend on it. Three iterations look like a "
         "soft\n"
         "lens. Works on every channel, on inks too; colours count as much as their alpha.",
         "blur 4 iterations=3",
         {{"radius", kInteger, nullptr, 1, 10000, {}, "pixels to each side"},
          {"iterations", kInteger, "1", 1, 100, {}, "how often"},
          {"axis", ArgumentType::Choice, "both", 0, 0, {"both", "h", "v"}, "across, from top to bottom, or both"}},
         PlanBlur,
         RunBlur,
         3,
         StreamBlur},
        {"softblur",
         "Sharpness",
         "A blur of less than one pixel",
         "Each pixel takes in its four neighbours, with the radius as their weight: 0 changes nothing. Works on every\n"
         "channel, on inks too; colours count as much as their alpha. 'blur' does whole pixels.",
         "softblur 0.5",
         {{"radius", kNumber, nullptr, 0, 0.999, {}, "weight of the neighbours"}},
         nullptr,
         RunSoftBlur,
         3,
         StreamSoftBlur},
        {"unsharp",
         "Sharpness",
         "Sharper, by the difference to a blurred copy",
         "Moves each value away from that of a copy made by 'blur RADIUS': four times the difference times the "
         "amount.\n"
         "Works on gray, red, green, blue and on each ink of CMYK; alpha stays, and clear pixels count for nothing.",
         "unsharp 0.3 radius=2 threshold=4",
         {{"amount", kNumber, nullptr, 0, 100, {}, "how much"},
          {"radius", kInteger, "1", 1, 10000, {}, "of the blurred copy, in pixels"},
          {"threshold", kInteger, "0", 0, 256, {}, "smaller differences are left alone"}},
         PlanUnsharp,
         RunUnsharp,
         4,
         StreamUnsharp},
    };
}
