#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

#include "TestHost.h"

namespace zorhost {

TEST(Worlds, HaveTheirApplicationClass) {
    const struct {
        World world;
        const char* application;
    } worlds[] = {{World::Console, "ConsoleApplication"},
                  {World::Web, "WebApplication"},
                  {World::Desktop, "Application"},
                  {World::None, ""}};
    for (const auto& [world, application] : worlds) {
        TestHost test({.world = world});
        EXPECT_EQ(test.host.ApplicationWorld(), world);
        for (const std::string name : {"ConsoleApplication", "WebApplication", "Application"}) {
            EXPECT_EQ(test.host.CallShared("Probe", "ClassExists", name).AsBool(), name == application) << name;
        }
        EXPECT_TRUE(test.host.CallShared("Probe", "ClassExists", "probe").AsBool());
        EXPECT_TRUE(test.host.CallShared("Probe", "ClassExists", "Picture").AsBool());
        EXPECT_FALSE(test.host.CallShared("Probe", "ClassExists", "GWorldZOR").AsBool());
    }
}

TEST(Worlds, OfferTheRowsMarkedForThem) {
    for (const World world : {World::Console, World::Web, World::Desktop, World::None}) {
        TestHost test({.world = world});
        const Object probe = test.Probe(1);
        const bool all = world == World::Desktop || world == World::None;
        const auto works = [](auto call) {
            try {
                call();
                return true;
            } catch (const Error& error) {
                EXPECT_NE(std::string(error.what()).find("not available in "), std::string::npos) << error.what();
                return false;
            }
        };
        EXPECT_EQ(works([&] { probe.Call("OnDesktop"); }), all);
        EXPECT_TRUE(works([&] { probe.Call("OnConsole"); })) << "web applications are console applications too";
        EXPECT_EQ(works([&] { probe.Get("DesktopNumber"); }), all);
        EXPECT_EQ(works([&] { probe.Set("DesktopNumber", 4); }), all);
        EXPECT_EQ(works([&] { test.host.CallShared("Probe", "SharedOnDesktop"); }), all);
        EXPECT_TRUE(works([&] { test.host.New("SubProbe"); }));
        EXPECT_TRUE(works([&] { probe.Call("Touch"); }));
    }
}

TEST(Worlds, NameTheFormsThatTheyLack) {
    TestHost test;
    const Object probe = test.Probe(1);
    EXPECT_EQ(ErrorOf([&] { probe.Call("OnDesktop"); }),
              "Probe.OnDesktop is not available in console applications for (); there are:\n"
              "    OnDesktop    (not in console applications)");
    EXPECT_EQ(ErrorOf([&] { probe.Get("DesktopNumber"); }),
              "the property Probe.DesktopNumber is not available in console applications");
}

template <class Row>
static const Row* FindRow(const std::vector<Row>& rows, std::string_view declaration) {
    for (const Row& row : rows) {
        if (row.declaration == declaration) return &row;
    }
    return nullptr;
}

TEST(Descriptions, ListWhatWasRegistered) {
    TestHost test;
    const auto& classes = test.host.Classes();
    ASSERT_EQ(classes.size(), 5u);
    EXPECT_EQ(classes[0].name, "Probe");
    EXPECT_EQ(classes[1].name, "SubProbe");
    EXPECT_EQ(classes[1].superName, "Probe");
    const ClassDescription& probe = test.host.Describe("PROBE");
    EXPECT_EQ(probe.flags, 0xC);
    EXPECT_TRUE(probe.available);
    EXPECT_EQ(probe.properties.size(), 16u);
    EXPECT_EQ(probe.methods.front().declaration, "Constructor(number as integer)");
    EXPECT_EQ(probe.sharedMethods.front().declaration, "TakeLog as string");
    ASSERT_EQ(probe.constants.size(), 7u);
    EXPECT_EQ(probe.constants[1].declaration, "Ten = &h0000000A");
    EXPECT_EQ(probe.constants[1].name, "Ten");
    EXPECT_EQ(probe.constants[1].value.AsInt(), 10);

    const auto* const cell = FindRow(probe.methods, "Cell(index as integer) as integer");
    ASSERT_TRUE(cell);
    EXPECT_TRUE(cell->assignable);
    EXPECT_TRUE(cell->available);
    EXPECT_EQ(cell->signature.name, "Cell");
    EXPECT_EQ(cell->signature.parameters.at(0).type.kind, Kind::Integer);
    const auto* const hidden = FindRow(probe.methods, "OnDesktop");
    ASSERT_TRUE(hidden);
    EXPECT_FALSE(hidden->available);
    EXPECT_FALSE(hidden->assignable);
    EXPECT_EQ(hidden->flags, 0);

    const auto* const huge = FindRow(probe.properties, "Huge as Int64");
    ASSERT_TRUE(huge);
    EXPECT_TRUE(huge->readable);
    EXPECT_FALSE(huge->writable);
    EXPECT_EQ(huge->type.kind, Kind::Int64);
    EXPECT_EQ(huge->flags, 0xE);
    const auto* const real = FindRow(probe.properties, "RealToSet as Double");
    ASSERT_TRUE(real);
    EXPECT_FALSE(real->readable);
    EXPECT_TRUE(real->writable);

    EXPECT_EQ(test.host.Describe("Maker").events.at(1).declaration, "Count(x as integer) as integer");
    EXPECT_EQ(test.host.Describe("Maker").events.at(1).signature.result.kind, Kind::Integer);
    EXPECT_NE(ErrorOf([&] { test.host.Describe("MemoryBlock"); }), "");
}

TEST(Plugins, AreOneToAHostAndOneHostToAProcess) {
    EXPECT_EQ(Host::Current(), nullptr);
    TestHost test;
    EXPECT_EQ(Host::Current(), &test.host);
    EXPECT_NE(ErrorOf([] { Host second({.plugin = TEST_PLUGIN}); }).find("there is one already"), std::string::npos);
    EXPECT_EQ(Host::Current(), &test.host);
    EXPECT_EQ(test.Probe(3).Get("Number").AsInt(), 3);
}

TEST(Plugins, ThatDoNotOpenAreNamed) {
    EXPECT_NE(ErrorOf([] { Host host({.plugin = "/no/such/plugin.so"}); }).find("/no/such/plugin.so"),
              std::string::npos);
    EXPECT_NE(ErrorOf([] { Host host({.plugin = NO_PLUGIN}); }).find("has no REALPluginMain"), std::string::npos);
    EXPECT_EQ(ErrorOf([] { Host host(HostOptions{}); }), "no plug-in was named");
    EXPECT_EQ(Host::Current(), nullptr);
}

TEST(Plugins, WithAMalformedDeclarationAreRefusedEveryTime) {
    for (int time = 0; time < 2; ++time) {
        const std::string message = ErrorOf([] { Host host({.plugin = BROKEN_PLUGIN}); });
        EXPECT_NE(message.find("\"Scale(source PictureZOR)\""), std::string::npos) << message;
    }
    TestHost test;
    EXPECT_EQ(test.host.Classes().size(), 5u);
}

TEST(Plugins, AreTakenUpByALaterHost) {
    const std::filesystem::path plugin = FreshCopyOf(TEST_PLUGIN);
    const HostOptions options{.plugin = plugin, .version = 2015.0};
    {
        Host first(options);
        EXPECT_EQ(first.New("Probe", 1).Get("Number").AsInt(), 1);
    }
    {
        Host second(options);
        EXPECT_EQ(second.New("Probe", 2).Get("Text").AsText(), "probe 2");
        EXPECT_EQ(second.PluginVersion(), 9);
        EXPECT_EQ(second.Constant("Probe", "Ten").AsInt(), 10);
        const Object maker = second.MakeEventHandler("Maker", "Count", [](std::span<const Value>) { return 8; });
        EXPECT_EQ(second.CallShared("Maker", "AskAll", maker).AsText(), "8");
    }
    HostOptions other = options;
    other.world = World::Desktop;
    EXPECT_NE(ErrorOf([&] { Host third(other); }).find("another world"), std::string::npos);
    other = options;
    other.version = 2011.0;
    EXPECT_NE(ErrorOf([&] { Host third(other); }).find("another world, version"), std::string::npos);
    std::filesystem::remove(plugin);
}

// What ZOR_CPU is while this lives; null: it is not there.
struct CpuVariable {
    explicit CpuVariable(const char* value) {
        if (const char* const found = std::getenv("ZOR_CPU")) before = found;
        Set(value);
    }
    ~CpuVariable() { Set(before ? before->c_str() : nullptr); }
    static void Set(const char* value) {
        if (value)
            setenv("ZOR_CPU", value, 1);
        else
            unsetenv("ZOR_CPU");
    }
    static std::string Text() {
        const char* const value = std::getenv("ZOR_CPU");
        return value ? value : "-";
    }
    std::optional<std::string> before;
};

TEST(Plugins, SeeTheInstructionSetThatIsAskedForAtTheirStart) {
    for (const char* const outside : {static_cast<const char*>(nullptr), "sse4"}) {
        const CpuVariable variable(outside);
        const std::string before = CpuVariable::Text();
        for (const std::string cpu : {"", "plain", "sse4", "avx2", "neon"}) {
            TestHost test({.cpu = cpu});
            EXPECT_EQ(CpuVariable::Text(), before) << cpu;
            EXPECT_EQ(test.host.CallShared("Probe", "Cpu").AsText(), cpu.empty() ? before : cpu);
        }
    }
}

TEST(Plugins, AreNotStartedForAnUnknownInstructionSet) {
    const CpuVariable variable("avx2");
    for (const std::string cpu : {"fast", "SSE4", "plain "}) {
        EXPECT_EQ(ErrorOf([&] { Host host({.plugin = TEST_PLUGIN, .cpu = cpu}); }),
                  "unknown instruction set \"" + cpu + "\"; known are plain, sse4, avx2, neon");
    }
    EXPECT_EQ(CpuVariable::Text(), "avx2");
    EXPECT_EQ(Host::Current(), nullptr);
}

TEST(Plugins, KeepTheInstructionSetOfTheirStart) {
    const std::filesystem::path plugin = FreshCopyOf(TEST_PLUGIN);
    { Host first({.plugin = plugin, .cpu = "plain"}); }
    {
        Host second({.plugin = plugin, .cpu = "plain"});
        EXPECT_EQ(second.CallShared("Probe", "Cpu").AsText(), "plain");
    }
    EXPECT_NE(ErrorOf([&] { Host third({.plugin = plugin, .cpu = "avx2"}); }).find("instruction set"),
              std::string::npos);
    std::filesystem::remove(plugin);
}

TEST(Plugins, LeaveTheEnvironmentAsItWasWhereTheirStartFails) {
    const CpuVariable variable(nullptr);
    const PluginMain failing = [](void* (*)(const char*)) { throw std::runtime_error(CpuVariable::Text()); };
    try {
        Host host({.entry = failing, .cpu = "plain"});
        ADD_FAILURE() << "the start did not fail";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "plain");
    }
    EXPECT_EQ(CpuVariable::Text(), "-");
}

// A plug-in that is linked into the program.
static int gStarts = 0;
static void StartLinkedIn(void* (*resolver)(const char*)) {
    ++gStarts;
    EXPECT_NE(resolver("PluginRegisterClass"), nullptr);
}

TEST(Plugins, MayBeLinkedIn) {
    {
        Host host({.plugin = "ignored", .entry = StartLinkedIn});
        EXPECT_TRUE(host.Classes().empty());
    }
    Host again({.entry = StartLinkedIn});
    EXPECT_EQ(gStarts, 1);
}

}  // namespace zorhost
