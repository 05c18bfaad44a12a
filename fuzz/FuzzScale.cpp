// The filtered scaler: any picture by any factors, with any kernel, pair and ending. The plain kernels and those of
// every set that this machine has must give the same bytes of the temporary image, of the target and of a stream.

#include <algorithm>
#include <string>
#include <vector>

#include "Expect.h"
#include "Input.h"
#include "PlainImage.h"
#include "core/Formats.h"
#include "scale/Resample.h"
#include "scale/ScaleStream.h"

using namespace zor;

namespace {

using Bytes = std::vector<std::uint8_t>;

// Mostly small; some wide, as kernels have parts of long rows at a time, and some high.
struct Shape {
    int width, height;
};
Shape AnyShape(Input& input) {
    switch (input.Byte() % 8) {
        case 0:
            return {input.Between(1, 2000), input.Between(1, 4)};
        case 1:
            return {input.Between(1, 8), input.Between(1, 600)};
        default:
            return {input.Between(1, 120), input.Between(1, 60)};
    }
}

// The rest of the input again and again, as bytes, as spans of one byte, or on top of a slope.
void Fill(Bytes& bytes, const Bytes& pattern, int kind) {
    const std::size_t span = static_cast<std::size_t>(1 + kind / 4 * 3);
    std::uint32_t noise = 1;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::size_t at = kind % 4 == 1 ? i / span : i;
        const std::uint8_t byte = pattern.empty() ? static_cast<std::uint8_t>(kind) : pattern[at % pattern.size()];
        noise = noise * 1664525 + 1013904223;
        bytes[i] = kind % 4 == 2   ? static_cast<std::uint8_t>(i / 16 + byte % 4)
                   : kind % 4 == 3 ? static_cast<std::uint8_t>((noise >> 24) ^ byte)
                                   : byte;
    }
}

Bytes StorageOf(const PlainImage& image) {
    const ImageClassData* const record = image.record();
    return {record->Pixels, record->Pixels + record->TotalSize};
}

void SetStorage(const PlainImage& image, const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), image.record()->Pixels);
}

struct Tier {
    CpuTier tier;
    KernelTable table;
};
const std::vector<Tier>& Tiers() {  // plain first
    static const std::vector<Tier> tiers = [] {
        std::vector<Tier> all;
        for (const CpuTier tier : kCpuTiers) {
            if (CanRun(tier)) all.push_back({tier, PickKernels(tier).table});
        }
        return all;
    }();
    return tiers;
}

// Pictures between images of any two formats.
void CompareImages(Input& input, const Shape& from, const Shape& to, const FilterKernel* kernel) {
    const int formats = input.Byte(), kind = input.Byte();
    constexpr int kFormats[] = {ImageFormatG,    ImageFormatRGB,   ImageFormatBGRA,  ImageFormatARGB,
                                ImageFormatRGBX, ImageFormatGA,    ImageFormatAG,    ImageFormatCMYK,
                                ImageFormatKYMC, ImageFormatXCMYK, ImageFormatCMYKA, ImageFormatACMYK};
    const PlainImage source(from.width, from.height, kFormats[formats % 12]);
    const PlainImage target(to.width, to.height, kFormats[formats / 12 % 12]);
    const ScalePair* const pair = PairOf(source.record(), target.record());
    if (!pair) return;
    const PlainImage temp(to.width, from.height, pair->tempFormat);
    Bytes bytes = StorageOf(source);
    Fill(bytes, input.Rest(), kind);
    SetStorage(source, bytes);
    const Bytes tempBefore = StorageOf(temp), targetBefore = StorageOf(target);
    Bytes plainTemp, plainTarget;
    for (const Tier& tier : Tiers()) {
        SetStorage(temp, tempBefore);
        SetStorage(target, targetBefore);
        ResampleRequest request{};
        request.dst = target.record();
        request.src = source.record();
        request.temp = temp.record();
        request.kernel = kernel;
        request.pair = pair;
        request.width = to.width;
        request.height = to.height;
        request.kernels = &tier.table;
        Expect(Resample(request), "pictures of these sizes can be scaled");
        if (tier.tier == CpuTier::plain) {
            plainTemp = StorageOf(temp);
            plainTarget = StorageOf(target);
        } else {
            const std::string name = std::string(" of ") + NameOf(tier.tier) + " are those of plain";
            Expect(StorageOf(temp) == plainTemp, ("the bytes of the temporary image" + name).c_str());
            Expect(StorageOf(target) == plainTarget, ("the bytes of the target" + name).c_str());
        }
    }
    Expect(StorageOf(source) == bytes, "the source stays as it is");
}

Bytes Stream(const ScaleStreamRequest& request, const Bytes& picture, int rowsAtOnce) {
    const int planes = PlanesOf(request.shape);
    ScaleStream stream;
    Expect(stream.Start(request), "pictures of these sizes can be streamed");
    const PixelRect from = stream.source(), block = *request.block;
    Bytes result(static_cast<std::size_t>(stream.rowBytes() * block.height));
    std::int64_t taken = 0;
    for (std::int64_t y = 0; y < from.height;) {
        // Rows that end where memory ends.
        std::vector<Bytes> rows;
        std::vector<const std::uint8_t*> pointers;
        for (std::int64_t r = y; r < std::min(y + rowsAtOnce, from.height); ++r) {
            const auto pixel = picture.begin() + ((from.y + r) * request.srcWidth + from.x) * planes;
            rows.emplace_back(pixel, pixel + from.width * planes);
        }
        for (const Bytes& row : rows) pointers.push_back(row.data());
        const int fed = stream.FeedRows(pointers.data(), static_cast<int>(pointers.size()), planes);
        const std::int64_t takenBefore = taken;
        while (taken < block.height && stream.Take(result.data() + taken * stream.rowBytes())) ++taken;
        Expect(fed > 0 || taken > takenBefore, "rows can be fed or taken");
        y += fed;
    }
    Expect(taken == block.height, "all rows come");
    return result;
}

// The same of bare pixels, in a block of the target.
void CompareStreams(Input& input, const Shape& from, const Shape& to, const FilterKernel* kernel) {
    ScaleStreamRequest request{};
    request.kernel = kernel;
    request.srcWidth = from.width;
    request.srcHeight = from.height;
    request.width = to.width;
    request.height = to.height;
    request.shape = static_cast<ResampleShape>(input.Byte() % kResampleShapes);
    request.ending = input.Byte() % 2 ? Ending::nearest : Ending::truncate;
    const int kind = input.Byte(), rowsAtOnce = 1 + input.Byte() % 20;
    const int x = input.Between(0, to.width - 1), y = input.Between(0, to.height - 1);
    request.block = PixelRect{x, y, input.Between(1, to.width - x), input.Between(1, to.height - y)};
    Bytes picture(static_cast<std::size_t>(from.width) * static_cast<std::size_t>(from.height) *
                  static_cast<std::size_t>(PlanesOf(request.shape)));
    Fill(picture, input.Rest(), kind);
    Bytes plain;
    for (const Tier& tier : Tiers()) {
        request.kernels = &tier.table;
        const Bytes result = Stream(request, picture, rowsAtOnce);
        if (tier.tier == CpuTier::plain) {
            plain = result;
        } else {
            Expect(result == plain,
                   (std::string("what streams by ") + NameOf(tier.tier) + " is what plain gives").c_str());
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    const bool images = input.Byte() % 2 == 0;
    const FilterKernel* const kernel = KernelOfMode(1 + input.Byte() % kScaleModes);
    const Shape from = AnyShape(input);
    Shape to = AnyShape(input);
    // Factors that are whole numbers, too.
    const int factor = input.Byte() % 8;
    if (factor == 1) to = from;
    if (factor == 2) to.width = std::max(1, from.width / (1 + input.Byte() % 7));
    if (factor == 3) to.height = std::max(1, from.height / (1 + input.Byte() % 7));
    if (factor == 4) to.width = std::min(3000, from.width * (2 + input.Byte() % 3));
    if (factor == 5) to.height = std::min(600, from.height * (2 + input.Byte() % 3));
    if (images) {
        CompareImages(input, from, to, kernel);
    } else {
        CompareStreams(input, from, to, kernel);
    }
    return 0;
}
