#include "compositing/LayerWalk.h"

#include <algorithm>

#include "core/RowAccess.h"
#include "core/Storage.h"

namespace {

constexpr int kMostLayers = 3;

// The rows of one layer. An address on a file-backed image is good only until the next row of the same image, so where
// an image stands in two layers, the second works through a window of its own, just as a view would.
class LayerRows {
public:
    LayerRows() = default;
    ~LayerRows() { Forget(); }
    LayerRows(const LayerRows&) = delete;
    LayerRows& operator=(const LayerRows&) = delete;

    void Open(ImageClassData* image, bool ownWindow) {
        image_ = image;
        ownWindow_ = ownWindow;
    }

    RowSpan Row(std::int64_t y) {
        if (!ownWindow_ || !image_->IsMapping) return GetRowSpan(image_, static_cast<int>(y));
        if (!open_) {
            window_ = *image_;
            window_.IsMapped = false;
            window_.Pixels = nullptr;
            window_.MappedFirstRow = window_.MappedLastRow = -1;
            open_ = true;
        }
        return GetRowSpan(&window_, static_cast<int>(y));
    }

    // The image may not be what it was: its file may be closed, or another one be in its place.
    void Forget() {
        if (open_) ReleaseWindow(&window_);
        open_ = false;
    }

private:
    ImageClassData* image_ = nullptr;
    bool ownWindow_ = false;
    bool open_ = false;
    ImageClassData window_{};
};

// A pixel some of whose bytes cannot be touched, in some layer: by way of packed samples.
void WorkEdgePixel(const Layer* layers, const RowSpan* rows, int layerCount, std::ptrdiff_t index, PixelKernel kernel,
                   const ColourSamples& colour) {
    std::uint8_t packed[kMostLayers][kMostChannels];
    PixelRun runs[kMostLayers];
    for (int i = 0; i < layerCount; ++i) {
        const Layer& layer = layers[i];
        GatherPixels(rows[i], layer.pixelSize, layer.channels, static_cast<std::ptrdiff_t>(layer.x) + index, 1,
                     packed[i]);
        runs[i] = {packed[i], 0, layer.channels.count, {0, 1, 2, 3}};
    }
    kernel(runs, 1, colour);
    ScatterPixels(rows[0], layers[0].pixelSize, layers[0].channels, static_cast<std::ptrdiff_t>(layers[0].x) + index, 1,
                  packed[0]);
}

// The bytes from the first to the last channel of a run of pixels.
StorageRange BytesOf(const PixelRun& run, const ChannelSet& channels, std::ptrdiff_t count) {
    const std::uintptr_t base = reinterpret_cast<std::uintptr_t>(run.pixels);
    return {base + static_cast<std::uintptr_t>(channels.lowest()),
            base + static_cast<std::uintptr_t>((count - 1) * run.step + channels.highest() + 1)};
}

// True if what the kernel writes into the target's run cannot be what it reads from one of the others.
bool RunsAreApart(const Layer* layers, const PixelRun* runs, int layerCount, std::ptrdiff_t count) {
    const StorageRange target = BytesOf(runs[0], layers[0].channels, count);
    for (int i = 1; i < layerCount; ++i) {
        const StorageRange other = BytesOf(runs[i], layers[i].channels, count);
        if (target.begin < other.end && other.begin < target.end) return false;
        const bool bothInFiles = layers[0].image->IsMapping && layers[i].image->IsMapping;
        if (bothInFiles && ImagesOverlap(layers[0].image, layers[i].image)) return false;
    }
    return true;
}

void WorkRow(const Layer* layers, const RowSpan* rows, int layerCount, std::ptrdiff_t width, RowKernel kernel,
             const ColourSamples& colour) {
    // Nothing is written outside of `reached`, and inside of `free` nothing needs a test.
    PixelRange reached{}, free{};
    for (int i = 0; i < layerCount; ++i) {
        const Layer& layer = layers[i];
        const std::ptrdiff_t x = static_cast<std::ptrdiff_t>(layer.x);
        const PixelRange inside = PixelsInside(rows[i], layer.pixelSize, layer.channels, x, width);
        if (i == 0) {
            reached = PixelsReached(rows[0], layer.pixelSize, layer.channels, x, width);
            free = inside;
        } else {
            free.first = std::clamp(inside.first, free.first, free.last);
            free.last = std::clamp(inside.last, free.first, free.last);
        }
    }

    for (std::ptrdiff_t i = reached.first; i < free.first; ++i) {
        WorkEdgePixel(layers, rows, layerCount, i, kernel.inOrder, colour);
    }
    if (free.first < free.last) {
        const std::ptrdiff_t count = free.last - free.first;
        PixelRun runs[kMostLayers];
        for (int i = 0; i < layerCount; ++i) {
            runs[i] = RunOf(layers[i], rows[i].data, static_cast<std::ptrdiff_t>(layers[i].x) + free.first);
        }
        const bool apart = kernel.apart && RunsAreApart(layers, runs, layerCount, count);
        (apart ? kernel.apart : kernel.inOrder)(runs, count, colour);
    }
    for (std::ptrdiff_t i = free.last; i < reached.last; ++i) {
        WorkEdgePixel(layers, rows, layerCount, i, kernel.inOrder, colour);
    }
}

}  // namespace

Layer LayerOf(ImageClassData* image, std::int64_t x, std::int64_t y, bool withAlpha) {
    Layer layer{image, x, y, {}, image->PixelSize};
    if (image->IsGray || image->IsRGB) layer.channels = ChannelsOf(image, withAlpha);
    return layer;
}

PixelRun RunOf(const Layer& layer, std::uint8_t* row, std::ptrdiff_t column) {
    PixelRun run{row + column * layer.pixelSize, layer.pixelSize, layer.channels.count, {}};
    std::copy(layer.channels.offset, layer.channels.offset + layer.channels.count, run.channels);
    return run;
}

void WalkLayers(const Layer* layers, int layerCount, std::int64_t width, std::int64_t height, RowKernel kernel,
                const ColourSamples& colour) {
    LayerRows rowsOf[kMostLayers];
    for (int i = 0; i < layerCount; ++i) {
        const Layer* const sameImage =
            std::find_if(layers, layers + i, [&](const Layer& other) { return other.image == layers[i].image; });
        rowsOf[i].Open(layers[i].image, sameImage != layers + i);
    }
    for (std::int64_t y = 0; y < height; ++y) {
        RowSpan rows[kMostLayers];
        bool allThere = true;
        for (int i = 0; i < layerCount; ++i) {
            rows[i] = rowsOf[i].Row(layers[i].y + y);
            allThere = allThere && rows[i];
        }
        if (allThere) WorkRow(layers, rows, layerCount, static_cast<std::ptrdiff_t>(width), kernel, colour);

        YieldData* const yield = layers[0].image;
        if (yield->YieldTicks <= 0) continue;
        YieldIfAsked(yield);
        for (int i = 0; i < layerCount; ++i) rowsOf[i].Forget();
    }
}
