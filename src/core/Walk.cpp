#include "core/Walk.h"

#include <algorithm>

#include "core/RowAccess.h"
#include "core/Storage.h"

namespace zor {

Layer LayerOf(ImageClassData* image, std::int64_t x, std::int64_t y, const ChannelSet& channels) {
    Layer layer = LayerOfRows(x, channels, image->PixelSize);
    layer.image = image;
    layer.y = y;
    return layer;
}

Layer LayerOfRows(std::int64_t x, const ChannelSet& channels, std::ptrdiff_t pixelSize) {
    Layer layer{nullptr, x, 0, channels, pixelSize, 0, 0, nullptr, nullptr};
    if (channels.count > 0) {
        layer.first = channels.lowest();
        layer.end = channels.highest() + 1;
    }
    return layer;
}

bool ReachWholePixels(Layer* layer) {
    if (layer->pixelSize < 1 || layer->channels.count < 1) return false;
    const std::ptrdiff_t lowest = layer->channels.lowest(), size = layer->pixelSize;
    const std::ptrdiff_t first = (lowest - (lowest % size + size) % size);
    if (layer->channels.highest() >= first + size) return false;
    layer->first = first;
    layer->end = first + size;
    return true;
}

// --- columns --------------------------------------------------------------------------------------------------------

namespace {

// Those that kernels may work on freely in all layers.
PixelRange FreePixels(const Walk& walk, const RowSpan* rows) {
    PixelRange free{0, walk.width};
    for (int i = 0; i < walk.layerCount; ++i) {
        const Layer& layer = walk.layers[i];
        const PixelRange inside =
            PixelsWithin(rows[i], layer.pixelSize, layer.first, layer.end - 1, layer.x, walk.width);
        free.first = i == 0 ? inside.first : std::clamp(inside.first, free.first, free.last);
        free.last = std::clamp(inside.last, free.first, i == 0 ? walk.width : free.last);
    }
    return free;
}

// --- a pixel at the edge of the storage -----------------------------------------------------------------------------

// A pixel of which some bytes cannot be touched in some layer. Every byte that its channels name gets a cell, the same
// cell wherever it is named again, so that in-place work shows what it would show in the storage itself. Bytes outside
// have cells of their own, which begin as 0 and are dropped.
void WorkEdgePixel(const Walk& walk, const RowSpan* rows, std::int64_t step, std::int64_t column, RunFn run,
                   void* work) {
    constexpr int kMaxCells = Layer::kMax * ChannelSet::kMax;
    std::uint8_t cells[kMaxCells];
    std::uint8_t* places[kMaxCells];
    int count = 0;
    RunSet set{{}, 1, static_cast<std::ptrdiff_t>(column), step, Sharing::mixed};
    for (int i = 0; i < walk.layerCount; ++i) {
        const Layer& layer = walk.layers[i];
        set.run[i] = {cells, 0, {layer.channels.count, {}}};
        for (int c = 0; c < layer.channels.count; ++c) {
            const std::int64_t at = (layer.x + column) * layer.pixelSize + layer.channels.offset[c];
            const bool inside = at >= rows[i].begin && at < rows[i].end;
            std::uint8_t* const place = inside ? rows[i].data + static_cast<std::ptrdiff_t>(at) : nullptr;
            int cell = inside ? static_cast<int>(std::find(places, places + count, place) - places) : count;
            if (cell == count) {
                places[count] = place;
                cells[count++] = inside ? *place : std::uint8_t{0};
            }
            set.run[i].channels.offset[c] = cell;
        }
    }
    run(work, set);
    const ChannelSet& written = set.run[0].channels;
    for (int c = 0; c < written.count; ++c) {
        std::uint8_t* const place = places[written.offset[c]];
        if (place) *place = cells[written.offset[c]];
    }
}

// --- runs -----------------------------------------------------------------------------------------------------------

StorageRange BytesOf(const PixelRun& run, const Layer& layer, std::ptrdiff_t count) {
    const std::uintptr_t base = reinterpret_cast<std::uintptr_t>(run.pixels);
    return {base + static_cast<std::uintptr_t>(layer.first),
            base + static_cast<std::uintptr_t>((count - 1) * run.step + layer.end)};
}

bool IsSameRun(const PixelRun& a, const PixelRun& b) {
    return a.pixels == b.pixels && a.step == b.step && SameOffsets(a.channels, b.channels) && AreDistinct(a.channels) &&
           a.channels.highest() - a.channels.lowest() < a.step;
}

Sharing SharingOf(const Walk& walk, const RunSet& set) {
    Sharing sharing = Sharing::apart;
    const Layer& dst = walk.layers[0];
    const StorageRange written = BytesOf(set.run[0], dst, set.count);
    for (int i = 1; i < walk.layerCount; ++i) {
        const Layer& layer = walk.layers[i];
        const StorageRange read = BytesOf(set.run[i], layer, set.count);
        const bool bothInFiles = dst.image && layer.image && dst.image->IsMapping && layer.image->IsMapping;
        if (!Meet(written, read) && !(bothInFiles && ImagesOverlap(dst.image, layer.image))) continue;
        if (!IsSameRun(set.run[0], set.run[i])) return Sharing::mixed;
        sharing = Sharing::same;
    }
    return sharing;
}

void WorkFreePixels(const Walk& walk, const RowSpan* rows, std::int64_t step, PixelRange free, RunFn run, void* work) {
    RunSet set{{},
               static_cast<std::ptrdiff_t>(free.last - free.first),
               static_cast<std::ptrdiff_t>(free.first),
               step,
               Sharing::apart};
    for (int i = 0; i < walk.layerCount; ++i) {
        const Layer& layer = walk.layers[i];
        const std::int64_t at = (layer.x + free.first) * layer.pixelSize;
        set.run[i] = {rows[i].data + static_cast<std::ptrdiff_t>(at), layer.pixelSize, layer.channels};
    }
    set.sharing = SharingOf(walk, set);
    run(work, set);
}

}  // namespace

void WorkRow(const Walk& walk, const RowSpan* rows, std::int64_t step, RunFn run, void* work) {
    for (int i = 0; i < walk.layerCount; ++i) {
        if (!rows[i] || walk.layers[i].channels.count < 1) return;
    }
    if (walk.width < 1) return;
    const Layer& dst = walk.layers[0];
    const PixelRange free = FreePixels(walk, rows);
    // Nothing is written outside of these.
    const PixelRange reached = walk.everyPixel ? PixelRange{0, walk.width}
                                               : PixelsReached(rows[0], dst.pixelSize, dst.channels, dst.x, walk.width);
    for (std::int64_t x = reached.first; x < std::min(free.first, reached.last); ++x) {
        WorkEdgePixel(walk, rows, step, x, run, work);
    }
    if (free.first < free.last) WorkFreePixels(walk, rows, step, free, run, work);
    for (std::int64_t x = std::max(free.last, reached.first); x < reached.last; ++x) {
        WorkEdgePixel(walk, rows, step, x, run, work);
    }
}

// --- rows -----------------------------------------------------------------------------------------------------------

namespace {

// The rows of one layer. An address in a file-backed image is good only until the next row of the same image, so where
// an image stands in two layers with different rows, the second works through a window of its own, just as a view
// would.
class LayerRows {
public:
    LayerRows() = default;
    ~LayerRows() { Forget(); }
    LayerRows(const LayerRows&) = delete;
    LayerRows& operator=(const LayerRows&) = delete;

    void Open(const Layer* layer, bool ownWindow) {
        layer_ = layer;
        ownWindow_ = ownWindow;
    }

    RowSpan Row(std::int64_t step) {
        if (layer_->rowAt) return layer_->rowAt(layer_->rows, step);
        const int y = static_cast<int>(layer_->y + step);
        if (!ownWindow_ || !layer_->image->IsMapping) return GetRowSpan(layer_->image, y);
        if (!open_) {
            window_ = *layer_->image;
            window_.IsMapped = false;
            window_.Pixels = nullptr;
            window_.MappedFirstRow = window_.MappedLastRow = -1;
            open_ = true;
        }
        return GetRowSpan(&window_, y);
    }

    // The image may not be what it was: its file may be closed, or another one be in its place.
    void Forget() {
        if (open_) ReleaseWindow(&window_);
        open_ = false;
    }

private:
    const Layer* layer_ = nullptr;
    bool ownWindow_ = false;
    bool open_ = false;
    ImageClassData window_{};
};

constexpr int kNoLayer = -1;

// The layer before this one that goes by the same image; kNoLayer without.
int LayerOfSameImage(const Walk& walk, int layer) {
    for (int i = 0; i < layer; ++i) {
        const Layer &a = walk.layers[i], &b = walk.layers[layer];
        if (a.image && a.image == b.image && !a.rowAt && !b.rowAt) return i;
    }
    return kNoLayer;
}

}  // namespace

bool WalkRuns(const Walk& walk, RunFn run, void* work) {
    const ImageClassData* const written = walk.layers[0].image;
    const bool goesOn = walk.everyPixel || walk.stopAtMissingRow || (walk.yield && walk.yield->YieldTicks > 0);
    if (written && !goesOn && HoldsNothing(written)) return true;
    LayerRows rowsOf[Layer::kMax];
    int sameRows[Layer::kMax];  // an earlier layer that has the same rows
    for (int i = 0; i < walk.layerCount; ++i) {
        const int other = LayerOfSameImage(walk, i);
        const bool same = other != kNoLayer && walk.layers[other].y == walk.layers[i].y;
        sameRows[i] = same ? other : kNoLayer;
        rowsOf[i].Open(&walk.layers[i], other != kNoLayer);
    }
    for (std::int64_t step = 0; step < walk.height; ++step) {
        RowSpan rows[Layer::kMax]{};
        bool allThere = true;
        for (int i = 0; i < walk.layerCount; ++i) {
            rows[i] = sameRows[i] == kNoLayer ? rowsOf[i].Row(step) : rows[sameRows[i]];
            allThere = allThere && rows[i];
        }
        if (allThere) {
            WorkRow(walk, rows, step, run, work);
        } else if (walk.stopAtMissingRow) {
            return false;
        }
        if (!walk.yield || walk.yield->YieldTicks <= 0) continue;
        YieldIfAsked(walk.yield);
        for (int i = 0; i < walk.layerCount; ++i) rowsOf[i].Forget();
    }
    return true;
}

}  // namespace zor
