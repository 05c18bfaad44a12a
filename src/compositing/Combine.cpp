#include "compositing/Combine.h"

#include "compositing/Blend.h"
#include "compositing/ColourBlend.h"
#include "exchange/Clipping.h"
#include "exchange/CopyPixels.h"

constexpr int kNoColour = -1;

static bool Case2(ImageClassData* target, ImageClassData* image, bool preMultipliedSource, ImageClassData* mask,
                  int destX, int destY, int sourceX, int sourceY, int width, int height) {
    // The mask's rows are not asked for before the walk, and it gives the host no turn.
    if (!mask->Valid || mask->Width != image->Width || mask->Height != image->Height) return false;
    if (!PassTransferGate(target, image)) return false;
    TransferRect rect{destX, destY, width, height, sourceX, sourceY};
    if (!ClipTransfer(&rect, SizeOf(target), SizeOf(image))) return false;
    const auto blend = preMultipliedSource ? Case2pt : Case2pf;
    blend(target, image, mask, static_cast<int>(rect.destX), static_cast<int>(rect.destY), static_cast<int>(rect.width),
          static_cast<int>(rect.height), static_cast<int>(rect.sourceX), static_cast<int>(rect.sourceY));
    return true;
}

REALboolean PictureCombine1pm(REALobject object, REALobject image, REALboolean preMultipliedSource, REALobject mask,
                              int destX, int destY, int sourceX, int sourceY, int width, int height,
                              REALboolean useColours, int foreColour, int maskColour) {
    if (!object || !image || width < 1 || height < 1) return false;
    if (!mask && foreColour < 0 && maskColour < 0) {
        return rbCopyPixels8(object, image, destX, destY, width, height, sourceX, sourceY);
    }
    ImageClassData* const target = ImageDataOf(object);
    ImageClassData* const source = ImageDataOf(image);
    if (mask) {
        return Case2(target, source, preMultipliedSource, ImageDataOf(mask), destX, destY, sourceX, sourceY, width,
                     height);
    }
    if (maskColour >= 0) {
        return Case4(target, source, preMultipliedSource, destX, destY, sourceX, sourceY, width, height, useColours,
                     maskColour);
    }
    return Case3(target, source, preMultipliedSource, destX, destY, sourceX, sourceY, width, height, foreColour);
}

REALboolean PictureCombine2pm(REALobject object, REALobject image, REALboolean preMultipliedSource, REALobject mask,
                              int destX, int destY, int sourceX, int sourceY, int width, int height,
                              REALboolean useColours, int foreColour) {
    return PictureCombine1pm(object, image, preMultipliedSource, mask, destX, destY, sourceX, sourceY, width, height,
                             useColours, foreColour, kNoColour);
}

REALboolean PictureCombine3pm(REALobject object, REALobject image, REALboolean preMultipliedSource, REALobject mask,
                              int destX, int destY, int sourceX, int sourceY, int width, int height,
                              REALboolean useColours) {
    return PictureCombine1pm(object, image, preMultipliedSource, mask, destX, destY, sourceX, sourceY, width, height,
                             useColours, kNoColour, kNoColour);
}

REALboolean PictureCombine1(REALobject object, REALobject image, REALobject mask, int destX, int destY, int sourceX,
                            int sourceY, int width, int height, REALboolean useColours, int foreColour,
                            int maskColour) {
    return PictureCombine1pm(object, image, false, mask, destX, destY, sourceX, sourceY, width, height, useColours,
                             foreColour, maskColour);
}

REALboolean PictureCombine2(REALobject object, REALobject image, REALobject mask, int destX, int destY, int sourceX,
                            int sourceY, int width, int height, REALboolean useColours, int foreColour) {
    return PictureCombine1pm(object, image, false, mask, destX, destY, sourceX, sourceY, width, height, useColours,
                             foreColour, kNoColour);
}

REALboolean PictureCombine3(REALobject object, REALobject image, REALobject mask, int destX, int destY, int sourceX,
                            int sourceY, int width, int height, REALboolean useColours) {
    return PictureCombine1pm(object, image, false, mask, destX, destY, sourceX, sourceY, width, height, useColours,
                             kNoColour, kNoColour);
}
