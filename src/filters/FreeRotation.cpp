#include "filters/FreeRotation.h"

#include <climits>
#include <cmath>

#include "core/Factory.h"
#include "filters/ColumnBands.h"
#include "filters/RightAngle.h"

namespace zor {

namespace {

// The channels of a family in the order in which a pixel of it is stored, which is not the same in all of them.
ChannelList ShearChannels(const ImageClassData* record) {
    const PixelFamily family = FamilyOf(record);
    const ChannelList colours = ColoursOf(family);
    if (family == PixelFamily::none || !record->HasAlpha) return colours;
    return family == PixelFamily::rgb ? WithAlphaLast(colours) : WithAlphaFirst(colours);
}

// A background for every channel that there is, by ChannelId.
struct Background {
    int value[kChannelIds];
};

// What a shear works on: channels and their background.
class ShearFamily {
public:
    ShearFamily(const ImageClassData* record, const Background& background) : channels_(ShearChannels(record)) {
        for (int c = 0; c < channels_.count; ++c) {
            background_.channel[c] = static_cast<std::uint8_t>(background.value[static_cast<int>(channels_.id[c])]);
        }
    }
    int count() const { return channels_.count; }
    const ShearColour& background() const { return background_; }
    PixelSide Side(ImageClassData* record) const { return SideOf(record, channels_); }
    PixelSides Sides(ImageClassData* src, ImageClassData* dst) const { return {Side(src), Side(dst)}; }

private:
    ChannelList channels_;
    ShearColour background_{};
};

// Both images of a shear are looked at, and each yields once.
bool ReadyForShear(ImageClassData* src, ImageClassData* dst) {
    if (!IsUsable(src)) return false;
    YieldIfAsked(src);
    if (!IsUsable(dst)) return false;
    YieldIfAsked(dst);
    return true;
}

REALobject NewShearImage(ImageClassData* src, std::int64_t width, std::int64_t height) {
    if (width > INT_MAX || height > INT_MAX) return nullptr;
    return CreatePicture(src, static_cast<int>(width), static_cast<int>(height), src->ImageFormat);
}

std::int64_t Whole(double value) {
    return static_cast<std::int64_t>(value);
}

// The steps of the third shear, row by row.
class ThirdSteps {
public:
    ThirdSteps(int width, int rows, double tangent, double sine)
        : shear_(sine >= 0 ? -tangent * ((width - 1) * sine) : (-(rows - 1) - (width - 1) * sine) * tangent),
          tangent_(tangent) {}
    ShearStep Next() {
        const ShearStep step = StepOf(shear_);
        shear_ = shear_ + tangent_;
        return step;
    }

private:
    double shear_, tangent_;
};

// By at most 45 degrees to either side; angles near 360 stand for negative ones.
REALobject RotateByShears(ImageClassData* src, double angle, const ShearFamily& family) {
    const double radians = angle * 3.141592653589793 / 180.0;
    const double tangent = std::tan(0.5 * radians), sine = std::sin(radians), cosine = std::cos(radians);
    if (!IsUsable(src)) return nullptr;
    YieldIfAsked(src);
    const int width = src->Width, height = src->Height;

    // Where no factory takes part, nobody else ever sees the images between.
    bool unseen = !HasFactory(src);
    ObjectHolder first(NewShearImage(src, width + Whole(height * std::fabs(tangent)), height));
    if (!first.get()) return nullptr;
    ImageClassData* const firstImage = ImageDataOf(first.get());
    if (!ReadyForShear(src, firstImage)) return nullptr;
    const RowShear firstShear(family.Sides(src, firstImage), family.background());
    for (int row = 0; row < height; ++row) {
        const double shear = tangent >= 0 ? (row + 0.5) * tangent : (row - height + 0.5) * tangent;
        firstShear.Skew(row, StepOf(shear));
    }

    const std::int64_t newHeight = Whole(height * cosine + width * std::fabs(sine)) + 1;
    const std::int64_t newWidth = Whole(width * cosine + height * std::fabs(sine)) + 1;
    const int firstWidth = firstImage->Width;
    unseen = unseen && !HasFactory(src);
    ObjectHolder second(NewShearImage(src, firstWidth, newHeight));
    if (!second.get()) return nullptr;
    ImageClassData* const secondImage = ImageDataOf(second.get());
    if (!ReadyForShear(firstImage, secondImage)) return nullptr;
    const int rows = static_cast<int>(newHeight);
    const double start = sine > 0 ? (width - 1) * sine : -sine * (width - firstWidth);
    const ColumnShear columnShear{height, rows, firstWidth, start, sine};
    ThirdSteps steps(width, rows, tangent, sine);

    if (unseen) {
        // The rows of the second image go into the third while they are in the cache. It itself stays empty, and leaves
        // first: no more than two images are there at a time.
        ColumnBands bands(family.Side(firstImage), columnShear, family.background());
        const LineShear lineShear(family.count(), firstWidth, static_cast<std::ptrdiff_t>(newWidth),
                                  family.background());
        if (bands && lineShear) {
            { const ObjectHolder done(second.release()); }
            ObjectHolder third(NewShearImage(src, newWidth, newHeight));
            if (!third.get()) return nullptr;
            const PixelSide side = family.Side(ImageDataOf(third.get()));
            bands.ForRows([&](int row, const ShearLine& line) { lineShear.Skew(line, side, row, steps.Next()); });
            return third.release();
        }
    }

    SkewColumns(family.Sides(firstImage, secondImage), columnShear, family.background());
    { const ObjectHolder done(first.release()); }  // one shear after the one that filled it
    ObjectHolder third(NewShearImage(src, newWidth, newHeight));
    if (!third.get()) return nullptr;
    ImageClassData* const thirdImage = ImageDataOf(third.get());
    if (!ReadyForShear(secondImage, thirdImage)) return nullptr;
    const RowShear thirdShear(family.Sides(secondImage, thirdImage), family.background());
    for (int row = 0; row < rows; ++row) thirdShear.Skew(row, steps.Next());
    return third.release();
}

// The angle in [0, 360); 360 itself for negative ones too close to 0.
double ReducedAngle(double angle) {
    constexpr double kFull = 360.0;
    double reduced = angle;
    if (reduced >= kFull || reduced < 0.0) reduced = std::fmod(reduced, kFull);
    if (reduced < 0.0) reduced = reduced + kFull;
    return reduced;
}

REALobject Locked(REALobject object) {
    REALLockObject(object);
    return object;
}

}  // namespace

REALobject rbRotate(REALobject object, double angle, int red, int green, int blue, int alpha, int gray, int cyan,
                    int magenta, int yellow, int black) {
    if (!object || !std::isfinite(angle)) return nullptr;
    double reduced = ReducedAngle(angle);
    if (reduced == 0.0) return Locked(object);
    if (reduced == 90.0) return Rotate90(object, nullptr);
    if (reduced == 180.0) return Rotate180(object, nullptr);
    if (reduced == 270.0) return Rotate270(object, nullptr);

    REALobject turned = nullptr;
    if (reduced > 45.0 && reduced <= 135.0) {
        reduced -= 90.0;
        turned = Rotate90(object, nullptr);
    } else if (reduced > 135.0 && reduced <= 225.0) {
        reduced -= 180.0;
        turned = Rotate180(object, nullptr);
    } else if (reduced > 225.0 && reduced <= 315.0) {
        reduced -= 270.0;
        turned = Rotate270(object, nullptr);
    } else {
        turned = Locked(object);
    }
    const ObjectHolder base(turned);
    if (!base.get()) return nullptr;
    ImageClassData* const record = ImageDataOf(base.get());
    const ShearFamily family(record, {{gray, red, green, blue, alpha, cyan, magenta, yellow, black}});
    if (family.count() == 0) return nullptr;
    return RotateByShears(record, reduced, family);
}

}  // namespace zor
