#include "plugin/PluginEntry.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "core/Formats.h"
#include "host/HostCalls.h"
#include "host/Platform.h"
#include "kernels/KernelTable.h"
#include "plugin/ClassTables.h"
#include "support/FakeHost.h"

using namespace zor;

namespace {

// Outside of these tests the texts live as long as the process.
void FreeText(const REALconstant& row) {
    std::free(const_cast<char*>(row.declaration));
}

class PluginEntry : public EngineTest {};

// --- constants ------------------------------------------------------------------------------------------------------

struct ConstantCase {
    const char* name;
    REALword value;
    bool prefixK, forceDecimal;
    const char* text;
};

class Constants : public ::testing::TestWithParam<ConstantCase> {};

TEST_P(Constants, BecomeDeclarations) {
    const ConstantCase& c = GetParam();
    REALconstant row = {"Name", 77, c.value};
    FixConstants(&row, 1, 0, c.prefixK, c.forceDecimal);
    EXPECT_STREQ(row.declaration, c.text);
    EXPECT_EQ(row.value, 0);
    EXPECT_EQ(row.unused, 77) << "the second word is nobody's";
    FreeText(row);
}

INSTANTIATE_TEST_SUITE_P(
    PluginEntry, Constants,
    ::testing::Values(ConstantCase{"zero", 0, false, false, "Name = 0"},
                      ConstantCase{"nine", 9, false, false, "Name = 9"},
                      ConstantCase{"ten", 10, false, false, "Name = &h0000000A"},
                      ConstantCase{"digits", 0x1234ABCD, false, false, "Name = &h1234ABCD"},
                      ConstantCase{"allBits", static_cast<REALword>(0xFFFFFFFFu), false, false, "Name = &hFFFFFFFF"},
                      ConstantCase{"tenForced", 10, false, true, "Name = 10"},
                      ConstantCase{"largeForced", 2147483647, false, true, "Name = 2147483647"},
                      ConstantCase{"negativeForced", -2147483647 - 1, false, true, "Name = -2147483648"},
                      ConstantCase{"prefixed", 5, true, false, "kName = 5"},
                      ConstantCase{"prefixedHex", 11, true, false, "kName = &h0000000B"},
                      ConstantCase{"prefixedForced", 1234567890, true, true, "kName = 1234567890"}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(PluginEntry, RewritesConstantsFromTheStartRowOn) {
    REALconstant rows[] = {{"A", 0, 1}, {"B", 0, 2}, {"C", 0, 30}, {"D", 0, 4}};
    FixConstants(rows, 3, 1, false, false);
    EXPECT_STREQ(rows[0].declaration, "A");
    EXPECT_EQ(rows[0].value, 1);
    EXPECT_STREQ(rows[1].declaration, "B = 2");
    EXPECT_STREQ(rows[2].declaration, "C = &h0000001E");
    EXPECT_STREQ(rows[3].declaration, "D");
    FreeText(rows[1]);
    FreeText(rows[2]);
}

TEST_F(PluginEntry, LeavesConstantsAloneWithoutRowsToRewrite) {
    REALconstant rows[] = {{"A", 0, 1}};
    FixConstants(rows, 0, 0, false, false);
    FixConstants(rows, -1, 0, false, false);
    FixConstants(rows, 1, 1, false, false);
    FixConstants(rows, 1, 2, false, false);
    FixConstants(static_cast<REALclassDefinition*>(nullptr), 0, false, false);
    EXPECT_STREQ(rows[0].declaration, "A");
    EXPECT_EQ(rows[0].value, 1);
}

TEST_F(PluginEntry, RewritesTheConstantsOfAClass) {
    REALconstant rows[] = {{"A", 0, 1}, {"B", 0, 12}};
    REALclassDefinition definition{};
    definition.constants = rows;
    definition.constantCount = 2;
    FixConstants(&definition, 0, false, false);
    EXPECT_STREQ(rows[0].declaration, "A = 1");
    EXPECT_STREQ(rows[1].declaration, "B = &h0000000C");
    FreeText(rows[0]);
    FreeText(rows[1]);
}

// --- flags ----------------------------------------------------------------------------------------------------------

struct FlagCase {
    const char* name;
    double version;
    REALword before, after;
};

class Flags : public EngineTest, public ::testing::WithParamInterface<FlagCase> {};

TEST_P(Flags, FollowTheHostsVersionInAllFiveTables) {
    const FlagCase& c = GetParam();
    host.SetVersion(c.version);
    REALproperty properties[2]{}, sharedProperties[2]{};
    REALmethodDefinition methods[2]{}, sharedMethods[2]{};
    for (int i = 0; i < 2; ++i) {
        properties[i].flags = sharedProperties[i].flags = methods[i].flags = sharedMethods[i].flags = c.before;
    }
    REALclassDefinition definition{};
    definition.flags = c.before;
    definition.properties = properties;
    definition.sharedProperties = sharedProperties;
    definition.methods = methods;
    definition.sharedMethods = sharedMethods;
    definition.propertyCount = definition.sharedPropertyCount = definition.methodCount = definition.sharedMethodCount =
        2;
    FixConsoleFlags(&definition);
    EXPECT_EQ(definition.flags, c.after);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(properties[i].flags, c.after) << i;
        EXPECT_EQ(sharedProperties[i].flags, c.after) << i;
        EXPECT_EQ(methods[i].flags, c.after) << i;
        EXPECT_EQ(sharedMethods[i].flags, c.after) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(PluginEntry, Flags,
                         ::testing::Values(FlagCase{"pictureAtTheLimit", 2010.029, 0x40000, 0x40004},
                                           FlagCase{"pictureBelowIt", 2010.028, 0x40000, 0x40000},
                                           FlagCase{"pictureOnAnUnknownHost", 0, 0x40000, 0x40000},
                                           FlagCase{"pictureAboveIt", 2013, 0x40002, 0x40006},
                                           FlagCase{"webAtTheLimit", 2010.029, 0x80000, 0x80008},
                                           FlagCase{"webBelowIt", 2010.028, 0x80000, 0x80000},
                                           FlagCase{"bothMarkers", 2013, 0xC0000, 0xC000C},
                                           FlagCase{"consoleRow", 2013, 0x4, 0x4},
                                           FlagCase{"consoleRowOnAnOldHost", 2009, 0x4, 0x4},
                                           FlagCase{"noMarker", 2013, 0, 0},
                                           FlagCase{"otherBits", 2013, 0x3FFF0, 0x3FFF0}),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(PluginEntry, SkipsTablesThatAreNilOrEmpty) {
    REALmethodDefinition method{};
    method.flags = 0x40000;
    REALclassDefinition definition{};
    definition.methods = &method;
    definition.methodCount = 0;
    definition.sharedMethodCount = 3;
    definition.propertyCount = 3;
    definition.sharedPropertyCount = 3;
    FixConsoleFlags(&definition);
    EXPECT_EQ(method.flags, 0x40000);
    definition.methodCount = -1;
    FixConsoleFlags(&definition);
    EXPECT_EQ(method.flags, 0x40000);
}

// --- registration ---------------------------------------------------------------------------------------------------

TEST_F(PluginEntry, RaisesTheInstanceDataSizeToAMultipleOf16) {
    for (const auto& [size, raised] :
         {std::pair<REALword, REALword>{260, 272}, {0, 0}, {1, 16}, {15, 16}, {16, 16}, {17, 32}, {272, 272}}) {
        REALclassDefinition definition{};
        definition.name = "SizeOnly";
        definition.instanceDataSize = size;
        MyREALRegisterClass(&definition);
        EXPECT_EQ(definition.instanceDataSize, raised) << size;
        EXPECT_EQ(FakeHost::Started().sizes.at("SizeOnly"), raised);
    }
}

TEST_F(PluginEntry, RegistersImageThenFactory) {
    const FakeHost::Registration& started = FakeHost::Started();
    EXPECT_EQ(started.pluginVersion, 9);
    ASSERT_GE(started.classNames.size(), 2u);
    EXPECT_EQ(started.classNames[0], "PictureZOR");
    EXPECT_EQ(started.classNames[1], "PictureFactoryZOR");
    EXPECT_EQ(started.definitions.at("PictureZOR"), &ImageClass);
    EXPECT_EQ(started.definitions.at("PictureFactoryZOR"), &ImageFactoryClass);
    EXPECT_EQ(started.sizes.at("PictureZOR"), static_cast<REALword>((sizeof(ImageClassData) + 15) / 16 * 16));
    EXPECT_EQ(started.sizes.at("PictureFactoryZOR"), 0);
}

TEST_F(PluginEntry, ReadsThePageSize) {
    EXPECT_GE(AllocationGranularity, 4096);
    EXPECT_EQ(AllocationGranularity % 4096, 0);
}

TEST(PluginStart, PicksTheKernelsWhileTheHostWaits) {
    InFreshProcess([] {
        setenv("ZOR_CPU", "plain", 1);
        const FakeHost host;
        unsetenv("ZOR_CPU");  // a host may set it for the time of the call only
        EXPECT_EQ(ProcessKernels().tier, CpuTier::plain);
    });
}

TEST(PluginStart, AsksForTheVersionsFirst) {
    InFreshProcess([] {
        const FakeHost host({}, 2011.5);
        const std::vector<std::string>& lookUps = FakeHost::Started().lookUps;
        ASSERT_EQ(lookUps.size(), 3u);
        EXPECT_EQ(lookUps[0], "RegisterPluginVersion");
        EXPECT_EQ(lookUps[1], "REALGetRBVersion");
        EXPECT_EQ(lookUps[2], "PluginRegisterClass") << "found once, used twice";
        EXPECT_EQ(rbversion_rbversion, 2011.5);
        EXPECT_EQ(FakeHost::Started().classNames.size(), 2u);
    });
}

TEST(PluginStart, ReadsAHostWithoutVersionAsAnOldOne) {
    InFreshProcess([] {
        const FakeHost host({"REALGetRBVersion"}, 2013);
        EXPECT_EQ(rbversion_rbversion, 0.0);
        for (REALword i = 0; i < ImageClass.propertyCount; ++i) {
            if (std::string(ImageClass.properties[i].name) == "Target") {
                EXPECT_EQ(ImageClass.properties[i].flags, 0x40002);
            }
        }
    });
}

TEST(PluginStart, GoesOnWithoutRegisterPluginVersion) {
    InFreshProcess([] {
        const FakeHost host({"RegisterPluginVersion"});
        EXPECT_EQ(FakeHost::Started().pluginVersion, 0);
        EXPECT_EQ(FakeHost::Started().classNames.size(), 2u);
    });
}

}  // namespace
