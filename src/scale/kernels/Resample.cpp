#include "scale/kernels/Resample.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "core/Storage.h"
#include "scale/kernels/Passes.h"
#include "scale/FanOut.h"

namespace {

using PassFunction = void (*)(const ScaleJob& job, int first, int last, PassScratch* scratch);

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

bool TargetRowsMeet(const ResampleRequest& request) {
    const ScalePair& pair = *request.pair;
    int lowest = request.target->*pair.written[0], highest = lowest;
    for (int i = 1; i < pair.writes; ++i) {
        lowest = std::min(lowest, request.target->*pair.written[i]);
        highest = std::max(highest, request.target->*pair.written[i]);
    }
    const std::int64_t lastPixel = (request.width - std::int64_t{1}) * request.target->PixelSize;
    return RowsMeet(request.target, lowest, lastPixel + highest + 1);
}

// A pass that one band does. The host has the turn then that it has in every pass on workers.
void RunOneBand(const ResampleRequest& request, const ScaleJob& job, int count, WorkFunction work) {
    RunThreads(-1, count, &job, work);
    if (request.threads >= 0) REALYieldToRB();
}

// A pass on workers. The application gets turns while they are at it, and may close the images.
void RunPinned(const ResampleRequest& request, const ScaleJob& job, int count, WorkFunction work) {
    StoragePin temp(request.temp);
    StoragePin other(job.source ? job.source : job.dest);
    ScaleJob pinned = job;
    pinned.temp = temp.record();
    (job.source ? pinned.source : pinned.dest) = other.record();
    if (temp.record() && other.record()) {
        RunThreads(request.threads, count, &pinned, work);
    } else {
        RunOneBand(request, job, count, work);
    }
}

// One pass over `count` rows from `read` into `write`. The bands of a fan-out work in no order and at the same time,
// which must not show: where rows depend on their order, or where row access changes the record, one band does it all,
// and the application has no turn before it is done.
void RunPass(const ResampleRequest& request, ScaleJob* job, int count, const ImageClassData* read,
             const ImageClassData* write, bool rowsMeet, PassFunction rows, WorkFunction work) {
    job->pixelByPixel = ImagesOverlap(read, write);
    if (request.threaded) {
        const bool oneBand = job->pixelByPixel || rowsMeet || read->IsMapping || write->IsMapping;
        if (oneBand) {
            RunOneBand(request, *job, count, work);
        } else {
            RunPinned(request, *job, count, work);
        }
        return;
    }
    PassScratch scratch;
    YieldData* const yield = request.target;
    if (yield->YieldTicks <= 0) {
        rows(*job, 0, count - 1, &scratch);
        return;
    }
    // The application may do anything to the images while it has its turn.
    job->singleRows = true;
    for (int y = 0; y < count; ++y) {
        rows(*job, y, y, &scratch);
        YieldIfAsked(yield);
        job->pixelByPixel = ImagesOverlap(read, write);
    }
}

}  // namespace

void PictureScale3mt(int first, int last, int index, signed char threaded, void const* data) {
    NameCatchUpBand("PictureScale Horizontal", index, threaded);
    if (first > last) return;
    PassScratch scratch;
    PassOneRows(*static_cast<const ScaleJob*>(data), first, last, &scratch);
}

void PictureScale6mt(int first, int last, int index, signed char threaded, void const* data) {
    NameCatchUpBand("PictureScale Vertical", index, threaded);
    const ScaleJob& job = *static_cast<const ScaleJob*>(data);
    if (first > last || job.width < 1) return;
    PassScratch scratch;
    PassTwoRows(job, first, last, &scratch);
}

bool Resample(const ResampleRequest& request) {
    // Both passes share the array, so that nothing can fail any more once the target is written to.
    ContributionTable table;
    if (!table.Allocate(std::max(request.width, request.height))) return false;
    YieldData* const yield = request.threaded ? nullptr : request.target;
    const int sourceWidth = request.source->Width, sourceHeight = request.source->Height;
    const double xScale = static_cast<double>(request.width) / sourceWidth;
    const double yScale = static_cast<double>(request.height) / sourceHeight;

    table.Build(*request.kernel, ScaleAxis::kHorizontal, xScale, sourceWidth, request.width, yield);
    {
        TapTable taps;
        const bool haveTaps = taps.Build(table.lists(), request.width);
        ScaleJob job{};
        job.source = request.source;
        job.width = request.width;
        job.temp = request.temp;
        job.lists = table.lists();
        job.pair = request.pair;
        job.sourceWidth = sourceWidth;
        job.taps = haveTaps ? &taps : nullptr;
        job.ops = request.ops;
        RunPass(request, &job, sourceHeight, request.source, request.temp, TempRowsMeet(request), PassOneRows,
                PictureScale3mt);
    }
    table.FreeEntries();

    // The temporary image may have more rows than the source; those are part of the picture as they stand.
    table.Build(*request.kernel, ScaleAxis::kVertical, yScale, request.temp->Height, request.height, yield);
    ScaleJob job{};
    job.dest = request.target;
    job.height = request.height;
    job.width = request.width;
    job.temp = request.temp;
    job.lists = table.lists();
    job.pair = request.pair;
    job.ops = request.ops;
    RunPass(request, &job, request.height, request.temp, request.target, TargetRowsMeet(request), PassTwoRows,
            PictureScale6mt);
    return true;
}
