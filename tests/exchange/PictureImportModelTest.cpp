// Import of host pictures against the byte-by-byte model: images of every format and storage kind, pictures and masks
// of every kind, whole storages.

#include <climits>

#include "ImportModel.h"
#include "core/Formats.h"
#include "core/Views.h"
#include "exchange/PictureImport.h"

using namespace zor;

namespace {

using Kind = FakePicture::Kind;

struct PictureKind {
    Kind kind;
    int bits;
};

const std::vector<PictureKind>& KindsOf(World world) {
    static const std::vector<PictureKind> desktop = {{Kind::desktop, 32}, {Kind::desktop, 24}, {Kind::desktop, 32},
                                                     {Kind::desktop, 24}, {Kind::desktop, 16}, {Kind::desktop, 8},
                                                     {Kind::desktop, 1},  {Kind::other, 32}};
    static const std::vector<PictureKind> console = {{Kind::console, 32}};
    return world == World::desktop ? desktop : console;
}

bool IsReadInPlace(PictureKind kind) {
    return kind.kind == Kind::console || (kind.kind == Kind::desktop && kind.bits >= 24);
}

std::string NameOf(PictureKind kind) {
    if (kind.kind == Kind::console) return "console";
    return kind.kind == Kind::other ? "other" : "desktop " + std::to_string(kind.bits);
}

int WildNumber(Random& random, int extent) {
    static const std::vector<int> extremes = {INT_MIN, INT_MIN + 1, -1, 0, 1, INT_MAX - 1, INT_MAX};
    if (random.Chance(3)) return random.Pick(extremes);
    return random.Between(-extent / 3, extent);
}

int WildPlace(Random& random, int extent) {
    return random.Chance(40) ? 0 : WildNumber(random, extent);
}

ImportArguments WildArguments(Random& random, const TestImage& image, const FakePicture& picture) {
    const bool inverted = random.Chance(50);
    const int w = image->Width, h = image->Height;
    if (random.Chance(15)) return {0, 0, picture.width, picture.height, 0, 0, inverted};
    return {WildPlace(random, w),
            WildPlace(random, h),
            WildNumber(random, 2 * w),
            WildNumber(random, 2 * h),
            WildPlace(random, picture.width / 2 + 1),
            WildPlace(random, picture.height / 2 + 1),
            inverted};
}

// Members that write to a format often enough.
ImportMember AnyMember(Random& random, const ImageClassData* record) {
    if (record->HasGray && random.Chance(85)) {
        return random.Pick(std::vector{ImportMember::redToGray, ImportMember::greenToGray, ImportMember::blueToGray});
    }
    if (record->HasRed && random.Chance(85)) {
        return random.Pick(std::vector{ImportMember::colours, ImportMember::masked, ImportMember::masked,
                                       ImportMember::applyMask, ImportMember::applyMask});
    }
    return random.Pick(std::vector(std::begin(kImportMembers), std::end(kImportMembers)));
}

std::string NameOfWorld(const ::testing::TestParamInfo<World>& world) {
    return world.param == World::console ? "console" : "desktop";
}

class ImportModelTest : public EngineTest, public ::testing::WithParamInterface<World> {
protected:
    FakePictures pictures{host, GetParam()};
    TempDir directory;

    REALobject AnyPicture(Random& random, PictureKind kind, const std::string& name, int width, int height) {
        return pictures.NewNoise(kind.kind, kind.bits, width, height, random.Bits(), name);
    }

    void ExpectUnchanged(REALobject picture, const Storage& before) {
        Storage after;
        ModelOf(pictures[picture], &after);
        EXPECT_TRUE(SameBytes(before.bytes, after.bytes)) << pictures[picture].name;
    }

    // The members leave the reference on the mask that they got with their caller.
    void GiveBack(REALobject mask, int locks) {
        EXPECT_LE(host.Locks(mask), locks + 1);
        if (host.Locks(mask) > locks) REALUnlockObject(mask);
        EXPECT_EQ(host.Locks(mask), locks);
    }

    // A copy is made of pictures that are not read in place; how the bytes behind its columns come about is the host's
    // affair, so such a mask is never narrower than its picture.
    void GiveMask(Random& random, REALobject picture, std::string* text) {
        const PictureKind kind = random.Pick(KindsOf(GetParam()));
        int width = pictures[picture].width, height = pictures[picture].height;
        if (random.Chance(60)) {
            width = std::max(1, width + random.Between(IsReadInPlace(kind) ? -6 : 0, 3));
            height = std::max(1, height + random.Between(-5, 3));
        }
        pictures[picture].mask = AnyPicture(random, kind, "mask", width, height);
        *text += " masked by " + NameOf(kind) + " " + std::to_string(width) + "x" + std::to_string(height);
    }

    // An image of any kind; those in pictures are in one of their own, whose lock the image holds alone.
    TestImage AnyImage(Random& random) {
        const int width = random.Between(1, 24), height = random.Between(1, 9);
        if (random.Chance(25)) return ViewOf(random, ImageInPicture(random, width, height));
        if (random.Chance(8)) {  // rows that are shorter than their pixels: the last ones end outside
            TestImage image = MakeOnBlock(width, height, random.Format(), random.Between(1, 3 * width));
            FillWithNoise(image, random);
            return image;
        }
        const int format = random.Chance(60) ? random.Pick(RGBFormats()) : random.Format();
        return ViewOf(random, RandomImage(random, directory, width, height, format));
    }

    TestImage ImageInPicture(Random& random, int width, int height) {
        PictureKind kind = random.Pick(KindsOf(GetParam()));
        while (!IsReadInPlace(kind)) kind = random.Pick(KindsOf(GetParam()));
        const REALobject picture = AnyPicture(random, kind, "below", width, height);
        TestImage image = MakeInPicture(picture, random.Chance(50));
        REALUnlockObject(picture);
        if (GetParam() == World::console) return image;  // no views of those
        if (random.Chance(20)) return MirroredOf(std::move(image));
        if (random.Chance(20) && width > 2) return ClipOf(std::move(image), 1, 0, width - 1, height);
        return image;
    }

    TestImage ViewOf(Random& random, TestImage image) {
        if (image->RowPointers) return image;
        if (image->ChannelCount > 0 && random.Chance(8)) {
            const int channel = random.Between(0, image->ChannelCount - 1);
            return ChannelOf(std::move(image), channel);
        }
        if ((image->IsRGB || image->IsCMYK) && random.Chance(8)) return ColoursOf(std::move(image));
        return image;
    }
};

INSTANTIATE_TEST_SUITE_P(Worlds, ImportModelTest, ::testing::Values(World::console, World::desktop), NameOfWorld);

TEST_P(ImportModelTest, EveryImageTakesEveryPictureAsTheModelTells) {
    Random random(331);
    int written = 0;
    for (int round = 0; round < 2500; ++round) {
        const TestImage image = AnyImage(random);
        ASSERT_TRUE(image);
        const PictureKind kind = random.Pick(KindsOf(GetParam()));
        const REALobject picture = AnyPicture(random, kind, "source", random.Between(1, 26), random.Between(1, 10));
        std::string text = NameOf(kind);
        if (random.Chance(70)) GiveMask(random, picture, &text);
        const REALobject mask = pictures[picture].mask;

        const ImportMember member = AnyMember(random, image.record());
        const ImportArguments arguments = WildArguments(random, image, pictures[picture]);
        SCOPED_TRACE(NameOf(member) + " " + text + " into " + image.text + " " + TextOf(arguments));
        Storage read, readMask, expected = SnapshotOf(image);
        const Storage before = expected;
        const ModelPicture model = ModelOf(pictures[picture], &read);
        const ModelPicture maskModel = mask ? ModelOf(pictures[mask], &readMask) : ModelPicture{};
        ModelImport(member, image, &expected, model, mask ? &maskModel : nullptr, arguments);

        CallImport(member, image, picture, arguments);
        ASSERT_TRUE(SameStorage(expected, SnapshotOf(image), image));
        written += expected.bytes != before.bytes;
        ExpectUnchanged(picture, read);
        if (mask) ExpectUnchanged(mask, readMask);

        // A picture of another kind keeps the lock of its description.
        pictures[picture].descriptionLocks = 0;
        if (mask) {
            pictures[mask].descriptionLocks = 0;
            GiveBack(mask, 1);
        }
        REALUnlockObject(picture);
    }
    EXPECT_GT(written, 700);
}

TEST_P(ImportModelTest, EveryFormatTakesWhatItHasChannelsFor) {
    Random random(332);
    for (const int format : AllFormats()) {
        for (const ImportMember member : kImportMembers) {
            for (const bool withMask : {false, true}) {
                const TestImage image = MakeOnBlock(7, 4, format, 61);
                FillWithNoise(image, random);
                const REALobject picture = AnyPicture(random, KindsOf(GetParam())[0], "source", 6, 5);
                if (withMask) pictures[picture].mask = AnyPicture(random, KindsOf(GetParam())[0], "mask", 6, 5);
                const REALobject mask = pictures[picture].mask;
                const ImportArguments arguments = {1, 1, 5, 3, 1, 1, random.Chance(50)};
                SCOPED_TRACE(NameOf(member) + " into " + image.text + TextOf(arguments));
                Storage read, readMask, expected = SnapshotOf(image);
                const ModelPicture model = ModelOf(pictures[picture], &read);
                const ModelPicture maskModel = mask ? ModelOf(pictures[mask], &readMask) : ModelPicture{};
                ModelImport(member, image, &expected, model, mask ? &maskModel : nullptr, arguments);
                CallImport(member, image, picture, arguments);
                EXPECT_TRUE(SameStorage(expected, SnapshotOf(image), image));
                if (mask) GiveBack(mask, 1);
                REALUnlockObject(picture);
            }
        }
    }
}

// The image lies in the picture that is drawn, or in its mask: what is read may already have been written.
TEST_P(ImportModelTest, AnImageInThePictureItDrawsReadsWhatItHasWritten) {
    Random random(333);
    int written = 0;
    for (int round = 0; round < 1500; ++round) {
        const PictureKind kind = KindsOf(GetParam())[round % KindsOf(GetParam()).size() % 2];
        const REALobject picture = AnyPicture(random, kind, "source", random.Between(1, 22), random.Between(1, 8));
        const bool inMask = random.Chance(25), masked = inMask || random.Chance(50);
        const int width = pictures[picture].width, height = pictures[picture].height;
        // Now and then a picture is its own mask, and image, picture and mask are one.
        const bool ownMask = !inMask && masked && random.Chance(30);
        if (masked && !ownMask) pictures[picture].mask = AnyPicture(random, kind, "mask", width, height);
        const REALobject mask = pictures[picture].mask;
        const auto maskHook = host.pictures.mask;
        if (ownMask) host.pictures.mask = [picture](REALobject, int) { return picture; };

        const REALobject below = inMask ? mask : picture;
        TestImage image = MakeInPicture(below, random.Chance(50));
        const bool canBeViewed = GetParam() == World::desktop;
        if (canBeViewed && random.Chance(25)) image = MirroredOf(std::move(image));
        if (canBeViewed && random.Chance(25) && width > 3) image = ClipOf(std::move(image), 2, 0, width - 2, height);

        const ImportMember member =
            random.Pick(std::vector{ImportMember::colours, ImportMember::masked, ImportMember::applyMask});
        const ImportArguments arguments = WildArguments(random, image, pictures[picture]);
        SCOPED_TRACE(NameOf(member) +
                     (inMask    ? " mask"
                      : ownMask ? " own mask"
                                : "") +
                     " into " + image.text + " " + TextOf(arguments));
        Storage read, readMask;
        ModelPicture model = ModelOf(pictures[picture], &read);
        ModelPicture maskModel = mask ? ModelOf(pictures[mask], &readMask) : model;
        Storage* const shared = inMask ? &readMask : &read;
        const Storage before = *shared;
        const int locks = mask ? host.Locks(mask) : 0;
        ModelImport(member, image, shared, model, masked ? &maskModel : nullptr, arguments);
        CallImport(member, image, picture, arguments);
        ASSERT_TRUE(SameStorage(*shared, SnapshotOf(image), image));
        written += shared->bytes != before.bytes;

        if (ownMask) host.pictures.mask = maskHook;
        if (mask) GiveBack(mask, locks);
        REALUnlockObject(picture);
    }
    EXPECT_GT(written, 400);
}

}  // namespace
