#include "Expect.h"
#include "codecs/Iptc.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::vector<std::uint8_t> block(bytes, bytes + size);
    static_cast<void>(IptcOfPhotoshop(block));
    const std::vector<std::uint8_t> records = TrueIptc(block);
    Expect(TrueIptc(records) == records, "what is true stays as it is");
    Expect(TextsOfIptc(records).size() <= TextsOfIptc(block).size(), "no text is made up");
    Expect(records.empty() || IptcOfPhotoshop(PhotoshopOfIptc(records)) == records, "records are found in their block");
    return 0;
}
