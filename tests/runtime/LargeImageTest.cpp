// Images far beyond what the process may hold in memory.

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "TestHost.h"
#include "support/Sanitizers.h"

namespace zorhost {

// Not the folder for temporary files, which may itself lie in memory.
static std::filesystem::path ScratchFile() {
    return std::filesystem::current_path() / ("large-image-" + std::to_string(getpid()));
}

// Lets PeakResidentBytes begin again with what the process has now, whatever ran in it before.
static void ForgetPeak() {
    std::ofstream("/proc/self/clear_refs") << 5;
}

// The most memory that this process has had at once, in bytes.
static std::int64_t PeakResidentBytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmHWM:", 0) == 0) return std::stoll(line.substr(6)) * 1024;
    }
    return -1;
}

TEST(LargeImage, OfEightGigabytesIsWrittenAtItsCornersAndScaledInLittleMemory) {
    constexpr int kWidth = 12200, kHeight = 140000, kColumns = 61, kRows = 140;
    const std::filesystem::path scratch = ScratchFile();
    Host host({.plugin = ENGINE});
    ForgetPeak();
    const std::int64_t before = PeakResidentBytes();
    {
        const Object image = host.New("PictureZOR", kWidth, kHeight, host.Constant("PictureZOR", "ImageFormatCMYKA"), 0,
                                      host.MakeFolderItem(scratch));
        ASSERT_TRUE(image.Get("Valid").AsBool()) << "no room for a sparse file at " << scratch;
        ASSERT_GT(image.Get("TotalSize").AsInt64(), std::int64_t{8} << 30);

        // One block of the result in each far corner; the four lie in different windows of the file.
        const int blockWidth = kWidth / kColumns, blockHeight = kHeight / kRows;
        image.Call("FillRect", 0, 0, blockWidth, blockHeight, 40);
        image.Call("FillRect", kWidth - blockWidth, 0, blockWidth, blockHeight, 80);
        image.Call("FillRect", 0, kHeight - blockHeight, blockWidth, blockHeight, 120);
        image.Call("FillRect", kWidth - blockWidth, kHeight - blockHeight, blockWidth, blockHeight, 160);

        const Object small = host.New("PictureZOR", kColumns, kRows, host.Constant("PictureZOR", "ImageFormatG"));
        ASSERT_TRUE(
            small.Call("Scale", image, nullptr, host.Constant("PictureZOR", "ScaleBox"), kColumns, kRows).AsBool());
        const auto at = [&](int x, int y) {
            return int{host.MemoryBlockBytes(small.Call("RawRow", y).AsObject()).data[x]};
        };
        EXPECT_EQ(at(0, 0), 40);
        EXPECT_EQ(at(kColumns - 1, 0), 80);
        EXPECT_EQ(at(0, kRows - 1), 120);
        EXPECT_EQ(at(kColumns - 1, kRows - 1), 160);
        EXPECT_EQ(at(kColumns / 2, kRows / 2), 0);
    }
    EXPECT_FALSE(std::filesystem::exists(scratch));
    const std::int64_t peak = PeakResidentBytes();
    EXPECT_GT(before, 0);
    // Sanitizers keep freed memory and shadows of all that was touched.
    if (!kSanitized) {
        EXPECT_LT(peak - before, std::int64_t{200} << 20);
    }
}

}  // namespace zorhost
