#include "exchange/RowConversion.h"

#include <climits>
#include <cstring>
#include <functional>

#include "ConversionModel.h"
#include "core/Construction.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "core/Views.h"

using namespace zor;

namespace {

using Bytes = std::vector<std::uint8_t>;

class RowConversion : public EngineTest {
protected:
    TempDir directory;

    // --- values of the host, each given back at once
    // ------------------------------------------------------------------

    // The bytes of a block that was just made; none for nil.
    std::optional<Bytes> Take(REALobject block) {
        if (!block) return std::nullopt;
        const Bytes bytes(host.BlockData(block), host.BlockData(block) + host.BlockSize(block));
        EXPECT_EQ(host.Locks(block), 1);
        REALUnlockObject(block);
        return bytes;
    }
    std::optional<Bytes> Take(REALstring string) {
        if (!string) return std::nullopt;
        const std::string text = host.Bytes(string);
        EXPECT_EQ(host.Encoding(string), kREALEncodingBytes);
        EXPECT_EQ(host.Locks(string), 1);
        REALUnlockString(string);
        return Bytes(text.begin(), text.end());
    }
    void WithBlock(const Bytes& bytes, const std::function<void(REALobject)>& use) {
        const REALobject block = host.NewBlock(bytes.size());
        std::memcpy(host.BlockData(block), bytes.data(), bytes.size());
        use(block);
        REALUnlockObject(block);
    }
    void WithString(const Bytes& bytes, const std::function<void(REALstring)>& use) {
        const REALstring string = host.NewString(std::string(bytes.begin(), bytes.end()), kREALEncodingBytes);
        use(string);
        EXPECT_EQ(host.Bytes(string), std::string(bytes.begin(), bytes.end())) << "a string is never written";
        REALUnlockString(string);
    }

    // "Class: message" of the exception that was raised last, or "".
    std::string Raised() {
        const std::optional<FakeException> exception = host.TakeException();
        return exception ? exception->className + ": " + exception->message : "";
    }
};

Bytes Noise(Random& random, std::size_t size) {
    Bytes bytes(size);
    for (std::uint8_t& byte : bytes) byte = random.Byte();
    return bytes;
}

void FillPixels(const TestImage& image, const std::vector<int>& pixel) {
    Storage storage = SnapshotOf(image);
    for (int y = 0; y < image->Height; ++y) {
        for (int x = 0; x < image->Width; ++x) {
            for (int i = 0; i < image->PixelSize; ++i) {
                storage.Put(PlaceOf(image, x, y) + i, static_cast<std::uint8_t>(pixel[static_cast<std::size_t>(i)]));
            }
        }
    }
    SetStorage(image, storage);
}

// --- the table of conversions, pair by pair
// ---------------------------------------------------------------------------

const char* const kFromRGB = "UnsupportedOperationException: Conversion from RGB to CMYK is not supported.";
const char* const kFromCMYK = "UnsupportedOperationException: Conversion from CMYK to RGB is not supported.";

struct Pair {
    int source, target;
    std::vector<int> expected;  // bytes of the target's pixel, -1 where it is left; empty: none
    const char* raised;
};

constexpr int kLuma = (77 * 10 + 151 * 20 + 28 * 30) >> 8;   // of RGB and RGBA
constexpr int kLumaA = (77 * 20 + 151 * 30 + 28 * 40) >> 8;  // of ARGB

// The source's pixel holds 10, 20, 30, 40, 50 from its first byte on.
const Pair kPairs[] = {
    // alpha on both sides
    {ImageFormatGA, ImageFormatAG, {20, 10}, ""},
    {ImageFormatRGBA, ImageFormatGA, {kLuma, 40}, ""},
    {ImageFormatARGB, ImageFormatAG, {10, kLumaA}, ""},
    {ImageFormatCMYKA, ImageFormatGA, {40, 50}, ""},
    {ImageFormatACMYK, ImageFormatGA, {50, 10}, ""},
    {ImageFormatGA, ImageFormatRGBA, {10, 10, 10, 20}, ""},
    {ImageFormatRGBA, ImageFormatABGR, {40, 30, 20, 10}, ""},
    {ImageFormatCMYKA, ImageFormatRGBA, {}, kFromCMYK},
    {ImageFormatGA, ImageFormatCMYKA, {10, 10, 10, 10, 20}, ""},
    {ImageFormatAG, ImageFormatAKYMC, {10, 20, 20, 20, 20}, ""},
    {ImageFormatRGBA, ImageFormatCMYKA, {}, kFromRGB},
    {ImageFormatKYMCA, ImageFormatACMYK, {50, 40, 30, 20, 10}, ""},
    // alpha on the target only
    {ImageFormatG, ImageFormatGA, {10, -1}, ""},
    {ImageFormatRGB, ImageFormatAG, {-1, kLuma}, ""},
    {ImageFormatCMYK, ImageFormatGA, {40, -1}, ""},
    {ImageFormatG, ImageFormatARGB, {-1, 10, 10, 10}, ""},
    {ImageFormatRGB, ImageFormatBGRA, {30, 20, 10, -1}, ""},
    {ImageFormatCMYK, ImageFormatRGBA, {}, kFromCMYK},
    {ImageFormatG, ImageFormatCMYKA, {10, 10, 10, 10, -1}, ""},
    {ImageFormatRGB, ImageFormatCMYKA, {}, kFromRGB},
    {ImageFormatCMYK, ImageFormatKYMCA, {40, 30, 20, 10, -1}, ""},
    // alpha on the source only
    {ImageFormatGA, ImageFormatG, {10}, ""},
    {ImageFormatRGBA, ImageFormatG, {kLuma}, ""},
    {ImageFormatCMYKA, ImageFormatG, {40}, ""},
    {ImageFormatGA, ImageFormatRGB, {10, 10, 10}, ""},
    {ImageFormatARGB, ImageFormatBGR, {40, 30, 20}, ""},
    {ImageFormatCMYKA, ImageFormatRGB, {}, kFromCMYK},
    {ImageFormatAG, ImageFormatCMYK, {20, 20, 20, 20}, ""},
    {ImageFormatRGBA, ImageFormatCMYK, {}, kFromRGB},
    {ImageFormatACMYK, ImageFormatCMYK, {20, 30, 40, 50}, ""},
    // no alpha
    {ImageFormat3of3, ImageFormatG, {30}, ""},
    {ImageFormatG, ImageFormat2of4, {-1, 10, -1, -1}, ""},
    {ImageFormatRGB, ImageFormatG, {kLuma}, ""},
    {ImageFormatKYMC, ImageFormatG, {10}, ""},
    {ImageFormatG, ImageFormatRGBX, {10, 10, 10, -1}, ""},
    {ImageFormatRGB, ImageFormatXBGR, {-1, 30, 20, 10}, ""},
    {ImageFormatCMYK, ImageFormatRGB, {}, kFromCMYK},
    {ImageFormatG, ImageFormatCMYK, {10, 10, 10, 10}, ""},
    {ImageFormatRGB, ImageFormatCMYK, {}, kFromRGB},
    {ImageFormatXCMYK, ImageFormatKYMCX, {50, 40, 30, 20, -1}, ""},
    // no family
    {ImageFormatBuffer, ImageFormatG, {}, ""},
    {ImageFormatScaling4, ImageFormatCMYK, {}, ""},
    {ImageFormatRGB, ImageFormatBuffer, {}, ""},
    {ImageFormatCMYK, ImageFormatScaling3, {}, ""},
};

std::string NameOf(const Pair& pair) {
    return std::to_string(pair.source) + " to " + std::to_string(pair.target);
}

std::optional<Bytes> ExpectedBytes(const Pair& pair, int kept) {
    if (pair.expected.empty()) return std::nullopt;
    Bytes bytes;
    for (const int value : pair.expected) bytes.push_back(static_cast<std::uint8_t>(value < 0 ? kept : value));
    return bytes;
}

TEST_F(RowConversion, ReadsEachPairOfFamiliesByTheTable) {
    for (const Pair& pair : kPairs) {
        SCOPED_TRACE(NameOf(pair));
        const TestImage image = MakePlain(1, 1, pair.source);
        FillPixels(image, {10, 20, 30, 40, 50});
        EXPECT_EQ(Take(rbGetRowF(image.object(), 0, pair.target)), ExpectedBytes(pair, 0));
        EXPECT_EQ(Raised(), pair.raised);
        EXPECT_EQ(Take(rbGetRowFS(image.object(), 0, pair.target)), ExpectedBytes(pair, 0));
        EXPECT_EQ(Raised(), pair.raised);
        EXPECT_EQ(Take(rbGetAllFS(image.object(), pair.target)), ExpectedBytes(pair, 0));
        EXPECT_EQ(Raised(), pair.raised);
    }
}

TEST_F(RowConversion, WritesEachPairOfFamiliesByTheTable) {
    const Bytes pixel = {10, 20, 30, 40, 50};
    for (const Pair& pair : kPairs) {
        SCOPED_TRACE(NameOf(pair));
        const TestImage image = MakePlain(1, 1, pair.target);
        const Bytes old(static_cast<std::size_t>(image->PixelSize), 200);
        const auto written = [&] {
            EXPECT_EQ(Raised(), pair.raised);
            Bytes bytes = SnapshotOf(image).bytes;
            bytes.resize(old.size());
            FillPixels(image, {200, 200, 200, 200, 200, 200, 200, 200});
            return bytes;
        };
        const Bytes expected = ExpectedBytes(pair, 200).value_or(old);
        FillPixels(image, {200, 200, 200, 200, 200, 200, 200, 200});
        WithBlock(pixel, [&](REALobject block) { rbSetRowF(image.object(), 0, pair.source, block); });
        EXPECT_EQ(written(), expected);
        WithBlock(pixel, [&](REALobject block) { rbSetRowFI(image.object(), 0, pair.source, false, block); });
        EXPECT_EQ(written(), expected);
        WithString(pixel, [&](REALstring string) { rbSetRowFS(image.object(), 0, pair.source, string); });
        EXPECT_EQ(written(), expected);
        WithString(pixel, [&](REALstring string) { rbSetAllFS(image.object(), pair.source, string); });
        EXPECT_EQ(written(), expected);
    }
}

// --- every form against the model
// -------------------------------------------------------------------------------------

// Data of `rows` rows in a format, as the pixels of an image of its own.
struct Data {
    ImageClassData layout{};
    Storage storage;

    Data(int width, int rows, int format) {
        EXPECT_TRUE(InitImageClassData(&layout, width, rows, format));
        storage.bytes.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(rows) *
                             static_cast<std::size_t>(layout.PixelSize));
    }
    std::int64_t Place(int x, int row) const {
        return (static_cast<std::int64_t>(row) * layout.Width + x) * layout.PixelSize;
    }
};

Outcome ModelRead(const TestImage& image, int y, bool invertAlpha, Data* data, int row) {
    const Storage storage = SnapshotOf(image);
    Outcome outcome = Outcome::converted;
    for (int x = 0; x < image->Width && outcome == Outcome::converted; ++x) {
        outcome = ModelRowPixel(
            image.record(), &data->layout, invertAlpha,
            [&](int offset) { return storage.At(PlaceOf(image, x, y) + offset); },
            [&](int offset, std::uint8_t value) { data->storage.Put(data->Place(x, row) + offset, value); });
    }
    return outcome;
}

Outcome ModelWrite(const TestImage& image, int y, bool invertAlpha, const Data& data, int row, Storage* storage) {
    Outcome outcome = Outcome::converted;
    for (int x = 0; x < image->Width && outcome == Outcome::converted; ++x) {
        outcome = ModelRowPixel(
            &data.layout, image.record(), invertAlpha,
            [&](int offset) { return data.storage.At(data.Place(x, row) + offset); },
            [&](int offset, std::uint8_t value) { storage->Put(PlaceOf(image, x, y) + offset, value); });
    }
    return outcome;
}

TestImage AnyImage(Random& random, const TempDir& directory, int format) {
    const int width = random.Between(1, 24), height = random.Between(1, 9);
    if (random.Chance(15)) {  // rows that are shorter than their pixels: the last ones end outside
        TestImage image = MakeOnBlock(width, height, format, random.Between(1, 3 * width));
        FillWithNoise(image, random);
        return image;
    }
    TestImage image = RandomImage(random, directory, width, height, format);
    if (image->ChannelCount > 0 && random.Chance(15)) {
        const int channel = random.Between(0, image->ChannelCount - 1);
        return ChannelOf(std::move(image), channel);
    }
    if ((image->IsRGB || image->IsCMYK) && random.Chance(15)) return ColoursOf(std::move(image));
    return image;
}

const char* RaisedBy(Outcome outcome, const ImageClassData* source) {
    if (outcome != Outcome::refused) return "";
    return source->IsRGB ? kFromRGB : kFromCMYK;
}

TEST_F(RowConversion, ReadsEveryPairOfFormatsAsTheModelDoes) {
    Random random(341);
    for (int round = 0; round < 2; ++round) {
        for (const int from : AllFormats()) {
            for (const int to : AllFormats()) {
                const TestImage image = AnyImage(random, directory, from);
                const int y = random.Between(0, image->Height - 1);
                const bool invert = random.Chance(50);
                SCOPED_TRACE(image.text + " row " + std::to_string(y) + " as " + std::to_string(to));
                Data one(image->Width, 1, to), all(image->Width, image->Height, to);
                Outcome outcome = ModelRead(image, y, invert, &one, 0);
                std::optional<Bytes> expected;
                if (outcome == Outcome::converted) expected = one.storage.bytes;
                EXPECT_EQ(Take(rbGetRowFI(image.object(), y, to, invert)), expected);
                EXPECT_EQ(Raised(), RaisedBy(outcome, image.record()));
                for (int row = 0; row < image->Height; ++row) outcome = ModelRead(image, row, false, &all, row);
                if (outcome == Outcome::converted) expected = all.storage.bytes;
                EXPECT_EQ(Take(rbGetAllFS(image.object(), to)), expected);
                EXPECT_EQ(Raised(), RaisedBy(outcome, image.record()));
            }
        }
    }
}

TEST_F(RowConversion, WritesEveryPairOfFormatsAsTheModelDoes) {
    Random random(342);
    for (int round = 0; round < 2; ++round) {
        for (const int from : AllFormats()) {
            for (const int to : AllFormats()) {
                const TestImage image = AnyImage(random, directory, to);
                const int y = random.Between(0, image->Height - 1);
                const bool invert = random.Chance(50);
                SCOPED_TRACE(image.text + " row " + std::to_string(y) + " from " + std::to_string(from));
                Data one(image->Width, 1, from), all(image->Width, image->Height, from);
                one.storage.bytes = Noise(random, one.storage.bytes.size());
                all.storage.bytes = Noise(random, all.storage.bytes.size());
                Storage expected = SnapshotOf(image);
                Outcome outcome = ModelWrite(image, y, invert, one, 0, &expected);
                WithBlock(one.storage.bytes,
                          [&](REALobject block) { rbSetRowFI(image.object(), y, from, invert, block); });
                EXPECT_EQ(Raised(), RaisedBy(outcome, &one.layout));
                ASSERT_TRUE(SameStorage(expected, SnapshotOf(image), image));

                // A string that ends early counts as followed by zeros.
                if (random.Chance(30)) all.storage.bytes.resize(all.storage.bytes.size() / 2);
                for (int row = 0; row < image->Height; ++row) {
                    outcome = ModelWrite(image, row, false, all, row, &expected);
                }
                WithString(all.storage.bytes, [&](REALstring string) { rbSetAllFS(image.object(), from, string); });
                EXPECT_EQ(Raised(), RaisedBy(outcome, &all.layout));
                ASSERT_TRUE(SameStorage(expected, SnapshotOf(image), image));
            }
        }
    }
}

TEST_F(RowConversion, CopiesWholeRowsWithTheirPadding) {
    Random random(343);
    for (int round = 0; round < 150; ++round) {
        const TestImage image = AnyImage(random, directory, random.Format());
        const int y = random.Between(0, image->Height - 1);
        SCOPED_TRACE(image.text + " row " + std::to_string(y));
        Storage storage = SnapshotOf(image);
        Bytes expected(static_cast<std::size_t>(image->RowSize));
        for (std::size_t i = 0; i < expected.size(); ++i) {
            expected[i] = storage.At(PlaceOfRow(image, y) + static_cast<std::int64_t>(i));
        }
        EXPECT_EQ(Take(rbGetRowCopy(image.object(), y)), expected);

        const Bytes bytes = Noise(random, expected.size());
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            storage.Put(PlaceOfRow(image, y) + static_cast<std::int64_t>(i), bytes[i]);
        }
        WithBlock(bytes, [&](REALobject block) { rbSetRow(image.object(), y, block); });
        ASSERT_TRUE(SameStorage(storage, SnapshotOf(image), image));
    }
}

TEST_F(RowConversion, GivesTheRowItselfAsABlock) {
    const TestImage image = MakePlain(3, 2, ImageFormatRGB);
    const REALobject block = rbGetRow(image.object(), 1);
    ASSERT_TRUE(block);
    EXPECT_EQ(host.BlockData(block), image->GetRow(image.record(), 1));
    host.BlockData(block)[4] = 77;
    EXPECT_EQ(SnapshotOf(image).At(PlaceOf(image, 1, 1) + 1), 77);
    REALUnlockObject(block);
}

TEST_F(RowConversion, GivesNoBlockOverARowOutsideTheStorage) {
    // The clone of a clip holds as many bytes as the clip has rows, and begins with the first row of the whole image.
    const TestImage clip = ClipOf(MakePlain(3, 6, ImageFormatRGB), 0, 4, 3, 2);
    const TestImage clone(Clone(clip.object()));
    ASSERT_TRUE(clone);
    EXPECT_FALSE(rbGetRow(clone.object(), 0));
    EXPECT_EQ(Take(rbGetRowCopy(clone.object(), 0)), Bytes(static_cast<std::size_t>(clone->RowSize)));
}

// A block that is the image's own storage: bytes are read after they may have been written.
TEST_F(RowConversion, WritesARowFromTheImagesOwnBlockPixelByPixel) {
    Random random(344);
    for (int round = 0; round < 300; ++round) {
        const int format = random.Format(), dataFormat = random.Format();
        const TestImage image = MakeOnBlock(random.Between(1, 12), 8, format, random.Between(30, 70));
        FillWithNoise(image, random);
        const int y = random.Between(0, 3);
        SCOPED_TRACE(image.text + " from " + std::to_string(dataFormat));
        Storage expected = SnapshotOf(image);
        ImageClassData layout{};
        ASSERT_TRUE(InitImageClassData(&layout, image->Width, 1, dataFormat));
        for (int x = 0; x < image->Width; ++x) {
            ModelRowPixel(
                &layout, image.record(), false, [&](int offset) { return expected.At(x * layout.PixelSize + offset); },
                [&](int offset, std::uint8_t value) { expected.Put(PlaceOf(image, x, y) + offset, value); });
        }
        rbSetRowF(image.object(), y, dataFormat, image->MemoryTarget);
        Raised();
        ASSERT_TRUE(SameStorage(expected, SnapshotOf(image), image));
    }
}

// --- checks, their order and their words
// ------------------------------------------------------------------------------

// Every member under one signature: what it does to an image with that index and format, and a value where it writes.
struct Member {
    const char* name;
    bool writes, takesString, hasIndex, hasFormat;
    const char* badIndexRaises;  // for index -1 on an image of two rows
    const char* nilRaises;
    std::function<bool(REALobject, int index, int format, void* value)> call;  // whether a value came back
};

const char* const kUnsupported = "UnsupportedOperationException: Index is out of bounds.";

std::string OutOfBounds(const char* method, int index) {
    return std::string("OutOfBoundsException: Parameter index to method ") + method +
           (index < 0 ? " is too small" : " is too big") + ". Range is 0 to 1, but value is " + std::to_string(index) +
           ".";
}

bool Came(REALobject block) {
    if (block) REALUnlockObject(block);
    return block;
}
bool Came(REALstring string) {
    if (string) REALUnlockString(string);
    return string;
}

const std::vector<Member>& Members() {
    const auto block = [](void* value) { return static_cast<REALobject>(value); };
    const auto string = [](void* value) { return static_cast<REALstring>(value); };
    static const std::vector<Member> members = {
        {"rbGetRow", false, false, true, false, "RawRow", "",
         [](REALobject o, int i, int, void*) { return Came(rbGetRow(o, i)); }},
        {"rbGetRowCopy", false, false, true, false, "Row", "",
         [](REALobject o, int i, int, void*) { return Came(rbGetRowCopy(o, i)); }},
        {"rbSetRow", true, false, true, false, "Row", "NilObjectException: Memoryblock is nil",
         [=](REALobject o, int i, int, void* v) { return rbSetRow(o, i, block(v)), false; }},
        {"rbGetRowF", false, false, true, true, "RowInFormat", "",
         [](REALobject o, int i, int f, void*) { return Came(rbGetRowF(o, i, f)); }},
        {"rbSetRowF", true, false, true, true, "RowInFormat", "NilObjectException: Memoryblock is nil.",
         [=](REALobject o, int i, int f, void* v) { return rbSetRowF(o, i, f, block(v)), false; }},
        {"rbGetRowFI inverting", false, false, true, true, nullptr, "",
         [](REALobject o, int i, int f, void*) { return Came(rbGetRowFI(o, i, f, true)); }},
        {"rbGetRowFI plain", false, false, true, true, "RowInFormat", "",
         [](REALobject o, int i, int f, void*) { return Came(rbGetRowFI(o, i, f, false)); }},
        {"rbSetRowFI inverting", true, false, true, true, nullptr, "NilObjectException: memoryblock is nil",
         [=](REALobject o, int i, int f, void* v) { return rbSetRowFI(o, i, f, true, block(v)), false; }},
        {"rbSetRowFI plain", true, false, true, true, "RowInFormat", "NilObjectException: memoryblock is nil",
         [=](REALobject o, int i, int f, void* v) { return rbSetRowFI(o, i, f, false, block(v)), false; }},
        {"rbGetRowFS", false, true, true, true, nullptr, "",
         [](REALobject o, int i, int f, void*) { return Came(rbGetRowFS(o, i, f)); }},
        {"rbSetRowFS", true, true, true, true, nullptr, "NilObjectException: Memoryblock is nil",
         [=](REALobject o, int i, int f, void* v) { return rbSetRowFS(o, i, f, string(v)), false; }},
        {"rbGetAllFS", false, true, false, true, "", "",
         [](REALobject o, int, int f, void*) { return Came(rbGetAllFS(o, f)); }},
        {"rbSetAllFS", true, true, false, true, "", "NilObjectException: Memoryblock is nil",
         [=](REALobject o, int, int f, void* v) { return rbSetAllFS(o, f, string(v)), false; }},
    };
    return members;
}

class Checks : public RowConversion {
protected:
    // Calls a member with a good value, unless another is given. The image must come through unchanged.
    std::string Call(const Member& member, const TestImage& image, int index, int format) {
        std::string raised;
        const Bytes bytes(500, 1);
        const auto call = [&](void* value) {
            const Storage before = SnapshotOf(image);
            EXPECT_FALSE(member.call(image.object(), index, format, value)) << "something came back";
            raised = Raised();
            EXPECT_FALSE(host.TakeException()) << "raised twice";
            EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
        };
        if (!member.writes) {
            call(nullptr);
        } else if (member.takesString) {
            WithString(bytes, [&](REALstring string) { call(string); });
        } else {
            WithBlock(bytes, [&](REALobject block) { call(block); });
        }
        return raised;
    }
    std::string CallWith(const Member& member, const TestImage& image, int index, void* value) {
        const Storage before = SnapshotOf(image);
        EXPECT_FALSE(member.call(image.object(), index, ImageFormatRGB, value));
        EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
        return Raised();
    }
    std::string BadIndex(const Member& member, int index) {
        if (!member.hasIndex) return "";
        return member.badIndexRaises ? OutOfBounds(member.badIndexRaises, index) : kUnsupported;
    }
};

TEST_F(Checks, EveryMemberTellsABadIndexInItsOwnWords) {
    const TestImage image = MakePlain(3, 2, ImageFormatRGB);
    for (const Member& member : Members()) {
        if (!member.hasIndex) continue;
        for (const int index : {-1, 2, INT_MIN, INT_MAX}) {
            EXPECT_EQ(Call(member, image, index, ImageFormatRGB), BadIndex(member, index)) << member.name;
        }
    }
}

TEST_F(Checks, ANilValueComesFirst) {
    const TestImage image = MakePlain(3, 2, ImageFormatRGB);
    for (const Member& member : Members()) {
        if (!member.writes) continue;
        EXPECT_EQ(CallWith(member, image, 0, nullptr), member.nilRaises) << member.name;
        const bool indexFirst = std::string(member.name) == "rbSetRow";
        EXPECT_EQ(CallWith(member, image, -1, nullptr), indexFirst ? BadIndex(member, -1) : member.nilRaises)
            << member.name;
        image->Valid = false;
        EXPECT_EQ(CallWith(member, image, 0, nullptr), member.nilRaises) << member.name;
        image->Valid = true;
    }
}

TEST_F(Checks, ABlockWithoutDataComesAfterTheIndex) {
    const TestImage image = MakePlain(3, 2, ImageFormatRGB);
    const REALobject block = host.NewBlockWithoutData();
    for (const Member& member : Members()) {
        if (!member.writes || member.takesString) continue;
        // With InvertAlpha false the members are the plain ones, and so are their words.
        const bool plain = std::string(member.name) == "rbSetRowFI plain";
        const std::string message = plain ? "NilObjectException: Memoryblock is nil." : member.nilRaises;
        EXPECT_EQ(CallWith(member, image, 0, block), message) << member.name;
        EXPECT_EQ(CallWith(member, image, 7, block), BadIndex(member, 7)) << member.name;
        if (std::string(member.name) == "rbSetRow") continue;
        image->Valid = false;
        EXPECT_EQ(CallWith(member, image, 0, block), "") << member.name;
        image->Valid = true;
    }
    REALUnlockObject(block);
}

TEST_F(Checks, AStringWithoutTextIsQuietlyIgnored) {
    const TestImage image = MakePlain(3, 2, ImageFormatRGB);
    Random random(345);
    FillWithNoise(image, random);
    const unsigned char* const last = reinterpret_cast<const unsigned char*>(UINTPTR_MAX);
    for (const unsigned char* const buffer : {static_cast<const unsigned char*>(nullptr), last}) {
        REALstringRecord record{0, buffer, 0, 100};
        for (const Member& member : Members()) {
            if (member.writes && member.takesString) {
                EXPECT_EQ(CallWith(member, image, 0, &record), "") << member.name;
            }
        }
    }
}

TEST_F(Checks, AStringWithANegativeLengthCountsAsZeros) {
    const TestImage image = MakePlain(2, 1, ImageFormatG);
    FillPixels(image, {9});
    const unsigned char text[] = {0, 5, 5};
    REALstringRecord record{0, text, 0, -7};
    rbSetRowFS(image.object(), 0, ImageFormatG, reinterpret_cast<REALstring>(&record));
    EXPECT_EQ(SnapshotOf(image).At(0), 0);
    EXPECT_EQ(SnapshotOf(image).At(1), 0);
}

TEST_F(Checks, ImagesThatAreNotValidGiveNilQuietly) {
    const TestImage image = MakePlain(3, 2, ImageFormatRGB);
    image->Valid = false;
    for (const Member& member : Members()) {
        if (std::string(member.name) == "rbSetRow") continue;
        for (const int index : {0, -1}) EXPECT_EQ(Call(member, image, index, ImageFormatRGB), "") << member.name;
    }
}

TEST_F(Checks, RowIsAssignedWithoutALookAtValid) {
    const TestImage image = MakePlain(3, 2, ImageFormatRGB);
    image->Valid = false;
    WithBlock(Bytes(64, 5), [&](REALobject block) { rbSetRow(image.object(), 1, block); });
    EXPECT_EQ(SnapshotOf(image).At(64), 5);
    EXPECT_EQ(SnapshotOf(image).At(127), 5);
    const TestImage fresh(host.NewImage());
    WithBlock(Bytes(64, 5), [&](REALobject block) { rbSetRow(fresh.object(), 0, block); });
    EXPECT_EQ(Raised(),
              "OutOfBoundsException: Parameter index to method Row is too big. Range is 0 to -1, but value "
              "is 0.");
}

TEST_F(Checks, UnknownFormatsGiveNilQuietly) {
    const TestImage image = MakePlain(3, 2, ImageFormatRGB);
    for (const Member& member : Members()) {
        if (!member.hasFormat) continue;
        for (const int format : {99, 0, 14, -1, 41}) EXPECT_EQ(Call(member, image, 0, format), "") << member.name;
    }
}

TEST_F(Checks, ClosedImagesGiveNilQuietly) {
    for (const Member& member : Members()) {
        for (const int format : {ImageFormatRGB, ImageFormatG}) {
            const TestImage image = MakePlain(3, 2, ImageFormatRGB);
            ImageDestructor(image.object());
            EXPECT_EQ(Call(member, image, 1, format), "") << member.name;
        }
    }
}

// A row that cannot be had ends a row's conversion before the families are looked at; the whole image's looks first.
TEST_F(Checks, ClosedImagesRefuseOnlyInTheAllForms) {
    for (const Member& member : Members()) {
        if (!member.hasFormat) continue;
        const TestImage image = MakePlain(3, 2, ImageFormatRGB);
        ImageDestructor(image.object());
        const char* const refused = member.writes ? kFromCMYK : kFromRGB;
        EXPECT_EQ(Call(member, image, 0, ImageFormatCMYK), member.hasIndex ? "" : refused) << member.name;
    }
}

TEST_F(Checks, ARowThatIsMissingEndsTheAllForms) {
    const TestImage image = MakePlain(2, 3, ImageFormatG);
    image->GetRow = [](ImageClassData* record, int y) -> std::uint8_t* {
        return y == 1 ? nullptr : GetRowLinear(record, y);
    };
    EXPECT_FALSE(Take(rbGetAllFS(image.object(), ImageFormatG)));
    WithString({1, 2, 3, 4, 5, 6}, [&](REALstring string) { rbSetAllFS(image.object(), ImageFormatG, string); });
    EXPECT_EQ(SnapshotOf(image).At(0), 1);
    EXPECT_EQ(SnapshotOf(image).At(64), 0);
    EXPECT_EQ(SnapshotOf(image).At(128), 0);
}

TEST_F(Checks, ReadingFormsGiveNilWhenTheHostHasNoMemory) {
    const TestImage image = MakePlain(3, 2, ImageFormatRGB);
    host.failNewMemoryBlock = true;
    EXPECT_FALSE(rbGetRowCopy(image.object(), 0));
    EXPECT_FALSE(rbGetRowF(image.object(), 0, ImageFormatRGB));
    EXPECT_FALSE(rbGetRowFI(image.object(), 0, ImageFormatRGB, true));
    host.failNewMemoryBlock = false;
    host.newBlocksHaveData = false;
    EXPECT_FALSE(rbGetRowCopy(image.object(), 0));
    EXPECT_FALSE(rbGetRowF(image.object(), 0, ImageFormatRGB));
    host.failBuildString = true;
    EXPECT_FALSE(rbGetRowFS(image.object(), 0, ImageFormatRGB));
    EXPECT_FALSE(rbGetAllFS(image.object(), ImageFormatRGB));
}

TEST_F(Checks, DataOf2GiBAndMoreGivesNil) {
    // An image that says it is large; none of its rows is ever fetched.
    const TestImage image = MakePlain(2, 2, ImageFormatRGB);
    image->GetRow = [](ImageClassData*, int) -> std::uint8_t* {
        ADD_FAILURE() << "row fetched";
        return nullptr;
    };
    for (const auto& [width, height] : {std::pair{1 << 29, 1}, std::pair{1 << 30, 4}, std::pair{715827883, 2}}) {
        image->Width = width;
        image->Height = height;
        EXPECT_FALSE(rbGetAllFS(image.object(), ImageFormatRGBA));
        EXPECT_FALSE(rbGetRowFS(image.object(), 0, ImageFormatRGBA));
        EXPECT_FALSE(rbGetRowF(image.object(), 0, ImageFormatRGBA));
    }
    EXPECT_EQ(host.Count("newMemoryBlock"), 0);
}

TEST_F(Checks, NothingYields) {
    const TestImage image = MakePlain(3, 2, ImageFormatRGB);
    image->YieldTicks = 1;
    image->LastYieldTick = -1000;
    for (const Member& member : Members()) {
        if (member.writes) continue;
        EXPECT_TRUE(member.call(image.object(), 0, ImageFormatRGB, nullptr));
    }
    WithString(Bytes(18, 1), [&](REALstring string) { rbSetAllFS(image.object(), ImageFormatRGB, string); });
    WithBlock(Bytes(64, 1), [&](REALobject block) { rbSetRowF(image.object(), 0, ImageFormatRGB, block); });
    EXPECT_EQ(host.Count("REALYieldToRB"), 0);
}

// --- cases that applications know
// -------------------------------------------------------------------------------------

TEST_F(RowConversion, WhiteStaysWhiteAndBlueBecomes27) {
    const TestImage image = MakePlain(2, 1, ImageFormatRGBA);
    FillPixels(image, {255, 255, 255, 255});
    EXPECT_EQ(Take(rbGetRowF(image.object(), 0, ImageFormatG)), (Bytes{255, 255}));
    FillPixels(image, {0, 0, 255, 255});
    EXPECT_EQ(Take(rbGetRowF(image.object(), 0, ImageFormatG)), (Bytes{27, 27}));
}

TEST_F(RowConversion, MissingAlphaIsNotMadeOpaque) {
    const TestImage image = MakePlain(1, 1, ImageFormatRGB);
    FillPixels(image, {1, 2, 3});
    EXPECT_EQ(Take(rbGetRowF(image.object(), 0, ImageFormatRGBA)), (Bytes{1, 2, 3, 0}));
    EXPECT_EQ(Take(rbGetRowFI(image.object(), 0, ImageFormatRGBA, true)), (Bytes{1, 2, 3, 0}));
}

TEST_F(RowConversion, InvertAlphaComplements) {
    const TestImage image = MakePlain(1, 1, ImageFormatARGB);
    FillPixels(image, {10, 1, 2, 3});
    EXPECT_EQ(Take(rbGetRowFI(image.object(), 0, ImageFormatRGBA, true)), (Bytes{1, 2, 3, 245}));
    EXPECT_EQ(Take(rbGetRowFI(image.object(), 0, ImageFormatRGBA, false)), (Bytes{1, 2, 3, 10}));
    WithBlock({5, 6, 7, 8}, [&](REALobject block) { rbSetRowFI(image.object(), 0, ImageFormatRGBA, true, block); });
    EXPECT_EQ(Take(rbGetRowF(image.object(), 0, ImageFormatARGB)), (Bytes{247, 5, 6, 7}));
}

TEST_F(RowConversion, AllRowsHaveNoPadding) {
    const TestImage image = MakeOnBlock(3, 2, ImageFormatRGB, 16);
    FillPixels(image, {8, 8, 8});
    EXPECT_EQ(Take(rbGetAllFS(image.object(), ImageFormatG)), Bytes(6, 8));
}

TEST_F(RowConversion, WritingDataWithoutAlphaLeavesTheImagesAlpha) {
    const TestImage image = MakePlain(2, 1, ImageFormatRGBA);
    FillPixels(image, {0, 0, 0, 77});
    WithBlock({1, 2, 3, 4, 5, 6}, [&](REALobject block) { rbSetRowF(image.object(), 0, ImageFormatRGB, block); });
    EXPECT_EQ(Take(rbGetRowF(image.object(), 0, ImageFormatRGBA)), (Bytes{1, 2, 3, 77, 4, 5, 6, 77}));
}

TEST_F(RowConversion, AWriteThatRaisesChangesNothing) {
    const TestImage image = MakePlain(2, 2, ImageFormatRGB);
    const Storage before = SnapshotOf(image);
    WithBlock(Bytes(8, 9), [&](REALobject block) { rbSetRowF(image.object(), 0, ImageFormatCMYK, block); });
    EXPECT_EQ(Raised(), kFromCMYK);
    WithString(Bytes(16, 9), [&](REALstring string) { rbSetAllFS(image.object(), ImageFormatCMYK, string); });
    EXPECT_EQ(Raised(), kFromCMYK);
    EXPECT_TRUE(SameStorage(before, SnapshotOf(image), image));
}

}  // namespace
