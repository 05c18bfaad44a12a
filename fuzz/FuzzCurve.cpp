#include "Errors.h"
#include "Expect.h"
#include "FuzzFile.h"
#include "effects/Curve.h"

namespace {

void ExpectSound(const std::vector<std::int32_t>& curve) {
    Expect(curve.size() == 256, "a curve has 256 values");
    for (const std::int32_t value : curve) Expect(value >= 0 && value <= 255, "a curve gives bytes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string text(bytes, bytes + size);
    const auto points = CurveThroughPoints(text);
    if (points) ExpectSound(*points);
    try {
        const std::vector<std::int32_t> curve = LoadCurve(FileOf(bytes, size));
        ExpectSound(curve);
        Expect(!points || *points == curve, "points mean the same in a file and in a word");
    } catch (const RunError&) {
        Expect(!points, "a file takes the points that a word takes");
    }
    return 0;
}
