#include "codecs/PngDeflate.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

namespace {

// How often each byte is there; neighbours in turns, as one count does not wait for the other then.
struct Counts {
    std::array<std::array<std::uint32_t, 256>, 4> of{};

    void Add(const std::uint8_t* bytes, std::size_t from, std::size_t to) {
        for (; from + 4 <= to; from += 4)
            for (std::size_t i = 0; i < 4; ++i) ++of[i][bytes[from + i]];
        for (; from < to; ++from) ++of[0][bytes[from]];
    }

    // Each with as many bits as it is seldom.
    [[nodiscard]] double Bits() const {
        std::array<double, 256> sums{};
        double all = 0, bits = 0;
        for (std::size_t i = 0; i < 256; ++i) sums[i] = of[0][i] + of[1][i] + of[2][i] + of[3][i];
        for (const double sum : sums) all += sum;
        for (const double sum : sums)
            if (sum > 0) bits += sum * std::max(std::log2(all / sum), 1.0);
        return bits;
    }
};

std::uint32_t Four(const std::uint8_t* bytes) {
    return bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 | std::uint32_t{bytes[3]} << 24;
}

std::uint64_t Eight(const std::uint8_t* bytes) {
    return Four(bytes) | std::uint64_t{Four(bytes + 4)} << 32;
}

constexpr double kLongest = 258;  // of one repetition, in bytes

}  // namespace

double GuessWithRepetitions(const std::uint8_t* bytes, std::size_t count, bool filtered) {
    // Eight bytes that stood somewhere before are a repetition. Where there are none for long, fewer places are tried.
    constexpr unsigned kTableBits = 13, kPatience = 6;
    constexpr std::size_t kFurthest = 32768;
    constexpr double kBits = 20;
    std::array<std::uint32_t, 1 << kTableBits> seen{};
    Counts apart;
    double repetitions = 0, inThem = 0;
    std::size_t misses = 0, from = 0;
    for (std::size_t at = 0; at + 8 <= count;) {
        const std::uint64_t eight = Eight(bytes + at);
        std::uint32_t& place = seen[(eight * 0x9E3779B97F4A7C15U) >> (64 - kTableBits)];
        const std::size_t other = place;
        place = static_cast<std::uint32_t>(at);
        if (other >= at || at - other > kFurthest || Eight(bytes + other) != eight) {
            at += 1 + (misses++ >> kPatience);
            continue;
        }
        misses = 0;
        apart.Add(bytes, from, at);
        const std::size_t start = at;
        for (at += 8; at < count && bytes[at] == bytes[at - start + other];) ++at;
        const auto length = static_cast<double>(at - start);
        repetitions += 1 + length / kLongest;
        inThem += length;
        from = at;
    }
    apart.Add(bytes, from, count);
    // Who looks at more places than one finds more, which makes about half of it; but not where filters left bytes that
    // are short enough by themselves.
    const double found = filtered ? 0 : 0.55 * inThem / static_cast<double>(count);
    return (apart.Bits() + kBits * repetitions) / 8 * (1 - found);
}

double GuessWithRuns(const std::uint8_t* bytes, std::size_t count) {
    constexpr double kBits = 8;
    Counts apart;
    double runs = 0;
    std::size_t from = 0;
    for (std::size_t at = 0; at + 4 <= count;) {
        if (Four(bytes + at) != 0x01010101U * bytes[at]) {
            at += 4;
            continue;
        }
        const std::size_t start = at;
        for (at += 4; at < count && bytes[at] == bytes[start];) ++at;
        apart.Add(bytes, from, start + 1);
        runs += 1 + static_cast<double>(at - start) / kLongest;
        from = at;
    }
    apart.Add(bytes, from, count);
    return (apart.Bits() + kBits * runs) / 8;
}

bool DeflateRepetitions(const std::vector<std::uint8_t>& bytes, const std::vector<std::uint8_t>& before, bool last,
                        int level, std::vector<std::uint8_t>* result) noexcept {
    constexpr int kRaw = -15, kMemory = 8;
    constexpr std::size_t kPart = 1 << 30;  // zlib counts in 32 bits
    z_stream stream{};
    if (deflateInit2(&stream, level, Z_DEFLATED, kRaw, kMemory, Z_DEFAULT_STRATEGY) != Z_OK) return false;
    if (!before.empty()) deflateSetDictionary(&stream, before.data(), static_cast<uInt>(before.size()));
    bool good = true;
    std::size_t used = result->size();
    try {
        for (std::size_t at = 0; at < bytes.size();) {
            const std::size_t part = std::min(bytes.size() - at, kPart);
            stream.next_in = const_cast<Bytef*>(bytes.data() + at);
            stream.avail_in = static_cast<uInt>(part);
            at += part;
            const int flush = at < bytes.size() ? Z_NO_FLUSH : last ? Z_FINISH : Z_SYNC_FLUSH;
            do {
                if (result->size() == used) result->resize(used + part / 2 + 1024);
                const std::size_t room = std::min(result->size() - used, kPart);
                stream.next_out = result->data() + used;
                stream.avail_out = static_cast<uInt>(room);
                deflate(&stream, flush);
                used += room - stream.avail_out;
            } while (stream.avail_out == 0);
        }
        result->resize(used);
    } catch (const std::bad_alloc&) {
        good = false;
    }
    deflateEnd(&stream);
    return good;
}
