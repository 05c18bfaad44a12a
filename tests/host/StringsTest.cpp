// Host strings: building them, and reading their bytes on old hosts and new ones.

#include <gtest/gtest.h>

#include "host/HostCalls.h"
#include "host/HostText.h"
#include "support/FakeHost.h"

using namespace zor;

namespace {

class Strings : public EngineTest {
protected:
    // Bytes and encoding of a string, which is given back.
    struct Read {
        std::string bytes;
        unsigned encoding;
        bool operator==(const Read&) const = default;
    };
    Read Take(REALstring string) {
        if (!string) return {"(nil)", 0};
        EXPECT_EQ(host.Locks(string), 1) << "locked for the caller";
        const Read read{host.Bytes(string), host.Encoding(string)};
        REALUnlockString(string);
        return read;
    }
};

std::string UTF16(const std::u16string& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * 2};
}
std::string UTF32(const std::u32string& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * 4};
}
REALstring Build(const std::string& bytes, unsigned encoding) {
    return REALBuildUnicodeString(bytes.data(), static_cast<int>(bytes.size()), encoding);
}

// --- building -------------------------------------------------------------------------------------------------------

TEST_F(Strings, KeepBytesAndEncodingOfPlainText) {
    EXPECT_EQ(Take(Build("abc", kREALEncodingASCII)), (Read{"abc", kREALEncodingASCII}));
    EXPECT_EQ(Take(Build("a\xC3\xA9", kREALEncodingUTF8)), (Read{"a\xC3\xA9", kREALEncodingUTF8}));
    EXPECT_EQ(Take(Build("\x8E", kREALEncodingMacRoman)), (Read{"\x8E", kREALEncodingMacRoman}));
    EXPECT_EQ(host.Count("REALConvertString"), 0);
}

TEST_F(Strings, AreNilWithoutBytes) {
    for (const unsigned encoding : {kREALEncodingASCII, kREALEncodingUTF16, kREALEncodingUTF32}) {
        EXPECT_EQ(REALBuildUnicodeString("abcd", 0, encoding), nullptr);
        EXPECT_EQ(REALBuildUnicodeString("abcd", -4, encoding), nullptr);
        EXPECT_EQ(REALBuildUnicodeString(nullptr, 4, encoding), nullptr);
    }
    EXPECT_EQ(host.Count("REALBuildString"), 0);
}

TEST_F(Strings, ComeBackAsUTF8FromUTF16) {
    EXPECT_EQ(Take(Build(UTF16(u"aé€"), kREALEncodingUTF16)), (Read{"a\xC3\xA9\xE2\x82\xAC", kREALEncodingUTF8}));
    EXPECT_EQ(host.LiveStrings(), 0u) << "the first string is given back";
}

TEST_F(Strings, ComeBackAsUTF8FromUTF32WithCodePointsCutTo16Bits) {
    EXPECT_EQ(Take(Build(UTF32(U"aé€"), kREALEncodingUTF32)), (Read{"a\xC3\xA9\xE2\x82\xAC", kREALEncodingUTF8}));
    // U+10041 loses its upper bits and reads as U+0041; no surrogate pair is made.
    EXPECT_EQ(Take(Build(UTF32(U"\U00010041"), kREALEncodingUTF32)), (Read{"A", kREALEncodingUTF8}));
}

TEST_F(Strings, DropTheBytesOfAHalfUTF32Unit) {
    EXPECT_EQ(Take(Build(UTF32(U"ab") + "xyz", kREALEncodingUTF32)), (Read{"ab", kREALEncodingUTF8}));
}

TEST_F(Strings, OfUTF32AreTheSameOnBothSidesOf200Units) {
    for (const std::size_t units : {1u, 198u, 199u, 200u, 201u, 1000u}) {
        std::u32string text;
        std::string expected;
        for (std::size_t i = 0; i < units; ++i) {
            text += static_cast<char32_t>('A' + i % 26);
            expected += static_cast<char>('A' + i % 26);
        }
        EXPECT_EQ(Take(Build(UTF32(text), kREALEncodingUTF32)), (Read{expected, kREALEncodingUTF8})) << units;
    }
}

TEST_F(Strings, OfUTF32MayStandAtAnyAddress) {
    const std::string bytes = "x" + UTF32(U"abc");
    EXPECT_EQ(Take(REALBuildUnicodeString(bytes.data() + 1, 12, kREALEncodingUTF32)), (Read{"abc", kREALEncodingUTF8}));
}

TEST_F(Strings, AreNilWhereTheHostMakesNone) {
    host.failBuildString = true;
    EXPECT_EQ(Build("abc", kREALEncodingASCII), nullptr);
    EXPECT_EQ(Build("abcd", kREALEncodingUTF16), nullptr);
    EXPECT_EQ(Build("abcd", kREALEncodingUTF32), nullptr);
    EXPECT_EQ(host.Count("REALSetStringEncoding"), 0);
    host.failBuildString = false;
    host.failConvertString = true;
    EXPECT_EQ(Build("abcd", kREALEncodingUTF16), nullptr);
    EXPECT_EQ(Build("abcd", kREALEncodingUTF32), nullptr);
    EXPECT_EQ(host.LiveStrings(), 0u) << "the string that could not be converted is given back";
}

// --- raw bytes ------------------------------------------------------------------------------------------------------

TEST_F(Strings, GiveTheirBytesAsACopyOnNewHosts) {
    for (const double version : {2012.0, 2013.0}) {
        host.SetVersion(version);
        const REALstring string = host.NewString(std::string("\x8E\0\xFFz", 4), kREALEncodingMacRoman);
        {
            const rbData data(string);
            EXPECT_EQ(data.length, 4);
            EXPECT_EQ(std::string(static_cast<const char*>(data.data), 4), std::string("\x8E\0\xFFz", 4));
            EXPECT_TRUE(data.filled);
            EXPECT_EQ(host.Locks(string), 1) << "a copy needs no lock";
            host.ClearLog();
        }
        EXPECT_EQ(host.Count("PluginDisposeStringData"), 1);
        EXPECT_EQ(host.Count("REALUnlockString"), 0);
        REALUnlockString(string);
    }
}

TEST_F(Strings, AreReadDirectlyOnOldHosts) {
    for (const double version : {0.0, 2011.99}) {
        host.SetVersion(version);
        const REALstring string = host.NewString(std::string("\x8E\0\xFFz", 4), kREALEncodingMacRoman);
        host.ClearLog();
        {
            const rbData data(string);
            EXPECT_EQ(data.length, 4);
            EXPECT_EQ(std::string(static_cast<const char*>(data.data), 4), std::string("\x8E\0\xFFz", 4));
            EXPECT_FALSE(data.filled);
            EXPECT_EQ(host.Locks(string), 2);
        }
        EXPECT_EQ(host.Locks(string), 1);
        EXPECT_EQ(host.Count("PluginGetStringData"), 0);
        EXPECT_EQ(host.Count("PluginDisposeStringData"), 0);
        REALUnlockString(string);
    }
}

TEST_F(Strings, WithoutAHandleHaveNoBytes) {
    for (const double version : {2011.0, 2013.0}) {
        host.SetVersion(version);
        const rbData data(nullptr);
        EXPECT_EQ(data.length, 0);
        EXPECT_EQ(data.data, nullptr);
        EXPECT_FALSE(data.filled);
    }
    EXPECT_TRUE(host.Log().empty());
}

TEST_F(Strings, WhoseBytesTheHostRefusesHaveNone) {
    const REALstring string = host.NewString("abc", kREALEncodingUTF8);
    host.failStringData = true;
    {
        const rbData data(string);
        EXPECT_EQ(data.length, 0);
        EXPECT_EQ(data.data, nullptr);
        rbText text(string);
        EXPECT_STREQ(text.GetUTF8(), "");
    }
    EXPECT_EQ(host.Count("PluginDisposeStringData"), 0);
    REALUnlockString(string);
}

// --- text -----------------------------------------------------------------------------------------------------------

struct TextCase {
    const char* name;
    std::string bytes;
    unsigned encoding;
    const char* text;
};

class Texts : public Strings, public ::testing::WithParamInterface<TextCase> {};

TEST_P(Texts, AreGivenOutAsUTF8OnOldHostsAndNewOnes) {
    const TextCase& c = GetParam();
    for (const double version : {0.0, 2011.99, 2012.0, 2013.0}) {
        host.SetVersion(version);
        const REALstring string = host.NewString(c.bytes, c.encoding);
        {
            rbText text(string);
            const char* const first = text.GetUTF8();
            EXPECT_STREQ(first, c.text) << "version " << version;
            host.ClearLog();
            EXPECT_EQ(text.GetUTF8(), first) << "converted once";
            EXPECT_TRUE(host.Log().empty());
        }
        EXPECT_EQ(host.Locks(string), 1);
        EXPECT_EQ(host.LiveStrings(), 1u);
        REALUnlockString(string);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Strings, Texts,
    ::testing::Values(TextCase{"ascii", "abc", kREALEncodingASCII, "abc"},
                      TextCase{"utf8", "\xC3\xA9\xE2\x82\xAC", kREALEncodingUTF8, "\xC3\xA9\xE2\x82\xAC"},
                      TextCase{"utf16", UTF16(u"é€"), kREALEncodingUTF16, "\xC3\xA9\xE2\x82\xAC"},
                      TextCase{"macRoman", "caf\x8E", kREALEncodingMacRoman, "caf\xC3\xA9"},
                      TextCase{"bytesReadAsMacRoman", "caf\x8E", kREALEncodingBytes, "caf\xC3\xA9"},
                      TextCase{"empty", "", kREALEncodingUTF8, ""},
                      TextCase{"noBytesAtAll", "", kREALEncodingBytes, ""}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(Strings, KeepThemselvesAliveWhileTheirTextIsHeld) {
    const REALstring string = host.NewString("abc", kREALEncodingUTF8);
    rbText text(string);
    REALUnlockString(string);
    EXPECT_TRUE(host.IsAlive(string));
    EXPECT_STREQ(text.GetUTF8(), "abc");
}

TEST_F(Strings, WithoutAHandleAreEmptyText) {
    for (const double version : {2011.0, 2013.0}) {
        host.SetVersion(version);
        rbText text(nullptr);
        EXPECT_EQ(text.length[rbText::kUTF8], -1) << "not converted yet";
        EXPECT_STREQ(text.GetUTF8(), "");
        EXPECT_EQ(text.length[rbText::kUTF8], 0);
    }
}

TEST_F(Strings, ThatCannotBeConvertedAreEmptyTextOnOldHosts) {
    host.SetVersion(2011);
    host.failConvertString = true;
    const REALstring string = host.NewString("abc", kREALEncodingASCII);
    {
        rbText text(string);
        EXPECT_STREQ(text.GetUTF8(), "");
    }
    REALUnlockString(string);
}

TEST_F(Strings, GoToTheErrorStreamAsALine) {
    const REALstring string = host.NewString(UTF16(u"aé"), kREALEncodingUTF16);
    ::testing::internal::CaptureStderr();
    DebugLog(string);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "a\xC3\xA9\n");
    ::testing::internal::CaptureStderr();
    DebugLog(nullptr);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "\n");
    REALUnlockString(string);
}

// --- hosts that hand out no string data -----------------------------------------------------------------------------

TEST(StringDataFallback, CopiesTheBytesWithFourZerosBehindThem) {
    InFreshProcess([] {
        FakeHost host({"PluginGetStringData", "PluginDisposeStringData"});
        const REALstring string = host.NewString("caf\x8E", kREALEncodingMacRoman);
        REALstringData data{};
        ASSERT_TRUE(REALGetStringData(string, kREALEncodingBytes, &data));
        EXPECT_EQ(data.length, 4);
        EXPECT_EQ(data.encoding, kREALEncodingBytes);
        EXPECT_EQ(std::string(static_cast<char*>(data.data), 8), std::string("caf\x8E\0\0\0\0", 8));
        EXPECT_EQ(host.Count("REALConvertString"), 0);
        REALDisposeStringData(&data);

        ASSERT_TRUE(REALGetStringData(string, kREALEncodingMacRoman, &data));
        EXPECT_EQ(host.Count("REALConvertString"), 0) << "it has that encoding already";
        REALDisposeStringData(&data);

        ASSERT_TRUE(REALGetStringData(string, kREALEncodingUTF8, &data));
        EXPECT_EQ(data.length, 5);
        EXPECT_EQ(data.encoding, kREALEncodingUTF8);
        EXPECT_EQ(std::string(static_cast<char*>(data.data), 9), std::string("caf\xC3\xA9\0\0\0\0", 9));
        REALDisposeStringData(&data);
        EXPECT_EQ(host.LiveStrings(), 1u) << "the conversion is given back";

        rbText text(string);
        EXPECT_STREQ(text.GetUTF8(), "caf\xC3\xA9");
        const rbData bytes(string);
        EXPECT_EQ(bytes.length, 4);

        EXPECT_FALSE(REALGetStringData(nullptr, kREALEncodingUTF8, &data));
        host.failConvertString = true;
        EXPECT_FALSE(REALGetStringData(string, kREALEncodingUTF16, &data));
    });
}

TEST(StringDataFallback, GivesNothingWithoutLenB) {
    InFreshProcess([] {
        FakeHost host({"PluginGetStringData", "LenB"});
        const REALstring string = host.NewString("abc", kREALEncodingUTF8);
        REALstringData data{};
        EXPECT_FALSE(REALGetStringData(string, kREALEncodingUTF8, &data));
    });
}

TEST(StringDataFallback, GivesNothingWithoutStringGetCString) {
    InFreshProcess([] {
        FakeHost host({"PluginGetStringData", "StringGetCString"});
        const REALstring string = host.NewString("abc", kREALEncodingUTF8);
        REALstringData data{};
        EXPECT_FALSE(REALGetStringData(string, kREALEncodingUTF8, &data));
    });
}

}  // namespace
