#include "exchange/PixelRules.h"

#include "kernels/KernelTable.h"

PixelPlan MakePlan(PixelRule rule, const ImageClassData* source, const ChannelSet& sourceChannels,
                   const ImageClassData* dest, const ChannelSet& destChannels, bool withAlpha, std::uint8_t alphaMask) {
    PixelPlan plan{nullptr, nullptr, sourceChannels, destChannels, source->PixelSize, dest->PixelSize, alphaMask};
    const Conversion conversion = ConversionOf(rule, sourceChannels.count, destChannels.count);
    if (conversion == kNoConversion) return plan;
    plan.convert = ConvertInOrder(conversion, withAlpha);
    plan.apart = Kernels().convert.apart[conversion][withAlpha];
    if (withAlpha) {
        plan.source.offset[plan.source.count++] = source->AlphaOffset;
        plan.dest.offset[plan.dest.count++] = dest->AlphaOffset;
    }
    return plan;
}

PixelPlan ForPackedSource(const PixelPlan& plan) {
    PixelPlan packed = plan;
    packed.sourceSize = plan.source.count;
    for (int c = 0; c < plan.source.count; ++c) packed.source.offset[c] = c;
    return packed;
}

void ConvertRun(const PixelPlan& plan, const RunSet& runs) {
    const ConvertFn convert = runs.sharing == Sharing::apart ? plan.apart : plan.convert;
    convert(runs.run[0], runs.run[1], runs.count, plan.alphaMask);
}

void ConvertPixels(const PixelPlan& plan, const RowSpan& dst, std::ptrdiff_t dstX, const RowSpan& src,
                   std::ptrdiff_t srcX, std::ptrdiff_t width) {
    if (!plan.convert) return;
    const Layer layers[] = {LayerOfRows(dstX, plan.dest, plan.destSize),
                            LayerOfRows(srcX, plan.source, plan.sourceSize)};
    const RowSpan rows[] = {dst, src};
    WorkRow({layers, 2, width, 1, nullptr, false, false}, rows, 0, [&](const RunSet& runs) { ConvertRun(plan, runs); });
}
