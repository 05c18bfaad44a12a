// Rounded box blurs of row streams against slow means in doubles.

#include "filters/BlurStream.h"

#include "filters/StreamModel.h"
#include "kernels/Tiers.h"

using namespace zor;

namespace {

BlurStreamRequest RequestFor(const StreamPicture& picture, int across, int down, int iterations = 1) {
    return {picture.width, picture.height, picture.channels, picture.hasAlpha, across, down, iterations};
}

StreamPicture Blurred(const StreamPicture& picture, const BlurStreamRequest& request) {
    BlurStream stream;
    EXPECT_TRUE(stream.Start(request));
    return Streamed(stream, picture);
}

ExactPicture BoxMeans(const StreamPicture& picture, int across, int down, int iterations) {
    const auto box = [=](int dx, int dy) { return std::abs(dx) <= across && std::abs(dy) <= down ? 1.0 : 0.0; };
    ExactPicture means = MeansOf(picture, std::max(across, down), box);
    for (int i = 1; i < iterations; ++i) means = MeansOf(picture, means, std::max(across, down), box);
    return means;
}

TEST(BlurStream, GivesTheRoundedMeanOfAnyPicture) {
    Random random(1);
    for (const StreamKind kind : kStreamKinds) {
        for (const auto [width, height] : kStreamSizes) {
            for (const int radius : {1, 2, 5, 12}) {
                const StreamPicture picture = AnyStreamPicture(random, width, height, kind);
                ExpectRounded(Blurred(picture, RequestFor(picture, radius, radius)),
                              BoxMeans(picture, radius, radius, 1), 1e-6);
            }
        }
    }
}

TEST(BlurStream, BlursAlongOneAxisAlone) {
    Random random(2);
    for (const StreamKind kind : kStreamKinds) {
        const StreamPicture picture = AnyStreamPicture(random, 37, 23, kind);
        for (const auto& [across, down] : {std::pair{4, 0}, {0, 4}, {3, 1}, {0, 0}, {60, 0}, {0, 60}}) {
            ExpectRounded(Blurred(picture, RequestFor(picture, across, down)), BoxMeans(picture, across, down, 1),
                          1e-6);
        }
    }
}

// Between the iterations a level has 255 steps; half a step off at an alpha of 1 is half a level of a colour.
TEST(BlurStream, IteratesWithoutRoundingToLevelsInBetween) {
    Random random(3);
    for (const StreamKind kind : kStreamKinds) {
        for (const auto [width, height] : kStreamSizes) {
            for (const auto& [radius, iterations] : {std::pair{1, 2}, {3, 3}, {2, 5}}) {
                const StreamPicture picture = AnyStreamPicture(random, width, height, kind);
                ExpectRounded(Blurred(picture, RequestFor(picture, radius, radius, iterations)),
                              BoxMeans(picture, radius, radius, iterations), kind.hasAlpha ? 0.5 : 0.01);
            }
        }
    }
}

// By sums over a whole side that windows so large reach beyond: what is outside are copies of the border.
ExactPicture WideMeans(const StreamPicture& picture, int radius) {
    ExactPicture means{std::vector<double>(picture.bytes.size())};
    const auto times = [radius](int at, int p, int last) {
        const double inside = p >= at - radius && p <= at + radius ? 1 : 0;
        return inside + (p == 0 ? std::max(radius - at, 0) : 0) + (p == last ? std::max(at + radius - last, 0) : 0);
    };
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            double sums[4] = {}, alphas = 0;
            for (int v = 0; v < picture.height; ++v) {
                for (int u = 0; u < picture.width; ++u) {
                    const double w = times(x, u, picture.width - 1) * times(y, v, picture.height - 1);
                    const double alpha = picture.hasAlpha ? picture.At(u, v, picture.channels - 1) : 1.0;
                    alphas += w * alpha;
                    for (int c = 0; c < picture.channels; ++c) sums[c] += w * alpha * picture.At(u, v, c);
                }
            }
            for (int c = 0; c < picture.channels; ++c) {
                const bool isAlpha = picture.hasAlpha && c == picture.channels - 1;
                means[static_cast<std::size_t>((y * picture.width + x) * picture.channels + c)] =
                    isAlpha      ? alphas / std::pow(2.0 * radius + 1, 2)
                    : alphas > 0 ? sums[c] / alphas
                                 : 0;
            }
        }
    }
    return means;
}

TEST(BlurStream, TakesRadiiBeyondThePictureAndSumsBeyondANumber) {
    Random random(4);
    for (const StreamKind kind : kStreamKinds) {
        for (const auto& [width, height] : {std::pair{1, 1}, {1, 40}, {40, 1}, {23, 31}}) {
            for (const int radius : {22, 31, 90, 91, 723, 724, 3000, 10000, 16000}) {
                const StreamPicture picture = AnyStreamPicture(random, width, height, kind);
                SCOPED_TRACE(radius);
                const StreamPicture blurred = Blurred(picture, RequestFor(picture, radius, radius));
                ExpectRounded(blurred, WideMeans(picture, radius), kind.hasAlpha && radius > 90 ? 0.5 : 0.01);
            }
        }
    }
}

TEST(BlurStream, LeavesFlatPicturesAsTheyAre) {
    for (const StreamKind kind : kStreamKinds) {
        for (const int value : {0, 1, 127, 254, 255}) {
            const StreamPicture flat = FlatStreamPicture(13, 9, kind, static_cast<std::uint8_t>(value));
            for (const int radius : {1, 5, 128, 1000, 10000}) {
                EXPECT_EQ(Blurred(flat, RequestFor(flat, radius, radius)).bytes, flat.bytes) << radius;
                EXPECT_EQ(Blurred(flat, RequestFor(flat, radius, radius, 20)).bytes, flat.bytes) << radius;
            }
        }
    }
}

TEST(BlurStream, LeavesOpaquePicturesOpaque) {
    Random random(5);
    for (const StreamKind kind : {StreamKind{2, true}, {4, true}}) {
        for (const int iterations : {1, 3}) {
            StreamPicture picture = AnyStreamPicture(random, 40, 30, kind);
            const std::size_t channels = static_cast<std::size_t>(kind.channels);
            for (std::size_t i = channels - 1; i < picture.bytes.size(); i += channels) picture.bytes[i] = 255;
            const StreamPicture blurred = Blurred(picture, RequestFor(picture, 3, 3, iterations));
            for (std::size_t i = channels - 1; i < blurred.bytes.size(); i += channels) {
                ASSERT_EQ(blurred.bytes[i], 255);
            }
        }
    }
}

TEST(BlurStream, IsTheSameByKernelsOfEverySet) {
    Random random(6);
    for (const StreamKind kind : kStreamKinds) {
        for (const int iterations : {1, 2}) {
            const StreamPicture picture = AnyStreamPicture(random, 71, 19, kind);
            const StreamPicture expected = Blurred(picture, RequestFor(picture, 4, 4, iterations));
            for (const KernelTier& tier : RunnableTiers()) {
                BlurStreamRequest request = RequestFor(picture, 4, 4, iterations);
                request.kernels = &tier.table;
                EXPECT_EQ(Blurred(picture, request).bytes, expected.bytes) << tier.name;
            }
        }
    }
}

TEST(BlurStream, KeepsRowsWhereItIsTold) {
    Random random(7);
    for (const StreamKind kind : kStreamKinds) {
        for (const int iterations : {1, 3}) {
            const StreamPicture picture = AnyStreamPicture(random, 21, 33, kind);
            BlurStreamRequest request = RequestFor(picture, 3, 3, iterations);
            // Each asked-for row lies at one place, and what was there before is elsewhere meanwhile.
            std::vector<std::vector<std::uint8_t>> rows(static_cast<std::size_t>(request.waitingRows()));
            for (auto& row : rows) row.resize(static_cast<std::size_t>(request.waitingRowBytes()));
            std::vector<std::uint16_t> window(static_cast<std::size_t>(request.waitingRowBytes()));
            auto* const bytes = reinterpret_cast<std::uint8_t*>(window.data());
            std::size_t shown = rows.size();
            request.store = [&](std::int64_t row) {
                if (shown < rows.size()) std::copy_n(bytes, rows[shown].size(), rows[shown].begin());
                shown = static_cast<std::size_t>(row);
                std::copy(rows.at(shown).begin(), rows.at(shown).end(), bytes);
                return bytes;
            };
            EXPECT_EQ(request.waitingRows(), 7 * iterations);
            EXPECT_EQ(Blurred(picture, request).bytes, Blurred(picture, RequestFor(picture, 3, 3, iterations)).bytes);
        }
    }
}

TEST(BlurStream, RefusesWhatItCannotDo) {
    BlurStream stream;
    std::uint8_t row[4] = {};
    for (const BlurStreamRequest& request : std::vector<BlurStreamRequest>{{0, 1, 1, false, 1, 1},
                                                                           {1, 0, 1, false, 1, 1},
                                                                           {1, 1, 0, false, 1, 1},
                                                                           {1, 1, 5, false, 1, 1},
                                                                           {1, 1, 3, true, 1, 1},
                                                                           {1, 1, 1, false, -1, 1},
                                                                           {1, 1, 1, false, 1, 16001},
                                                                           {1, 1, 1, false, 1, 1, 0}}) {
        EXPECT_FALSE(stream.Start(request));
        EXPECT_FALSE(stream.Feed(row));
        EXPECT_FALSE(stream.Take(row));
    }
}

}  // namespace
