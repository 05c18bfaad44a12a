#pragma once
// libtiff's way to the bytes of a file, and what it has to say about them. It prints nothing itself.

#include <tiffio.h>

#include <cstdint>
#include <memory>

class InputFile;
class OutputFile;

// One of the two files, and what libtiff told; to stay in place as long as the handle is used.
struct TiffStream {
    InputFile* input = nullptr;
    OutputFile* output = nullptr;
    std::int64_t place = 0;  // of the next byte of `input`
    bool decoding = false;   // set by the reader while it takes pixels: a remark of the JPEG decoder is damage then
    char error[256] = "";    // the first one; empty: none
    char warning[256] = "";  // the first one worth telling
};

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFCleanup(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, CloseTiff>;

// libtiff on `input`, which MakeSeekable has been called for, or on `output`. `mode` as TIFFOpen takes it. Null: an
// error, which the stream then tells.
TiffHandle OpenTiffStream(TiffStream* stream, const char* mode);

// The RunError that the stream, or the file that is read, stands for.
[[noreturn]] void FailTiff(const TiffStream& stream);
