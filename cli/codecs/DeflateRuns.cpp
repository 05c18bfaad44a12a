#include "codecs/DeflateRuns.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <new>

namespace {

// A word is a byte, or kRun + so many repetitions of the byte before.
constexpr std::size_t kBytes = 256, kEndOfBlock = 256, kSymbols = 286;
constexpr std::uint32_t kRun = 256, kShortest = 3, kLongest = 258, kWords = kRun + kLongest + 1;
constexpr std::size_t kBlockWords = 32768;  // which have frequencies of their own

// How deflate writes a number of repetitions: a symbol, and what is left in bits behind it.
struct RunCode {
    std::uint16_t symbol = 0;
    std::uint8_t extraBits = 0;
    std::uint16_t extra = 0;
};

constexpr std::array<RunCode, kLongest + 1> kRunCodes = [] {
    std::array<RunCode, kLongest + 1> codes{};
    std::uint32_t first = kShortest;
    for (std::uint16_t symbol = 257; symbol < 285; ++symbol) {
        const int step = (symbol - 257) / 4;
        const auto bits = static_cast<std::uint8_t>(step == 0 ? 0 : step - 1);
        for (std::uint32_t i = 0; i < 1U << bits && first + i < kLongest; ++i)
            codes[first + i] = {symbol, bits, static_cast<std::uint16_t>(i)};
        first += 1U << bits;
    }
    codes[kLongest] = {285, 0, 0};
    return codes;
}();

struct Code {
    std::uint32_t bits = 0;  // the first one lowest
    std::uint32_t count = 0;
};

using Numbers = std::array<std::uint32_t, kSymbols>;  // by symbol

// How many bits each symbol has in the code that is best for such weights; 0 for a weight of 0. The most of them.
std::uint32_t FindLengths(const Numbers& weights, Numbers* lengths) {
    std::array<std::uint16_t, kSymbols> order{};  // of the symbols that are there, the lightest first
    std::size_t count = 0;
    for (std::size_t i = 0; i < kSymbols; ++i)
        if (weights[i] > 0) order[count++] = static_cast<std::uint16_t>(i);
    std::sort(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(count),
              [&](auto a, auto b) { return weights[a] != weights[b] ? weights[a] < weights[b] : a < b; });
    // The two lightest become one, again and again. One that is made is no lighter than those made before it.
    Numbers made{}, parents{}, parentsOfMade{};
    std::size_t next = 0, nextMade = 0;
    for (std::uint32_t i = 0; i + 1 < count; ++i)
        for (int side = 0; side < 2; ++side) {
            const bool symbol = nextMade == i || (next < count && weights[order[next]] <= made[nextMade]);
            made[i] += symbol ? weights[order[next]] : made[nextMade];
            (symbol ? parents[next++] : parentsOfMade[nextMade++]) = i;
        }
    Numbers depths{};
    for (std::size_t i = count < 2 ? 0 : count - 2; i-- > 0;) depths[i] = depths[parentsOfMade[i]] + 1;
    lengths->fill(0);
    for (std::size_t i = 0; i < count; ++i) (*lengths)[order[i]] = depths[parents[i]] + 1;
    return *std::max_element(lengths->begin(), lengths->end());
}

// Codes that fit the frequencies, none above `longest`; no code where nothing is.
void MakeCodes(const std::uint32_t* frequencies, std::size_t symbols, std::uint32_t longest, Code* codes) {
    Numbers weights{}, lengths{};
    std::copy_n(frequencies, symbols, weights.begin());
    // Weights that are nearer to each other make codes that are shorter.
    while (FindLengths(weights, &lengths) > longest)
        for (std::uint32_t& weight : weights) weight = (weight + 1) / 2;
    // Short codes first, and among those of a length in order of the symbols.
    std::uint32_t code = 0;
    for (std::uint32_t length = 1; length <= longest; ++length, code <<= 1)
        for (std::size_t i = 0; i < symbols; ++i) {
            if (lengths[i] != length) continue;
            codes[i] = {0, length};
            for (std::uint32_t bit = 0; bit < length; ++bit) codes[i].bits |= (code >> bit & 1) << (length - 1 - bit);
            ++code;
        }
}

class Bits {
public:
    explicit Bits(std::vector<std::uint8_t>* bytes) : bytes_(bytes), used_(bytes->size()) {}

    // Room for so many more bits.
    void Reserve(std::size_t bits) { bytes_->resize(used_ + bits / 8 + 16); }
    void Put(std::uint32_t bits, std::uint32_t count) {
        Add(bits, count);
        Flush();
    }
    // Without Flush in between, 48 bits at most.
    void Add(std::uint32_t bits, std::uint32_t count) {
        held_ |= std::uint64_t{bits} << count_;
        count_ += count;
    }
    void Flush() {
        std::uint8_t* to = bytes_->data() + used_;
        if constexpr (std::endian::native == std::endian::little) {
            std::memcpy(to, &held_, 8);
        } else {
            for (int i = 0; i < 8; ++i) to[i] = static_cast<std::uint8_t>(held_ >> (8 * i));
        }
        used_ += count_ / 8;
        held_ >>= count_ / 8 * 8;
        count_ %= 8;
    }
    void PutBytes(const std::uint8_t* bytes, std::size_t count) {
        std::memcpy(bytes_->data() + used_, bytes, count);
        used_ += count;
    }
    void ToEndOfByte() { Put(0, (8 - count_) % 8); }
    void End() { bytes_->resize(used_); }

private:
    std::vector<std::uint8_t>* bytes_;
    std::size_t used_;
    std::uint64_t held_ = 0;
    std::uint32_t count_ = 0;
};

// Bytes as words, and how often each symbol is among them.
struct Block {
    std::array<std::uint16_t, kBlockWords> words{};
    std::size_t count = 0;
    Numbers frequencies{};

    // As many bytes as there is room for: their number.
    std::size_t Read(const std::uint8_t* bytes, std::size_t size);
};

std::size_t Block::Read(const std::uint8_t* bytes, std::size_t size) {
    frequencies.fill(0);
    frequencies[kEndOfBlock] = 1;
    std::array<std::uint32_t, kBytes> others{};  // counts in turns with that: one does not wait for the other
    count = 0;
    std::size_t at = 0;
    while (at < size && count < kBlockWords) {
        words[count++] = bytes[at];
        ++(at % 2 == 0 ? frequencies.data() : others.data())[bytes[at]];
        ++at;
        while (at + 4 <= size && count < kBlockWords) {
            std::uint32_t before = 0, next = 0;
            std::memcpy(&before, bytes + at - 1, 4);
            std::memcpy(&next, bytes + at, 4);
            if (before != next) break;
            // Four repetitions, or more.
            const std::size_t most = std::min<std::size_t>(size - at, kLongest);
            std::uint32_t repetitions = 4;
            while (repetitions < most && bytes[at + repetitions] == bytes[at]) ++repetitions;
            words[count++] = static_cast<std::uint16_t>(kRun + repetitions);
            ++frequencies[kRunCodes[repetitions].symbol];
            at += repetitions;
        }
    }
    for (std::size_t i = 0; i < kBytes; ++i) frequencies[i] += others[i];
    return at;
}

// The lengths of codes, of which only zeros are taken together.
struct Lengths {
    static constexpr std::uint8_t kZeros = 18, kFewZeros = 17;
    struct Entry {
        std::uint8_t symbol, extra, extraBits;
    };
    std::vector<Entry> entries;

    void Add(const Code* codes, std::size_t count) {
        for (std::size_t i = 0; i < count;) {
            std::size_t end = i;
            while (end < count && codes[end].count == 0 && end - i < 138) ++end;
            const std::size_t zeros = end - i;
            if (zeros >= 11) {
                entries.push_back({kZeros, static_cast<std::uint8_t>(zeros - 11), 7});
            } else if (zeros >= 3) {
                entries.push_back({kFewZeros, static_cast<std::uint8_t>(zeros - 3), 3});
            } else {
                entries.push_back({static_cast<std::uint8_t>(codes[i].count), 0, 0});
                end = i + 1;
            }
            i = end;
        }
    }
};

void PutStored(const std::uint8_t* bytes, std::size_t size, bool last, Bits* bits) {
    bits->Reserve(size * 8 + 64);
    bits->Put(last ? 1 : 0, 3);
    bits->ToEndOfByte();
    bits->Put(static_cast<std::uint32_t>(size), 16);
    bits->Put(~static_cast<std::uint32_t>(size) & 0xFFFF, 16);
    if (size > 0) bits->PutBytes(bytes, size);
}

void PutBlock(const std::uint8_t* bytes, std::size_t size, bool last, const Block& block, Bits* bits) {
    std::array<Code, kSymbols> codes{};
    MakeCodes(block.frequencies.data(), kSymbols, 15, codes.data());
    // The only distance is 1, in one bit.
    const Code distance{0, 1};
    Lengths lengths;
    lengths.Add(codes.data(), kSymbols);
    lengths.Add(&distance, 1);
    constexpr std::array<std::uint8_t, 19> kOrder = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    std::array<std::uint32_t, 19> lengthFrequencies{};
    for (const Lengths::Entry& entry : lengths.entries) ++lengthFrequencies[entry.symbol];
    std::array<Code, 19> lengthCodes{};
    MakeCodes(lengthFrequencies.data(), lengthFrequencies.size(), 7, lengthCodes.data());

    std::array<Code, kWords> words{};
    std::copy_n(codes.begin(), kBytes, words.begin());
    for (std::uint32_t run = kShortest; run <= kLongest; ++run) {
        const RunCode& way = kRunCodes[run];
        const Code& code = codes[way.symbol];
        words[kRun + run] = {code.bits | std::uint32_t{way.extra} << code.count,
                             code.count + way.extraBits + distance.count};
    }
    std::size_t length = 3 + 5 + 5 + 4 + 3 * kOrder.size() + codes[kEndOfBlock].count;
    for (const Lengths::Entry& entry : lengths.entries) length += lengthCodes[entry.symbol].count + entry.extraBits;
    for (std::size_t i = 0; i < block.count; ++i) length += words[block.words[i]].count;
    constexpr std::size_t kMostStored = 65535;
    if (length > 8 * size + 40 && size <= kMostStored) return PutStored(bytes, size, last, bits);

    bits->Reserve(length);
    bits->Put(last ? 5 : 4, 3);
    bits->Put(kSymbols - 257, 5);
    bits->Put(0, 5);
    bits->Put(static_cast<std::uint32_t>(kOrder.size()) - 4, 4);
    for (const std::uint8_t symbol : kOrder) bits->Put(lengthCodes[symbol].count, 3);
    for (const Lengths::Entry& entry : lengths.entries) {
        bits->Put(lengthCodes[entry.symbol].bits, lengthCodes[entry.symbol].count);
        bits->Put(entry.extra, entry.extraBits);
    }
    std::size_t i = 0;
    for (; i + 2 <= block.count; i += 2) {
        const Code &first = words[block.words[i]], &second = words[block.words[i + 1]];
        bits->Add(first.bits, first.count);
        bits->Add(second.bits, second.count);
        bits->Flush();
    }
    if (i < block.count) bits->Put(words[block.words[i]].bits, words[block.words[i]].count);
    bits->Put(codes[kEndOfBlock].bits, codes[kEndOfBlock].count);
}

}  // namespace

bool DeflateRuns(const std::vector<std::uint8_t>& bytes, bool last, std::vector<std::uint8_t>* result) noexcept {
    try {
        Bits bits(result);
        const auto block = std::make_unique<Block>();
        for (std::size_t at = 0; at < bytes.size();) {
            const std::uint8_t* from = bytes.data() + at;
            const std::size_t size = block->Read(from, bytes.size() - at);
            at += size;
            PutBlock(from, size, last && at == bytes.size(), *block, &bits);
        }
        // An empty block that is stored ends with a byte.
        if (!last) PutStored(nullptr, 0, false, &bits);
        bits.Reserve(0);
        bits.ToEndOfByte();
        bits.End();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}
