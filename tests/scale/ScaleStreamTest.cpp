#include "scale/ScaleStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

#include "FailingAlloc.h"
#include "ReferenceScale.h"
#include "core/Formats.h"
#include "scale/FilteredScale.h"
#include "scale/Pairs.h"

using namespace zor;

namespace {

using Bytes = std::vector<std::uint8_t>;

std::size_t Size(std::int64_t count) {
    return static_cast<std::size_t>(count);
}

// Pixels side by side.
struct Picture {
    int width, height, channels;
    Bytes bytes;

    Picture(int w, int h, int c) : width(w), height(h), channels(c), bytes(Size(std::int64_t{w} * h * c)) {}
    std::uint8_t* At(std::int64_t x, std::int64_t y) { return bytes.data() + (y * width + x) * channels; }
    const std::uint8_t* At(std::int64_t x, std::int64_t y) const { return bytes.data() + (y * width + x) * channels; }
};

// Noise, steps, slopes, or spans of one byte.
Picture AnyPicture(Random& random, int width, int height, int channels) {
    Picture picture(width, height, channels);
    const int kind = random.Between(0, 3), cell = random.Between(1, 40);
    for (int y = 0; y < height; ++y) {
        for (int i = 0; i < width * channels; ++i) {
            const int x = i / channels;
            picture.bytes[Size(y) * Size(width * channels) + Size(i)] =
                kind == 0   ? random.Byte()
                : kind == 1 ? static_cast<std::uint8_t>((x / cell + y / cell) % 2 ? 255 : 0)
                : kind == 2 ? static_cast<std::uint8_t>((3 * x + 5 * y) / 8 + i % channels)
                            : static_cast<std::uint8_t>(37 * (x / cell) + 91 * (y / cell));
        }
    }
    return picture;
}

ScaleStreamRequest RequestOf(const FilterKernel* kernel, const Picture& source, int width, int height,
                             ResampleShape shape, Ending ending) {
    ScaleStreamRequest request{};
    request.kernel = kernel;
    request.srcWidth = source.width;
    request.srcHeight = source.height;
    request.width = width;
    request.height = height;
    request.shape = shape;
    request.ending = ending;
    return request;
}

constexpr Ending kEndings[] = {Ending::truncate, Ending::nearest};

// Runs a request whose source is this picture: rows in memory that ends where the last pixel ends, packed or with gaps,
// one or several at a time, and taken when there are some, or only when they must be.
Picture Stream(Random& random, const ScaleStreamRequest& request, const Picture& source) {
    const PixelRect block = request.block.value_or(PixelRect{0, 0, request.width, request.height});
    Picture result(static_cast<int>(block.width), static_cast<int>(block.height), ChannelsOf(request.shape));
    ScaleStream stream;
    if (!stream.Start(request)) {
        ADD_FAILURE() << "not started";
        return result;
    }
    const PixelRect from = stream.source();
    EXPECT_EQ(stream.rowBytes(), result.width * result.channels);
    EXPECT_TRUE(from.x >= 0 && from.y >= 0 && from.x + from.width <= source.width &&
                from.y + from.height <= source.height);
    const int step = source.channels + (random.Chance(50) ? 0 : random.Between(1, 9));
    const int mostRows = random.Chance(50) ? 1 : random.Between(1, 40), eager = random.Pick(std::vector{0, 50, 100});
    int taken = 0;
    const auto take = [&] {
        if (taken == result.height) return false;
        Bytes row(Size(stream.rowBytes()));
        if (!stream.Take(row.data())) return false;
        std::copy(row.begin(), row.end(), result.At(0, taken++));
        return true;
    };
    for (std::int64_t y = 0; y < from.height;) {
        std::vector<Bytes> rows;
        std::vector<const std::uint8_t*> pointers;
        const std::int64_t count = std::min<std::int64_t>(random.Between(1, mostRows), from.height - y);
        for (int r = 0; r < count; ++r) {
            Bytes row(Size((from.width - 1) * step + source.channels));
            for (std::int64_t x = 0; x < from.width; ++x) {
                std::copy_n(source.At(from.x + x, from.y + y + r), source.channels, row.data() + x * step);
            }
            rows.push_back(row);
        }
        for (const Bytes& row : rows) pointers.push_back(row.data());
        const int fed = stream.FeedRows(pointers.data(), static_cast<int>(count), step);
        if (fed < count && !take()) {
            ADD_FAILURE() << "rows can neither be fed nor taken";
            return result;
        }
        y += fed;
        while (random.Chance(eager) && take()) {
        }
    }
    while (take()) {
    }
    EXPECT_EQ(taken, result.height);
    Bytes more(Size(stream.rowBytes()));
    EXPECT_FALSE(stream.Take(more.data()));
    const Bytes row(Size(from.width) * Size(source.channels));
    EXPECT_FALSE(stream.Feed(row.data(), source.channels));
    return result;
}

class ScaleStreams : public EngineTest {
protected:
    // Other pictures with --gtest_random_seed.
    Random random{33U + static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed())};

    const FilterKernel* AnyKernel() { return KernelOfMode(random.Between(1, kScaleModes)); }
    int AnySize() { return random.Chance(10) ? random.Between(100, 400) : random.Between(1, 60); }
};

struct Formats {
    int source, target;
};
// One for each pair, in the order of the table.
constexpr Formats kFormats[kScalePairs] = {
    {ImageFormatG, ImageFormatG},        {ImageFormatG, ImageFormatBGR},       {ImageFormatAG, ImageFormatCMYK},
    {ImageFormatBGR, ImageFormatG},      {ImageFormatRGBX, ImageFormatRGB},    {ImageFormatKYMC, ImageFormatG},
    {ImageFormatXCMYK, ImageFormatCMYK}, {ImageFormatAG, ImageFormatGA},       {ImageFormatGA, ImageFormatARGB},
    {ImageFormatGA, ImageFormatAKYMC},   {ImageFormatABGR, ImageFormatGA},     {ImageFormatRGBA, ImageFormatBGRA},
    {ImageFormatCMYKA, ImageFormatAG},   {ImageFormatACMYK, ImageFormatKYMCA},
};

TEST_F(ScaleStreams, GiveWhatTheMethodsGive) {
    for (int round = 0; round < 25; ++round) {
        for (int i = 0; i < kScalePairs; ++i) {
            const ScalePair& pair = kScalePairTable[i];
            const TestImage source = MakePlain(AnySize(), AnySize(), kFormats[i].source);
            const TestImage target = MakePlain(AnySize(), AnySize(), kFormats[i].target);
            FillWithNoise(source, random);
            const FilterKernel* const kernel = AnyKernel();
            SCOPED_TRACE(testing::Message() << pair.name << " " << kernel->name << " " << source->Width << "x"
                                            << source->Height << " to " << target->Width << "x" << target->Height);
            ASSERT_TRUE(PictureScaleZOR(target.object(), source.object(), nullptr, kernel->mode, target->Width,
                                        target->Height));

            Picture channels(source->Width, source->Height, pair.read.count);
            const ChannelSet read = OffsetsOf(source.record(), pair.read);
            for (int y = 0; y < source->Height; ++y) {
                const std::uint8_t* const row = source->GetRow(source.record(), y);
                for (int x = 0; x < source->Width; ++x) {
                    for (int p = 0; p < read.count; ++p) {
                        channels.At(x, y)[p] = row[x * source->PixelSize + read.offset[p]];
                    }
                }
            }
            const ResampleShape shape = ResampleShapeOf(pair.channels, pair.luma);
            const Picture result = Stream(
                random, RequestOf(kernel, channels, target->Width, target->Height, shape, Ending::truncate), channels);
            const ChannelSet written = OffsetsOf(target.record(), pair.written);
            for (int y = 0; y < target->Height; ++y) {
                const std::uint8_t* const row = target->GetRow(target.record(), y);
                for (int x = 0; x < target->Width; ++x) {
                    for (int w = 0; w < written.count; ++w) {
                        const int* const byte =
                            std::find(pair.groupByte, pair.groupByte + pair.channels, pair.writtenFrom[w]);
                        ASSERT_EQ(row[x * target->PixelSize + written.offset[w]],
                                  result.At(x, y)[byte - pair.groupByte]);
                    }
                }
            }
        }
    }
}

TEST_F(ScaleStreams, MakeBlocksThatAreTheWholeWhenPutTogether) {
    for (int round = 0; round < 120; ++round) {
        const auto shape = static_cast<ResampleShape>(random.Between(0, kResampleShapes - 1));
        const Picture source = AnyPicture(random, AnySize(), AnySize(), PlanesOf(shape));
        const int width = AnySize(), height = AnySize();
        ScaleStreamRequest request =
            RequestOf(AnyKernel(), source, width, height, shape, kEndings[random.Between(0, 1)]);
        const Picture whole = Stream(random, request, source);
        Picture together(width, height, whole.channels);
        const int left = random.Between(0, width - 1), top = random.Between(0, height - 1);
        for (const PixelRect& block :
             {PixelRect{0, 0, left, top}, PixelRect{left, 0, width - left, top}, PixelRect{0, top, left, height - top},
              PixelRect{left, top, width - left, height - top}}) {
            if (block.IsEmpty()) continue;
            request.block = block;
            const Picture part = Stream(random, request, source);
            for (int y = 0; y < part.height; ++y) {
                std::copy_n(part.At(0, y), part.width * part.channels, together.At(block.x, block.y + y));
            }
        }
        ASSERT_EQ(together.bytes, whole.bytes)
            << request.kernel->name << " " << source.width << "x" << source.height << " to " << width << "x" << height;
    }
}

// The result pixel by pixel, from both lists and in double precision, without any of the engine's arithmetic.
Picture Reference(const ScaleStreamRequest& request, const Picture& source) {
    const bool luma = request.shape >= kLumaOnly;
    const int channels = ChannelsOf(request.shape);
    const auto end = [&](double sum, float weightSum) {
        double value = sum / static_cast<double>(weightSum);
        if (request.ending == Ending::nearest) value = std::floor(value + 0.5);
        return static_cast<std::uint8_t>(std::isnan(value) || value < 0.0 ? 0.0 : value > 255.0 ? 255.0 : value);
    };
    const int mode = request.kernel->mode;
    const double xScale = static_cast<double>(request.width) / source.width;
    const double yScale = static_cast<double>(request.height) / source.height;
    Picture between(request.width, source.height, channels), result(request.width, request.height, channels);
    for (int x = 0; x < request.width; ++x) {
        const reference::Samples samples = reference::SamplesOf(mode, true, xScale, source.width, x);
        for (int y = 0; y < source.height; ++y) {
            for (int c = 0; c < channels; ++c) {
                double sum = 0.0;
                for (const reference::Sample& sample : samples.list) {
                    const std::uint8_t* const pixel = source.At(sample.index, y);
                    const double weight = static_cast<double>(sample.weight);
                    sum += luma && c == 0
                               ? pixel[0] * 0.3 * weight + pixel[1] * 0.59 * weight + pixel[2] * 0.11 * weight
                               : pixel[luma ? c + 2 : c] * weight;
                }
                between.At(x, y)[c] = end(sum, samples.sum);
            }
        }
    }
    for (int y = 0; y < request.height; ++y) {
        const reference::Samples samples = reference::SamplesOf(mode, false, yScale, source.height, y);
        for (int i = 0; i < request.width * channels; ++i) {
            double sum = 0.0;
            for (const reference::Sample& sample : samples.list) {
                sum += between.At(0, sample.index)[i] * static_cast<double>(sample.weight);
            }
            result.At(0, y)[i] = end(sum, samples.sum);
        }
    }
    return result;
}

TEST_F(ScaleStreams, EndAsTheyAreAskedTo) {
    for (int round = 0; round < 20; ++round) {
        for (int shape = 0; shape < kResampleShapes; ++shape) {
            for (const Ending ending : kEndings) {
                const Picture source =
                    AnyPicture(random, AnySize(), AnySize(), PlanesOf(static_cast<ResampleShape>(shape)));
                const ScaleStreamRequest request =
                    RequestOf(AnyKernel(), source, AnySize(), AnySize(), static_cast<ResampleShape>(shape), ending);
                const Picture expected = Reference(request, source);
                ASSERT_EQ(Stream(random, request, source).bytes, expected.bytes)
                    << request.kernel->name << " " << source.width << "x" << source.height << " to " << request.width
                    << "x" << request.height << ", shape " << shape;
            }
        }
    }
}

// Rows longer than what kernels have of them at a time; three times the size, where lists of poly3 are one sample.
TEST_F(ScaleStreams, TakeLongRows) {
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        for (const auto& [from, to] : {std::pair{2600, 650}, std::pair{3001, 1999}, std::pair{1700, 5100},
                                       std::pair{1700, 40}, std::pair{2101, 5101}}) {
            const auto shape = static_cast<ResampleShape>(random.Between(0, kResampleShapes - 1));
            const Picture source = AnyPicture(random, from, 3, PlanesOf(shape));
            const ScaleStreamRequest request =
                RequestOf(KernelOfMode(mode), source, to, 2, shape, kEndings[random.Between(0, 1)]);
            ASSERT_EQ(Stream(random, request, source).bytes, Reference(request, source).bytes)
                << request.kernel->name << " " << from << " to " << to << ", shape " << shape;
        }
    }
}

TEST_F(ScaleStreams, GiveRowsNoMoreThanFifteenSourceRowsLate) {
    for (int round = 0; round < 40; ++round) {
        const Picture source(random.Between(1, 5), random.Between(20, 200), 1);
        const int height = random.Between(1, 300);
        const ScaleStreamRequest request =
            RequestOf(AnyKernel(), source, source.width, height, kChannels1, Ending::nearest);
        ScaleStream stream;
        ASSERT_TRUE(stream.Start(request));
        ASSERT_EQ(stream.source().y, 0);
        Bytes row(Size(stream.rowBytes()));
        int taken = 0;
        for (int fed = 1; fed <= stream.source().height; ++fed) {
            ASSERT_TRUE(stream.Feed(source.At(0, fed - 1), 1));
            while (stream.Take(row.data())) ++taken;
            const double scale = static_cast<double>(height) / source.height;
            const int known = fed == stream.source().height ? source.height : fed - 15;
            int whole = 0;
            while (whole < height) {
                const reference::Samples samples =
                    reference::SamplesOf(request.kernel->mode, false, scale, source.height, whole);
                if (!samples.list.empty() && samples.list.back().index >= known) break;
                ++whole;
            }
            ASSERT_GE(taken, whole) << fed << " rows of " << source.height << " to " << height;
        }
        EXPECT_EQ(taken, height);
    }
}

struct Sizes {
    int srcWidth, srcHeight, width, height;
};

TEST_F(ScaleStreams, HoldRowsAndNeverThePicture) {
    for (const Sizes& size :
         {Sizes{6000, 4000, 1500, 1000}, Sizes{1500, 1000, 6000, 4000}, Sizes{3000, 60000, 300, 6000},
          Sizes{6000, 4000, 6000, 4000}, Sizes{200, 40000, 2000, 40001}, Sizes{8000, 4000, 80, 40}}) {
        for (const int mode : {1, 3, 4}) {
            ScaleStreamRequest request{};
            request.kernel = KernelOfMode(mode);
            request.srcWidth = size.srcWidth;
            request.srcHeight = size.srcHeight;
            request.width = size.width;
            request.height = size.height;
            request.shape = kChannels4;
            const double radius = request.kernel->radius;
            const auto taps = [&](double from, double to) { return 2 * radius * std::max(from / to, 1.0) + 4; };
            const double across = taps(size.srcWidth, size.width), down = taps(size.srcHeight, size.height);
            const double rows = (down + 16) * size.width * 4 + 16.0 * size.srcWidth * 4;
            const double tables = 40 * ((across + 4) * size.width + (down + 4) * size.height);
            const double kernels = (across + 600) * 400;

            const CountedAlloc counted;
            ScaleStream stream;
            ASSERT_TRUE(stream.Start(request));
            EXPECT_LE(static_cast<double>(counted.bytes()), rows + tables + kernels)
                << request.kernel->name << " " << size.srcWidth << "x" << size.srcHeight << " to " << size.width << "x"
                << size.height;

            const CountedAlloc later;
            const Bytes source(Size(size.srcWidth) * 4);
            Bytes row(Size(stream.rowBytes()));
            for (int y = 0; y < 40; ++y) {
                ASSERT_TRUE(stream.Feed(source.data(), 4));
                while (stream.Take(row.data())) {
                }
            }
            EXPECT_EQ(later.calls(), 0);
        }
    }
}

TEST_F(ScaleStreams, DoNotStartWithoutMemory) {
    const Picture source = AnyPicture(random, 20, 30, 3);
    const ScaleStreamRequest request = RequestOf(KernelOfMode(3), source, 7, 9, kLumaOnly, Ending::nearest);
    const Picture expected = Stream(random, request, source);
    ScaleStream stream;
    int failed = 0;
    for (bool happened = true; happened; ++failed) {
        const FailingAlloc fail(failed);
        const bool started = stream.Start(request);
        happened = fail.happened();
        ASSERT_EQ(started, !happened) << "allocation " << failed;
        if (started) break;
        std::uint8_t row[64] = {};
        EXPECT_FALSE(stream.Feed(source.At(0, 0), 3));
        EXPECT_FALSE(stream.Take(row));
        EXPECT_EQ(stream.rowBytes(), 0);
    }
    EXPECT_GE(failed, 20);
    EXPECT_EQ(Stream(random, request, source).bytes, expected.bytes);
}

TEST_F(ScaleStreams, RefuseWhatCannotBe) {
    const Picture source(20, 30, 3);
    const ScaleStreamRequest good = RequestOf(KernelOfMode(4), source, 7, 9, kChannels3, Ending::nearest);
    const auto starts = [&](const std::function<void(ScaleStreamRequest&)>& change) {
        ScaleStreamRequest request = good;
        change(request);
        ScaleStream stream;
        return stream.Start(request);
    };
    EXPECT_TRUE(starts([](ScaleStreamRequest&) {}));
    EXPECT_FALSE(starts([](ScaleStreamRequest& r) { r.kernel = KernelOfMode(8); }));
    constexpr int kMost = std::numeric_limits<int>::max(), kLeast = std::numeric_limits<int>::min();
    for (const int size : {0, -1, kLeast}) {
        EXPECT_FALSE(starts([&](ScaleStreamRequest& r) { r.srcWidth = size; }));
        EXPECT_FALSE(starts([&](ScaleStreamRequest& r) { r.srcHeight = size; }));
        EXPECT_FALSE(starts([&](ScaleStreamRequest& r) { r.width = size; }));
        EXPECT_FALSE(starts([&](ScaleStreamRequest& r) { r.height = size; }));
    }
    EXPECT_FALSE(starts([](ScaleStreamRequest& r) { r.srcWidth = kMost; }));
    EXPECT_FALSE(starts([](ScaleStreamRequest& r) { r.srcHeight = kMost; }));
    EXPECT_FALSE(starts([](ScaleStreamRequest& r) { r.width = kMost; }));
    EXPECT_FALSE(starts([](ScaleStreamRequest& r) { r.height = kMost; }));
    EXPECT_FALSE(starts([](ScaleStreamRequest& r) { r.srcHeight = 1000000000, r.height = 1000000; }));
    EXPECT_FALSE(starts([](ScaleStreamRequest& r) { r.srcWidth = r.width = r.srcHeight = r.height = kMost; }));
    constexpr std::int64_t kFar = std::numeric_limits<std::int64_t>::max();
    for (const PixelRect& block :
         {PixelRect{0, 0, 0, 9}, PixelRect{0, 0, 7, 0}, PixelRect{0, 0, 8, 9}, PixelRect{0, 0, 7, 10},
          PixelRect{-1, 0, 2, 2}, PixelRect{0, -1, 2, 2}, PixelRect{7, 0, 1, 1}, PixelRect{0, 9, 1, 1},
          PixelRect{6, 8, 1, 2}, PixelRect{6, 8, 2, 1}, PixelRect{1, 1, kFar, 1}, PixelRect{kFar, 1, 1, 1}}) {
        EXPECT_FALSE(starts([&](ScaleStreamRequest& r) { r.block = block; }));
    }
    EXPECT_TRUE(starts([](ScaleStreamRequest& r) { r.block = PixelRect{6, 8, 1, 1}; }));
}

// A corner of pictures that no machine could hold.
TEST_F(ScaleStreams, MakeBlocksOfPicturesOfAnySize) {
    constexpr int kMost = std::numeric_limits<int>::max();
    ScaleStreamRequest request{};
    request.kernel = KernelOfMode(3);
    request.srcWidth = request.srcHeight = request.width = request.height = kMost;
    request.shape = kChannels5;
    request.block = PixelRect{kMost - 3, kMost - 2, 3, 2};
    ScaleStream stream;
    ASSERT_TRUE(stream.Start(request));
    const PixelRect from = stream.source();
    EXPECT_EQ(from.x + from.width, kMost);
    EXPECT_EQ(from.y + from.height, kMost);
    EXPECT_LE(from.width, 8);
    const Bytes row(Size(from.width) * 5, 200);
    for (int y = 0; y < from.height; ++y) ASSERT_TRUE(stream.Feed(row.data(), 5));
    Bytes result(15);
    ASSERT_TRUE(stream.Take(result.data()));
    ASSERT_TRUE(stream.Take(result.data()));
    EXPECT_FALSE(stream.Take(result.data()));
    for (const std::uint8_t byte : result) EXPECT_NEAR(byte, 200, 2);
}

TEST_F(ScaleStreams, TakeNoRowsThatAreTooNarrow) {
    const Picture source(20, 30, 3);
    ScaleStream stream;
    std::uint8_t row[64] = {};
    EXPECT_FALSE(stream.Feed(source.At(0, 0), 3));
    EXPECT_FALSE(stream.Take(row));
    ASSERT_TRUE(stream.Start(RequestOf(KernelOfMode(3), source, 7, 9, kChannels3, Ending::nearest)));
    EXPECT_FALSE(stream.Feed(source.At(0, 0), 2));
    EXPECT_FALSE(stream.Feed(source.At(0, 0), -3));
    EXPECT_FALSE(stream.Take(row));
    EXPECT_TRUE(stream.Feed(source.At(0, 0), 3));
}

}  // namespace
