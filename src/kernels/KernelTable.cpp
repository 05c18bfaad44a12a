#include "kernels/KernelTable.h"

#include <cstring>
#include <iterator>

namespace zor {

namespace {

struct Slot {
    const char* name;
    std::size_t offset;
};

#define SLOT(path) \
    { #path, offsetof(KernelTable, path) }
#define SLOTS_2(path) SLOT(path[0]), SLOT(path[1])
#define SLOTS_3(path) SLOTS_2(path), SLOT(path[2])
#define SLOTS_4(path) SLOTS_3(path), SLOT(path[3])
#define SLOTS_5(path) SLOTS_4(path), SLOT(path[4])

constexpr Slot kSlots[] = {
    SLOT(bytes.map),
    SLOT(bytes.relief),
    SLOT(blend.mix),
    SLOT(blend.addOver),
    SLOT(blend.addOverOther),
    SLOT(blend.add),
    SLOT(blend.replicate3),
    SLOT(blend.replicate4Opaque),
    SLOT(blend.replicateAlpha),
    SLOT(matrix.convolve),
    SLOT(swizzle.move),
    SLOTS_5(pack.gather),
    SLOTS_5(pack.scatter),
    SLOTS_2(convert.apart[kCopy1]),
    SLOTS_2(convert.apart[kCopy3]),
    SLOTS_2(convert.apart[kCopy4]),
    SLOTS_2(convert.apart[kReplicate1To3]),
    SLOTS_2(convert.apart[kReplicate1To4]),
    SLOTS_2(convert.apart[kBlackOnly1To4]),
    SLOTS_2(convert.apart[kLuma3To1]),
    SLOT(words.move),
    SLOT(words.moveMasked),
    SLOTS_4(words.pack),
    SLOTS_5(touch.store),
    SLOTS_5(touch.complement),
    SLOTS_5(touch.layOver),
    SLOTS_3(exports.pixels[0]),
    SLOTS_3(exports.pixels[1]),
    SLOTS_3(exports.pixels[2]),
    SLOT(exports.nativeWords),
    SLOT(exports.argbWords),
    SLOTS_2(nearest.apart[kCopy1]),
    SLOTS_2(nearest.apart[kCopy3]),
    SLOTS_2(nearest.apart[kCopy4]),
    SLOTS_2(nearest.apart[kReplicate1To3]),
    SLOTS_2(nearest.apart[kReplicate1To4]),
    SLOTS_2(nearest.apart[kBlackOnly1To4]),
    SLOTS_2(nearest.apart[kLuma3To1]),
    SLOT(nearest.shuffle),
    SLOT(scaling.alongRows[kChannels1]),
    SLOT(scaling.alongRows[kChannels2]),
    SLOT(scaling.alongRows[kChannels3]),
    SLOT(scaling.alongRows[kChannels4]),
    SLOT(scaling.alongRows[kChannels5]),
    SLOT(scaling.alongRows[kLumaOnly]),
    SLOT(scaling.alongRows[kLumaAndAlpha]),
    SLOT(scaling.acrossRows),
    SLOTS_4(scaling.alongFine),
    SLOT(scaling.acrossFine),
    SLOTS_2(weighed.isOpaque),
    SLOTS_2(weighed.alongRows),
    SLOTS_2(weighed.acrossRows),
    SLOT(tables.mapInTurn),
    SLOTS_5(tables.combine),
    SLOT(tone.luminance),
    SLOT(tone.count),
    SLOT(tone.countAbove),
    SLOT(tone.glow),
    SLOT(tone.dither),
    SLOT(blur.narrow.add),
    SLOT(blur.narrow.down),
    SLOTS_5(blur.narrow.along),
    SLOT(blur.wide.add),
    SLOT(blur.wide.down),
    SLOTS_5(blur.wide.along),
    SLOT(blur.divideTested),
    SLOT(blur.slide),
    SLOT(blur.taps),
    SLOT(blur.tapsByRule),
    SLOT(blur.sharpen),
    SLOTS_2(windows.weigh),
    SLOTS_4(windows.slideBytes),
    SLOTS_4(windows.slideWords),
    SLOT(windows.toBytes),
    SLOT(windows.toWords),
    SLOTS_2(windows.unweigh),
    SLOT(windows.sharpen),
    SLOTS_2(windows.sharpenWeighed),
    SLOT(windows.softDown),
    SLOT(windows.softAlong),
    SLOT(windows.softWords),
    SLOTS_5(geometry.copy),
    SLOTS_5(geometry.exchange),
    SLOTS_5(geometry.turn),
    SLOT(geometry.shearRow),
    SLOT(geometry.shearColumns),
    SLOTS_4(cubic.line),
    SLOT(oil.slide),
    SLOT(oil.mode),
    SLOT(oil.mean),
};

// Every pointer of the record has its name, and every name stands at its pointer.
constexpr bool NamesFillTheRecord() {
    std::size_t offset = 0;
    for (const Slot& slot : kSlots) {
        if (slot.offset != offset) return false;
        offset += sizeof(void (*)());
    }
    return offset == sizeof(KernelTable);
}
static_assert(NamesFillTheRecord());

// Every family of kernels, once: what has a plain form has a vector form beside it.
#define INIT_FAMILIES(Tier, table)           \
    InitBytes_##Tier(&(table)->bytes);       \
    InitBlend_##Tier(&(table)->blend);       \
    InitMatrix_##Tier(&(table)->matrix);     \
    InitSwizzle_##Tier(&(table)->swizzle);   \
    InitPack_##Tier(&(table)->pack);         \
    InitConvert_##Tier(&(table)->convert);   \
    InitWords_##Tier(&(table)->words);       \
    InitTouch_##Tier(&(table)->touch);       \
    InitExport_##Tier(&(table)->exports);    \
    InitNearest_##Tier(&(table)->nearest);   \
    InitScaling_##Tier(&(table)->scaling);   \
    InitWeighed_##Tier(&(table)->weighed);   \
    InitTables_##Tier(&(table)->tables);     \
    InitTone_##Tier(&(table)->tone);         \
    InitBlur_##Tier(&(table)->blur);         \
    InitWindows_##Tier(&(table)->windows);   \
    InitGeometry_##Tier(&(table)->geometry); \
    InitCubic_##Tier(&(table)->cubic);       \
    InitOil_##Tier(&(table)->oil)

void InitKernels_Vector(KernelTable* table, CpuTier tier) {
#if defined(ZOR_KERNELS_X86)
    if (tier == CpuTier::sse4) {
        INIT_FAMILIES(Sse4, table);
    } else if (tier == CpuTier::avx2) {
        INIT_FAMILIES(Avx2, table);
    }
#elif defined(ZOR_KERNELS_NEON)
    if (tier == CpuTier::neon) {
        INIT_FAMILIES(Neon, table);
    }
#else
    static_cast<void>(table);
    static_cast<void>(tier);
#endif
}

const char* PointerAt(const KernelTable& table, int slot) {
    return reinterpret_cast<const char*>(&table) + kSlots[slot].offset;
}

}  // namespace

const char* KernelSlotName(int slot) {
    return kSlots[slot].name;
}

KernelPick PickKernels(CpuTier limit) {
    KernelPick pick{};
    INIT_FAMILIES(Plain, &pick.table);
    for (const CpuTier tier : kCpuTiers) {
        if (tier == CpuTier::plain || tier > limit || !CanRun(tier)) continue;
        const KernelTable before = pick.table;
        InitKernels_Vector(&pick.table, tier);
        pick.tier = tier;
        for (int slot = 0; slot < kKernelSlots; ++slot) {
            const bool isNew =
                std::memcmp(PointerAt(before, slot), PointerAt(pick.table, slot), sizeof(void (*)())) != 0;
            if (isNew) pick.twin[slot] = tier;
        }
    }
    return pick;
}

const KernelPick& ProcessKernels() {
    static const KernelPick pick = PickKernels(ReadCpuWish().limit);
    return pick;
}

}  // namespace zor
