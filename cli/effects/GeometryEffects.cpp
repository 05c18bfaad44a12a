#include "effects/GeometryEffects.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Errors.h"
#include "Raster.h"
#include "Rows.h"
#include "Storage.h"

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
    const double radians = angle * 3.141592653589793 / 180.0;
    const double tangent = std::fabs(std::tan(0.5 * radians)), sine = std::fabs(std::sin(radians));
    const double cosine = std::cos(radians), width = turned.width, height = turned.height;
    const double newHeight = height * cosine + width * sine + 1;
    const PixelKindRow& kind = Describe(source.kind);
    const ImageNeed between{static_cast<std::int64_t>(width + height * tangent), static_cast<std::int64_t>(newHeight),
                            kind.channels};
    CheckImageFits("rotate: the image between two shears", between.width, between.height, kind.constant, kind.channels);
    const ImageShape result{static_cast<int>(std::min(width * cosine + height * sine + 1, 2147483647.0)),
                            static_cast<int>(std::min(newHeight, 2147483647.0)), source.kind};
    CheckScratchHolds("rotate", {NeedOf(source), NeedOf(turned), between, NeedOf(result)});
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
         "is lost. Other angles blend neighbours, in every channel, and make the picture larger; its corners get the\n"
         "background: transparent where the picture has alpha, otherwise black, unless a colour is given.",
         "rotate 7.5 background=#FFFFFF",
         {{"angle", ArgumentType::Number, nullptr, -360, 360, {}, "degrees"},
          {"background", ArgumentType::ColourAlpha, "", 0, 0, {}, "colour of the corners"},
          {"slow", ArgumentType::Flag, "", 0, 0, {}, "90 and 270 degrees pixel by pixel, with the same result"}},
         PlanRotate,
         RunRotate,
         4},
    };
}
