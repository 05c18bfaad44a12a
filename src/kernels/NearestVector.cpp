#include "kernels/Nearest.h"
#include "kernels/Vector.h"

namespace zor {

namespace {

// A piece is a vector of 16 bytes everywhere: look-ups do not reach further, and longer vectors would be put together
// of such halves.
const hn::Full128<std::uint8_t> kBytes;
using Bytes = hn::Vec<decltype(kBytes)>;
constexpr std::ptrdiff_t kPiece = 16;

template <int kWindows, bool kKeeps>
HWY_INLINE void MakePieces(const ByteShuffle& shuffle, const std::uint8_t* src, std::uint8_t* dst) {
    const std::int32_t* from = shuffle.from;
    const std::uint8_t *index = shuffle.index, *keep = shuffle.keep;
    for (std::ptrdiff_t at = 0; at < shuffle.bytes; at += kPiece, ++from) {
        std::uint8_t* const to = dst + (at + kPiece <= shuffle.bytes ? at : shuffle.bytes - kPiece);
        const std::uint8_t* const window = src + *from;
        Bytes bytes = hn::Zero(kBytes);
        for (int w = 0; w < kWindows; ++w, index += kPiece) {
            bytes = hn::Or(bytes,
                           hn::TableLookupBytesOr0(hn::LoadU(kBytes, window + w * kPiece), hn::LoadU(kBytes, index)));
        }
        if constexpr (kKeeps) {
            bytes = hn::Or(bytes, hn::And(hn::LoadU(kBytes, to), hn::LoadU(kBytes, keep)));
            keep += kPiece;
        }
        hn::StoreU(bytes, kBytes, to);
    }
}

template <int kWindows>
void MakePiecesOf(const ByteShuffle& shuffle, const std::uint8_t* src, std::uint8_t* dst) {
    if (shuffle.keep) {
        MakePieces<kWindows, true>(shuffle, src, dst);
    } else {
        MakePieces<kWindows, false>(shuffle, src, dst);
    }
}

void Shuffle(const ByteShuffle& given, const std::uint8_t* src, std::uint8_t* dst) {
    const ByteShuffle shuffle = given;  // the stores below cannot change a copy
    switch (shuffle.windows) {
        case 1:
            return MakePiecesOf<1>(shuffle, src, dst);
        case 2:
            return MakePiecesOf<2>(shuffle, src, dst);
        case 3:
            return MakePiecesOf<3>(shuffle, src, dst);
        default:
            return MakePiecesOf<4>(shuffle, src, dst);
    }
}

}  // namespace

void ZOR_TIER_FUNCTION(InitNearest)(NearestKernels* kernels) {
    kernels->shuffle = Shuffle;
}

}  // namespace zor
