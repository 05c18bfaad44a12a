// The tables that an application sees: every row by name, type, access, flags and order.

#include "plugin/ClassTables.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string>

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
#include "support/FakeHost.h"

using namespace zor;

namespace {

class ClassTables : public EngineTest {};

template <class Function>
REALfunction Plain(Function* function) {
    return reinterpret_cast<REALfunction>(function);
}

// The flags of a row once the plug-in has started on a host of today.
REALword OnANewHost(REALword flags) {
    return flags & 0x40000 ? flags | 0x4 : flags;
}

// --- classes --------------------------------------------------------------------------------------------------------

TEST_F(ClassTables, DescribeTheImageClass) {
    EXPECT_EQ(ImageClass.version, 9);
    EXPECT_STREQ(ImageClass.name, "PictureZOR");
    EXPECT_EQ(ImageClass.superName, nullptr);
    EXPECT_EQ(ImageClass.instanceDataSize % 16, 0);
    EXPECT_GE(ImageClass.instanceDataSize, static_cast<REALword>(sizeof(ImageClassData)));
    EXPECT_EQ(ImageClass.constructor, nullptr);
    EXPECT_EQ(ImageClass.destructor, Plain(ImageDestructor));
    EXPECT_EQ(ImageClass.propertyCount, 41);
    EXPECT_EQ(ImageClass.methodCount, 124);
    EXPECT_EQ(ImageClass.events, nullptr);
    EXPECT_EQ(ImageClass.eventCount, 0);
    EXPECT_EQ(ImageClass.eventInstances, nullptr);
    EXPECT_EQ(ImageClass.eventInstanceCount, 0);
    EXPECT_EQ(ImageClass.interfaces, nullptr);
    EXPECT_EQ(ImageClass.attributes, nullptr);
    EXPECT_EQ(ImageClass.attributeCount, 0);
    EXPECT_EQ(ImageClass.constantCount, 79);
    EXPECT_EQ(ImageClass.flags, 4);
    EXPECT_EQ(ImageClass.sharedProperties, nullptr);
    EXPECT_EQ(ImageClass.sharedPropertyCount, 0);
    EXPECT_EQ(ImageClass.sharedMethodCount, 3);
}

TEST_F(ClassTables, DescribeTheFactoryClass) {
    EXPECT_EQ(ImageFactoryClass.version, 9);
    EXPECT_STREQ(ImageFactoryClass.name, "PictureFactoryZOR");
    EXPECT_EQ(ImageFactoryClass.superName, nullptr);
    EXPECT_EQ(ImageFactoryClass.instanceDataSize, 0);
    EXPECT_EQ(ImageFactoryClass.constructor, nullptr);
    EXPECT_EQ(ImageFactoryClass.destructor, nullptr);
    EXPECT_EQ(ImageFactoryClass.properties, nullptr);
    EXPECT_EQ(ImageFactoryClass.propertyCount, 0);
    EXPECT_EQ(ImageFactoryClass.methods, nullptr);
    EXPECT_EQ(ImageFactoryClass.methodCount, 0);
    EXPECT_EQ(ImageFactoryClass.events, ImageFactoryEvents);
    EXPECT_EQ(ImageFactoryClass.eventCount, 1);
    EXPECT_EQ(ImageFactoryClass.eventInstanceCount, 0);
    EXPECT_EQ(ImageFactoryClass.constants, nullptr);
    EXPECT_EQ(ImageFactoryClass.constantCount, 0);
    EXPECT_EQ(ImageFactoryClass.flags, 4);
    EXPECT_EQ(ImageFactoryClass.sharedPropertyCount, 0);
    EXPECT_EQ(ImageFactoryClass.sharedMethodCount, 1);
}

TEST_F(ClassTables, HaveTheFactorysEventAndSharedMethod) {
    EXPECT_STREQ(ImageFactoryEvents[0].declaration,
                 "NewPictureZOR(Width as integer, Height as integer, ImageFormat as integer) as PictureZOR");
    EXPECT_NE(ImageFactoryEvents[0].identifier, 0) << "the host's word";
    EXPECT_EQ(ImageFactoryEvents[0].spare[0], 0);
    EXPECT_EQ(ImageFactoryEvents[0].spare[1], 0);
    const REALmethodDefinition& row = ImageFactoryClass.sharedMethods[0];
    EXPECT_STREQ(row.declaration, "SetFactory(factory as PictureFactoryZOR)");
    EXPECT_EQ(row.function, Plain(SetFactory));
    EXPECT_EQ(row.setterFunction, nullptr);
    EXPECT_EQ(row.flags, 0x4);
}

// --- properties -----------------------------------------------------------------------------------------------------

enum class Access { field, function, none };

struct PropertyRow {
    const char* name;
    const char* type;
    REALword flags;
    Access read, write;
    std::size_t offset;  // of the field that the host reads itself
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
const PropertyRow kProperties[] = {
    {"YieldTicks", "Integer", 0x6, Access::field, Access::field, offsetof(ImageClassData, YieldTicks)},
    {"RedOffset", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, RedOffset)},
    {"GreenOffset", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, GreenOffset)},
    {"BlueOffset", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, BlueOffset)},
    {"GrayOffset", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, GrayOffset)},
    {"AlphaOffset", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, AlphaOffset)},
    {"Width", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, Width)},
    {"Height", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, Height)},
    {"PixelSize", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, PixelSize)},
    {"RowSize", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, RowSize)},
    {"ImageFormat", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, ImageFormat)},
    {"ImageFormatString", "String", 0x6, Access::function, Access::none, 0},
    {"MappingBlockSize", "Integer", 0x6, Access::field, Access::function, offsetof(ImageClassData, MappingBlockSize)},
    {"RowOffset", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, RowOffset)},
    {"DebugPictureEnabled", "Boolean", 0x40002, Access::field, Access::field,
     offsetof(ImageClassData, DebugPictureEnabled)},
    {"DebugPicture", "Picture", 0x40002, Access::function, Access::none, 0},
    {"IsGray", "Boolean", 0x6, Access::field, Access::none, offsetof(ImageClassData, IsGray)},
    {"IsRGB", "Boolean", 0x6, Access::field, Access::none, offsetof(ImageClassData, IsRGB)},
    {"HasGreen", "Boolean", 0x6, Access::field, Access::none, offsetof(ImageClassData, HasGreen)},
    {"HasRed", "Boolean", 0x6, Access::field, Access::none, offsetof(ImageClassData, HasRed)},
    {"HasBlue", "Boolean", 0x6, Access::field, Access::none, offsetof(ImageClassData, HasBlue)},
    {"HasGray", "Boolean", 0x6, Access::field, Access::none, offsetof(ImageClassData, HasGray)},
    {"HasAlpha", "Boolean", 0x6, Access::field, Access::none, offsetof(ImageClassData, HasAlpha)},
    {"Valid", "Boolean", 0x6, Access::field, Access::none, offsetof(ImageClassData, Valid)},
    {"IsMapping", "Boolean", 0x6, Access::field, Access::none, offsetof(ImageClassData, IsMapping)},
    {"ChannelCount", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, ChannelCount)},
    {"IsCMYK", "Boolean", 0x6, Access::field, Access::none, offsetof(ImageClassData, IsCMYK)},
    {"HasCyan", "Boolean", 0x6, Access::field, Access::none, offsetof(ImageClassData, HasCyan)},
    {"HasYellow", "Boolean", 0x6, Access::field, Access::none, offsetof(ImageClassData, HasYellow)},
    {"HasMagenta", "Boolean", 0x6, Access::field, Access::none, offsetof(ImageClassData, HasMagenta)},
    {"HasBlack", "Boolean", 0x6, Access::field, Access::none, offsetof(ImageClassData, HasBlack)},
    {"CyanOffset", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, CyanOffset)},
    {"YellowOffset", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, YellowOffset)},
    {"MagentaOffset", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, MagentaOffset)},
    {"BlackOffset", "Integer", 0x6, Access::field, Access::none, offsetof(ImageClassData, BlackOffset)},
    {"Parent", "PictureZOR", 0x6, Access::field, Access::none, offsetof(ImageClassData, Parent)},
    {"Factory", "PictureFactoryZOR", 0x6, Access::field, Access::field, offsetof(ImageClassData, Factory)},
    {"Target", "Picture", 0x40002, Access::field, Access::none, offsetof(ImageClassData, Target)},
    {"Memory", "Memoryblock", 0x6, Access::function, Access::none, 0},
    {"MemoryTarget", "Memoryblock", 0x6, Access::field, Access::none, offsetof(ImageClassData, MemoryTarget)},
    {"TotalSize", "Int64", 0x6, Access::function, Access::none, 0},
};
#pragma GCC diagnostic pop

Access AccessOf(REALword word) {
    return word == -1 ? Access::field : word == 0 ? Access::none : Access::function;
}

TEST_F(ClassTables, ListThePropertiesInOrder) {
    ASSERT_EQ(static_cast<std::size_t>(ImageClass.propertyCount), std::size(kProperties));
    for (std::size_t i = 0; i < std::size(kProperties); ++i) {
        const PropertyRow& expected = kProperties[i];
        const REALproperty& row = ImageClass.properties[i];
        SCOPED_TRACE(expected.name);
        EXPECT_STREQ(row.name, expected.name);
        EXPECT_STREQ(row.type, expected.type);
        EXPECT_EQ(row.flags, OnANewHost(expected.flags));
        EXPECT_EQ(row.group, nullptr);
        EXPECT_EQ(AccessOf(row.setter), expected.write);
        EXPECT_EQ(AccessOf(row.getter), expected.read);
        if (expected.read == Access::field) {
            EXPECT_EQ(row.field, static_cast<REALword>(expected.offset));
        }
        EXPECT_EQ(row.spare[0], 0);
        EXPECT_EQ(row.spare[1], 0);
        EXPECT_EQ(row.spare[2], 0);
    }
}

TEST_F(ClassTables, BindTheFunctionsBehindProperties) {
    for (REALword i = 0; i < ImageClass.propertyCount; ++i) {
        const REALproperty& row = ImageClass.properties[i];
        const std::string name = row.name;
        if (name == "ImageFormatString") {
            EXPECT_EQ(row.getter, reinterpret_cast<REALword>(&GetImageFormatString));
        } else if (name == "MappingBlockSize") {
            EXPECT_EQ(row.setter, reinterpret_cast<REALword>(&SetMemBlockSize));
        } else if (name == "Memory") {
            EXPECT_EQ(row.getter, reinterpret_cast<REALword>(&GetMemory));
        } else if (name == "DebugPicture") {
            EXPECT_EQ(row.getter, reinterpret_cast<REALword>(&GetDebugPicture));
        } else if (name == "TotalSize") {
            EXPECT_EQ(row.getter, reinterpret_cast<REALword>(&GetTotalSizeInt64));
        }
    }
}

TEST_F(ClassTables, ShowFieldsOfTheSizeThatTheirTypeHas) {
    // Integer is four bytes, Boolean one, a reference one word: the host reads just that many.
    const ImageClassData record{};
    EXPECT_EQ(sizeof record.YieldTicks, 4u);
    EXPECT_EQ(sizeof record.RedOffset, 4u);
    EXPECT_EQ(sizeof record.Width, 4u);
    EXPECT_EQ(sizeof record.HasRed, 1u);
    EXPECT_EQ(sizeof record.DebugPictureEnabled, 1u);
    EXPECT_EQ(sizeof record.Parent, sizeof(void*));
    EXPECT_EQ(sizeof record.TotalSize, 8u);
}

// --- constants ------------------------------------------------------------------------------------------------------

// clang-format off
const char* const kConstants[] = {
    "ImageFormatUnknown = 0",
    "ImageFormatRGB = 1",
    "ImageFormatRGBA = 2",
    "ImageFormatRGBX = 3",
    "ImageFormatARGB = 4",
    "ImageFormatXRGB = 5",
    "ImageFormatBGR = 6",
    "ImageFormatBGRA = 7",
    "ImageFormatBGRX = 8",
    "ImageFormatABGR = 9",
    "ImageFormatXBGR = &h0000000A",
    "ImageFormatG = &h0000000B",
    "ImageFormatGA = &h0000000C",
    "ImageFormatAG = &h0000000D",
    "ImageFormatScaling1 = &h00000021",
    "ImageFormatScaling2 = &h00000022",
    "ImageFormatScaling3 = &h00000023",
    "ImageFormatScaling4 = &h00000024",
    "ImageFormatScaling5 = &h00000025",
    "ImageFormatScaling6 = &h00000026",
    "ImageFormatScaling7 = &h00000027",
    "ImageFormatScaling8 = &h00000028",
    "ImageFormatBuffer = &h00000016",
    "ImageFormat1of3 = &h0000000F",
    "ImageFormat2of3 = &h00000010",
    "ImageFormat3of3 = &h00000011",
    "ImageFormat1of4 = &h00000012",
    "ImageFormat2of4 = &h00000013",
    "ImageFormat3of4 = &h00000014",
    "ImageFormat4of4 = &h00000015",
    "ImageFormatRofRGB = &h0000000F",
    "ImageFormatGofRGB = &h00000010",
    "ImageFormatBofRGB = &h00000011",
    "ImageFormatRofRGBA = &h00000012",
    "ImageFormatGofRGBA = &h00000013",
    "ImageFormatBofRGBA = &h00000014",
    "ImageFormatAofRGBA = &h00000015",
    "ImageFormatRofARGB = &h00000013",
    "ImageFormatGofARGB = &h00000014",
    "ImageFormatBofARGB = &h00000015",
    "ImageFormatAofARGB = &h00000012",
    "ImageFormatRofBGR = &h00000011",
    "ImageFormatGofBGR = &h00000010",
    "ImageFormatBofBGR = &h0000000F",
    "ImageFormatRofBGRA = &h00000014",
    "ImageFormatGofBGRA = &h00000013",
    "ImageFormatBofBGRA = &h00000012",
    "ImageFormatAofBGRA = &h00000015",
    "ImageFormatRofABGR = &h00000015",
    "ImageFormatGofABGR = &h00000014",
    "ImageFormatBofABGR = &h00000013",
    "ImageFormatAofABGR = &h00000012",
    "ImageFormatCMYK = &h00000017",
    "ImageFormatCMYKA = &h00000018",
    "ImageFormatACMYK = &h00000019",
    "ImageFormatCMYKX = &h0000001A",
    "ImageFormatXCMYK = &h0000001B",
    "ImageFormatKYMC = &h0000001C",
    "ImageFormatKYMCA = &h0000001D",
    "ImageFormatAKYMC = &h0000001E",
    "ImageFormatKYMCX = &h0000001F",
    "ImageFormatXKYMC = &h00000020",
    "ScaleTriangle = 1",
    "ScaleBox = 2",
    "ScaleLanczos3 = 3",
    "ScaleLanczos8 = 4",
    "ScaleMitchell = 5",
    "ScalePoly3 = 6",
    "ScaleCubic = 7",
    "DitherMagic2x2Matrix = 1",
    "DitherMagic4x4Matrix = 2",
    "DitherOrdered4x4Matrix = 3",
    "DitherLines4x4Matrix = 4",
    "Dither90Halftone6x6Matrix = 5",
    "DitherOrdered6x6Matrix = 6",
    "DitherOrdered8x8Matrix = 7",
    "DitherCluster3Matrix = 8",
    "DitherCluster4Matrix = 9",
    "DitherCluster8Matrix = &h0000000A",
};
// clang-format on

TEST_F(ClassTables, ListTheConstantsInOrderAsDeclarations) {
    ASSERT_EQ(static_cast<std::size_t>(ImageClass.constantCount), std::size(kConstants));
    for (std::size_t i = 0; i < std::size(kConstants); ++i) {
        EXPECT_STREQ(ImageClass.constants[i].declaration, kConstants[i]);
        EXPECT_EQ(ImageClass.constants[i].value, 0) << kConstants[i];
    }
}

// --- methods --------------------------------------------------------------------------------------------------------

TEST_F(ClassTables, ListTheSharedMethods) {
    struct Row {
        const char* declaration;
        REALfunction function;
    };
    const Row rows[] = {
        {"CreatePictureZOR(width as integer, height as integer, theImageFormat as integer) as PictureZOR",
         Plain(CreatePictureGlobal)},
        {"CalculateMemory(width as integer, height as integer, theImageFormat as integer) as Int64",
         Plain(CalculateMemory)},
        {"CanAllocateImage(width as integer, height as integer, theImageFormat as integer) as boolean",
         Plain(CanAllocateImage)},
    };
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const REALmethodDefinition& row = ImageClass.sharedMethods[i];
        EXPECT_STREQ(row.declaration, rows[i].declaration);
        EXPECT_EQ(row.function, rows[i].function) << row.declaration;
        EXPECT_EQ(row.setterFunction, nullptr);
        EXPECT_EQ(row.flags, 0x4);
    }
}

struct MethodRow {
    REALword flags;
    REALfunction function, setter;
    const char* declaration;
};

const MethodRow kMethods[] = {
    {0, Plain(PictureCombine1), nullptr,
     "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY "
     "As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As Integer, MaskColour As "
     "Integer) as boolean"},
    {0, Plain(PictureCombine1), nullptr,
     "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY "
     "As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As color, MaskColour As "
     "color) as boolean"},
    {0, Plain(PictureCombine2), nullptr,
     "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY "
     "As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As Integer) as boolean"},
    {0, Plain(PictureCombine2), nullptr,
     "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY "
     "As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As color) as boolean"},
    {0, Plain(PictureCombine3), nullptr,
     "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY "
     "As Integer, Width As Integer, Height As Integer, UseColours As Boolean) as boolean"},
    {0, Plain(PictureCombine1pm), nullptr,
     "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY As "
     "Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, "
     "ForeColour As Integer, MaskColour As Integer) as boolean"},
    {0, Plain(PictureCombine1pm), nullptr,
     "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY As "
     "Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, "
     "ForeColour As color, MaskColour As color) as boolean"},
    {0, Plain(PictureCombine2pm), nullptr,
     "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY As "
     "Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, "
     "ForeColour As Integer) as boolean"},
    {0, Plain(PictureCombine2pm), nullptr,
     "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY As "
     "Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, "
     "ForeColour As color) as boolean"},
    {0, Plain(PictureCombine3pm), nullptr,
     "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY As "
     "Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean) as "
     "boolean"},
    {0x4, Plain(CreatePictureLocal), nullptr,
     "CreatePictureZOR(width as integer, height as integer, ImageFormat as integer) as PictureZOR"},
    {0x4, Plain(ScalePictureFast), nullptr,
     "ScaleFast(source as PictureZOR, width as integer, height as integer) as boolean"},
    {0x4, Plain(PictureScaleZOR), nullptr,
     "Scale(source as PictureZOR, temp as PictureZOR, mode as integer, width as integer, height as integer) as "
     "boolean"},
    {0x4, Plain(PictureScaleZORMT), nullptr,
     "ScaleMT(threads as integer, source as PictureZOR, temp as PictureZOR, mode as integer, width as integer, height "
     "as integer) as boolean"},
    {0x4, Plain(ImageConstructorFile), nullptr,
     "Constructor(width as integer, height as integer, ImageFormat as integer, BlockSize as integer, FilePath as "
     "folderitem)"},
    {0x4, Plain(ImageConstructor), nullptr, "Constructor(width as integer, height as integer, ImageFormat as integer)"},
    {0x40000, Plain(ImageConstructorPicture), nullptr, "Constructor(pic as picture, UseAlpha as boolean=false)"},
    {0x4, Plain(ImageConstructorMemory), nullptr,
     "Constructor(Buf as MemoryBlock, width as integer, height as integer, ImageFormat as integer, RowSize as "
     "integer)"},
    {0x4, Plain(OilFilter), nullptr,
     "OilFilter(dest as PictureZOR, levels as integer, range as integer) as PictureZOR"},
    {0x4, Plain(DifuseFilter), nullptr, "DiffuseFilter(dest as PictureZOR, level as integer) as PictureZOR"},
    {0x4, Plain(EngraveFilter), nullptr, "EngraveFilter(dest as PictureZOR, level as integer) as PictureZOR"},
    {0x4, Plain(NeonFilter), nullptr, "NeonFilter(dest as PictureZOR) as PictureZOR"},
    {0x4, Plain(BoxBlurFilter), nullptr,
     "BoxBlurFilter(dest as PictureZOR, Radius as double, Vertical as boolean = true, Horizontal as boolean = true) as "
     "PictureZOR"},
    {0x4, Plain(BoxBlurFilter2), nullptr,
     "BoxBlurFilter(dest as PictureZOR, Radius as double, Iterations as integer, Vertical as boolean = true, "
     "Horizontal as boolean = true) as PictureZOR"},
    {0x4, Plain(BoxBlurFractionalFilter), nullptr,
     "BoxBlurFractionalFilter(dest as PictureZOR, Radius as double) as PictureZOR"},
    {0x4, Plain(SolarizeFilter), nullptr, "SolarizeFilter(dest as PictureZOR) as PictureZOR"},
    {0x4, Plain(GammaFilterG), nullptr, "GammaFilter(dest as PictureZOR, gamma as double) as PictureZOR"},
    {0x4, Plain(GammaFilterGA), nullptr,
     "GammaFilter(dest as PictureZOR, gamma as double, alphaGamma as double) as PictureZOR"},
    {0x4, Plain(GammaFilterRGB), nullptr,
     "GammaFilter(dest as PictureZOR, redGamma as double, greenGamma as double, blueGamma as double) as PictureZOR"},
    {0x4, Plain(GammaFilterRGBA), nullptr,
     "GammaFilter(dest as PictureZOR, redGamma as double, greenGamma as double, blueGamma as double, alphaGamma as "
     "double) as PictureZOR"},
    {0x4, Plain(DitherFilter), nullptr,
     "DitherFilter(dest as PictureZOR, matrix as integer, levels as integer) as PictureZOR"},
    {0x4, Plain(GainFilter), nullptr, "GainFilter(dest as PictureZOR, gain as double, bias as double) as PictureZOR"},
    {0x4, Plain(StampFilter), nullptr,
     "StampFilter(dest as PictureZOR, radius as double, threshold as double, softness as double, Black as Color, White "
     "as Color) as PictureZOR"},
    {0x4, Plain(TransferFilterG), nullptr, "TransferFilter(dest as PictureZOR, gray() as integer) as PictureZOR"},
    {0x4, Plain(TransferFilterGA), nullptr,
     "TransferFilter(dest as PictureZOR, gray() as integer, alpha() as integer) as PictureZOR"},
    {0x4, Plain(TransferFilterRGB), nullptr,
     "TransferFilter(dest as PictureZOR, red() as integer, green() as integer, blue() as integer) as PictureZOR"},
    {0x4, Plain(TransferFilterRGBA), nullptr,
     "TransferFilter(dest as PictureZOR, red() as integer, green() as integer, blue() as integer, alpha() as integer) "
     "as PictureZOR"},
    {0x4, Plain(unsharpFilter), nullptr,
     "UnsharpFilter(origpixels as PictureZOR, Amount as double, Threshold as integer) as boolean"},
    {0x4, Plain(AlphaChannel), nullptr, "AlphaChannel as PictureZOR"},
    {0x4, Plain(RedChannel), nullptr, "RedChannel as PictureZOR"},
    {0x4, Plain(GreenChannel), nullptr, "GreenChannel as PictureZOR"},
    {0x4, Plain(BlueChannel), nullptr, "BlueChannel as PictureZOR"},
    {0x4, Plain(GrayChannel), nullptr, "GrayChannel as PictureZOR"},
    {0x4, Plain(RGBChannel), nullptr, "RGBChannels as PictureZOR"},
    {0x4, Plain(CMYKChannel), nullptr, "CMYKChannels as PictureZOR"},
    {0x4, Plain(CyanChannel), nullptr, "CyanChannel as PictureZOR"},
    {0x4, Plain(MagentaChannel), nullptr, "MagentaChannel as PictureZOR"},
    {0x4, Plain(YellowChannel), nullptr, "YellowChannel as PictureZOR"},
    {0x4, Plain(BlackChannel), nullptr, "BlackChannel as PictureZOR"},
    {0x4, Plain(Channel), nullptr, "Channel(index as integer) as PictureZOR"},
    {0x4, Plain(GetMirroredView), nullptr, "MirroredView as PictureZOR"},
    {0x4, Plain(ImageDestructor), nullptr, "Close"},
    {0x4, Plain(HMirrorSelf), nullptr, "HMirror"},
    {0x4, Plain(VMirrorSelf), nullptr, "VMirror"},
    {0x4, Plain(Rotate180Self), nullptr, "Rotate180"},
    {0x4, Plain(Invert1), nullptr, "Invert"},
    {0x4, Plain(Invert5), nullptr, "Invert(x as integer, y as integer, w as integer, h as integer)"},
    {0x4, Plain(AutoLevel1), nullptr, "AutoLevel as boolean"},
    {0x4, Plain(AutoLevel5), nullptr, "AutoLevel(x as integer, y as integer, w as integer, h as integer) as boolean"},
    {0x40000, Plain(rbCopyPictureWithMask), nullptr,
     "CopyPictureWithMask(x as integer, y as integer, w as integer, h as integer) as picture"},
    {0x40000, Plain(rbCopyPictureWithMaskAll), nullptr, "CopyPictureWithMask as picture"},
    {0x40000, Plain(rbCopyPicture), nullptr,
     "CopyPicture(x as integer, y as integer, w as integer, h as integer) as picture"},
    {0x40000, Plain(rbCopyPictureAll), nullptr, "CopyPicture as picture"},
    {0x40000, Plain(rbCopyMask), nullptr,
     "CopyMask(x as integer, y as integer, w as integer, h as integer) as picture"},
    {0x40000, Plain(rbCopyMaskAll), nullptr, "CopyMask as picture"},
    {0x4, Plain(rbGetRow), nullptr, "RawRow(index as integer) as memoryblock"},
    {0x4, Plain(rbGetRowCopy), Plain(rbSetRow), "Row(index as integer) as memoryblock"},
    {0x4, Plain(rbGetRowF), Plain(rbSetRowF), "RowInFormat(index as integer, ImageFormat as integer) as memoryblock"},
    {0x4, Plain(rbGetRowFI), Plain(rbSetRowFI),
     "RowInFormat(index as integer, ImageFormat as integer, InvertAlpha as boolean) as memoryblock"},
    {0x4, Plain(rbGetRowFS), Plain(rbSetRowFS),
     "RowStringInFormat(index as integer, ImageFormat as integer) as string"},
    {0x4, Plain(rbGetAllFS), Plain(rbSetAllFS), "DataStringInFormat(ImageFormat as integer) as string"},
    {0x4, Plain(Clone), nullptr, "Clone as PictureZOR"},
    {0x4, Plain(ClearRect1), nullptr, "ClearRect"},
    {0x4, Plain(ClearRect5), nullptr, "ClearRect(x as integer, y as integer, width as integer, height as integer)"},
    {0x4, Plain(CompareImages), nullptr, "CompareImages(other as PictureZOR) as Int64"},
    {0x4, Plain(FillRect1), nullptr, "FillRect(value as integer)"},
    {0x4, Plain(FillRect5), nullptr,
     "FillRect(x as integer, y as integer, width as integer, height as integer, value as integer)"},
    {0x4, Plain(FillRectRandom1), nullptr, "FillRectRandom"},
    {0x4, Plain(FillRectRandom5), nullptr,
     "FillRectRandom(x as integer, y as integer, width as integer, height as integer)"},
    {0x4, Plain(FillRectRGB1), nullptr, "FillRectRGB(red as integer, green as integer, blue as integer)"},
    {0x4, Plain(FillRectRGBA1), nullptr,
     "FillRectRGB(red as integer, green as integer, blue as integer, alpha as integer)"},
    {0x4, Plain(FillRectRGB5), nullptr,
     "FillRectRGB(x as integer, y as integer, width as integer, height as integer, red as integer, green as integer, "
     "blue as integer)"},
    {0x4, Plain(FillRectRGBA5), nullptr,
     "FillRectRGB(x as integer, y as integer, width as integer, height as integer, red as integer, green as integer, "
     "blue as integer, alpha as integer)"},
    {0x4, Plain(FillRectRGBc1), nullptr, "FillRectRGB(FillColor as color)"},
    {0x4, Plain(FillRectRGBcA1), nullptr, "FillRectRGB(FillColor as color, alpha as integer)"},
    {0x4, Plain(FillRectRGBc5), nullptr,
     "FillRectRGB(x as integer, y as integer, width as integer, height as integer, FillColor as color)"},
    {0x4, Plain(FillRectRGBcA5), nullptr,
     "FillRectRGB(x as integer, y as integer, width as integer, height as integer, FillColor as color, alpha as "
     "integer)"},
    {0x4, Plain(FillRectApplyRGBA1), nullptr,
     "FillRectApply(red as integer, green as integer, blue as integer, alpha as integer)"},
    {0x4, Plain(FillRectApplyRGBA5), nullptr,
     "FillRectApply(x as integer, y as integer, width as integer, height as integer, red as integer, green as integer, "
     "blue as integer, alpha as integer)"},
    {0x4, Plain(FillRectApplyRGBcA1), nullptr, "FillRectApply(FillColor as color, alpha as integer)"},
    {0x4, Plain(FillRectApplyRGBcA5), nullptr,
     "FillRectApply(x as integer, y as integer, width as integer, height as integer, FillColor as color, alpha as "
     "integer)"},
    {0x40000, Plain(rbDrawPictureRedToGrayChannel6), nullptr,
     "DrawPictureRedToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight "
     "as integer)"},
    {0x40000, Plain(rbDrawPictureRedToGrayChannel8), nullptr,
     "DrawPictureRedToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight "
     "as integer, SourceX as integer, SourceY as integer)"},
    {0x40000, Plain(rbDrawPictureGreenToGrayChannel6), nullptr,
     "DrawPictureGreenToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
     "DestHeight as integer)"},
    {0x40000, Plain(rbDrawPictureGreenToGrayChannel8), nullptr,
     "DrawPictureGreenToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
     "DestHeight as integer, SourceX as integer, SourceY as integer)"},
    {0x40000, Plain(rbDrawPictureBlueToGrayChannel6), nullptr,
     "DrawPictureBlueToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
     "DestHeight as integer)"},
    {0x40000, Plain(rbDrawPictureBlueToGrayChannel8), nullptr,
     "DrawPictureBlueToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
     "DestHeight as integer, SourceX as integer, SourceY as integer)"},
    {0x40000, Plain(rbDrawPictureRGB2), nullptr, "DrawPictureRGB(pic as picture)"},
    {0x40000, Plain(rbDrawPictureRGB4), nullptr, "DrawPictureRGB(pic as picture, DestX as integer, DestY as integer)"},
    {0x40000, Plain(rbDrawPictureRGB6), nullptr,
     "DrawPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer)"},
    {0x40000, Plain(rbDrawPictureRGB8), nullptr,
     "DrawPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer, "
     "SourceX as integer, SourceY as integer)"},
    {0x40000, Plain(rbDrawMaskedPictureRGB2), nullptr,
     "DrawMaskedPictureRGB(pic as picture, InvertMask as boolean=False)"},
    {0x40000, Plain(rbDrawMaskedPictureRGB4), nullptr,
     "DrawMaskedPictureRGB(pic as picture, DestX as integer, DestY as integer, InvertMask as boolean=False)"},
    {0x40000, Plain(rbDrawMaskedPictureRGB6), nullptr,
     "DrawMaskedPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as "
     "integer, InvertMask as boolean=False)"},
    {0x40000, Plain(rbDrawMaskedPictureRGB8), nullptr,
     "DrawMaskedPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as "
     "integer, SourceX as integer, SourceY as integer, InvertMask as boolean=False)"},
    {0x40000, Plain(rbDrawPictureApplyMaskRGB2), nullptr,
     "DrawMaskedPictureApplyMaskRGB(pic as picture, InvertMask as boolean=False)"},
    {0x40000, Plain(rbDrawPictureApplyMaskRGB4), nullptr,
     "DrawMaskedPictureApplyMaskRGB(pic as picture, DestX as integer, DestY as integer, InvertMask as boolean=False)"},
    {0x40000, Plain(rbDrawPictureApplyMaskRGB6), nullptr,
     "DrawMaskedPictureApplyMaskRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
     "DestHeight as integer, InvertMask as boolean=False)"},
    {0x40000, Plain(rbDrawPictureApplyMaskRGB8), nullptr,
     "DrawMaskedPictureApplyMaskRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
     "DestHeight as integer, SourceX as integer, SourceY as integer, InvertMask as boolean=False)"},
    {0x4, Plain(rbCopyPixels2), nullptr, "CopyPixels(source as PictureZOR) as boolean"},
    {0x4, Plain(rbCopyPixels6), nullptr,
     "CopyPixels(source as PictureZOR, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as "
     "integer) as boolean"},
    {0x4, Plain(rbCopyPixels8), nullptr,
     "CopyPixels(source as PictureZOR, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as "
     "integer, SourceX as integer, SourceY as integer) as boolean"},
    {0x4, Plain(ClipImage1), nullptr, "ClipImage as PictureZOR"},
    {0x4, Plain(ClipImage5), nullptr,
     "ClipImage(x as integer, y as integer, width as integer, height as integer) as PictureZOR"},
    {0x4, Plain(Rotate90), nullptr, "Rotate90slow(dest as PictureZOR=nil) as PictureZOR"},
    {0x4, Plain(Rotate180), nullptr, "Rotate180(dest as PictureZOR=nil) as PictureZOR"},
    {0x4, Plain(Rotate270), nullptr, "Rotate270slow(dest as PictureZOR=nil) as PictureZOR"},
    {0x4, Plain(rbRotate), nullptr,
     "Rotate(angle as double, Red as integer = 0, Green as integer = 0, Blue as integer = 0, Alpha as integer = 0, "
     "Gray as integer = 0, Cyan as integer = 0, Magenta as integer = 0, Yellow as integer = 0, Black as integer = 0) "
     "as PictureZOR"},
    {0x4, Plain(Rotate90fast), nullptr, "Rotate90(dest as PictureZOR=nil) as PictureZOR"},
    {0x4, Plain(Rotate270fast), nullptr, "Rotate270(dest as PictureZOR=nil) as PictureZOR"},
    {0x4, Plain(PictureMatrix3), nullptr,
     "ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, matrix() as integer) as PictureZOR"},
    {0x4, Plain(PictureMatrix4), nullptr,
     "ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, matrix() as integer, delta as integer) as "
     "PictureZOR"},
    {0x4, Plain(PictureMatrix5), nullptr,
     "ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, matrix() as integer, delta as integer, ScaleFactor "
     "as double) as PictureZOR"},
    {0x4, Plain(CopyGWorld), nullptr, "CopyGWorld as variant"},
};

TEST_F(ClassTables, ListTheMethodsInOrder) {
    ASSERT_EQ(ImageClass.methodCount, 124);
    ASSERT_EQ(std::size(kMethods), 124u);
    for (std::size_t i = 0; i < std::size(kMethods); ++i) {
        const MethodRow& expected = kMethods[i];
        const REALmethodDefinition& row = ImageClass.methods[i];
        SCOPED_TRACE(std::to_string(i + 1) + ": " + expected.declaration);
        EXPECT_STREQ(row.declaration, expected.declaration);
        EXPECT_EQ(row.flags, OnANewHost(expected.flags));
        EXPECT_EQ(row.function, expected.function);
        EXPECT_EQ(row.setterFunction, expected.setter);
    }
}

TEST_F(ClassTables, DeclareEveryMethodOnce) {
    std::set<std::string> declarations;
    for (const MethodRow& row : kMethods) EXPECT_TRUE(declarations.insert(row.declaration).second) << row.declaration;
}

}  // namespace
