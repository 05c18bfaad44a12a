#include "exchange/PictureRows.h"

#include <bit>

#include "kernels/KernelTable.h"

namespace zor {

ChannelSet ColoursOfPixelType(int pixelType) {
    switch (pixelType) {
        case PixelTypeRGB24:
            return {3, {0, 1, 2}};
        case PixelTypeARGB32:
            return {3, {1, 2, 3}};
        default:  // PixelTypeNative32
            if constexpr (std::endian::native == std::endian::little) return {3, {2, 1, 0}};
            return {3, {1, 2, 3}};
    }
}

ImportLayers LayersOf(const ImportPlan& plan, std::int64_t imageX, std::int64_t pictureX) {
    ImportLayers layers{
        {LayerOfRows(imageX, plan.image, plan.imageSize), LayerOfRows(pictureX, plan.picture, plan.pictureSize),
         LayerOfRows(pictureX, plan.mask, plan.maskSize)},
        NeedsMask(plan.rule) ? 3 : 2};
    for (int i = 0; i < layers.count; ++i) ReachWholePixels(&layers.layer[i]);
    return layers;
}

namespace {

// The colours of an image stand behind its alpha.
bool WritesAlpha(ImportRule rule) {
    return rule == ImportRule::constant || rule == ImportRule::maskToAlpha;
}

WordAlpha AlphaOf(const ImportPlan& plan, const ImportLayers& layers) {
    WordAlpha alpha{};
    if (!WritesAlpha(plan.rule)) return alpha;
    alpha.at = plan.image.offset[0] - layers.layer[0].first;
    alpha.from = WordAlpha::From::constant;
    alpha.value = static_cast<std::uint8_t>(255 ^ plan.invert);
    if (plan.rule == ImportRule::maskToAlpha) {
        alpha.from = WordAlpha::From::mask;
        alpha.value = plan.invert;
        // Only masks of four bytes go along as words; no byte of others can be meant.
        alpha.maskAt = plan.maskSize == 4 ? plan.mask.offset[0] - layers.layer[2].first : -1;
    }
    return alpha;
}

// By words, where there is a kernel for such pixels. False where there is none.
bool ImportWords(const ImportPlan& plan, const ImportLayers& layers, const RunSet& runs) {
    if (plan.rule == ImportRule::blend || plan.picture.count != 3) return false;
    const Layer &image = layers.layer[0], &picture = layers.layer[1];
    const int firstColour = WritesAlpha(plan.rule) ? 1 : 0;
    std::ptrdiff_t imageAt[3], pictureAt[3];
    for (int c = 0; c < 3; ++c) {
        imageAt[c] = plan.image.offset[firstColour + c] - image.first;
        pictureAt[c] = plan.picture.offset[c] - picture.first;
    }
    std::uint8_t* const dst = runs.run[0].pixels + image.first;
    const std::uint8_t* const src = runs.run[1].pixels + picture.first;
    if (plan.rule == ImportRule::colours && plan.imageSize == 3 && plan.pictureSize == 3) {
        if (!std::equal(imageAt, imageAt + 3, pictureAt)) return false;
        std::memcpy(dst, src, static_cast<std::size_t>(runs.count) * 3);
        return true;
    }
    WordMove move{};
    const WordsFn words = PickWords(Kernels().words, {plan.imageSize, imageAt}, {plan.pictureSize, pictureAt},
                                    AlphaOf(plan, layers), &move);
    if (!words) return false;
    words(move, dst, src, layers.count > 2 ? runs.run[2].pixels + layers.layer[2].first : nullptr, runs.count);
    return true;
}

void ImportInOrder(const ImportPlan& plan, const RunSet& runs) {
    ImportInOrder(plan.rule, plan.picture.count)(runs.run, runs.count, plan.invert);
}

template <class Work>
void WorkImportRow(const ImportPlan& plan, const ImportRows& rows, Work work) {
    const ImportLayers layers = LayersOf(plan, rows.imageX, rows.pictureX);
    const RowSpan spans[] = {rows.image, rows.picture, rows.mask};
    const Walk walk = {layers.layer, layers.count, rows.width, 1, nullptr, false, false};
    WorkRow(walk, spans, 0, [&](const RunSet& runs) { work(layers, runs); });
}

}  // namespace

void ImportRun(const ImportPlan& plan, const ImportLayers& layers, const RunSet& runs) {
    if (runs.sharing != Sharing::apart || !ImportWords(plan, layers, runs)) ImportInOrder(plan, runs);
}

void ImportRow(const ImportPlan& plan, const ImportRows& rows) {
    WorkImportRow(plan, rows, [&](const ImportLayers& layers, const RunSet& runs) { ImportRun(plan, layers, runs); });
}

void ImportRow_Plain(const ImportPlan& plan, const ImportRows& rows) {
    WorkImportRow(plan, rows, [&](const ImportLayers&, const RunSet& runs) { ImportInOrder(plan, runs); });
}

}  // namespace zor
