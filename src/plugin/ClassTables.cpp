// Everything an application can call is a row of one of these tables.

#include "plugin/ClassTables.h"

#include <cstddef>

#include "compositing/Combine.h"
#include "core/Construction.h"
#include "core/Factory.h"
#include "core/Formats.h"
#include "core/InPlace.h"
#include "core/PictureImages.h"
#include "core/RegisteredClasses.h"
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
#include "plugin/Rows.h"
#include "scale/FastScale.h"
#include "scale/FilteredScale.h"

namespace zor {

namespace {

using rows::Event, rows::Method, rows::ReadOnly, rows::ReadWrite, rows::SharedMethod, rows::WithGetter,
    rows::WithSetter;

// --- properties -----------------------------------------------------------------------------------------------------

constexpr REALword kPlain = kREALPropertyRow | kREALConsoleSafe;
constexpr REALword kPicture = kREALPropertyRow | kREALConsoleIfNew;

// Single inheritance without virtual functions: every compiler that builds this lays the record out in order.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#define FIELD(name) rows::FieldAt<decltype(ImageClassData::name)>(offsetof(ImageClassData, name))

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
    WithGetter("ImageFormatString", "String", kPlain, GetImageFormatString),
    WithSetter("MappingBlockSize", "Integer", kPlain, FIELD(MappingBlockSize), SetMemBlockSize),
    ReadOnly("RowOffset", "Integer", kPlain, FIELD(RowOffset)),
    ReadWrite("DebugPictureEnabled", "Boolean", kPicture, FIELD(DebugPictureEnabled)),
    WithGetter("DebugPicture", "Picture", kPicture, GetDebugPicture),
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
    WithGetter("Memory", "Memoryblock", kPlain, GetMemory),
    ReadOnly("MemoryTarget", "Memoryblock", kPlain, FIELD(MemoryTarget)),
    WithGetter("TotalSize", "Int64", kPlain, GetTotalSizeInt64),
};

#undef FIELD
#pragma GCC diagnostic pop

// --- methods --------------------------------------------------------------------------------------------------------

REALmethodDefinition ImageMethods[] = {
    // compositing: on the desktop only
    Method(PictureCombine1,
           "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, "
           "SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As Integer, "
           "MaskColour As Integer) as boolean",
           0),
    Method(PictureCombine1,
           "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, "
           "SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As color, "
           "MaskColour As color) as boolean",
           0),
    Method(PictureCombine2,
           "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, "
           "SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As Integer) as "
           "boolean",
           0),
    Method(PictureCombine2,
           "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, "
           "SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As color) as "
           "boolean",
           0),
    Method(PictureCombine3,
           "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, "
           "SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean) as boolean",
           0),
    Method(PictureCombine1pm,
           "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY "
           "As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As "
           "Boolean, ForeColour As Integer, MaskColour As Integer) as boolean",
           0),
    Method(PictureCombine1pm,
           "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY "
           "As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As "
           "Boolean, ForeColour As color, MaskColour As color) as boolean",
           0),
    Method(PictureCombine2pm,
           "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY "
           "As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As "
           "Boolean, ForeColour As Integer) as boolean",
           0),
    Method(PictureCombine2pm,
           "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY "
           "As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As "
           "Boolean, ForeColour As color) as boolean",
           0),
    Method(PictureCombine3pm,
           "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY "
           "As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As "
           "Boolean) as boolean",
           0),
    // new images and scaling
    Method(CreatePictureLocal,
           "CreatePictureZOR(width as integer, height as integer, ImageFormat as integer) as PictureZOR"),
    Method(ScalePictureFast, "ScaleFast(source as PictureZOR, width as integer, height as integer) as boolean"),
    Method(PictureScaleZOR,
           "Scale(source as PictureZOR, temp as PictureZOR, mode as integer, width as integer, height as integer) as "
           "boolean"),
    Method(PictureScaleZORMT,
           "ScaleMT(threads as integer, source as PictureZOR, temp as PictureZOR, mode as integer, width as integer, "
           "height as integer) as boolean"),
    // construction
    Method(ImageConstructorFile,
           "Constructor(width as integer, height as integer, ImageFormat as integer, BlockSize as integer, FilePath as "
           "folderitem)"),
    Method(ImageConstructor, "Constructor(width as integer, height as integer, ImageFormat as integer)"),
    Method(ImageConstructorPicture, "Constructor(pic as picture, UseAlpha as boolean=false)", kREALConsoleIfNew),
    Method(ImageConstructorMemory,
           "Constructor(Buf as MemoryBlock, width as integer, height as integer, ImageFormat as integer, RowSize as "
           "integer)"),
    // filters
    Method(OilFilter, "OilFilter(dest as PictureZOR, levels as integer, range as integer) as PictureZOR"),
    Method(DifuseFilter, "DiffuseFilter(dest as PictureZOR, level as integer) as PictureZOR"),
    Method(EngraveFilter, "EngraveFilter(dest as PictureZOR, level as integer) as PictureZOR"),
    Method(NeonFilter, "NeonFilter(dest as PictureZOR) as PictureZOR"),
    Method(BoxBlurFilter,
           "BoxBlurFilter(dest as PictureZOR, Radius as double, Vertical as boolean = true, Horizontal as boolean = "
           "true) as PictureZOR"),
    Method(BoxBlurFilter2,
           "BoxBlurFilter(dest as PictureZOR, Radius as double, Iterations as integer, Vertical as boolean = true, "
           "Horizontal as boolean = true) as PictureZOR"),
    Method(BoxBlurFractionalFilter, "BoxBlurFractionalFilter(dest as PictureZOR, Radius as double) as PictureZOR"),
    Method(SolarizeFilter, "SolarizeFilter(dest as PictureZOR) as PictureZOR"),
    Method(GammaFilterG, "GammaFilter(dest as PictureZOR, gamma as double) as PictureZOR"),
    Method(GammaFilterGA, "GammaFilter(dest as PictureZOR, gamma as double, alphaGamma as double) as PictureZOR"),
    Method(
        GammaFilterRGB,
        "GammaFilter(dest as PictureZOR, redGamma as double, greenGamma as double, blueGamma as double) as PictureZOR"),
    Method(GammaFilterRGBA,
           "GammaFilter(dest as PictureZOR, redGamma as double, greenGamma as double, blueGamma as double, alphaGamma "
           "as double) as PictureZOR"),
    Method(DitherFilter, "DitherFilter(dest as PictureZOR, matrix as integer, levels as integer) as PictureZOR"),
    Method(GainFilter, "GainFilter(dest as PictureZOR, gain as double, bias as double) as PictureZOR"),
    Method(StampFilter,
           "StampFilter(dest as PictureZOR, radius as double, threshold as double, softness as double, Black as Color, "
           "White as Color) as PictureZOR"),
    Method(TransferFilterG, "TransferFilter(dest as PictureZOR, gray() as integer) as PictureZOR"),
    Method(TransferFilterGA, "TransferFilter(dest as PictureZOR, gray() as integer, alpha() as integer) as PictureZOR"),
    Method(TransferFilterRGB,
           "TransferFilter(dest as PictureZOR, red() as integer, green() as integer, blue() as integer) as PictureZOR"),
    Method(TransferFilterRGBA,
           "TransferFilter(dest as PictureZOR, red() as integer, green() as integer, blue() as integer, alpha() as "
           "integer) as PictureZOR"),
    Method(unsharpFilter, "UnsharpFilter(origpixels as PictureZOR, Amount as double, Threshold as integer) as boolean"),
    // views
    Method(AlphaChannel, "AlphaChannel as PictureZOR"),
    Method(RedChannel, "RedChannel as PictureZOR"),
    Method(GreenChannel, "GreenChannel as PictureZOR"),
    Method(BlueChannel, "BlueChannel as PictureZOR"),
    Method(GrayChannel, "GrayChannel as PictureZOR"),
    Method(RGBChannel, "RGBChannels as PictureZOR"),
    Method(CMYKChannel, "CMYKChannels as PictureZOR"),
    Method(CyanChannel, "CyanChannel as PictureZOR"),
    Method(MagentaChannel, "MagentaChannel as PictureZOR"),
    Method(YellowChannel, "YellowChannel as PictureZOR"),
    Method(BlackChannel, "BlackChannel as PictureZOR"),
    Method(Channel, "Channel(index as integer) as PictureZOR"),
    Method(GetMirroredView, "MirroredView as PictureZOR"),
    // in place
    Method(ImageDestructor, "Close"),
    Method(HMirrorSelf, "HMirror"),
    Method(VMirrorSelf, "VMirror"),
    Method(Rotate180Self, "Rotate180"),
    Method(Invert1, "Invert"),
    Method(Invert5, "Invert(x as integer, y as integer, w as integer, h as integer)"),
    Method(AutoLevel1, "AutoLevel as boolean"),
    Method(AutoLevel5, "AutoLevel(x as integer, y as integer, w as integer, h as integer) as boolean"),
    // host pictures of an image
    Method(rbCopyPictureWithMask,
           "CopyPictureWithMask(x as integer, y as integer, w as integer, h as integer) as picture", kREALConsoleIfNew),
    Method(rbCopyPictureWithMaskAll, "CopyPictureWithMask as picture", kREALConsoleIfNew),
    Method(rbCopyPicture, "CopyPicture(x as integer, y as integer, w as integer, h as integer) as picture",
           kREALConsoleIfNew),
    Method(rbCopyPictureAll, "CopyPicture as picture", kREALConsoleIfNew),
    Method(rbCopyMask, "CopyMask(x as integer, y as integer, w as integer, h as integer) as picture",
           kREALConsoleIfNew),
    Method(rbCopyMaskAll, "CopyMask as picture", kREALConsoleIfNew),
    // rows
    Method(rbGetRow, "RawRow(index as integer) as memoryblock"),
    Method(rbGetRowCopy, rbSetRow, "Row(index as integer) as memoryblock"),
    Method(rbGetRowF, rbSetRowF, "RowInFormat(index as integer, ImageFormat as integer) as memoryblock"),
    Method(rbGetRowFI, rbSetRowFI,
           "RowInFormat(index as integer, ImageFormat as integer, InvertAlpha as boolean) as memoryblock"),
    Method(rbGetRowFS, rbSetRowFS, "RowStringInFormat(index as integer, ImageFormat as integer) as string"),
    Method(rbGetAllFS, rbSetAllFS, "DataStringInFormat(ImageFormat as integer) as string"),
    // copies
    Method(Clone, "Clone as PictureZOR"),
    // fills
    Method(ClearRect1, "ClearRect"),
    Method(ClearRect5, "ClearRect(x as integer, y as integer, width as integer, height as integer)"),
    Method(CompareImages, "CompareImages(other as PictureZOR) as Int64"),
    Method(FillRect1, "FillRect(value as integer)"),
    Method(FillRect5, "FillRect(x as integer, y as integer, width as integer, height as integer, value as integer)"),
    Method(FillRectRandom1, "FillRectRandom"),
    Method(FillRectRandom5, "FillRectRandom(x as integer, y as integer, width as integer, height as integer)"),
    Method(FillRectRGB1, "FillRectRGB(red as integer, green as integer, blue as integer)"),
    Method(FillRectRGBA1, "FillRectRGB(red as integer, green as integer, blue as integer, alpha as integer)"),
    Method(FillRectRGB5,
           "FillRectRGB(x as integer, y as integer, width as integer, height as integer, red as integer, green as "
           "integer, blue as integer)"),
    Method(FillRectRGBA5,
           "FillRectRGB(x as integer, y as integer, width as integer, height as integer, red as integer, green as "
           "integer, blue as integer, alpha as integer)"),
    Method(FillRectRGBc1, "FillRectRGB(FillColor as color)"),
    Method(FillRectRGBcA1, "FillRectRGB(FillColor as color, alpha as integer)"),
    Method(FillRectRGBc5,
           "FillRectRGB(x as integer, y as integer, width as integer, height as integer, FillColor as color)"),
    Method(FillRectRGBcA5,
           "FillRectRGB(x as integer, y as integer, width as integer, height as integer, FillColor as color, alpha as "
           "integer)"),
    Method(FillRectApplyRGBA1, "FillRectApply(red as integer, green as integer, blue as integer, alpha as integer)"),
    Method(FillRectApplyRGBA5,
           "FillRectApply(x as integer, y as integer, width as integer, height as integer, red as integer, green as "
           "integer, blue as integer, alpha as integer)"),
    Method(FillRectApplyRGBcA1, "FillRectApply(FillColor as color, alpha as integer)"),
    Method(FillRectApplyRGBcA5,
           "FillRectApply(x as integer, y as integer, width as integer, height as integer, FillColor as color, alpha "
           "as integer)"),
    // host pictures into images
    Method(rbDrawPictureRedToGrayChannel6,
           "DrawPictureRedToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
           "DestHeight as integer)",
           kREALConsoleIfNew),
    Method(rbDrawPictureRedToGrayChannel8,
           "DrawPictureRedToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
           "DestHeight as integer, SourceX as integer, SourceY as integer)",
           kREALConsoleIfNew),
    Method(rbDrawPictureGreenToGrayChannel6,
           "DrawPictureGreenToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
           "DestHeight as integer)",
           kREALConsoleIfNew),
    Method(rbDrawPictureGreenToGrayChannel8,
           "DrawPictureGreenToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
           "DestHeight as integer, SourceX as integer, SourceY as integer)",
           kREALConsoleIfNew),
    Method(rbDrawPictureBlueToGrayChannel6,
           "DrawPictureBlueToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
           "DestHeight as integer)",
           kREALConsoleIfNew),
    Method(rbDrawPictureBlueToGrayChannel8,
           "DrawPictureBlueToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
           "DestHeight as integer, SourceX as integer, SourceY as integer)",
           kREALConsoleIfNew),
    Method(rbDrawPictureRGB2, "DrawPictureRGB(pic as picture)", kREALConsoleIfNew),
    Method(rbDrawPictureRGB4, "DrawPictureRGB(pic as picture, DestX as integer, DestY as integer)", kREALConsoleIfNew),
    Method(rbDrawPictureRGB6,
           "DrawPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as "
           "integer)",
           kREALConsoleIfNew),
    Method(rbDrawPictureRGB8,
           "DrawPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as "
           "integer, SourceX as integer, SourceY as integer)",
           kREALConsoleIfNew),
    Method(rbDrawMaskedPictureRGB2, "DrawMaskedPictureRGB(pic as picture, InvertMask as boolean=False)",
           kREALConsoleIfNew),
    Method(rbDrawMaskedPictureRGB4,
           "DrawMaskedPictureRGB(pic as picture, DestX as integer, DestY as integer, InvertMask as boolean=False)",
           kREALConsoleIfNew),
    Method(rbDrawMaskedPictureRGB6,
           "DrawMaskedPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight "
           "as integer, InvertMask as boolean=False)",
           kREALConsoleIfNew),
    Method(rbDrawMaskedPictureRGB8,
           "DrawMaskedPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight "
           "as integer, SourceX as integer, SourceY as integer, InvertMask as boolean=False)",
           kREALConsoleIfNew),
    Method(rbDrawPictureApplyMaskRGB2, "DrawMaskedPictureApplyMaskRGB(pic as picture, InvertMask as boolean=False)",
           kREALConsoleIfNew),
    Method(rbDrawPictureApplyMaskRGB4,
           "DrawMaskedPictureApplyMaskRGB(pic as picture, DestX as integer, DestY as integer, InvertMask as "
           "boolean=False)",
           kREALConsoleIfNew),
    Method(rbDrawPictureApplyMaskRGB6,
           "DrawMaskedPictureApplyMaskRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
           "DestHeight as integer, InvertMask as boolean=False)",
           kREALConsoleIfNew),
    Method(rbDrawPictureApplyMaskRGB8,
           "DrawMaskedPictureApplyMaskRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
           "DestHeight as integer, SourceX as integer, SourceY as integer, InvertMask as boolean=False)",
           kREALConsoleIfNew),
    // copies and views of a part
    Method(rbCopyPixels2, "CopyPixels(source as PictureZOR) as boolean"),
    Method(rbCopyPixels6,
           "CopyPixels(source as PictureZOR, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as "
           "integer) as boolean"),
    Method(rbCopyPixels8,
           "CopyPixels(source as PictureZOR, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as "
           "integer, SourceX as integer, SourceY as integer) as boolean"),
    Method(ClipImage1, "ClipImage as PictureZOR"),
    Method(ClipImage5, "ClipImage(x as integer, y as integer, width as integer, height as integer) as PictureZOR"),
    // rotation
    Method(Rotate90, "Rotate90slow(dest as PictureZOR=nil) as PictureZOR"),
    Method(Rotate180, "Rotate180(dest as PictureZOR=nil) as PictureZOR"),
    Method(Rotate270, "Rotate270slow(dest as PictureZOR=nil) as PictureZOR"),
    Method(rbRotate,
           "Rotate(angle as double, Red as integer = 0, Green as integer = 0, Blue as integer = 0, Alpha as integer = "
           "0, Gray as integer = 0, Cyan as integer = 0, Magenta as integer = 0, Yellow as integer = 0, Black as "
           "integer = 0) as PictureZOR"),
    Method(Rotate90fast, "Rotate90(dest as PictureZOR=nil) as PictureZOR"),
    Method(Rotate270fast, "Rotate270(dest as PictureZOR=nil) as PictureZOR"),
    // convolution
    Method(PictureMatrix3,
           "ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, matrix() as integer) as PictureZOR"),
    Method(PictureMatrix4,
           "ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, matrix() as integer, delta as integer) as "
           "PictureZOR"),
    Method(PictureMatrix5,
           "ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, matrix() as integer, delta as integer, "
           "ScaleFactor as double) as PictureZOR"),
    Method(CopyGWorld, "CopyGWorld as variant"),
};

REALmethodDefinition ImageSharedMethods[] = {
    SharedMethod(CreatePictureGlobal,
                 "CreatePictureZOR(width as integer, height as integer, theImageFormat as integer) as PictureZOR"),
    SharedMethod(CalculateMemory,
                 "CalculateMemory(width as integer, height as integer, theImageFormat as integer) as Int64"),
    SharedMethod(CanAllocateImage,
                 "CanAllocateImage(width as integer, height as integer, theImageFormat as integer) as boolean"),
};

REALmethodDefinition ImageFactorySharedMethods[] = {
    SharedMethod(SetFactory, "SetFactory(factory as PictureFactoryZOR)"),
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

REALclassDefinition ImageFactoryClass{};

// The instance data is the record of the image, raised to a multiple of 16 at registration.
static REALclassDefinition DescribeImageClass() {
    REALclassDefinition definition{};
    definition.version = kRecordVersion;
    definition.name = "PictureZOR";
    definition.instanceDataSize = static_cast<REALword>(sizeof(ImageClassData));
    definition.destructor = rows::Untyped(ImageDestructor);
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
}

// No instance data: an application subclasses it and implements the event.
static REALclassDefinition DescribeImageFactoryClass() {
    REALclassDefinition definition{};
    definition.version = kRecordVersion;
    definition.name = "PictureFactoryZOR";
    definition.events = ImageFactoryEvents;
    definition.eventCount = CountOf(ImageFactoryEvents);
    definition.flags = kClassFlags;
    definition.sharedMethods = ImageFactorySharedMethods;
    definition.sharedMethodCount = CountOf(ImageFactorySharedMethods);
    return definition;
}

void DescribeClasses() {
    ImageFactoryEvents[0] = Event<NewPictureEvent>(
        "NewPictureZOR(Width as integer, Height as integer, ImageFormat as integer) as PictureZOR");
    ImageClass = DescribeImageClass();
    ImageFactoryClass = DescribeImageFactoryClass();
}

}  // namespace zor
