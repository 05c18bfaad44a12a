#include "filters/Canvas.h"

#include <algorithm>
#include <memory>

#include "core/Formats.h"

using namespace zor;

static std::string DestText(const ImagePair& pair) {
    return pair.dest ? pair.dest.text : std::string("none");
}

static void CheckNewImage(const NeighbourCase& filter, const TestImage& source) {
    const Size size = filter.resultSize({source->Width, source->Height});
    const TestImage likeNew = MakePlain(size.width, size.height, source->ImageFormat);
    Storage sourceBytes = SnapshotOf(source), destBytes = SnapshotOf(likeNew);
    filter.model(Canvas(source, &sourceBytes), Canvas(likeNew, &destBytes),
                 ChannelsOfFamily(source.record(), likeNew.record()));
    const TestImage result(filter.run(source.object(), nullptr), "new image");
    ASSERT_TRUE(result);
    EXPECT_EQ(FakeHost::Current().Locks(result.object()), 1);
    ASSERT_EQ(result->Width, size.width);
    ASSERT_EQ(result->Height, size.height);
    ASSERT_EQ(result->ImageFormat, source->ImageFormat);
    EXPECT_TRUE(SameStorage(destBytes, SnapshotOf(result), result)) << "new image";
    EXPECT_TRUE(SameStorage(sourceBytes, SnapshotOf(source), source)) << "source";
}

void CheckNeighbours(const NeighbourCase& filter, const ImagePair& pair) {
    SCOPED_TRACE(filter.text + "\n  source: " + pair.source.text + "\n  dest: " + DestText(pair));
    if (filter.givesNil(pair.source.record())) {
        EXPECT_EQ(filter.run(pair.source.object(), pair.dest ? pair.dest.object() : nullptr), nullptr);
        return;
    }
    if (!pair.dest) return CheckNewImage(filter, pair.source);
    Storage sourceBytes = SnapshotOf(pair.source), destBytes = SnapshotOf(pair.dest);
    const bool shared = pair.source.root() == pair.dest.root();
    Storage* const written = shared ? &sourceBytes : &destBytes;
    filter.model(Canvas(pair.source, &sourceBytes), Canvas(pair.dest, written),
                 ChannelsOfFamily(pair.source.record(), pair.dest.record()));
    const int locks = FakeHost::Current().Locks(pair.dest.object());
    const REALobject result = filter.run(pair.source.object(), pair.dest.object());
    ASSERT_EQ(result, pair.dest.object());
    EXPECT_EQ(FakeHost::Current().Locks(result), locks + 1) << "the result belongs to the caller";
    REALUnlockObject(result);
    EXPECT_TRUE(SameStorage(*written, SnapshotOf(pair.dest), pair.dest)) << "destination";
    EXPECT_TRUE(SameStorage(sourceBytes, SnapshotOf(pair.source), pair.source)) << "source";
}

static int Near(Random& random, int extent) {
    return std::max(1, random.Chance(60) ? extent : extent + random.Between(-6, 6));
}

ImagePair RandomNeighbourPair(Random& random, const TempDir& directory, const NeighbourCase& filter, Relation relation,
                              Size size, int format) {
    if (relation != Relation::apart && relation != Relation::made) {
        return RandomPair(random, directory, relation, format);
    }
    ImagePair pair;
    pair.source = RandomImage(random, directory, size.width, size.height, format);
    if (relation == Relation::made) return pair;
    const Size made = filter.resultSize({pair.source->Width, pair.source->Height});
    std::vector<int> formats = AllFormats();
    if (pair.source->IsRGB && random.Chance(70)) formats = RGBFormats();
    if (pair.source->IsGray && random.Chance(70)) formats = GrayFormats();
    if (pair.source->IsCMYK && random.Chance(70)) formats = CMYKFormats();
    pair.dest = RandomImage(random, directory, Near(random, made.width), Near(random, made.height),
                            random.Chance(40) ? format : random.Pick(formats));
    return pair;
}

// Every seventh image is seen through a view of one channel or of its colours.
static void LookThroughView(Random& random, ImagePair* pair) {
    if (!random.Chance(15)) return;
    TestImage& image = pair->source;
    if (random.Chance(50) && image->ChannelCount > 0) {
        const int channel = random.Between(0, image->ChannelCount - 1);
        image = ChannelOf(std::move(image), channel);
    } else if ((image->IsRGB && image->ImageFormat <= ImageFormatXBGR) || image->IsCMYK) {
        image = ColoursOf(std::move(image));
    }
}

void CheckNeighboursOnRandomImages(std::uint32_t seed, int rounds, const std::function<NeighbourCase(Random&)>& make) {
    Random random(seed);
    const TempDir directory;
    const std::vector<Relation> relations = {Relation::apart,     Relation::apart, Relation::apart,
                                             Relation::made,      Relation::same,  Relation::viewOfSource,
                                             Relation::viewOfDest};
    for (int round = 0; round < rounds && !::testing::Test::HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const NeighbourCase filter = make(random);
        const int format = AllFormats()[static_cast<std::size_t>(round) % AllFormats().size()];
        const auto extent = [&] { return random.Chance(30) ? random.Between(1, 3) : random.Between(1, 45); };
        const Size size{extent(), extent()};
        const Relation relation = random.Pick(relations);
        ImagePair pair = RandomNeighbourPair(random, directory, filter, relation, size, format);
        ASSERT_TRUE(pair.source);
        if (relation == Relation::apart || relation == Relation::made) LookThroughView(random, &pair);
        CheckNeighbours(filter, pair);
    }
    for (const Size size : {Size{1, 1}, {1, 6}, {6, 1}, {2, 2}, {1, 70}, {70, 1}, {300, 3}}) {
        for (const int format : {ImageFormatBGRA, ImageFormatRGB, ImageFormatG, ImageFormatAG, ImageFormatACMYK}) {
            for (const StorageKind kind : kStorageKinds) {
                const NeighbourCase filter = make(random);
                ImagePair pair;
                pair.source = MakeStorage(random, directory, kind, size.width, size.height, format);
                FillWithNoise(pair.source, random);
                const Size made = filter.resultSize(size);
                if (random.Chance(50)) pair.dest = RandomImage(random, directory, made.width, made.height, format);
                CheckNeighbours(filter, pair);
            }
        }
    }
}

static void CheckInPlace(const InPlaceCase& filter, const TestImage& image) {
    SCOPED_TRACE(filter.text + "\n  image: " + image.text);
    Storage bytes = SnapshotOf(image);
    filter.model(Canvas(image, &bytes), ChannelsOfFamily(image.record(), image.record()));
    filter.run(image.object());
    EXPECT_TRUE(SameStorage(bytes, SnapshotOf(image), image));
}

void CheckInPlaceOnRandomImages(std::uint32_t seed, int rounds, const InPlaceCase& filter) {
    Random random(seed);
    const TempDir directory;
    for (int round = 0; round < rounds && !::testing::Test::HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const int format = AllFormats()[static_cast<std::size_t>(round) % AllFormats().size()];
        const auto extent = [&] { return random.Chance(30) ? random.Between(1, 3) : random.Between(1, 45); };
        ImagePair pair;
        pair.source = RandomImage(random, directory, extent(), extent(), format);
        ASSERT_TRUE(pair.source);
        LookThroughView(random, &pair);
        CheckInPlace(filter, pair.source);
    }
    for (const Size size : {Size{1, 1}, {1, 6}, {6, 1}, {2, 2}, {3, 3}, {300, 3}}) {
        for (const int format : AllFormats()) {
            for (const StorageKind kind : kStorageKinds) {
                const TestImage image = MakeStorage(random, directory, kind, size.width, size.height, format);
                FillWithNoise(image, random);
                CheckInPlace(filter, image);
            }
        }
    }
    // Rows that share bytes with the next ones.
    for (int round = 0; round < 100; ++round) {
        const TestImage image =
            MakeOnBlock(random.Between(2, 9), random.Between(1, 9), random.Format(), random.Between(1, 20));
        FillWithNoise(image, random);
        CheckInPlace(filter, image);
    }
}

void PaintPixels(const TestImage& image, const std::function<int(int x, int y, int c)>& value) {
    Storage bytes = SnapshotOf(image);
    const Canvas canvas(image, &bytes);
    const std::vector<ModelChannel> channels = ChannelsOfFamily(image.record(), image.record());
    for (int y = 0; y < image->Height; ++y) {
        for (int x = 0; x < image->Width; ++x) {
            for (std::size_t c = 0; c < channels.size(); ++c) {
                canvas.Put(x, y, channels[c].from, value(x, y, static_cast<int>(c)));
            }
        }
    }
    SetStorage(image, bytes);
}
