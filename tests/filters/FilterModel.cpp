#include "filters/FilterModel.h"

#include <algorithm>

#include "core/Formats.h"
#include "core/RowAccess.h"
#include "core/Views.h"

using namespace zor;

std::vector<ModelChannel> ChannelsOfFamily(const ImageClassData* family, const ImageClassData* dest) {
    std::vector<ModelChannel> channels;
    if (family->IsGray) {
        channels = {{"gray", family->GrayOffset, dest->GrayOffset}};
    } else if (family->IsRGB) {
        channels = {{"red", family->RedOffset, dest->RedOffset},
                    {"green", family->GreenOffset, dest->GreenOffset},
                    {"blue", family->BlueOffset, dest->BlueOffset}};
    } else if (family->IsCMYK) {
        channels = {{"cyan", family->CyanOffset, dest->CyanOffset},
                    {"magenta", family->MagentaOffset, dest->MagentaOffset},
                    {"yellow", family->YellowOffset, dest->YellowOffset},
                    {"black", family->BlackOffset, dest->BlackOffset}};
    }
    if (!channels.empty() && family->HasAlpha) channels.push_back({"alpha", family->AlphaOffset, dest->AlphaOffset});
    return channels;
}

FilterModel::FilterModel(const TestImage& source, const TestImage& dest)
    : channels(ChannelsOfFamily(source.record(), dest.record())),
      width(source->Width),
      height(source->Height),
      source_(source),
      dest_(dest),
      sourceBytes_(std::make_shared<Storage>(SnapshotOf(source))),
      destBytes_(source.root() == dest.root() ? sourceBytes_ : std::make_shared<Storage>(SnapshotOf(dest))) {}

int FilterModel::Read(int x, int y, const ModelChannel& channel) const {
    return sourceBytes_->At(PlaceOf(source_, x, y) + channel.from);
}

int FilterModel::ByteOfRow(int y, int at) const {
    return sourceBytes_->At(PlaceOfRow(source_, y) + at);
}

void FilterModel::Write(int x, int y, const ModelChannel& channel, int value) {
    destBytes_->Put(PlaceOf(dest_, x, y) + channel.to, static_cast<std::uint8_t>(value & 255));
}

std::vector<int> FilterModel::ReadPixel(int x, int y) const {
    std::vector<int> values;
    for (const ModelChannel& channel : channels) values.push_back(Read(x, y, channel));
    return values;
}

void FilterModel::WritePixel(int x, int y, const std::vector<int>& values) {
    for (std::size_t c = 0; c < values.size(); ++c) Write(x, y, channels[c], values[c]);
}

void FilterModel::MapPixels(const std::function<int(std::size_t, int, int, int)>& map) {
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            std::vector<int> values = ReadPixel(x, y);
            for (std::size_t c = 0; c < values.size(); ++c) values[c] = map(c, values[c], x, y);
            WritePixel(x, y, values);
        }
    }
}

::testing::AssertionResult FilterModel::Matches() const {
    const ::testing::AssertionResult dest = SameStorage(*destBytes_, SnapshotOf(dest_), dest_);
    if (!dest) return ::testing::AssertionFailure() << "destination: " << dest.message();
    const ::testing::AssertionResult source = SameStorage(*sourceBytes_, SnapshotOf(source_), source_);
    if (!source) return ::testing::AssertionFailure() << "source: " << source.message();
    return ::testing::AssertionSuccess();
}

// --- pairs of images ------------------------------------------------------------------------------------------------

namespace {

TestImage AnotherLock(const TestImage& image) {
    REALLockObject(image.object());
    return TestImage(image.object(), image.text);
}

// Any view that the image can have.
TestImage RandomView(Random& random, const TestImage& image) {
    const int choice = random.Between(0, 3);
    TestImage base = AnotherLock(image);
    if (choice == 0) return MirroredOf(std::move(base));
    if (choice == 1 && image->ChannelCount > 0) {
        return ChannelOf(std::move(base), random.Between(0, image->ChannelCount - 1));
    }
    if (choice == 2 && ((image->IsRGB && image->ImageFormat <= ImageFormatXBGR) || image->IsCMYK)) {
        return ColoursOf(std::move(base));
    }
    const int x = random.Between(0, std::max(0, image->Width - 1));
    // A mapped clip keeps its height: its window could not reach further down.
    const int y = image->IsMapping ? 0 : random.Between(0, image->Height - 1);
    const int height = image->IsMapping ? image->Height : image->Height - y;
    return ClipOf(std::move(base), x, y, image->Width - x, height);
}

int RandomExtent(Random& random) {
    return random.Chance(30) ? random.Between(1, 3) : random.Between(1, 40);
}

int Near(Random& random, int extent) {
    return std::max(1, random.Chance(50) ? extent : extent + random.Between(-6, 6));
}

}  // namespace

ImagePair RandomPair(Random& random, const TempDir& directory, Relation relation, int format) {
    const int width = RandomExtent(random), height = RandomExtent(random);
    ImagePair pair;
    pair.source = RandomImage(random, directory, width, height, format);
    switch (relation) {
        case Relation::made:
            break;
        case Relation::apart: {
            const bool sameFormat = random.Chance(40);
            pair.dest = RandomImage(random, directory, Near(random, width), Near(random, height),
                                    sameFormat ? format : random.Format());
            break;
        }
        case Relation::same:
            pair.dest = AnotherLock(pair.source);
            pair.isSame = true;
            break;
        case Relation::viewOfSource:
            pair.dest = RandomView(random, pair.source);
            break;
        case Relation::viewOfDest:
            pair.dest = std::move(pair.source);
            pair.source = RandomView(random, pair.dest);
            break;
    }
    return pair;
}

void CheckFilter(const FilterCase& filter, const ImagePair& pair) {
    SCOPED_TRACE(filter.text + "\n  source: " + pair.source.text +
                 "\n  dest: " + (pair.dest ? pair.dest.text : "none"));
    FakeHost& host = FakeHost::Current();
    if (!pair.dest) {
        const TestImage likeNew = MakePlain(pair.source->Width, pair.source->Height, pair.source->ImageFormat);
        FilterModel model(pair.source, likeNew);
        filter.model(model);
        const TestImage result(filter.run(pair.source.object(), nullptr));
        ASSERT_TRUE(result);
        ASSERT_EQ(host.Locks(result.object()), 1);
        EXPECT_EQ(result->Width, pair.source->Width);
        EXPECT_EQ(result->Height, pair.source->Height);
        EXPECT_EQ(result->ImageFormat, pair.source->ImageFormat);
        SetStorage(likeNew, SnapshotOf(result));
        EXPECT_TRUE(model.Matches());
        return;
    }
    FilterModel model(pair.source, pair.dest);
    filter.model(model);
    const int locks = host.Locks(pair.dest.object());
    const REALobject result = filter.run(pair.source.object(), pair.dest.object());
    ASSERT_EQ(result, pair.dest.object());
    EXPECT_EQ(host.Locks(result), locks + 1) << "the result belongs to the caller";
    REALUnlockObject(result);
    EXPECT_TRUE(model.Matches());
}

void CheckFilterOnRandomImages(std::uint32_t seed, int rounds, const std::function<FilterCase(Random&)>& make) {
    Random random(seed);
    const TempDir directory;
    const std::vector<Relation> relations = {Relation::apart,     Relation::apart, Relation::apart,
                                             Relation::made,      Relation::same,  Relation::viewOfSource,
                                             Relation::viewOfDest};
    for (int round = 0; round < rounds && !::testing::Test::HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const int format = AllFormats()[static_cast<std::size_t>(round) % AllFormats().size()];
        const Relation relation = random.Pick(relations);
        const ImagePair pair = RandomPair(random, directory, relation, format);
        ASSERT_TRUE(pair.source);
        CheckFilter(make(random), pair);
    }
    // Rows that reach into each other, with pixels that lie partly outside the storage at the end.
    for (int round = 0; round < rounds / 8 && !::testing::Test::HasFailure(); ++round) {
        SCOPED_TRACE("short rows, round " + std::to_string(round));
        const int width = random.Between(1, 12), height = random.Between(1, 9);
        const auto withShortRows = [&] {
            TestImage image = MakeOnBlock(width, height, random.Format(), random.Between(1, 2 * width));
            FillWithNoise(image, random);
            return image;
        };
        ImagePair pair;
        pair.source = withShortRows();
        pair.dest = random.Chance(40) ? AnotherLock(pair.source) : withShortRows();
        CheckFilter(make(random), pair);
    }
    for (const auto& [width, height] : {std::pair{1, 1}, {1, 5}, {5, 1}, {2, 2}, {600, 2}}) {
        for (const int format : {ImageFormatBGRA, ImageFormatRGB, ImageFormatG, ImageFormatAG, ImageFormatACMYK}) {
            for (const StorageKind kind : kStorageKinds) {
                ImagePair pair;
                pair.source = MakeStorage(random, directory, kind, width, height, format);
                FillWithNoise(pair.source, random);
                if (random.Chance(50)) pair.dest = RandomImage(random, directory, width, height, format);
                CheckFilter(make(random), pair);
            }
        }
    }
}

// --- single pixels --------------------------------------------------------------------------------------------------

void FillPixels(const TestImage& image, const std::vector<int>& values) {
    const std::vector<ModelChannel> channels = ChannelsOfFamily(image.record(), image.record());
    Storage storage = SnapshotOf(image);
    for (int y = 0; y < image->Height; ++y) {
        for (int x = 0; x < image->Width; ++x) {
            for (std::size_t c = 0; c < values.size(); ++c) {
                storage.Put(PlaceOf(image, x, y) + channels.at(c).from, static_cast<std::uint8_t>(values[c]));
            }
        }
    }
    SetStorage(image, storage);
}

std::vector<int> PixelAt(const TestImage& image, int x, int y) {
    const Storage storage = SnapshotOf(image);
    std::vector<int> values;
    for (const ModelChannel& channel : ChannelsOfFamily(image.record(), image.record())) {
        values.push_back(storage.At(PlaceOf(image, x, y) + channel.from));
    }
    return values;
}
