#include "exchange/Clipping.h"

namespace zor {

namespace {

// One axis of a transfer. Neither axis ever looks at the other before the end, so each goes through the steps by
// itself.
struct Axis {
    std::int64_t dst;
    std::int64_t size;
    std::int64_t src;
};

void ClipAxis(Axis* axis, std::int64_t dstLimit, std::int64_t srcLimit) {
    if (axis->src < 0) {
        axis->dst += axis->src;
        axis->size += axis->src;
        axis->src = 0;
    }
    if (axis->size < 0) {
        axis->dst += axis->size;
        axis->size = -axis->size;
    }
    if (axis->dst < 0) {
        axis->src -= axis->dst;
        axis->size += axis->dst;
        axis->dst = 0;
    }
    if (axis->dst >= dstLimit) axis->size = 0;
    if (axis->dst + axis->size > dstLimit) axis->size = dstLimit - axis->dst;
    if (axis->src + axis->size > srcLimit) axis->size = srcLimit - axis->src;
}

}  // namespace

bool ClipTransfer(TransferRect* rect, TransferSize dst, TransferSize src) {
    Axis x{rect->dstX, rect->width, rect->srcX};
    Axis y{rect->dstY, rect->height, rect->srcY};
    ClipAxis(&x, dst.width, src.width);
    ClipAxis(&y, dst.height, src.height);
    *rect = {x.dst, y.dst, x.size, y.size, x.src, y.src};
    return rect->width > 0 && rect->height > 0;
}

bool PassTransferGate(ImageClassData* dst, ImageClassData* src) {
    if (!src || !src->Valid || !IsUsable(dst)) return false;
    YieldIfAsked(dst);
    if (!IsUsable(src)) return false;
    YieldIfAsked(src);
    return true;
}

}  // namespace zor
