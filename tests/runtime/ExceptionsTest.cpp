#include <gtest/gtest.h>

#include "TestHost.h"

namespace zorhost {

// "class: message" of what the statement throws as HostException.
template <class Statement>
static std::string RaisedBy(Statement statement) {
    try {
        statement();
    } catch (const HostException& exception) {
        return exception.ClassName() + ": " + exception.Message();
    }
    return "nothing";
}

TEST(Exceptions, ComeOutOfTheCallWithTheirMessage) {
    TestHost test;
    {
        const Object probe = test.Probe(1);
        for (const char* name : {"OutOfMemoryException", "NilObjectException", "OutOfBoundsException",
                                 "UnsupportedOperationException", "RuntimeException"}) {
            EXPECT_EQ(RaisedBy([&] { probe.Call("Raise", name, "a message"); }), std::string(name) + ": a message");
        }
        EXPECT_EQ(RaisedBy([&] { probe.Call("Raise", "NilObjectException", nullptr); }), "NilObjectException: ");
        EXPECT_EQ(RaisedBy([&] { probe.Call("Touch"); }), "nothing");
    }
    test.ExpectClean();
}

TEST(Exceptions, SayClassAndMessageInWhat) {
    EXPECT_STREQ(HostException("A", "b").what(), "A: b");
    EXPECT_STREQ(HostException("A", "").what(), "A");
}

TEST(Exceptions, KeepTheFirstOfTwo) {
    TestHost test;
    {
        const Object probe = test.Probe(1);
        EXPECT_EQ(RaisedBy([&] { probe.Call("RaiseTwice"); }), "OutOfBoundsException: the first");
    }
    test.ExpectClean();
}

TEST(Exceptions, DropTheResultOfTheCall) {
    TestHost test;
    {
        const Object probe = test.Probe(1);
        EXPECT_EQ(RaisedBy([&] { probe.Call("RaiseWithObject"); }), "UnsupportedOperationException: with a result");
        EXPECT_EQ(RaisedBy([&] { probe.Call("RaiseWithString"); }), "UnsupportedOperationException: with a result");
        EXPECT_EQ(test.host.LiveObjects().size(), 1u);
    }
    test.ExpectClean();
}

TEST(Exceptions, OfAConstructorLeaveNoObject) {
    TestHost test;
    EXPECT_EQ(RaisedBy([&] { test.host.New("Probe", 9, true); }), "OutOfMemoryException: no room for a probe");
    EXPECT_EQ(test.TakeLog(), "~9 ");
    EXPECT_EQ(RaisedBy([&] { test.host.New("Probe", 9, false); }), "nothing");
    EXPECT_EQ(test.TakeLog(), "~9 ");
    test.ExpectClean();
}

TEST(Yield, IsACallOfTheProgram) {
    int yields = 0;
    TestHost test({.onYield = [&] { ++yields; }});
    const Object probe = test.Probe(1);
    EXPECT_EQ(probe.Call("Yield", 3).AsInt(), 3);
    EXPECT_EQ(yields, 3);
    test.host.SetYield({});
    EXPECT_EQ(probe.Call("Yield", 2).AsInt(), 2);
    EXPECT_EQ(yields, 3);
}

TEST(Yield, MayCallObjectsAndReplaceItself) {
    TestHost test;
    const Object probe = test.Probe(1);
    test.host.SetYield([&] {
        probe.Call("Touch");
        test.host.SetYield({});
    });
    EXPECT_EQ(probe.Call("Yield", 5).AsInt(), 5);
    EXPECT_EQ(probe.Get("Number").AsInt(), 2);
}

TEST(Yield, CancelsByThrowing) {
    TestHost test;
    {
        const Object probe = test.Probe(1);
        int yields = 0;
        test.host.SetYield([&] {
            if (++yields == 3) throw Cancelled();
        });
        EXPECT_THROW(probe.Call("Yield", 10), Cancelled);
        EXPECT_EQ(yields, 3);
        EXPECT_EQ(test.host.CallShared("Probe", "Guards").AsInt(), 0);  // what the method held is released
        test.host.SetYield([] { throw std::runtime_error("another"); });
        EXPECT_THROW(probe.Call("Yield", 10), std::runtime_error);
        test.host.SetYield([] { throw 5; });
        EXPECT_THROW(probe.Call("Yield", 10), int);
        test.host.SetYield({});
        EXPECT_EQ(probe.Call("Yield", 10).AsInt(), 10);
        EXPECT_EQ(probe.LockCount(), 1);
    }
    EXPECT_STREQ(Cancelled().what(), "cancelled");
    test.ExpectClean();
}

TEST(Yield, DeliversExceptionsOfInnerCallsThroughTheOuterOne) {
    TestHost test;
    const Object probe = test.Probe(1);
    test.host.SetYield([&] { probe.Call("Raise", "NilObjectException", "from inside"); });
    EXPECT_EQ(RaisedBy([&] { probe.Call("Yield", 1); }), "NilObjectException: from inside");
    EXPECT_EQ(test.host.CallShared("Probe", "Guards").AsInt(), 0);
}

}  // namespace zorhost
