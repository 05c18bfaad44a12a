#include <gtest/gtest.h>

#include <unistd.h>

#include <fstream>

#include "TestHost.h"

namespace zorhost {

static std::string BytesOf(const TestHost& test, const Value& block) {
    const BlockBytes bytes = test.host.MemoryBlockBytes(block.AsObject());
    return std::string(reinterpret_cast<const char*>(bytes.data), static_cast<std::size_t>(bytes.size));
}

// Encodings are plain integers to the methods of a class.
static int Number(Encoding encoding) {
    return static_cast<int>(encoding);
}

// New and old hosts, with and without the service that hands out the bytes of a string.
struct HostKind {
    const char* what;
    double version;
    std::set<std::string> missing;
};
static const HostKind kHostKinds[] = {
    {"new host", 2020.01, {}},
    {"old host", 2011.04, {}},
    {"new host without string data", 2020.01, {"PluginGetStringData", "PluginDisposeStringData"}},
    {"old host without string data", 2011.04, {"PluginGetStringData", "PluginDisposeStringData"}},
};

TEST(Strings, AreReadableInEveryWayOnEveryHost) {
    const String texts[] = {{"\xC3\xA4", kUTF8},
                            {"\x8A", kMacRoman},
                            {std::string("\0\xE4", 2), kUTF16},
                            {"ascii", kASCII},
                            {std::string("\0\xFF\0", 3), kRawBytes},
                            {std::string("\xE4\0\0\0", 4), kUTF32},
                            {"", kUTF8}};
    for (const HostKind& kind : kHostKinds) {
        TestHost test({.version = kind.version, .missing = kind.missing});
        {
            const Object probe = test.Probe(1);
            for (const String& text : texts) {
                SCOPED_TRACE(std::string(kind.what) + ", encoding " + std::to_string(text.encoding));
                EXPECT_EQ(BytesOf(test, probe.Call("RecordOf", text)), text.bytes);
                EXPECT_EQ(BytesOf(test, probe.Call("DataOf", text, Number(kRawBytes))), text.bytes);
                EXPECT_EQ(probe.Call("EncodingOf", text).AsInt64(), static_cast<std::int64_t>(text.encoding));
                EXPECT_EQ(probe.Call("EchoString", text).AsString(), text);
            }
        }
        test.ExpectClean();
    }
}

TEST(Strings, AreConvertedForThePlugin) {
    TestHost test;
    {
        const Object probe = test.Probe(1);
        const String converted = probe.Call("Convert", "\xC3\xA4", Number(kMacRoman)).AsString();
        EXPECT_EQ(converted, (String{"\x8A", kMacRoman}));
        EXPECT_EQ(BytesOf(test, probe.Call("DataOf", converted, Number(kUTF8))), "\xC3\xA4");
        EXPECT_EQ(probe.Call("Convert", "A", Number(kUTF16)).AsBytes().size(), 2u);
        EXPECT_TRUE(probe.Call("Convert", "A", 0x123).IsNil());
        EXPECT_TRUE(probe.Call("DataOf", "A", 0x123).IsNil());
        EXPECT_TRUE(probe.Call("Convert", nullptr, Number(kUTF8)).IsNil());
    }
    test.ExpectClean();
}

TEST(MemoryBlocks, AreZeroFilledOrCopiedOrLaidOver) {
    TestHost test;
    {
        const Object zeros = test.host.MakeMemoryBlock(100);
        EXPECT_EQ(BytesOf(test, zeros), std::string(100, '\0'));
        EXPECT_EQ(zeros.Get("Size").AsInt64(), 100);
        const unsigned char bytes[] = {1, 2, 3};
        EXPECT_EQ(BytesOf(test, test.host.MakeMemoryBlock(bytes)), "\1\2\3");
        unsigned char mine[] = {4, 5};
        const Object over = test.host.MakeMemoryBlockOver(mine);
        EXPECT_EQ(test.host.MemoryBlockBytes(over).data, mine);
        EXPECT_EQ(test.host.MemoryBlockBytes(over).size, -1);
        const Object empty = test.host.MakeMemoryBlock(0);
        EXPECT_EQ(test.host.MemoryBlockBytes(empty).data, nullptr);
        EXPECT_EQ(test.host.MemoryBlockBytes(empty).size, 0);
        const Object probe = test.Probe(1);
        probe.Assign("Cell", 0, 0x01020304);
        const Object cells = probe.Call("BlockOver").AsObject();
        EXPECT_EQ(test.host.MemoryBlockBytes(cells).size, -1);
        EXPECT_EQ(test.host.MemoryBlockBytes(cells).data[0], 4);
        EXPECT_EQ(test.host.MemoryBlockBytes(probe.Call("NewBlock", 20).AsObject()).size, 20);
        EXPECT_TRUE(probe.Call("NewBlock", -1).IsNil());
    }
    test.ExpectClean();
}

TEST(MemoryBlocks, RefuseWhatIsNone) {
    TestHost test;
    EXPECT_NE(ErrorOf([&] { test.host.MakeMemoryBlock(-1); }).find("-1 bytes"), std::string::npos);
    EXPECT_EQ(ErrorOf([&] { test.host.MemoryBlockBytes(test.Probe(1)); }), "found Probe where a MemoryBlock is wanted");
    EXPECT_EQ(ErrorOf([&] { test.host.MemoryBlockBytes(Object()); }), "found nil where a MemoryBlock is wanted");
    const Object block = test.host.MakeMemoryBlock(1);
    EXPECT_EQ(ErrorOf([&] { block.Call("Byte", 0); }), "MemoryBlock has no method \"Byte\"");
}

TEST(FolderItems, NameFilesInThreeWays) {
    namespace fs = std::filesystem;
    const fs::path folder = fs::temp_directory_path() / ("zorhost-folder-" + std::to_string(getpid()));
    fs::create_directory(folder);
    std::ofstream(folder / "there") << "x";
    TestHost test;
    {
        const Object probe = test.Probe(1);
        const auto look = [&](const Object& item, int lookUp) { return probe.Call("PathOf", item, lookUp).AsText(); };
        const Object there = test.host.MakeFolderItem(folder / "there");
        EXPECT_EQ(look(there, 1), (folder / "there").string());
        EXPECT_EQ(look(there, 2), folder.string() + " + there");
        EXPECT_EQ(look(there, 3), (folder / "there").string());
        const Object absent = test.host.MakeFolderItem(folder / "absent \xC3\xA4");
        EXPECT_EQ(look(absent, 1), "no");
        EXPECT_EQ(look(absent, 2), folder.string() + " + absent \xC3\xA4");
        EXPECT_EQ(look(absent, 2), folder.string() + " + absent \xC3\xA4");
        EXPECT_EQ(look(absent, 3), (folder / "absent \xC3\xA4").string());
        const Object nowhere = test.host.MakeFolderItem(folder / "no folder" / "file");
        EXPECT_EQ(look(nowhere, 1), "no");
        EXPECT_EQ(look(nowhere, 2), "no");
        EXPECT_EQ(look(nullptr, 1), "no");
        const Object relative = test.host.MakeFolderItem("here");
        EXPECT_EQ(relative.Get("AbsolutePath").AsText(), (fs::current_path() / "here").string());
        EXPECT_EQ(relative.Get("Name").AsText(), "here");
        EXPECT_EQ(look(test.host.MakeFolderItem("/" + std::string(5000, 'x')), 3), "no");
        EXPECT_NE(ErrorOf([&] { test.host.MakeFolderItem(""); }), "");
    }
    test.ExpectClean();
    fs::remove_all(folder);
}

TEST(Services, AreAllThereOrMissingByName) {
    const char* const names[] = {
        "RegisterPluginVersion",     "REALGetRBVersion",        "PluginRegisterClass",      "pluginObjectType",
        "PluginNewInstance",         "REALLockObject",          "REALUnlockObject",         "REALLockString",
        "REALUnlockString",          "GetEventInstance",        "RuntimeRaiseException",    "RuntimeUBound",
        "RuntimeDirectReadIntArray", "REALYieldToRB",           "REALGetPropValueInt",      "REALSetPropValueString",
        "REALBuildString",           "REALGetStringEncoding",   "REALSetStringEncoding",    "REALConvertString",
        "PluginGetStringData",       "PluginDisposeStringData", "newMemoryBlock",           "memoryBlockGetPtr",
        "PtrToMemoryBlock",          "REALFSRefFromFolderItem", "REALFSSpecFromFolderItem", "REALLoadObjectMethod",
        "REALLoadGlobalMethod",      "StringGetCString"};
    TestHost test({.missing = {"REALYieldToRB"}});
    for (const std::string name : names) {
        const bool exists = test.host.CallShared("Probe", "ServiceExists", name).AsBool();
        EXPECT_EQ(exists, name != "REALYieldToRB") << name;
    }
    EXPECT_FALSE(test.host.CallShared("Probe", "ServiceExists", "REALNoSuchService").AsBool());
}

TEST(Services, TellTheVersions) {
    {
        TestHost test({.version = 2009.5});
        EXPECT_EQ(test.host.CallShared("Probe", "HostVersion").AsDouble(), 2009.5);
        EXPECT_EQ(test.host.Version(), 2009.5);
        EXPECT_EQ(test.host.PluginVersion(), 9);
    }
    TestHost silent({.missing = {"REALGetRBVersion", "RegisterPluginVersion"}});
    EXPECT_EQ(silent.host.CallShared("Probe", "HostVersion").AsDouble(), 0.0);
    EXPECT_EQ(silent.host.PluginVersion(), 0);
}

}  // namespace zorhost
