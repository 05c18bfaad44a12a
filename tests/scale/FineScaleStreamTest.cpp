#include "scale/FineScaleStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <thread>

#include "FailingAlloc.h"
#include "ReferenceScale.h"
#include "support/Images.h"

using namespace zor;

namespace {

using Bytes = std::vector<std::uint8_t>;

std::size_t Size(std::int64_t count) {
    return static_cast<std::size_t>(count);
}

// Pixels side by side; of two or four channels the last may be alpha.
struct Picture {
    int width, height, channels;
    Bytes bytes;

    Picture(int w, int h, int c) : width(w), height(h), channels(c), bytes(Size(std::int64_t{w} * h * c)) {}
    std::uint8_t* At(std::int64_t x, std::int64_t y) { return bytes.data() + (y * width + x) * channels; }
    const std::uint8_t* At(std::int64_t x, std::int64_t y) const { return bytes.data() + (y * width + x) * channels; }
    std::uint8_t& Alpha(std::int64_t i) { return bytes[Size(i * channels + channels - 1)]; }
    std::int64_t Pixels() const { return std::int64_t{width} * height; }
};

// Noise, steps or slopes. Alpha besides: noise, clear and opaque areas, or opaque but for a few rows.
Picture AnyPicture(Random& random, int width, int height, int channels, bool alpha) {
    Picture picture(width, height, channels);
    const int kind = random.Between(0, 2), cell = random.Between(1, 40);
    for (int y = 0; y < height; ++y) {
        for (int i = 0; i < width * channels; ++i) {
            const int x = i / channels;
            picture.bytes[Size(y) * Size(width * channels) + Size(i)] =
                kind == 0   ? random.Byte()
                : kind == 1 ? static_cast<std::uint8_t>((x / cell + y / cell) % 2 ? 255 : 0)
                            : static_cast<std::uint8_t>((3 * x + 5 * y) / 8 + i % channels);
        }
    }
    const int alphaKind = random.Between(0, 2), first = random.Between(0, height - 1);
    for (std::int64_t i = 0; alpha && alphaKind > 0 && i < picture.Pixels(); ++i) {
        const std::int64_t x = i % width, y = i / width;
        if (alphaKind == 1) picture.Alpha(i) = (x / 9 + y / 20) % 2 ? 255 : 0;
        if (alphaKind == 2 && (y < first || y > first + 2)) picture.Alpha(i) = 255;
    }
    return picture;
}

ScaleStreamRequest RequestOf(const FilterKernel* kernel, const Picture& source, int width, int height) {
    ScaleStreamRequest request{};
    request.kernel = kernel;
    request.srcWidth = source.width;
    request.srcHeight = source.height;
    request.width = width;
    request.height = height;
    request.shape = ResampleShapeOf(source.channels, false);
    return request;
}

// Rows in memory that ends where the last pixel ends, packed or with gaps, one or several at a time.
Picture Stream(Random& random, const ScaleStreamRequest& request, bool alpha, const Picture& source) {
    const PixelRect block = request.block.value_or(PixelRect{0, 0, request.width, request.height});
    Picture result(static_cast<int>(block.width), static_cast<int>(block.height), source.channels);
    FineScaleStream stream;
    if (!stream.Start(request, alpha)) {
        ADD_FAILURE() << "not started";
        return result;
    }
    const PixelRect from = stream.source();
    const int step = source.channels + (random.Chance(70) ? 0 : random.Between(1, 9));
    const int mostRows = random.Chance(50) ? 1 : random.Between(1, 40);
    int taken = 0;
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
        y += stream.FeedRows(pointers.data(), static_cast<int>(count), step);
        while (taken < result.height && stream.Take(result.At(0, taken))) ++taken;
    }
    EXPECT_EQ(taken, result.height);
    return result;
}

// The picture in double precision, colours times their share of alpha, and pixel by pixel.
std::vector<double> Reference(const ScaleStreamRequest& request, bool alpha, const Picture& source) {
    const int channels = source.channels;
    const auto premultiplied = [&](int x, int y, int c) {
        const std::uint8_t* const pixel = source.At(x, y);
        return alpha && c < channels - 1 ? pixel[c] * (pixel[channels - 1] / 255.0) : static_cast<double>(pixel[c]);
    };
    const int mode = request.kernel->mode, width = request.width;
    std::vector<double> between(Size(std::int64_t{width} * source.height * channels));
    for (int x = 0; x < width; ++x) {
        const double scale = static_cast<double>(width) / source.width;
        const reference::Samples samples = reference::SamplesOf(mode, true, scale, source.width, x);
        for (int y = 0; y < source.height; ++y) {
            for (int c = 0; c < channels; ++c) {
                double sum = 0.0;
                for (const auto& s : samples.list) sum += premultiplied(s.index, y, c) * static_cast<double>(s.weight);
                between[Size((y * width + x) * channels + c)] = sum / static_cast<double>(samples.sum);
            }
        }
    }
    std::vector<double> result;
    for (int y = 0; y < request.height; ++y) {
        const double scale = static_cast<double>(request.height) / source.height;
        const reference::Samples samples = reference::SamplesOf(mode, false, scale, source.height, y);
        for (int x = 0; x < width; ++x) {
            double pixel[4] = {};
            for (int c = 0; c < channels; ++c) {
                double sum = 0.0;
                for (const auto& s : samples.list) {
                    sum += between[Size((s.index * width + x) * channels + c)] * static_cast<double>(s.weight);
                }
                // The filter may have nothing at a place; that is no number.
                pixel[c] = samples.list.empty() ? 0.0 : sum / static_cast<double>(samples.sum);
                if (std::isnan(pixel[c])) pixel[c] = 0.0;
            }
            const double share = alpha ? std::clamp(pixel[channels - 1] / 255.0, 0.0, 1.0) : 1.0;
            for (int c = 0; c < channels; ++c) {
                const bool isColour = alpha && c < channels - 1;
                result.push_back(std::clamp(isColour && share > 0.0 ? pixel[c] / share : pixel[c], 0.0, 255.0));
            }
        }
    }
    return result;
}

// How far pictures are from what is right. Colours count where they show.
class Differences {
public:
    void Add(const Picture& picture, const std::vector<double>& right, bool alpha, const std::string& what) {
        const int channels = picture.channels;
        for (std::size_t i = 0; i < right.size(); ++i) {
            const std::size_t last = i - i % Size(channels) + Size(channels) - 1;
            const double shown = alpha && i != last ? right[last] : 255.0;
            if (shown < 6.0) continue;
            const double difference = picture.bytes[i] - std::floor(right[i] + 0.5);
            ASSERT_LE(std::fabs(difference), 1.0 + 0.03 * (255.0 / shown - 1.0))
                << what << ", byte " << i << ", alpha " << shown;
            if (shown < 128.0) continue;
            sum_ += difference;
            sizes_ += std::fabs(difference);
            ++count_;
        }
    }
    void ExpectSmall() const {
        ASSERT_GT(count_, 10000);
        EXPECT_LT(std::fabs(sum_) / count_, 0.05);
        EXPECT_LT(sizes_ / count_, 0.05);
    }

private:
    double sum_ = 0.0, sizes_ = 0.0;
    int count_ = 0;
};

std::string Name(const ScaleStreamRequest& request) {
    return std::string(request.kernel->name) + " " + std::to_string(request.srcWidth) + "x" +
           std::to_string(request.srcHeight) + " to " + std::to_string(request.width) + "x" +
           std::to_string(request.height);
}

struct Kind {
    int channels;
    bool alpha;
};
constexpr Kind kKinds[] = {{1, false}, {3, false}, {4, false}, {2, true}, {4, true}};

class FineScaleStreams : public testing::Test {
protected:
    // Other pictures with --gtest_random_seed.
    Random random{71U + static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed())};

    const FilterKernel* AnyKernel() { return KernelOfMode(random.Between(1, kScaleModes)); }
    int AnySize() { return random.Chance(10) ? random.Between(100, 300) : random.Between(1, 60); }
};

TEST_F(FineScaleStreams, AreRightToTheNearestLevel) {
    for (const auto& [channels, alpha] : kKinds) {
        Differences differences;
        for (int mode = 1; mode <= kScaleModes; ++mode) {
            for (int round = 0; round < 12; ++round) {
                const Picture source = AnyPicture(random, AnySize(), AnySize(), channels, alpha);
                const ScaleStreamRequest request = RequestOf(KernelOfMode(mode), source, AnySize(), AnySize());
                differences.Add(Stream(random, request, alpha, source), Reference(request, alpha, source), alpha,
                                Name(request));
                if (HasFatalFailure()) return;
            }
        }
        differences.ExpectSmall();
    }
}

// So many taps that there are no integers for them across rows, and then along them.
TEST_F(FineScaleStreams, AreRightWhereManyPixelsBecomeOne) {
    for (const auto& [channels, alpha] : kKinds) {
        Differences differences;
        for (const int mode : {1, 3, 7}) {
            for (const auto& [width, height] : {std::pair{40, 9000}, std::pair{66000, 3}}) {
                const Picture source = AnyPicture(random, width, height, channels, alpha);
                const ScaleStreamRequest request =
                    RequestOf(KernelOfMode(mode), source, std::max(1, width / 1000) + 40, std::max(1, height / 1000));
                differences.Add(Stream(random, request, alpha, source), Reference(request, alpha, source), alpha,
                                Name(request));
                if (HasFatalFailure()) return;
                ScaleStreamRequest one = request;
                one.width = one.height = 1;
                differences.Add(Stream(random, one, alpha, source), Reference(one, alpha, source), alpha, Name(one));
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST_F(FineScaleStreams, GiveOpaquePicturesTheColoursThatTheyHaveWithoutAlpha) {
    for (int round = 0; round < 60; ++round) {
        const int colours = random.Chance(50) ? 1 : 3;
        const Picture plain = AnyPicture(random, AnySize(), AnySize(), colours, false);
        Picture opaque(plain.width, plain.height, colours + 1);
        for (std::int64_t i = 0; i < plain.Pixels(); ++i) {
            std::copy_n(plain.bytes.data() + i * colours, colours, opaque.bytes.data() + i * (colours + 1));
            opaque.Alpha(i) = 255;
        }
        const FilterKernel* const kernel = AnyKernel();
        const int width = AnySize(), height = AnySize();
        const Picture expected = Stream(random, RequestOf(kernel, plain, width, height), false, plain);
        Picture result = Stream(random, RequestOf(kernel, opaque, width, height), true, opaque);
        for (std::int64_t i = 0; i < result.Pixels(); ++i) {
            for (int c = 0; c < colours; ++c) {
                ASSERT_EQ(result.bytes[Size(i * (colours + 1) + c)], expected.bytes[Size(i * colours + c)]);
            }
            ASSERT_EQ(result.Alpha(i), 255);
        }
    }
}

TEST_F(FineScaleStreams, KeepFlatPicturesFlat) {
    for (const auto& [channels, alpha] : kKinds) {
        for (int round = 0; round < 40; ++round) {
            const bool large = round < 3;
            Picture source(large ? 70001 : AnySize(), large ? 2 : AnySize(), channels);
            std::uint8_t pixel[4];
            for (std::uint8_t& byte : pixel) byte = random.Byte();
            if (round % 4 == 0) std::fill_n(pixel, 4, std::uint8_t{255});
            // Low alpha loses no colour.
            if (round % 4 == 1) pixel[channels - 1] = static_cast<std::uint8_t>(random.Between(1, 3));
            if (alpha && pixel[channels - 1] == 0) continue;
            for (std::int64_t i = 0; i < source.Pixels(); ++i)
                std::copy_n(pixel, channels, source.bytes.data() + i * channels);
            const ScaleStreamRequest request = RequestOf(KernelOfMode(random.Pick(std::vector{1, 2, 3, 4, 5, 6, 7})),
                                                         source, large ? 3 : AnySize(), AnySize());
            const Picture result = Stream(random, request, alpha, source);
            for (std::int64_t i = 0; i < result.Pixels() * channels; ++i) {
                ASSERT_EQ(result.bytes[Size(i)], pixel[i % channels]) << Name(request) << ", channel " << i % channels;
            }
        }
    }
}

TEST_F(FineScaleStreams, ShowNothingOfClearPixels) {
    for (int round = 0; round < 40; ++round) {
        const int channels = random.Chance(50) ? 2 : 4;
        Picture source = AnyPicture(random, AnySize(), AnySize(), channels, true);
        for (std::int64_t i = 0; i < source.Pixels(); ++i) {
            if (random.Chance(60)) source.Alpha(i) = 0;
        }
        Picture recoloured = source;
        for (std::int64_t i = 0; i < source.Pixels(); ++i) {
            for (int c = 0; c + 1 < channels && source.Alpha(i) == 0; ++c) {
                recoloured.bytes[Size(i * channels + c)] = random.Byte();
            }
        }
        const ScaleStreamRequest request = RequestOf(AnyKernel(), source, AnySize(), AnySize());
        Picture result = Stream(random, request, true, source);
        ASSERT_EQ(Stream(random, request, true, recoloured).bytes, result.bytes) << Name(request);
        for (std::int64_t i = 0; i < result.Pixels(); ++i) {
            for (int c = 0; c + 1 < channels && result.Alpha(i) == 0; ++c) {
                ASSERT_EQ(result.bytes[Size(i * channels + c)], 0) << Name(request);
            }
        }
    }
}

TEST_F(FineScaleStreams, MakeBlocksThatAreTheWholeWhenPutTogether) {
    for (int round = 0; round < 60; ++round) {
        const auto& [channels, alpha] = kKinds[random.Between(0, 4)];
        const Picture source = AnyPicture(random, AnySize(), AnySize(), channels, alpha);
        const int width = AnySize(), height = AnySize();
        ScaleStreamRequest request = RequestOf(AnyKernel(), source, width, height);
        const Picture whole = Stream(random, request, alpha, source);
        const int left = random.Between(0, width - 1), top = random.Between(0, height - 1);
        for (const PixelRect& block :
             {PixelRect{0, 0, left, top}, PixelRect{left, 0, width - left, top}, PixelRect{0, top, left, height - top},
              PixelRect{left, top, width - left, height - top}}) {
            if (block.IsEmpty()) continue;
            request.block = block;
            const Picture part = Stream(random, request, alpha, source);
            for (int y = 0; y < part.height; ++y) {
                for (int i = 0; i < part.width * channels; ++i) {
                    // Rows that are opaque in a block may be none in the whole: two ways to the same level.
                    const std::uint8_t* const pixel = whole.At(block.x + i / channels, block.y + y);
                    const double shown = alpha && i % channels < channels - 1 ? pixel[channels - 1] : 255.0;
                    ASSERT_NEAR(part.At(0, y)[i] * shown, pixel[i % channels] * shown, alpha ? 1.1 * 255.0 : 0.0)
                        << Name(request);
                }
            }
        }
    }
}

TEST_F(FineScaleStreams, AreTheSameWithEveryInstructionSet) {
    const KernelPick plain = PickKernels(CpuTier::plain);
    for (const CpuTier tier : kCpuTiers) {
        if (!CanRun(tier)) continue;
        const KernelPick pick = PickKernels(tier);
        for (int round = 0; round < 40; ++round) {
            const auto& [channels, alpha] = kKinds[random.Between(0, 4)];
            const Picture source = AnyPicture(random, AnySize(), AnySize(), channels, alpha);
            ScaleStreamRequest request = RequestOf(AnyKernel(), source, AnySize(), AnySize());
            request.kernels = &plain.table;
            const Picture expected = Stream(random, request, alpha, source);
            request.kernels = &pick.table;
            ASSERT_EQ(Stream(random, request, alpha, source).bytes, expected.bytes) << Name(request) << NameOf(tier);
        }
    }
}

// Rows that are open are filtered in any order, some in a thread of their own.
TEST_F(FineScaleStreams, GiveTheSameHoweverManyThreadsFilter) {
    for (int round = 0; round < 60; ++round) {
        const auto& [channels, alpha] = kKinds[random.Between(0, 4)];
        const Picture source = AnyPicture(random, AnySize(), random.Between(1, 300), channels, alpha);
        const ScaleStreamRequest request = RequestOf(AnyKernel(), source, AnySize(), random.Between(1, 300));
        const Picture expected = Stream(random, request, alpha, source);
        const int threads = random.Between(1, 6);
        FineScaleStream stream;
        ASSERT_TRUE(stream.Start(request, alpha, threads));
        const PixelRect from = stream.source();
        const auto filter = [&](const FineScaleStream::Rows& opened) {
            const std::uint8_t* rows[RowBlock::kMaxRows];
            for (int r = 0; r < opened.count; ++r) rows[r] = source.At(from.x, from.y + opened.first + r);
            stream.FilterOpened(opened, rows);
        };
        Picture result(request.width, request.height, channels);
        for (int taken = 0; taken < result.height;) {
            std::vector<FineScaleStream::Rows> open;
            for (auto rows = stream.OpenRows(); rows.count > 0; rows = stream.OpenRows()) open.push_back(rows);
            ASSERT_LE(open.size(), Size(threads));
            const std::size_t count = open.size();
            std::vector<std::thread> workers;
            while (!open.empty()) {
                const std::size_t which = Size(random.Between(0, static_cast<int>(open.size()) - 1));
                const FineScaleStream::Rows rows = open[which];
                open.erase(open.begin() + static_cast<std::ptrdiff_t>(which));
                if (random.Chance(30)) {
                    workers.emplace_back([&filter, rows] { filter(rows); });
                } else {
                    filter(rows);
                }
            }
            for (std::thread& worker : workers) worker.join();
            for (std::size_t i = 0; i < count; ++i) stream.CloseRows();
            const int before = taken;
            while (taken < result.height && stream.Take(result.At(0, taken))) ++taken;
            ASSERT_TRUE(count > 0 || taken > before) << "rows can neither be opened nor taken";
        }
        EXPECT_EQ(stream.OpenRows().count, 0);
        ASSERT_EQ(result.bytes, expected.bytes) << Name(request) << ", " << threads << " threads";
    }
}

TEST_F(FineScaleStreams, AskForNoMemoryOnceStarted) {
    for (const auto& [channels, alpha] : kKinds) {
        const Picture source = AnyPicture(random, 100, 90, channels, alpha);
        FineScaleStream stream;
        ASSERT_TRUE(stream.Start(RequestOf(KernelOfMode(1), source, 40, 50), alpha));
        const CountedAlloc later;
        Picture result(40, 50, channels);
        int taken = 0;
        for (int y = 0; y < source.height; ++y) {
            ASSERT_TRUE(stream.Feed(source.At(0, y), channels));
            while (taken < 50 && stream.Take(result.At(0, taken))) ++taken;
        }
        EXPECT_EQ(taken, 50);
        EXPECT_EQ(later.calls(), 0);
    }
}

TEST_F(FineScaleStreams, DoNotStartWithoutMemory) {
    const Picture source = AnyPicture(random, 20, 30, 4, true);
    const ScaleStreamRequest request = RequestOf(KernelOfMode(3), source, 7, 9);
    FineScaleStream stream;
    int failed = 0;
    for (bool happened = true; happened; ++failed) {
        const FailingAlloc fail(failed);
        const bool started = stream.Start(request, true);
        happened = fail.happened();
        ASSERT_EQ(started, !happened) << "allocation " << failed;
        if (started) break;
        std::uint8_t row[64] = {};
        EXPECT_FALSE(stream.Feed(source.At(0, 0), 4));
        EXPECT_FALSE(stream.Take(row));
    }
    EXPECT_GE(failed, 20);
}

TEST_F(FineScaleStreams, RefuseWhatCannotBe) {
    const Picture source(20, 30, 3);
    FineScaleStream stream;
    ScaleStreamRequest request = RequestOf(KernelOfMode(4), source, 7, 9);
    EXPECT_TRUE(stream.Start(request, false));
    EXPECT_FALSE(stream.Start(request, true));
    request.shape = kLumaOnly;
    EXPECT_FALSE(stream.Start(request, false));
    request.shape = kChannels5;
    EXPECT_FALSE(stream.Start(request, false));
    request.shape = kChannels3;
    request.width = 0;
    EXPECT_FALSE(stream.Start(request, false));
}

}  // namespace
