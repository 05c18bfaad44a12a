#include <gtest/gtest.h>

#include <thread>

#include "TestHost.h"

namespace zorhost {

TEST(Calls, CarryEveryKindOfArgument) {
    TestHost test;
    {
        const Object probe = test.Probe(7), other = test.Probe(8);
        const std::string bytes = "abc";
        const Object block = test.host.MakeMemoryBlock(std::as_bytes(std::span(bytes)).size());
        std::copy(bytes.begin(), bytes.end(), test.host.MemoryBlockBytes(block).data);
        EXPECT_EQ(probe
                      .Call("All", true, -5, std::int64_t{1} << 40, 0.1, Color::FromRGB(1, 2, 254), "text", block,
                            other, std::vector<std::int32_t>{3, -4, 5}, probe)
                      .AsText(),
                  "probe 7: 1 -5 1099511627776 0.10000000000000001 0102FE text abc probe 8 [3,-4,5,] probe 7");
        EXPECT_EQ(
            probe.Call("All", false, 2147483647, -1, 2, Color{}, nullptr, nullptr, nullptr, nullptr, nullptr).AsText(),
            "probe 7: 0 2147483647 -1 2 000000 nil nil nil [] nil");
        EXPECT_EQ(probe.Call("all", false, 0, 0, 0, Color{}, "", nullptr, nullptr, std::vector<std::int32_t>(), nullptr)
                      .AsText(),
                  "probe 7: 0 0 0 0 000000  nil nil [] nil");
    }
    test.ExpectClean();
}

TEST(Calls, CarryEveryKindOfResult) {
    TestHost test;
    {
        const Object probe = test.Probe(7);
        for (const bool value : {false, true}) EXPECT_EQ(probe.Call("EchoBoolean", value).AsBool(), value);
        for (const int value : {0, -1, 2147483647, std::numeric_limits<int>::min()}) {
            EXPECT_EQ(probe.Call("EchoInteger", value).AsInt(), value);
            EXPECT_EQ(probe.Call("EchoInteger", value).TypeName(), "Integer");
        }
        for (const std::int64_t value : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{0x123456789ABCDEF0}}) {
            EXPECT_EQ(probe.Call("EchoInt64", value).AsInt64(), value);
            EXPECT_EQ(probe.Call("EchoInt64", value).TypeName(), "Int64");
        }
        for (const double value : {0.0, -0.1, 1e300}) EXPECT_EQ(probe.Call("EchoDouble", value).AsDouble(), value);
        EXPECT_EQ(probe.Call("EchoColor", Color::FromRGB(9, 8, 7)).AsColor(), Color::FromRGB(9, 8, 7));
        const String latin{"\x8A", kMacRoman};
        EXPECT_EQ(probe.Call("EchoString", latin).AsString(), latin);
        EXPECT_EQ(probe.Call("EchoString", "").AsString(), String{});
        EXPECT_TRUE(probe.Call("EchoString", nullptr).IsNil());
        EXPECT_EQ(probe.Call("EchoObject", probe).AsObject(), probe);
        EXPECT_TRUE(probe.Call("EchoObject", nullptr).IsNil());
        EXPECT_TRUE(probe.Call("EchoPicture", nullptr).IsNil());
        const Object block = test.host.MakeMemoryBlock(3);
        EXPECT_EQ(probe.Call("EchoBlock", block).AsObject(), block);
        EXPECT_EQ(probe.Call("EchoVariant", block).AsObject(), block);
        EXPECT_TRUE(probe.Call("Touch").IsNil());
        EXPECT_EQ(probe.Get("Number").AsInt(), 8);
        EXPECT_EQ(probe.LockCount(), 1);
        EXPECT_EQ(block.LockCount(), 1);
    }
    test.ExpectClean();
}

TEST(Calls, HandOverArrays) {
    TestHost test;
    const Object probe = test.Probe(1);
    const std::vector<std::int32_t> some{1, 2, 2147483647}, none;
    EXPECT_EQ(probe.Call("Sum", some, some).AsInt64(), 2 * (3 + std::int64_t{2147483647}));
    EXPECT_EQ(probe.Call("Sum", some, none).AsInt64(), 3 + std::int64_t{2147483647});
    EXPECT_EQ(probe.Call("Sum", nullptr, none).AsInt64(), 0);
    EXPECT_EQ(test.host.Faults().size(), 0u);
    EXPECT_EQ(probe.Call("ReadPastArray", some).AsInt(), 0);
    EXPECT_EQ(test.host.Faults().size(), 1u);
}

TEST(Calls, FindNamesInAnyCase) {
    TestHost test;
    const Object probe = test.host.New("PROBE", 4);
    EXPECT_EQ(probe.Call("echoINTEGER", 5).AsInt(), 5);
    EXPECT_EQ(probe.Get("nUMBER").AsInt(), 4);
    EXPECT_EQ(probe.ClassName(), "Probe");
    EXPECT_TRUE(probe.IsA("probe"));
    EXPECT_FALSE(probe.IsA("SubProbe"));
    EXPECT_EQ(test.host.Constant("probe", "NINE").AsInt(), 9);
}

TEST(Calls, RunSharedMethods) {
    TestHost test;
    EXPECT_EQ(test.host.CallShared("Probe", "HostVersion").AsDouble(), 2020.01);
    EXPECT_EQ(test.host.CallShared("probe", "guards").AsInt(), 0);
    EXPECT_EQ(ErrorOf([&] { test.host.CallShared("Probe", "Touch"); }),
              "Probe.Touch does not take (); there is no such form");
    EXPECT_EQ(ErrorOf([&] { test.host.CallShared("Nowhere", "Touch"); }), "there is no class \"Nowhere\"");
    const Object probe = test.Probe(1);
    EXPECT_EQ(ErrorOf([&] { probe.Call("HostVersion"); }), "Probe has no method \"HostVersion\"");
}

TEST(Overloads, AreChosenByTypes) {
    TestHost test;
    const Object probe = test.Probe(1), sub = test.host.New("SubProbe");
    const auto pick = [&](const auto&... args) { return probe.Call("Pick", args...).AsText(); };
    EXPECT_EQ(pick(5), "integer");
    EXPECT_EQ(pick(std::int64_t{5}), "int64");
    EXPECT_EQ(pick(std::int64_t{1} << 40), "int64");
    EXPECT_EQ(pick(5.0), "double");
    EXPECT_EQ(pick(Color{5}), "color");
    EXPECT_EQ(pick("5"), "string");
    EXPECT_EQ(pick(probe), "probe");
    EXPECT_EQ(pick(sub), "subprobe");
    EXPECT_EQ(pick(1, 2.0), "integer, double");
    EXPECT_EQ(pick(1.0, 2), "double, integer");
    EXPECT_EQ(test.host.New("Probe", "title").Get("Number").AsInt(), 77);
    EXPECT_EQ(test.host.New("Probe", nullptr).Get("Number").AsInt(), 78);
}

TEST(Overloads, WidenWhereNoExactFormExists) {
    TestHost test;
    const Object probe = test.Probe(1);
    EXPECT_EQ(probe.Call("EchoInt64", 5).AsInt64(), 5);
    EXPECT_EQ(probe.Call("EchoDouble", 5).AsDouble(), 5.0);
    EXPECT_EQ(probe.Call("EchoDouble", std::int64_t{5}).AsDouble(), 5.0);
    EXPECT_EQ(probe.Call("EchoInteger", std::int64_t{5}).AsInt(), 5);
    EXPECT_EQ(probe.Call("EchoObject", test.host.New("SubProbe")).AsObject().ClassName(), "SubProbe");
}

TEST(Overloads, RefuseWhatFitsNone) {
    TestHost test;
    const Object probe = test.Probe(1);
    const char* const form = "; there are:\n    EchoInteger(value as integer) as integer";
    const auto refused = [&](const auto&... args) { return ErrorOf([&] { probe.Call("EchoInteger", args...); }); };
    EXPECT_EQ(refused(), std::string("Probe.EchoInteger does not take ()") + form);
    EXPECT_EQ(refused(1, 2), std::string("Probe.EchoInteger does not take (Integer, Integer)") + form);
    EXPECT_EQ(refused(1.0), std::string("Probe.EchoInteger does not take (Double)") + form);
    EXPECT_EQ(refused(true), std::string("Probe.EchoInteger does not take (Boolean)") + form);
    EXPECT_EQ(refused(Color{}), std::string("Probe.EchoInteger does not take (Color)") + form);
    EXPECT_EQ(refused(nullptr), std::string("Probe.EchoInteger does not take (nil)") + form);
    EXPECT_EQ(refused(std::int64_t{1} << 31), std::string("Probe.EchoInteger does not take (Int64)") + form);
    EXPECT_EQ(refused(probe), std::string("Probe.EchoInteger does not take (Probe)") + form);
    EXPECT_NE(ErrorOf([&] { probe.Call("EchoColor", 5); }), "");
    EXPECT_NE(ErrorOf([&] { probe.Call("EchoBoolean", 1); }), "");
    EXPECT_NE(ErrorOf([&] { probe.Call("EchoBlock", probe); }), "");
    EXPECT_EQ(ErrorOf([&] { probe.Call("NoSuch", 1); }), "Probe has no method \"NoSuch\"");
    EXPECT_EQ(ErrorOf([&] { Object().Call("Touch"); }), "found nil where an object is wanted");
    EXPECT_EQ(ErrorOf([&] { test.host.New("NoSuch"); }), "there is no class \"NoSuch\"");
    EXPECT_NE(ErrorOf([&] { test.host.New("Probe", 1.5); }).find("Constructor(title as string)"), std::string::npos);
    EXPECT_EQ(ErrorOf([&] { test.host.New("Maker", 1); }), "Maker has no constructor");
}

TEST(Overloads, RefuseWhatFitsSeveralEquallyWell) {
    TestHost test;
    const Object probe = test.Probe(1);
    const std::string message = ErrorOf([&] { probe.Call("Pick", 1, 2); });
    EXPECT_EQ(message.find("Probe.Pick is ambiguous for (Integer, Integer); there are:"), 0u);
    EXPECT_NE(message.find("\n    Pick(a as double, b as integer) as string"), std::string::npos);
    EXPECT_NE(ErrorOf([&] { probe.Call("Pick", nullptr); }).find("ambiguous for (nil)"), std::string::npos);
}

TEST(Overloads, PreferTheFormWithFewerDefaults) {
    TestHost test;
    const Object probe = test.Probe(1);
    const auto call = [&](const auto&... args) { return probe.Call("Defaults", args...).AsText(); };
    EXPECT_EQ(call(true), "no defaults");
    EXPECT_EQ(call(true, 3), "1 3 0.5 x, y nil FF0000");
    EXPECT_EQ(call(false, 3, 4), "0 3 4 x, y nil FF0000");
    EXPECT_EQ(call(false, 3, 4, "d"), "0 3 4 d nil FF0000");
    EXPECT_EQ(call(false, 3, 4, "d", probe), "0 3 4 d probe 1 FF0000");
    EXPECT_EQ(call(false, 3, 4, "d", nullptr, Color{0xAB}), "0 3 4 d nil AB");
}

TEST(Assignments, RunTheAssignmentForm) {
    TestHost test;
    const Object probe = test.Probe(1);
    probe.Assign("Cell", 2, 55);
    EXPECT_EQ(probe.Call("Cell", 2).AsInt(), 55);
    EXPECT_EQ(probe.Call("Cell", 1).AsInt(), 0);
    probe.Assign("Cell", 1, 2.0, "four");
    EXPECT_EQ(probe.Call("Cell", 1).AsInt(), 8);
    EXPECT_EQ(probe.Call("Cell", 1, 1.0).AsText(), "cell 8");
}

TEST(Assignments, RefuseWhatFitsNone) {
    TestHost test;
    const Object probe = test.Probe(1);
    const std::string message = ErrorOf([&] { probe.Assign("Cell", 2, "text"); });
    EXPECT_EQ(message,
              "Probe.Cell does not take (Integer) = String; there are:\n"
              "    Cell(index as integer) as integer\n    Cell(index as integer, scale as double) as string");
    EXPECT_EQ(ErrorOf([&] { probe.Assign("EchoInteger", 2, 3); }),
              "Probe.EchoInteger does not take (Integer) = Integer; there is no such form");
}

TEST(Calls, BelongToTheThreadOfTheHost) {
    TestHost test;
    const Object probe = test.Probe(1);
    std::string fromCall, fromHost;
    std::thread([&] {
        fromCall = ErrorOf([&] { probe.Call("Touch"); });
        fromHost = ErrorOf([&] { test.host.New("Probe", 1); });
    }).join();
    EXPECT_EQ(fromCall, "the host was called from another thread than the one that made it");
    EXPECT_EQ(fromHost, fromCall);
    EXPECT_EQ(probe.Get("Number").AsInt(), 1);
}

TEST(Calls, OfThePluginOnItsOwnThreadsAreFaults) {
    TestHost test;
    const Object probe = test.Probe(1);
    probe.Call("AskFromThread");
    ASSERT_EQ(test.host.Faults().size(), 1u);
    EXPECT_EQ(test.host.Faults()[0], "REALLockObject was called from a thread of the plug-in's own");
    EXPECT_EQ(probe.LockCount(), 1);
}

TEST(Calls, FindMethodsForThePlugin) {
    TestHost test;
    const Object probe = test.Probe(1);
    EXPECT_EQ(probe.Call("LoadAndCall", "EchoInteger(x as Integer) as Integer").AsInt(), 21);
    EXPECT_EQ(probe.Call("LoadAndCall", "EchoInteger(x as double) as Integer").AsInt(), -1);
    EXPECT_EQ(probe.Call("LoadAndCall", "NoSuch(x as Integer)").AsInt(), -1);
    EXPECT_EQ(probe.Call("LoadAndCall", "not a declaration").AsInt(), -1);
}

}  // namespace zorhost
