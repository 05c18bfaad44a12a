#include "codecs/PngPixels.h"

#include <zlib.h>

#include <algorithm>
#include <new>
#include <utility>

#include "PixelKind.h"
#include "codecs/DeflateRuns.h"
#include "codecs/PngDeflate.h"
#include "codecs/PngFilter.h"

namespace {

constexpr std::size_t kBandBytes = 1 << 19;  // so many that what lies between bands costs nothing
constexpr std::size_t kMostBytes = 1 << 24;  // of bands at a time; one is worked on however large it is
constexpr std::size_t kWindow = 32768;       // how far back bytes may be repeated
constexpr int kMostThreads = 8;

std::size_t RowsOfBand(const ImageShape& shape, std::size_t rowBytes) {
    return std::clamp<std::size_t>(kBandBytes / (rowBytes + 1), 1, static_cast<std::size_t>(shape.height));
}

int ThreadsFor(std::size_t rows, std::size_t bandRows) {
    const std::size_t bands = (rows + bandRows - 1) / bandRows;
    return static_cast<int>(std::min<std::size_t>(bands, std::min(Workers::ThreadsFor(0), kMostThreads)));
}

}  // namespace

PngPixels::PngPixels(const ImageShape& shape, int level, Take take)
    : rowBytes_(static_cast<std::size_t>(shape.width) * static_cast<unsigned>(Describe(shape.kind).channels)),
      step_(static_cast<unsigned>(Describe(shape.kind).channels)),
      bandRows_(RowsOfBand(shape, rowBytes_)),
      rowsLeft_(static_cast<std::size_t>(shape.height)),
      level_(level),
      take_(std::move(take)),
      above_(rowBytes_),
      trial_(rowBytes_),
      sum_(adler32(0, nullptr, 0)),
      workers_(ThreadsFor(rowsLeft_, bandRows_)) {
    const std::size_t threads = static_cast<unsigned>(ThreadsFor(rowsLeft_, bandRows_));
    mostBands_ = std::clamp<std::size_t>(kMostBytes / (bandRows_ * rowBytes_), 1, threads + 1);
    plain_.reserve(bandRows_ * (rowBytes_ + 1));
}

void PngPixels::AddRow(const std::uint8_t* row) {
    plain_.push_back(0);
    plain_.insert(plain_.end(), row, row + rowBytes_);
    --rowsLeft_;
    if (rowsLeft_ == 0 || plain_.size() == bandRows_ * (rowBytes_ + 1)) CloseBand();
    if (rowsLeft_ == 0)
        while (!bands_.empty()) TakeFirst();
}

void PngPixels::FilterRows(std::size_t first, std::size_t end) {
    for (std::size_t y = first; y < end; ++y) {
        const std::size_t at = y * (rowBytes_ + 1);
        const std::uint8_t* row = plain_.data() + at + 1;
        const std::uint8_t* above = y == 0 ? above_.data() : row - rowBytes_ - 1;
        FilterPngRowBest(row, above, rowBytes_, step_, trial_.data(), filtered_.data() + at);
    }
}

// Leaves what is to be deflated in `plain_`. What cameras have taken does not repeat once it is filtered: looking for
// it takes long and brings less than that some bytes are frequent. Drawings and texts repeat, most of all unfiltered.
PngPixels::Ways PngPixels::ChooseWays() {
    if (level_ == 0) return {.repetitions = true};
    // A part from the middle is enough to tell.
    const std::size_t rows = plain_.size() / (rowBytes_ + 1), first = rows / 8 * 3, end = rows - first;
    const std::size_t from = first * (rowBytes_ + 1), count = (end - first) * (rowBytes_ + 1);
    filtered_.resize(plain_.size());
    FilterRows(first, end);
    const double plain = GuessWithRepetitions(plain_.data() + from, count, false);
    const double filtered = GuessWithRepetitions(filtered_.data() + from, count, true);
    const double runs = GuessWithRuns(filtered_.data() + from, count);
    constexpr double kWorthIt = 0.85;
    constexpr int kTryingLevel = 9;
    const bool repeats = std::min(plain, filtered) < kWorthIt * runs;
    if (repeats && plain < filtered) return {.repetitions = true};
    FilterRows(0, first);
    FilterRows(end, rows);
    plain_.swap(filtered_);
    const bool both = level_ >= kTryingLevel;
    return {.runs = both || !repeats, .repetitions = both || repeats};
}

void PngPixels::CloseBand() {
    if (bands_.size() == mostBands_) TakeFirst();
    auto band = std::make_unique<Band>();
    std::vector<std::uint8_t> lastRow(plain_.end() - static_cast<std::ptrdiff_t>(rowBytes_), plain_.end());
    band->ways = ChooseWays();
    band->level = level_;
    above_.swap(lastRow);
    band->last = rowsLeft_ == 0;
    band->bytes.swap(plain_);
    band->before.swap(before_);
    const std::vector<std::uint8_t>& bytes = band->bytes;
    before_.assign(bytes.end() - static_cast<std::ptrdiff_t>(std::min(bytes.size(), kWindow)), bytes.end());
    if (!band->last) plain_.reserve(bandRows_ * (rowBytes_ + 1));
    bands_.push_back(std::move(band));
    bands_.back()->number = workers_.Add([last = bands_.back().get()] { Deflate(*last); });
}

void PngPixels::Deflate(Band& band) noexcept {
    band.sum = adler32_z(adler32(0, nullptr, 0), band.bytes.data(), band.bytes.size());
    std::vector<std::uint8_t> other;
    if (band.ways.runs && !DeflateRuns(band.bytes, band.last, &band.deflated)) return;
    if (band.ways.repetitions && !DeflateRepetitions(band.bytes, band.before, band.last, band.level, &other)) return;
    if (!band.ways.runs || (band.ways.repetitions && other.size() < band.deflated.size())) band.deflated.swap(other);
    band.good = true;
}

void PngPixels::TakeFirst() {
    const std::unique_ptr<Band> band = std::move(bands_.front());
    workers_.WaitFor(band->number);
    bands_.pop_front();
    if (!band->good) throw std::bad_alloc();
    // As zlib writes it: two bytes in front of the stream, the sum of what was deflated behind it.
    if (!begun_) take_({0x78, 0x9C});
    begun_ = true;
    take_(band->deflated);
    sum_ = adler32_combine(sum_, band->sum, static_cast<z_off_t>(band->bytes.size()));
    if (!band->last) return;
    std::vector<std::uint8_t> sum;
    for (const int shift : {24, 16, 8, 0}) sum.push_back(static_cast<std::uint8_t>(sum_ >> shift));
    take_(sum);
}
