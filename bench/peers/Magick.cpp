// The operations of bench_operations by ImageMagick, on one thread. Its pictures have 16 bits a sample in this build
// and four samples a pixel at least: they are made of the bytes, and not turned into bytes again, outside the times.

#include <wand/MagickWand.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "operations/Measure.h"
#include "operations/Pictures.h"

using namespace bench;

namespace {

struct Source {
    Scene scene = Scene::photo;
    Layout layout = Layout::rgb;
    int width = kWidth;
    int height = kHeight;

    const Picture& picture() const { return PictureOf(scene, layout, width, height); }
};
constexpr Source kPhoto{}, kRGBA{Scene::photo, Layout::rgba}, kGray{Scene::photo, Layout::gray},
    kSmall{Scene::photo, Layout::rgb, kWidth / 4, kHeight / 4};

const char* MapOf(Layout layout) {
    switch (layout) {
        case Layout::gray:
        case Layout::alpha:
            return "I";
        case Layout::rgba:
        case Layout::premultiplied:
            return "RGBA";
        case Layout::cmyk:
            return "CMYK";
        default:
            return "RGB";
    }
}

using Wand = std::shared_ptr<MagickWand>;
Wand NewWand() {
    return {NewMagickWand(), DestroyMagickWand};
}

void Load(MagickWand* wand, const Source& source) {
    const Picture& picture = source.picture();
    ClearMagickWand(wand);
    MagickConstituteImage(wand, static_cast<std::size_t>(picture.width), static_cast<std::size_t>(picture.height),
                          MapOf(source.layout), CharPixel, picture.bytes.data());
}

// Everything works on the wand's picture, which is a fresh one each time.
using Work = std::function<MagickBooleanType(MagickWand*)>;
Operation Of(std::string id, Source source, Work work, std::string note = "") {
    return {std::move(id), "", std::move(note), [=] {
                const Wand wand = NewWand();
                return Run{[=] { return work(wand.get()) == MagickTrue; }, [=] { Load(wand.get(), source); }};
            }};
}

Operation Resize(std::string id, Source source, int width, int height, FilterTypes filter, std::string note = "") {
    return Of(
        std::move(id), source,
        [=](MagickWand* wand) {
            return MagickResizeImage(wand, static_cast<std::size_t>(width), static_cast<std::size_t>(height), filter,
                                     1);
        },
        std::move(note));
}

Operation Sample(std::string id, Source source, int width, int height) {
    return Of(std::move(id), source, [=](MagickWand* wand) {
        return MagickSampleImage(wand, static_cast<std::size_t>(width), static_cast<std::size_t>(height));
    });
}

Operation Matrix(std::string id, int side, std::vector<double> weights) {
    return Of(std::move(id), kPhoto, [=](MagickWand* wand) {
        return MagickConvolveImage(wand, static_cast<std::size_t>(side), weights.data());
    });
}

Operation Rotate(std::string id, Source source, double angle, std::string note = "") {
    return Of(
        std::move(id), source,
        [=](MagickWand* wand) {
            const std::shared_ptr<PixelWand> white(NewPixelWand(), DestroyPixelWand);
            PixelSetColor(white.get(), "white");
            return MagickRotateImage(wand, white.get(), angle);
        },
        std::move(note));
}

}  // namespace

int main(int argc, char** argv) {
    setenv("MAGICK_CONFIGURE_PATH", MAGICK_POLICY_FOLDER, 1);  // Debian's limits would put these pictures into files
    MagickWandGenesis();
    MagickSetResourceLimit(ThreadResource, 1);
    const int quarterWidth = kWidth / 4, quarterHeight = kHeight / 4;
    std::vector<Operation> all{
        Resize("scale/lanczos3-quarter-photo", kPhoto, quarterWidth, quarterHeight, LanczosFilter),
        Resize("scale/lanczos3-quarter-smooth", {Scene::smooth}, quarterWidth, quarterHeight, LanczosFilter),
        Resize("scale/lanczos3-quarter-flat", {Scene::flat}, quarterWidth, quarterHeight, LanczosFilter),
        Resize("scale/lanczos3-1620", kPhoto, 1620, 1080, LanczosFilter),
        Resize("scale/lanczos3-quarter-rgba", kRGBA, quarterWidth, quarterHeight, LanczosFilter),
        Resize("scale/lanczos3-quarter-gray", kGray, quarterWidth, quarterHeight, LanczosFilter),
        Resize("scale/lanczos3-up", kSmall, kWidth, kHeight, LanczosFilter),
        Resize("scale/cubic-up", kSmall, kWidth, kHeight, CatromFilter, "cubic through four pixels"),
        Resize("scale/triangle-up", kSmall, kWidth, kHeight, TriangleFilter),
        Resize("scale/cubic-quarter", kPhoto, quarterWidth, quarterHeight, CatromFilter, "cubic through four pixels"),
        Resize("scale/triangle-quarter", kPhoto, quarterWidth, quarterHeight, TriangleFilter),
        Resize("scale/box-quarter", kPhoto, quarterWidth, quarterHeight, BoxFilter),
        Resize("scale/mitchell-quarter", kPhoto, quarterWidth, quarterHeight, MitchellFilter),
        Sample("scale/nearest-half", kPhoto, kWidth / 2, kHeight / 2),
        Sample("scale/nearest-up", kSmall, kWidth, kHeight),
        Matrix("matrix/3x3", 3, {-1, -1, -1, -1, 9, -1, -1, -1, -1}),
        Matrix("matrix/5x5", 5,
               {0, 0, -1, 0, 0, 0, -1, -2, -1, 0, -1, -2, 17, -2, -1, 0, -1, -2, -1, 0, 0, 0, -1, 0, 0}),
        Of("tone/gamma", kPhoto, [](MagickWand* wand) { return MagickGammaImage(wand, 2.2); }),
        Of("tone/solarize", kPhoto, [](MagickWand* wand) { return MagickSolarizeImage(wand, 32768); }),
        Of("tone/auto-level", kPhoto,
           [](MagickWand* wand) {
               const double part = 0.005 * kWidth * kHeight;
               return MagickContrastStretchImage(wand, part, double{kWidth} * kHeight - part);
           }),
        Of("tone/dither", kPhoto, [](MagickWand* wand) { return MagickOrderedPosterizeImage(wand, "o8x8,4"); }),
        Of("tone/diffuse", kPhoto, [](MagickWand* wand) { return MagickSpreadImage(wand, 4); }),
        Of(
            "tone/oil-3", kPhoto, [](MagickWand* wand) { return MagickOilPaintImage(wand, 3); }, "256 levels"),
        Of("turn/mirror", kPhoto, MagickFlopImage),
        Of("turn/flip", kPhoto, MagickFlipImage),
        Rotate("turn/180", kPhoto, 180),
        Rotate("turn/90", kPhoto, 270),
        Rotate("turn/90-gray", kGray, 270),
        Rotate("turn/30", kPhoto, -30, "by shears"),
        Of("fill/invert", kPhoto, [](MagickWand* wand) { return MagickNegateImage(wand, MagickFalse); }),
        Of("fill/lay-over", kPhoto,
           [](MagickWand* wand) {
               const std::shared_ptr<PixelWand> colour(NewPixelWand(), DestroyPixelWand),
                   amount(NewPixelWand(), DestroyPixelWand);
               PixelSetColor(colour.get(), "rgb(200,20,30)");
               PixelSetColor(amount.get(), "rgb(40%,40%,40%)");
               return MagickColorizeImage(wand, colour.get(), amount.get());
           }),
        {"blend/rgb-by-gray", "", "the mask is the layer's alpha",
         [] {
             const Wand wand = NewWand(), layer = NewWand();
             Load(layer.get(), {Scene::smooth, Layout::rgba});
             return Run{
                 [=] { return MagickCompositeImage(wand.get(), layer.get(), OverCompositeOp, 0, 0) == MagickTrue; },
                 [=] { Load(wand.get(), kPhoto); }};
         }},
    };
    std::size_t number = 0;
    std::string version = GetMagickVersion(&number);  // "ImageMagick 6.9.11-60 Q16 x86_64 ..."
    version = version.substr(version.find(' ') + 1);
    version = version.substr(0, version.find(' ', version.find(' ') + 1));
    const int result = RunOperations({"ImageMagick", version}, all, argc, argv);
    all.clear();
    MagickWandTerminus();
    return result;
}
