// The operations of bench_operations by libvips: from an image over bytes in memory to bytes in memory, one thread.

#include <vips/vips.h>

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
    kCMYK{Scene::photo, Layout::cmyk}, kMask{Scene::photo, Layout::alpha},
    kSmall{Scene::photo, Layout::rgb, kWidth / 4, kHeight / 4}, kLayer{Scene::smooth},
    kLayerGray{Scene::smooth, Layout::gray};

class Image {
public:
    explicit Image(VipsImage* image = nullptr) : image_(image) {}
    explicit Image(const Source& source) {
        const Picture& picture = source.picture();
        image_ = vips_image_new_from_memory(picture.bytes.data(), picture.bytes.size(), picture.width, picture.height,
                                            picture.channels, VIPS_FORMAT_UCHAR);
        image_->Type = picture.channels == 1           ? VIPS_INTERPRETATION_B_W
                       : source.layout == Layout::cmyk ? VIPS_INTERPRETATION_CMYK
                                                       : VIPS_INTERPRETATION_sRGB;
    }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
    ~Image() { g_clear_object(&image_); }

    VipsImage* get() const { return image_; }
    VipsImage** out() { return &image_; }

private:
    VipsImage* image_ = nullptr;
};

// Nothing is worked out before the pixels are asked for.
bool Compute(VipsImage* image) {
    std::size_t size = 0;
    void* const pixels = vips_image_write_to_memory(image, &size);
    g_free(pixels);
    return pixels != nullptr;
}

// build(source, &result) puts the operation together and gives 0 where that worked.
using Build = std::function<int(VipsImage*, VipsImage**)>;
Operation Of(std::string id, Source source, Build build, std::string note = "") {
    return {std::move(id), "", std::move(note), [=] {
                const auto from = std::make_shared<Image>(source);
                return Run{[=] {
                               Image result;
                               return build(from->get(), result.out()) == 0 && Compute(result.get());
                           },
                           nullptr};
            }};
}

Operation Reduce(std::string id, Source source, int width, int height, VipsKernel kernel, std::string note = "") {
    const double across = static_cast<double>(kWidth) / width, down = static_cast<double>(kHeight) / height;
    return Of(
        std::move(id), source,
        [=](VipsImage* in, VipsImage** out) { return vips_reduce(in, out, across, down, "kernel", kernel, nullptr); },
        std::move(note));
}
Operation Enlarge(std::string id, VipsKernel kernel, std::string note = "") {
    return Of(
        std::move(id), kSmall,
        [=](VipsImage* in, VipsImage** out) { return vips_resize(in, out, 4.0, "kernel", kernel, nullptr); },
        std::move(note));
}

Operation Matrix(std::string id, int side, std::vector<double> weights, double divisor, std::string note = "") {
    return Of(
        std::move(id), kPhoto,
        [=](VipsImage* in, VipsImage** out) {
            Image mask(vips_image_new_matrix_from_array(side, static_cast<int>(weights.size()) / side, weights.data(),
                                                        static_cast<int>(weights.size())));
            vips_image_set_double(mask.get(), "scale", divisor);
            return side > 5 ? vips_convsep(in, out, mask.get(), "precision", VIPS_PRECISION_INTEGER, nullptr)
                            : vips_conv(in, out, mask.get(), "precision", VIPS_PRECISION_INTEGER, nullptr);
        },
        std::move(note));
}

Operation Table(std::string id, Source source, int channels) {
    std::vector<std::uint8_t> values(static_cast<std::size_t>(256) * channels);
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<std::uint8_t>(i * 5);
    return Of(std::move(id), source, [=](VipsImage* in, VipsImage** out) {
        const Image table(
            vips_image_new_from_memory_copy(values.data(), values.size(), 256, 1, channels, VIPS_FORMAT_UCHAR));
        return vips_maplut(in, out, table.get(), nullptr);
    });
}

Operation Bands(std::string id, Source source, std::vector<int> order) {
    return Of(std::move(id), source, [=](VipsImage* in, VipsImage** out) {
        std::vector<Image> bands(order.size());
        std::vector<VipsImage*> pointers;
        for (std::size_t i = 0; i < order.size(); ++i) {
            if (vips_extract_band(in, bands[i].out(), order[i], nullptr) != 0) return -1;
            pointers.push_back(bands[i].get());
        }
        return vips_bandjoin(pointers.data(), out, static_cast<int>(order.size()), nullptr);
    });
}

Operation Blend(std::string id, Source target, Source layer) {
    return {std::move(id), "", "", [=] {
                const auto below = std::make_shared<Image>(target), above = std::make_shared<Image>(layer),
                           mask = std::make_shared<Image>(kMask);
                return Run{[=] {
                               Image result;
                               return vips_ifthenelse(mask->get(), above->get(), below->get(), result.out(), "blend",
                                                      TRUE, nullptr) == 0 &&
                                      Compute(result.get());
                           },
                           nullptr};
            }};
}

}  // namespace

int main(int argc, char** argv) {
    if (vips_init(argv[0]) != 0) return 1;
    vips_concurrency_set(1);
    vips_cache_set_max(0);  // otherwise the second run would find the first one's result
    const int quarterWidth = kWidth / 4, quarterHeight = kHeight / 4;
    const std::string toDest = "into another picture";
    const auto turn = [](VipsAngle angle) -> Build {
        return [=](VipsImage* in, VipsImage** out) { return vips_rot(in, out, angle, nullptr); };
    };
    const auto flip = [](VipsDirection direction) -> Build {
        return [=](VipsImage* in, VipsImage** out) { return vips_flip(in, out, direction, nullptr); };
    };
    const Build invert = [](VipsImage* in, VipsImage** out) { return vips_invert(in, out, nullptr); };
    const Build rotate = [](VipsImage* in, VipsImage** out) {
        double white[] = {255, 255, 255};
        VipsArrayDouble* const colour = vips_array_double_new(white, in->Bands);
        const int result = vips_rotate(in, out, -30.0, "background", colour, nullptr);
        vips_area_unref(VIPS_AREA(colour));
        return result;
    };
    const Build toGray = [](VipsImage* in, VipsImage** out) {
        return vips_colourspace(in, out, VIPS_INTERPRETATION_B_W, nullptr);
    };
    std::vector<Operation> all{
        Reduce("scale/lanczos3-quarter-photo", kPhoto, quarterWidth, quarterHeight, VIPS_KERNEL_LANCZOS3),
        Reduce("scale/lanczos3-quarter-smooth", {Scene::smooth}, quarterWidth, quarterHeight, VIPS_KERNEL_LANCZOS3),
        Reduce("scale/lanczos3-quarter-flat", {Scene::flat}, quarterWidth, quarterHeight, VIPS_KERNEL_LANCZOS3),
        Reduce("scale/lanczos3-1620", kPhoto, 1620, 1080, VIPS_KERNEL_LANCZOS3),
        Reduce("scale/lanczos3-awkward", kPhoto, 1237, 811, VIPS_KERNEL_LANCZOS3),
        Reduce("scale/lanczos3-half", kPhoto, kWidth / 2, kHeight / 2, VIPS_KERNEL_LANCZOS3),
        Reduce("scale/lanczos3-thumbnail", kPhoto, 300, 200, VIPS_KERNEL_LANCZOS3),
        Reduce("scale/lanczos3-quarter-rgba", kRGBA, quarterWidth, quarterHeight, VIPS_KERNEL_LANCZOS3),
        Reduce("scale/lanczos3-quarter-gray", kGray, quarterWidth, quarterHeight, VIPS_KERNEL_LANCZOS3),
        Reduce("scale/lanczos3-quarter-cmyk", kCMYK, quarterWidth, quarterHeight, VIPS_KERNEL_LANCZOS3),
        Enlarge("scale/cubic-up", VIPS_KERNEL_CUBIC, "cubic through four pixels"),
        Enlarge("scale/triangle-up", VIPS_KERNEL_LINEAR),
        Reduce("scale/cubic-quarter", kPhoto, quarterWidth, quarterHeight, VIPS_KERNEL_CUBIC,
               "cubic through four pixels"),
        Reduce("scale/triangle-quarter", kPhoto, quarterWidth, quarterHeight, VIPS_KERNEL_LINEAR),
        Reduce("scale/mitchell-quarter", kPhoto, quarterWidth, quarterHeight, VIPS_KERNEL_MITCHELL),
        Of("scale/box-quarter", kPhoto,
           [](VipsImage* in, VipsImage** out) { return vips_shrink(in, out, 4, 4, nullptr); }),
        Of("scale/nearest-half", kPhoto,
           [](VipsImage* in, VipsImage** out) { return vips_subsample(in, out, 2, 2, nullptr); }),
        Of("scale/nearest-up", kSmall,
           [](VipsImage* in, VipsImage** out) { return vips_zoom(in, out, 4, 4, nullptr); }),
        Of("scale/nearest-half-rgba", kRGBA,
           [](VipsImage* in, VipsImage** out) { return vips_subsample(in, out, 2, 2, nullptr); }),
        Of("scale/nearest-half-gray", kGray,
           [](VipsImage* in, VipsImage** out) { return vips_subsample(in, out, 2, 2, nullptr); }),
        Matrix("blur/box-5", 11, std::vector<double>(11, 1), 11, "as a convolution of eleven equal weights, both ways"),
        Matrix("matrix/3x3", 3, {-1, -1, -1, -1, 9, -1, -1, -1, -1}, 1),
        Matrix("matrix/3x3-divided", 3, {1, 2, 1, 2, 4, 2, 1, 2, 1}, 16),
        Matrix("matrix/5x5", 5,
               {0, 0, -1, 0, 0, 0, -1, -2, -1, 0, -1, -2, 17, -2, -1, 0, -1, -2, -1, 0, 0, 0, -1, 0, 0}, 1),
        Matrix("matrix/5x5-divided", 5,
               {1, 4, 6, 4, 1, 4, 16, 24, 16, 4, 6, 24, 36, 24, 6, 4, 16, 24, 16, 4, 1, 4, 6, 4, 1}, 256),
        Table("tone/gamma", kPhoto, 1),
        Table("tone/gamma-by-channel", kPhoto, 3),
        Table("tone/gamma-rgba", kRGBA, 4),
        Table("tone/gain", kPhoto, 1),
        Table("tone/solarize", kPhoto, 1),
        Of("turn/mirror", kPhoto, flip(VIPS_DIRECTION_HORIZONTAL), toDest),
        Of("turn/mirror-rgba", kRGBA, flip(VIPS_DIRECTION_HORIZONTAL), toDest),
        Of("turn/mirror-gray", kGray, flip(VIPS_DIRECTION_HORIZONTAL), toDest),
        Of("turn/flip", kPhoto, flip(VIPS_DIRECTION_VERTICAL), toDest),
        Of("turn/180", kPhoto, turn(VIPS_ANGLE_D180)),
        Of("turn/90", kPhoto, turn(VIPS_ANGLE_D270)),
        Of("turn/270", kPhoto, turn(VIPS_ANGLE_D90)),
        Of("turn/90-rgba", kRGBA, turn(VIPS_ANGLE_D270)),
        Of("turn/90-gray", kGray, turn(VIPS_ANGLE_D270)),
        Of("turn/30", kPhoto, rotate, "bilinear, in one step"),
        Of("turn/30-gray", kGray, rotate, "bilinear, in one step"),
        Of("fill/invert", kPhoto, invert, toDest),
        Of("fill/invert-cmyk", kCMYK, invert, toDest),
        Of(
            "fill/lay-over", kPhoto,
            [](VipsImage* in, VipsImage** out) {
                const double factors[] = {0.6, 0.6, 0.6}, offsets[] = {80, 8, 12};
                return vips_linear(in, out, factors, offsets, 3, "uchar", TRUE, nullptr);
            },
            toDest),
        Of(
            "copy/rgb-to-rgb", kPhoto, [](VipsImage* in, VipsImage** out) { return vips_copy(in, out, nullptr); },
            toDest),
        Bands("copy/rgb-to-bgr", kPhoto, {2, 1, 0}),
        Of("copy/rgb-to-gray", kPhoto, toGray, "luminance of linear light"),
        Of(
            "copy/rgb-to-rgba", kPhoto,
            [](VipsImage* in, VipsImage** out) { return vips_bandjoin_const1(in, out, 255, nullptr); }, "fills alpha"),
        Bands("copy/gray-to-rgb", kGray, {0, 0, 0}),
        Bands("copy/rgba-to-bgra", kRGBA, {2, 1, 0, 3}),
        Of("copy/rgba-to-rgb", kRGBA,
           [](VipsImage* in, VipsImage** out) { return vips_extract_band(in, out, 0, "n", 3, nullptr); }),
        Bands("copy/cmyk-to-kymc", kCMYK, {3, 2, 1, 0}),
        Blend("blend/rgb-by-gray", kPhoto, kLayer),
        Blend("blend/gray-by-gray", kGray, kLayerGray),
    };
    const int result = RunOperations({"libvips", vips_version_string()}, all, argc, argv);
    all.clear();
    vips_shutdown();
    return result;
}
