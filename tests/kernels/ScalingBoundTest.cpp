// The proofs of the filtered scaler under attack: samples at which the integers are as wrong as they can be, and the
// sum that defines the result is a hair above or below the byte that they would take; and spans that are flat but for
// one sample. All tiers are held against the plain one.

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include "kernels/Tiers.h"
#include "scale/TapTable.h"
#include "support/Images.h"

using namespace zor;

namespace {

using Bytes = std::vector<std::uint8_t>;

std::size_t Size(std::int64_t count) {
    return static_cast<std::size_t>(count);
}

struct Sizes {
    int from, to;
};

class Table {
public:
    Table(int mode, const Sizes& size, ScaleAxis axis, bool luma, Ending ending) {
        EXPECT_TRUE(lists_.Allocate(size.to));
        lists_.Build(*KernelOfMode(mode), axis, static_cast<double>(size.to) / size.from, size.from, size.to, nullptr);
        EXPECT_TRUE(table_.Build(lists_.lists(), size.to, axis, luma, ending));
        taps = table_.taps();
    }
    // One list of it as a table.
    Taps Only(int list) const {
        Taps one = taps;
        one.count = 1;
        one.lists += list;
        one.weights += static_cast<std::ptrdiff_t>(list) * taps.stride;
        one.coarse += static_cast<std::ptrdiff_t>(list) * taps.stride * taps.sets();
        one.fine += static_cast<std::ptrdiff_t>(list) * taps.stride * taps.sets();
        return one;
    }
    Taps taps{};

private:
    ContributionTable lists_;
    TapTable table_;
};

// --- samples at the bound -------------------------------------------------------------------------------------------

// A sum of bytes by its shares, and the integers that stand for them.
struct Sum {
    std::vector<double> shares;
    const std::int16_t* coarse;
    const std::int16_t* fine;
    IntegerForm form;
    double goal;  // where bytes change: 0, or 0.5 for the nearest

    double Of(const Bytes& bytes) const {
        double sum = 0.0;
        for (std::size_t k = 0; k < shares.size(); ++k) sum += bytes[k] * shares[k];
        return sum;
    }
    // What the integers leave of each share, counted in 2^-shift.
    std::vector<double> Left(bool withFine) const {
        std::vector<double> left;
        for (std::size_t k = 0; k < shares.size(); ++k) {
            const double rest = std::ldexp(shares[k], form.shift) - coarse[k];
            left.push_back(withFine ? rest - std::ldexp(fine[k], -form.fineShift) : rest);
        }
        return left;
    }
};

// Bytes from `least` on, that are at most `levels` apart.
struct Span {
    int least, levels;
};
constexpr Span kAllBytes{0, 255};

double Fraction(double value) {
    return value - std::floor(value);
}

// How far the coarse integers may be off.
int BoundOf(const IntegerForm& form, Span span) {
    return std::min(form.bound, form.boundOfLevel * span.levels + form.boundOfNone);
}

// Bytes for which the errors `left` add up as far as they go, and the sum lies just behind a whole number (and the
// goal), on that side of it: 1 above, -1 below. Two bytes are given up for that, of those that matter least.
std::vector<Bytes> BytesAtTheBound(const Sum& sum, const std::vector<double>& left, int side, Span span) {
    const std::size_t count = sum.shares.size();
    Bytes worst(count);
    std::vector<std::size_t> free;
    for (std::size_t k = 0; k < count; ++k) {
        worst[k] = static_cast<std::uint8_t>(left[k] * side > 0.0 ? span.least + span.levels : span.least);
        if (std::fabs(sum.shares[k]) > 1e-5) free.push_back(k);
    }
    std::sort(free.begin(), free.end(),
              [&](std::size_t a, std::size_t b) { return std::fabs(left[a]) < std::fabs(left[b]); });
    free.resize(std::min<std::size_t>(free.size(), 5));

    struct Change {
        double ahead;  // by how much of a whole number it takes the sum to the side
        std::size_t tap;
        std::uint8_t byte;
    };
    std::vector<Change> changes;
    for (const std::size_t k : free) {
        for (int byte = span.least; byte <= span.least + span.levels; ++byte) {
            changes.push_back({Fraction(side * (byte - worst[k]) * sum.shares[k]), k, static_cast<std::uint8_t>(byte)});
        }
    }
    std::sort(changes.begin(), changes.end(), [](const Change& a, const Change& b) { return a.ahead < b.ahead; });

    struct Found {
        double behind;
        Bytes bytes;
    };
    std::vector<Found> found;
    const double start = side * (sum.Of(worst) - sum.goal);
    for (std::size_t i = 0; i < changes.size(); i += 3) {
        const double missing = 1.0 - Fraction(start + changes[i].ahead);
        auto other = std::lower_bound(changes.begin(), changes.end(), missing,
                                      [](const Change& change, double value) { return change.ahead < value; });
        while (other != changes.end() && other->tap == changes[i].tap) ++other;
        if (other == changes.end()) continue;
        Bytes bytes = worst;
        bytes[changes[i].tap] = changes[i].byte;
        bytes[other->tap] = other->byte;
        const double value = sum.Of(bytes);
        if (value > 0.9 && value < 254.9) found.push_back({other->ahead - missing, bytes});
    }
    std::sort(found.begin(), found.end(), [](const Found& a, const Found& b) { return a.behind < b.behind; });
    // The nearest ones, and some at other distances within the bound.
    const double bound = std::ldexp(BoundOf(sum.form, span), -sum.form.shift);
    std::vector<Bytes> result;
    for (std::size_t i = 0; i < found.size() && result.size() < 8; i += i < 4 ? 1 : 1 + found.size() / 16) {
        if (found[i].behind <= bound || i == 0) result.push_back(found[i].bytes);
    }
    return result;
}

struct Attack {
    std::vector<Bytes> samples;  // each as many as the sum has shares
    int wrong = 0;               // of those: the coarse integers alone would give another byte
    int fineWrong = 0;           // and so would both
    int atBound = 0;             // of those: off by more than four fifths of the bound
};

Attack AttackOn(const Sum& sum, Span span = kAllBytes) {
    Attack attack;
    if (!sum.form.usable || sum.form.bound == 0) return attack;
    const std::vector<double> left = sum.Left(false), leftByBoth = sum.Left(true);
    for (const int side : {1, -1}) {
        for (const bool fine : {false, true}) {
            for (const Bytes& bytes : BytesAtTheBound(sum, fine ? leftByBoth : left, side, span)) {
                const double value = sum.Of(bytes) - sum.goal;
                double off = 0.0, offByBoth = 0.0;
                for (std::size_t k = 0; k < bytes.size(); ++k) {
                    off += bytes[k] * left[k];
                    offByBoth += bytes[k] * leftByBoth[k];
                }
                const double scale = std::ldexp(1.0, -sum.form.shift);
                attack.wrong += std::floor(value) != std::floor(value - off * scale);
                attack.fineWrong += std::floor(value) != std::floor(value - offByBoth * scale);
                attack.atBound += std::fabs(off) > 0.8 * BoundOf(sum.form, span);
                attack.samples.push_back(bytes);
            }
        }
    }
    return attack;
}

Sum SumOf(const Taps& one, bool luma) {
    const TapList& list = one.lists[0];
    Sum sum;
    const std::ptrdiff_t plain = one.luma && !luma ? 3 * std::ptrdiff_t{one.stride} : 0;
    sum.coarse = one.coarse + plain;
    sum.fine = one.fine + plain;
    sum.form = luma ? list.lumaForm : list.form;
    sum.goal = one.ending == Ending::nearest ? 0.5 : 0.0;
    for (int c = 0; c < (luma ? 3 : 1); ++c) {
        for (int k = 0; k < one.stride; ++k) {
            const double share = static_cast<double>(one.weights[k]) / list.weightSum;
            sum.shares.push_back(luma ? kLumaFactors[c] * share : share);
        }
    }
    return sum;
}

constexpr Sizes kSizes[] = {{400, 100}, {400, 108}, {100, 400}, {61, 17}, {90, 91}, {91, 90}, {20, 50}, {700, 13}};
constexpr Ending kEndings[] = {Ending::truncate, Ending::nearest};

// Some lists of a table, those at the borders among them.
std::vector<int> SomeLists(const Taps& taps) {
    std::vector<int> lists;
    for (int i = 0; i < taps.count; i += 1 + taps.count / 9) lists.push_back(i);
    lists.push_back(taps.count - 1);
    return lists;
}

struct Counts {
    int samples = 0, wrong = 0, fineWrong = 0, atBound = 0;
    void Add(const Attack& attack) {
        samples += static_cast<int>(attack.samples.size());
        wrong += attack.wrong;
        fineWrong += attack.fineWrong;
        atBound += attack.atBound;
    }
    // Or there was no attack.
    void Check() const {
        EXPECT_GT(samples, 3000);
        EXPECT_GT(wrong, samples / 2);
        EXPECT_GT(fineWrong, samples / 40);
        EXPECT_GT(atBound, samples / 4);
    }
};

// Runs the kernels of all tiers over the same block, against the plain one.
void CompareRows(const RowBlock& like, ResampleShape shape, const char* what) {
    static const std::vector<KernelTier> tiers = RunnableTiers();
    static const KernelTable plain = PickKernels(CpuTier::plain).table;
    RowBlock block = like;
    Bytes scratch(Size(RowScratchBytes(shape, block.taps->stride)));
    block.scratch = scratch.data();
    const std::size_t size = Size(block.taps->count) * Size(block.pitch);
    Bytes expected(size * RowBlock::kMaxRows), result(expected.size());
    for (int r = 0; r < block.rows; ++r) block.dst[r] = expected.data() + Size(r) * size;
    plain.scaling.alongRows[shape](block);
    for (int r = 0; r < block.rows; ++r) block.dst[r] = result.data() + Size(r) * size;
    for (const KernelTier& tier : tiers) {
        std::fill(result.begin(), result.end(), std::uint8_t{111});
        std::fill(result.begin() + block.rows * static_cast<std::ptrdiff_t>(size), result.end(), std::uint8_t{0});
        tier.table.scaling.alongRows[shape](block);
        ASSERT_EQ(result, expected) << tier.name << ": " << what << ", shape " << shape;
    }
}

void CompareStacks(const Taps& taps, int list, const std::vector<Bytes>& rows, const char* what) {
    static const std::vector<KernelTier> tiers = RunnableTiers();
    static const KernelTable plain = PickKernels(CpuTier::plain).table;
    std::vector<const std::uint8_t*> pointers;
    for (const Bytes& row : rows) pointers.push_back(row.data());
    Bytes expected(rows[0].size()), result(expected.size());
    RowStack stack{};
    stack.rows = pointers.data();
    stack.count = static_cast<std::ptrdiff_t>(expected.size());
    stack.taps = &taps;
    stack.list = list;
    stack.lists = 1;
    stack.dst[0] = expected.data();
    plain.scaling.acrossRows(stack);
    stack.dst[0] = result.data();
    for (const KernelTier& tier : tiers) {
        std::fill(result.begin(), result.end(), std::uint8_t{111});
        tier.table.scaling.acrossRows(stack);
        ASSERT_EQ(result, expected) << tier.name << ": " << what;
    }
}

// Every plane of a pixel with an attack of its own; with luma, the first three together.
TEST(ScalingBounds, HoldForTheWorstBytesOfRows) {
    Random random(5);
    Counts counts, lumaCounts;
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        for (const Sizes& size : kSizes) {
            for (const bool luma : {false, true}) {
                const Ending ending = kEndings[(mode + size.to + luma) % 2];
                const Table table(mode, size, ScaleAxis::kHorizontal, luma, ending);
                for (const int x : SomeLists(table.taps)) {
                    const Taps one = table.Only(x);
                    const TapList& list = one.lists[0];
                    const int channels = random.Between(1, luma ? 2 : 5);
                    const ResampleShape shape = ResampleShapeOf(channels, luma);
                    const Attack attack = AttackOn(SumOf(one, false));
                    const Attack onLuma = luma ? AttackOn(SumOf(one, true)) : Attack();
                    counts.Add(attack);
                    lumaCounts.Add(onLuma);
                    const std::vector<Bytes>& first = luma ? onLuma.samples : attack.samples;
                    if (first.empty()) continue;

                    const int planes = PlanesOf(shape), width = list.first + list.taps;
                    RowBlock block{};
                    block.width = width;
                    block.step = planes + random.Between(0, 2);
                    for (int p = 0; p < planes; ++p) block.offset[p] = p;
                    block.taps = &one;
                    block.pitch = channels;
                    for (int c = 0; c < channels; ++c) block.byteOf[c] = c;
                    for (std::size_t from = 0; from < first.size(); from += RowBlock::kMaxRows) {
                        block.rows = static_cast<int>(std::min<std::size_t>(first.size() - from, RowBlock::kMaxRows));
                        std::vector<Bytes> rows(Size(block.rows), Bytes(Size(width * block.step)));
                        for (std::size_t r = 0; r < rows.size(); ++r) {
                            for (std::uint8_t& byte : rows[r]) byte = random.Byte();
                            for (int p = 0; p < planes; ++p) {
                                const bool ofLuma = luma && p < 3;
                                const std::vector<Bytes>& samples = ofLuma ? onLuma.samples : attack.samples;
                                if (samples.empty()) continue;
                                const Bytes& bytes = samples[(from + r + (ofLuma ? 0 : Size(p))) % samples.size()];
                                for (int k = 0; k < list.taps; ++k) {
                                    rows[r][Size((list.first + k) * block.step + p)] =
                                        bytes[Size((ofLuma ? p * one.stride : 0) + k)];
                                }
                            }
                            block.src[r] = rows[r].data();
                        }
                        CompareRows(block, shape, KernelOfMode(mode)->name);
                        if (HasFatalFailure()) FAIL() << size.from << " to " << size.to << ", list " << x;
                    }
                }
            }
        }
    }
    counts.Check();
    lumaCounts.Check();
}

TEST(ScalingBounds, HoldForTheWorstBytesOfStacks) {
    Counts counts;
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        for (const Sizes& size : kSizes) {
            for (const Ending ending : kEndings) {
                const Table table(mode, size, ScaleAxis::kVertical, false, ending);
                for (const int y : SomeLists(table.taps)) {
                    const Attack attack = AttackOn(SumOf(table.Only(y), false));
                    counts.Add(attack);
                    if (attack.samples.empty()) continue;
                    // A column for each, and again, so that all lanes have one.
                    const std::size_t columns = 71;
                    std::vector<Bytes> rows(Size(table.taps.lists[y].taps), Bytes(columns));
                    for (std::size_t k = 0; k < rows.size(); ++k) {
                        for (std::size_t i = 0; i < columns; ++i) {
                            rows[k][i] = attack.samples[i % attack.samples.size()][k];
                        }
                    }
                    CompareStacks(table.taps, y, rows, KernelOfMode(mode)->name);
                    if (HasFatalFailure()) FAIL() << size.from << " to " << size.to << ", list " << y;
                }
            }
        }
    }
    counts.Check();
}

// Bytes near each other leave less open: that is attacked in the same way.
TEST(ScalingBounds, HoldForTheWorstBytesNearEachOther) {
    Random random(6);
    int samples = 0, wrong = 0, nearBound = 0;
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        for (const Sizes& size : kSizes) {
            for (const Ending ending : kEndings) {
                const Table table(mode, size, ScaleAxis::kVertical, false, ending);
                for (const int y : SomeLists(table.taps)) {
                    std::vector<Bytes> columns;
                    for (const int levels : {1, 3, 10, 40, 130}) {
                        const Span span{random.Between(0, 255 - levels), levels};
                        const Attack attack = AttackOn(SumOf(table.Only(y), false), span);
                        columns.insert(columns.end(), attack.samples.begin(), attack.samples.end());
                        wrong += attack.wrong;
                        nearBound += attack.atBound;
                    }
                    samples += static_cast<int>(columns.size());
                    if (columns.empty()) continue;
                    std::vector<Bytes> rows(Size(table.taps.lists[y].taps), Bytes(columns.size() + 37));
                    for (std::size_t k = 0; k < rows.size(); ++k) {
                        for (std::size_t i = 0; i < rows[k].size(); ++i) rows[k][i] = columns[i % columns.size()][k];
                    }
                    CompareStacks(table.taps, y, rows, KernelOfMode(mode)->name);
                    if (HasFatalFailure()) FAIL() << size.from << " to " << size.to << ", list " << y;
                }
            }
        }
    }
    EXPECT_GT(samples, 10000);
    EXPECT_GT(wrong, samples / 4);
    EXPECT_GT(nearBound, samples / 100);
}

// --- flat spans -----------------------------------------------------------------------------------------------------

// Reduced so far, spans are longer than a byte can count; then some places of the change have to do.
constexpr Sizes kFlatSizes[] = {{60, 20}, {61, 17}, {40, 41}, {20, 50}, {30, 90}, {1300, 9}, {2100, 7}};

int PlacesApart(const Sizes& size) {
    return size.from > 100 ? 37 : 1;
}
int BytesApart(const Sizes& size) {
    return size.from > 100 ? 51 : 5;
}

// Other values at each place, so that all come by.
std::uint8_t OtherThan(Random& random, int flat) {
    const int other = random.Chance(50) ? flat + (random.Chance(50) ? 1 : -1) : random.Byte();
    return static_cast<std::uint8_t>(other == flat || other < 0 || other > 255 ? 255 - flat : other);
}

TEST(FlatSpansWithOneOtherByte, AreNotTakenForFlatAlongRows) {
    Random random(9);
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        for (const Sizes& size : kFlatSizes) {
            for (const Ending ending : kEndings) {
                const Table table(mode, size, ScaleAxis::kHorizontal, false, ending);
                for (int flat = random.Between(0, BytesApart(size) - 1); flat < 256; flat += BytesApart(size)) {
                    const int channels = random.Between(1, 4);
                    RowBlock block{};
                    block.width = size.from;
                    block.step = channels;
                    block.taps = &table.taps;
                    block.pitch = channels;
                    for (int c = 0; c < channels; ++c) block.offset[c] = block.byteOf[c] = c;
                    std::vector<Bytes> rows(RowBlock::kMaxRows);
                    int place = random.Between(0, PlacesApart(size) - 1);
                    while (place < size.from) {
                        block.rows = 0;
                        // The first row of a block stays flat.
                        while (block.rows < RowBlock::kMaxRows && place < size.from) {
                            Bytes& row = rows[Size(block.rows)];
                            row.assign(Size(size.from * channels), static_cast<std::uint8_t>(flat));
                            if (block.rows > 0) {
                                row[Size(place * channels + random.Between(0, channels - 1))] = OtherThan(random, flat);
                                place += PlacesApart(size);
                            }
                            block.src[block.rows++] = row.data();
                        }
                        CompareRows(block, ResampleShapeOf(channels, false), KernelOfMode(mode)->name);
                        if (HasFatalFailure()) FAIL() << size.from << " to " << size.to << ", flat " << flat;
                    }
                }
            }
        }
    }
}

TEST(FlatSpansWithOneOtherByte, AreNotTakenForFlatAcrossRows) {
    Random random(10);
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        for (const Sizes& size : kFlatSizes) {
            for (const Ending ending : kEndings) {
                const Table table(mode, size, ScaleAxis::kVertical, false, ending);
                for (const int y : SomeLists(table.taps)) {
                    // All bytes side by side, each with its change at another tap in every round.
                    const int taps = table.taps.lists[y].taps;
                    for (int shift = -1; shift < taps; shift += 1 + taps / 10) {
                        std::vector<Bytes> rows(Size(taps), Bytes(256 + 19));
                        for (std::size_t i = 0; i < rows[0].size(); ++i) {
                            for (Bytes& row : rows) row[i] = static_cast<std::uint8_t>(i);
                            if (shift >= 0) {
                                std::uint8_t& byte = rows[(Size(shift) + i) % rows.size()][i];
                                byte = OtherThan(random, byte);
                            }
                        }
                        CompareStacks(table.taps, y, rows, KernelOfMode(mode)->name);
                        if (HasFatalFailure()) FAIL() << size.from << " to " << size.to << ", list " << y;
                    }
                }
            }
        }
    }
}

// Runs of equal samples that end at every column, odd or even, of stripes as wide as spans and a little more or less.
TEST(FlatSpansWithOneOtherByte, EndAnywhere) {
    Random random(11);
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        for (const Sizes& size :
             {Sizes{400, 100}, Sizes{400, 107}, Sizes{300, 450}, Sizes{300, 900}, Sizes{3000, 11}}) {
            const Table table(mode, size, ScaleAxis::kHorizontal, false, kEndings[random.Between(0, 1)]);
            for (int round = 0; round < 6; ++round) {
                RowBlock block{};
                const int channels = random.Between(1, 4);
                block.rows = random.Between(1, RowBlock::kMaxRows);
                block.width = size.from;
                block.step = channels;
                block.taps = &table.taps;
                block.pitch = channels;
                for (int c = 0; c < channels; ++c) block.offset[c] = block.byteOf[c] = c;
                std::vector<Bytes> rows(Size(block.rows), Bytes(Size(size.from * channels)));
                for (std::size_t r = 0; r < rows.size(); ++r) {
                    for (int c = 0; c < channels; ++c) {
                        int end = 0;
                        std::uint8_t byte = 0;
                        for (int x = 0; x < size.from; ++x) {
                            if (x == end) {
                                byte = random.Chance(50) ? static_cast<std::uint8_t>(byte + 1) : random.Byte();
                                end += random.Between(1, 2 * table.taps.stride);
                            }
                            rows[r][Size(x * channels + c)] = byte;
                        }
                    }
                    block.src[r] = rows[r].data();
                }
                CompareRows(block, ResampleShapeOf(channels, false), KernelOfMode(mode)->name);
                if (HasFatalFailure()) FAIL() << size.from << " to " << size.to;
            }
        }
    }
}

}  // namespace
