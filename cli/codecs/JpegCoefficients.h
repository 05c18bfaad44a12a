#pragma once
// Where libjpeg keeps the coefficients of a file with several scans: all of them, since each scan goes over the whole
// picture. Where they are larger than an image in memory may be, they are a scratch file.

#include <cstdint>
#include <memory>
#include <vector>

#include <cstdio>

#include <jpeglib.h>

class JpegCoefficients {
public:
    JpegCoefficients() = default;
    ~JpegCoefficients();
    JpegCoefficients(const JpegCoefficients&) = delete;
    JpegCoefficients& operator=(const JpegCoefficients&) = delete;

    // Before the decompression starts: takes them over where they are too large. `jpeg` must not use its client data
    // otherwise, and this must stay as long as it works. A RunError when there is no scratch file.
    void Watch(j_decompress_ptr jpeg);

    // Why libjpeg was given no room; 0: it was.
    [[nodiscard]] int Error() const { return error_; }

private:
    struct Component {
        std::int64_t offset;    // bytes in the file
        std::int64_t rowBytes;  // of blocks
        std::int64_t rows;
        std::vector<JBLOCKROW> asked;  // rows that libjpeg looks at
    };

    static jvirt_barray_ptr Request(j_common_ptr jpeg, int pool, boolean zero, JDIMENSION blocks, JDIMENSION rows,
                                    JDIMENSION most);
    static void Realize(j_common_ptr jpeg);
    static JBLOCKARRAY Access(j_common_ptr jpeg, jvirt_barray_ptr array, JDIMENSION first, JDIMENSION count,
                              boolean writable);

    int file_ = -1;
    int error_ = 0;
    std::int64_t bytes_ = 0;
    std::int64_t touched_ = 0;  // bytes since memory was last given back
    std::uint8_t* map_ = nullptr;
    std::vector<std::unique_ptr<Component>> components_;
    void (*realizeOthers_)(j_common_ptr jpeg) = nullptr;
};
