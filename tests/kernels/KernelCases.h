#pragma once
// One case for every slot of the record of kernels: how to call it on bytes that somebody else provides. The one test
// of all kernels and the benchmark are both made from this list.

#include <cstdint>
#include <vector>

#include "kernels/KernelTable.h"

using namespace zor;

// What a kernel works on. Inputs are read only, every byte of them may be read from 64 bytes before to 64 bytes behind
// `units * kMaxBytesPerUnit`; the output has the same room, which a kernel must not use. The same goes for numbers, but
// that kMoreNumbers of those may be read behind.
struct KernelBytes {
    static constexpr int kMaxBytesPerUnit = 12;
    static constexpr int kMaxNumbersPerUnit = 18;
    static constexpr int kMoreNumbers = 512;
    static constexpr int kInputs = 4;

    const std::uint8_t* in[kInputs];
    std::uint8_t* out;
    const double* numbersIn;  // of both signs
    double* numbersOut;
    std::uint32_t choice;  // any number: which of the variants of a case is meant, the same for all twins
};

struct KernelCase {
    const char* slot;  // its name in the record
    // Runs the slot of this record over that many units, which are pixels or samples.
    void (*run)(const KernelTable& kernels, const KernelBytes& bytes, std::ptrdiff_t units);
};

// Null for a slot without a case.
const KernelCase* CaseOfSlot(const char* slot);

const std::vector<KernelCase>& KernelCases();
