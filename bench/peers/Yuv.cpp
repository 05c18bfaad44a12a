// The operations of bench_operations by libyuv, for the layouts that it has. What it calls ARGB lies in memory as
// B, G, R, A, and RAW as R, G, B: only the order of the bytes matters here.

#include <libyuv.h>
#include <libyuv/scale_rgb.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "operations/Measure.h"
#include "operations/Pictures.h"

using namespace bench;

namespace {

struct Source {
    Layout layout = Layout::rgb;
    int width = kWidth;
    int height = kHeight;

    const Picture& picture() const { return PictureOf(Scene::photo, layout, width, height); }
};
constexpr Source kPhoto{}, kRGBA{Layout::rgba}, kGray{Layout::gray}, kMask{Layout::alpha},
    kSmall{Layout::rgb, kWidth / 4, kHeight / 4};

// function(source, its row size, destination, its row size, further...), in the way of this library.
template <class Function, class... Further>
Operation Into(std::string id, Source source, int width, int height, int channels, std::string note, Function function,
               Further... further) {
    return {std::move(id), "", std::move(note), [=] {
                const Picture& from = source.picture();
                const auto to =
                    std::make_shared<std::vector<std::uint8_t>>(static_cast<std::size_t>(width) * height * channels);
                return Run{[=, &from] {
                               function(from.bytes.data(), static_cast<int>(from.rowBytes()), to->data(),
                                        width * channels, further...);
                               return true;
                           },
                           nullptr};
            }};
}
template <class Function>
Operation Whole(std::string id, Source source, int channels, Function function, std::string note = "") {
    return Into(std::move(id), source, kWidth, kHeight, channels, std::move(note), function, kWidth, kHeight);
}

template <class Function>
Operation Scale(std::string id, Source source, int width, int height, Function function, libyuv::FilterMode mode,
                std::string note = "") {
    return {std::move(id), "", std::move(note), [=] {
                const Picture& from = source.picture();
                const auto to = std::make_shared<std::vector<std::uint8_t>>(static_cast<std::size_t>(width) * height *
                                                                            from.channels);
                return Run{[=, &from] {
                               function(from.bytes.data(), static_cast<int>(from.rowBytes()), from.width, from.height,
                                        to->data(), width * from.channels, width, height, mode);
                               return true;
                           },
                           nullptr};
            }};
}

template <class Work>
Operation InPlace(std::string id, Source source, Work work, std::string note = "") {
    return {std::move(id), "", std::move(note), [=] {
                const auto image = std::make_shared<Picture>(source.picture());
                return Run{[=] {
                               work(image->bytes.data(), static_cast<int>(image->rowBytes()));
                               return true;
                           },
                           [=] { image->bytes = source.picture().bytes; }};
            }};
}

}  // namespace

int main(int argc, char** argv) {
    const std::string toDest = "into another picture";
    std::vector<std::uint8_t> table(1024);
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<std::uint8_t>(i / 4 * (3 + i % 4));
    const std::vector<Operation> all{
        Scale("scale/box-quarter", kPhoto, kWidth / 4, kHeight / 4, libyuv::RGBScale, libyuv::kFilterBox,
              "by way of four bytes a pixel"),
        Scale("scale/triangle-up", kSmall, kWidth, kHeight, libyuv::RGBScale, libyuv::kFilterBilinear,
              "by way of four bytes a pixel"),
        Scale("scale/nearest-half", kPhoto, kWidth / 2, kHeight / 2, libyuv::RGBScale, libyuv::kFilterNone,
              "by way of four bytes a pixel"),
        Scale("scale/nearest-up", kSmall, kWidth, kHeight, libyuv::RGBScale, libyuv::kFilterNone,
              "by way of four bytes a pixel"),
        Scale("scale/nearest-half-rgba", kRGBA, kWidth / 2, kHeight / 2, libyuv::ARGBScale, libyuv::kFilterNone),
        Scale("scale/nearest-half-gray", kGray, kWidth / 2, kHeight / 2, libyuv::ScalePlane, libyuv::kFilterNone),
        {"blur/box-5-rgba", "", "32-bit sums over the whole picture",
         [] {
             const Picture& from = kRGBA.picture();
             const auto to = std::make_shared<std::vector<std::uint8_t>>(from.bytes.size());
             const auto sums = std::make_shared_for_overwrite<std::int32_t[]>(std::size_t{kWidth} * 4 * (kHeight + 1));
             return Run{[=, &from] {
                            return libyuv::ARGBBlur(from.bytes.data(), kWidth * 4, to->data(), kWidth * 4, sums.get(),
                                                    kWidth * 4, kWidth, kHeight, 5) == 0;
                        },
                        nullptr};
         }},
        InPlace(
            "tone/gamma-rgba", kRGBA,
            [=](std::uint8_t* image, int rowBytes) {
                libyuv::ARGBColorTable(image, rowBytes, table.data(), 0, 0, kWidth, kHeight);
            },
            "in place"),
        Whole("turn/mirror", kPhoto, 3, libyuv::RGB24Mirror, toDest),
        Whole("turn/mirror-rgba", kRGBA, 4, libyuv::ARGBMirror, toDest),
        Whole("turn/mirror-gray", kGray, 1, libyuv::MirrorPlane, toDest),
        Into("turn/flip", kPhoto, kWidth, kHeight, 3, toDest, libyuv::CopyPlane, kWidth * 3, -kHeight),
        Into("turn/90-rgba", kRGBA, kHeight, kWidth, 4, "", libyuv::ARGBRotate, kWidth, kHeight, libyuv::kRotate270),
        Into("turn/90-gray", kGray, kHeight, kWidth, 1, "", libyuv::RotatePlane, kWidth, kHeight, libyuv::kRotate270),
        InPlace("fill/clear", kPhoto,
                [](std::uint8_t* image, int rowBytes) { libyuv::SetPlane(image, rowBytes, kWidth * 3, kHeight, 0); }),
        InPlace("fill/value", kPhoto,
                [](std::uint8_t* image, int rowBytes) { libyuv::SetPlane(image, rowBytes, kWidth * 3, kHeight, 7); }),
        InPlace(
            "fill/colour-rgba", kRGBA,
            [](std::uint8_t* image, int rowBytes) {
                libyuv::ARGBRect(image, rowBytes, 0, 0, kWidth, kHeight, 0xFF0A141E);
            },
            "alpha too"),
        InPlace(
            "fill/lay-over-rgba", kRGBA,
            [](std::uint8_t* image, int rowBytes) {
                constexpr std::int8_t kLay[16] = {38, 0, 0, 25, 0, 38, 0, 3, 0, 0, 38, 5, 0, 0, 0, 64};
                libyuv::ARGBColorMatrix(image, rowBytes, image, rowBytes, kLay, kWidth, kHeight);
            },
            "as a matrix of colours"),
        Into("copy/rgb-to-rgb", kPhoto, kWidth, kHeight, 3, "", libyuv::CopyPlane, kWidth * 3, kHeight),
        Whole("copy/rgb-to-bgr", kPhoto, 3, libyuv::RAWToRGB24),
        Whole("copy/rgb-to-gray", kPhoto, 1, libyuv::RAWToJ400),
        Whole("copy/rgb-to-rgba", kPhoto, 4, libyuv::RGB24ToARGB, "fills alpha"),
        Whole("copy/rgba-to-bgra", kRGBA, 4, libyuv::ARGBToABGR),
        Whole("copy/rgba-to-rgb", kRGBA, 3, libyuv::ARGBToRGB24),
        Whole("copy/rgba-to-gray", kRGBA, 1, libyuv::ABGRToJ400),
        {"blend/premultiplied", "", "source over, by the alpha of its pixels",
         [] {
             const Picture& layer = PictureOf(Scene::photo, Layout::premultiplied);
             const auto image = std::make_shared<Picture>(kRGBA.picture());
             return Run{[=, &layer] {
                            return libyuv::ARGBBlend(layer.bytes.data(), kWidth * 4, image->bytes.data(), kWidth * 4,
                                                     image->bytes.data(), kWidth * 4, kWidth, kHeight) == 0;
                        },
                        [=] { image->bytes = kRGBA.picture().bytes; }};
         }},
        {"blend/gray-by-gray", "", "",
         [] {
             const Picture &layer = PictureOf(Scene::smooth, Layout::gray), &mask = kMask.picture();
             const auto image = std::make_shared<Picture>(kGray.picture());
             return Run{[=, &layer, &mask] {
                            return libyuv::BlendPlane(layer.bytes.data(), kWidth, image->bytes.data(), kWidth,
                                                      mask.bytes.data(), kWidth, image->bytes.data(), kWidth, kWidth,
                                                      kHeight) == 0;
                        },
                        [=] { image->bytes = kGray.picture().bytes; }};
         }},
    };
    return RunOperations({"libyuv", std::to_string(LIBYUV_VERSION)}, all, argc, argv);
}
