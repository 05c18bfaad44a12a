#include "Effort.h"

#include <algorithm>

#include "codecs/Picture.h"
#include "effects/Effects.h"

static double Bytes(const ImageShape& shape) {
    return static_cast<double>(shape.width) * shape.height * Describe(shape.kind).channels;
}

double ReadingEffort(const ImageShape& shape) {
    constexpr double kReading = 4;
    return kReading * Bytes(shape);
}

double EffectEffort(const EffectRow& effect, const ImageShape& source, const ImageShape& result) {
    return effect.effort * std::max(Bytes(source), Bytes(result));
}

double WritingEffort(const Codec& codec, const ImageShape& shape) {
    return codec.effort * Bytes(shape);
}
