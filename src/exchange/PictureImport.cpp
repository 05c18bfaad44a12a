#include "exchange/PictureImport.h"

#include "exchange/Clipping.h"
#include "exchange/PictureDrawing.h"
#include "exchange/PictureEditor.h"
#include "exchange/PictureRows.h"
#include "host/ObjectHolder.h"

namespace zor {

namespace {

enum GrayChannelSource : int { fromRed = 0, fromGreen = 1, fromBlue = 2 };

// What a member does with a pixel, and whether it gives the host a turn at every row.
struct ImportWay {
    ImportRule rule;
    bool toGray;
    GrayChannelSource colour;  // that goes to gray
    bool invertMask;
    bool yields;
};

constexpr ImportWay kColours = {ImportRule::colours, false, fromRed, false, true};

constexpr ImportWay ToGray(GrayChannelSource colour) {
    return {ImportRule::colours, true, colour, false, false};
}

bool HasColours(const ImageClassData* image) {
    return HasChannels(image, {ChannelId::red, ChannelId::green, ChannelId::blue});
}

ImportPlan PlanOf(const ImportWay& way, const ImageClassData* image, const PictureEditor& picture,
                  const PictureEditor* mask) {
    ImportPlan plan{};
    plan.rule = way.rule;
    plan.invert = way.invertMask ? 255 : 0;
    plan.imageSize = image->PixelSize;
    plan.pictureSize = picture.BytesPerPixel;
    plan.picture = ColoursOfPixelType(picture.PixelType);
    if (mask) {
        plan.maskSize = mask->BytesPerPixel;
        plan.mask = ColoursOfPixelType(mask->PixelType);
    }
    if (way.toGray) {
        plan.picture = {1, {plan.picture.offset[way.colour]}};
        plan.image = OffsetsOf(image, {ChannelId::gray});
        return plan;
    }
    const ChannelList colours = ColoursOf(PixelFamily::rgb);
    const bool withAlpha = way.rule == ImportRule::constant || way.rule == ImportRule::maskToAlpha;
    if (withAlpha) plan.mask.count = mask ? 1 : 0;  // red is the sample
    plan.image = OffsetsOf(image, withAlpha ? WithAlphaFirst(colours) : colours);
    return plan;
}

// The row of a step: the editor stands on the row of the step before.
RowSpan EditorRow(void* editor, std::int64_t step) {
    PictureEditor& picture = *static_cast<PictureEditor*>(editor);
    if (step > 0) NextRow(picture);
    return CurrentRowSpan(picture);
}

// The rectangle is cut to both sides, and both editors stand on their first rows. The mask may be lower than its
// picture: its editor begins again, or narrower: what it does not have reads 0.
void ImportRectangle(ImageClassData* image, PictureEditor& picture, PictureEditor* mask, const TransferRect& rect,
                     const ImportWay& way) {
    for (std::int64_t y = 0; y < rect.srcY; ++y) {
        NextRow(picture);
        if (mask) NextRow(*mask);
    }
    const ImportPlan plan = PlanOf(way, image, picture, mask);
    ImportLayers layers = LayersOf(plan, rect.dstX, rect.srcX);
    layers.layer[0].image = image;
    layers.layer[0].y = rect.dstY;
    PictureEditor* const editors[] = {nullptr, &picture, mask};
    for (int i = 1; i < layers.count; ++i) {
        layers.layer[i].rowAt = EditorRow;
        layers.layer[i].rows = editors[i];
    }
    WalkRuns({layers.layer, layers.count, rect.width, rect.height, way.yields ? image : nullptr, false, false},
             [&](const RunSet& runs) { ImportRun(plan, layers, runs); });
}

// The mask may be null.
void ImportFromPictures(ImageClassData* image, REALobject pictureObject, REALobject maskObject, TransferRect rect,
                        const ImportWay& way) {
    EditorHolder picture, mask;
    if (!GetPictureReader(picture.editor, pictureObject)) return;
    if (maskObject && !GetPictureReader(mask.editor, maskObject)) return;
    if (!ClipTransfer(&rect, SizeOf(image), {picture.editor.Width, picture.editor.Height})) return;
    if (way.yields) YieldIfAsked(image);
    ImportRectangle(image, picture.editor, maskObject ? &mask.editor : nullptr, rect, way);
}

// Everything behind the gate, its yield included. The mask may be null.
void Import(ImageClassData* image, REALobject picture, REALobject mask, const TransferRect& rect,
            const ImportWay& way) {
    {
        // A turn may take the mask from its picture, which may have held the last reference to it.
        if (mask) REALLockObject(mask);
        const ObjectHolder maskLock(mask);
        YieldIfAsked(image);
        ImportFromPictures(image, picture, mask, rect, way);
    }
    if (way.yields) YieldIfAsked(image);
}

void DrawToGray(REALobject object, REALobject picture, const TransferRect& rect, GrayChannelSource colour) {
    ImageClassData* const image = ImageDataOf(object);
    if (image->HasGray && IsUsable(image)) Import(image, picture, nullptr, rect, ToGray(colour));
}

}  // namespace

// --- colours --------------------------------------------------------------------------------------------------------

void rbDrawPictureRGB8(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth, int dstHeight, int srcX,
                       int srcY) {
    ImageClassData* const image = ImageDataOf(object);
    if (!HasColours(image) || !IsUsable(image)) return;
    Import(image, picture, nullptr, {dstX, dstY, dstWidth, dstHeight, srcX, srcY}, kColours);
}

void rbDrawPictureRGB6(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth, int dstHeight) {
    rbDrawPictureRGB8(object, picture, dstX, dstY, dstWidth, dstHeight, 0, 0);
}

void rbDrawPictureRGB4(REALobject object, REALobject picture, int dstX, int dstY) {
    const int width = GetPictureWidth(picture), height = GetPictureHeight(picture);
    rbDrawPictureRGB6(object, picture, dstX, dstY, width, height);
}

void rbDrawPictureRGB2(REALobject object, REALobject picture) {
    rbDrawPictureRGB4(object, picture, 0, 0);
}

// --- one colour to gray ---------------------------------------------------------------------------------------------

void rbDrawPictureRedToGrayChannel8(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth,
                                    int dstHeight, int srcX, int srcY) {
    DrawToGray(object, picture, {dstX, dstY, dstWidth, dstHeight, srcX, srcY}, fromRed);
}

void rbDrawPictureRedToGrayChannel6(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth,
                                    int dstHeight) {
    rbDrawPictureRedToGrayChannel8(object, picture, dstX, dstY, dstWidth, dstHeight, 0, 0);
}

void rbDrawPictureGreenToGrayChannel8(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth,
                                      int dstHeight, int srcX, int srcY) {
    DrawToGray(object, picture, {dstX, dstY, dstWidth, dstHeight, srcX, srcY}, fromGreen);
}

void rbDrawPictureGreenToGrayChannel6(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth,
                                      int dstHeight) {
    rbDrawPictureGreenToGrayChannel8(object, picture, dstX, dstY, dstWidth, dstHeight, 0, 0);
}

void rbDrawPictureBlueToGrayChannel8(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth,
                                     int dstHeight, int srcX, int srcY) {
    DrawToGray(object, picture, {dstX, dstY, dstWidth, dstHeight, srcX, srcY}, fromBlue);
}

void rbDrawPictureBlueToGrayChannel6(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth,
                                     int dstHeight) {
    rbDrawPictureBlueToGrayChannel8(object, picture, dstX, dstY, dstWidth, dstHeight, 0, 0);
}

// --- colours and mask -----------------------------------------------------------------------------------------------

// The mask that the host gives here is its picture's own, and no reference to it is given back.
void rbDrawMaskedPictureRGB8(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth, int dstHeight,
                             int srcX, int srcY, REALboolean invertMask) {
    ImageClassData* const image = ImageDataOf(object);
    if (!HasColours(image)) return;
    const REALobject mask = REALGetPictureMask(picture, false);
    if (!IsUsable(image)) return;
    const ImportRule rule = mask ? ImportRule::maskToAlpha : ImportRule::constant;
    Import(image, picture, mask, {dstX, dstY, dstWidth, dstHeight, srcX, srcY},
           {rule, false, fromRed, invertMask != 0, true});
}

void rbDrawMaskedPictureRGB6(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth, int dstHeight,
                             REALboolean invertMask) {
    rbDrawMaskedPictureRGB8(object, picture, dstX, dstY, dstWidth, dstHeight, 0, 0, invertMask);
}

void rbDrawMaskedPictureRGB4(REALobject object, REALobject picture, int dstX, int dstY, REALboolean invertMask) {
    const int width = GetPictureWidth(picture), height = GetPictureHeight(picture);
    rbDrawMaskedPictureRGB6(object, picture, dstX, dstY, width, height, invertMask);
}

void rbDrawMaskedPictureRGB2(REALobject object, REALobject picture, REALboolean invertMask) {
    rbDrawMaskedPictureRGB4(object, picture, 0, 0, invertMask);
}

// --- mixed by the mask ----------------------------------------------------------------------------------------------

void rbDrawPictureApplyMaskRGB8(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth, int dstHeight,
                                int srcX, int srcY, REALboolean invertMask) {
    ImageClassData* const image = ImageDataOf(object);
    if (!HasColours(image)) return;
    const REALobject mask = REALGetPictureMask(picture, false);
    if (!mask) return rbDrawPictureRGB8(object, picture, dstX, dstY, dstWidth, dstHeight, srcX, srcY);
    if (!IsUsable(image)) return;
    Import(image, picture, mask, {dstX, dstY, dstWidth, dstHeight, srcX, srcY},
           {ImportRule::blend, false, fromRed, invertMask != 0, true});
}

void rbDrawPictureApplyMaskRGB6(REALobject object, REALobject picture, int dstX, int dstY, int dstWidth, int dstHeight,
                                REALboolean invertMask) {
    rbDrawPictureApplyMaskRGB8(object, picture, dstX, dstY, dstWidth, dstHeight, 0, 0, invertMask);
}

void rbDrawPictureApplyMaskRGB4(REALobject object, REALobject picture, int dstX, int dstY, REALboolean invertMask) {
    const int width = GetPictureWidth(picture), height = GetPictureHeight(picture);
    rbDrawPictureApplyMaskRGB6(object, picture, dstX, dstY, width, height, invertMask);
}

void rbDrawPictureApplyMaskRGB2(REALobject object, REALobject picture, REALboolean invertMask) {
    rbDrawPictureApplyMaskRGB4(object, picture, 0, 0, invertMask);
}

}  // namespace zor
