// How images start and end: the three sized constructors, their failures, and the teardown.

#include "core/Construction.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "FailingStatus.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "core/RowSpan.h"
#include "core/Storage.h"
#include "core/Views.h"
#include "host/Platform.h"
#include "support/Images.h"
#include "support/Sanitizers.h"

using namespace zor;

namespace {

class Construction : public EngineTest {
protected:
    TempDir directory;

    // An object without pixels that is given back at the end.
    TestImage Empty() { return TestImage(host.NewImage(), "empty"); }
    REALobject Item(const std::string& name) { return host.NewFolderItem(directory.File(name)); }
    // Constructs in a file of that name.
    TestImage InFile(const std::string& name, int width, int height, int format, int blockSize = 0) {
        TestImage image = Empty();
        const REALobject item = Item(name);
        ImageConstructorFile(image.object(), width, height, format, blockSize, item);
        REALUnlockObject(item);
        return image;
    }
    bool Exists(const std::string& name) { return std::filesystem::exists(directory.File(name)); }
};

// Fields that a plain record and one that nothing was built on have in common.
void ExpectNoStorage(const ImageClassData* record) {
    EXPECT_EQ(record->GetRow, nullptr);
    EXPECT_EQ(record->Pixels, nullptr);
    EXPECT_FALSE(record->Valid);
    EXPECT_FALSE(record->OwnsBuffer);
    EXPECT_FALSE(record->OwnsFile);
    EXPECT_FALSE(record->IsMapping);
    EXPECT_FALSE(record->IsMapped);
    EXPECT_EQ(record->TotalSize, 0);
    EXPECT_EQ(record->RowSize, 0);
    EXPECT_EQ(record->MemoryTarget, nullptr);
    EXPECT_EQ(record->FileItem, nullptr);
    EXPECT_EQ(record->FilePath, nullptr);
    EXPECT_EQ(record->FileHandle, 0);
}

// --- storage kinds --------------------------------------------------------------------------------------------------

TEST_F(Construction, OfPlainMemoryFillsTheRecord) {
    const TestImage image = Empty();
    ImageConstructor(image.object(), 30, 7, ImageFormatBGR);
    EXPECT_EQ(image->GetRow, GetRowLinear);
    ASSERT_TRUE(image->Pixels);
    EXPECT_EQ(image->RowPointers, nullptr);
    EXPECT_EQ(image->RowSize, 128);
    EXPECT_TRUE(image->OwnsBuffer);
    EXPECT_FALSE(image->IsMapping);
    EXPECT_FALSE(image->OwnsFile);
    EXPECT_FALSE(image->IsMapped);
    EXPECT_EQ(image->MemoryTarget, nullptr);
    EXPECT_EQ(image->Target, nullptr);
    EXPECT_EQ(image->FileItem, nullptr);
    EXPECT_EQ(image->FilePath, nullptr);
    EXPECT_EQ(image->FileHandle, 0);
    EXPECT_EQ(image->MappedRowCount, 7);
    EXPECT_EQ(image->ImageFormat, 6);
    EXPECT_EQ(image->ChannelCount, 3);
    EXPECT_EQ(image->RedOffset, 2);
    EXPECT_EQ(image->TotalSize, 128 * 7);
    EXPECT_EQ(GetTotalSizeInt64(image.object(), 0), 128 * 7);
    EXPECT_EQ(image->RowOffset, 0);
    EXPECT_EQ(image->MappingBlockSize, 0);
    EXPECT_EQ(image->YieldTicks, 0);
    EXPECT_TRUE(image->Valid);
    for (int i = 0; i < 128 * 7; ++i) ASSERT_EQ(image->Pixels[i], 0);
    EXPECT_EQ(host.Locks(image.object()), 1);
}

TEST_F(Construction, OfTheSmallestPlainImageTakes64Bytes) {
    const TestImage image = MakePlain(1, 1, ImageFormatRGB);
    EXPECT_EQ(image->RowSize, 64);
    EXPECT_EQ(image->TotalSize, 64);
    for (int i = 0; i < 64; ++i) EXPECT_EQ(image->Pixels[i], 0);
}

TEST_F(Construction, OnAMemoryBlockFillsTheRecord) {
    const REALobject block = host.NewBlock(700);
    const TestImage image = Empty();
    ImageConstructorMemory(image.object(), block, 30, 7, ImageFormatBGR, 91);
    EXPECT_EQ(image->GetRow, GetRowLinear);
    EXPECT_EQ(image->Pixels, host.BlockData(block));
    EXPECT_EQ(image->RowPointers, nullptr);
    EXPECT_EQ(image->RowSize, 91);
    EXPECT_FALSE(image->OwnsBuffer);
    EXPECT_FALSE(image->IsMapping);
    EXPECT_FALSE(image->OwnsFile);
    EXPECT_EQ(image->MemoryTarget, block);
    EXPECT_EQ(host.Locks(block), 2);
    EXPECT_EQ(image->Target, nullptr);
    EXPECT_EQ(image->FileItem, nullptr);
    EXPECT_EQ(image->FilePath, nullptr);
    EXPECT_EQ(image->FileHandle, 0);
    EXPECT_EQ(image->MappedRowCount, 7);
    EXPECT_EQ(image->TotalSize, 637);
    EXPECT_TRUE(image->Valid);
    REALUnlockObject(block);
}

TEST_F(Construction, OnAMemoryBlockTakesAnyRowSize) {
    const REALobject block = host.NewBlock(100);
    for (const int rowSize : {0, 1, 2, -30}) {  // less than the pixels of a row; and from the bottom up
        const TestImage image = Empty();
        ImageConstructorMemory(image.object(), block, 30, 3, ImageFormatBGR, rowSize);
        EXPECT_TRUE(image->Valid) << rowSize;
        EXPECT_EQ(image->RowSize, rowSize);
        EXPECT_EQ(image->TotalSize, rowSize * 3);
        // What is not the image's is not touched.
        const RowSpan row = GetRowSpan(image.record(), 2);
        for (int i = -200; i < 200; ++i) row.Store(i, 0xEE);
        for (int i = 0; i < 100; ++i) {
            EXPECT_EQ(host.BlockData(block)[i], i < rowSize * 3 ? 0xEE : 0) << rowSize << " byte " << i;
        }
        std::memset(host.BlockData(block), 0, 100);
    }
    REALUnlockObject(block);
}

TEST_F(Construction, InAFileFillsTheRecord) {
    const TestImage image = Empty();
    const REALobject item = Item("scratch");
    ImageConstructorFile(image.object(), 4096, 16, ImageFormatG, 0, item);
    EXPECT_EQ(image->GetRow, GetRowMapping);
    EXPECT_TRUE(image->Pixels);
    EXPECT_TRUE(image->IsMapped);
    EXPECT_EQ(image->MappedFirstRow, 0);
    EXPECT_EQ(image->MappedLastRow, 15);
    EXPECT_EQ(image->RowPointers, nullptr);
    EXPECT_EQ(image->RowSize, 4096);
    EXPECT_FALSE(image->OwnsBuffer);
    EXPECT_TRUE(image->IsMapping);
    EXPECT_TRUE(image->OwnsFile);
    EXPECT_EQ(image->MemoryTarget, nullptr);
    EXPECT_EQ(image->Target, nullptr);
    EXPECT_EQ(image->FileItem, item);
    EXPECT_EQ(host.Locks(item), 2);
    EXPECT_STREQ(image->FilePath, directory.File("scratch").c_str());
    EXPECT_GT(image->FileHandle, 0);
    EXPECT_EQ(image->MappingBlockSize, 65536) << "16777216 cut to the image";
    EXPECT_EQ(image->MappedRowCount, 16);
    EXPECT_EQ(image->MappingHandle, 0);
    EXPECT_EQ(image->TotalSize, 65536);
    EXPECT_TRUE(image->Valid);
    REALUnlockObject(item);
}

TEST_F(Construction, InAFileRaisesRowsToTheGranularity) {
    for (const auto& [width, rowSize] : {std::pair{1, 4096}, {1365, 4096}, {1366, 8192}, {2731, 12288}}) {
        const TestImage image = InFile("scratch", width, 20, ImageFormatRGB);
        EXPECT_EQ(image->RowSize, rowSize) << width;
        EXPECT_EQ(image->TotalSize, static_cast<std::int64_t>(rowSize) * 20);
    }
}

TEST_F(Construction, InAFileMakesASparseFileThatIsAPageLonger) {
    const TestImage image = InFile("scratch", 1000, 3000, ImageFormatRGBA);
    ASSERT_TRUE(image->Valid);
    struct stat status {};
    ASSERT_EQ(stat(directory.File("scratch").c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 3000 * 4096 + AllocationGranularity);
    EXPECT_LT(status.st_blocks * 512, 1000000) << "only the last page is written";
    const Storage storage = SnapshotOf(image);
    EXPECT_EQ(std::count(storage.bytes.begin(), storage.bytes.end(), 0), 3000 * 4096);
}

TEST_F(Construction, InAFileAppliesTheBlockSize) {
    const TestImage image = InFile("scratch", 4096, 6000, ImageFormatG, 20000000);
    EXPECT_EQ(image->MappingBlockSize, 20000000 / 4096 * 4096);
    EXPECT_EQ(image->MappedRowCount, 20000000 / 4096);
    EXPECT_TRUE(image->Valid);
}

TEST_F(Construction, InAFileWipesWhatStoodThere) {
    std::ofstream(directory.File("scratch")) << std::string(100000, 'x');
    const TestImage image = InFile("scratch", 100, 8, ImageFormatG);
    ASSERT_TRUE(image->Valid);
    for (int y = 0; y < 8; ++y) {
        const std::uint8_t* const row = image->GetRow(image.record(), y);
        for (int i = 0; i < 4096; ++i) ASSERT_EQ(row[i], 0);
    }
}

TEST_F(Construction, InAFilePassesThePermissionNumber) {
    for (const mode_t mask : {0u, 022u, 077u, 0666u}) {
        const mode_t before = umask(mask);
        const TestImage image = InFile("scratch", 100, 8, ImageFormatG);
        umask(before);
        struct stat status {};
        ASSERT_EQ(stat(directory.File("scratch").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777u, (0x666u & 07777u) & ~mask) << "mask " << mask;
    }
    EXPECT_EQ(0x666, 1638);
}

TEST_F(Construction, InAFileMayExceedTwoGigabytes) {
    const TestImage image = InFile("scratch", 100000, 10000, ImageFormatRGB);
    ASSERT_TRUE(image->Valid);
    EXPECT_EQ(image->RowSize, 303104);
    EXPECT_EQ(GetTotalSizeInt64(image.object(), 0), 3031040000);
    std::uint8_t* const row = image->GetRow(image.record(), 9999);
    ASSERT_TRUE(row);
    row[299999] = 7;
    std::uint8_t byte = 0;
    ASSERT_EQ(pread(image->FileHandle, &byte, 1, 9999LL * 303104 + 299999), 1);
    EXPECT_EQ(byte, 7);
}

// --- failures -------------------------------------------------------------------------------------------------------

TEST_F(Construction, WithABadSizeLeavesTheObjectEmpty) {
    const REALobject block = host.NewBlock(1000);
    const REALobject item = Item("scratch");
    for (const auto& [width, height] : {std::pair{0, 5}, {5, 0}, {-1, 5}, {5, -1}, {INT_MIN, INT_MIN}}) {
        const TestImage plain = Empty(), onBlock = Empty(), inFile = Empty();
        ImageConstructor(plain.object(), width, height, ImageFormatRGB);
        ImageConstructorMemory(onBlock.object(), block, width, height, ImageFormatRGB, 64);
        ImageConstructorFile(inFile.object(), width, height, ImageFormatRGB, 0, item);
        for (const TestImage* image : {&plain, &onBlock, &inFile}) {
            ExpectNoStorage(image->record());
            EXPECT_EQ((*image)->Width, 0);
            EXPECT_EQ((*image)->ImageFormat, 0);
        }
    }
    EXPECT_FALSE(host.TakeException());
    EXPECT_EQ(host.Locks(block), 1);
    EXPECT_EQ(host.Locks(item), 1);
    EXPECT_FALSE(Exists("scratch"));
    REALUnlockObject(block);
    REALUnlockObject(item);
}

TEST_F(Construction, WithARejectedFormatIsQuiet) {
    const REALobject block = host.NewBlock(1000);
    const REALobject item = Item("scratch");
    for (const int format : {0, 14, 41, -1}) {
        const TestImage plain = Empty(), onBlock = Empty(), inFile = Empty();
        ImageConstructor(plain.object(), 5, 6, format);
        ImageConstructorMemory(onBlock.object(), block, 5, 6, format, 64);
        ImageConstructorFile(inFile.object(), 5, 6, format, 0, item);
        for (const TestImage* image : {&plain, &onBlock, &inFile}) {
            ExpectNoStorage(image->record());
            EXPECT_EQ((*image)->Width, 5);
            EXPECT_EQ((*image)->ImageFormat, format);
        }
    }
    EXPECT_FALSE(host.TakeException());
    EXPECT_FALSE(Exists("scratch"));
    REALUnlockObject(block);
    REALUnlockObject(item);
}

TEST_F(Construction, OfPlainMemoryBeyondTheLimitIsQuiet) {
    struct Size {
        int width, height, format;
    };
    for (const Size& size : {Size{64, 33554432, ImageFormatG},        // exactly 2147483648 bytes
                             Size{100000, 100000, ImageFormatRGB},    //
                             Size{1073741825, 2, ImageFormatRGBA},    // the row size wraps to 64
                             Size{1073741824, 3, ImageFormatRGBA},    // to 0
                             Size{536870912, 1, ImageFormatRGBA}}) {  // to a negative number
        const TestImage image = Empty();
        ImageConstructor(image.object(), size.width, size.height, size.format);
        ExpectNoStorage(image.record());
        EXPECT_FALSE(host.TakeException()) << size.width;
        EXPECT_EQ(image->Width, size.width);
    }
}

TEST_F(Construction, OfPlainMemoryTriesTheLargestSizeBelowTheLimit) {
    // 2147483584 bytes, the largest multiple of 64 below: it is tried, and either fits or is out of memory.
    const TestImage image = Empty();
    ImageConstructor(image.object(), 64, 33554431, ImageFormatG);
    if (image->Valid) {
        EXPECT_EQ(image->TotalSize, 2147483584);
    } else {
        EXPECT_EQ(host.TakeException()->className, "OutOfMemoryException");
    }
}

TEST(ConstructionWithoutMemory, Raises) {
    if (kSanitized) GTEST_SKIP() << "sanitizers reserve more address space than the limit leaves";
    if (kEmulated) GTEST_SKIP() << "the emulation passes over the limit of its address space";
    InFreshProcess([] {
        FakeHost host;
        const REALobject image = host.NewImage();
        rlimit limit{};
        getrlimit(RLIMIT_AS, &limit);
        limit.rlim_cur = 400000000;
        setrlimit(RLIMIT_AS, &limit);
        ImageConstructor(image, 20000, 30000, ImageFormatRGB);
        ExpectNoStorage(ImageDataOf(image));
        EXPECT_EQ(host.TakeException(),
                  (FakeException{"OutOfMemoryException", "Failed to allocate buffer for new image.", true}));
        EXPECT_FALSE(CanAllocateImage(20000, 30000, ImageFormatRGB));
    });
}

TEST_F(Construction, OnNoMemoryBlockRaises) {
    const TestImage image = Empty();
    ImageConstructorMemory(image.object(), nullptr, 5, 6, ImageFormatRGB, 64);
    EXPECT_EQ(host.TakeException(), (FakeException{"NilObjectException", "Memoryblock is nil.", true}));
    ExpectNoStorage(image.record());
    EXPECT_EQ(image->Width, 0) << "before anything is stored";
    ImageConstructorMemory(image.object(), nullptr, 0, 6, 99, 64);
    EXPECT_EQ(host.TakeException(), (FakeException{"NilObjectException", "Memoryblock is nil.", true}))
        << "the block comes first";
}

TEST_F(Construction, OnAMemoryBlockWithoutDataRaises) {
    const REALobject block = host.NewBlockWithoutData();
    const TestImage image = Empty();
    ImageConstructorMemory(image.object(), block, 5, 6, ImageFormatRGB, 64);
    EXPECT_EQ(host.TakeException(), (FakeException{"NilObjectException", "Memoryblock is nil.", true}));
    ExpectNoStorage(image.record());
    EXPECT_EQ(image->Width, 5);
    EXPECT_EQ(host.Locks(block), 1);
    REALUnlockObject(block);
}

TEST_F(Construction, OnAMemoryBlockBeyondTheLimitRaises) {
    const REALobject block = host.NewBlock(10);
    const TestImage image = Empty();
    ImageConstructorMemory(image.object(), block, 1, 2, ImageFormatG, 1073741824);
    EXPECT_EQ(
        host.TakeException(),
        (FakeException{"OutOfBoundsException", "Image needs more bytes than a 32 bit application can access.", true}));
    ExpectNoStorage(image.record());
    EXPECT_EQ(host.Locks(block), 1);
    EXPECT_EQ(host.Count("memoryBlockGetPtr"), 0);
    REALUnlockObject(block);
}

TEST_F(Construction, InAFileWithoutAPathIsQuiet) {
    const REALobject item = host.NewFolderItem("/nowhere", FakeHost::FileForm::none);
    for (const REALobject each : {static_cast<REALobject>(nullptr), item}) {
        const TestImage image = Empty();
        ImageConstructorFile(image.object(), 5, 6, ImageFormatRGB, 0, each);
        ExpectNoStorage(image.record());
    }
    EXPECT_FALSE(host.TakeException());
    EXPECT_EQ(host.Locks(item), 1);
    REALUnlockObject(item);
}

TEST_F(Construction, InAFileThatCannotBeOpenedIsQuiet) {
    const TestImage image = InFile("no/such/folder/scratch", 5, 20, ImageFormatRGB);
    ExpectNoStorage(image.record());
    EXPECT_FALSE(host.TakeException());
    std::filesystem::create_directory(directory.File("folder"));
    const TestImage second = InFile("folder", 5, 20, ImageFormatRGB);
    ExpectNoStorage(second.record());
    EXPECT_TRUE(Exists("folder"));
}

// Files cannot grow beyond that many bytes while this lives.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before_);
        rlimit limit = before_;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }

private:
    rlimit before_{};
};

TEST_F(Construction, InAFileThatCannotGrowRemovesItAgain) {
    for (const rlim_t limit : {4096u, 20u * 4096u, 20u * 4096u + 100u}) {  // ftruncate fails in all of them
        const FileSizeLimit small(limit);
        const TestImage image = InFile("scratch", 5, 20, ImageFormatRGB);
        ExpectNoStorage(image.record());
        EXPECT_FALSE(Exists("scratch"));
    }
    EXPECT_FALSE(host.TakeException());
}

TEST_F(Construction, InTheFileOfAnotherImageTakesItsRowsEvenIfItFails) {
    const TestImage first = InFile("scratch", 100, 20, ImageFormatG);
    const TestImage view(ClipImage1(first.object()));
    ASSERT_TRUE(GetRowSpan(first.record(), 0));
    {
        const FileSizeLimit small(4096);
        const TestImage second = InFile("scratch", 100, 20, ImageFormatG);
        EXPECT_FALSE(second->Valid);
    }
    for (int y = 0; y < 20; ++y) {
        EXPECT_FALSE(GetRowSpan(first.record(), y));
        EXPECT_FALSE(GetRowSpan(view.record(), y));
    }
}

TEST_F(Construction, InTheFileOfAnotherImageTakesItsRows) {
    const TestImage first = InFile("scratch", 100, 20, ImageFormatG);
    const TestImage other = InFile("other", 100, 20, ImageFormatG);
    const TestImage second = InFile("scratch", 100, 20, ImageFormatG);
    EXPECT_FALSE(GetRowSpan(first.record(), 0));
    EXPECT_TRUE(GetRowSpan(second.record(), 0));
    EXPECT_TRUE(GetRowSpan(other.record(), 0));
    ImageDestructor(first.object());
    EXPECT_FALSE(Exists("scratch"));
    EXPECT_FALSE(GetRowSpan(second.record(), 0)) << "the first image cut the file off";
    EXPECT_TRUE(GetRowSpan(other.record(), 0));
}

// Of which file another image's rows are cannot be told then, and those of the file that was cut would fault.
TEST_F(Construction, InAFileThatCannotBeIdentifiedTakesTheRowsOfAllFiles) {
    const TestImage first = InFile("scratch", 100, 20, ImageFormatG);
    const TestImage view(ClipImage1(first.object()));
    const TestImage plain = MakePlain(5, 5, ImageFormatG);
    ASSERT_TRUE(GetRowSpan(first.record(), 0));
    TestImage second;
    {
        const FailingStatus status(1, EIO);
        second = InFile("scratch", 100, 20, ImageFormatG);
        EXPECT_TRUE(status.happened());
    }
    for (int y = 0; y < 20; ++y) {
        EXPECT_FALSE(GetRowSpan(first.record(), y));
        EXPECT_FALSE(GetRowSpan(view.record(), y));
        EXPECT_TRUE(GetRowSpan(second.record(), y));
    }
    EXPECT_TRUE(GetRowSpan(plain.record(), 0));
}

TEST_F(Construction, ATeardownThatCutsNothingTakesNoRows) {
    const TestImage image = InFile("scratch", 100, 20, ImageFormatG);
    MarkFileGone(-1);
    EXPECT_TRUE(GetRowSpan(image.record(), 0)) << "there is no such descriptor, so nothing was cut";
}

TEST_F(Construction, InAFileThatCannotBeTakenNoteOfIsQuiet) {
    for (int n = 1; n <= 2; ++n) {
        const FailingStatus status(n, EIO);
        const TestImage image = InFile("scratch", 100, 20, ImageFormatG);
        EXPECT_TRUE(status.happened());
        EXPECT_EQ(image->Valid, n == 1) << n;
        EXPECT_EQ(Exists("scratch"), n == 1);
    }
    EXPECT_FALSE(Exists("scratch"));
    EXPECT_FALSE(host.TakeException());
}

// --- what an application names that is no file of the engine's ------------------------------------------------------

TEST_F(Construction, InAPipeOrADeviceLeavesItWhereItIs) {
    ASSERT_EQ(mkfifo(directory.File("pipe").c_str(), 0600), 0);
    const TestImage inPipe = InFile("pipe", 5, 20, ImageFormatRGB);
    ExpectNoStorage(inPipe.record());
    EXPECT_TRUE(std::filesystem::is_fifo(directory.File("pipe")));
    if (mknod(directory.File("null").c_str(), S_IFCHR | 0600, makedev(1, 3)) == 0) {
        const TestImage onDevice = InFile("null", 5, 20, ImageFormatRGB);
        ExpectNoStorage(onDevice.record());
        EXPECT_TRUE(std::filesystem::is_character_file(directory.File("null")));
    }
    std::filesystem::create_symlink("/dev/null", directory.File("link"));
    const TestImage byLink = InFile("link", 5, 20, ImageFormatRGB);
    ExpectNoStorage(byLink.record());
    EXPECT_TRUE(std::filesystem::is_symlink(directory.File("link")));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(Construction, InAFileBehindALinkRemovesTheFileAndLeavesTheLink) {
    for (const char* const target : {"scratch", "folder/scratch"}) {
        std::filesystem::create_directory(directory.File("folder"));
        std::filesystem::create_symlink(target, directory.File("link"));
        {
            const TestImage image = InFile("link", 100, 20, ImageFormatG);
            EXPECT_TRUE(image->Valid);
            EXPECT_TRUE(Exists(target));
        }
        EXPECT_FALSE(Exists(target));
        EXPECT_TRUE(std::filesystem::is_symlink(directory.File("link")));
        {
            const FileSizeLimit small(4096);
            const TestImage image = InFile("link", 5, 20, ImageFormatRGB);
            ExpectNoStorage(image.record());
        }
        EXPECT_FALSE(Exists(target));
        EXPECT_TRUE(std::filesystem::is_symlink(directory.File("link")));
        std::filesystem::remove(directory.File("link"));
    }
}

TEST_F(Construction, RemovesNoOtherFileThatHasTakenTheName) {
    const TestImage image = InFile("scratch", 100, 20, ImageFormatG);
    std::filesystem::rename(directory.File("scratch"), directory.File("moved"));
    std::ofstream(directory.File("scratch")) << "somebody else's";
    ImageDestructor(image.object());
    EXPECT_EQ(std::filesystem::file_size(directory.File("scratch")), 15U);
    EXPECT_EQ(std::filesystem::file_size(directory.File("moved")), 0U);
}

TEST_F(Construction, InAFileTooLargeForAnyFileSystemIsQuiet) {
    const TestImage image = InFile("scratch", 268435455, INT_MAX, ImageFormatScaling8);
    ExpectNoStorage(image.record());
    EXPECT_FALSE(Exists("scratch"));
    const TestImage wide = InFile("scratch", INT_MAX, 1, ImageFormatScaling8);
    ExpectNoStorage(wide.record());
    EXPECT_FALSE(Exists("scratch"));
}

TEST_F(Construction, InAFileLowerThanItsWindowIsNotValid) {
    const TestImage image = InFile("scratch", 1, 1, ImageFormatRGB);
    EXPECT_FALSE(image->Valid);
    EXPECT_EQ(image->RowSize, 4096);
    EXPECT_EQ(image->TotalSize, 4096);
    EXPECT_EQ(std::filesystem::file_size(directory.File("scratch")), 8192u);
    EXPECT_EQ(image->MappingBlockSize, 20480);
    EXPECT_EQ(image->MappedRowCount, 5);
    EXPECT_EQ(image->GetRow, GetRowMapping);
    EXPECT_EQ(image->Pixels, nullptr);
    EXPECT_EQ(image->MappedFirstRow, -1);
    EXPECT_TRUE(image->IsMapping);
    EXPECT_TRUE(image->OwnsFile);
    EXPECT_GT(image->FileHandle, 0);
    ImageDestructor(image.object());
    EXPECT_FALSE(Exists("scratch")) << "the teardown removes it";
}

TEST_F(Construction, InAFileNeedsAsManyRowsAsItsWindow) {
    for (int height = 1; height <= 8; ++height) {
        const TestImage image = InFile("scratch", 1, height, ImageFormatRGB);
        EXPECT_EQ(image->Valid, height >= 5) << height;
    }
}

// --- teardown -------------------------------------------------------------------------------------------------------

TEST_F(Construction, IsUndoneByCloseButForSizeAndValid) {
    const TestImage image = MakePlain(30, 7, ImageFormatBGR);
    ImageDestructor(image.object());
    EXPECT_EQ(image->GetRow, nullptr);
    EXPECT_EQ(image->Pixels, nullptr);
    EXPECT_FALSE(image->OwnsBuffer);
    EXPECT_TRUE(image->Valid);
    EXPECT_EQ(image->Width, 30);
    EXPECT_EQ(image->Height, 7);
    EXPECT_EQ(image->RowSize, 128);
    EXPECT_EQ(image->TotalSize, 128 * 7);
    EXPECT_EQ(GetMemory(image.object(), 0), nullptr);
    ImageDestructor(image.object());
    EXPECT_TRUE(image->Valid);
}

TEST_F(Construction, GivesTheMemoryBlockBackAtClose) {
    const REALobject block = host.NewBlock(700);
    const TestImage image = Empty();
    ImageConstructorMemory(image.object(), block, 30, 7, ImageFormatBGR, 91);
    ImageDestructor(image.object());
    EXPECT_EQ(host.Locks(block), 1);
    EXPECT_EQ(image->MemoryTarget, nullptr);
    EXPECT_EQ(image->Pixels, nullptr);
    REALUnlockObject(block);
}

TEST_F(Construction, RemovesTheFileAtClose) {
    const TestImage image = InFile("scratch", 100, 20, ImageFormatG);
    ShrinkWindow(image.record(), 6);
    image->GetRow(image.record(), 12);
    const int descriptor = image->FileHandle;
    const REALobject item = image->FileItem;
    REALLockObject(item);
    ImageDestructor(image.object());
    EXPECT_FALSE(Exists("scratch"));
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1) << "closed";
    EXPECT_EQ(image->FileHandle, 0);
    EXPECT_EQ(image->FilePath, nullptr);
    EXPECT_EQ(image->FileItem, nullptr);
    EXPECT_EQ(host.Locks(item), 1);
    EXPECT_FALSE(image->IsMapped);
    EXPECT_EQ(image->Pixels, nullptr);
    EXPECT_EQ(image->GetRow, nullptr);
    EXPECT_TRUE(image->IsMapping);
    EXPECT_TRUE(image->OwnsFile);
    EXPECT_TRUE(image->Valid);
    EXPECT_EQ(image->MappedFirstRow, 10) << "the rows of the last window stay told";
    EXPECT_EQ(image->MappedLastRow, 15);
    REALUnlockObject(item);
}

TEST_F(Construction, TruncatesTheFileItRemoves) {
    const TestImage image = InFile("scratch", 100, 20, ImageFormatG);
    const int second = open(directory.File("scratch").c_str(), O_RDONLY);
    ASSERT_GE(second, 0);
    ImageDestructor(image.object());
    struct stat status {};
    ASSERT_EQ(fstat(second, &status), 0);
    EXPECT_EQ(status.st_size, 0);
    close(second);
}

TEST_F(Construction, GivesReferencesBackInOrder) {
    const TestImage image = MakePlain(3, 3, ImageFormatRGB);
    const REALobject parent = host.NewImage(), block = host.NewBlock(1), item = Item("x"),
                     picture = host.NewObject("Picture");
    const REALstring string = host.NewString("data", 0);
    image->Parent = parent;
    image->MemoryTarget = block;
    image->FileItem = item;
    image->Target = picture;
    image->DataString = string;
    host.ClearLog();
    ImageDestructor(image.object());
    const std::vector<HostCall> expected = {{"REALUnlockString", string},
                                            {"REALUnlockObject", parent},
                                            {"REALUnlockObject", block},
                                            {"REALUnlockObject", item},
                                            {"REALUnlockObject", picture}};
    EXPECT_EQ(host.Log(), expected);
    EXPECT_EQ(image->Parent, nullptr);
    EXPECT_EQ(image->MemoryTarget, nullptr);
    EXPECT_EQ(image->FileItem, nullptr);
    EXPECT_EQ(image->Target, nullptr);
    EXPECT_EQ(image->DataString, nullptr);
    host.ClearLog();
    ImageDestructor(image.object());
    EXPECT_TRUE(host.Log().empty()) << "nothing is left to do";
}

TEST_F(Construction, OfAnEmptyObjectLeavesNothingToTearDown) {
    const TestImage image = Empty();
    host.ClearLog();
    ImageDestructor(image.object());
    EXPECT_TRUE(host.Log().empty());
}

TEST_F(Construction, ClosesDescriptorZeroWhenAClosedFileImageEnds) {
    host.parkDescriptorZero = false;
    const int saved = dup(0);
    const std::string victim = directory.File("victim");
    std::ofstream(victim) << "twelve bytes";
    const int descriptor = open(victim.c_str(), O_RDWR);
    dup2(descriptor, 0);
    close(descriptor);
    {
        const TestImage image = InFile("scratch", 100, 20, ImageFormatG);
        ImageDestructor(image.object());
        EXPECT_EQ(std::filesystem::file_size(victim), 12u);
        EXPECT_EQ(image->FileHandle, 0);
    }
    EXPECT_EQ(fcntl(0, F_GETFD), -1) << "closed";
    EXPECT_EQ(std::filesystem::file_size(victim), 0u) << "and truncated";
    EXPECT_TRUE(std::filesystem::exists(victim)) << "there is no path to remove";
    dup2(saved, 0);
    close(saved);
}

TEST_F(Construction, TakesTheRowsOfAnImageWhoseFileHasDescriptorZero) {
    // The second teardown of a closed image truncates descriptor 0: were that another image's file, its window would
    // lose the bytes behind it.
    host.parkDescriptorZero = false;
    const int saved = dup(0);
    {
        TestImage closed = InFile("closed", 100, 20, ImageFormatG);
        ImageDestructor(closed.object());
        close(0);
        const TestImage image = InFile("scratch", 100, 20, ImageFormatG);
        EXPECT_EQ(image->FileHandle, 0);
        const TestImage view(ClipImage1(image.object()));
        EXPECT_TRUE(GetRowSpan(image.record(), 5));
        closed = TestImage();
        EXPECT_FALSE(GetRowSpan(image.record(), 5));
        EXPECT_FALSE(GetRowSpan(image.record(), 15));
        EXPECT_FALSE(GetRowSpan(view.record(), 5));
        // The next file gets the descriptor, and loses it in turn when the image ends that had it before.
        const TestImage next = InFile("next", 100, 20, ImageFormatG);
        EXPECT_EQ(next->FileHandle, 0);
        EXPECT_TRUE(GetRowSpan(next.record(), 5));
        ImageDestructor(image.object());
        EXPECT_FALSE(GetRowSpan(next.record(), 5));
    }
    dup2(saved, 0);
    close(saved);
}

// --- constructing an object again -----------------------------------------------------------------------------------

TEST_F(Construction, OverAnyStorageGivesTheOldOneBack) {
    Random random(3);
    const auto construct = [&](REALobject object, int kind, int number) {
        if (kind == 0) {
            ImageConstructor(object, 10, 12, ImageFormatRGBA);
        } else if (kind == 1) {
            const REALobject block = host.NewBlock(12 * 50);
            ImageConstructorMemory(object, block, 10, 12, ImageFormatRGBA, 50);
            REALUnlockObject(block);
        } else {
            const REALobject item = Item("again" + std::to_string(number % 2));
            ImageConstructorFile(object, 10, 12, ImageFormatRGBA, 0, item);
            REALUnlockObject(item);
        }
    };
    for (int round = 0; round < 100; ++round) {
        const TestImage image = Empty();
        for (int step = 0; step < 5; ++step) {
            const int kind = random.Between(0, 2);
            construct(image.object(), kind, random.Between(0, 1));
            ASSERT_TRUE(image->Valid);
            ASSERT_EQ(image->OwnsBuffer, kind == 0);
            ASSERT_EQ(image->MemoryTarget != nullptr, kind == 1);
            ASSERT_EQ(image->IsMapping, kind == 2);
            ASSERT_EQ(image->OwnsFile, kind == 2);
            ASSERT_EQ(image->RowOffset, 0);
            if (kind != 2) {
                ASSERT_FALSE(Exists("again0") || Exists("again1"));
            }
            for (int y = 0; y < 12; ++y) {
                const RowSpan row = GetRowSpan(image.record(), y);
                ASSERT_TRUE(row) << "kind " << kind;
                ASSERT_TRUE(row.Covers(0, 40));
                row.Store(39, 5);
                ASSERT_EQ(row.Load(39), 5);
            }
            if (random.Chance(20)) ImageDestructor(image.object());
        }
    }
    EXPECT_FALSE(Exists("again0") || Exists("again1"));
}

TEST_F(Construction, AgainOnAFileByAnotherNameOfItHasRows) {
    const TestImage image = InFile("scratch", 100, 20, ImageFormatG);
    ASSERT_TRUE(image->Valid);
    const REALobject item =
        host.NewFolderItem(directory.path().string() + "/../" + directory.path().filename().string() + "/scratch");
    ImageConstructorFile(image.object(), 100, 30, ImageFormatG, 0, item);
    REALUnlockObject(item);
    EXPECT_EQ(image->Height, 30);
    for (int y = 0; y < 30; ++y) {
        const RowSpan row = GetRowSpan(image.record(), y);
        ASSERT_TRUE(row) << y;
        row.Store(0, 1);
    }
    EXPECT_TRUE(Exists("scratch"));
    ImageDestructor(image.object());
    EXPECT_FALSE(Exists("scratch"));
}

TEST_F(Construction, AgainOnAViewMakesItAnImageOfItsOwn) {
    const TestImage source = MakePlain(10, 10, ImageFormatRGB);
    const TestImage view(ClipImage5(source.object(), 2, 3, 4, 5));
    EXPECT_EQ(host.Locks(source.object()), 2);
    ImageConstructor(view.object(), 4, 4, ImageFormatRGB);
    EXPECT_EQ(host.Locks(source.object()), 1);
    EXPECT_EQ(view->Parent, nullptr);
    EXPECT_EQ(view->RowOffset, 0);
    EXPECT_EQ(view->RedOffset, 0);
    EXPECT_NE(view->Pixels, source->Pixels);
    EXPECT_TRUE(GetRowSpan(source.record(), 0));
}

TEST_F(Construction, AgainThatGivesUpTouchesOnlyTheOldStorage) {
    // The record then holds the new size over the old pixels.
    for (int kind = 0; kind < 3; ++kind) {
        TestImage image = kind == 0   ? MakePlain(10, 10, ImageFormatRGB)
                          : kind == 1 ? MakeOnBlock(10, 10, ImageFormatRGB, 33)
                                      : MakeInFile(directory, 10, 10, ImageFormatRGB, 5);
        ImageConstructor(image.object(), 1000000, 1000000, ImageFormatRGBA);
        ImageConstructor(image.object(), 900000, 900000, 14);
        EXPECT_EQ(image->Width, 900000);
        for (const int y : {0, 1, 9, 10, 500, 899999}) {
            const RowSpan row = GetRowSpan(image.record(), y);
            for (const std::ptrdiff_t at : {0L, 29L, 3600000L, 100000000L, -100000L}) row.Store(at, 1);
        }
    }
}

// --- properties -----------------------------------------------------------------------------------------------------

TEST_F(Construction, GivesTheMemoryAsABlockOverThePixels) {
    const TestImage image = MakePlain(3, 3, ImageFormatRGB);
    const REALobject block = GetMemory(image.object(), 0);
    ASSERT_TRUE(block);
    EXPECT_EQ(host.BlockData(block), image->Pixels);
    EXPECT_EQ(host.Locks(block), 1);
    REALUnlockObject(block);
    const TestImage inFile = MakeInFile(directory, 3, 20, ImageFormatRGB, 6);
    inFile->GetRow(inFile.record(), 15);
    const REALobject window = GetMemory(inFile.object(), 0);
    EXPECT_EQ(host.BlockData(window), inFile->Pixels);
    REALUnlockObject(window);
    const TestImage empty = Empty();
    EXPECT_EQ(GetMemory(empty.object(), 0), nullptr);
    EXPECT_EQ(GetTotalSizeInt64(empty.object(), 0), 0);
}

}  // namespace
