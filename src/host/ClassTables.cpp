// Everything an application can call is a row of one of these tables.

#include "host/ClassTables.h"

#include <iterator>

#include "compositing/Combine.h"
#include "core/Construction.h"
#include "core/Factory.h"
#include "core/Formats.h"
#include "core/InPlace.h"
#include "core/PictureImages.h"
#include "core/RowAccess.h"
#include "core/Views.h"
#include "exchange/CopyPixels.h"
#include "exchange/GWorldExport.h"
#include "exchange/PictureExport.h"
#include "exchange/PictureImport.h"
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
#include "filters/TransferFilter.h"
#include "filters/Unsharp.h"
#include "scale/FastScale.h"
#include "scale/FilteredScale.h"

namespace {

template <class Result, class... Args>
REALfunction Function(Result (*function)(Args...)) {
    return reinterpret_cast<REALfunction>(function);
}

// --- properties -----------------------------------------------------------------------------------------------------

constexpr REALword kPlain = kREALPropertyRow | kREALConsoleSafe;
constexpr REALword kPicture = kREALPropertyRow | kREALConsoleIfNew;
constexpr REALword kStoredField = -1;  // the host reads or writes the field itself

REALword Word(REALfunction function) {
    return reinterpret_cast<REALword>(function);
}

REALproperty ReadOnly(const char* name, const char* type, REALword flags, REALword field) {
    return {nullptr, name, type, flags, kStoredField, 0, field, {0, 0, 0}};
}
REALproperty ReadWrite(const char* name, const char* type, REALword flags, REALword field) {
    return {nullptr, name, type, flags, kStoredField, kStoredField, field, {0, 0, 0}};
}
REALproperty WithSetter(const char* name, const char* type, REALword flags, REALword field, REALfunction setter) {
    return {nullptr, name, type, flags, kStoredField, Word(setter), field, {0, 0, 0}};
}
REALproperty WithGetter(const char* name, const char* type, REALword flags, REALfunction getter) {
    return {nullptr, name, type, flags, Word(getter), 0, 0, {0, 0, 0}};
}

// Single inheritance without virtual functions: every compiler that builds this lays the record out in order.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#define FIELD(name) static_cast<REALword>(offsetof(ImageClassData, name))

REALproperty ImageProperties[] = {
    ReadWrite("YieldTicks", "Integer", kPlain, FIELD(YieldTicks)),
    ReadOnly("RedOffset", "Integer", kPlain, FIELD(RedOffset)),
    ReadOnly("GreenOffset", "Integer", kPlain, FIELD(GreenOffset)),
    ReadOnly("BlueOffset", "Integer", kPlain, FIELD(BlueOffset)),
    ReadOnly("GrayOffset", "Integer", kPlain, FIELD(GrayOffset)),
    ReadOnly("AlphaOffset", "Integer", kPlain, FIELD(AlphaOffset)),
    ReadOnly("Width", "Integer", kPlain, FIELD(Width)),
    ReadOnly("Height", "Integer", kPlain, FIELD(Height)),
    ReadOnly("PixelSize", "Integer", kPlain, FIELD(PixelSize)),
    ReadOnly("RowSize", "Integer", kPlain, FIELD(RowSize)),
    ReadOnly("ImageFormat", "Integer", kPlain, FIELD(ImageFormat)),
    WithGetter("ImageFormatString", "String", kPlain, Function(GetImageFormatString)),
    WithSetter("MappingBlockSize", "Integer", kPlain, FIELD(MappingBlockSize), Function(SetMemBlockSize)),
    ReadOnly("RowOffset", "Integer", kPlain, FIELD(RowOffset)),
    ReadWrite("DebugPictureEnabled", "Boolean", kPicture, FIELD(DebugPictureEnabled)),
    WithGetter("DebugPicture", "Picture", kPicture, Function(GetDebugPicture)),
    ReadOnly("IsGray", "Boolean", kPlain, FIELD(IsGray)),
    ReadOnly("IsRGB", "Boolean", kPlain, FIELD(IsRGB)),
    ReadOnly("HasGreen", "Boolean", kPlain, FIELD(HasGreen)),
    ReadOnly("HasRed", "Boolean", kPlain, FIELD(HasRed)),
    ReadOnly("HasBlue", "Boolean", kPlain, FIELD(HasBlue)),
    ReadOnly("HasGray", "Boolean", kPlain, FIELD(HasGray)),
    ReadOnly("HasAlpha", "Boolean", kPlain, FIELD(HasAlpha)),
    ReadOnly("Valid", "Boolean", kPlain, FIELD(Valid)),
    ReadOnly("IsMapping", "Boolean", kPlain, FIELD(IsMapping)),
    ReadOnly("ChannelCount", "Integer", kPlain, FIELD(ChannelCount)),
    ReadOnly("IsCMYK", "Boolean", kPlain, FIELD(IsCMYK)),
    ReadOnly("HasCyan", "Boolean", kPlain, FIELD(HasCyan)),
    ReadOnly("HasYellow", "Boolean", kPlain, FIELD(HasYellow)),
    ReadOnly("HasMagenta", "Boolean", kPlain, FIELD(HasMagenta)),
    ReadOnly("HasBlack", "Boolean", kPlain, FIELD(HasBlack)),
    ReadOnly("CyanOffset", "Integer", kPlain, FIELD(CyanOffset)),
    ReadOnly("YellowOffset", "Integer", kPlain, FIELD(YellowOffset)),
    ReadOnly("MagentaOffset", "Integer", kPlain, FIELD(MagentaOffset)),
    ReadOnly("BlackOffset", "Integer", kPlain, FIELD(BlackOffset)),
    ReadOnly("Parent", "PictureZOR", kPlain, FIELD(Parent)),
    ReadWrite("Factory", "PictureFactoryZOR", kPlain, FIELD(Factory)),
    ReadOnly("Target", "Picture", kPicture, FIELD(Target)),
    WithGetter("Memory", "Memoryblock", kPlain, Function(GetMemory)),
    ReadOnly("MemoryTarget", "Memoryblock", kPlain, FIELD(MemoryTarget)),
    WithGetter("TotalSize", "Int64", kPlain, Function(GetTotalSizeInt64)),
};

#undef FIELD
#pragma GCC diagnostic pop

// --- methods --------------------------------------------------------------------------------------------------------

REALmethodDefinition ImageMethods[] = {
    // compositing
    {Function(PictureCombine1), nullptr,
     "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY "
     "As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As Integer, MaskColour As "
     "Integer) as boolean",
     0},
    {Function(PictureCombine1), nullptr,
     "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY "
     "As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As color, MaskColour As "
     "color) as boolean",
     0},
    {Function(PictureCombine2), nullptr,
     "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY "
     "As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As Integer) as boolean",
     0},
    {Function(PictureCombine2), nullptr,
     "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY "
     "As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As color) as boolean",
     0},
    {Function(PictureCombine3), nullptr,
     "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY "
     "As Integer, Width As Integer, Height As Integer, UseColours As Boolean) as boolean",
     0},
    {Function(PictureCombine1pm), nullptr,
     "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY As "
     "Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, "
     "ForeColour As Integer, MaskColour As Integer) as boolean",
     0},
    {Function(PictureCombine1pm), nullptr,
     "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY As "
     "Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, "
     "ForeColour As color, MaskColour As color) as boolean",
     0},
    {Function(PictureCombine2pm), nullptr,
     "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY As "
     "Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, "
     "ForeColour As Integer) as boolean",
     0},
    {Function(PictureCombine2pm), nullptr,
     "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY As "
     "Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, "
     "ForeColour As color) as boolean",
     0},
    {Function(PictureCombine3pm), nullptr,
     "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY As "
     "Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean) as "
     "boolean",
     0},
    // new images and scaling
    {Function(CreatePictureLocal), nullptr,
     "CreatePictureZOR(width as integer, height as integer, ImageFormat as integer) as PictureZOR", kREALConsoleSafe},
    {Function(ScalePictureFast), nullptr,
     "ScaleFast(source as PictureZOR, width as integer, height as integer) as boolean", kREALConsoleSafe},
    {Function(PictureScaleZOR), nullptr,
     "Scale(source as PictureZOR, temp as PictureZOR, mode as integer, width as integer, height as integer) as boolean",
     kREALConsoleSafe},
    {Function(PictureScaleZORMT), nullptr,
     "ScaleMT(threads as integer, source as PictureZOR, temp as PictureZOR, mode as integer, width as integer, height "
     "as integer) as boolean",
     kREALConsoleSafe},
    // construction
    {Function(ImageConstructorFile), nullptr,
     "Constructor(width as integer, height as integer, ImageFormat as integer, BlockSize as integer, FilePath as "
     "folderitem)",
     kREALConsoleSafe},
    {Function(ImageConstructor), nullptr, "Constructor(width as integer, height as integer, ImageFormat as integer)",
     kREALConsoleSafe},
    {Function(ImageConstructorPicture), nullptr, "Constructor(pic as picture, UseAlpha as boolean=false)",
     kREALConsoleIfNew},
    {Function(ImageConstructorMemory), nullptr,
     "Constructor(Buf as MemoryBlock, width as integer, height as integer, ImageFormat as integer, RowSize as integer)",
     kREALConsoleSafe},
    // filters
    {Function(OilFilter), nullptr, "OilFilter(dest as PictureZOR, levels as integer, range as integer) as PictureZOR",
     kREALConsoleSafe},
    {Function(DifuseFilter), nullptr, "DiffuseFilter(dest as PictureZOR, level as integer) as PictureZOR",
     kREALConsoleSafe},
    {Function(EngraveFilter), nullptr, "EngraveFilter(dest as PictureZOR, level as integer) as PictureZOR",
     kREALConsoleSafe},
    {Function(NeonFilter), nullptr, "NeonFilter(dest as PictureZOR) as PictureZOR", kREALConsoleSafe},
    {Function(BoxBlurFilter), nullptr,
     "BoxBlurFilter(dest as PictureZOR, Radius as double, Vertical as boolean = true, Horizontal as boolean = true) as "
     "PictureZOR",
     kREALConsoleSafe},
    {Function(BoxBlurFilter2), nullptr,
     "BoxBlurFilter(dest as PictureZOR, Radius as double, Iterations as integer, Vertical as boolean = true, "
     "Horizontal as boolean = true) as PictureZOR",
     kREALConsoleSafe},
    {Function(BoxBlurFractionalFilter), nullptr,
     "BoxBlurFractionalFilter(dest as PictureZOR, Radius as double) as PictureZOR", kREALConsoleSafe},
    {Function(SolarizeFilter), nullptr, "SolarizeFilter(dest as PictureZOR) as PictureZOR", kREALConsoleSafe},
    {Function(GammaFilterG), nullptr, "GammaFilter(dest as PictureZOR, gamma as double) as PictureZOR",
     kREALConsoleSafe},
    {Function(GammaFilterGA), nullptr,
     "GammaFilter(dest as PictureZOR, gamma as double, alphaGamma as double) as PictureZOR", kREALConsoleSafe},
    {Function(GammaFilterRGB), nullptr,
     "GammaFilter(dest as PictureZOR, redGamma as double, greenGamma as double, blueGamma as double) as PictureZOR",
     kREALConsoleSafe},
    {Function(GammaFilterRGBA), nullptr,
     "GammaFilter(dest as PictureZOR, redGamma as double, greenGamma as double, blueGamma as double, alphaGamma as "
     "double) as PictureZOR",
     kREALConsoleSafe},
    {Function(DitherFilter), nullptr,
     "DitherFilter(dest as PictureZOR, matrix as integer, levels as integer) as PictureZOR", kREALConsoleSafe},
    {Function(GainFilter), nullptr, "GainFilter(dest as PictureZOR, gain as double, bias as double) as PictureZOR",
     kREALConsoleSafe},
    {Function(StampFilter), nullptr,
     "StampFilter(dest as PictureZOR, radius as double, threshold as double, softness as double, Black as Color, White "
     "as Color) as PictureZOR",
     kREALConsoleSafe},
    {Function(TransferFilterG), nullptr, "TransferFilter(dest as PictureZOR, gray() as integer) as PictureZOR",
     kREALConsoleSafe},
    {Function(TransferFilterGA), nullptr,
     "TransferFilter(dest as PictureZOR, gray() as integer, alpha() as integer) as PictureZOR", kREALConsoleSafe},
    {Function(TransferFilterRGB), nullptr,
     "TransferFilter(dest as PictureZOR, red() as integer, green() as integer, blue() as integer) as PictureZOR",
     kREALConsoleSafe},
    {Function(TransferFilterRGBA), nullptr,
     "TransferFilter(dest as PictureZOR, red() as integer, green() as integer, blue() as integer, alpha() as integer) "
     "as PictureZOR",
     kREALConsoleSafe},
    {Function(unsharpFilter), nullptr,
     "UnsharpFilter(origpixels as PictureZOR, Amount as double, Threshold as integer) as boolean", kREALConsoleSafe},
    // views
    {Function(AlphaChannel), nullptr, "AlphaChannel as PictureZOR", kREALConsoleSafe},
    {Function(RedChannel), nullptr, "RedChannel as PictureZOR", kREALConsoleSafe},
    {Function(GreenChannel), nullptr, "GreenChannel as PictureZOR", kREALConsoleSafe},
    {Function(BlueChannel), nullptr, "BlueChannel as PictureZOR", kREALConsoleSafe},
    {Function(GrayChannel), nullptr, "GrayChannel as PictureZOR", kREALConsoleSafe},
    {Function(RGBChannel), nullptr, "RGBChannels as PictureZOR", kREALConsoleSafe},
    {Function(CMYKChannel), nullptr, "CMYKChannels as PictureZOR", kREALConsoleSafe},
    {Function(CyanChannel), nullptr, "CyanChannel as PictureZOR", kREALConsoleSafe},
    {Function(MagentaChannel), nullptr, "MagentaChannel as PictureZOR", kREALConsoleSafe},
    {Function(YellowChannel), nullptr, "YellowChannel as PictureZOR", kREALConsoleSafe},
    {Function(BlackChannel), nullptr, "BlackChannel as PictureZOR", kREALConsoleSafe},
    {Function(Channel), nullptr, "Channel(index as integer) as PictureZOR", kREALConsoleSafe},
    {Function(GetMirroredView), nullptr, "MirroredView as PictureZOR", kREALConsoleSafe},
    // in place
    {Function(ImageDestructor), nullptr, "Close", kREALConsoleSafe},
    {Function(HMirrorSelf), nullptr, "HMirror", kREALConsoleSafe},
    {Function(VMirrorSelf), nullptr, "VMirror", kREALConsoleSafe},
    {Function(Rotate180Self), nullptr, "Rotate180", kREALConsoleSafe},
    {Function(Invert1), nullptr, "Invert", kREALConsoleSafe},
    {Function(Invert5), nullptr, "Invert(x as integer, y as integer, w as integer, h as integer)", kREALConsoleSafe},
    {Function(AutoLevel1), nullptr, "AutoLevel as boolean", kREALConsoleSafe},
    {Function(AutoLevel5), nullptr, "AutoLevel(x as integer, y as integer, w as integer, h as integer) as boolean",
     kREALConsoleSafe},
    // host pictures of an image
    {Function(rbCopyPictureWithMask), nullptr,
     "CopyPictureWithMask(x as integer, y as integer, w as integer, h as integer) as picture", kREALConsoleIfNew},
    {Function(rbCopyPictureWithMaskAll), nullptr, "CopyPictureWithMask as picture", kREALConsoleIfNew},
    {Function(rbCopyPicture), nullptr, "CopyPicture(x as integer, y as integer, w as integer, h as integer) as picture",
     kREALConsoleIfNew},
    {Function(rbCopyPictureAll), nullptr, "CopyPicture as picture", kREALConsoleIfNew},
    {Function(rbCopyMask), nullptr, "CopyMask(x as integer, y as integer, w as integer, h as integer) as picture",
     kREALConsoleIfNew},
    {Function(rbCopyMaskAll), nullptr, "CopyMask as picture", kREALConsoleIfNew},
    // rows
    {Function(rbGetRow), nullptr, "RawRow(index as integer) as memoryblock", kREALConsoleSafe},
    {Function(rbGetRowCopy), Function(rbSetRow), "Row(index as integer) as memoryblock", kREALConsoleSafe},
    {Function(rbGetRowF), Function(rbSetRowF), "RowInFormat(index as integer, ImageFormat as integer) as memoryblock",
     kREALConsoleSafe},
    {Function(rbGetRowFI), Function(rbSetRowFI),
     "RowInFormat(index as integer, ImageFormat as integer, InvertAlpha as boolean) as memoryblock", kREALConsoleSafe},
    {Function(rbGetRowFS), Function(rbSetRowFS),
     "RowStringInFormat(index as integer, ImageFormat as integer) as string", kREALConsoleSafe},
    {Function(rbGetAllFS), Function(rbSetAllFS), "DataStringInFormat(ImageFormat as integer) as string",
     kREALConsoleSafe},
    // copies
    {Function(Clone), nullptr, "Clone as PictureZOR", kREALConsoleSafe},
    // fills
    {Function(ClearRect1), nullptr, "ClearRect", kREALConsoleSafe},
    {Function(ClearRect5), nullptr, "ClearRect(x as integer, y as integer, width as integer, height as integer)",
     kREALConsoleSafe},
    {Function(CompareImages), nullptr, "CompareImages(other as PictureZOR) as Int64", kREALConsoleSafe},
    {Function(FillRect1), nullptr, "FillRect(value as integer)", kREALConsoleSafe},
    {Function(FillRect5), nullptr,
     "FillRect(x as integer, y as integer, width as integer, height as integer, value as integer)", kREALConsoleSafe},
    {Function(FillRectRandom1), nullptr, "FillRectRandom", kREALConsoleSafe},
    {Function(FillRectRandom5), nullptr,
     "FillRectRandom(x as integer, y as integer, width as integer, height as integer)", kREALConsoleSafe},
    {Function(FillRectRGB1), nullptr, "FillRectRGB(red as integer, green as integer, blue as integer)",
     kREALConsoleSafe},
    {Function(FillRectRGBA1), nullptr,
     "FillRectRGB(red as integer, green as integer, blue as integer, alpha as integer)", kREALConsoleSafe},
    {Function(FillRectRGB5), nullptr,
     "FillRectRGB(x as integer, y as integer, width as integer, height as integer, red as integer, green as integer, "
     "blue as integer)",
     kREALConsoleSafe},
    {Function(FillRectRGBA5), nullptr,
     "FillRectRGB(x as integer, y as integer, width as integer, height as integer, red as integer, green as integer, "
     "blue as integer, alpha as integer)",
     kREALConsoleSafe},
    {Function(FillRectRGBc1), nullptr, "FillRectRGB(FillColor as color)", kREALConsoleSafe},
    {Function(FillRectRGBcA1), nullptr, "FillRectRGB(FillColor as color, alpha as integer)", kREALConsoleSafe},
    {Function(FillRectRGBc5), nullptr,
     "FillRectRGB(x as integer, y as integer, width as integer, height as integer, FillColor as color)",
     kREALConsoleSafe},
    {Function(FillRectRGBcA5), nullptr,
     "FillRectRGB(x as integer, y as integer, width as integer, height as integer, FillColor as color, alpha as "
     "integer)",
     kREALConsoleSafe},
    {Function(FillRectApplyRGBA1), nullptr,
     "FillRectApply(red as integer, green as integer, blue as integer, alpha as integer)", kREALConsoleSafe},
    {Function(FillRectApplyRGBA5), nullptr,
     "FillRectApply(x as integer, y as integer, width as integer, height as integer, red as integer, green as integer, "
     "blue as integer, alpha as integer)",
     kREALConsoleSafe},
    {Function(FillRectApplyRGBcA1), nullptr, "FillRectApply(FillColor as color, alpha as integer)", kREALConsoleSafe},
    {Function(FillRectApplyRGBcA5), nullptr,
     "FillRectApply(x as integer, y as integer, width as integer, height as integer, FillColor as color, alpha as "
     "integer)",
     kREALConsoleSafe},
    // host pictures into images
    {Function(rbDrawPictureRGB2), nullptr, "DrawPictureRGB(pic as picture)", kREALConsoleIfNew},
    {Function(rbDrawPictureRGB4), nullptr, "DrawPictureRGB(pic as picture, DestX as integer, DestY as integer)",
     kREALConsoleIfNew},
    {Function(rbDrawPictureRGB6), nullptr,
     "DrawPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer)",
     kREALConsoleIfNew},
    {Function(rbDrawPictureRGB8), nullptr,
     "DrawPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer, "
     "SourceX as integer, SourceY as integer)",
     kREALConsoleIfNew},
    {Function(rbDrawPictureRedToGrayChannel6), nullptr,
     "DrawPictureRedToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight "
     "as integer)",
     kREALConsoleIfNew},
    {Function(rbDrawPictureRedToGrayChannel8), nullptr,
     "DrawPictureRedToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight "
     "as integer, SourceX as integer, SourceY as integer)",
     kREALConsoleIfNew},
    {Function(rbDrawPictureGreenToGrayChannel6), nullptr,
     "DrawPictureGreenToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
     "DestHeight as integer)",
     kREALConsoleIfNew},
    {Function(rbDrawPictureGreenToGrayChannel8), nullptr,
     "DrawPictureGreenToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
     "DestHeight as integer, SourceX as integer, SourceY as integer)",
     kREALConsoleIfNew},
    {Function(rbDrawPictureBlueToGrayChannel6), nullptr,
     "DrawPictureBlueToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
     "DestHeight as integer)",
     kREALConsoleIfNew},
    {Function(rbDrawPictureBlueToGrayChannel8), nullptr,
     "DrawPictureBlueToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
     "DestHeight as integer, SourceX as integer, SourceY as integer)",
     kREALConsoleIfNew},
    {Function(rbDrawMaskedPictureRGB2), nullptr, "DrawMaskedPictureRGB(pic as picture, InvertMask as boolean=False)",
     kREALConsoleIfNew},
    {Function(rbDrawMaskedPictureRGB4), nullptr,
     "DrawMaskedPictureRGB(pic as picture, DestX as integer, DestY as integer, InvertMask as boolean=False)",
     kREALConsoleIfNew},
    {Function(rbDrawMaskedPictureRGB6), nullptr,
     "DrawMaskedPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as "
     "integer, InvertMask as boolean=False)",
     kREALConsoleIfNew},
    {Function(rbDrawMaskedPictureRGB8), nullptr,
     "DrawMaskedPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as "
     "integer, SourceX as integer, SourceY as integer, InvertMask as boolean=False)",
     kREALConsoleIfNew},
    {Function(rbDrawPictureApplyMaskRGB2), nullptr,
     "DrawMaskedPictureApplyMaskRGB(pic as picture, InvertMask as boolean=False)", kREALConsoleIfNew},
    {Function(rbDrawPictureApplyMaskRGB4), nullptr,
     "DrawMaskedPictureApplyMaskRGB(pic as picture, DestX as integer, DestY as integer, InvertMask as boolean=False)",
     kREALConsoleIfNew},
    {Function(rbDrawPictureApplyMaskRGB6), nullptr,
     "DrawMaskedPictureApplyMaskRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
     "DestHeight as integer, InvertMask as boolean=False)",
     kREALConsoleIfNew},
    {Function(rbDrawPictureApplyMaskRGB8), nullptr,
     "DrawMaskedPictureApplyMaskRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
     "DestHeight as integer, SourceX as integer, SourceY as integer, InvertMask as boolean=False)",
     kREALConsoleIfNew},
    // copies and views of a part
    {Function(rbCopyPixels2), nullptr, "CopyPixels(source as PictureZOR) as boolean", kREALConsoleSafe},
    {Function(rbCopyPixels6), nullptr,
     "CopyPixels(source as PictureZOR, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as "
     "integer) as boolean",
     kREALConsoleSafe},
    {Function(rbCopyPixels8), nullptr,
     "CopyPixels(source as PictureZOR, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as "
     "integer, SourceX as integer, SourceY as integer) as boolean",
     kREALConsoleSafe},
    {Function(ClipImage1), nullptr, "ClipImage as PictureZOR", kREALConsoleSafe},
    {Function(ClipImage5), nullptr,
     "ClipImage(x as integer, y as integer, width as integer, height as integer) as PictureZOR", kREALConsoleSafe},
    // rotation
    {Function(Rotate90), nullptr, "Rotate90slow(dest as PictureZOR=nil) as PictureZOR", kREALConsoleSafe},
    {Function(Rotate180), nullptr, "Rotate180(dest as PictureZOR=nil) as PictureZOR", kREALConsoleSafe},
    {Function(Rotate270), nullptr, "Rotate270slow(dest as PictureZOR=nil) as PictureZOR", kREALConsoleSafe},
    {Function(rbRotate), nullptr,
     "Rotate(angle as double, Red as integer = 0, Green as integer = 0, Blue as integer = 0, Alpha as integer = 0, "
     "Gray as integer = 0, Cyan as integer = 0, Magenta as integer = 0, Yellow as integer = 0, Black as integer = 0) "
     "as PictureZOR",
     kREALConsoleSafe},
    {Function(Rotate90fast), nullptr, "Rotate90(dest as PictureZOR=nil) as PictureZOR", kREALConsoleSafe},
    {Function(Rotate270fast), nullptr, "Rotate270(dest as PictureZOR=nil) as PictureZOR", kREALConsoleSafe},
    // convolution
    {Function(PictureMatrix3), nullptr,
     "ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, matrix() as integer) as PictureZOR",
     kREALConsoleSafe},
    {Function(PictureMatrix4), nullptr,
     "ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, matrix() as integer, delta as integer) as PictureZOR",
     kREALConsoleSafe},
    {Function(PictureMatrix5), nullptr,
     "ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, matrix() as integer, delta as integer, ScaleFactor "
     "as double) as PictureZOR",
     kREALConsoleSafe},
    {Function(CopyGWorld), nullptr, "CopyGWorld as variant", kREALConsoleSafe},
};

REALmethodDefinition ImageSharedMethods[] = {
    {Function(CreatePictureGlobal), nullptr,
     "CreatePictureZOR(width as integer, height as integer, theImageFormat as integer) as PictureZOR",
     kREALConsoleSafe},
    {Function(CalculateMemory), nullptr,
     "CalculateMemory(width as integer, height as integer, theImageFormat as integer) as Int64", kREALConsoleSafe},
    {Function(CanAllocateImage), nullptr,
     "CanAllocateImage(width as integer, height as integer, theImageFormat as integer) as boolean", kREALConsoleSafe},
};

REALmethodDefinition ImageFactorySharedMethods[] = {
    {Function(SetFactory), nullptr, "SetFactory(factory as PictureFactoryZOR)", kREALConsoleSafe},
};

// --- constants ------------------------------------------------------------------------------------------------------

REALconstant ImageConstants[] = {
    {"ImageFormatUnknown", 0, 0},
    {"ImageFormatRGB", 0, 1},
    {"ImageFormatRGBA", 0, 2},
    {"ImageFormatRGBX", 0, 3},
    {"ImageFormatARGB", 0, 4},
    {"ImageFormatXRGB", 0, 5},
    {"ImageFormatBGR", 0, 6},
    {"ImageFormatBGRA", 0, 7},
    {"ImageFormatBGRX", 0, 8},
    {"ImageFormatABGR", 0, 9},
    {"ImageFormatXBGR", 0, 10},
    {"ImageFormatG", 0, 11},
    {"ImageFormatGA", 0, 12},
    {"ImageFormatAG", 0, 13},
    {"ImageFormatScaling1", 0, 33},
    {"ImageFormatScaling2", 0, 34},
    {"ImageFormatScaling3", 0, 35},
    {"ImageFormatScaling4", 0, 36},
    {"ImageFormatScaling5", 0, 37},
    {"ImageFormatScaling6", 0, 38},
    {"ImageFormatScaling7", 0, 39},
    {"ImageFormatScaling8", 0, 40},
    {"ImageFormatBuffer", 0, 22},
    {"ImageFormat1of3", 0, 15},
    {"ImageFormat2of3", 0, 16},
    {"ImageFormat3of3", 0, 17},
    {"ImageFormat1of4", 0, 18},
    {"ImageFormat2of4", 0, 19},
    {"ImageFormat3of4", 0, 20},
    {"ImageFormat4of4", 0, 21},
    {"ImageFormatRofRGB", 0, 15},
    {"ImageFormatGofRGB", 0, 16},
    {"ImageFormatBofRGB", 0, 17},
    {"ImageFormatRofRGBA", 0, 18},
    {"ImageFormatGofRGBA", 0, 19},
    {"ImageFormatBofRGBA", 0, 20},
    {"ImageFormatAofRGBA", 0, 21},
    {"ImageFormatRofARGB", 0, 19},
    {"ImageFormatGofARGB", 0, 20},
    {"ImageFormatBofARGB", 0, 21},
    {"ImageFormatAofARGB", 0, 18},
    {"ImageFormatRofBGR", 0, 17},
    {"ImageFormatGofBGR", 0, 16},
    {"ImageFormatBofBGR", 0, 15},
    {"ImageFormatRofBGRA", 0, 20},
    {"ImageFormatGofBGRA", 0, 19},
    {"ImageFormatBofBGRA", 0, 18},
    {"ImageFormatAofBGRA", 0, 21},
    {"ImageFormatRofABGR", 0, 21},
    {"ImageFormatGofABGR", 0, 20},
    {"ImageFormatBofABGR", 0, 19},
    {"ImageFormatAofABGR", 0, 18},
    {"ImageFormatCMYK", 0, 23},
    {"ImageFormatCMYKA", 0, 24},
    {"ImageFormatACMYK", 0, 25},
    {"ImageFormatCMYKX", 0, 26},
    {"ImageFormatXCMYK", 0, 27},
    {"ImageFormatKYMC", 0, 28},
    {"ImageFormatKYMCA", 0, 29},
    {"ImageFormatAKYMC", 0, 30},
    {"ImageFormatKYMCX", 0, 31},
    {"ImageFormatXKYMC", 0, 32},
    {"ScaleTriangle", 0, 1},
    {"ScaleBox", 0, 2},
    {"ScaleLanczos3", 0, 3},
    {"ScaleLanczos8", 0, 4},
    {"ScaleMitchell", 0, 5},
    {"ScalePoly3", 0, 6},
    {"ScaleCubic", 0, 7},
    {"DitherMagic2x2Matrix", 0, 1},
    {"DitherMagic4x4Matrix", 0, 2},
    {"DitherOrdered4x4Matrix", 0, 3},
    {"DitherLines4x4Matrix", 0, 4},
    {"Dither90Halftone6x6Matrix", 0, 5},
    {"DitherOrdered6x6Matrix", 0, 6},
    {"DitherOrdered8x8Matrix", 0, 7},
    {"DitherCluster3Matrix", 0, 8},
    {"DitherCluster4Matrix", 0, 9},
    {"DitherCluster8Matrix", 0, 10},
};

template <class Row, std::size_t kCount>
constexpr REALword CountOf(const Row (&)[kCount]) {
    return static_cast<REALword>(kCount);
}

constexpr REALword kRecordVersion = 9;
constexpr REALword kClassFlags = 4;

}  // namespace

REALevent ImageFactoryEvents[1] = {
    {"NewPictureZOR(Width as integer, Height as integer, ImageFormat as integer) as PictureZOR", 0, {0, 0}},
};

// The instance data is the record of the image, raised to a multiple of 16 at registration.
REALclassDefinition ImageClass = [] {
    REALclassDefinition definition{};
    definition.version = kRecordVersion;
    definition.name = "PictureZOR";
    definition.instanceDataSize = static_cast<REALword>(sizeof(ImageClassData));
    definition.destructor = Function(ImageDestructor);
    definition.properties = ImageProperties;
    definition.propertyCount = CountOf(ImageProperties);
    definition.methods = ImageMethods;
    definition.methodCount = CountOf(ImageMethods);
    definition.constants = ImageConstants;
    definition.constantCount = CountOf(ImageConstants);
    definition.flags = kClassFlags;
    definition.sharedMethods = ImageSharedMethods;
    definition.sharedMethodCount = CountOf(ImageSharedMethods);
    return definition;
}();

// No instance data: an application subclasses it and implements the event.
REALclassDefinition ImageFactoryClass = [] {
    REALclassDefinition definition{};
    definition.version = kRecordVersion;
    definition.name = "PictureFactoryZOR";
    definition.events = ImageFactoryEvents;
    definition.eventCount = CountOf(ImageFactoryEvents);
    definition.flags = kClassFlags;
    definition.sharedMethods = ImageFactorySharedMethods;
    definition.sharedMethodCount = CountOf(ImageFactorySharedMethods);
    return definition;
}();
