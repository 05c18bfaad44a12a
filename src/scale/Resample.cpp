#include "scale/Resample.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "core/Storage.h"
#include "scale/FanOut.h"
#include "scale/Passes.h"

namespace zor {

namespace {

// Only a band that no thread could be had for takes a name, and it names the calling thread; workers keep theirs.
void NameCatchUpBand(const char* text, int index, signed char threaded) {
    if (index < 0 || threaded) return;
    char name[32];
    if (std::snprintf(name, sizeof name, "%s %d", text, index) > 0) gWorkerSystem.setThreadName(name);
}

// True if bytes `from` to `pastLast` of one row reach into another row, so that rows must be written in order.
bool RowsMeet(const ImageClassData* record, std::int64_t from, std::int64_t pastLast) {
    return pastLast - from > std::abs(std::int64_t{record->RowSize});
}

bool TempRowsMeet(const ResampleRequest& request) {
    return RowsMeet(request.temp, 0, std::int64_t{request.width} * request.pair->pitch);
}

bool DstRowsMeet(const ResampleRequest& request) {
    const ChannelSet written = OffsetsOf(request.dst, request.pair->written);
    const std::int64_t lastPixel = (request.width - std::int64_t{1}) * request.dst->PixelSize;
    return RowsMeet(request.dst, written.lowest(), lastPixel + written.highest() + 1);
}

// A pass that one band does. The host has the turn then that it has in every pass on workers.
template <class Job>
void RunOneBand(const ResampleRequest& request, const Job& job, int count, WorkFunction work) {
    RunThreads(-1, count, &job, work);
    if (request.threads >= 0) REALYieldToRB();
}

// A pass on workers. The application gets turns while they are at it, and may close the images.
template <class Job>
void RunPinned(const ResampleRequest& request, const Job& job, int count, WorkFunction work) {
    StoragePin src(job.src), dst(job.dst);
    if (!src.record() || !dst.record()) return RunOneBand(request, job, count, work);
    Job pinned = job;
    pinned.src = src.record();
    pinned.dst = dst.record();
    RunThreads(request.threads, count, &pinned, work);
}

bool YieldsBetweenRows(const ResampleRequest& request) {
    return !request.threaded && request.dst->YieldTicks > 0;
}

// One pass over `count` rows. The bands of a fan-out work in no order and at the same time, which must not show: where
// rows depend on their order, or where row access changes the record, one band does it all, and the application has no
// turn before it is done.
template <class Job>
void RunPass(const ResampleRequest& request, Job job, int count, bool rowsMeet,
             void (*rows)(const Job& job, int first, int last, PassScratch* scratch), WorkFunction work) {
    job.pixelByPixel = ImagesOverlap(job.src, job.dst);
    if (request.threaded) {
        const bool oneBand = job.pixelByPixel || rowsMeet || job.src->IsMapping || job.dst->IsMapping;
        if (oneBand) {
            RunOneBand(request, job, count, work);
        } else {
            RunPinned(request, job, count, work);
        }
        return;
    }
    PassScratch scratch;
    if (!YieldsBetweenRows(request)) {
        rows(job, 0, count - 1, &scratch);
        return;
    }
    // The application may do anything to the images while it has its turn.
    for (int y = 0; y < count; ++y) {
        rows(job, y, y, &scratch);
        if (!YieldIfAsked(request.dst)) continue;
        scratch.ahead = scratch.aheadEnd = 0;
        job.pixelByPixel = ImagesOverlap(job.src, job.dst);
    }
}

}  // namespace

void PictureScale3mt(int first, int last, int index, signed char threaded, void const* data) {
    NameCatchUpBand("PictureScale Horizontal", index, threaded);
    if (first > last) return;
    PassScratch scratch;
    HorizontalRows(*static_cast<const HorizontalJob*>(data), first, last, &scratch);
}

void PictureScale6mt(int first, int last, int index, signed char threaded, void const* data) {
    NameCatchUpBand("PictureScale Vertical", index, threaded);
    const VerticalJob& job = *static_cast<const VerticalJob*>(data);
    if (first > last || job.width < 1) return;
    PassScratch scratch;
    VerticalRows(job, first, last, &scratch);
}

bool Resample(const ResampleRequest& request) {
    // Both passes share the array, so that nothing can fail any more once the target is written to.
    ContributionTable table;
    if (!table.Allocate(std::max(request.width, request.height))) return false;
    YieldData* const yield = request.threaded ? nullptr : request.dst;
    const int srcWidth = request.src->Width, srcHeight = request.src->Height;
    const double xScale = static_cast<double>(request.width) / srcWidth;
    const double yScale = static_cast<double>(request.height) / srcHeight;

    table.Build(*request.kernel, ScaleAxis::kHorizontal, xScale, srcWidth, request.width, yield);
    {
        TapTable tapTable;
        const bool haveTaps = tapTable.Build(table.lists(), request.width, ScaleAxis::kHorizontal, request.pair->luma);
        const Taps taps = tapTable.taps();
        HorizontalJob job{};
        job.src = request.src;
        job.dst = request.temp;
        job.width = request.width;
        job.pair = request.pair;
        job.srcWidth = srcWidth;
        job.lists = table.lists();
        job.taps = haveTaps ? &taps : nullptr;
        job.kernels = request.kernels;
        job.pastLast = YieldsBetweenRows(request) ? srcHeight : 0;
        RunPass(request, job, srcHeight, TempRowsMeet(request), HorizontalRows, PictureScale3mt);
    }
    table.FreeEntries();

    // The temporary image may have more rows than the source; those are part of the picture as they stand.
    table.Build(*request.kernel, ScaleAxis::kVertical, yScale, request.temp->Height, request.height, yield);
    TapTable tapTable;
    const bool haveTaps = tapTable.Build(table.lists(), request.height, ScaleAxis::kVertical, false);
    const Taps taps = tapTable.taps();
    VerticalJob job{};
    job.src = request.temp;
    job.dst = request.dst;
    job.width = request.width;
    job.pair = request.pair;
    job.lists = table.lists();
    job.taps = haveTaps ? &taps : nullptr;
    job.kernels = request.kernels;
    RunPass(request, job, request.height, DstRowsMeet(request), VerticalRows, PictureScale6mt);
    return true;
}

}  // namespace zor
