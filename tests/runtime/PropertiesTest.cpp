#include <gtest/gtest.h>

#include "TestHost.h"

namespace zorhost {

TEST(Properties, ReachStoredFieldsOfEveryType) {
    TestHost test;
    const Object probe = test.Probe(1);
    for (const char* name : {"Number", "Big"}) {
        probe.Set(name, -7);
        EXPECT_EQ(probe.Get(name).AsInt64(), -7) << name;
    }
    EXPECT_EQ(probe.Get("Number").TypeName(), "Integer");
    EXPECT_EQ(probe.Get("Big").TypeName(), "Int64");
    probe.Set("Big", std::int64_t{1} << 50);
    EXPECT_EQ(probe.Get("Big").AsInt64(), std::int64_t{1} << 50);
    EXPECT_EQ(probe.Get("Number").AsInt(), -7);
    EXPECT_FALSE(probe.Get("Flag").AsBool());
    probe.Set("Flag", true);
    EXPECT_TRUE(probe.Get("Flag").AsBool());
    probe.Set("Real", 2.5);
    EXPECT_EQ(probe.Get("Real").AsDouble(), 2.5);
    probe.Set("Real", 3);
    EXPECT_EQ(probe.Get("Real").AsDouble(), 3.0);
    probe.Set("Tint", Color::FromRGB(1, 2, 3));
    EXPECT_EQ(probe.Get("Tint").AsColor(), Color::FromRGB(1, 2, 3));
    EXPECT_TRUE(probe.Get("Title").IsNil());
    probe.Set("Title", "first");
    probe.Set("Title", "second");
    EXPECT_EQ(probe.Get("Title").AsText(), "second");
    probe.Set("Title", nullptr);
    EXPECT_TRUE(probe.Get("Title").IsNil());
}

TEST(Properties, RunFunctions) {
    TestHost test;
    {
        const Object probe = test.Probe(21);
        EXPECT_EQ(probe.Get("Twice").AsInt(), 42);
        probe.Set("Twice", 10);
        EXPECT_EQ(probe.Get("Number").AsInt(), 5);
        EXPECT_EQ(probe.Get("Huge").AsInt64(), 0x123456789ABCDEF0);
        EXPECT_EQ(probe.Get("Text").AsText(), "probe 5");
        const Object cells = probe.Get("Cells").AsObject();
        EXPECT_EQ(cells.ClassName(), "MemoryBlock");
        EXPECT_EQ(cells.LockCount(), 1);
        probe.Set("RealToSet", 1.5);
        EXPECT_EQ(probe.Get("Real").AsDouble(), 1.5);
        probe.Set("FlagToSet", true);
        EXPECT_TRUE(probe.Get("Flag").AsBool());
    }
    test.ExpectClean();
}

TEST(Properties, DeliverExceptionsOfTheirFunctions) {
    TestHost test;
    const Object probe = test.Probe(1);
    try {
        probe.Get("Failing");
        FAIL() << "nothing was thrown";
    } catch (const HostException& exception) {
        EXPECT_EQ(exception.ClassName(), "OutOfBoundsException");
        EXPECT_EQ(exception.Message(), "not readable today");
    }
}

TEST(Properties, KeepTheReferenceThatTheyHold) {
    TestHost test;
    {
        const Object probe = test.Probe(1);
        const Object other = test.Probe(2);
        EXPECT_TRUE(probe.Get("Friend").IsNil());
        probe.Set("Friend", other);
        EXPECT_EQ(other.LockCount(), 2);
        EXPECT_EQ(probe.Get("Friend").AsObject(), other);
        probe.Set("Friend", other);
        EXPECT_EQ(other.LockCount(), 2);
        probe.Set("Friend", test.Probe(3));
        EXPECT_EQ(other.LockCount(), 1);
        EXPECT_EQ(probe.Get("Friend").AsObject().Get("Number").AsInt(), 3);
        EXPECT_EQ(test.TakeLog(), "");
        probe.Set("Friend", nullptr);
        EXPECT_EQ(test.TakeLog(), "~3 ");
        probe.Set("Friend", probe.Get("Friend"));
        probe.Set("Friend", other);
    }
    test.ExpectClean();
}

TEST(Properties, OfThePluginAreBorrowed) {
    TestHost test;
    {
        const Object parent = test.Probe(1);
        const Object child = parent.Call("Child").AsObject();
        EXPECT_EQ(parent.LockCount(), 2);
        EXPECT_EQ(child.Get("Parent").AsObject(), parent);
        EXPECT_EQ(parent.LockCount(), 2);
    }
    test.ExpectClean();
}

TEST(Properties, AreReadOnlyOrWriteOnlyWhereTheyAre) {
    TestHost test;
    const Object probe = test.Probe(1);
    EXPECT_EQ(ErrorOf([&] { probe.Set("Huge", 5); }), "the property Probe.Huge is read-only");
    EXPECT_EQ(ErrorOf([&] { probe.Set("parent", probe); }), "the property Probe.Parent is read-only");
    EXPECT_EQ(ErrorOf([&] { probe.Get("RealToSet"); }), "the property Probe.RealToSet is write-only");
    EXPECT_EQ(ErrorOf([&] { probe.Get("NoSuch"); }), "Probe has no property \"NoSuch\"");
    EXPECT_EQ(ErrorOf([&] { probe.Set("Touch", 1); }), "Probe has no property \"Touch\"");
}

TEST(Properties, RefuseValuesOfAnotherType) {
    TestHost test;
    const Object probe = test.Probe(1);
    EXPECT_EQ(ErrorOf([&] { probe.Set("Number", 1.5); }),
              "the property Probe.Number is of the type Integer and takes no Double");
    EXPECT_NE(ErrorOf([&] { probe.Set("Twice", "x"); }), "");
    EXPECT_NE(ErrorOf([&] { probe.Set("Friend", test.host.MakeMemoryBlock(1)); }), "");
    EXPECT_NE(ErrorOf([&] { probe.Set("Number", nullptr); }), "");
    EXPECT_EQ(probe.Get("Number").AsInt(), 1);
}

TEST(Properties, OfTheClassAboveAreTheSame) {
    TestHost test;
    const Object sub = test.host.New("SubProbe");
    EXPECT_EQ(sub.Get("Extra").AsInt(), 6);  // 5 by the class's constructor, 1 by the method
    sub.Set("Number", 11);
    EXPECT_EQ(sub.Get("Number").AsInt(), 11);
    EXPECT_EQ(sub.Get("Extra").AsInt(), 6);
    EXPECT_EQ(sub.Get("Text").AsText(), "probe 11");
    EXPECT_TRUE(sub.IsA("Probe"));
}

TEST(Properties, AreFoundForThePlugin) {
    TestHost test;
    const Object probe = test.Probe(31);
    EXPECT_EQ(probe.Call("ReadProperty", probe, "number").AsInt(), 31);
    EXPECT_EQ(probe.Call("ReadProperty", probe, "Twice").AsInt(), 62);
    EXPECT_EQ(probe.Call("ReadProperty", probe, "Text").AsInt(), -1);
    EXPECT_EQ(probe.Call("ReadProperty", probe, "NoSuch").AsInt(), -1);
    EXPECT_EQ(probe.Call("ReadProperty", test.host.MakeMemoryBlock(17), "Size").AsInt(), 17);
    EXPECT_EQ(probe.Call("ReadProperty", nullptr, "Size").AsInt(), -1);
}

TEST(Constants, AreReadFromTheirDeclarations) {
    TestHost test;
    EXPECT_EQ(test.host.Constant("Probe", "Nine").AsInt(), 9);
    EXPECT_EQ(test.host.Constant("Probe", "Ten").AsInt(), 10);
    EXPECT_EQ(test.host.Constant("Probe", "Minus").AsInt(), -3);
    EXPECT_EQ(test.host.Constant("Probe", "Half").AsDouble(), 0.5);
    EXPECT_EQ(test.host.Constant("Probe", "Greeting").AsText(), "hi, you");
    EXPECT_EQ(test.host.Constant("Probe", "AllBits").AsInt(), -1);
    EXPECT_TRUE(test.host.Constant("Probe", "Truth").AsBool());
    EXPECT_EQ(ErrorOf([&] { test.host.Constant("Probe", "NoSuch"); }), "Probe has no constant \"NoSuch\"");
}

}  // namespace zorhost
