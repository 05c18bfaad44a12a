#include <gtest/gtest.h>

#include "TestHost.h"

namespace zorhost {

static Value Ask(TestHost& test, const Object& maker, const Value& other = {}) {
    return test.host.CallShared("Maker", "Ask", maker, other);
}

TEST(Events, CarryArgumentsAndObjects) {
    TestHost test;
    {
        const Object other = test.Probe(2);
        std::vector<Value> seen;
        const Object maker = test.host.MakeEventHandler("Maker", "make", [&](std::span<const Value> args) -> Value {
            seen.assign(args.begin(), args.end());
            return test.Probe(args[0].AsInt());
        });
        EXPECT_EQ(maker.ClassName(), "Maker");
        const Object made = Ask(test, maker, other).AsObject();
        EXPECT_EQ(made.Get("Number").AsInt(), -7);
        EXPECT_EQ(made.LockCount(), 1);
        ASSERT_EQ(seen.size(), 7u);
        EXPECT_EQ(seen[1].AsDouble(), 1.25);
        EXPECT_EQ(seen[2].AsText(), "a title");
        EXPECT_TRUE(seen[3].AsBool());
        EXPECT_EQ(seen[4].AsInt64(), 0x100000000);
        EXPECT_EQ(seen[5].AsColor(), Color{0x102030});
        EXPECT_EQ(seen[6].AsObject(), other);
        seen.clear();
        EXPECT_EQ(other.LockCount(), 1);
        EXPECT_EQ(maker.LockCount(), 1);
    }
    test.ExpectClean();
}

TEST(Events, GiveEveryKindOfResult) {
    TestHost test;
    const auto say = [&](const char* event, Value result) {
        const Object maker = test.host.MakeEventHandler("Maker", event, [&](std::span<const Value>) { return result; });
        return test.host.CallShared("Maker", "AskAll", maker).AsText();
    };
    EXPECT_EQ(say("Count", -5), "-5");
    EXPECT_EQ(say("IsDone", true), " done");
    EXPECT_EQ(say("IsDone", false), " open");
    EXPECT_EQ(say("Ratio", 0.5), "0.500000");
    EXPECT_EQ(say("Ratio", 2), "2.000000");
    EXPECT_EQ(say("Label", "a label"), "a label");
    EXPECT_EQ(say("Label", nullptr), "nil");
    EXPECT_EQ(say("Ping", nullptr), "");
    test.ExpectClean();
}

TEST(Events, ThatAreNotImplementedAreNotThere) {
    TestHost test;
    EXPECT_TRUE(Ask(test, test.host.New("Maker")).IsNil());
    const Object counter = test.host.MakeEventHandler("Maker", "Count", [](std::span<const Value>) { return 1; });
    EXPECT_TRUE(Ask(test, counter).IsNil());
    EXPECT_EQ(ErrorOf([&] { test.host.MakeEventHandler("Maker", "NoSuch", {}); }), "Maker has no event \"NoSuch\"");
    EXPECT_NE(ErrorOf([&] { test.host.MakeEventHandler("NoSuch", "Make", {}); }), "");
    test.host.MakeEventHandler("Maker", "Make", [](std::span<const Value>) { return nullptr; });
}

TEST(Events, MayGiveNil) {
    TestHost test;
    const Object maker = test.host.MakeEventHandler("Maker", "Make", [](std::span<const Value>) { return Value(); });
    EXPECT_TRUE(Ask(test, maker).IsNil());
}

TEST(Events, ThrowThroughThePlugin) {
    TestHost test;
    {
        const Object maker = test.host.MakeEventHandler(
            "Maker", "Make", [](std::span<const Value>) -> Value { throw std::runtime_error("refused"); });
        EXPECT_THROW(Ask(test, maker), std::runtime_error);
        EXPECT_EQ(test.host.CallShared("Probe", "Guards").AsInt(), 0);
        const Object wrong = test.host.MakeEventHandler("Maker", "Make", [](std::span<const Value>) { return 5; });
        EXPECT_EQ(ErrorOf([&] { Ask(test, wrong); }), "the event Maker.Make gave Integer where Probe is wanted");
        EXPECT_EQ(test.host.CallShared("Probe", "Guards").AsInt(), 0);
    }
    test.ExpectClean();
}

// The plug-in holds the last reference, and lets go of it when the event asks it to.
TEST(Events, MayEndTheirOwnObject) {
    TestHost test;
    {
        const Object made = test.Probe(3);
        Object holder = test.host.New("Keeper");
        holder.Set("Held", test.host.MakeEventHandler("Maker", "Make", [&](std::span<const Value>) -> Value {
            holder.Set("Held", nullptr);
            EXPECT_EQ(test.host.LiveObjects().size(), 3u);  // still there until the event returns
            return made;
        }));
        EXPECT_EQ(holder.Call("AskHeld").AsObject(), made);
        EXPECT_EQ(test.host.LiveObjects().size(), 2u);
    }
    test.ExpectClean();
}

TEST(Factories, AreAskedForImages) {
    TestHost test;
    {
        int sum = 0;
        const Object factory = test.host.MakeFactory([&](int width, int height, int format) {
            sum = width * 100 + height * 10 + format;
            return test.Probe(sum);
        });
        EXPECT_TRUE(factory.IsA("PictureFactoryZOR"));
        const Object made = test.host.CallShared("PictureFactoryZOR", "Ask", factory).AsObject();
        EXPECT_EQ(sum, 345);
        EXPECT_EQ(made.Get("Number").AsInt(), 345);
        const Object silent = test.host.MakeFactory([](int, int, int) { return Object(); });
        EXPECT_TRUE(test.host.CallShared("PictureFactoryZOR", "Ask", silent).IsNil());
    }
    test.ExpectClean();
}

}  // namespace zorhost
