#pragma once
// Both scalers once more, slow and plain, on models of images: what the engine's results are compared with.

#include <string>
#include <vector>

#include "ScaleModel.h"

namespace reference {

double Weight(int mode, double x);  // 0 outside the support
double Radius(int mode);

struct Sample {
    float weight;
    int index;
};
struct Samples {
    std::vector<Sample> list;
    float sum;
};
Samples SamplesOf(int mode, bool horizontal, double scale, int size, double position);

// Group and writes of a pair: what lies in each byte of a group of the temporary image (channel letters, l for luma, 0
// for nothing), and which channel of the target takes which byte.
struct Pair {
    std::string name, group, writes;
};
const Pair* PairFor(const ModelImage& source, const ModelImage& target);  // null: no such conversion

// False if there is no such conversion; nothing happens then.
bool Scale(const ModelImage& target, const ModelImage& source, const ModelImage& temp, int mode, int width, int height);

bool ScaleFast(const ModelImage& target, const ModelImage& source, int width, int height);

}  // namespace reference
