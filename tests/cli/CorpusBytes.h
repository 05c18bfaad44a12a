#pragma once
// Pieces that files of the corpus are put together from, byte by byte, where no library would write such a file.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// A number in so many bytes, the highest first or last.
std::string Big(std::uint64_t value, int bytes);
std::string Little(std::uint64_t value, int bytes);

// A stream of zlib that holds so many zeros.
std::string PackedZeros(std::size_t count);
std::string Packed(const std::string& bytes);

// The whole text with the bytes from a place on replaced; the place is found by what stands there.
std::string Patched(const std::string& whole, const std::string& found, std::size_t behind, const std::string& bytes);

// A chunk of PNG with its check sum; a file of chunks; its first chunk.
std::string PngChunk(const std::string& name, const std::string& data);
std::string PngHead(std::uint32_t width, std::uint32_t height, int depth, int colourType, int interlace = 0);
std::string PngOf(const std::string& chunks);

// A TIFF file of one directory at place 8, in Intel's order, followed by `data`. The values of tags count bytes of
// `data` from kTiffData on where they are places.
struct TiffEntry {
    int tag;
    int type;  // 3: 16 bits, 4: 32 bits, 7: bytes
    std::uint64_t count;
    std::uint64_t value;
};
constexpr std::uint32_t kTiffData = 512;
std::string TiffOf(const std::vector<TiffEntry>& entries, const std::string& data, std::uint32_t next = 0);

// The tags of a picture of gray bytes, with others in their place, or added; a type of 0 takes one away.
std::vector<TiffEntry> GrayTags(std::uint32_t width, std::uint32_t height, const std::vector<TiffEntry>& others);

// A WebP file of chunks.
std::string WebpChunk(const std::string& name, const std::string& data);
std::string WebpOf(const std::string& chunks);
