#include "compositing/Combine.h"

#include "compositing/Blend.h"
#include "compositing/ColourBlend.h"
#include "exchange/Clipping.h"
#include "exchange/CopyPixels.h"

namespace zor {

constexpr int kNoColour = -1;

static bool Case2(ImageClassData* dst, ImageClassData* image, bool premultiplied, ImageClassData* mask, int dstX,
                  int dstY, int srcX, int srcY, int width, int height) {
    // The mask's rows are not asked for before the walk, and it gives the host no turn.
    if (!mask->Valid || mask->Width != image->Width || mask->Height != image->Height) return false;
    if (!PassTransferGate(dst, image)) return false;
    TransferRect rect{dstX, dstY, width, height, srcX, srcY};
    if (!ClipTransfer(&rect, SizeOf(dst), SizeOf(image))) return false;
    const auto blend = premultiplied ? Case2pt : Case2pf;
    blend(dst, image, mask, static_cast<int>(rect.dstX), static_cast<int>(rect.dstY), static_cast<int>(rect.width),
          static_cast<int>(rect.height), static_cast<int>(rect.srcX), static_cast<int>(rect.srcY));
    return true;
}

REALboolean PictureCombine1pm(REALobject object, REALobject image, REALboolean premultiplied, REALobject mask, int dstX,
                              int dstY, int srcX, int srcY, int width, int height, REALboolean useColours,
                              int foreColour, int maskColour) {
    if (!object || !image || width < 1 || height < 1) return false;
    if (!mask && foreColour < 0 && maskColour < 0) {
        return rbCopyPixels8(object, image, dstX, dstY, width, height, srcX, srcY);
    }
    ImageClassData* const dst = ImageDataOf(object);
    ImageClassData* const src = ImageDataOf(image);
    if (mask) {
        return Case2(dst, src, premultiplied, ImageDataOf(mask), dstX, dstY, srcX, srcY, width, height);
    }
    if (maskColour >= 0) {
        return Case4(dst, src, premultiplied, dstX, dstY, srcX, srcY, width, height, useColours, maskColour);
    }
    return Case3(dst, src, premultiplied, dstX, dstY, srcX, srcY, width, height, foreColour);
}

REALboolean PictureCombine2pm(REALobject object, REALobject image, REALboolean premultiplied, REALobject mask, int dstX,
                              int dstY, int srcX, int srcY, int width, int height, REALboolean useColours,
                              int foreColour) {
    return PictureCombine1pm(object, image, premultiplied, mask, dstX, dstY, srcX, srcY, width, height, useColours,
                             foreColour, kNoColour);
}

REALboolean PictureCombine3pm(REALobject object, REALobject image, REALboolean premultiplied, REALobject mask, int dstX,
                              int dstY, int srcX, int srcY, int width, int height, REALboolean useColours) {
    return PictureCombine1pm(object, image, premultiplied, mask, dstX, dstY, srcX, srcY, width, height, useColours,
                             kNoColour, kNoColour);
}

REALboolean PictureCombine1(REALobject object, REALobject image, REALobject mask, int dstX, int dstY, int srcX,
                            int srcY, int width, int height, REALboolean useColours, int foreColour, int maskColour) {
    return PictureCombine1pm(object, image, false, mask, dstX, dstY, srcX, srcY, width, height, useColours, foreColour,
                             maskColour);
}

REALboolean PictureCombine2(REALobject object, REALobject image, REALobject mask, int dstX, int dstY, int srcX,
                            int srcY, int width, int height, REALboolean useColours, int foreColour) {
    return PictureCombine1pm(object, image, false, mask, dstX, dstY, srcX, srcY, width, height, useColours, foreColour,
                             kNoColour);
}

REALboolean PictureCombine3(REALobject object, REALobject image, REALobject mask, int dstX, int dstY, int srcX,
                            int srcY, int width, int height, REALboolean useColours) {
    return PictureCombine1pm(object, image, false, mask, dstX, dstY, srcX, srcY, width, height, useColours, kNoColour,
                             kNoColour);
}

}  // namespace zor
