#include <gtest/gtest.h>

#include <climits>

#include "host/HostCalls.h"
#include "support/FakeHost.h"

using namespace zor;

namespace {

class Exceptions : public EngineTest {
protected:
    std::vector<std::string> CallNames() const {
        std::vector<std::string> names;
        for (const HostCall& call : host.Log()) names.push_back(call.name);
        return names;
    }
};

using Names = std::vector<std::string>;

TEST_F(Exceptions, GetTheirMessageAfterTheRaise) {
    RaiseException("OutOfMemoryException", "Too much.");
    EXPECT_EQ(CallNames(), (Names{"PluginNewInstance", "REALBuildString", "REALSetStringEncoding",
                                  "RuntimeRaiseException", "REALSetPropValueString", "REALUnlockString"}));
    EXPECT_EQ(host.LiveStrings(), 0u) << "the message's string is given back";
    EXPECT_EQ(host.LiveObjects(), 1u) << "the exception itself stays the host's";
    EXPECT_EQ(host.TakeException(), (FakeException{"OutOfMemoryException", "Too much.", true}));
    EXPECT_EQ(host.LiveObjects(), 0u) << "the plug-in held no lock of its own";
}

TEST_F(Exceptions, HaveAnAsciiMessage) {
    RaiseException("OutOfMemoryException", "x");
    EXPECT_EQ(host.TakeException()->encoding, kREALEncodingASCII);
}

TEST_F(Exceptions, FallBackOnNilObjectException) {
    host.classes = {"NilObjectException"};
    RaiseException("OutOfMemoryException", "Too much.");
    EXPECT_EQ(host.Count("PluginNewInstance"), 2);
    EXPECT_EQ(host.TakeException(), (FakeException{"NilObjectException", "Too much.", true}));
}

TEST_F(Exceptions, AreNotRaisedWithoutAClass) {
    host.classes = {};
    RaiseException("OutOfMemoryException", "Too much.");
    EXPECT_EQ(CallNames(), (Names{"PluginNewInstance", "PluginNewInstance"}));
    EXPECT_FALSE(host.TakeException());
}

TEST_F(Exceptions, GoWithoutAMessageText) {
    RaiseException("NilObjectException", nullptr);
    EXPECT_EQ(host.Count("REALBuildString"), 0);
    EXPECT_EQ(host.TakeException(), (FakeException{"NilObjectException", "", true}));
    RaiseException("NilObjectException", "");
    EXPECT_EQ(host.TakeException(), (FakeException{"NilObjectException", "", true}));
    host.failBuildString = true;
    RaiseException("NilObjectException", "text");
    EXPECT_EQ(host.TakeException(), (FakeException{"NilObjectException", "", true}));
}

struct BoundsCase {
    const char* name;
    std::int64_t value, low, high;
    const char* parameter;
    const char* method;
    const char* text;
};

class OutOfBounds : public EngineTest, public ::testing::WithParamInterface<BoundsCase> {};

TEST_P(OutOfBounds, TellsRangeAndValue) {
    const BoundsCase& c = GetParam();
    RaiseOutOfBoundsException(c.value, c.low, c.high, c.parameter, c.method);
    EXPECT_EQ(host.TakeException(), (FakeException{"OutOfBoundsException", c.text, true}));
}

INSTANTIATE_TEST_SUITE_P(
    Exceptions, OutOfBounds,
    ::testing::Values(
        BoundsCase{"big", 5, 0, 3, "index", "Channel",
                   "Parameter index to method Channel is too big. Range is 0 to 2, but value is 5."},
        BoundsCase{"small", -1, 0, 3, "index", "Channel",
                   "Parameter index to method Channel is too small. Range is 0 to 2, but value is -1."},
        BoundsCase{"emptyRange", 0, 0, 0, "index", "Channel",
                   "Parameter index to method Channel is too big. Range is 0 to -1, but value is 0."},
        BoundsCase{"insideCountsAsBig", 1, 0, 3, "index", "Row",
                   "Parameter index to method Row is too big. Range is 0 to 2, but value is 1."},
        BoundsCase{"atLow", 4, 4, 9, "a", "b", "Parameter a to method b is too big. Range is 4 to 8, but value is 4."},
        BoundsCase{"noNames", 9, 0, 3, nullptr, nullptr,
                   "Parameter ? to method ? is too big. Range is 0 to 2, but value is 9."},
        BoundsCase{"wide", INT64_MIN, -5000000000, 5000000000, "p", "m",
                   "Parameter p to method m is too small. Range is -5000000000 to 4999999999, but value is "
                   "-9223372036854775808."}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(Exceptions, HoldLongNamesInFull) {
    const std::string parameter(300, 'p'), method(500, 'm');
    RaiseOutOfBoundsException(5, 0, 3, parameter.c_str(), method.c_str());
    EXPECT_EQ(host.TakeException()->message,
              "Parameter " + parameter + " to method " + method + " is too big. Range is 0 to 2, but value is 5.");
}

}  // namespace
