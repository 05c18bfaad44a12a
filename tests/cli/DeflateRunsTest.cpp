// Bytes deflated by frequencies and runs, against zlib.

#include "codecs/DeflateRuns.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <random>

namespace {

using Bytes = std::vector<std::uint8_t>;

// What zlib makes of a whole raw stream, which must end where the bytes do.
Bytes Inflated(const Bytes& stream, std::size_t expected) {
    Bytes bytes(expected + 1);
    z_stream zlib{};
    EXPECT_EQ(inflateInit2(&zlib, -15), Z_OK);
    zlib.next_in = const_cast<Bytef*>(stream.data());
    zlib.avail_in = static_cast<uInt>(stream.size());
    zlib.next_out = bytes.data();
    zlib.avail_out = static_cast<uInt>(bytes.size());
    EXPECT_EQ(inflate(&zlib, Z_FINISH), Z_STREAM_END);
    EXPECT_EQ(zlib.avail_in, 0U);
    bytes.resize(zlib.total_out);
    inflateEnd(&zlib);
    return bytes;
}

// By zlib's own strategy of the same kind.
std::size_t ZlibSize(const Bytes& bytes) {
    z_stream zlib{};
    EXPECT_EQ(deflateInit2(&zlib, 6, Z_DEFLATED, -15, 9, Z_RLE), Z_OK);
    Bytes result(deflateBound(&zlib, bytes.size()));
    zlib.next_in = const_cast<Bytef*>(bytes.data());
    zlib.avail_in = static_cast<uInt>(bytes.size());
    zlib.next_out = result.data();
    zlib.avail_out = static_cast<uInt>(result.size());
    EXPECT_EQ(deflate(&zlib, Z_FINISH), Z_STREAM_END);
    deflateEnd(&zlib);
    return zlib.total_out;
}

std::size_t ExpectSame(const Bytes& bytes) {
    Bytes stream;
    EXPECT_TRUE(DeflateRuns(bytes, true, &stream));
    EXPECT_TRUE(Inflated(stream, bytes.size()) == bytes) << bytes.size() << " bytes";
    return stream.size();
}

Bytes MakeBytes(std::size_t count, int kind, std::mt19937& random) {
    Bytes bytes(count);
    const double width = 1 + static_cast<double>(random() % 60);
    std::exponential_distribution<double> falling(1 / width);
    for (std::size_t i = 0; i < count; ++i) {
        const auto number = static_cast<unsigned>(random());
        bytes[i] = static_cast<std::uint8_t>(number >> 24);
        if (kind == 1) bytes[i] %= 3;
        if (kind == 2 && i > 0 && number % 50 != 0) bytes[i] = bytes[i - 1];
        if (kind == 3) bytes[i] = 0;
        if (kind == 4) bytes[i] = static_cast<std::uint8_t>(static_cast<int>(falling(random)));
    }
    return bytes;
}

TEST(DeflateRuns, GivesBackAnyBytes) {
    std::mt19937 random(1);
    for (int kind = 0; kind < 5; ++kind)
        for (const std::size_t count : {1, 2, 3, 4, 5, 6, 258, 259, 260, 263, 517, 32767, 32768, 32769, 65537, 300000})
            ExpectSame(MakeBytes(count, kind, random));
    for (int i = 0; i < 500; ++i) ExpectSame(MakeBytes(1 + random() % 3000, i % 5, random));
}

TEST(DeflateRuns, GivesBackRunsOfEveryLength) {
    for (std::size_t length = 1; length < 600; ++length) {
        Bytes bytes(3, 9);
        bytes.insert(bytes.end(), length, 200);
        ExpectSame(bytes);
        bytes.push_back(7);
        ExpectSame(bytes);
    }
}

TEST(DeflateRuns, JoinsParts) {
    std::mt19937 random(2);
    for (int i = 0; i < 100; ++i) {
        Bytes all, stream;
        for (int part = 0; part < 4; ++part) {
            const Bytes bytes = MakeBytes(1 + random() % 90000, static_cast<int>(random() % 5), random);
            all.insert(all.end(), bytes.begin(), bytes.end());
            ASSERT_TRUE(DeflateRuns(bytes, part == 3, &stream));
        }
        EXPECT_TRUE(Inflated(stream, all.size()) == all);
    }
}

// Each byte about as frequent as all that are less so: codes would have more bits than the format allows.
TEST(DeflateRuns, KeepsCodesWithinFifteenBits) {
    for (int symbols = 2; symbols <= 21; ++symbols) {
        Bytes bytes;
        std::size_t last = 1, next = 1;
        for (int symbol = 0; symbol < symbols; ++symbol) {
            bytes.insert(bytes.end(), last, static_cast<std::uint8_t>(symbol * 11));
            next += last;
            last = next - last;
        }
        // No runs.
        std::shuffle(bytes.begin(), bytes.end(), std::mt19937(3));
        ExpectSame(bytes);
    }
}

TEST(DeflateRuns, IsAsSmallAsZlibDoesTheSame) {
    std::mt19937 random(4);
    for (int kind = 0; kind < 5; ++kind) {
        const Bytes bytes = MakeBytes(400000, kind, random);
        EXPECT_LE(ExpectSame(bytes), ZlibSize(bytes) * 102 / 100 + 20) << kind;
    }
}

}  // namespace
