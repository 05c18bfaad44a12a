// The tables that an application sees: every row by name, type, access, flags and order.

#include "host/ClassTables.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string>

#include "core/Construction.h"
#include "core/Factory.h"
#include "core/Formats.h"
#include "core/PictureImages.h"
#include "core/RowAccess.h"
#include "core/Views.h"
#include "exchange/GWorldExport.h"
#include "exchange/PictureExport.h"
#include "support/FakeHost.h"

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
// clang-format off
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
    {"DebugPictureEnabled", "Boolean", 0x40002, Access::field, Access::field, offsetof(ImageClassData, DebugPictureEnabled)},
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
// clang-format on
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

// Rows of one family stand between two places of the table, counted from 1.
struct MethodRow {
    int first, last;
    REALword flags;
    bool hasSetter;
    const char* declaration;
};

// clang-format off
const MethodRow kMethods[] = {
    {1, 10, 0, false, "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As Integer, MaskColour As Integer) as boolean"},
    {1, 10, 0, false, "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As color, MaskColour As color) as boolean"},
    {1, 10, 0, false, "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As Integer) as boolean"},
    {1, 10, 0, false, "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As color) as boolean"},
    {1, 10, 0, false, "Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean) as boolean"},
    {1, 10, 0, false, "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As Integer, MaskColour As Integer) as boolean"},
    {1, 10, 0, false, "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As color, MaskColour As color) as boolean"},
    {1, 10, 0, false, "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As Integer) as boolean"},
    {1, 10, 0, false, "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As color) as boolean"},
    {1, 10, 0, false, "Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, DestX As Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean) as boolean"},
    {11, 11, 0x4, false, "CreatePictureZOR(width as integer, height as integer, ImageFormat as integer) as PictureZOR"},
    {12, 12, 0x4, false, "ScaleFast(source as PictureZOR, width as integer, height as integer) as boolean"},
    {13, 13, 0x4, false, "Scale(source as PictureZOR, temp as PictureZOR, mode as integer, width as integer, height as integer) as boolean"},
    {14, 14, 0x4, false, "ScaleMT(threads as integer, source as PictureZOR, temp as PictureZOR, mode as integer, width as integer, height as integer) as boolean"},
    {15, 18, 0x4, false, "Constructor(width as integer, height as integer, ImageFormat as integer, BlockSize as integer, FilePath as folderitem)"},
    {15, 18, 0x4, false, "Constructor(width as integer, height as integer, ImageFormat as integer)"},
    {15, 18, 0x4, false, "Constructor(Buf as MemoryBlock, width as integer, height as integer, ImageFormat as integer, RowSize as integer)"},
    {15, 18, 0x40000, false, "Constructor(pic as picture, UseAlpha as boolean=false)"},
    {19, 19, 0x4, false, "OilFilter(dest as PictureZOR, levels as integer, range as integer) as PictureZOR"},
    {20, 20, 0x4, false, "DiffuseFilter(dest as PictureZOR, level as integer) as PictureZOR"},
    {21, 21, 0x4, false, "EngraveFilter(dest as PictureZOR, level as integer) as PictureZOR"},
    {22, 22, 0x4, false, "NeonFilter(dest as PictureZOR) as PictureZOR"},
    {23, 24, 0x4, false, "BoxBlurFilter(dest as PictureZOR, Radius as double, Vertical as boolean = true, Horizontal as boolean = true) as PictureZOR"},
    {23, 24, 0x4, false, "BoxBlurFilter(dest as PictureZOR, Radius as double, Iterations as integer, Vertical as boolean = true, Horizontal as boolean = true) as PictureZOR"},
    {25, 25, 0x4, false, "BoxBlurFractionalFilter(dest as PictureZOR, Radius as double) as PictureZOR"},
    {26, 26, 0x4, false, "SolarizeFilter(dest as PictureZOR) as PictureZOR"},
    {27, 30, 0x4, false, "GammaFilter(dest as PictureZOR, gamma as double) as PictureZOR"},
    {27, 30, 0x4, false, "GammaFilter(dest as PictureZOR, gamma as double, alphaGamma as double) as PictureZOR"},
    {27, 30, 0x4, false, "GammaFilter(dest as PictureZOR, redGamma as double, greenGamma as double, blueGamma as double) as PictureZOR"},
    {27, 30, 0x4, false, "GammaFilter(dest as PictureZOR, redGamma as double, greenGamma as double, blueGamma as double, alphaGamma as double) as PictureZOR"},
    {31, 31, 0x4, false, "DitherFilter(dest as PictureZOR, matrix as integer, levels as integer) as PictureZOR"},
    {32, 32, 0x4, false, "GainFilter(dest as PictureZOR, gain as double, bias as double) as PictureZOR"},
    {33, 33, 0x4, false, "StampFilter(dest as PictureZOR, radius as double, threshold as double, softness as double, Black as Color, White as Color) as PictureZOR"},
    {34, 37, 0x4, false, "TransferFilter(dest as PictureZOR, gray() as integer) as PictureZOR"},
    {34, 37, 0x4, false, "TransferFilter(dest as PictureZOR, gray() as integer, alpha() as integer) as PictureZOR"},
    {34, 37, 0x4, false, "TransferFilter(dest as PictureZOR, red() as integer, green() as integer, blue() as integer) as PictureZOR"},
    {34, 37, 0x4, false, "TransferFilter(dest as PictureZOR, red() as integer, green() as integer, blue() as integer, alpha() as integer) as PictureZOR"},
    {38, 38, 0x4, false, "UnsharpFilter(origpixels as PictureZOR, Amount as double, Threshold as integer) as boolean"},
    {39, 39, 0x4, false, "AlphaChannel as PictureZOR"},
    {40, 40, 0x4, false, "RedChannel as PictureZOR"},
    {41, 41, 0x4, false, "GreenChannel as PictureZOR"},
    {42, 42, 0x4, false, "BlueChannel as PictureZOR"},
    {43, 43, 0x4, false, "GrayChannel as PictureZOR"},
    {44, 44, 0x4, false, "RGBChannels as PictureZOR"},
    {45, 45, 0x4, false, "CMYKChannels as PictureZOR"},
    {46, 46, 0x4, false, "CyanChannel as PictureZOR"},
    {47, 47, 0x4, false, "MagentaChannel as PictureZOR"},
    {48, 48, 0x4, false, "YellowChannel as PictureZOR"},
    {49, 49, 0x4, false, "BlackChannel as PictureZOR"},
    {50, 50, 0x4, false, "Channel(index as integer) as PictureZOR"},
    {51, 51, 0x4, false, "MirroredView as PictureZOR"},
    {52, 52, 0x4, false, "Close"},
    {53, 53, 0x4, false, "HMirror"},
    {54, 54, 0x4, false, "VMirror"},
    {55, 55, 0x4, false, "Rotate180"},
    {56, 57, 0x4, false, "Invert"},
    {56, 57, 0x4, false, "Invert(x as integer, y as integer, w as integer, h as integer)"},
    {58, 59, 0x4, false, "AutoLevel as boolean"},
    {58, 59, 0x4, false, "AutoLevel(x as integer, y as integer, w as integer, h as integer) as boolean"},
    {60, 61, 0x40000, false, "CopyPictureWithMask(x as integer, y as integer, w as integer, h as integer) as picture"},
    {60, 61, 0x40000, false, "CopyPictureWithMask as picture"},
    {62, 63, 0x40000, false, "CopyPicture(x as integer, y as integer, w as integer, h as integer) as picture"},
    {62, 63, 0x40000, false, "CopyPicture as picture"},
    {64, 65, 0x40000, false, "CopyMask(x as integer, y as integer, w as integer, h as integer) as picture"},
    {64, 65, 0x40000, false, "CopyMask as picture"},
    {66, 66, 0x4, false, "RawRow(index as integer) as memoryblock"},
    {67, 67, 0x4, true, "Row(index as integer) as memoryblock"},
    {68, 69, 0x4, true, "RowInFormat(index as integer, ImageFormat as integer) as memoryblock"},
    {68, 69, 0x4, true, "RowInFormat(index as integer, ImageFormat as integer, InvertAlpha as boolean) as memoryblock"},
    {70, 70, 0x4, true, "RowStringInFormat(index as integer, ImageFormat as integer) as string"},
    {71, 71, 0x4, true, "DataStringInFormat(ImageFormat as integer) as string"},
    {72, 72, 0x4, false, "Clone as PictureZOR"},
    {73, 91, 0x4, false, "ClearRect"},
    {73, 91, 0x4, false, "ClearRect(x as integer, y as integer, width as integer, height as integer)"},
    {73, 91, 0x4, false, "CompareImages(other as PictureZOR) as Int64"},
    {73, 91, 0x4, false, "FillRect(value as integer)"},
    {73, 91, 0x4, false, "FillRect(x as integer, y as integer, width as integer, height as integer, value as integer)"},
    {73, 91, 0x4, false, "FillRectRandom"},
    {73, 91, 0x4, false, "FillRectRandom(x as integer, y as integer, width as integer, height as integer)"},
    {73, 91, 0x4, false, "FillRectRGB(red as integer, green as integer, blue as integer)"},
    {73, 91, 0x4, false, "FillRectRGB(red as integer, green as integer, blue as integer, alpha as integer)"},
    {73, 91, 0x4, false, "FillRectRGB(x as integer, y as integer, width as integer, height as integer, red as integer, green as integer, blue as integer)"},
    {73, 91, 0x4, false, "FillRectRGB(x as integer, y as integer, width as integer, height as integer, red as integer, green as integer, blue as integer, alpha as integer)"},
    {73, 91, 0x4, false, "FillRectRGB(FillColor as color)"},
    {73, 91, 0x4, false, "FillRectRGB(FillColor as color, alpha as integer)"},
    {73, 91, 0x4, false, "FillRectRGB(x as integer, y as integer, width as integer, height as integer, FillColor as color)"},
    {73, 91, 0x4, false, "FillRectRGB(x as integer, y as integer, width as integer, height as integer, FillColor as color, alpha as integer)"},
    {73, 91, 0x4, false, "FillRectApply(red as integer, green as integer, blue as integer, alpha as integer)"},
    {73, 91, 0x4, false, "FillRectApply(x as integer, y as integer, width as integer, height as integer, red as integer, green as integer, blue as integer, alpha as integer)"},
    {73, 91, 0x4, false, "FillRectApply(FillColor as color, alpha as integer)"},
    {73, 91, 0x4, false, "FillRectApply(x as integer, y as integer, width as integer, height as integer, FillColor as color, alpha as integer)"},
    {92, 109, 0x40000, false, "DrawPictureRGB(pic as picture)"},
    {92, 109, 0x40000, false, "DrawPictureRGB(pic as picture, DestX as integer, DestY as integer)"},
    {92, 109, 0x40000, false, "DrawPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer)"},
    {92, 109, 0x40000, false, "DrawPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer, SourceX as integer, SourceY as integer)"},
    {92, 109, 0x40000, false, "DrawPictureRedToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer)"},
    {92, 109, 0x40000, false, "DrawPictureRedToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer, SourceX as integer, SourceY as integer)"},
    {92, 109, 0x40000, false, "DrawPictureGreenToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer)"},
    {92, 109, 0x40000, false, "DrawPictureGreenToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer, SourceX as integer, SourceY as integer)"},
    {92, 109, 0x40000, false, "DrawPictureBlueToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer)"},
    {92, 109, 0x40000, false, "DrawPictureBlueToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer, SourceX as integer, SourceY as integer)"},
    {92, 109, 0x40000, false, "DrawMaskedPictureRGB(pic as picture, InvertMask as boolean=False)"},
    {92, 109, 0x40000, false, "DrawMaskedPictureRGB(pic as picture, DestX as integer, DestY as integer, InvertMask as boolean=False)"},
    {92, 109, 0x40000, false, "DrawMaskedPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer, InvertMask as boolean=False)"},
    {92, 109, 0x40000, false, "DrawMaskedPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer, SourceX as integer, SourceY as integer, InvertMask as boolean=False)"},
    {92, 109, 0x40000, false, "DrawMaskedPictureApplyMaskRGB(pic as picture, InvertMask as boolean=False)"},
    {92, 109, 0x40000, false, "DrawMaskedPictureApplyMaskRGB(pic as picture, DestX as integer, DestY as integer, InvertMask as boolean=False)"},
    {92, 109, 0x40000, false, "DrawMaskedPictureApplyMaskRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer, InvertMask as boolean=False)"},
    {92, 109, 0x40000, false, "DrawMaskedPictureApplyMaskRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer, SourceX as integer, SourceY as integer, InvertMask as boolean=False)"},
    {110, 112, 0x4, false, "CopyPixels(source as PictureZOR) as boolean"},
    {110, 112, 0x4, false, "CopyPixels(source as PictureZOR, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer) as boolean"},
    {110, 112, 0x4, false, "CopyPixels(source as PictureZOR, DestX as integer, DestY as integer, DestWidth as integer, DestHeight as integer, SourceX as integer, SourceY as integer) as boolean"},
    {113, 114, 0x4, false, "ClipImage as PictureZOR"},
    {113, 114, 0x4, false, "ClipImage(x as integer, y as integer, width as integer, height as integer) as PictureZOR"},
    {115, 115, 0x4, false, "Rotate90slow(dest as PictureZOR=nil) as PictureZOR"},
    {116, 116, 0x4, false, "Rotate180(dest as PictureZOR=nil) as PictureZOR"},
    {117, 117, 0x4, false, "Rotate270slow(dest as PictureZOR=nil) as PictureZOR"},
    {118, 118, 0x4, false, "Rotate(angle as double, Red as integer = 0, Green as integer = 0, Blue as integer = 0, Alpha as integer = 0, Gray as integer = 0, Cyan as integer = 0, Magenta as integer = 0, Yellow as integer = 0, Black as integer = 0) as PictureZOR"},
    {119, 119, 0x4, false, "Rotate90(dest as PictureZOR=nil) as PictureZOR"},
    {120, 120, 0x4, false, "Rotate270(dest as PictureZOR=nil) as PictureZOR"},
    {121, 123, 0x4, false, "ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, matrix() as integer) as PictureZOR"},
    {121, 123, 0x4, false, "ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, matrix() as integer, delta as integer) as PictureZOR"},
    {121, 123, 0x4, false, "ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, matrix() as integer, delta as integer, ScaleFactor as double) as PictureZOR"},
    {124, 124, 0x4, false, "CopyGWorld as variant"},
};
// clang-format on

const MethodRow* FindMethod(const std::string& declaration) {
    for (const MethodRow& row : kMethods) {
        if (declaration == row.declaration) return &row;
    }
    return nullptr;
}

TEST_F(ClassTables, DeclareMethodsWordForWord) {
    std::set<std::string> seen;
    for (REALword i = 0; i < ImageClass.methodCount; ++i) {
        const REALmethodDefinition& row = ImageClass.methods[i];
        SCOPED_TRACE(row.declaration);
        const MethodRow* const expected = FindMethod(row.declaration);
        ASSERT_TRUE(expected) << "no such method";
        EXPECT_TRUE(seen.insert(row.declaration).second) << "stands twice";
        EXPECT_EQ(row.flags, OnANewHost(expected->flags));
        EXPECT_EQ(row.setterFunction != nullptr, expected->hasSetter);
        EXPECT_NE(row.function, nullptr);
    }
    EXPECT_EQ(seen.size(), std::size(kMethods));
}

TEST_F(ClassTables, ListMethodsInTheOrderOfTheirFamilies) {
    ASSERT_EQ(ImageClass.methodCount, 124);
    for (int row = 1; row <= 124; ++row) {
        const char* const declaration = ImageClass.methods[row - 1].declaration;
        const MethodRow* const expected = FindMethod(declaration);
        ASSERT_TRUE(expected) << declaration;
        EXPECT_LE(expected->first, row) << declaration;
        EXPECT_GE(expected->last, row) << declaration;
    }
}

TEST_F(ClassTables, KnowEveryMethodOnce) {
    // The list above is itself held to the number of rows of the class.
    std::set<std::string> declarations;
    int row = 1;
    for (const MethodRow& method : kMethods) {
        declarations.insert(method.declaration);
        EXPECT_LE(method.first, row);
        EXPECT_GE(method.last, row) << method.declaration;
        ++row;
    }
    EXPECT_EQ(std::size(kMethods), 124u);
    EXPECT_EQ(declarations.size(), 124u);
}

TEST_F(ClassTables, BindTheFunctionsOfTheExport) {
    const std::string rect = "(x as integer, y as integer, w as integer, h as integer) as picture";
    const std::pair<std::string, REALfunction> functions[] = {
        {"CopyPictureWithMask" + rect, Plain(rbCopyPictureWithMask)},
        {"CopyPictureWithMask as picture", Plain(rbCopyPictureWithMaskAll)},
        {"CopyPicture" + rect, Plain(rbCopyPicture)},
        {"CopyPicture as picture", Plain(rbCopyPictureAll)},
        {"CopyMask" + rect, Plain(rbCopyMask)},
        {"CopyMask as picture", Plain(rbCopyMaskAll)},
        {"CopyGWorld as variant", Plain(CopyGWorld)},
    };
    for (const auto& [declaration, function] : functions) {
        int found = 0;
        for (REALword i = 0; i < ImageClass.methodCount; ++i) {
            if (ImageClass.methods[i].declaration != declaration) continue;
            ++found;
            EXPECT_EQ(ImageClass.methods[i].function, function) << declaration;
        }
        EXPECT_EQ(found, 1) << declaration;
    }
}

TEST_F(ClassTables, BindTheFunctionsOfTheCore) {
    const std::pair<const char*, REALfunction> functions[] = {
        {"CreatePictureZOR(width as integer, height as integer, ImageFormat as integer) as PictureZOR",
         Plain(CreatePictureLocal)},
        {"Constructor(width as integer, height as integer, ImageFormat as integer, BlockSize as integer, FilePath as "
         "folderitem)",
         Plain(ImageConstructorFile)},
        {"Constructor(width as integer, height as integer, ImageFormat as integer)", Plain(ImageConstructor)},
        {"Constructor(Buf as MemoryBlock, width as integer, height as integer, ImageFormat as integer, RowSize as "
         "integer)",
         Plain(ImageConstructorMemory)},
        {"Constructor(pic as picture, UseAlpha as boolean=false)", Plain(ImageConstructorPicture)},
        {"AlphaChannel as PictureZOR", Plain(AlphaChannel)},
        {"RedChannel as PictureZOR", Plain(RedChannel)},
        {"GreenChannel as PictureZOR", Plain(GreenChannel)},
        {"BlueChannel as PictureZOR", Plain(BlueChannel)},
        {"GrayChannel as PictureZOR", Plain(GrayChannel)},
        {"CyanChannel as PictureZOR", Plain(CyanChannel)},
        {"MagentaChannel as PictureZOR", Plain(MagentaChannel)},
        {"YellowChannel as PictureZOR", Plain(YellowChannel)},
        {"BlackChannel as PictureZOR", Plain(BlackChannel)},
        {"RGBChannels as PictureZOR", Plain(RGBChannel)},
        {"CMYKChannels as PictureZOR", Plain(CMYKChannel)},
        {"Channel(index as integer) as PictureZOR", Plain(Channel)},
        {"MirroredView as PictureZOR", Plain(GetMirroredView)},
        {"Close", Plain(ImageDestructor)},
        {"Clone as PictureZOR", Plain(Clone)},
        {"ClipImage as PictureZOR", Plain(ClipImage1)},
        {"ClipImage(x as integer, y as integer, width as integer, height as integer) as PictureZOR", Plain(ClipImage5)},
    };
    for (const auto& [declaration, function] : functions) {
        int found = 0;
        for (REALword i = 0; i < ImageClass.methodCount; ++i) {
            if (std::string(ImageClass.methods[i].declaration) != declaration) continue;
            ++found;
            EXPECT_EQ(ImageClass.methods[i].function, function) << declaration;
        }
        EXPECT_EQ(found, 1) << declaration;
    }
}

}  // namespace
