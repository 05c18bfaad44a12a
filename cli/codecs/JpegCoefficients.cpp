#include "codecs/JpegCoefficients.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

#include <jerror.h>

#include "Storage.h"
#include "files/Scratch.h"

namespace {

// Of the file so much may be in memory at a time.
constexpr std::int64_t kWindowBytes = std::int64_t{8} << 20;

std::int64_t RoundUp(std::int64_t count, std::int64_t unit) {
    return (count + unit - 1) / unit * unit;
}

std::int64_t CoefficientBytes(j_decompress_ptr jpeg) {
    std::int64_t blocks = 0;
    for (int i = 0; i < jpeg->num_components; ++i) {
        const jpeg_component_info& part = jpeg->comp_info[i];
        blocks +=
            RoundUp(part.width_in_blocks, part.h_samp_factor) * RoundUp(part.height_in_blocks, part.v_samp_factor);
    }
    return blocks * static_cast<std::int64_t>(sizeof(JBLOCK));
}

}  // namespace

JpegCoefficients::~JpegCoefficients() {
    if (map_ != nullptr) munmap(map_, static_cast<std::size_t>(bytes_));
    if (file_ >= 0) close(file_);
}

void JpegCoefficients::Watch(j_decompress_ptr jpeg) {
    if (FitsItsShare(CoefficientBytes(jpeg))) return;
    file_ = OpenScratch();
    jpeg->client_data = this;
    realizeOthers_ = jpeg->mem->realize_virt_arrays;
    jpeg->mem->request_virt_barray = Request;
    jpeg->mem->realize_virt_arrays = Realize;
    jpeg->mem->access_virt_barray = Access;
}

// Errors leave by a jump, which nothing here that has a destructor may be in the way of.
jvirt_barray_ptr JpegCoefficients::Request(j_common_ptr jpeg, int, boolean, JDIMENSION blocks, JDIMENSION rows,
                                           JDIMENSION most) {
    auto* self = static_cast<JpegCoefficients*>(jpeg->client_data);
    Component* component = nullptr;
    try {
        self->components_.push_back(std::make_unique<Component>(
            Component{self->bytes_, static_cast<std::int64_t>(blocks * sizeof(JBLOCK)), rows, {}}));
        component = self->components_.back().get();
        component->asked.resize(most);
    } catch (const std::bad_alloc&) {
        component = nullptr;
    }
    if (component == nullptr) ERREXIT1(jpeg, JERR_OUT_OF_MEMORY, 0);
    self->bytes_ += component->rowBytes * component->rows;
    return reinterpret_cast<jvirt_barray_ptr>(component);
}

// The file is all zero at first, as libjpeg wants it. Its room is taken, so that writing through the mapping cannot
// fail.
void JpegCoefficients::Realize(j_common_ptr jpeg) {
    auto* self = static_cast<JpegCoefficients*>(jpeg->client_data);
    self->realizeOthers_(jpeg);
    if (self->map_ != nullptr || self->bytes_ == 0) return;
    int error = EINTR;
    while (error == EINTR) error = posix_fallocate(self->file_, 0, self->bytes_);
    self->error_ = error;
    if (error != 0) ERREXIT(jpeg, JERR_FILE_WRITE);
    void* map =
        mmap(nullptr, static_cast<std::size_t>(self->bytes_), PROT_READ | PROT_WRITE, MAP_SHARED, self->file_, 0);
    if (map == MAP_FAILED) ERREXIT1(jpeg, JERR_OUT_OF_MEMORY, 0);
    self->map_ = static_cast<std::uint8_t*>(map);
}

JBLOCKARRAY JpegCoefficients::Access(j_common_ptr jpeg, jvirt_barray_ptr array, JDIMENSION first, JDIMENSION count,
                                     boolean) {
    auto* self = static_cast<JpegCoefficients*>(jpeg->client_data);
    auto* component = reinterpret_cast<Component*>(array);
    if (std::int64_t{first} + count > component->rows || count > component->asked.size())
        ERREXIT(jpeg, JERR_BAD_VIRTUAL_ACCESS);
    // What goes is still in the file, and comes back where it is looked at.
    self->touched_ += component->rowBytes * count;
    if (self->touched_ > kWindowBytes) {
        madvise(self->map_, static_cast<std::size_t>(self->bytes_), MADV_DONTNEED);
        self->touched_ = 0;
    }
    std::uint8_t* row = self->map_ + component->offset + component->rowBytes * first;
    for (JDIMENSION i = 0; i < count; ++i, row += component->rowBytes)
        component->asked[i] = reinterpret_cast<JBLOCKROW>(row);
    return component->asked.data();
}
