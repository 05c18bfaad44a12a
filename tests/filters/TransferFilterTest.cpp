#include "filters/TransferFilter.h"

#include "core/Formats.h"
#include "filters/FilterModel.h"

using namespace zor;

namespace {

class TransferFilterTest : public EngineTest {
protected:
    TestImage Ramp(int format) {  // every byte value once, in all channels
        TestImage image = MakePlain(256, 1, format);
        Storage storage = SnapshotOf(image);
        for (int x = 0; x < 256; ++x) {
            for (const ModelChannel& channel : ChannelsOfFamily(image.record(), image.record())) {
                storage.Put(PlaceOf(image, x, 0) + channel.to, static_cast<std::uint8_t>(x));
            }
        }
        SetStorage(image, storage);
        return image;
    }
    REALarray Curve(int length, int first, int step) {
        std::vector<int> values(static_cast<std::size_t>(length));
        for (int i = 0; i < length; ++i) values[static_cast<std::size_t>(i)] = first + step * i;
        return host.NewArray(values);
    }
};

// What a byte becomes by an array of that length whose entry i is first + step * i.
struct Line {
    int length, first, step;
    int Of(int byte) const { return byte < length ? (first + step * byte) & 255 : 0; }
};

TEST_F(TransferFilterTest, AShortCurveTurnsBytesBeyondItToZero) {
    const TestImage source = Ramp(ImageFormatG);
    const TestImage result(TransferFilterG(source.object(), nullptr, Curve(10, 200, 1)));
    for (int i = 0; i < 256; ++i) EXPECT_EQ(PixelAt(result, i, 0).front(), i < 10 ? 200 + i : 0) << i;
}

TEST_F(TransferFilterTest, ANilOrEmptyCurveMakesAChannelBlack) {
    const TestImage source = Ramp(ImageFormatRGB);
    const TestImage result(
        TransferFilterRGB(source.object(), nullptr, nullptr, Curve(256, 0, 1), host.NewArray(std::vector<int>{})));
    for (int i = 0; i < 256; ++i) EXPECT_EQ(PixelAt(result, i, 0), (std::vector<int>{0, i, 0}));
}

TEST_F(TransferFilterTest, StoresTheLowEightBits) {
    std::vector<int> values(256, 0);
    values[0] = 300;
    values[1] = -1;
    values[2] = 65536 + 7;
    values[255] = INT32_MIN;
    const TestImage source = Ramp(ImageFormatG);
    const TestImage result(TransferFilterG(source.object(), nullptr, host.NewArray(values)));
    EXPECT_EQ(PixelAt(result, 0, 0).front(), 44);
    EXPECT_EQ(PixelAt(result, 1, 0).front(), 255);
    EXPECT_EQ(PixelAt(result, 2, 0).front(), 7);
    EXPECT_EQ(PixelAt(result, 255, 0).front(), 0);
}

TEST_F(TransferFilterTest, ReadsNoEntryBeyondTheByteRange) {
    const TestImage source = Ramp(ImageFormatG);
    host.ClearLog();
    const TestImage result(TransferFilterG(source.object(), nullptr, Curve(1000, 0, 1)));
    EXPECT_EQ(host.Count("RuntimeDirectReadIntArray"), 256);
    EXPECT_EQ(PixelAt(result, 255, 0).front(), 255);
}

TEST_F(TransferFilterTest, GrayTakesTheGreenCurve) {
    const TestImage source = Ramp(ImageFormatG);
    const TestImage result(
        TransferFilterRGB(source.object(), nullptr, Curve(256, 9, 0), Curve(256, 255, -1), Curve(256, 77, 0)));
    for (int i = 0; i < 256; ++i) EXPECT_EQ(PixelAt(result, i, 0).front(), 255 - i);
}

// --- every method with every family ---------------------------------------------------------------------------------

using Lines = std::vector<std::pair<std::string, Line>>;  // a channel that is not named is left alone

void ApplyLines(FilterModel& model, const Lines& lines) {
    for (int y = 0; y < model.height; ++y) {
        for (int x = 0; x < model.width; ++x) {
            const std::vector<int> before = model.ReadPixel(x, y);
            for (std::size_t c = 0; c < before.size(); ++c) {
                for (const auto& [name, line] : lines) {
                    if (model.channels[c].name == name) model.Write(x, y, model.channels[c], line.Of(before[c]));
                }
            }
        }
    }
}

constexpr Line kGray{256, 13, 7}, kRed{256, 255, -1}, kGreen{200, 40, 3}, kBlue{256, -5, 2}, kAlpha{100, 90, 1};

REALarray ArrayOf(const Line& line) {
    std::vector<int> values(static_cast<std::size_t>(line.length));
    for (int i = 0; i < line.length; ++i) values[static_cast<std::size_t>(i)] = line.first + line.step * i;
    return FakeHost::Current().NewArray(values);
}

struct FamilyRow {
    const char* name;
    REALobject (*run)(REALobject source, REALobject dest);
    Lines gray, grayAlpha, rgb, rgbAlpha;
};

const FamilyRow kRows[] = {
    {"TransferFilterG",
     [](REALobject s, REALobject d) { return TransferFilterG(s, d, ArrayOf(kGray)); },
     {{"gray", kGray}},
     {{"gray", kGray}},
     {{"red", kGray}, {"green", kGray}, {"blue", kGray}},
     {{"red", kGray}, {"green", kGray}, {"blue", kGray}}},
    {"TransferFilterGA",
     [](REALobject s, REALobject d) { return TransferFilterGA(s, d, ArrayOf(kGray), ArrayOf(kAlpha)); },
     {{"gray", kGray}},
     {{"gray", kGray}, {"alpha", kAlpha}},
     {{"red", kGray}, {"green", kGray}, {"blue", kGray}},
     {{"red", kGray}, {"green", kGray}, {"blue", kGray}, {"alpha", kAlpha}}},
    {"TransferFilterRGB",
     [](REALobject s, REALobject d) { return TransferFilterRGB(s, d, ArrayOf(kRed), ArrayOf(kGreen), ArrayOf(kBlue)); },
     {{"gray", kGreen}},
     {{"gray", kGreen}},
     {{"red", kRed}, {"green", kGreen}, {"blue", kBlue}},
     {{"red", kRed}, {"green", kGreen}, {"blue", kBlue}}},
    {"TransferFilterRGBA",
     [](REALobject s, REALobject d) {
         return TransferFilterRGBA(s, d, ArrayOf(kRed), ArrayOf(kGreen), ArrayOf(kBlue), ArrayOf(kAlpha));
     },
     {{"gray", kGreen}},
     {{"gray", kGreen}, {"alpha", kAlpha}},
     {{"red", kRed}, {"green", kGreen}, {"blue", kBlue}},
     {{"red", kRed}, {"green", kGreen}, {"blue", kBlue}, {"alpha", kAlpha}}},
};

FilterCase CaseOf(const FamilyRow& row) {
    return {row.name, row.run, [&row](FilterModel& model) {
                const bool alpha = !model.channels.empty() && model.channels.back().name == "alpha";
                if (model.isGray()) ApplyLines(model, alpha ? row.grayAlpha : row.gray);
                if (model.isRGB()) ApplyLines(model, alpha ? row.rgbAlpha : row.rgb);
            }};
}

TEST_F(TransferFilterTest, ServesEachFamilyAsItsRowTells) {
    Random random(3);
    const TempDir directory;
    for (const FamilyRow& row : kRows) {
        for (const int format : AllFormats()) {
            CheckFilter(CaseOf(row), RandomPair(random, directory, Relation::made, format));
            CheckFilter(CaseOf(row), RandomPair(random, directory, Relation::apart, format));
        }
    }
}

TEST_F(TransferFilterTest, AgreesWithTheModelOnRandomImages) {
    CheckFilterOnRandomImages(5, 300, [](Random& random) { return CaseOf(kRows[random.Between(0, 3)]); });
}

}  // namespace
