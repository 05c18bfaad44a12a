#include "Expect.h"
#include "codecs/IccProfile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::vector<std::uint8_t> profile(bytes, bytes + size);
    for (const char c : ProfileName(profile)) Expect(c >= 0x20 && c <= 0x7E, "a name can be printed");
    const std::string space = ProfileSpace(profile);
    int fits = 0;
    for (const PixelKind kind : {PixelKind::Gray, PixelKind::RGB, PixelKind::CMYK})
        fits += ProfileFits(profile, kind) ? 1 : 0;
    Expect(fits <= (space.empty() ? 0 : 1), "a profile is for one kind of pixels");
    return 0;
}
