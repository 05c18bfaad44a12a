#include "ConversionModel.h"

#include <algorithm>
#include <vector>

static std::uint8_t Luma(int red, int green, int blue) {
    return static_cast<std::uint8_t>((77 * red + 151 * green + 28 * blue) >> 8);
}

Outcome ModelRowPixel(const ImageClassData* s, const ImageClassData* t, bool invertAlpha, const LoadByte& load,
                      const StoreByte& store) {
    if (!(s->IsRGB || s->IsGray || s->IsCMYK) || !(t->IsRGB || t->IsGray || t->IsCMYK)) return Outcome::noFamily;
    if ((s->IsRGB && t->IsCMYK) || (s->IsCMYK && t->IsRGB)) return Outcome::refused;
    if (s->IsRGB && t->IsRGB) {
        store(t->RedOffset, load(s->RedOffset));
        store(t->GreenOffset, load(s->GreenOffset));
        store(t->BlueOffset, load(s->BlueOffset));
    } else if (s->IsRGB) {
        store(t->GrayOffset, Luma(load(s->RedOffset), load(s->GreenOffset), load(s->BlueOffset)));
    } else if (s->IsGray && t->IsRGB) {
        const std::uint8_t gray = load(s->GrayOffset);
        for (const int offset : {t->RedOffset, t->GreenOffset, t->BlueOffset}) store(offset, gray);
    } else if (s->IsGray && t->IsGray) {
        store(t->GrayOffset, load(s->GrayOffset));
    } else if (s->IsGray) {
        const std::uint8_t gray = load(s->GrayOffset);
        for (const int offset : {t->CyanOffset, t->MagentaOffset, t->YellowOffset, t->BlackOffset}) store(offset, gray);
    } else if (t->IsGray) {
        store(t->GrayOffset, load(s->BlackOffset));
    } else {
        store(t->CyanOffset, load(s->CyanOffset));
        store(t->MagentaOffset, load(s->MagentaOffset));
        store(t->YellowOffset, load(s->YellowOffset));
        store(t->BlackOffset, load(s->BlackOffset));
    }
    if (s->HasAlpha && t->HasAlpha) {
        const int alpha = load(s->AlphaOffset);
        store(t->AlphaOffset, static_cast<std::uint8_t>(invertAlpha ? 255 - alpha : alpha));
    }
    return Outcome::converted;
}

Outcome ModelCopyPixel(const ImageClassData* s, const ImageClassData* t, const LoadByte& load, const StoreByte& store) {
    if (!(s->IsRGB || s->IsGray || s->IsCMYK) || !(t->IsRGB || t->IsGray || t->IsCMYK)) return Outcome::noFamily;
    if ((s->IsRGB && t->IsCMYK) || (s->IsCMYK && t->IsRGB)) return Outcome::refused;
    const bool bothAlpha = s->HasAlpha && t->HasAlpha;
    bool copyAlpha = bothAlpha;
    if (t->IsGray) {
        if (s->IsGray) {
            store(t->GrayOffset, load(s->GrayOffset));
        } else if (s->IsRGB) {
            store(t->GrayOffset, Luma(load(s->RedOffset), load(s->GreenOffset), load(s->BlueOffset)));
            copyAlpha = false;
        } else if (bothAlpha) {
            store(t->GrayOffset, Luma(load(s->RedOffset), load(s->GreenOffset), load(s->BlueOffset)));
        } else {
            store(t->GrayOffset, load(s->BlackOffset));
        }
    } else if (t->IsRGB) {
        if (s->IsGray) {
            const std::uint8_t gray = load(s->GrayOffset);
            for (const int offset : {t->RedOffset, t->GreenOffset, t->BlueOffset}) store(offset, gray);
        } else {
            store(t->RedOffset, load(s->RedOffset));
            store(t->GreenOffset, load(s->GreenOffset));
            store(t->BlueOffset, load(s->BlueOffset));
        }
    } else if (s->IsGray) {
        const std::uint8_t gray = load(s->GrayOffset);
        for (const int offset : {t->CyanOffset, t->MagentaOffset, t->YellowOffset}) store(offset, 0);
        store(t->BlackOffset, gray);
    } else {
        store(t->CyanOffset, load(s->CyanOffset));
        store(t->MagentaOffset, load(s->MagentaOffset));
        store(t->YellowOffset, load(s->YellowOffset));
        store(t->BlackOffset, load(s->BlackOffset));
    }
    if (copyAlpha) store(t->AlphaOffset, load(s->AlphaOffset));
    return Outcome::converted;
}

std::string TextOf(const CopyArguments& a) {
    return "to " + std::to_string(a.destX) + "," + std::to_string(a.destY) + " " + std::to_string(a.width) + "x" +
           std::to_string(a.height) + " from " + std::to_string(a.sourceX) + "," + std::to_string(a.sourceY);
}

// --- CopyPixels as a whole
// --------------------------------------------------------------------------------------------

static bool PixelIsAllChannels(const ImageClassData* r) {
    return r->HasRed + r->HasGreen + r->HasBlue + r->HasGray + r->HasAlpha == r->PixelSize;
}

static bool SameLayout(const ImageClassData* a, const ImageClassData* b) {
    return a->HasRed == b->HasRed && a->HasGreen == b->HasGreen && a->HasBlue == b->HasBlue &&
           a->HasGray == b->HasGray && a->HasAlpha == b->HasAlpha && a->PixelSize == b->PixelSize &&
           a->RedOffset == b->RedOffset && a->GreenOffset == b->GreenOffset && a->BlueOffset == b->BlueOffset &&
           (a->AlphaOffset == b->AlphaOffset || !a->HasAlpha);
}

static int LowestOffset(const ImageClassData* r) {
    int lowest = 1 << 30;
    for (const ChannelOffset& channel : ChannelsByName(r)) {
        if (channel.offset >= 0) lowest = std::min(lowest, channel.offset);
    }
    return lowest;
}

// The ten steps one after another, for both directions in turn.
static bool Clip(CopyArguments* arguments, const ImageClassData* t, const ImageClassData* s) {
    std::int64_t dx = arguments->destX, dy = arguments->destY, w = arguments->width, h = arguments->height;
    std::int64_t sx = arguments->sourceX, sy = arguments->sourceY;
    if (sx < 0) dx += sx, w += sx, sx = 0;
    if (sy < 0) dy += sy, h += sy, sy = 0;
    if (w < 0) dx += w, w = -w;
    if (h < 0) dy += h, h = -h;
    if (dx < 0) sx -= dx, w += dx, dx = 0;
    if (dy < 0) sy -= dy, h += dy, dy = 0;
    if (dx >= t->Width) w = 0;
    if (dy >= t->Height) h = 0;
    if (dx + w > t->Width) w = t->Width - dx;
    if (dy + h > t->Height) h = t->Height - dy;
    if (sx + w > s->Width) w = s->Width - sx;
    if (sy + h > s->Height) h = s->Height - sy;
    if (w <= 0 || h <= 0) return false;
    *arguments = {static_cast<int>(dx), static_cast<int>(dy), static_cast<int>(w),
                  static_cast<int>(h),  static_cast<int>(sx), static_cast<int>(sy)};
    return true;
}

bool ModelCopy(const TestImage& target, const TestImage& source, CopyArguments a, Storage* targetStorage,
               Storage* sourceStorage) {
    const ImageClassData* const t = target.record();
    const ImageClassData* const s = source.record();
    if (!Clip(&a, t, s)) return false;
    const bool asRuns = PixelIsAllChannels(s) && PixelIsAllChannels(t) && SameLayout(s, t);
    for (int row = 0; row < a.height; ++row) {
        if (asRuns) {
            const std::int64_t to = PlaceOf(target, a.destX, a.destY + row) + LowestOffset(t);
            const std::int64_t from = PlaceOf(source, a.sourceX, a.sourceY + row) + LowestOffset(s);
            std::vector<std::uint8_t> run(static_cast<std::size_t>((a.width + a.destX) * t->PixelSize));
            for (std::size_t i = 0; i < run.size(); ++i)
                run[i] = sourceStorage->At(from + static_cast<std::int64_t>(i));
            for (std::size_t i = 0; i < run.size(); ++i) {  // cut where the source ends
                const std::int64_t at = static_cast<std::int64_t>(i);
                if (sourceStorage->Has(from + at)) targetStorage->Put(to + at, run[i]);
            }
            continue;
        }
        for (int x = 0; x < a.width; ++x) {
            const std::int64_t to = PlaceOf(target, a.destX + x, a.destY + row);
            const std::int64_t from = PlaceOf(source, a.sourceX + x, a.sourceY + row);
            const Outcome outcome = ModelCopyPixel(
                s, t, [&](int offset) { return sourceStorage->At(from + offset); },
                [&](int offset, std::uint8_t value) { targetStorage->Put(to + offset, value); });
            if (outcome != Outcome::converted) return false;
        }
    }
    return true;
}
