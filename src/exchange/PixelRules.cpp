#include "exchange/PixelRules.h"

#include "kernels/KernelTable.h"

namespace zor {

PixelPlan MakePlan(PixelRule rule, const ImageClassData* src, const ChannelSet& srcChannels, const ImageClassData* dst,
                   const ChannelSet& dstChannels, bool withAlpha, std::uint8_t alphaMask) {
    PixelPlan plan{nullptr, nullptr, srcChannels, dstChannels, src->PixelSize, dst->PixelSize, alphaMask};
    const Conversion conversion = ConversionOf(rule, srcChannels.count, dstChannels.count);
    if (conversion == kNoConversion) return plan;
    plan.convert = ConvertInOrder(conversion, withAlpha);
    plan.apart = Kernels().convert.apart[conversion][withAlpha];
    if (withAlpha) {
        plan.src.offset[plan.src.count++] = src->AlphaOffset;
        plan.dst.offset[plan.dst.count++] = dst->AlphaOffset;
    }
    return plan;
}

PixelPlan ForPackedSrc(const PixelPlan& plan) {
    PixelPlan packed = plan;
    packed.srcSize = plan.src.count;
    for (int c = 0; c < plan.src.count; ++c) packed.src.offset[c] = c;
    return packed;
}

void ConvertRun(const PixelPlan& plan, const RunSet& runs) {
    const ConvertFn convert = runs.sharing == Sharing::apart ? plan.apart : plan.convert;
    convert(runs.run[0], runs.run[1], runs.count, plan.alphaMask);
}

void ConvertPixels(const PixelPlan& plan, const RowSpan& dst, std::int64_t dstX, const RowSpan& src, std::int64_t srcX,
                   std::int64_t width) {
    if (!plan.convert) return;
    const Layer layers[] = {LayerOfRows(dstX, plan.dst, plan.dstSize), LayerOfRows(srcX, plan.src, plan.srcSize)};
    const RowSpan rows[] = {dst, src};
    WorkRow({layers, 2, width, 1, nullptr, false, false}, rows, 0, [&](const RunSet& runs) { ConvertRun(plan, runs); });
}

}  // namespace zor
