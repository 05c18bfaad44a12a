#include "zorhost/Pictures.h"

#include "GDLibrary.h"
#include "HostPictures.h"
#include "Objects.h"

namespace zorhost {

using namespace runtime;

static PictureData& NeedPicture(const Object& picture) {
    if (!picture) throw Error("found nil where a Picture is wanted");
    const std::string className = picture.ClassName();  // also checks that the object is alive
    if (PictureData* const data = NativeOf<PictureData>(Running(), picture.Handle())) return *data;
    throw Error("found " + className + " where a Picture is wanted");
}

static Surface NeedPixels(const Object& picture) {
    if (picture && picture.IsA("GWorldZOR")) {
        GWorld* const gworld = NativeOf<GWorldObjectData>(Running(), picture.Handle())->Owned();
        if (!gworld) throw Error("the GWorldZOR holds no GWorld");
        return {.gworld = gworld};
    }
    const Surface pixels = NeedPicture(picture).Pixels();
    if (!pixels) throw Error("the Picture has no pixels");
    return pixels;
}

static std::string SizeText(int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

Object MakePicture(Host&, int width, int height, int depth, Place where) {
    const REALobject picture = NewPicture(Running(), width, height, depth, OriginAt(where));
    if (picture) return Object::TakeOver(picture);
    if (!HasQuickDraw(Running())) NeedGD();  // it tells what is wrong, if that is it
    throw Error("cannot make a picture of " + SizeText(width, height) + " pixels and " + std::to_string(depth) +
                " bits: a side has 1 to " + std::to_string(kLongestSide) +
                " pixels, a pixel 1, 8, 16, 24 or 32 bits, " + "and all must fit into memory");
}

Object MakeForeignPicture(Host& host, int width, int height, Place where) {
    Object picture = MakePicture(host, width, height, 32, where);
    NeedPicture(picture).foreign = true;
    return picture;
}

static int Opacity(int maskRed, MaskSense sense) {
    return sense == MaskSense::WhiteIsOpaque ? maskRed : 255 - maskRed;
}

static void NeedChannels(int channels) {
    if (channels != 3 && channels != 4) {
        throw Error("a pixel has 3 or 4 channels here, not " + std::to_string(channels));
    }
}

PixelRows ReadPicture(Host& host, const Object& picture, int channels, MaskSense sense) {
    NeedChannels(channels);
    const Surface pixels = NeedPixels(picture);
    const Object maskPicture = channels == 4 && picture.IsA("Picture") ? MaskOf(host, picture) : Object();
    const Surface mask = maskPicture ? NeedPicture(maskPicture).Pixels() : Surface{};
    PixelRows rows{WidthOf(pixels), HeightOf(pixels), channels, {}};
    rows.bytes.reserve(static_cast<std::size_t>(rows.width) * static_cast<std::size_t>(rows.height) *
                       static_cast<std::size_t>(channels));
    for (int y = 0; y < rows.height; ++y) {
        for (int x = 0; x < rows.width; ++x) {
            const Rgb color = PixelAt(pixels, x, y);
            rows.bytes.insert(rows.bytes.end(), {color.red, color.green, color.blue});
            if (channels == 3) continue;
            const bool isMasked = x < WidthOf(mask) && y < HeightOf(mask);
            const int opacity = isMasked ? Opacity(PixelAt(mask, x, y).red, sense) : 255;
            rows.bytes.push_back(static_cast<unsigned char>(opacity));
        }
    }
    return rows;
}

void WritePicture(Host& host, const Object& picture, const PixelRows& rows, MaskSense sense) {
    NeedChannels(rows.channels);
    const Surface pixels = NeedPixels(picture);
    if (rows.width != WidthOf(pixels) || rows.height != HeightOf(pixels)) {
        throw Error("pixels of " + SizeText(rows.width, rows.height) + " do not fit a picture of " +
                    SizeText(WidthOf(pixels), HeightOf(pixels)));
    }
    const std::size_t size = static_cast<std::size_t>(rows.width) * static_cast<std::size_t>(rows.height) *
                             static_cast<std::size_t>(rows.channels);
    if (rows.bytes.size() != size) {
        throw Error("found " + std::to_string(rows.bytes.size()) + " bytes where pixels of " +
                    SizeText(rows.width, rows.height) + " have " + std::to_string(size));
    }
    const Object maskPicture = rows.channels == 4 ? MaskOf(host, picture, true) : Object();
    const Surface mask = maskPicture ? NeedPicture(maskPicture).Pixels() : Surface{};
    const unsigned char* pixel = rows.bytes.data();
    for (int y = 0; y < rows.height; ++y) {
        for (int x = 0; x < rows.width; ++x, pixel += rows.channels) {
            SetPixel(pixels, x, y, {pixel[0], pixel[1], pixel[2]});
            if (rows.channels == 3 || x >= WidthOf(mask) || y >= HeightOf(mask)) continue;
            const auto gray = static_cast<unsigned char>(Opacity(pixel[3], sense));
            SetPixel(mask, x, y, {gray, gray, gray});
        }
    }
}

Object MakePicture(Host& host, const PixelRows& rows, MaskSense sense, Place where) {
    Object picture = MakePicture(host, rows.width, rows.height, 32, where);
    WritePicture(host, picture, rows, sense);
    return picture;
}

Object MaskOf(Host&, const Object& picture, bool create) {
    NeedPixels(picture);
    NeedPicture(picture);
    const REALobject mask = runtime::MaskOf(Running(), picture.Handle(), create);
    if (create && !mask) throw Error("no memory for the mask of a picture");
    return Object::TakeOver(mask);
}

void SetMask(Host&, const Object& picture, const Object& mask) {
    PictureData& data = NeedPicture(picture);
    if (mask) NeedPicture(mask);
    if (!runtime::SetMask(Running(), data, mask.Handle())) throw Error("a picture cannot be a mask of its own");
}

PictureInfo InfoOf(Host&, const Object& picture) {
    const PictureData& data = NeedPicture(picture);
    const Surface pixels = data.Pixels();
    return {.kind = data.Kind(),
            .width = WidthOf(pixels),
            .height = HeightOf(pixels),
            .depth = DepthOf(pixels),
            .hasMask = data.mask != nullptr,
            .descriptionLocks = data.descriptionLocks,
            .pixelLocks = data.gworld ? data.gworld->pixelLocks : 0,
            .cacheClears = data.cacheClears};
}

LockBalance LocksHeld(Host&) {
    const Runtime& host = Running();
    LockBalance held;
    for (const auto& [object, record] : host.objects) {
        held.objects += record.locks;
        if (const auto* const picture = dynamic_cast<const PictureData*>(record.native.get())) {
            held.descriptions += picture->descriptionLocks;
        }
    }
    for (const auto& [address, gworld] : host.gworlds) held.pixels += gworld->pixelLocks;
    held.gworlds = static_cast<int>(host.gworlds.size());
    return held;
}

}  // namespace zorhost
