#pragma once
// XMP packets: blocks of XML that go from file to file as they are, but for what has ceased to be true.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// The packet without the properties whose names, less what stands before the colon, are chosen: those written as
// elements with all that is in them, and those written as attributes. The bytes of a packet without any stay as they
// are. Empty where it is no XML in UTF-8, or is damaged, so that nothing can be said about what is in it.
std::vector<std::uint8_t> WithoutProperties(const std::vector<std::uint8_t>& packet,
                                            const std::function<bool(const std::string& name)>& chosen);

// The packet for a picture whose size may be another and that is stored as it is shown: orientation, sizes and the
// small copy of the picture that was are left out, and what is said of colours where these were converted. Without
// coordinates, if that is asked for.
std::vector<std::uint8_t> TrueXmp(const std::vector<std::uint8_t>& packet, bool recoloured, bool withoutPlace);
