#pragma once
// A rectangle of a host picture into an image, at the same size: as colours, one colour as gray, colours and mask as
// colours and alpha, or mixed into the image by the mask. What cannot be done is not done, and nothing tells of it:
// there is no exception and no result.
//
// The image must have the channels that are written; there is no conversion. The forms that take fewer numbers draw
// from the picture's corner, at the picture's size, to the image's corner. Where an image lies in the very picture
// that is drawn, what is read may already have been written. Host thread only.

#include "core/ImageClassData.h"

namespace zor {

// Red, green and blue; alpha stays.
void rbDrawPictureRGB2(REALobject object, REALobject picture);
void rbDrawPictureRGB4(REALobject object, REALobject picture, int dstX, int dstY);
void rbDrawPictureRGB6(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth, int dstHeight);
void rbDrawPictureRGB8(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth, int dstHeight, int srcX,
                       int srcY);

// One colour into the gray channel; alpha stays.
void rbDrawPictureRedToGrayChannel6(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth,
                                    int dstHeight);
void rbDrawPictureRedToGrayChannel8(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth,
                                    int dstHeight, int srcX, int srcY);
void rbDrawPictureGreenToGrayChannel6(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth,
                                      int dstHeight);
void rbDrawPictureGreenToGrayChannel8(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth,
                                      int dstHeight, int srcX, int srcY);
void rbDrawPictureBlueToGrayChannel6(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth,
                                     int dstHeight);
void rbDrawPictureBlueToGrayChannel8(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth,
                                     int dstHeight, int srcX, int srcY);

// Red, green and blue, and the mask's red as alpha: white is 255, or 0 with invertMask. Without a mask the picture is
// opaque. The alpha byte is written also where the image has pad bytes.
void rbDrawMaskedPictureRGB2(REALobject object, REALobject picture, REALboolean invertMask);
void rbDrawMaskedPictureRGB4(REALobject object, REALobject picture, int dstX, int dstY, REALboolean invertMask);
void rbDrawMaskedPictureRGB6(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth, int dstHeight,
                             REALboolean invertMask);
void rbDrawMaskedPictureRGB8(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth, int dstHeight,
                             int srcX, int srcY, REALboolean invertMask);

// Mixes picture and image by the mask, channel by channel: black takes the picture, white keeps the image; the other
// way round with invertMask. Without a mask the picture is drawn as it is. Alpha stays.
void rbDrawPictureApplyMaskRGB2(REALobject object, REALobject picture, REALboolean invertMask);
void rbDrawPictureApplyMaskRGB4(REALobject object, REALobject picture, int dstX, int dstY, REALboolean invertMask);
void rbDrawPictureApplyMaskRGB6(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth, int dstHeight,
                                REALboolean invertMask);
void rbDrawPictureApplyMaskRGB8(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth, int dstHeight,
                                int srcX, int srcY, REALboolean invertMask);

}  // namespace zor
