// --memory: which sizes it takes.

#include "TestPictures.h"
#include "ZorTest.h"

namespace {

class MemoryOption : public ZorTest {};

TEST_F(MemoryOption, TakesBytesAndPowersOf1024) {
    SavePng(At("in.png"), PlainPng(MakePixels(30, 20, 3, 1)));
    for (const char* size : {"1M", "1m", "1.5G", "2048K", "1048576", "3g", "0.5T", "16G"}) {
        SCOPED_TRACE(size);
        RunWell({"--memory", size, "in.png", "out.png"});
        RunWell({std::string("--memory=") + size, "in.png", "out.png"});
    }
}

TEST_F(MemoryOption, RefusesEverythingElse) {
    SavePng(At("in.png"), PlainPng(MakePixels(30, 20, 3, 1)));
    for (const char* size : {"0", "1023K", "1048575", "-1G", "12X", "G", "1 G", "1GB", "1e9", "0x10M", "nan", "inf",
                             "99999999999999999999G", "", "50%"}) {
        SCOPED_TRACE(size);
        ExpectFailure(Run({std::string("--memory=") + size, "in.png", "out.png"}), 2, {"--memory", "500M"});
    }
    EXPECT_FALSE(std::filesystem::exists(At("out.png")));
}

// A picture of 8 MB, of which a quarter of 32 MB is enough to hold it in memory.
TEST_F(MemoryOption, GivesEveryImageAQuarter) {
    SavePng(At("in.png"), PlainPng(MakePixels(2048, 2048, 2, 1)));
    RunOptions options;
    options.fileSizeLimit = 1 << 20;
    EXPECT_EQ(Run({"--memory", "32M", "in.png", "out.png", "flip", "v", "crop", "0,0,100x100"}, options).exitCode, 0);
    ExpectFailure(Run({"--memory", "31.9M", "in.png", "out.png", "flip", "v", "crop", "0,0,100x100"}, options), 1,
                  {"no room for an image of 2048 x 2048 pixels of 2 bytes"});
}

}  // namespace
