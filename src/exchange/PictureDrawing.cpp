#include "exchange/PictureDrawing.h"

#include <cstring>

#include "host/GDImage.h"

namespace zor {

namespace {

constexpr char kDrawPicture[] =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as Integer = 0, sy as "
    "Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";
using DrawPictureFunction = void (*)(REALobject graphics, REALobject src, int x, int y, int w, int h, int sx, int sy,
                                     int sw, int sh);

int SideOf(REALobject picture, const char* property) {
    int pixels = 0;
    if (!picture || !REALGetPropValue(picture, property, &pixels)) return 0;
    return pixels;
}

// Copies all rows where both are true-colour images of one size.
bool CopyAllRows(const GDImage* dst, const GDImage* src) {
    if (!dst || !src || dst->width != src->width || dst->height != src->height || dst->pixels || src->pixels ||
        !dst->tpixels || !src->tpixels || src->width < 0) {
        return false;
    }
    const std::size_t bytes = static_cast<std::size_t>(src->width) * 4;
    for (int y = 0; y < src->height; ++y) std::memmove(dst->tpixels[y], src->tpixels[y], bytes);
    return true;
}

}  // namespace

int GetPictureWidth(REALobject picture) {
    return SideOf(picture, "Width");
}

int GetPictureHeight(REALobject picture) {
    return SideOf(picture, "Height");
}

REALobject ClonePicture(REALobject picture) {
    if (!picture) return nullptr;
    const int width = GetPictureWidth(picture);
    const int height = GetPictureHeight(picture);
    return ClonePicture(picture, width, height);
}

REALobject ClonePicture(REALobject picture, int width, int height) {
    if (!picture || width < 1 || height < 1) return nullptr;
    const REALobject copy = REALNewPicture(width, height, 32);
    if (!copy) return nullptr;
    if (const REALobject graphics = REALGetPictureGraphics(copy)) {
        GraphicsDrawPicture(graphics, copy, picture, 0, 0, width, height, 0, 0, width, height);
        REALUnlockObject(graphics);
    }
    return copy;
}

bool AddPictureMask(REALobject picture, REALobject mask, int w, int h) {
    if (w < 1 || h < 1 || !picture) return false;
    if (!mask) return true;
    const REALobject pictureMask = REALGetPictureMask(picture, 1);
    if (!pictureMask) return false;
    const bool drawn = GraphicsDrawPicture(pictureMask, mask, 0, 0, w, h, 0, 0, w, h);
    REALUnlockObject(pictureMask);
    return drawn;
}

bool GraphicsDrawPicture(REALobject graphics, REALobject dst, REALobject src, int x, int y, int w, int h, int sx,
                         int sy, int sw, int sh) {
    if (graphics && src) {
        const DrawPictureFunction draw =
            reinterpret_cast<DrawPictureFunction>(REALLoadObjectMethod(graphics, kDrawPicture));
        if (draw) {
            draw(graphics, src, x, y, w, h, sx, sy, sw, sh);
            return true;
        }
        // Hosts before 2012.0 are asked for a drawing function of their own, which is not used.
        if (rbversion_rbversion < 2012.0 && gResolver) gResolver("RuntimeGraphicsDrawPicture");
    }
    return OwnCopy(dst, src, x, y, w, h, sx, sy, sw, sh);
}

bool GraphicsDrawPicture(REALobject dst, REALobject src, int x, int y, int w, int h, int sx, int sy, int sw, int sh) {
    const REALobject graphics = dst ? REALGetPictureGraphics(dst) : nullptr;
    const bool drawn = GraphicsDrawPicture(graphics, dst, src, x, y, w, h, sx, sy, sw, sh);
    if (graphics) REALUnlockObject(graphics);
    return drawn;
}

bool OwnCopy(REALobject dst, REALobject src, int x, int y, int w, int h, int sx, int sy, int sw, int sh) {
    if (!src || !dst || sw != w || sh != h || x != 0 || y != 0 || sx != 0 || sy != 0) return false;
    REALpictureDescription srcPicture{}, dstPicture{};
    if (!REALLockPictureDescriptionX(src, &srcPicture, kPictureKindGDImage)) return false;
    bool copied = false;
    if (REALLockPictureDescriptionX(dst, &dstPicture, kPictureKindGDImage)) {
        copied =
            CopyAllRows(static_cast<const GDImage*>(dstPicture.data), static_cast<const GDImage*>(srcPicture.data));
        REALUnlockPictureDescription(dst);
    }
    REALUnlockPictureDescription(src);
    REALPictureClearCache(dst);  // also where nothing was copied
    return copied;
}

}  // namespace zor
