// Whole methods on a picture of 24 megapixels, as an application waits for them. One thread where nothing else is said.

#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "compositing/Combine.h"
#include "core/Formats.h"
#include "core/InPlace.h"
#include "exchange/CopyPixels.h"
#include "exchange/RowConversion.h"
#include "filters/ApplyMatrix.h"
#include "filters/AutoLevel.h"
#include "filters/BoxBlur.h"
#include "filters/DiffuseFilter.h"
#include "filters/DitherFilter.h"
#include "filters/EngraveFilter.h"
#include "filters/FractionalBlur.h"
#include "filters/FreeRotation.h"
#include "filters/GainFilter.h"
#include "filters/GammaFilter.h"
#include "filters/Mirror.h"
#include "filters/NeonFilter.h"
#include "filters/OilFilter.h"
#include "filters/RightAngle.h"
#include "filters/SolarizeFilter.h"
#include "filters/StampFilter.h"
#include "filters/Unsharp.h"
#include "host/HostCalls.h"
#include "kernels/KernelTable.h"
#include "operations/BenchHost.h"
#include "operations/Measure.h"
#include "operations/Pictures.h"
#include "plugin/Version.h"
#include "scale/FastScale.h"
#include "scale/FilteredScale.h"

using namespace zor;
using namespace bench;

namespace {

using Image = std::shared_ptr<HostImage>;

struct Size {
    int width, height;
};
constexpr Size kWhole{kWidth, kHeight}, kQuarter{kWidth / 4, kHeight / 4};

Image NewImage(Size size, int format) {
    return std::make_shared<HostImage>(size.width, size.height, format);
}

void Load(const HostImage& image, const Picture& picture) {
    ImageClassData* const record = image.record();
    for (int y = 0; y < picture.height; ++y) {
        std::memcpy(record->GetRow(record, y), picture.row(y), static_cast<std::size_t>(picture.rowBytes()));
    }
}

// What an operation works on.
struct Source {
    Scene scene = Scene::photo;
    Layout layout = Layout::rgb;
    int format = ImageFormatRGB;
    Size size = kWhole;
};
constexpr Source kPhoto{};
constexpr Source kPhotoRGBA{Scene::photo, Layout::rgba, ImageFormatRGBA};
constexpr Source kPremultiplied{Scene::photo, Layout::premultiplied, ImageFormatRGBA};
constexpr Source kGray{Scene::photo, Layout::gray, ImageFormatG};
constexpr Source kCMYK{Scene::photo, Layout::cmyk, ImageFormatCMYK};
constexpr Source kMask{Scene::photo, Layout::alpha, ImageFormatG};
constexpr Source kPadded{Scene::photo, Layout::rgba, ImageFormatRGBX};

const Picture& PictureFor(const Source& source) {
    return PictureOf(source.scene, source.layout, source.size.width, source.size.height);
}
Image Loaded(const Source& source) {
    Image image = NewImage(source.size, source.format);
    Load(*image, PictureFor(source));
    return image;
}
Source At(Source source, Size size) {
    source.size = size;
    return source;
}

// From one image into another. work(source, destination) says whether it worked.
template <class Work>
Operation Between(std::string id, std::string title, Source source, Size size, int format, Work work) {
    return {std::move(id), std::move(title), "", [=] {
                const Image from = Loaded(source), to = NewImage(size, format);
                return Run{[=] { return work(from->object(), to->object()); }, nullptr};
            }};
}

// A filter, whose result is its destination, locked once more.
template <class Filter>
Operation Into(std::string id, std::string title, Source source, Filter filter, Size size = kWhole) {
    return Between(std::move(id), std::move(title), source, size, source.format, [=](REALobject from, REALobject to) {
        const REALobject result = filter(from, to);
        if (result != to) return false;
        REALUnlockObject(result);
        return true;
    });
}

// A filter that makes its result.
template <class Filter>
Operation Making(std::string id, std::string title, Source source, Filter filter) {
    return {std::move(id), std::move(title), "", [=] {
                const Image from = Loaded(source);
                return Run{[=] {
                               const REALobject result = filter(from->object());
                               if (!result) return false;
                               REALUnlockObject(result);
                               return true;
                           },
                           nullptr};
            }};
}

// In place, on the fresh picture each time.
template <class Work>
Operation InPlace(std::string id, std::string title, Source source, Work work) {
    return {std::move(id), std::move(title), "", [=] {
                const Image image = Loaded(source);
                return Run{[=] {
                               work(image->object());
                               return true;
                           },
                           [=] { Load(*image, PictureFor(source)); }};
            }};
}

// --- scaling ---------------------------------------------------------------------------------------------------------

enum Kernel : int { triangle = 1, box, lanczos3, lanczos8, mitchell, poly3, cubic };

Operation ScalingTo(int format, std::string id, std::string title, Source source, Size size, Kernel kernel) {
    return Between(std::move(id), std::move(title), source, size, format, [=](REALobject from, REALobject to) {
        return PictureScaleZOR(to, from, nullptr, kernel, size.width, size.height) != 0;
    });
}
Operation Scaling(std::string id, std::string title, Source source, Size size, Kernel kernel) {
    return ScalingTo(source.format, std::move(id), std::move(title), source, size, kernel);
}
Operation ScalingOnTwoThreads(std::string id, std::string title, Source source, Size size, Kernel kernel) {
    return Between(std::move(id), std::move(title), source, size, source.format, [=](REALobject from, REALobject to) {
        return PictureScaleZORMT(to, 2, from, nullptr, kernel, size.width, size.height) != 0;
    });
}
Operation FastScaling(std::string id, std::string title, Source source, Size size) {
    return Between(std::move(id), std::move(title), source, size, source.format, [=](REALobject from, REALobject to) {
        return ScalePictureFast(to, from, size.width, size.height) != 0;
    });
}

void AddScaling(std::vector<Operation>& all) {
    constexpr Source kSmooth{Scene::smooth}, kFlat{Scene::flat};
    constexpr Source kPhotoCMYK{Scene::photo, Layout::cmyk, ImageFormatCMYK};
    const Source small = At(kPhoto, kQuarter);
    all.push_back(Scaling("scale/lanczos3-quarter-photo", "lanczos3 to 1500x1000, photo", kPhoto, kQuarter, lanczos3));
    all.push_back(
        Scaling("scale/lanczos3-quarter-smooth", "lanczos3 to 1500x1000, smooth", kSmooth, kQuarter, lanczos3));
    all.push_back(
        Scaling("scale/lanczos3-quarter-flat", "lanczos3 to 1500x1000, flat graphics", kFlat, kQuarter, lanczos3));
    all.push_back(Scaling("scale/lanczos3-1620", "lanczos3 to 1620x1080", kPhoto, {1620, 1080}, lanczos3));
    all.push_back(Scaling("scale/lanczos3-awkward", "lanczos3 to 1237x811", kPhoto, {1237, 811}, lanczos3));
    all.push_back(Scaling("scale/lanczos3-half", "lanczos3 to 3000x2000", kPhoto, {3000, 2000}, lanczos3));
    all.push_back(Scaling("scale/lanczos3-thumbnail", "lanczos3 to 300x200", kPhoto, {300, 200}, lanczos3));
    all.push_back(
        Scaling("scale/lanczos3-quarter-rgba", "lanczos3 to 1500x1000, RGBA", kPhotoRGBA, kQuarter, lanczos3));
    all.push_back(Scaling("scale/lanczos3-quarter-gray", "lanczos3 to 1500x1000, gray", kGray, kQuarter, lanczos3));
    all.push_back(
        Scaling("scale/lanczos3-quarter-cmyk", "lanczos3 to 1500x1000, CMYK", kPhotoCMYK, kQuarter, lanczos3));
    all.push_back(ScalingTo(ImageFormatG, "scale/lanczos3-quarter-rgb-to-gray", "lanczos3 to 1500x1000, RGB to gray",
                            kPhoto, kQuarter, lanczos3));
    all.push_back(Scaling("scale/lanczos3-up", "lanczos3, 1500x1000 to 6000x4000", small, kWhole, lanczos3));
    all.push_back(Scaling("scale/cubic-up", "cubic, 1500x1000 to 6000x4000", small, kWhole, cubic));
    all.push_back(Scaling("scale/poly3-up", "poly3, 1500x1000 to 6000x4000", small, kWhole, poly3));
    all.push_back(Scaling("scale/triangle-up", "triangle, 1500x1000 to 6000x4000", small, kWhole, triangle));
    all.push_back(Scaling("scale/cubic-quarter", "cubic to 1500x1000", kPhoto, kQuarter, cubic));
    all.push_back(Scaling("scale/triangle-quarter", "triangle to 1500x1000", kPhoto, kQuarter, triangle));
    all.push_back(Scaling("scale/box-quarter", "box to 1500x1000", kPhoto, kQuarter, box));
    all.push_back(Scaling("scale/mitchell-quarter", "mitchell to 1500x1000", kPhoto, kQuarter, mitchell));
    all.push_back(Scaling("scale/poly3-quarter", "poly3 to 1500x1000", kPhoto, kQuarter, poly3));
    all.push_back(Scaling("scale/lanczos8-quarter", "lanczos8 to 1500x1000", kPhoto, kQuarter, lanczos8));
    all.push_back(ScalingOnTwoThreads("scale/lanczos3-quarter-two-threads", "lanczos3 to 1500x1000, two threads",
                                      kPhoto, kQuarter, lanczos3));
    all.push_back(FastScaling("scale/nearest-half", "nearest pixel to 3000x2000", kPhoto, {3000, 2000}));
    all.push_back(FastScaling("scale/nearest-up", "nearest pixel, 1500x1000 to 6000x4000", small, kWhole));
    all.push_back(FastScaling("scale/nearest-half-rgba", "nearest pixel to 3000x2000, RGBA", kPhotoRGBA, {3000, 2000}));
    all.push_back(FastScaling("scale/nearest-half-gray", "nearest pixel to 3000x2000, gray", kGray, {3000, 2000}));
}

// --- blurs, convolution, sharpening ----------------------------------------------------------------------------------

Operation Blur(std::string id, std::string title, Source source, double radius) {
    return Into(std::move(id), std::move(title), source,
                [=](REALobject from, REALobject to) { return BoxBlurFilter(from, to, radius, true, true); });
}

Operation Matrix(std::string id, std::string title, Source source, std::vector<int> weights, int side, double factor) {
    const REALarray array = ArrayOf(std::move(weights));
    return Into(std::move(id), std::move(title), source,
                [=](REALobject from, REALobject to) { return PictureMatrix5(from, to, side, array, 0, factor); });
}

void AddBlurs(std::vector<Operation>& all) {
    all.push_back(Blur("blur/box-5", "box blur, radius 5", kPhoto, 5));
    all.push_back(Blur("blur/box-50", "box blur, radius 50", kPhoto, 50));
    all.push_back(Blur("blur/box-500", "box blur, radius 500", kPhoto, 500));
    all.push_back(Blur("blur/box-5-rgba", "box blur, radius 5, RGBA", kPhotoRGBA, 5));
    all.push_back(Blur("blur/box-5-gray", "box blur, radius 5, gray", kGray, 5));
    all.push_back(Into("blur/fractional", "fractional blur, 2.5", kPhoto,
                       [](REALobject from, REALobject to) { return BoxBlurFractionalFilter(from, to, 2.5); }));
    all.push_back(Matrix("matrix/3x3", "convolution 3x3", kPhoto, {-1, -1, -1, -1, 9, -1, -1, -1, -1}, 3, 1.0));
    all.push_back(
        Matrix("matrix/3x3-divided", "convolution 3x3, divided", kPhoto, {1, 2, 1, 2, 4, 2, 1, 2, 1}, 3, 0.0625));
    all.push_back(Matrix("matrix/5x5", "convolution 5x5", kPhoto,
                         {0, 0, -1, 0, 0, 0, -1, -2, -1, 0, -1, -2, 17, -2, -1, 0, -1, -2, -1, 0, 0, 0, -1, 0, 0}, 5,
                         1.0));
    all.push_back(Matrix("matrix/5x5-divided", "convolution 5x5, divided", kPhoto,
                         {1, 4, 6, 4, 1, 4, 16, 24, 16, 4, 6, 24, 36, 24, 6, 4, 16, 24, 16, 4, 1, 4, 6, 4, 1}, 5,
                         0.00390625));
    all.push_back({"unsharp/rgb", "unsharp, the blurred picture given", "", [] {
                       const Image image = Loaded(kPhoto), blurred = NewImage(kWhole, ImageFormatRGB);
                       REALUnlockObject(BoxBlurFilter(image->object(), blurred->object(), 2, true, true));
                       return Run{[=] { return unsharpFilter(image->object(), blurred->object(), 0.5, 3) != 0; },
                                  [=] { Load(*image, PictureFor(kPhoto)); }};
                   }});
}

// --- tone and looks --------------------------------------------------------------------------------------------------

void AddTone(std::vector<Operation>& all) {
    using Object = REALobject;
    all.push_back(
        Into("tone/gamma", "gamma, one table", kPhoto, [](Object s, Object d) { return GammaFilterG(s, d, 2.2); }));
    all.push_back(Into("tone/gamma-by-channel", "gamma by channel", kPhoto,
                       [](Object s, Object d) { return GammaFilterRGB(s, d, 2.2, 1.8, 1.4); }));
    all.push_back(Into("tone/gamma-rgba", "gamma by channel, RGBA with alpha", kPhotoRGBA,
                       [](Object s, Object d) { return GammaFilterRGBA(s, d, 2.2, 1.8, 1.4, 1.1); }));
    all.push_back(Between("tone/gamma-to-bgra", "gamma, one table, RGB to BGRA", kPhoto, kWhole, ImageFormatBGRA,
                          [](Object s, Object d) {
                              const Object result = GammaFilterG(s, d, 2.2);
                              REALUnlockObject(result);
                              return result == d;
                          }));
    all.push_back(Into("tone/gain", "gain", kPhoto, [](Object s, Object d) { return GainFilter(s, d, 0.6, 0.4); }));
    all.push_back(Into("tone/solarize", "solarize", kPhoto, [](Object s, Object d) { return SolarizeFilter(s, d); }));
    all.push_back(Into("tone/engrave", "engrave", kPhoto, [](Object s, Object d) { return EngraveFilter(s, d, 1); }));
    all.push_back(InPlace("tone/auto-level", "auto level, in place", kPhoto, AutoLevel1));
    all.push_back(
        Into("tone/dither", "dither 8x8", kPhoto, [](Object s, Object d) { return DitherFilter(s, d, 7, 4); }));
    all.push_back(
        Into("tone/dither-6x6", "dither 6x6", kPhoto, [](Object s, Object d) { return DitherFilter(s, d, 5, 4); }));
    all.push_back(Into("tone/neon", "neon", kPhoto, [](Object s, Object d) { return NeonFilter(s, d); }));
    all.push_back(Into("tone/diffuse", "diffuse", kPhoto, [](Object s, Object d) { return DifuseFilter(s, d, 4); }));
    all.push_back(Making("tone/stamp", "stamp, radius 4, gray", kGray,
                         [](Object image) { return StampFilter(image, nullptr, 4, 0.45, 0.3, 0x203040, 0xF5E6C8); }));
    all.push_back(
        Into("tone/oil-3", "oil, range 3", kPhoto, [](Object s, Object d) { return OilFilter(s, d, 20, 3); }));
    all.push_back(
        Into("tone/oil-12", "oil, range 12", kPhoto, [](Object s, Object d) { return OilFilter(s, d, 20, 12); }));
}

// --- mirrors and turns -----------------------------------------------------------------------------------------------

void AddTurns(std::vector<Operation>& all) {
    constexpr Size kTurned{kHeight, kWidth};
    all.push_back(InPlace("turn/mirror", "mirror left to right, in place", kPhoto, HMirrorSelf));
    all.push_back(InPlace("turn/mirror-rgba", "mirror left to right, in place, RGBA", kPhotoRGBA, HMirrorSelf));
    all.push_back(InPlace("turn/mirror-gray", "mirror left to right, in place, gray", kGray, HMirrorSelf));
    all.push_back(InPlace("turn/flip", "mirror top to bottom, in place", kPhoto, VMirrorSelf));
    all.push_back(Into("turn/180", "turn by 180 degrees", kPhoto, Rotate180));
    all.push_back(InPlace("turn/180-in-place", "turn by 180 degrees, in place", kPhoto, Rotate180Self));
    all.push_back(Into("turn/90", "turn by 90 degrees", kPhoto, Rotate90fast, kTurned));
    all.push_back(Into("turn/270", "turn by 270 degrees", kPhoto, Rotate270fast, kTurned));
    all.push_back(Into("turn/90-rgba", "turn by 90 degrees, RGBA", kPhotoRGBA, Rotate90fast, kTurned));
    all.push_back(Into("turn/90-gray", "turn by 90 degrees, gray", kGray, Rotate90fast, kTurned));
    const auto byThirty = [](REALobject image) { return rbRotate(image, 30, 255, 255, 255, 255, 255, 0, 0, 0, 0); };
    all.push_back(Making("turn/30", "turn by 30 degrees", kPhoto, byThirty));
    all.push_back(Making("turn/30-gray", "turn by 30 degrees, gray", kGray, byThirty));
}

// --- fills -----------------------------------------------------------------------------------------------------------

void AddFills(std::vector<Operation>& all) {
    const auto fill = [](REALobject image) { FillRect1(image, 7); };
    const auto colour = [](REALobject image) { FillRectRGB1(image, 10, 20, 30); };
    const auto layOver = [](REALobject image) { FillRectApplyRGBA1(image, 200, 20, 30, 100); };
    all.push_back(InPlace("fill/clear", "clear", kPhoto, ClearRect1));
    all.push_back(InPlace("fill/value", "fill, one value", kPhoto, fill));
    all.push_back(InPlace("fill/value-padded", "fill, one value, RGBX", kPadded, fill));
    all.push_back(InPlace("fill/colour", "fill, a colour", kPhoto, colour));
    all.push_back(InPlace("fill/colour-rgba", "fill, a colour, RGBA", kPhotoRGBA, colour));
    all.push_back(InPlace("fill/invert", "invert", kPhoto, Invert1));
    all.push_back(InPlace("fill/invert-padded", "invert, RGBX", kPadded, Invert1));
    all.push_back(InPlace("fill/invert-cmyk", "invert, CMYK", kCMYK, Invert1));
    all.push_back(InPlace("fill/lay-over", "a colour laid over", kPhoto, layOver));
    all.push_back(InPlace("fill/lay-over-rgba", "a colour laid over, RGBA", kPhotoRGBA, layOver));
    all.push_back(InPlace("fill/random", "fill with noise", kPhoto, FillRectRandom1));
}

// --- copies and row data ---------------------------------------------------------------------------------------------

Operation Copy(std::string id, std::string title, Source source, int format) {
    return Between(std::move(id), std::move(title), source, kWhole, format,
                   [](REALobject from, REALobject to) { return rbCopyPixels2(to, from) != 0; });
}

using String = std::shared_ptr<REALstringStruct>;
String Held(REALstring string) {
    return {string, REALUnlockString};
}

bool RowsToStrings(REALobject image, int format) {
    for (int y = 0; y < kHeight; ++y) {
        const REALstring row = rbGetRowFS(image, y, format);
        if (!row) return false;
        REALUnlockString(row);
    }
    return true;
}

void AddCopies(std::vector<Operation>& all) {
    constexpr int kFormat = ImageFormatBGR;
    all.push_back(Copy("copy/rgb-to-rgb", "copy, RGB to RGB", kPhoto, ImageFormatRGB));
    all.push_back(Copy("copy/rgb-to-bgr", "copy, RGB to BGR", kPhoto, ImageFormatBGR));
    all.push_back(Copy("copy/rgb-to-gray", "copy, RGB to gray", kPhoto, ImageFormatG));
    all.push_back(Copy("copy/rgb-to-rgba", "copy, RGB to RGBA", kPhoto, ImageFormatRGBA));
    all.push_back(Copy("copy/gray-to-rgb", "copy, gray to RGB", kGray, ImageFormatRGB));
    all.push_back(Copy("copy/rgba-to-bgra", "copy, RGBA to BGRA", kPhotoRGBA, ImageFormatBGRA));
    all.push_back(Copy("copy/rgba-to-rgb", "copy, RGBA to RGB", kPhotoRGBA, ImageFormatRGB));
    all.push_back(Copy("copy/rgba-to-gray", "copy, RGBA to gray", kPhotoRGBA, ImageFormatG));
    all.push_back(Copy("copy/cmyk-to-kymc", "copy, CMYK to KYMC", kCMYK, ImageFormatKYMC));
    all.push_back(Copy("copy/cmyk-to-gray", "copy, CMYK to gray", kCMYK, ImageFormatG));
    all.push_back({"string/rows-out", "rows out as strings, RGB to BGR", "", [] {
                       const Image from = Loaded(kPhoto);
                       return Run{[=] { return RowsToStrings(from->object(), kFormat); }, nullptr};
                   }});
    all.push_back({"string/rows-in", "rows in from strings, BGR to RGB", "", [] {
                       const Image from = Loaded(kPhoto), to = NewImage(kWhole, ImageFormatRGB);
                       std::vector<String> rows;
                       for (int y = 0; y < kHeight; ++y) rows.push_back(Held(rbGetRowFS(from->object(), y, kFormat)));
                       return Run{[=] {
                                      for (int y = 0; y < kHeight; ++y) {
                                          rbSetRowFS(to->object(), y, kFormat, rows[static_cast<std::size_t>(y)].get());
                                      }
                                      return true;
                                  },
                                  nullptr};
                   }});
    all.push_back({"string/all-out", "all rows out as one string, RGB to BGR", "", [] {
                       const Image from = Loaded(kPhoto);
                       return Run{[=] {
                                      const REALstring data = rbGetAllFS(from->object(), kFormat);
                                      if (!data) return false;
                                      REALUnlockString(data);
                                      return true;
                                  },
                                  nullptr};
                   }});
    all.push_back({"string/all-in", "all rows in from one string, BGR to RGB", "", [] {
                       const Image from = Loaded(kPhoto), to = NewImage(kWhole, ImageFormatRGB);
                       const String data = Held(rbGetAllFS(from->object(), kFormat));
                       return Run{[=] {
                                      rbSetAllFS(to->object(), kFormat, data.get());
                                      return true;
                                  },
                                  nullptr};
                   }});
}

// --- one picture over another ----------------------------------------------------------------------------------------

Operation Blend(std::string id, std::string title, Source target, Source layer, Source mask, bool premultiplied) {
    return {std::move(id), std::move(title), "", [=] {
                const Image to = Loaded(target), from = Loaded(layer), by = Loaded(mask);
                return Run{[=] {
                               return PictureCombine3pm(to->object(), from->object(), premultiplied, by->object(), 0, 0,
                                                        0, 0, kWidth, kHeight, false) != 0;
                           },
                           [=] { Load(*to, PictureFor(target)); }};
            }};
}
// Without a mask image: a layer on the target by one mask colour, or a colour through the layer.
Operation ColourBlend(std::string id, std::string title, Source layer, int foreColour, int maskColour) {
    return {std::move(id), std::move(title), "", [=] {
                const Image to = Loaded(kPhoto), from = Loaded(layer);
                return Run{[=] {
                               return PictureCombine1(to->object(), from->object(), nullptr, 0, 0, 0, 0, kWidth,
                                                      kHeight, true, foreColour, maskColour) != 0;
                           },
                           [=] { Load(*to, PictureFor(kPhoto)); }};
            }};
}

void AddBlends(std::vector<Operation>& all) {
    constexpr Source kSmooth{Scene::smooth};
    constexpr Source kSmoothRGBA{Scene::smooth, Layout::rgba, ImageFormatRGBA};
    constexpr Source kSmoothGray{Scene::smooth, Layout::gray, ImageFormatG};
    constexpr Source kSmoothBGRA{Scene::smooth, Layout::rgba, ImageFormatBGRA};
    all.push_back(Blend("blend/rgb-by-gray", "masked blend, RGB by gray", kPhoto, kSmooth, kMask, false));
    all.push_back(Blend("blend/rgba-by-gray", "masked blend, RGBA by gray", kPhotoRGBA, kSmoothRGBA, kMask, false));
    all.push_back(Blend("blend/premultiplied", "masked blend, RGBA premultiplied by gray", kPhotoRGBA, kPremultiplied,
                        kMask, true));
    all.push_back(Blend("blend/bgra-on-rgb", "masked blend, BGRA on RGB by gray", kPhoto, kSmoothBGRA, kMask, false));
    all.push_back(Blend("blend/gray-by-gray", "masked blend, gray by gray", kGray, kSmoothGray, kMask, false));
    all.push_back(ColourBlend("blend/paint", "a colour painted through a mask", kMask, 0x3366CC, -1));
    all.push_back(ColourBlend("blend/constant", "blend by one mask colour", kSmooth, -1, 0x3366CC));
}

}  // namespace

int main(int argc, char** argv) {
    StartHost();
    std::vector<Operation> all;
    AddScaling(all);
    AddBlurs(all);
    AddTone(all);
    AddTurns(all);
    AddFills(all);
    AddCopies(all);
    AddBlends(all);
    return RunOperations({"PictureZOR", ZOR_VERSION " " + std::string(NameOf(ProcessKernels().tier))}, all, argc, argv);
}
