#include "Expect.h"
#include "codecs/Xmp.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::vector<std::uint8_t> packet(bytes, bytes + size);
    const std::vector<std::uint8_t> truer = TrueXmp(packet, true, true);
    Expect(truer.size() <= packet.size(), "nothing is added");
    if (!truer.empty()) Expect(TrueXmp(truer, true, true) == truer, "what is true stays as it is");
    return 0;
}
