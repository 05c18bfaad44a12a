// What fits what is settled while compiling, and so is what is asserted here: a case that is wrong does not compile.

#include "plugin/Declaration.h"

#include <gtest/gtest.h>

using namespace zor;

namespace {

using declaration::FitsBoth, declaration::FitsMethod, declaration::FitsProperty, declaration::FitsSetter,
    declaration::FitsSharedMethod, declaration::Parse, declaration::ParseType, declaration::Type;

TEST(Declaration, IsHeldAgainstTheArgumentsOfAMethod) {
    static_assert(FitsMethod<void(REALobject)>("Fill"));
    static_assert(FitsMethod<void(REALobject, int)>("Fill(value as integer)"));
    static_assert(FitsMethod<void(REALobject, double, int)>("Fill(a as double, b as integer)"));
    // another type, another order
    static_assert(!FitsMethod<void(REALobject, double)>("Fill(value as integer)"));
    static_assert(!FitsMethod<void(REALobject, int, double)>("Fill(a as double, b as integer)"));
    // one too few, one too many
    static_assert(!FitsMethod<void(REALobject)>("Fill(value as integer)"));
    static_assert(!FitsMethod<void(REALobject, int)>("Fill(a as integer, b as integer)"));
    static_assert(!FitsMethod<void(REALobject, int, int)>("Fill(value as integer)"));
    static_assert(!FitsMethod<void(REALobject, int)>("Fill"));
    // without the object
    static_assert(!FitsMethod<void(int)>("Fill(value as integer)"));
    static_assert(!FitsMethod<void()>("Fill"));
}

TEST(Declaration, IsHeldAgainstTheResultOfAMethod) {
    static_assert(FitsMethod<REALboolean(REALobject)>("Ready as boolean"));
    static_assert(FitsMethod<REALobject(REALobject, REALobject)>("Turn(dest as PictureZOR) as PictureZOR"));
    static_assert(!FitsMethod<int(REALobject)>("Ready as boolean"));
    static_assert(!FitsMethod<void(REALobject)>("Ready as boolean"));
    static_assert(!FitsMethod<REALboolean(REALobject)>("Ready"));
    static_assert(!FitsMethod<bool(REALobject)>("Ready as boolean"));
}

TEST(Declaration, KnowsWhatEachTypeIsInACall) {
    static_assert(FitsMethod<std::int64_t(REALobject, int, int, REALboolean, double)>(
        "F(a as integer, b as color, c as boolean, d as double) as Int64"));
    static_assert(FitsMethod<REALobject(REALobject, REALobject, REALobject, REALobject, REALobject)>(
        "F(a as picture, b as memoryblock, c as folderitem, d as PictureZOR) as variant"));
    static_assert(FitsMethod<REALstring(REALobject, REALarray)>("F(table() as integer) as string"));
    static_assert(!FitsMethod<void(REALobject, REALarray)>("F(table as integer)"));
    static_assert(!FitsMethod<void(REALobject, int)>("F(table() as integer)"));
    static_assert(!FitsMethod<void(REALobject, REALobject)>("F(text as string)"));
    static_assert(!FitsMethod<void(REALobject, REALstring)>("F(pic as picture)"));
    static_assert(!FitsMethod<void(REALobject, std::int64_t)>("F(a as integer)"));
    static_assert(!FitsMethod<void(REALobject, int)>("F(a as Int64)"));
    static_assert(!FitsMethod<void(REALobject, unsigned)>("F(a as integer)"));
    static_assert(!FitsMethod<void(REALobject, const char*)>("F(text as string)"));
}

TEST(Declaration, IsReadAlikeInSmallAndCapitalLetters) {
    static_assert(FitsMethod<REALobject(REALobject, int)>("F(a AS INTEGER) As picturezor"));
    static_assert(FitsMethod<void(REALobject, REALobject, REALboolean)>("F(a As MemoryBlock, b As Boolean=FALSE)"));
}

TEST(Declaration, PassesOptionalArgumentsAlways) {
    static_assert(FitsMethod<void(REALobject, int, REALboolean)>("F(a as integer, b as boolean = true)"));
    static_assert(FitsMethod<void(REALobject, REALobject)>("F(dest as PictureZOR=nil)"));
    static_assert(FitsMethod<void(REALobject, int, int)>("F(a as integer = 0, b as integer = -15)"));
    static_assert(FitsMethod<void(REALobject, double)>("F(a as double = 0.5)"));
    static_assert(!FitsMethod<void(REALobject, int)>("F(a as integer, b as boolean = true)"));
}

TEST(Declaration, OfASharedMethodHasNoObject) {
    static_assert(FitsSharedMethod<std::int64_t(int, int)>("Bytes(width as integer, height as integer) as Int64"));
    static_assert(FitsSharedMethod<void(REALobject)>("SetFactory(factory as PictureFactoryZOR)"));
    static_assert(!FitsSharedMethod<std::int64_t(REALobject, int)>("Bytes(width as integer) as Int64"));
    static_assert(!FitsSharedMethod<int(int)>("Bytes(width as integer) as Int64"));
}

TEST(Declaration, GivesTheAssignmentFormTheValueLast) {
    static_assert(FitsSetter<void(REALobject, int, REALobject)>("Row(index as integer) as memoryblock"));
    static_assert(FitsSetter<void(REALobject, REALstring)>("Text as string"));
    static_assert(!FitsSetter<void(REALobject, REALobject, int)>("Row(index as integer) as memoryblock"));
    static_assert(!FitsSetter<void(REALobject, int)>("Row(index as integer) as memoryblock"));
    static_assert(!FitsSetter<void(REALobject, int, REALstring)>("Row(index as integer) as memoryblock"));
    static_assert(!FitsSetter<REALobject(REALobject, int, REALobject)>("Row(index as integer) as memoryblock"));
    static_assert(!FitsSetter<void(REALobject, int)>("Fill(value as integer)"), "there is no value to assign");
    static_assert(FitsBoth<REALstring(REALobject), void(REALobject, REALstring)>("Text as string"));
    static_assert(!FitsBoth<REALstring(REALobject), void(REALobject, REALobject)>("Text as string"));
    static_assert(!FitsBoth<REALobject(REALobject), void(REALobject, REALstring)>("Text as string"));
}

TEST(Declaration, OfAPropertyIsTheTypeOfItsValue) {
    static_assert(FitsProperty<int>("Integer"));
    static_assert(FitsProperty<bool>("Boolean"));
    static_assert(FitsProperty<REALboolean>("Boolean"));
    static_assert(FitsProperty<REALobject>("PictureFactoryZOR"));
    static_assert(FitsProperty<std::int64_t>("Int64"));
    static_assert(FitsProperty<REALstring>("String"));
    static_assert(!FitsProperty<int>("Boolean"));
    static_assert(!FitsProperty<bool>("Integer"));
    static_assert(!FitsProperty<std::int64_t>("Integer"));
    static_assert(!FitsProperty<char*>("String"));
    static_assert(!FitsProperty<char*>("Pikture"), "neither is known, and yet they are not alike");
    static_assert(!FitsProperty<int>("Integer As"));
}

TEST(Declaration, ThatIsNoneFitsNothing) {
    static_assert(Parse("F(a as integer, b() as integer, c as boolean = true) as string").known);
    static_assert(!Parse("").known);
    static_assert(!Parse("as integer").known);
    static_assert(!Parse("F(").known);
    static_assert(!Parse("F()").known);
    static_assert(!Parse("F(a as integer").known);
    static_assert(!Parse("F(a as integer,)").known);
    static_assert(!Parse("F(a as integer) as").known);
    static_assert(!Parse("F(a as integer) integer").known);
    static_assert(!Parse("F(a as integer) as integer more").known);
    static_assert(!Parse("F(a integer)").known);
    static_assert(!Parse("F(as integer)").known);
    static_assert(!Parse("F(2a as integer)").known);
    static_assert(!Parse("F(a as intger)").known, "a misspelt type");
    static_assert(!Parse("F as intger").known);
    static_assert(!Parse("F(a() as double)").known, "the host reads arrays of integers only");
    static_assert(!Parse("F(a( as integer)").known);
    static_assert(!Parse("F(a as integer = true)").known);
    static_assert(!Parse("F(a as integer = 0.5)").known);
    static_assert(!Parse("F(a as integer = )").known);
    static_assert(!Parse("F(a as boolean = 0)").known);
    static_assert(!Parse("F(dest as PictureZOR = 0)").known);
    static_assert(!Parse("F(a as integer = 0, b as integer)").known, "optional ones are the last");
    static_assert(!FitsMethod<void(REALobject, unsigned)>("F(a as intger)"), "neither is known, and yet nothing fits");
    static_assert(!FitsSetter<void(REALobject, unsigned)>("F as intger"));
    static_assert(ParseType("MemoryBlock") == Type::object);
    static_assert(ParseType("") == Type::unknown);
}

}  // namespace
