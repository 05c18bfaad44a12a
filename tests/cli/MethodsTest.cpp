// Every method of images that makes or changes one can be had as an effect.

#include <algorithm>
#include <cctype>
#include <map>
#include <sstream>

#include "ZorTest.h"

namespace {

using Methods = ZorTest;

struct MethodRow {
    const char* name;
    int forms;           // that take and give no picture of the host
    const char* effect;  // that reaches them; null: none does
    const char* reason;  // why none does
};

constexpr const char* kNew = "new images come with the file that is read, and with the effects that need one";
constexpr const char* kView = "a view: changes nothing, and every channel and area is reached by itself";
constexpr const char* kRows = "rows and data as an application reads and writes them; the program has files for that";
constexpr const char* kTells = "tells a size, and changes nothing";

const std::vector<MethodRow>& Rows() {
    static const std::vector<MethodRow> rows = {
        {"Combine", 10, "combine", nullptr},
        {"CreatePictureZOR", 2, nullptr, kNew},
        {"ScaleFast", 1, "scalefast", nullptr},
        {"Scale", 1, "scale", nullptr},
        {"ScaleMT", 1, "scale", nullptr},
        {"Constructor", 3, nullptr, kNew},
        {"OilFilter", 1, "oil", nullptr},
        {"DiffuseFilter", 1, "diffuse", nullptr},
        {"EngraveFilter", 1, "engrave", nullptr},
        {"NeonFilter", 1, "neon", nullptr},
        {"BoxBlurFilter", 2, "blur", nullptr},
        {"BoxBlurFractionalFilter", 1, "softblur", nullptr},
        {"SolarizeFilter", 1, "solarize", nullptr},
        {"GammaFilter", 4, "gamma", nullptr},
        {"DitherFilter", 1, "dither", nullptr},
        {"GainFilter", 1, "gain", nullptr},
        {"StampFilter", 1, "stamp", nullptr},
        {"TransferFilter", 4, "curve", nullptr},
        {"UnsharpFilter", 1, "unsharp", nullptr},
        {"AlphaChannel", 1, "channel", nullptr},
        {"RedChannel", 1, "channel", nullptr},
        {"GreenChannel", 1, "channel", nullptr},
        {"BlueChannel", 1, "channel", nullptr},
        {"GrayChannel", 1, "channel", nullptr},
        {"RGBChannels", 1, "invert", nullptr},
        {"CMYKChannels", 1, nullptr, kView},
        {"CyanChannel", 1, "channel", nullptr},
        {"MagentaChannel", 1, "channel", nullptr},
        {"YellowChannel", 1, "channel", nullptr},
        {"BlackChannel", 1, "channel", nullptr},
        {"Channel", 1, nullptr, kView},
        {"MirroredView", 1, nullptr, kView},
        {"Close", 1, nullptr, "effects let go of what they replace"},
        {"HMirror", 1, "flip", nullptr},
        {"VMirror", 1, "flip", nullptr},
        {"Rotate180", 2, "rotate", nullptr},
        {"Invert", 2, "invert", nullptr},
        {"AutoLevel", 2, "autolevel", nullptr},
        {"RawRow", 1, nullptr, kRows},
        {"Row", 1, nullptr, kRows},
        {"RowInFormat", 2, nullptr, kRows},
        {"RowStringInFormat", 1, nullptr, kRows},
        {"DataStringInFormat", 1, nullptr, kRows},
        {"Clone", 1, nullptr, "a file read twice is two images; effects never change what another image holds"},
        {"ClearRect", 2, "clear", nullptr},
        {"CompareImages", 1, nullptr, "changes nothing; the command compare looks at the pixels"},
        {"FillRect", 2, "fill", nullptr},
        {"FillRectRandom", 2, "random", nullptr},
        {"FillRectRGB", 8, "fill", nullptr},
        {"FillRectApply", 4, "tint", nullptr},
        {"CopyPixels", 3, "paste", nullptr},
        {"ClipImage", 2, nullptr, kView},
        {"Rotate90slow", 1, "rotate", nullptr},
        {"Rotate270slow", 1, "rotate", nullptr},
        {"Rotate", 1, "rotate", nullptr},
        {"Rotate90", 1, "rotate", nullptr},
        {"Rotate270", 1, "rotate", nullptr},
        {"ApplyMatrix", 3, "matrix", nullptr},
        {"CalculateMemory", 1, nullptr, kTells},
        {"CanAllocateImage", 1, nullptr, kTells},
    };
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
    std::map<std::string, int> forms, known;
    for (const std::string& declaration : Registered(RunWell({"describe"}).out))
        if (!TakesHostPictures(declaration)) ++forms[NameOf(declaration)];
    for (const MethodRow& row : Rows()) {
        EXPECT_TRUE(known.emplace(row.name, row.forms).second) << row.name << " has two rows";
        EXPECT_EQ(forms[row.name], row.forms) << row.name;
    }
    for (const auto& [name, count] : forms)
        EXPECT_TRUE(known.contains(name)) << name << "\nis reached by no effect, and no reason is given";
}

TEST_F(Methods, AreCalledByTheProgramWhereAnEffectReachesThem) {
    std::string sources;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(ZOR_ROOT "/cli"))
        if (entry.path().extension() == ".cpp") sources += ReadFile(entry.path().string());
    std::map<std::string, int> helped;
    for (const MethodRow& row : Rows()) {
        if (row.effect == nullptr) {
            EXPECT_GT(std::string(row.reason).size(), 20U) << row.name;
            continue;
        }
        if (helped[row.effect]++ == 0) RunWell({"help", row.effect});
        EXPECT_NE(sources.find('"' + std::string(row.name) + '"'), std::string::npos) << row.name;
    }
}

}  // namespace
