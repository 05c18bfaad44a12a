#include <gtest/gtest.h>

#include <random>
#include <string>

#include "TestHost.h"
#include "zorhost/Signature.h"

namespace zorhost {

// A signature in one spelling: "Name(x: Integer, y: Color = 5) -> Boolean".
static std::string Spell(const Signature& signature) {
    std::string text = signature.name + "(";
    for (const Parameter& parameter : signature.parameters) {
        if (text.back() != '(') text += ", ";
        text += parameter.name + ": " + parameter.type.Name();
        if (parameter.defaultValue) text += " = " + parameter.defaultValue->TypeName();
    }
    return text + ") -> " + signature.result.Name();
}

struct WellFormed {
    const char* declaration;
    const char* spelled;
};

static const WellFormed kWellFormed[] = {
    {"Close", "Close() -> "},
    {"Close()", "Close() -> "},
    {"  Close ( ) ", "Close() -> "},
    {"AlphaChannel as PictureZOR", "AlphaChannel() -> PictureZOR"},
    {"AlphaChannel() as PictureZOR", "AlphaChannel() -> PictureZOR"},
    {"Scale(source as PictureZOR, temp as PictureZOR, mode as integer, width as integer, height as integer) as boolean",
     "Scale(source: PictureZOR, temp: PictureZOR, mode: Integer, width: Integer, height: Integer) -> Boolean"},
    {"FillRectRGB(FillColor as color)", "FillRectRGB(FillColor: Color) -> "},
    {"SetFactory(factory as PictureFactoryZOR)", "SetFactory(factory: PictureFactoryZOR) -> "},
    {"ApplyMatrix(dest as PictureZOR, MatrixDimension as integer, matrix() as integer, ScaleFactor as double) as "
     "PictureZOR",
     "ApplyMatrix(dest: PictureZOR, MatrixDimension: Integer, matrix: Integer(), ScaleFactor: Double) -> PictureZOR"},
    {"LenB( s as string ) as integer", "LenB(s: String) -> Integer"},
    {"COMBINE(Image As PictureZOR, Pre As BOOLEAN) As Int64", "COMBINE(Image: PictureZOR, Pre: Boolean) -> Int64"},
    {"CopyGWorld as variant", "CopyGWorld() -> Variant"},
    {"Row(index as integer) as memoryblock", "Row(index: Integer) -> memoryblock"},
    {"F(FilePath as folderitem, pic as picture)", "F(FilePath: folderitem, pic: picture) -> "},
    {"G(a as int32, v as Variant)", "G(a: Integer, v: Variant) -> "},
    {"R(dest as PictureZOR=nil) as PictureZOR", "R(dest: PictureZOR = nil) -> PictureZOR"},
    {"R(a as boolean = true, b as boolean=False)", "R(a: Boolean = Boolean, b: Boolean = Boolean) -> "},
    {"R(angle as double, Red as integer = 0, d as double = 0.5, e as double = 2)",
     "R(angle: Double, Red: Integer = Integer, d: Double = Double, e: Double = Integer) -> "},
    {"D(sw as Integer = -10000, c as color = &hFF0000, s as string = \"a, b)\")",
     "D(sw: Integer = Integer, c: Color = Color, s: String = String) -> "},
    {"L(big as int64 = &h123456789, oct as integer = &o17, bin as integer = &b101, plus as integer = +5)",
     "L(big: Int64 = Int64, oct: Integer = Integer, bin: Integer = Integer, plus: Integer = Integer) -> "},
    {"_under_score9(x_1\tas\tinteger)", "_under_score9(x_1: Integer) -> "},
};

TEST(Declarations, AreReadInEveryForm) {
    for (const auto& [declaration, spelled] : kWellFormed) {
        EXPECT_EQ(Spell(ParseDeclaration(declaration)), spelled) << declaration;
    }
}

TEST(Declarations, KeepTheValuesOfDefaults) {
    const Signature read = ParseDeclaration(
        "D(sw as Integer = -10000, c as color = &h00FF80, s as string = \"a, b)\", o as integer = &o17, b as integer = "
        "&b101, l as int64 = &h123456789, d as double = .25, t as boolean = TRUE, n as PictureZOR = nil, h as integer "
        "= &hFFFFFFFE)");
    const auto& p = read.parameters;
    EXPECT_EQ(p[0].defaultValue->AsInt(), -10000);
    EXPECT_EQ(p[1].defaultValue->AsColor(), Color::FromRGB(0, 255, 128));
    EXPECT_EQ(p[2].defaultValue->AsText(), "a, b)");
    EXPECT_EQ(p[3].defaultValue->AsInt(), 15);
    EXPECT_EQ(p[4].defaultValue->AsInt(), 5);
    EXPECT_EQ(p[5].defaultValue->AsInt64(), 0x123456789);
    EXPECT_EQ(p[6].defaultValue->AsDouble(), 0.25);
    EXPECT_TRUE(p[7].defaultValue->AsBool());
    EXPECT_TRUE(p[8].defaultValue->IsNil());
    EXPECT_EQ(p[9].defaultValue->AsInt(), -2);
}

struct Malformed {
    const char* declaration;
    const char* problem;  // part of the message
};

static const Malformed kMalformed[] = {
    {"", "a name is missing"},
    {"   ", "a name is missing"},
    {"(", "a name is missing"},
    {"9Lives", "a name is missing"},
    {"as", "a name cannot be \"as\""},
    {"as integer", "a name cannot be \"as\""},
    {"Close as", "a type is missing"},
    {"Close as as", "a type cannot be"},
    {"Close(", "a parameter is missing"},
    {"Close(,)", "a parameter is missing"},
    {"Close)", "something follows its end"},
    {"Close() extra", "something follows its end"},
    {"Close as integer as integer", "something follows its end"},
    {"Close() as integer = 5", "something follows its end"},
    {"F(x)", "the parameter x has no type"},
    {"F(x integer)", "the parameter x has no type"},
    {"F(x as)", "a type is missing"},
    {"F(x as integer", "a \")\" is missing"},
    {"F(x as integer,)", "a parameter is missing"},
    {"F(x as integer,, y as integer)", "a parameter is missing"},
    {"F(x as integer y as integer)", "a \")\" is missing"},
    {"F(x as integer, X as double)", "two parameters are named X"},
    {"F(x as single)", "the type single is not supported"},
    {"F(x as UInt64)", "the type UInt64 is not supported"},
    {"F as ptr", "the type ptr is not supported"},
    {"F(x( as integer)", "a \")\" is missing"},
    {"F(x(3) as integer)", "a \")\" is missing"},
    {"F(x() as double)", "only arrays of integers"},
    {"F(x() as PictureZOR)", "only arrays of integers"},
    {"F(x() as integer = 5)", "the default of x is no Integer()"},
    {"F(byref x as integer)", "a parameter cannot be \"byref\""},
    {"F(x as integer = )", "a value is missing"},
    {"F(x as integer =", "a value is missing"},
    {"F(x as integer = five)", "\"five\" is no value"},
    {"F(x as integer = 1.5)", "the default of x is no Integer"},
    {"F(x as integer = 5000000000)", "the default of x is no Integer"},
    {"F(x as integer = 99999999999999999999999999)", "the default of x is no Integer"},
    {"F(x as integer = &h)", "is no value"},
    {"F(x as integer = &q12)", "is no value"},
    {"F(x as integer = &hG)", "is no value"},
    {"F(x as integer = &h11112222333344445)", "is no value"},
    {"F(x as integer = -)", "is no value"},
    {"F(x as integer = - 5)", "is no value"},
    {"F(x as double = 1e999)", "is no value"},
    {"F(x as double = nan)", "is no value"},
    {"F(x as double = inf)", "is no value"},
    {"F(x as boolean = 1)", "the default of x is no Boolean"},
    {"F(x as string = \"open)", "a value is missing"},
    {"F(x as string = nil)", "the default of x is no String"},
    {"F(x as PictureZOR = 5)", "the default of x is no PictureZOR"},
    {"F(x as integer = 5, y as integer)", "the parameter y needs a default"},
    {"F(x as integer)\n", "something follows its end"},
    {"F\xC3\xA9(x as integer)", "something follows its end"},
    {"Scale(source PictureZOR)", "the parameter source has no type"},
};

TEST(Declarations, RefuseWhatIsMalformedAndSayWhy) {
    for (const Malformed& each : kMalformed) {
        const std::string message = ErrorOf([&] { ParseDeclaration(each.declaration); });
        EXPECT_NE(message.find(each.problem), std::string::npos) << each.declaration << " gave: " << message;
        EXPECT_NE(message.find("\"" + std::string(each.declaration) + "\""), std::string::npos) << message;
    }
}

// Damaged declarations are read or refused; a signature that is read says the same when it is written out and read
// again.
TEST(Declarations, SurviveDamage) {
    std::mt19937 random(20101);
    const std::string letters = "()=,&\" \tas.-xh0189\xC3\0";
    int read = 0, refused = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = kWellFormed[random() % std::size(kWellFormed)].declaration;
        for (unsigned change = random() % 4; change > 0 && !text.empty(); --change) {
            const std::size_t at = random() % text.size();
            switch (random() % 3) {
                case 0:
                    text.erase(at, 1 + random() % 4);
                    break;
                case 1:
                    text[at] = letters[random() % letters.size()];
                    break;
                default:
                    text.insert(at, 1, letters[random() % letters.size()]);
            }
        }
        try {
            const Signature signature = ParseDeclaration(text);
            ++read;
            std::string plain = signature.name + "(";
            for (const Parameter& parameter : signature.parameters) {
                const bool isArray = parameter.type.kind == Kind::IntegerArray;
                plain += (plain.back() == '(' ? "" : ", ") + parameter.name + (isArray ? "()" : "") + " as " +
                         (isArray ? "integer" : parameter.type.Name());
            }
            plain += ")";
            if (signature.result.kind != Kind::Nothing) plain += " as " + signature.result.Name();
            const Signature again = ParseDeclaration(plain);
            EXPECT_EQ(again.name, signature.name);
            ASSERT_EQ(again.parameters.size(), signature.parameters.size()) << text;
            EXPECT_EQ(again.result.kind, signature.result.kind) << text;
        } catch (const Error& error) {
            ++refused;
            EXPECT_NE(std::string(error.what()).find("malformed declaration"), std::string::npos);
        }
    }
    EXPECT_GT(read, 1000);
    EXPECT_GT(refused, 1000);
}

TEST(Declarations, ReadTypesAlone) {
    EXPECT_EQ(ParseType("Integer").kind, Kind::Integer);
    EXPECT_EQ(ParseType("int64").kind, Kind::Int64);
    EXPECT_EQ(ParseType("Memoryblock").Name(), "Memoryblock");
    EXPECT_NE(ErrorOf([] { ParseType("integer integer"); }), "");
    EXPECT_NE(ErrorOf([] { ParseType(""); }), "");
}

TEST(Declarations, ReadConstants) {
    EXPECT_EQ(ParseConstant("ImageFormatUnknown = 0").value.AsInt(), 0);
    EXPECT_EQ(ParseConstant("ImageFormatRGB = 1").name, "ImageFormatRGB");
    EXPECT_EQ(ParseConstant("ImageFormatXBGR = &h0000000A").value.AsInt(), 10);
    EXPECT_EQ(ParseConstant("ImageFormatXBGR=&h0000000A").value.AsInt(), 10);
    EXPECT_EQ(ParseConstant("A as integer = -4").value.AsInt(), -4);
    EXPECT_EQ(ParseConstant("A = &hFFFFFFFF").value.AsInt(), -1);
    EXPECT_EQ(ParseConstant("A = &h1FFFFFFFF").value.AsInt64(), 0x1FFFFFFFF);
    EXPECT_EQ(ParseConstant("A = 0.5").value.AsDouble(), 0.5);
    EXPECT_EQ(ParseConstant("A = \"text\"").value.AsText(), "text");
    EXPECT_TRUE(ParseConstant("A = true").value.AsBool());
    for (const char* wrong : {"", "A", "A =", "= 5", "A = 5 6", "A = B", "A 5", "A as integer = true", "A(5) = 3"}) {
        EXPECT_NE(ErrorOf([&] { ParseConstant(wrong); }).find("malformed"), std::string::npos) << wrong;
    }
}

}  // namespace zorhost
