#include <gtest/gtest.h>

#include <cstdint>

#include "TestHost.h"

namespace zorhost {

TEST(Values, TakeTheirTypeFromTheCppValue) {
    EXPECT_EQ(Value().TypeName(), "nil");
    EXPECT_EQ(Value(nullptr).TypeName(), "nil");
    EXPECT_EQ(Value(Object()).TypeName(), "nil");
    EXPECT_EQ(Value(true).TypeName(), "Boolean");
    EXPECT_EQ(Value(5).TypeName(), "Integer");
    EXPECT_EQ(Value(std::uint8_t{5}).TypeName(), "Integer");
    EXPECT_EQ(Value(5u).TypeName(), "Int64");
    EXPECT_EQ(Value(std::int64_t{5}).TypeName(), "Int64");
    EXPECT_EQ(Value(std::size_t{5}).TypeName(), "Int64");
    EXPECT_EQ(Value(1.5f).TypeName(), "Double");
    EXPECT_EQ(Value(1.5).TypeName(), "Double");
    EXPECT_EQ(Value(Color{5}).TypeName(), "Color");
    EXPECT_EQ(Value("text").TypeName(), "String");
    EXPECT_EQ(Value(std::string("text")).TypeName(), "String");
    EXPECT_EQ(Value(std::string_view("text")).TypeName(), "String");
    EXPECT_EQ(Value(String{"bytes", kRawBytes}).TypeName(), "String");
    EXPECT_EQ(Value(std::vector<std::int32_t>{1, 2}).TypeName(), "Integer()");
}

TEST(Values, WidenIntegersOnly) {
    EXPECT_EQ(Value(5).AsInt64(), 5);
    EXPECT_EQ(Value(5).AsDouble(), 5.0);
    EXPECT_EQ(Value(std::int64_t{-5}).AsInt(), -5);
    EXPECT_EQ(Value(std::int64_t{1} << 40).AsDouble(), 1099511627776.0);
    EXPECT_NE(ErrorOf([] { Value(std::int64_t{1} << 31).AsInt(); }).find("2147483648"), std::string::npos);
    EXPECT_EQ(Value(std::int64_t{2147483647}).AsInt(), 2147483647);
    EXPECT_NE(ErrorOf([] { Value(~std::uint64_t{0}); }), "");
    EXPECT_EQ(Value(~std::uint64_t{0} >> 1).AsInt64(), std::numeric_limits<std::int64_t>::max());
}

TEST(Values, NameBothTypesWhereTheyDiffer) {
    EXPECT_EQ(ErrorOf([] { Value(5).AsBool(); }), "found Integer where a Boolean is wanted");
    EXPECT_EQ(ErrorOf([] { Value(true).AsInt(); }), "found Boolean where an Integer is wanted");
    EXPECT_EQ(ErrorOf([] { Value(1.0).AsInt64(); }), "found Double where an Int64 is wanted");
    EXPECT_EQ(ErrorOf([] { Value("x").AsDouble(); }), "found String where a Double is wanted");
    EXPECT_EQ(ErrorOf([] { Value(5).AsColor(); }), "found Integer where a Color is wanted");
    EXPECT_EQ(ErrorOf([] { Value().AsString(); }), "found nil where a String is wanted");
    EXPECT_EQ(ErrorOf([] { Value(Color{}).AsText(); }), "found Color where a String is wanted");
    EXPECT_EQ(ErrorOf([] { Value(5).AsObject(); }), "found Integer where an object is wanted");
    EXPECT_EQ(ErrorOf([] { Value(5).AsArray(); }), "found Integer where an Integer() is wanted");
    EXPECT_FALSE(Value().AsObject());
}

TEST(Values, NameTheClassOfAnObject) {
    const TestHost test;
    Host& host = *Host::Current();
    const Value block = host.MakeMemoryBlock(4);
    EXPECT_EQ(block.TypeName(), "MemoryBlock");
    EXPECT_EQ(ErrorOf([&] { block.AsInt(); }), "found MemoryBlock where an Integer is wanted");
}

struct Conversion {
    const char* what;
    String from;
    unsigned encoding;
    std::string bytes;
};

static std::string Units16(std::initializer_list<std::uint16_t> units) {
    return std::string(reinterpret_cast<const char*>(units.begin()), units.size() * 2);
}
static std::string Units32(std::initializer_list<std::uint32_t> units) {
    return std::string(reinterpret_cast<const char*>(units.begin()), units.size() * 4);
}

TEST(Encodings, ConvertBetweenAllOfThem) {
    const std::string umlaut = "\xC3\xA4";        // a with diaeresis
    const std::string clef = "\xF0\x9D\x84\x9E";  // outside the first 65536 characters
    const Conversion conversions[] = {
        {"the same", {umlaut, kUTF8}, kUTF8, umlaut},
        {"UTF-8 to UTF-16", {"A" + umlaut + clef, kUTF8}, kUTF16, Units16({0x41, 0xE4, 0xD834, 0xDD1E})},
        {"UTF-8 to UTF-32", {"A" + umlaut + clef, kUTF8}, kUTF32, Units32({0x41, 0xE4, 0x1D11E})},
        {"UTF-8 to Mac Roman", {"A" + umlaut, kUTF8}, kMacRoman, "A\x8A"},
        {"UTF-8 to ASCII", {"Az", kUTF8}, kASCII, "Az"},
        {"UTF-16 to UTF-8", {Units16({0x41, 0xD834, 0xDD1E}), kUTF16}, kUTF8, "A" + clef},
        {"UTF-32 to UTF-8", {Units32({0xE4, 0x1D11E}), kUTF32}, kUTF8, umlaut + clef},
        {"Mac Roman to UTF-8", {"\x8A", kMacRoman}, kUTF8, umlaut},
        {"ASCII to UTF-16", {"Az", kASCII}, kUTF16, Units16({0x41, 0x7A})},
        {"to raw bytes", {umlaut, kUTF8}, kRawBytes, umlaut},
        {"from raw bytes", {"\x8A\xFF", kRawBytes}, kUTF8, "\x8A\xFF"},
        {"no text", {"", kUTF8}, kUTF16, ""},
        {"a character that ASCII lacks", {"A" + umlaut + clef + "B", kUTF8}, kASCII, "A??B"},
        {"a character that Mac Roman lacks", {"A" + clef, kUTF8}, kMacRoman, "A?"},
        {"one that is missing in UTF-16", {"A" + clef, kUTF8}, kUTF16, Units16({0x41, 0xD834, 0xDD1E})},
        {"wrong UTF-8",
         {"A\xFF"
          "B",
          kUTF8},
         kUTF16,
         Units16({0x41, '?', 0x42})},
        {"UTF-8 that breaks off", {"A\xC3", kUTF8}, kASCII, "A?"},
        {"UTF-16 that breaks off", {Units16({0x41}) + "x", kUTF16}, kUTF8, "A?"},
        {"UTF-16 with half a pair", {Units16({0xDD1E, 0x41}), kUTF16}, kUTF8, "?A"},
        {"a byte that is not ASCII", {"A\x8A", kASCII}, kUTF8, "A?"},
        {"an embedded zero", {std::string("A\0B", 3), kUTF8}, kUTF16, Units16({0x41, 0, 0x42})},
    };
    for (const Conversion& each : conversions) {
        const String converted = Convert(each.from, each.encoding);
        EXPECT_EQ(converted.bytes, each.bytes) << each.what;
        EXPECT_EQ(converted.encoding, each.encoding) << each.what;
    }
}

TEST(Encodings, ConvertLongTexts) {
    std::string utf8, utf16;
    for (int i = 0; i < 5000; ++i) {
        utf8 += "\xC3\xA4";
        utf16 += Units16({0xE4});
    }
    EXPECT_EQ(Convert({utf8, kUTF8}, kUTF16).bytes, utf16);
    EXPECT_EQ(Convert({utf16, kUTF16}, kUTF8).bytes, utf8);
}

TEST(Encodings, RefuseUnknownNumbers) {
    EXPECT_NE(ErrorOf([] { Convert({"x", kUTF8}, 0x123); }).find("291"), std::string::npos);
    EXPECT_NE(ErrorOf([] { Convert({"x", 0x123}, kUTF8); }).find("291"), std::string::npos);
}

}  // namespace zorhost
