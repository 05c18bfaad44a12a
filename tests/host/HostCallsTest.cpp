// The wrappers around the host's functions: each calls through, and each is a quiet nothing where the host lacks it.

#include "host/HostCalls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "core/RegisteredClasses.h"
#include "support/FakeHost.h"

using namespace zor;

namespace {

class HostCalls : public EngineTest {};

TEST_F(HostCalls, AsksForAnInstanceByClassName) {
    const REALobject object = REALnewInstance("PictureZOR");
    ASSERT_TRUE(object);
    EXPECT_EQ(host.ClassOf(object), "PictureZOR");
    EXPECT_EQ(host.Locks(object), 1);
    REALUnlockObject(object);
    EXPECT_EQ(REALnewInstance("NoSuchClass"), nullptr);
}

TEST_F(HostCalls, LocksAndUnlocksObjectsAndStrings) {
    const REALobject object = host.NewObject("Picture");
    REALLockObject(object);
    EXPECT_EQ(host.Locks(object), 2);
    REALUnlockObject(object);
    REALUnlockObject(object);
    EXPECT_FALSE(host.IsAlive(object));
    const REALstring string = host.NewString("text", kREALEncodingUTF8);
    REALLockString(string);
    EXPECT_EQ(host.Locks(string), 2);
    REALUnlockString(string);
    REALUnlockString(string);
    EXPECT_FALSE(host.IsAlive(string));
}

TEST_F(HostCalls, ReadsArrays) {
    const REALarray array = host.NewArray({5, -7, 2147483647});
    EXPECT_EQ(REALGetArrayUBound(array), 2);
    EXPECT_EQ(REALGetArrayInt(array, 0), 5);
    EXPECT_EQ(REALGetArrayInt(array, 1), -7);
    EXPECT_EQ(REALGetArrayInt(array, 2), 2147483647);
    EXPECT_EQ(REALGetArrayUBound(host.NewArray({})), -1);
}

TEST_F(HostCalls, PassesTheEventsIdentifyingWord) {
    const REALobject deaf = host.NewFactory();
    const REALobject factory = host.NewFactory([](int, int, int) -> REALobject { return nullptr; });
    const REALevent event = {
        "unused", FakeHost::Started().definitions.at("PictureFactoryZOR")->events[0].identifier, {0, 0}};
    EXPECT_NE(REALGetEventInstance(factory, &event), nullptr);
    EXPECT_EQ(REALGetEventInstance(deaf, &event), nullptr);
    REALUnlockObject(deaf);
    REALUnlockObject(factory);
}

TEST_F(HostCalls, MakesMemoryBlocksWithAndWithoutACopy) {
    const REALobject block = REALNewMemoryBlock(5);
    ASSERT_TRUE(block);
    std::uint8_t* const data = static_cast<std::uint8_t*>(REALMemoryBlockGetPtr(block));
    ASSERT_TRUE(data);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(data[i], 0);
    const REALobject over = REALPtrToMemoryBlock(data + 1);
    EXPECT_EQ(REALMemoryBlockGetPtr(over), data + 1);
    REALUnlockObject(over);
    REALUnlockObject(block);
}

TEST_F(HostCalls, CopiesBytesIntoANewMemoryBlock) {
    const REALobject block = REALBuildMemoryblock("abc", 3);
    ASSERT_TRUE(block);
    EXPECT_EQ(host.BlockSize(block), 3u);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(host.BlockData(block)), 3), "abc");
    EXPECT_EQ(host.Locks(block), 1);
    REALUnlockObject(block);
}

TEST_F(HostCalls, BuildsNoMemoryBlockWithoutBytes) {
    EXPECT_EQ(REALBuildMemoryblock("abc", 0), nullptr);
    EXPECT_EQ(REALBuildMemoryblock("abc", -1), nullptr);
    EXPECT_EQ(REALBuildMemoryblock(nullptr, 3), nullptr);
    EXPECT_EQ(host.Count("newMemoryBlock"), 0);
}

TEST_F(HostCalls, GivesBackAMemoryBlockThatHasNoData) {
    host.failNewMemoryBlock = true;
    EXPECT_EQ(REALBuildMemoryblock("abc", 3), nullptr);
    host.failNewMemoryBlock = false;
    host.newBlocksHaveData = false;
    EXPECT_EQ(REALBuildMemoryblock("abc", 3), nullptr);
    EXPECT_EQ(host.LiveObjects(), 0u);
}

TEST_F(HostCalls, ReadsIntegerProperties) {
    host.intProperties["Depth"] = 32;
    int value = 0;
    EXPECT_TRUE(REALGetPropValue(nullptr, "Depth", &value));
    EXPECT_EQ(value, 32);
    EXPECT_FALSE(REALGetPropValue(nullptr, "Width", &value));
}

TEST_F(HostCalls, PassesPictureOperationsOn) {
    const REALobject picture = host.NewObject("Picture");
    const REALobject mask = host.NewObject("Picture");
    host.pictures.newPicture = [&](int width, int height, int depth) {
        return width == 3 && height == 4 && depth == 32 ? picture : nullptr;
    };
    host.pictures.buildFromBuffer = [&](int width, int height, int type, void* buffer, int rowBytes) {
        return width == 3 && height == 4 && type == 1 && buffer == mask && rowBytes == 12 ? picture : nullptr;
    };
    host.pictures.lock = [](REALobject, REALpictureDescription* description) { description->kind = 4; };
    host.pictures.lockKind = [](REALobject, REALpictureDescription* description, REALword kind) {
        description->kind = static_cast<int>(kind);
        return kind == 10;
    };
    host.pictures.graphics = [&](REALobject) { return mask; };
    host.pictures.mask = [&](REALobject, int create) { return create ? mask : nullptr; };
    static int method;
    host.objectMethods["DrawPicture"] = &method;

    EXPECT_EQ(REALNewPicture(3, 4, 32), picture);
    EXPECT_EQ(REALBuildPictureFromBuffer(3, 4, 1, mask, 12), picture);
    REALpictureDescription description{};
    REALLockPictureDescription(picture, &description);
    EXPECT_EQ(description.kind, 4);
    EXPECT_TRUE(REALLockPictureDescription(picture, &description, 10));
    EXPECT_FALSE(REALLockPictureDescription(picture, &description, 3));
    EXPECT_EQ(description.kind, 3);
    EXPECT_EQ(REALGetPictureGraphics(picture), mask);
    EXPECT_EQ(REALGetPictureMask(picture, 1), mask);
    EXPECT_EQ(REALGetPictureMask(picture, 0), nullptr);
    EXPECT_EQ(REALLoadObjectMethod(picture, "DrawPicture"), &method);
    REALPictureClearCache(picture);
    REALUnlockPictureDescription(picture);
    EXPECT_EQ(host.Count("REALPictureClearCache"), 1);
    EXPECT_EQ(host.Count("unlockPictureDescription"), 1);
    REALUnlockObject(picture);
    REALUnlockObject(mask);
}

TEST_F(HostCalls, UnlocksARefusedPictureOnOldHostsOnly) {
    const REALobject picture = host.NewObject("Picture");
    REALpictureDescription description{};
    bool accepted = false;
    host.pictures.lockKind = [&](REALobject, REALpictureDescription*, REALword) { return accepted; };
    struct Case {
        double version;
        bool accepted;
        int unlocks;
    };
    for (const Case& each : {Case{2011.9, false, 1}, Case{2012.0, false, 0}, Case{2013, false, 0},
                             Case{2011.9, true, 0}, Case{2013, true, 0}, Case{0, false, 1}}) {
        host.SetVersion(each.version);
        host.ClearLog();
        accepted = each.accepted;
        EXPECT_EQ(REALLockPictureDescriptionX(picture, &description, 10) != 0, each.accepted);
        EXPECT_EQ(host.Count("unlockPictureDescription"), each.unlocks) << "version " << each.version;
    }
    REALUnlockObject(picture);
}

// --- which kind of application
// ----------------------------------------------------------------------------------------

struct ApplicationCase {
    const char* name;
    std::set<std::string> classes;
    bool desktop, console;
};

class Applications : public EngineTest, public ::testing::WithParamInterface<ApplicationCase> {};

TEST_P(Applications, AreSortedByTheClassThatExists) {
    host.applicationClasses = GetParam().classes;
    CheckApplication();
    EXPECT_EQ(IsDesktop, GetParam().desktop);
    EXPECT_EQ(IsConsole, GetParam().console);
    EXPECT_EQ(host.Count("pluginObjectType"), 3);
}

INSTANTIATE_TEST_SUITE_P(
    HostCalls, Applications,
    ::testing::Values(ApplicationCase{"none", {}, false, false},
                      ApplicationCase{"desktop", {"Application"}, true, false},
                      ApplicationCase{"web", {"WebApplication"}, false, true},
                      ApplicationCase{"console", {"ConsoleApplication"}, false, true},
                      ApplicationCase{"both", {"WebApplication", "ConsoleApplication"}, false, true},
                      ApplicationCase{"desktopWins", {"Application", "ConsoleApplication"}, true, false}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(HostCalls, KeepsTheKindOfApplicationOnceFound) {
    host.applicationClasses = {"Application"};
    CheckApplication();
    host.applicationClasses = {};
    CheckApplication();
    EXPECT_TRUE(IsDesktop);
    host.applicationClasses = {"ConsoleApplication"};
    CheckApplication();
    EXPECT_TRUE(IsDesktop);
    EXPECT_TRUE(IsConsole);
}

// --- functions that the host lacks
// ------------------------------------------------------------------------------------

struct Wrapper {
    const char* hostName;
    std::function<bool(FakeHost&)> call;  // true if it gave something, or something happened
};

// Objects and strings that the calls below pass along. They exist in the fake host whatever is missing.
struct Subjects {
    REALobject object, block, item, factory;
    REALstring string;
    REALarray array;
};

std::vector<Wrapper> AllWrappers(const Subjects& s) {
    const auto counted = [](const char* name, std::function<void()> call) {
        return [name, call](FakeHost& host) {
            const int before = host.Count(name);
            call();
            return host.Count(name) > before;
        };
    };
    static REALclassDefinition definition = [] {
        REALclassDefinition empty{};
        empty.name = "Another";
        return empty;
    }();
    static REALevent event = {"", 7000, {0, 0}};
    static REALpictureDescription description;
    static REALstringData data;
    static int number;
    return {
        {"PluginRegisterClass",
         [](FakeHost&) {
             const std::size_t before = FakeHost::Started().classNames.size();
             REALRegisterClass(&definition);
             return FakeHost::Started().classNames.size() > before;
         }},
        {"pluginObjectType", [](FakeHost&) { return REALGetClassRef("Application") != nullptr; }},
        {"PluginNewInstance", [](FakeHost&) { return REALnewInstance("NilObjectException") != nullptr; }},
        {"REALLockObject", counted("REALLockObject", [s] { REALLockObject(s.object); })},
        {"REALUnlockObject", counted("REALUnlockObject", [s] { REALUnlockObject(s.object); })},
        {"REALLockString", counted("REALLockString", [s] { REALLockString(s.string); })},
        {"REALUnlockString", counted("REALUnlockString", [s] { REALUnlockString(s.string); })},
        {"GetEventInstance", [s](FakeHost&) { return REALGetEventInstance(s.factory, &event) != nullptr; }},
        {"RuntimeRaiseException", counted("RuntimeRaiseException", [s] { REALRaiseException(s.object); })},
        {"RuntimeUBound", [s](FakeHost&) { return REALGetArrayUBound(s.array) != 0; }},
        {"RuntimeDirectReadIntArray", [s](FakeHost&) { return REALGetArrayInt(s.array, 1) != 0; }},
        {"REALYieldToRB", counted("REALYieldToRB", [] { REALYieldToRB(); })},
        {"REALGetPropValueInt", [s](FakeHost&) { return REALGetPropValue(s.object, "Depth", &number) != 0; }},
        {"REALSetPropValueString", [s](FakeHost&) { return REALSetPropValue(s.object, "Message", s.string) != 0; }},
        {"REALBuildString", [](FakeHost&) { return originalREALBuildString("a", 1) != nullptr; }},
        {"REALGetStringEncoding", [s](FakeHost&) { return REALGetStringEncoding(s.string) != 0; }},
        {"REALSetStringEncoding",
         counted("REALSetStringEncoding", [s] { REALSetStringEncoding(s.string, kREALEncodingASCII); })},
        {"REALConvertString", [s](FakeHost&) { return REALConvertString(s.string, kREALEncodingUTF8) != nullptr; }},
        {"PluginGetStringData", [s](FakeHost&) { return REALGetStringData(s.string, kREALEncodingUTF8, &data) != 0; }},
        {"newMemoryBlock", [](FakeHost&) { return REALNewMemoryBlock(4) != nullptr; }},
        {"memoryBlockGetPtr", [s](FakeHost&) { return REALMemoryBlockGetPtr(s.block) != nullptr; }},
        {"PtrToMemoryBlock", [](FakeHost&) { return REALPtrToMemoryBlock(&number) != nullptr; }},
        {"REALFSRefFromFolderItem",
         [s](FakeHost&) {
             static FSRef ref;
             REALstring name = nullptr;
             return REALFSRefFromFolderItem(s.item, &ref, &name) != 0;
         }},
        {"REALFSSpecFromFolderItem", counted("REALFSSpecFromFolderItem",
                                             [s] {
                                                 static FSSpec spec;
                                                 REALFSSpecFromFolderItem(&spec, s.item);
                                             })},
        {"newPicture", [](FakeHost&) { return REALNewPicture(1, 1, 32) != nullptr; }},
        {"REALBuildPictureFromBuffer",
         [](FakeHost&) { return REALBuildPictureFromBuffer(1, 1, 1, nullptr, 4) != nullptr; }},
        {"lockPictureDescription",
         counted("lockPictureDescription", [s] { REALLockPictureDescription(s.object, &description); })},
        {"REALLockPictureDescription",
         [s](FakeHost&) { return REALLockPictureDescription(s.object, &description, 10) != 0; }},
        {"unlockPictureDescription",
         counted("unlockPictureDescription", [s] { REALUnlockPictureDescription(s.object); })},
        {"REALPictureClearCache", counted("REALPictureClearCache", [s] { REALPictureClearCache(s.object); })},
        {"pluginPictureGraphicsGetter", [s](FakeHost&) { return REALGetPictureGraphics(s.object) != nullptr; }},
        {"REALGetPictureMask", [s](FakeHost&) { return REALGetPictureMask(s.object, 1) != nullptr; }},
        {"REALLoadObjectMethod", [s](FakeHost&) { return REALLoadObjectMethod(s.object, "Method") != nullptr; }},
    };
}

void PrepareAnswers(FakeHost& host, Subjects* s) {
    s->object = host.NewObject("Picture");
    s->block = host.NewBlock(4);
    s->item = host.NewFolderItem("/folder/name");
    s->factory = host.NewFactory([](int, int, int) -> REALobject { return nullptr; });
    s->string = host.NewString("text", kREALEncodingUTF8);
    s->array = host.NewArray({3, 4, 5});
    host.applicationClasses = {"Application"};
    host.intProperties["Depth"] = 32;
    static int method;
    host.objectMethods["Method"] = &method;
    const REALobject picture = s->object;
    host.pictures.newPicture = [picture](int, int, int) { return picture; };
    host.pictures.buildFromBuffer = [picture](int, int, int, void*, int) { return picture; };
    host.pictures.lockKind = [](REALobject, REALpictureDescription*, REALword) { return true; };
    host.pictures.graphics = [picture](REALobject) { return picture; };
    host.pictures.mask = [picture](REALobject, int) { return picture; };
}

std::set<std::string> AllNames() {
    std::set<std::string> names = {"RegisterPluginVersion", "REALGetRBVersion", "StringGetCString",
                                   "REALLoadGlobalMethod"};
    for (const Wrapper& wrapper : AllWrappers(Subjects{})) names.insert(wrapper.hostName);
    return names;
}

TEST(MissingHostFunctions, GiveNothingAndAreAskedForAgain) {
    InFreshProcess([] {
        FakeHost host(AllNames());
        Subjects subjects{};
        PrepareAnswers(host, &subjects);
        REALevent& event = ImageFactoryEvents[0];
        event.identifier = 7000;
        const std::vector<Wrapper> wrappers = AllWrappers(subjects);
        ASSERT_EQ(wrappers.size(), 33u);
        for (const Wrapper& wrapper : wrappers) {
            SCOPED_TRACE(wrapper.hostName);
            const auto lookUps = [&] {
                const auto& all = FakeHost::Started().lookUps;
                return std::count(all.begin(), all.end(), wrapper.hostName);
            };
            const auto before = lookUps();
            EXPECT_FALSE(wrapper.call(host)) << "while missing";
            EXPECT_FALSE(wrapper.call(host)) << "while missing";
            EXPECT_EQ(lookUps(), before + 2) << "a failed look-up is tried again";
            host.Restore(wrapper.hostName);
            EXPECT_TRUE(wrapper.call(host)) << "once the host has it";
            EXPECT_EQ(lookUps(), before + 3);
            EXPECT_TRUE(wrapper.call(host));
            EXPECT_EQ(lookUps(), before + 3) << "what was found is kept";
        }
    });
}

TEST(MissingHostFunctions, LeaveTheStartUndone) {
    InFreshProcess([] {
        FakeHost host(AllNames());
        EXPECT_EQ(FakeHost::Started().pluginVersion, 0);
        EXPECT_EQ(rbversion_rbversion, 0.0);
        EXPECT_TRUE(FakeHost::Started().classNames.empty());
        CheckApplication();
        EXPECT_FALSE(IsDesktop);
        EXPECT_FALSE(IsConsole);
        RaiseException("OutOfMemoryException", "nobody hears this");
        RaiseOutOfBoundsException(5, 0, 3, "index", "Channel");
        EXPECT_FALSE(host.TakeException());
        EXPECT_EQ(REALBuildUnicodeString("abc", 3, kREALEncodingASCII), nullptr);
        EXPECT_EQ(REALBuildUnicodeString("abcd", 4, kREALEncodingUTF16), nullptr);
        EXPECT_EQ(REALBuildUnicodeString("abcd", 4, kREALEncodingUTF32), nullptr);
        EXPECT_EQ(REALBuildMemoryblock("abc", 3), nullptr);
    });
}

}  // namespace
