// `zor info --json`, and `zor info` of many files.

#include <sys/stat.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "TestPictures.h"
#include "TestWebps.h"
#include "ZorTest.h"

namespace {

using Json = nlohmann::ordered_json;

class InfoJson : public ZorTest {
protected:
    // What the program prints about the files, read back strictly.
    Json Told(std::vector<std::string> files, int exitCode = 0) {
        files.insert(files.begin(), {"info", "--json"});
        const Outcome outcome = Run(files);
        EXPECT_EQ(outcome.exitCode, exitCode) << outcome.err;
        errors_ = outcome.err;
        return Json::parse(outcome.out);
    }
    [[nodiscard]] const std::string& Errors() const { return errors_; }

private:
    std::string errors_;
};

TEST_F(InfoJson, TellsAllAboutAPhotograph) {
    const Json expected = {{{"file", Photo("rocket.jpg")},
                            {"format", "JPEG"},
                            {"width", 640},
                            {"height", 427},
                            {"kind", "RGB"},
                            {"channels", 3},
                            {"alpha", false},
                            {"bitDepth", 8},
                            {"storage", {"YCbCr 4:4:4"}},
                            {"quality", 96},
                            {"pictures", 1},
                            {"profile", {{"name", "Adobe RGB (1998)"}, {"space", "RGB"}, {"bytes", 560}}},
                            {"sRGB", false},
                            {"gamma", nullptr},
                            {"resolution", {{"x", 72}, {"y", 72}, {"unit", "inch"}}},
                            {"printed", {{"width", 225.8}, {"height", 150.6}, {"unit", "millimetre"}}},
                            {"orientation", 1},
                            {"metadata",
                             {{"make", nullptr},
                              {"model", nullptr},
                              {"lens", nullptr},
                              {"taken", nullptr},
                              {"exposureTime", nullptr},
                              {"aperture", nullptr},
                              {"sensitivity", nullptr},
                              {"focalLength", nullptr},
                              {"focalLength35", nullptr},
                              {"latitude", nullptr},
                              {"longitude", nullptr},
                              {"altitude", nullptr},
                              {"texts", {{{"name", "comment"}, {"text", "cmp3.10.3.2Lq3 0x756ffbf7"}}}},
                              {"exifBytes", 0},
                              {"xmpBytes", 0},
                              {"iptcBytes", 0}}},
                            {"fileBytes", 112525},
                            {"memoryBytes", 819840}}};
    Json told = Told({Photo("rocket.jpg")});
    for (const char* side : {"width", "height"}) {
        Json& length = told[0]["printed"][side];
        length = std::round(length.get<double>() * 10) / 10;
    }
    EXPECT_EQ(told, expected) << told.dump(2);
    EXPECT_EQ(told.dump(), expected.dump()) << "in another order";
    EXPECT_EQ(Errors(), "");
}

TEST_F(InfoJson, TellsWhatIsNotThereAsNull) {
    SavePng(At("in.png"), PlainPng(MakePixels(3, 2, 2, 1)));
    const Json told = Told({"in.png"})[0];
    for (const char* key : {"quality", "profile", "gamma", "resolution", "printed"}) EXPECT_TRUE(told[key].is_null());
    EXPECT_EQ(told["kind"], "gray + alpha");
    EXPECT_EQ(told["alpha"], true);
    EXPECT_EQ(told["channels"], 2);
    EXPECT_EQ(told["storage"], Json::array());
    EXPECT_EQ(told["memoryBytes"], 128);
}

TEST_F(InfoJson, TellsTheSameKeysOfEveryFormat) {
    SavePng(At("in.png"), PlainPng(MakePixels(3, 2, 3, 1)));
    std::vector<std::string> files = {"in.png"};
    for (const char* suffix : {"jpg", "webp", "ppm", "pam", "tif"}) {
        files.push_back(std::string("out.") + suffix);
        RunWell({"in.png", files.back()});
    }
    const Json told = Told(files);
    ASSERT_EQ(told.size(), files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_EQ(told[i]["file"], files[i]);
        std::vector<std::string> keys, expected;
        for (const auto& [key, value] : told[i].items()) keys.push_back(key);
        for (const auto& [key, value] : told[0].items()) expected.push_back(key);
        EXPECT_EQ(keys, expected);
    }
    EXPECT_EQ(told[2]["format"], "WebP");
    EXPECT_EQ(told[3]["format"], "PPM");
    EXPECT_EQ(told[4]["format"], "PAM");
}

TEST_F(InfoJson, TellsStorageAsAList) {
    PngFile file;
    file.width = 3;
    file.height = 2;
    file.colourType = 3;
    file.bitDepth = 2;
    file.interlaced = true;
    file.samples = {0, 1, 2, 2, 1, 0};
    file.palette = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    file.gamma = 45455;
    file.density = {2, 1, 0};
    SavePng(At("in.png"), file);
    const Json told = Told({"in.png"})[0];
    EXPECT_EQ(told["storage"], (Json{"palette of 3", "interlaced"}));
    EXPECT_EQ(told["bitDepth"], 2);
    EXPECT_DOUBLE_EQ(told["gamma"].get<double>(), 0.45455);
    EXPECT_EQ(told["resolution"], (Json{{"x", 2}, {"y", 1}, {"unit", "aspect"}}));
    EXPECT_TRUE(told["printed"].is_null());
}

TEST_F(InfoJson, GoesOnBehindABadFile) {
    SavePng(At("a.png"), PlainPng(MakePixels(3, 2, 3, 1)));
    SavePng(At("b.png"), PlainPng(MakePixels(5, 4, 3, 1)));
    WriteFile(At("bad.png"), "no picture");
    const Json told = Told({"a.png", "missing.png", "bad.png", "b.png"}, 1);
    ASSERT_EQ(told.size(), 4U);
    EXPECT_EQ(told[0]["width"], 3);
    EXPECT_EQ(told[1], (Json{{"file", "missing.png"}, {"error", "missing.png: No such file or directory"}}));
    EXPECT_EQ(told[2]["file"], "bad.png");
    EXPECT_TRUE(told[2]["error"].get<std::string>().starts_with("bad.png: not a picture of a known format"));
    EXPECT_EQ(told[3]["width"], 5);
    EXPECT_TRUE(Errors().starts_with("zor: missing.png: No such file or directory\nzor: bad.png: not a picture"));
}

TEST_F(InfoJson, PrintsTextOfManyFilesInTheirOrder) {
    SavePng(At("a.png"), PlainPng(MakePixels(3, 2, 3, 1)));
    SavePng(At("b.png"), PlainPng(MakePixels(5, 4, 3, 1)));
    const std::string a = RunWell({"info", "a.png"}).out, b = RunWell({"info", "b.png"}).out;
    EXPECT_EQ(RunWell({"info", "a.png", "b.png", "a.png"}).out, a + "\n" + b + "\n" + a);
    const Outcome outcome = Run({"info", "missing.png", "b.png", "none.png", "a.png"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out, b + "\n" + a);
    EXPECT_EQ(outcome.err, "zor: missing.png: No such file or directory\nzor: none.png: No such file or directory\n");
}

TEST_F(InfoJson, WritesEveryNameAsValidJson) {
    const std::vector<std::pair<std::string, std::string>> names = {
        {"in \"quotes\" and \\.png", "in \"quotes\" and \\.png"},
        {"line\nbreak\ttab\x01.png", "line\nbreak\ttab\x01.png"},
        {"Bilder \xC3\xA4\xE2\x82\xAC\xF0\x9F\x8C\x88.png", "Bilder \xC3\xA4\xE2\x82\xAC\xF0\x9F\x8C\x88.png"},
        {"bad \xFF byte.png", "bad \xEF\xBF\xBD byte.png"},
        {"cut \xE2\x82.png", "cut \xEF\xBF\xBD.png"}};
    for (const auto& [name, told] : names) {
        SavePng(At(name), PlainPng(MakePixels(3, 2, 3, 1)));
        EXPECT_EQ(Told({name})[0]["file"], told);
        std::filesystem::remove(At(name));
        EXPECT_EQ(Told({name}, 1)[0]["file"], told);
    }
}

TEST_F(InfoJson, TellsOfAPipeWithoutASize) {
    SavePng(At("in.png"), PlainPng(MakePixels(3, 2, 3, 1)));
    ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
    const pid_t process = Start({"info", "--json", "pipe"});
    WriteFile(At("pipe"), ReadFile(At("in.png")));
    const Outcome outcome = Wait(process);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_TRUE(Json::parse(outcome.out)[0]["fileBytes"].is_null());
}

TEST_F(InfoJson, TellsSizesBeyondEveryMemory) {
    WriteFile(At("in.ppm"), "P6 4294967295 4294967295 255\n");
    const Json told = Told({"in.ppm"})[0];
    EXPECT_EQ(told["width"], 4294967295);
    EXPECT_EQ(told["memoryBytes"], 9223372036854775807);
}

TEST_F(InfoJson, EstimatesTheQualityOfJpeg) {
    for (const int quality : {1, 10, 50, 75, 90, 95, 100}) {
        JpegFile file;
        file.pixels = MakePixels(16, 16, 3, 1);
        file.quality = quality;
        SaveJpeg(At("in.jpg"), file);
        EXPECT_EQ(Told({"in.jpg"})[0]["quality"], quality);
        file.progressive = true;
        file.pixels = MakePixels(16, 16, 1, 1);
        SaveJpeg(At("in.jpg"), file);
        const Json told = Told({"in.jpg"})[0];
        EXPECT_EQ(told["quality"], quality);
        EXPECT_EQ(told["storage"], (Json{"gray", "progressive"}));
    }
}

TEST_F(InfoJson, BelongsToInfoAlone) {
    ExpectFailure(Run({"--json", Photo("coffee.png"), "out.png"}), 2, {"--json: only 'zor info' knows it"});
    ExpectFailure(Run({"--json", "describe"}), 2, {"--json: only 'zor info' knows it"});
    ExpectFailure(Run({"--json", "--each", "{stem}.jpg", Photo("coffee.png")}), 2, {"--json: only 'zor info'"});
    ExpectFailure(Run({"info", "--json"}), 2, {"info: FILE is missing"});
}

}  // namespace
