// Everything an application can call is a row of one of these tables.

#include "host/ClassTables.h"

#include <iterator>

#include "core/Construction.h"
#include "core/Factory.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "core/Views.h"
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
// Known to the language, with nothing behind it to read yet.
REALproperty Unread(const char* name, const char* type, REALword flags) {
    return {nullptr, name, type, flags, 0, 0, 0, {0, 0, 0}};
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
    Unread("DebugPicture", "Picture", kPicture),
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
    {Function(CreatePictureLocal), nullptr,
     "CreatePictureZOR(width as integer, height as integer, ImageFormat as integer) as PictureZOR", kREALConsoleSafe},
    {Function(ScalePictureFast), nullptr,
     "ScaleFast(source as PictureZOR, width as integer, height as integer) as boolean", kREALConsoleSafe},
    {Function(PictureScaleZOR), nullptr,
     "Scale(source as PictureZOR, temp as PictureZOR, mode as integer, width as integer, height as integer) as boolean",
     kREALConsoleSafe},
    {Function(PictureScaleZORMT), nullptr,
     "ScaleMT(threads as integer, source as PictureZOR, temp as PictureZOR, mode as integer, width as integer, height "
     "as "
     "integer) as boolean",
     kREALConsoleSafe},
    {Function(ImageConstructorFile), nullptr,
     "Constructor(width as integer, height as integer, ImageFormat as integer, BlockSize as integer, FilePath as "
     "folderitem)",
     kREALConsoleSafe},
    {Function(ImageConstructor), nullptr, "Constructor(width as integer, height as integer, ImageFormat as integer)",
     kREALConsoleSafe},
    {Function(ImageConstructorMemory), nullptr,
     "Constructor(Buf as MemoryBlock, width as integer, height as integer, ImageFormat as integer, RowSize as integer)",
     kREALConsoleSafe},
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
    {Function(ImageDestructor), nullptr, "Close", kREALConsoleSafe},
    {Function(Clone), nullptr, "Clone as PictureZOR", kREALConsoleSafe},
    {Function(ClipImage1), nullptr, "ClipImage as PictureZOR", kREALConsoleSafe},
    {Function(ClipImage5), nullptr,
     "ClipImage(x as integer, y as integer, width as integer, height as integer) as PictureZOR", kREALConsoleSafe},
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
