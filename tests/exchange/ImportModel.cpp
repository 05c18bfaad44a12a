#include "ImportModel.h"

#include <bit>
#include <ostream>

#include "core/PictureImages.h"
#include "core/RowAccess.h"
#include "exchange/PictureImport.h"

using namespace zor;

std::string NameOf(ImportMember member) {
    static const char* const names[] = {"colours", "red to gray", "green to gray", "blue to gray", "masked", "apply"};
    return names[static_cast<int>(member)];
}

std::string TextOf(const ImportArguments& a) {
    std::string text = "(";
    for (const int number : {a.destX, a.destY, a.width, a.height, a.sourceX, a.sourceY}) {
        text += std::to_string(number) + ", ";
    }
    return text + (a.invertMask ? "inverted)" : "plain)");
}

void CallImport(ImportMember member, const TestImage& image, REALobject picture, const ImportArguments& a) {
    switch (member) {
        case ImportMember::colours:
            return rbDrawPictureRGB8(image.object(), picture, a.destX, a.destY, a.width, a.height, a.sourceX,
                                     a.sourceY);
        case ImportMember::redToGray:
            return rbDrawPictureRedToGrayChannel8(image.object(), picture, a.destX, a.destY, a.width, a.height,
                                                  a.sourceX, a.sourceY);
        case ImportMember::greenToGray:
            return rbDrawPictureGreenToGrayChannel8(image.object(), picture, a.destX, a.destY, a.width, a.height,
                                                    a.sourceX, a.sourceY);
        case ImportMember::blueToGray:
            return rbDrawPictureBlueToGrayChannel8(image.object(), picture, a.destX, a.destY, a.width, a.height,
                                                   a.sourceX, a.sourceY);
        case ImportMember::masked:
            return rbDrawMaskedPictureRGB8(image.object(), picture, a.destX, a.destY, a.width, a.height, a.sourceX,
                                           a.sourceY, a.invertMask);
        case ImportMember::applyMask:
            return rbDrawPictureApplyMaskRGB8(image.object(), picture, a.destX, a.destY, a.width, a.height, a.sourceX,
                                              a.sourceY, a.invertMask);
    }
}

// --- pictures -------------------------------------------------------------------------------------------------------

std::uint8_t ModelPicture::At(std::int64_t x, std::int64_t y, int offset) const {
    const std::int64_t inRow = x * pixelSize + offset;
    if (rowsApart && (inRow < 0 || inRow >= rowBytes)) return 0;
    return bytes->At(y * rowBytes + inRow);
}

ModelPicture ModelOf(FakePicture& picture, Storage* bytes) {
    ModelPicture model;
    model.width = picture.width;
    model.height = picture.height;
    const bool isDesktop = picture.kind == FakePicture::Kind::desktop;
    if (picture.kind == FakePicture::Kind::console || (isDesktop && picture.gworld->bits >= 24)) {
        bytes->bytes = picture.Bytes();
        model.rowBytes = picture.BytesOfRow();
        model.rowsApart = !isDesktop;
        model.pixelSize = isDesktop && picture.gworld->bits == 24 ? 3 : 4;
        const bool little = std::endian::native == std::endian::little;
        if (model.pixelSize == 3) {
            model.red = 0, model.green = 1, model.blue = 2;
        } else if (isDesktop || !little) {
            model.red = 1, model.green = 2, model.blue = 3;
        } else {
            model.red = 2, model.green = 1, model.blue = 0;
        }
    } else {
        model.rowBytes = 3 * picture.width;
        model.pixelSize = 3;
        model.red = 0, model.green = 1, model.blue = 2;
        bytes->bytes.clear();
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                const FakePixel pixel = picture.Get(x, y);
                for (const std::uint8_t byte : {pixel.red, pixel.green, pixel.blue}) bytes->bytes.push_back(byte);
            }
        }
    }
    model.bytes = bytes;
    return model;
}

TestImage MakeInPicture(REALobject picture, bool useAlpha) {
    const REALobject object = FakeHost::Current().NewImage();
    ImageConstructorPicture(object, picture, useAlpha);
    TestImage image(object, std::string("in a picture") + (useAlpha ? " with alpha" : ""));
    EXPECT_TRUE(image->Valid && image->GetRow) << image.text;
    return image;
}

// --- the import -----------------------------------------------------------------------------------------------------

// The rectangle steps, one axis after the other; nothing is left where size comes out below 1.
static void ClipAxis(std::int64_t* dest, std::int64_t* size, std::int64_t* source, int destSize, int sourceSize) {
    if (*source < 0) {
        *dest += *source;
        *size += *source;
        *source = 0;
    }
    if (*size < 0) {
        *dest += *size;
        *size = -*size;
    }
    if (*dest < 0) {
        *source -= *dest;
        *size += *dest;
        *dest = 0;
    }
    if (*dest >= destSize) *size = 0;
    if (*dest + *size > destSize) *size = destSize - *dest;
    if (*source + *size > sourceSize) *size = sourceSize - *source;
}

void ModelImport(ImportMember member, const TestImage& image, Storage* storage, const ModelPicture& picture,
                 const ModelPicture* mask, ImportArguments a) {
    const ImageClassData* const r = image.record();
    const bool toGray =
        member == ImportMember::redToGray || member == ImportMember::greenToGray || member == ImportMember::blueToGray;
    if (toGray ? !r->HasGray : !(r->HasRed && r->HasGreen && r->HasBlue)) return;
    std::int64_t destX = a.destX, destY = a.destY, width = a.width, height = a.height;
    std::int64_t sourceX = a.sourceX, sourceY = a.sourceY;
    ClipAxis(&destX, &width, &sourceX, r->Width, picture.width);
    ClipAxis(&destY, &height, &sourceY, r->Height, picture.height);
    if (width < 1 || height < 1) return;

    const bool rowsApart = r->GetRow == GetRowGDImage || r->GetRow == GetRowGDImageMirrored;
    for (std::int64_t row = 0; row < height; ++row) {
        const std::int64_t fromY = sourceY + row;
        const std::int64_t maskY = mask && fromY < mask->height ? fromY : 0;
        const int toY = static_cast<int>(destY + row);
        for (std::int64_t column = 0; column < width; ++column) {
            const std::int64_t fromX = sourceX + column, inRow = (destX + column) * r->PixelSize;
            const auto isInside = [&](int offset) {
                return !rowsApart || (inRow + offset >= 0 && inRow + offset < r->RowSize);
            };
            const auto get = [&](int offset) {
                return isInside(offset) ? storage->At(PlaceOfRow(image, toY) + inRow + offset) : 0;
            };
            const auto put = [&](int offset, int value) {
                if (!isInside(offset)) return;
                storage->Put(PlaceOfRow(image, toY) + inRow + offset, static_cast<std::uint8_t>(value));
            };
            const int red = picture.At(fromX, fromY, picture.red);
            const int green = picture.At(fromX, fromY, picture.green);
            const int blue = picture.At(fromX, fromY, picture.blue);
            if (toGray) {
                put(r->GrayOffset, member == ImportMember::redToGray     ? red
                                   : member == ImportMember::greenToGray ? green
                                                                         : blue);
                continue;
            }
            const int maskRed = mask ? mask->At(fromX, maskY, mask->red) : 255;
            if (member == ImportMember::masked) put(r->AlphaOffset, a.invertMask ? 255 - maskRed : maskRed);
            if (member == ImportMember::applyMask && mask) {
                const int maskGreen = mask->At(fromX, maskY, mask->green),
                          maskBlue = mask->At(fromX, maskY, mask->blue);
                const auto mix = [&](int m, int d, int s) {
                    return a.invertMask ? ((255 - m) * d + m * s) / 255 : (m * d + (255 - m) * s) / 255;
                };
                put(r->RedOffset, mix(maskRed, get(r->RedOffset), red));
                put(r->GreenOffset, mix(maskGreen, get(r->GreenOffset), green));
                put(r->BlueOffset, mix(maskBlue, get(r->BlueOffset), blue));
                continue;
            }
            put(r->RedOffset, red);
            put(r->GreenOffset, green);
            put(r->BlueOffset, blue);
        }
    }
}
