#include "effects/GeometryEffects.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "Errors.h"
#include "Processors.h"
#include "Raster.h"
#include "Rows.h"
#include "Storage.h"
#include "effects/Effects.h"
#include "effects/KindRows.h"
#include "filters/FreeTurn.h"
#include "scale/FanOut.h"

namespace {

void RunFlip(Raster* image, const ImageShape&, const Arguments& arguments) {
    image->Image().Call(arguments.Choice("axis") == "h" ? "HMirror" : "VMirror");
}

std::unique_ptr<RowSource> StreamFlip(std::unique_ptr<RowSource> rows, const ImageShape&, const Arguments&) {
    return MirroredRows(std::move(rows));
}

bool StreamsFlip(const Arguments& arguments) {
    return arguments.Choice("axis") == "h";
}

// From 0 up to 360.
double Reduced(double angle) {
    while (angle >= 360) angle -= 360;
    while (angle < 0) angle += 360;
    return angle;
}

bool IsRightAngle(double angle) {
    return angle == 0 || angle == 90 || angle == 180 || angle == 270;
}

// A turn by right angles comes first, then three shears by what is left, each into an image of its own.
ImageShape PlanRotate(const ImageShape& source, const Arguments& arguments) {
    double angle = Reduced(arguments.Number("angle"));
    if (arguments.Given("slow") && angle != 90 && angle != 270)
        throw UsageError("rotate: slow goes with 90 and 270 degrees only");
    ImageShape turned = source;
    for (double right = 90; right <= 270; right += 90) {
        if (angle <= right - 45 || angle > right + 45) continue;
        angle -= right;
        if (right != 180) std::swap(turned.width, turned.height);
        break;
    }
    if (angle == 0) return turned;
    PixelKind resultKind = source.kind;
    if (arguments.Given("background") && !PluginBytes()) {
        CheckColourFits("rotate", source.kind, arguments.Colour("background"));
        resultKind = ShapeInColours(source, {arguments.Colour("background")}).kind;
    }
    const double radians = angle * 3.141592653589793 / 180.0;
    const double tangent = std::fabs(std::tan(0.5 * radians)), sine = std::fabs(std::sin(radians));
    const double cosine = std::cos(radians), width = turned.width, height = turned.height;
    const double newHeight = height * cosine + width * sine + 1;
    const PixelKindRow& kind = Describe(source.kind);
    const ImageNeed between{static_cast<std::int64_t>(width + height * tangent), static_cast<std::int64_t>(newHeight),
                            kind.channels};
    if (PluginBytes())
        CheckImageFits("rotate: the image between two shears", between.width, between.height, kind.constant,
                       kind.channels);
    const ImageShape result{static_cast<int>(std::min(width * cosine + height * sine + 1, 2147483647.0)),
                            static_cast<int>(std::min(newHeight, 2147483647.0)), resultKind};
    if (PluginBytes()) CheckScratchHolds("rotate", {NeedOf(source), NeedOf(turned), between, NeedOf(result)});
    return result;
}

zorhost::Object TurnFreely(const Raster& image, double angle, const RGBAColour& colour) {
    const int light = std::max({colour.red, colour.green, colour.blue});
    const auto ink = [light](int part) { return light == 0 ? 0 : 255 * (light - part) / light; };
    const int gray = (77 * colour.red + 151 * colour.green + 28 * colour.blue) / 256;
    return image.Image()
        .Call("Rotate", angle, colour.red, colour.green, colour.blue, colour.alpha, gray, ink(colour.red),
              ink(colour.green), ink(colour.blue), 255 - light)
        .AsObject();
}

void RunRotate(Raster* image, const ImageShape& result, const Arguments& arguments) {
    const double angle = Reduced(arguments.Number("angle"));
    if (angle == 0) return;
    if (!IsRightAngle(angle)) {
        // Nothing shows through the corners unless they get a colour.
        const RGBAColour colour =
            arguments.Given("background") ? arguments.Colour("background") : RGBAColour{0, 0, 0, 0, false};
        const zorhost::Object turned = TurnFreely(*image, angle, colour);
        if (!turned) throw RunError("rotate: not enough memory");
        *image = Raster(turned, result.kind);
        return;
    }
    Raster target(result);
    const bool slow = arguments.Given("slow");
    const char* method = angle == 180  ? "Rotate180"
                         : angle == 90 ? (slow ? "Rotate90slow" : "Rotate90")
                                       : (slow ? "Rotate270slow" : "Rotate270");
    if (!image->Image().Call(method, target.Image()).AsObject()) throw RunError("rotate: the image cannot be turned");
    *image = std::move(target);
}

// --- rounded, with colours weighed by alpha -------------------------------------------------------------------------

zor::FreeTurnRequest RequestOf(const ImageShape& source, const ImageShape& result, const Arguments& arguments) {
    const PixelParts parts = PartsOf(source.kind);
    zor::FreeTurnRequest request{source.width,
                                 source.height,
                                 result.width,
                                 result.height,
                                 parts.Channels(),
                                 parts.alpha,
                                 Reduced(arguments.Number("angle")),
                                 {}};
    if (!arguments.Given("background")) return request;
    const RGBAColour& ground = arguments.Colour("background");
    ChannelsOf(ground, source.kind, request.ground);
    if (parts.alpha) request.ground[parts.colours] = static_cast<std::uint8_t>(ground.alpha);
    return request;
}

// Bands of rows, on all processors; both images lie in memory.
struct TurningBands {
    const zor::FreeTurnRequest& request;
    Raster& source;
    Raster& target;
    std::atomic<bool>& lacksMemory;

    void Run(int first, int last) const {
        constexpr int kTile = zor::FreeTurn::kTile;
        zor::FreeTurn turn;
        if (!turn.Start(request)) {
            lacksMemory = true;
            return;
        }
        const auto pixels = [this](int x, int y) { return source.Row(y) + std::ptrdiff_t{x} * request.channels; };
        for (int band = first; band <= last; ++band) {
            const int top = band * kTile, rows = std::min(kTile, request.height - top);
            turn.Turn(pixels, {0, top, request.width, rows}, target.Row(top), target.RowDistance());
        }
    }
};

bool TurnInMemory(const zor::FreeTurnRequest& request, Raster& source, Raster& target) {
    std::atomic<bool> lacksMemory = false;
    const TurningBands bands{request, source, target, lacksMemory};
    const int count = (request.height - 1) / zor::FreeTurn::kTile + 1;
    zor::RunThreads(Processors(), count, &bands, [](int first, int last, int, signed char, void const* data) {
        static_cast<const TurningBands*>(data)->Run(first, last);
    });
    return !lacksMemory;
}

// One of the images is a file: large blocks, whose part of the source is read as a whole, so that its window moves
// seldom.
bool TurnThroughWindows(const zor::FreeTurnRequest& request, Raster& source, Raster& target) {
    constexpr int kBlock = 8 * zor::FreeTurn::kTile;
    zor::FreeTurn turn;
    if (!turn.Start(request)) return false;
    const std::ptrdiff_t channels = request.channels;
    source.WidenWindow(2 * kBlock);
    target.WidenWindow(kBlock);
    std::vector<std::uint8_t> part, block(static_cast<std::size_t>(kBlock * kBlock * channels));
    for (int top = 0; top < request.height; top += kBlock)
        for (int left = 0; left < request.width; left += kBlock) {
            const int width = std::min(kBlock, request.width - left), rows = std::min(kBlock, request.height - top);
            const zor::PixelRect result{left, top, width, rows}, from = turn.SourceOf(result);
            const std::ptrdiff_t partRow = from.width * channels, blockRow = width * channels;
            part.resize(static_cast<std::size_t>(partRow * from.height));
            for (std::int64_t y = 0; y < from.height; ++y)
                std::memcpy(part.data() + y * partRow, source.Row(static_cast<int>(from.y + y)) + from.x * channels,
                            static_cast<std::size_t>(partRow));
            const auto pixels = [&](int x, int y) {
                return part.data() + (y - from.y) * partRow + (x - from.x) * channels;
            };
            turn.Turn(pixels, result, block.data(), blockRow);
            for (int y = 0; y < rows; ++y)
                std::memcpy(target.Row(top + y) + left * channels, block.data() + y * blockRow,
                            static_cast<std::size_t>(blockRow));
        }
    return true;
}

void TurnRightly(Raster* image, const ImageShape& result, const Arguments& arguments) {
    if (IsRightAngle(Reduced(arguments.Number("angle")))) return RunRotate(image, result, arguments);
    if (image->Shape().kind != result.kind) *image = Collect(*RowsInKind(RowsOf(std::move(*image)), result.kind));
    const zor::FreeTurnRequest request = RequestOf(image->Shape(), result, arguments);
    Raster target(result);
    const bool inMemory = image->RowDistance() != 0 && target.RowDistance() != 0;
    if (!(inMemory ? TurnInMemory : TurnThroughWindows)(request, *image, target))
        throw RunError("rotate: not enough memory");
    *image = std::move(target);
}

}  // namespace

std::vector<EffectRow> GeometryEffects() {
    return {
        {"flip",
         "Geometry",
         "Mirror image",
         "h exchanges left and right, v exchanges top and bottom. Pixels move whole, with all their channels.",
         "flip h",
         {{"axis", ArgumentType::Choice, nullptr, 0, 0, {"h", "v"}, "across which the picture is mirrored"}},
         nullptr,
         RunFlip,
         1,
         StreamFlip,
         nullptr,
         false,
         StreamsFlip},
        {"rotate",
         "Geometry",
         "Turn by any angle",
         "Counter-clockwise; negative angles turn clockwise. By 90, 180 and 270 degrees pixels move whole and nothing\n"
         "is lost. Other angles filter neighbours, in every channel, and make the picture larger; its corners get the\n"
         "background: transparent where the picture has alpha, otherwise black, unless a colour is given, for which a\n"
         "gray picture becomes RGB; CMYK takes a number only, which every ink gets. Its edges are smooth and mix with\n"
         "that.",
         "rotate 7.5 background=#FFFFFF",
         {{"angle", ArgumentType::Number, nullptr, -360, 360, {}, "degrees"},
          {"background", ArgumentType::ColourAlpha, "", 0, 0, {}, "colour of the corners"},
          {"slow", ArgumentType::Flag, "", 0, 0, {}, "90 and 270 degrees pixel by pixel, with the same result"}},
         PlanRotate,
         RunRotate,
         4,
         nullptr,
         TurnRightly},
    };
}
