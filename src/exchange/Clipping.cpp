#include "exchange/Clipping.h"

namespace {

// One axis of a transfer. Neither axis ever looks at the other before the end, so each goes through the steps by
// itself.
struct Axis {
    std::int64_t dest;
    std::int64_t size;
    std::int64_t source;
};

void ClipAxis(Axis* axis, std::int64_t destLimit, std::int64_t sourceLimit) {
    if (axis->source < 0) {
        axis->dest += axis->source;
        axis->size += axis->source;
        axis->source = 0;
    }
    if (axis->size < 0) {
        axis->dest += axis->size;
        axis->size = -axis->size;
    }
    if (axis->dest < 0) {
        axis->source -= axis->dest;
        axis->size += axis->dest;
        axis->dest = 0;
    }
    if (axis->dest >= destLimit) axis->size = 0;
    if (axis->dest + axis->size > destLimit) axis->size = destLimit - axis->dest;
    if (axis->source + axis->size > sourceLimit) axis->size = sourceLimit - axis->source;
}

}  // namespace

bool ClipTransfer(TransferRect* rect, TransferSize dest, TransferSize source) {
    Axis x{rect->destX, rect->width, rect->sourceX};
    Axis y{rect->destY, rect->height, rect->sourceY};
    ClipAxis(&x, dest.width, source.width);
    ClipAxis(&y, dest.height, source.height);
    *rect = {x.dest, y.dest, x.size, y.size, x.source, y.source};
    return rect->width > 0 && rect->height > 0;
}

bool PassTransferGate(ImageClassData* destination, ImageClassData* source) {
    if (!source || !source->Valid || !IsUsable(destination)) return false;
    YieldIfAsked(destination);
    if (!IsUsable(source)) return false;
    YieldIfAsked(source);
    return true;
}
