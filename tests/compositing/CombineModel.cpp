#include "compositing/CombineModel.h"

#include <sstream>

#include "compositing/Combine.h"

using namespace zor;

std::string CombineCall::Text() const {
    std::ostringstream text;
    text << "target " << target->text << "\nimage " << image->text << "\nmask " << (mask ? mask->text : "none")
         << (preMultiplied ? "\npremultiplied" : "\nplain") << ", to " << destX << "," << destY << " from " << sourceX
         << "," << sourceY << " size " << width << "x" << height << ", use colours " << useColours << ", fore "
         << foreColour << ", mask colour " << maskColour;
    return text.str();
}

bool CallCombine(const CombineCall& call) {
    return PictureCombine1pm(call.target->object(), call.image->object(), call.preMultiplied,
                             call.mask ? call.mask->object() : nullptr, call.destX, call.destY, call.sourceX,
                             call.sourceY, call.width, call.height, call.useColours, call.foreColour,
                             call.maskColour) != 0;
}

// --- the world ------------------------------------------------------------------------------------------------------

CombineWorld::CombineWorld(const std::vector<const TestImage*>& images) {
    for (const TestImage* image : images) {
        if (image && storages_.emplace(image->root(), SnapshotOf(*image)).second) images_.push_back(image);
    }
}

::testing::AssertionResult CombineWorld::IsTrue() const {
    for (const TestImage* image : images_) {
        const auto same = SameStorage(storages_.at(image->root()), SnapshotOf(*image), *image);
        if (!same) return same;
    }
    return ::testing::AssertionSuccess();
}

// --- the model ------------------------------------------------------------------------------------------------------

namespace {

enum class Family { none, gray, rgb };

Family FamilyOf(const TestImage& image) {
    if (image->IsGray) return Family::gray;
    if (image->IsRGB) return Family::rgb;
    return Family::none;
}

// A pixel as numbers: of a gray image all three colours are its gray.
struct Pixel {
    int red, green, blue;
    int alpha;  // 255 where there is none
    bool isGray;

    int Gray() const { return isGray ? red : (77 * red + 151 * green + 28 * blue) / 256; }
};

Pixel ReadPixel(CombineWorld& world, const TestImage& image, int x, int y) {
    const Storage& storage = world.Of(image);
    const std::int64_t at = PlaceOf(image, x, y);
    Pixel pixel{};
    pixel.isGray = FamilyOf(image) == Family::gray;
    if (pixel.isGray) {
        pixel.red = pixel.green = pixel.blue = storage.At(at + image->GrayOffset);
    } else {
        pixel.red = storage.At(at + image->RedOffset);
        pixel.green = storage.At(at + image->GreenOffset);
        pixel.blue = storage.At(at + image->BlueOffset);
    }
    pixel.alpha = image->HasAlpha ? storage.At(at + image->AlphaOffset) : 255;
    return pixel;
}

void WriteColours(CombineWorld& world, const TestImage& image, int x, int y, int red, int green, int blue) {
    Storage& storage = world.Of(image);
    const std::int64_t at = PlaceOf(image, x, y);
    if (FamilyOf(image) == Family::gray) {
        storage.Put(at + image->GrayOffset, static_cast<std::uint8_t>(red & 255));
        return;
    }
    storage.Put(at + image->RedOffset, static_cast<std::uint8_t>(red & 255));
    storage.Put(at + image->GreenOffset, static_cast<std::uint8_t>(green & 255));
    storage.Put(at + image->BlueOffset, static_cast<std::uint8_t>(blue & 255));
}

void WriteAlpha(CombineWorld& world, const TestImage& image, int x, int y, int alpha) {
    if (!image->HasAlpha) return;
    world.Of(image).Put(PlaceOf(image, x, y) + image->AlphaOffset, static_cast<std::uint8_t>(alpha & 255));
}

bool Cut(long long& dest, long long& size, long long& source, long long destLimit, long long sourceLimit) {
    if (source < 0) dest += source, size += source, source = 0;
    if (size < 0) dest += size, size = -size;
    if (dest < 0) source -= dest, size += dest, dest = 0;
    if (dest >= destLimit) size = 0;
    if (dest + size > destLimit) size = destLimit - dest;
    if (source + size > sourceLimit) size = sourceLimit - source;
    return size > 0;
}

void BlendOnePixel(const CombineCall& call, CombineWorld& world, int x, int y, int sourceX, int sourceY) {
    const TestImage& target = *call.target;
    const Pixel d = ReadPixel(world, target, x, y);
    const Pixel s = ReadPixel(world, *call.image, sourceX, sourceY);
    const Pixel m = ReadPixel(world, *call.mask, sourceX, sourceY);
    if (!call.preMultiplied) {
        const auto mix = [](int above, int mask, int below) { return (above * (255 - mask) + mask * below) / 255; };
        if (d.isGray) {
            WriteColours(world, target, x, y, mix(s.Gray(), m.Gray(), d.red), 0, 0);
        } else {
            WriteColours(world, target, x, y, mix(s.red, m.red, d.red), mix(s.green, m.green, d.green),
                         mix(s.blue, m.blue, d.blue));
        }
        WriteAlpha(world, target, x, y, mix(s.alpha, m.alpha, d.alpha));
        return;
    }
    WriteAlpha(world, target, x, y, s.alpha + m.alpha * d.alpha / 255);
    if (d.isGray) {
        WriteColours(world, target, x, y, s.Gray() + m.Gray() * d.red / 255, 0, 0);
    } else {
        WriteColours(world, target, x, y, s.red + m.red * d.alpha / 255, s.green + m.green * d.alpha / 255,
                     s.blue + m.blue * d.alpha / 255);
    }
}

void PaintOnePixel(const CombineCall& call, CombineWorld& world, int x, int y, int sourceX, int sourceY) {
    const Pixel d = ReadPixel(world, *call.target, x, y);
    const Pixel image = ReadPixel(world, *call.image, sourceX, sourceY);
    const int m = image.isGray ? image.red : (image.red + image.green + image.blue) / 3;
    const int c[3] = {call.foreColour >> 16 & 255, call.foreColour >> 8 & 255, call.foreColour & 255};
    const int below[3] = {d.red, d.green, d.blue};
    int t[3];
    for (int k = 0; k < 3; ++k) {
        t[k] = call.preMultiplied ? c[k] + below[k] * m / 255 : (below[k] * m + c[k] * (255 - m)) / 255;
    }
    if (d.isGray) {
        WriteColours(world, *call.target, x, y, (77 * t[0] + 151 * t[1] + 28 * t[2]) >> 8, 0, 0);
    } else {
        WriteColours(world, *call.target, x, y, t[0], t[1], t[2]);
    }
}

void LayOnePixel(const CombineCall& call, CombineWorld& world, int x, int y, int sourceX, int sourceY) {
    const int colour = call.useColours ? call.maskColour : 0;
    const Pixel c{colour >> 16 & 255, colour >> 8 & 255, colour & 255, 255, false};
    const Pixel d = ReadPixel(world, *call.target, x, y);
    const Pixel s = ReadPixel(world, *call.image, sourceX, sourceY);
    const auto lay = [&call](int above, int mask, int below) {
        return call.preMultiplied ? above + mask * below / 255 : ((255 - mask) * above + mask * below) / 255;
    };
    if (d.isGray) {
        WriteColours(world, *call.target, x, y, lay(s.Gray(), c.Gray(), d.red), 0, 0);
    } else {
        WriteColours(world, *call.target, x, y, lay(s.red, c.red, d.red), lay(s.green, c.green, d.green),
                     lay(s.blue, c.blue, d.blue));
    }
}

bool CanBeWorkedOn(const TestImage& image) {
    return image->Valid && image->GetRow && image->Width >= 0 && image->Height >= 1;
}

}  // namespace

bool ModelCombine(const CombineCall& call, CombineWorld& world) {
    if (call.width < 1 || call.height < 1) return false;
    if (call.mask) {
        if (!(*call.mask)->Valid) return false;
        if ((*call.mask)->Width != (*call.image)->Width || (*call.mask)->Height != (*call.image)->Height) return false;
    }
    if (!CanBeWorkedOn(*call.target) || !CanBeWorkedOn(*call.image)) return false;

    long long x = call.destX, width = call.width, sourceX = call.sourceX;
    long long y = call.destY, height = call.height, sourceY = call.sourceY;
    const bool wide = Cut(x, width, sourceX, (*call.target)->Width, (*call.image)->Width);
    const bool high = Cut(y, height, sourceY, (*call.target)->Height, (*call.image)->Height);
    if (!wide || !high) return false;

    if (FamilyOf(*call.target) == Family::none || FamilyOf(*call.image) == Family::none) return true;
    if (call.mask && FamilyOf(*call.mask) == Family::none) return true;
    const auto work = call.mask ? BlendOnePixel : call.maskColour >= 0 ? LayOnePixel : PaintOnePixel;
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
            work(call, world, static_cast<int>(x) + i, static_cast<int>(y) + j, static_cast<int>(sourceX) + i,
                 static_cast<int>(sourceY) + j);
        }
    }
    return true;
}

::testing::AssertionResult CombineAgreesWithModel(const CombineCall& call) {
    CombineWorld world({call.target, call.image, call.mask});
    const bool expected = ModelCombine(call, world);
    const bool actual = CallCombine(call);
    if (actual != expected) {
        return ::testing::AssertionFailure() << "gave " << actual << " and not " << expected << "\n" << call.Text();
    }
    const auto same = world.IsTrue();
    if (!same) return ::testing::AssertionFailure() << same.message() << "\n" << call.Text();
    return ::testing::AssertionSuccess();
}

// --- images ---------------------------------------------------------------------------------------------------------

TestImage Another(const TestImage& image) {
    REALLockObject(image.object());
    return TestImage(image.object(), image.text);
}

static int OffsetOf(const TestImage& image, const std::string& channel) {
    for (const ChannelOffset& entry : ChannelsByName(image.record())) {
        if (entry.name == channel && entry.offset >= 0) return entry.offset;
    }
    ADD_FAILURE() << image.text << " has no " << channel;
    return 0;
}

int SampleOf(const TestImage& image, const char* channel, int x, int y) {
    return SnapshotOf(image).At(PlaceOf(image, x, y) + OffsetOf(image, channel));
}

void SetSample(const TestImage& image, const char* channel, int x, int y, int value) {
    Storage storage = SnapshotOf(image);
    storage.Put(PlaceOf(image, x, y) + OffsetOf(image, channel), static_cast<std::uint8_t>(value));
    SetStorage(image, storage);
}

void FillChannel(const TestImage& image, const char* channel, int value) {
    Storage storage = SnapshotOf(image);
    const int offset = OffsetOf(image, channel);
    for (int y = 0; y < image->Height; ++y) {
        for (int x = 0; x < image->Width; ++x) {
            storage.Put(PlaceOf(image, x, y) + offset, static_cast<std::uint8_t>(value));
        }
    }
    SetStorage(image, storage);
}
