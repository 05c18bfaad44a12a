#include <gtest/gtest.h>

#include <cstdlib>

#include "host/Platform.h"
#include "support/FakeHost.h"

using namespace zor;

namespace {

class FolderPath : public EngineTest {
protected:
    std::string PathOf(const std::string& path, FakeHost::FileForm form) {
        const REALobject item = host.NewFolderItem(path, form);
        char* const text = UnixFilePath(item);
        const std::string result = text ? text : "(nil)";
        std::free(text);
        REALUnlockObject(item);
        return result;
    }
    int Asked(const char* function) const { return host.Count(function); }
};

using Form = FakeHost::FileForm;

TEST_F(FolderPath, OfAFileThatExistsNeedsOneQuestion) {
    EXPECT_EQ(PathOf("/folder/file.raw", Form::reference), "/folder/file.raw");
    EXPECT_EQ(Asked("REALFSRefFromFolderItem"), 1);
    EXPECT_EQ(Asked("REALFSRefFromFolderItem with a name"), 0);
    EXPECT_EQ(Asked("REALFSSpecFromFolderItem"), 0);
}

TEST_F(FolderPath, OfAFileToComeIsItsFolderAndItsName) {
    EXPECT_EQ(PathOf("/folder/file.raw", Form::folderAndName), "/folder/file.raw");
    EXPECT_EQ(Asked("REALFSRefFromFolderItem"), 1);
    EXPECT_EQ(Asked("REALFSRefFromFolderItem with a name"), 1);
    EXPECT_EQ(Asked("REALFSSpecFromFolderItem"), 0);
}

TEST_F(FolderPath, InTheRootHasOneSlash) {
    EXPECT_EQ(PathOf("/file.raw", Form::folderAndName), "/file.raw");
}

TEST_F(FolderPath, KeepsTheNameByteForByte) {
    // Composed and decomposed names are two files here, and a name need not be text at all.
    EXPECT_EQ(PathOf("/f/caf\xC3\xA9", Form::folderAndName), "/f/caf\xC3\xA9");
    EXPECT_EQ(PathOf("/f/cafe\xCC\x81", Form::folderAndName), "/f/cafe\xCC\x81");
    EXPECT_EQ(PathOf("/f/\xFF\xFE", Form::folderAndName), "/f/\xFF\xFE");
    host.SetVersion(2011);
    EXPECT_EQ(PathOf("/f/caf\xC3\xA9", Form::folderAndName), "/f/caf\xC3\xA9") << "on an old host";
}

TEST_F(FolderPath, FallsBackOnTheOldestQuestion) {
    EXPECT_EQ(PathOf("/folder/file.raw", Form::spec), "/folder/file.raw");
    EXPECT_EQ(Asked("REALFSRefFromFolderItem"), 1);
    EXPECT_EQ(Asked("REALFSRefFromFolderItem with a name"), 1);
    EXPECT_EQ(Asked("REALFSSpecFromFolderItem"), 1);
}

TEST_F(FolderPath, IsNilWhereThereIsNone) {
    EXPECT_EQ(UnixFilePath(nullptr), nullptr);
    EXPECT_TRUE(host.Log().empty());
    EXPECT_EQ(PathOf("/folder/file.raw", Form::none), "(nil)");
    EXPECT_EQ(PathOf("", Form::reference), "(nil)");
    EXPECT_EQ(PathOf("", Form::spec), "(nil)");
    EXPECT_EQ(PathOf("/folder/", Form::folderAndName), "(nil)") << "a name without a byte";
}

TEST_F(FolderPath, MayBeLong) {
    const std::string path = "/" + std::string(3000, 'a') + "/" + std::string(200, 'b');
    EXPECT_EQ(PathOf(path, Form::reference), path);
    EXPECT_EQ(PathOf(path, Form::folderAndName), path);
    EXPECT_EQ(PathOf("/" + std::string(4094, 'a'), Form::reference), "/" + std::string(4094, 'a'));
    EXPECT_EQ(PathOf("/" + std::string(4095, 'a'), Form::reference), "(nil)") << "a record without its end";
}

}  // namespace
