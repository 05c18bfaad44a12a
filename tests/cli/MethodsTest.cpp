// Every method of images that makes or changes one can be had as an effect.

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <sstream>

#include "ZorTest.h"

namespace {

using Methods = ZorTest;

struct MethodRow {
    const char* declaration;
    const char* effect;  // that reaches it; null: none does
    const char* reason;  // why none does
};

constexpr const char* kNew = "new images come with the file that is read, and with the effects that need one";
constexpr const char* kView = "a view: changes nothing, and every channel and area is reached by itself";
constexpr const char* kRows = "rows and data as an application reads and writes them; the program has files for that";
constexpr const char* kTells = "tells a size, and changes nothing";

const std::vector<MethodRow>& Rows() {
    static const std::vector<MethodRow> rows = {
        {"Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, "
         "DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, "
         "Height As Integer, UseColours As Boolean, ForeColour As Integer, "
         "MaskColour As Integer) as boolean",
         "combine", nullptr},
        {"Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, "
         "DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, "
         "Height As Integer, UseColours As Boolean, ForeColour As color, "
         "MaskColour As color) as boolean",
         "combine", nullptr},
        {"Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, "
         "DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, "
         "Height As Integer, UseColours As Boolean, ForeColour As Integer) as boolean",
         "combine", nullptr},
        {"Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, "
         "DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, "
         "Height As Integer, UseColours As Boolean, ForeColour As color) as boolean",
         "combine", nullptr},
        {"Combine(Image As PictureZOR, Mask As PictureZOR, DestX As Integer, "
         "DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, "
         "Height As Integer, UseColours As Boolean) as boolean",
         "combine", nullptr},
        {"Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, "
         "DestX As Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, "
         "Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As Integer, "
         "MaskColour As Integer) as boolean",
         "combine", nullptr},
        {"Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, "
         "DestX As Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, "
         "Width As Integer, Height As Integer, UseColours As Boolean, ForeColour As color, "
         "MaskColour As color) as boolean",
         "combine", nullptr},
        {"Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, "
         "DestX As Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, "
         "Width As Integer, Height As Integer, UseColours As Boolean, "
         "ForeColour As Integer) as boolean",
         "combine", nullptr},
        {"Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, "
         "DestX As Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, "
         "Width As Integer, Height As Integer, UseColours As Boolean, "
         "ForeColour As color) as boolean",
         "combine", nullptr},
        {"Combine(Image As PictureZOR, PreMultipliedSource as boolean, Mask As PictureZOR, "
         "DestX As Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, "
         "Width As Integer, Height As Integer, UseColours As Boolean) as boolean",
         "combine", nullptr},
        {"CreatePictureZOR(width as integer, height as integer, "
         "ImageFormat as integer) as PictureZOR",
         nullptr, kNew},
        {"ScaleFast(source as PictureZOR, width as integer, height as integer) as boolean", "scalefast", nullptr},
        {"Scale(source as PictureZOR, temp as PictureZOR, mode as integer, width as integer, "
         "height as integer) as boolean",
         "scale", nullptr},
        {"ScaleMT(threads as integer, source as PictureZOR, temp as PictureZOR, "
         "mode as integer, width as integer, height as integer) as boolean",
         "scale", nullptr},
        {"Constructor(width as integer, height as integer, ImageFormat as integer, "
         "BlockSize as integer, FilePath as folderitem)",
         nullptr, kNew},
        {"Constructor(width as integer, height as integer, ImageFormat as integer)", nullptr, kNew},
        {"Constructor(Buf as MemoryBlock, width as integer, height as integer, "
         "ImageFormat as integer, RowSize as integer)",
         nullptr, kNew},
        {"OilFilter(dest as PictureZOR, levels as integer, range as integer) as PictureZOR", "oil", nullptr},
        {"DiffuseFilter(dest as PictureZOR, level as integer) as PictureZOR", "diffuse", nullptr},
        {"EngraveFilter(dest as PictureZOR, level as integer) as PictureZOR", "engrave", nullptr},
        {"NeonFilter(dest as PictureZOR) as PictureZOR", "neon", nullptr},
        {"BoxBlurFilter(dest as PictureZOR, Radius as double, Vertical as boolean = true, "
         "Horizontal as boolean = true) as PictureZOR",
         "blur", nullptr},
        {"BoxBlurFilter(dest as PictureZOR, Radius as double, Iterations as integer, "
         "Vertical as boolean = true, Horizontal as boolean = true) as PictureZOR",
         "blur", nullptr},
        {"BoxBlurFractionalFilter(dest as PictureZOR, Radius as double) as PictureZOR", "softblur", nullptr},
        {"SolarizeFilter(dest as PictureZOR) as PictureZOR", "solarize", nullptr},
        {"GammaFilter(dest as PictureZOR, gamma as double) as PictureZOR", "gamma", nullptr},
        {"GammaFilter(dest as PictureZOR, gamma as double, alphaGamma as double) as PictureZOR", "gamma", nullptr},
        {"GammaFilter(dest as PictureZOR, redGamma as double, greenGamma as double, "
         "blueGamma as double) as PictureZOR",
         "gamma", nullptr},
        {"GammaFilter(dest as PictureZOR, redGamma as double, greenGamma as double, "
         "blueGamma as double, alphaGamma as double) as PictureZOR",
         "gamma", nullptr},
        {"DitherFilter(dest as PictureZOR, matrix as integer, levels as integer) as PictureZOR", "dither", nullptr},
        {"GainFilter(dest as PictureZOR, gain as double, bias as double) as PictureZOR", "gain", nullptr},
        {"StampFilter(dest as PictureZOR, radius as double, threshold as double, "
         "softness as double, Black as Color, White as Color) as PictureZOR",
         "stamp", nullptr},
        {"TransferFilter(dest as PictureZOR, gray() as integer) as PictureZOR", "curve", nullptr},
        {"TransferFilter(dest as PictureZOR, gray() as integer, "
         "alpha() as integer) as PictureZOR",
         "curve", nullptr},
        {"TransferFilter(dest as PictureZOR, red() as integer, green() as integer, "
         "blue() as integer) as PictureZOR",
         "curve", nullptr},
        {"TransferFilter(dest as PictureZOR, red() as integer, green() as integer, "
         "blue() as integer, alpha() as integer) as PictureZOR",
         "curve", nullptr},
        {"UnsharpFilter(origpixels as PictureZOR, Amount as double, "
         "Threshold as integer) as boolean",
         "unsharp", nullptr},
        {"AlphaChannel as PictureZOR", "channel", nullptr},
        {"RedChannel as PictureZOR", "channel", nullptr},
        {"GreenChannel as PictureZOR", "channel", nullptr},
        {"BlueChannel as PictureZOR", "channel", nullptr},
        {"GrayChannel as PictureZOR", "channel", nullptr},
        {"RGBChannels as PictureZOR", "invert", nullptr},
        {"CMYKChannels as PictureZOR", nullptr, kView},
        {"CyanChannel as PictureZOR", "channel", nullptr},
        {"MagentaChannel as PictureZOR", "channel", nullptr},
        {"YellowChannel as PictureZOR", "channel", nullptr},
        {"BlackChannel as PictureZOR", "channel", nullptr},
        {"Channel(index as integer) as PictureZOR", nullptr, kView},
        {"MirroredView as PictureZOR", nullptr, kView},
        {"Close", nullptr, "effects let go of what they replace"},
        {"HMirror", "flip", nullptr},
        {"VMirror", "flip", nullptr},
        {"Rotate180", "rotate", nullptr},
        {"Invert", "invert", nullptr},
        {"Invert(x as integer, y as integer, w as integer, h as integer)", "invert", nullptr},
        {"AutoLevel as boolean", "autolevel", nullptr},
        {"AutoLevel(x as integer, y as integer, w as integer, h as integer) as boolean", "autolevel", nullptr},
        {"RawRow(index as integer) as memoryblock", nullptr, kRows},
        {"Row(index as integer) as memoryblock", nullptr, kRows},
        {"RowInFormat(index as integer, ImageFormat as integer) as memoryblock", nullptr, kRows},
        {"RowInFormat(index as integer, ImageFormat as integer, "
         "InvertAlpha as boolean) as memoryblock",
         nullptr, kRows},
        {"RowStringInFormat(index as integer, ImageFormat as integer) as string", nullptr, kRows},
        {"DataStringInFormat(ImageFormat as integer) as string", nullptr, kRows},
        {"Clone as PictureZOR", nullptr,
         "a file read twice is two images; effects never change what another image holds"},
        {"ClearRect", "clear", nullptr},
        {"ClearRect(x as integer, y as integer, width as integer, height as integer)", "clear", nullptr},
        {"CompareImages(other as PictureZOR) as Int64", nullptr,
         "changes nothing; the command compare looks at the pixels"},
        {"FillRect(value as integer)", "fill", nullptr},
        {"FillRect(x as integer, y as integer, width as integer, height as integer, "
         "value as integer)",
         "fill", nullptr},
        {"FillRectRandom", "random", nullptr},
        {"FillRectRandom(x as integer, y as integer, width as integer, height as integer)", "random", nullptr},
        {"FillRectRGB(red as integer, green as integer, blue as integer)", "fill", nullptr},
        {"FillRectRGB(red as integer, green as integer, blue as integer, alpha as integer)", "fill", nullptr},
        {"FillRectRGB(x as integer, y as integer, width as integer, height as integer, "
         "red as integer, green as integer, blue as integer)",
         "fill", nullptr},
        {"FillRectRGB(x as integer, y as integer, width as integer, height as integer, "
         "red as integer, green as integer, blue as integer, alpha as integer)",
         "fill", nullptr},
        {"FillRectRGB(FillColor as color)", "fill", nullptr},
        {"FillRectRGB(FillColor as color, alpha as integer)", "fill", nullptr},
        {"FillRectRGB(x as integer, y as integer, width as integer, height as integer, "
         "FillColor as color)",
         "fill", nullptr},
        {"FillRectRGB(x as integer, y as integer, width as integer, height as integer, "
         "FillColor as color, alpha as integer)",
         "fill", nullptr},
        {"FillRectApply(red as integer, green as integer, blue as integer, alpha as integer)", "tint", nullptr},
        {"FillRectApply(x as integer, y as integer, width as integer, height as integer, "
         "red as integer, green as integer, blue as integer, alpha as integer)",
         "tint", nullptr},
        {"FillRectApply(FillColor as color, alpha as integer)", "tint", nullptr},
        {"FillRectApply(x as integer, y as integer, width as integer, height as integer, "
         "FillColor as color, alpha as integer)",
         "tint", nullptr},
        {"CopyPixels(source as PictureZOR) as boolean", "paste", nullptr},
        {"CopyPixels(source as PictureZOR, DestX as integer, DestY as integer, "
         "DestWidth as integer, DestHeight as integer) as boolean",
         "paste", nullptr},
        {"CopyPixels(source as PictureZOR, DestX as integer, DestY as integer, "
         "DestWidth as integer, DestHeight as integer, SourceX as integer, "
         "SourceY as integer) as boolean",
         "paste", nullptr},
        {"ClipImage as PictureZOR", nullptr, kView},
        {"ClipImage(x as integer, y as integer, width as integer, "
         "height as integer) as PictureZOR",
         nullptr, kView},
        {"Rotate90slow(dest as PictureZOR=nil) as PictureZOR", "rotate", nullptr},
        {"Rotate180(dest as PictureZOR=nil) as PictureZOR", "rotate", nullptr},
        {"Rotate270slow(dest as PictureZOR=nil) as PictureZOR", "rotate", nullptr},
        {"Rotate(angle as double, Red as integer = 0, Green as integer = 0, "
         "Blue as integer = 0, Alpha as integer = 0, Gray as integer = 0, "
         "Cyan as integer = 0, Magenta as integer = 0, Yellow as integer = 0, "
         "Black as integer = 0) as PictureZOR",
         "rotate", nullptr},
        {"Rotate90(dest as PictureZOR=nil) as PictureZOR", "rotate", nullptr},
        {"Rotate270(dest as PictureZOR=nil) as PictureZOR", "rotate", nullptr},
        {"ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, "
         "matrix() as integer) as PictureZOR",
         "matrix", nullptr},
        {"ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, matrix() as integer, "
         "delta as integer) as PictureZOR",
         "matrix", nullptr},
        {"ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, matrix() as integer, "
         "delta as integer, ScaleFactor as double) as PictureZOR",
         "matrix", nullptr},
        {"CreatePictureZOR(width as integer, height as integer, "
         "theImageFormat as integer) as PictureZOR",
         nullptr, kNew},
        {"CalculateMemory(width as integer, height as integer, "
         "theImageFormat as integer) as Int64",
         nullptr, kTells},
        {"CanAllocateImage(width as integer, height as integer, "
         "theImageFormat as integer) as boolean",
         nullptr, kTells}};
    return rows;
}

// Methods that take or give a picture of the host are for its applications: the program has picture files.
bool TakesHostPictures(std::string declaration) {
    for (char& c : declaration) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (std::size_t at = declaration.find("as picture"); at != std::string::npos;
         at = declaration.find("as picture", at + 1)) {
        const std::size_t end = at + 10;
        if (end == declaration.size() || std::string(",)= ").find(declaration[end]) != std::string::npos) return true;
    }
    return declaration.starts_with("copygworld");
}

std::string NameOf(const std::string& declaration) {
    return declaration.substr(0, declaration.find_first_of(" ("));
}

// The methods of images, own and shared, as they are registered.
std::vector<std::string> Registered(const std::string& description) {
    std::istringstream lines(description);
    std::vector<std::string> declarations;
    bool methods = false;
    for (std::string line; std::getline(lines, line) && !line.starts_with("class PictureFactoryZOR");) {
        if (line.starts_with("  ") && !line.starts_with("    ")) methods = line.find("method") != std::string::npos;
        if (!line.starts_with("    ") || !methods) continue;
        line.erase(0, 4);
        for (const char* mark : {" (also assignable)", "  [not for"})
            if (const std::size_t at = line.find(mark); at != std::string::npos) line.erase(at);
        declarations.push_back(line);
    }
    return declarations;
}

TEST_F(Methods, AreAllReachedByAnEffectOrForAReasonByNone) {
    std::multiset<std::string> known;
    for (const MethodRow& row : Rows()) known.insert(row.declaration);
    const std::vector<std::string> registered = Registered(RunWell({"describe"}).out);
    EXPECT_GE(registered.size(), Rows().size());
    for (const std::string& declaration : registered) {
        const auto row = known.find(declaration);
        EXPECT_TRUE(row != known.end() || TakesHostPictures(declaration))
            << declaration << "\nis reached by no effect, and no reason is given";
        if (row != known.end()) known.erase(row);
    }
    for (const std::string& declaration : known) ADD_FAILURE() << "there is no " << declaration;
}

TEST_F(Methods, AreCalledByTheProgramWhereAnEffectReachesThem) {
    std::string sources;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(ZOR_ROOT "/cli"))
        if (entry.path().extension() == ".cpp") sources += ReadFile(entry.path().string());
    std::map<std::string, int> helped;
    for (const MethodRow& row : Rows()) {
        if (row.effect == nullptr) {
            EXPECT_GT(std::string(row.reason).size(), 20U) << row.declaration;
            continue;
        }
        if (helped[row.effect]++ == 0) RunWell({"help", row.effect});
        EXPECT_NE(sources.find('"' + NameOf(row.declaration) + '"'), std::string::npos) << row.declaration;
    }
}

}  // namespace
