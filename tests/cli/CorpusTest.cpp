// Small files of every kind, good and hostile, and the program as a whole: whatever somebody sends, it is read or
// refused in one line, soon, with little memory, and nothing is left behind. New files in tests/data/corpus join by
// lying there; fuzzing begins with the same ones.

#include <algorithm>

#include "TestPictures.h"
#include "ZorTest.h"
#include "support/Sanitizers.h"

namespace {

namespace fs = std::filesystem;

std::vector<std::string> FilesOf(const std::string& reader) {
    std::vector<std::string> paths;
    for (const auto& entry : fs::directory_iterator(std::string(ZOR_CORPUS) + "/" + reader))
        paths.push_back(entry.path().string());
    std::sort(paths.begin(), paths.end());
    return paths;
}

// Sanitizers need more addresses than any limit that would tell something.
RunOptions LittleMemory() {
    RunOptions options;
    if (!kSanitized) options.addressLimit = std::uint64_t{768} << 20;
    return options;
}

class Corpus : public ZorTest {
protected:
    // Whether the run was a success; else it failed as it should, naming `culprit`.
    bool SucceedsOrNames(const std::string& culprit, const Outcome& outcome) {
        EXPECT_EQ(outcome.signal, 0);
        if (outcome.exitCode == 0) return true;
        ExpectFailure(outcome, 1, {culprit + ": "});
        return false;
    }

    // Converts to a format that holds every kind of pixels, with those effects.
    bool Converts(const std::string& input, const std::string& culprit, const std::vector<std::string>& effects = {}) {
        std::vector<std::string> words = {"--quiet", "--memory", "64M", input, "out.pam"};
        words.insert(words.end(), effects.begin(), effects.end());
        const bool good = SucceedsOrNames(culprit, Run(words, LittleMemory()));
        EXPECT_EQ(fs::remove(At("out.pam")), good);
        EXPECT_EQ(Files(), files_);
        return good;
    }

    // Names of the files that the test made itself.
    std::vector<std::string> files_;
};

class CorpusOfPictures : public Corpus, public testing::WithParamInterface<const char*> {};

TEST_P(CorpusOfPictures, IsReadOrRefusedInOneLine) {
    int good = 0, bad = 0;
    for (const std::string& path : FilesOf(GetParam())) {
        SCOPED_TRACE(path);
        const bool told = SucceedsOrNames(path, Run({"--quiet", "info", path}, LittleMemory()));
        const bool read = Converts(path, path);
        EXPECT_TRUE(told || !read) << "what can be read can be told about";
        ++(read ? good : bad);
    }
    EXPECT_GE(good, 10);
    EXPECT_GE(bad, 10);
}

INSTANTIATE_TEST_SUITE_P(Readers, CorpusOfPictures, testing::Values("png", "jpeg", "webp", "tiff", "pnm"),
                         [](const auto& test) { return std::string(test.param); });

// Tags are no reason to refuse a picture, whatever they hold.
TEST_F(Corpus, OfExifBlocksLeavesPicturesReadable) {
    files_ = {"in.jpg"};
    for (const std::string& path : FilesOf("exif")) {
        SCOPED_TRACE(path);
        const std::string block = ReadFile(path);
        JpegFile jpeg;
        jpeg.pixels = MakePixels(9, 7, 3, 1);
        jpeg.exif.assign(block.begin(), block.end());
        if (!block.starts_with("Exif")) jpeg.exif.insert(jpeg.exif.begin(), {'E', 'x', 'i', 'f', 0, 0});
        SaveJpeg(At("in.jpg"), jpeg);
        EXPECT_EQ(Run({"info", "--json", "in.jpg"}, LittleMemory()).exitCode, 0);
        EXPECT_TRUE(Converts("in.jpg", "in.jpg"));
    }
}

TEST_F(Corpus, OfProfilesLeavesPicturesReadable) {
    files_ = {"in.jpg"};
    for (const std::string& path : FilesOf("icc")) {
        SCOPED_TRACE(path);
        const std::string profile = ReadFile(path);
        JpegFile jpeg;
        jpeg.pixels = MakePixels(9, 7, 3, 1);
        jpeg.profile.assign(profile.begin(), profile.end());
        SaveJpeg(At("in.jpg"), jpeg);
        EXPECT_EQ(Run({"info", "--json", "in.jpg"}, LittleMemory()).exitCode, 0);
        EXPECT_TRUE(Converts("in.jpg", "in.jpg"));
    }
}

TEST_F(Corpus, OfCurvesIsAppliedOrRefusedInOneLine) {
    files_ = {"in.png"};
    SavePng(At("in.png"), PlainPng(MakePixels(9, 7, 3, 1)));
    int good = 0, bad = 0;
    for (const std::string& path : FilesOf("curve")) {
        SCOPED_TRACE(path);
        ++(Converts("in.png", path, {"curve", path}) ? good : bad);
    }
    EXPECT_GE(good, 5);
    EXPECT_GE(bad, 5);
}

// The words name files that do not exist, so that all of them end early, at the latest for that.
TEST_F(Corpus, OfCommandLinesIsAnsweredInOneLine) {
    for (const std::string& path : FilesOf("words")) {
        SCOPED_TRACE(path);
        std::vector<std::string> words = {"--quiet"};
        std::string text = ReadFile(path);
        std::replace(text.begin(), text.end(), '\0', ' ');
        for (std::size_t start = 0; start < text.size();) {
            const std::size_t end = std::min(text.find('\n', start), text.size());
            words.push_back(text.substr(start, end - start));
            start = end + 1;
        }
        const Outcome outcome = Run(words, LittleMemory());
        EXPECT_EQ(outcome.signal, 0);
        EXPECT_GE(outcome.exitCode, 0);
        EXPECT_LE(outcome.exitCode, 2);
        EXPECT_EQ(outcome.err.empty(), outcome.exitCode == 0) << outcome.err;
        EXPECT_EQ(Files(), files_);
    }
}

}  // namespace
