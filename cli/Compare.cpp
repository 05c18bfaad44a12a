#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "Commands.h"
#include "Load.h"
#include "Progress.h"

namespace {

struct Difference {
    std::int64_t pixels = 0;    // in which any channel differs
    int largest = 0;            // of one channel
    std::uint64_t squares = 0;  // sum over all channels
};

void CompareRow(const std::uint8_t* a, const std::uint8_t* b, int width, int channels, Difference* difference) {
    for (int x = 0; x < width; ++x) {
        bool differs = false;
        for (int c = 0; c < channels; ++c) {
            const int distance = std::abs(*a++ - *b++);
            difference->squares += static_cast<std::uint64_t>(distance * distance);
            if (distance > difference->largest) difference->largest = distance;
            differs = differs || distance != 0;
        }
        if (differs) ++difference->pixels;
    }
}

// Of the peak 255 over the mean square of all channels, in decibels.
std::string PsnrText(const Difference& difference, double samples) {
    if (difference.squares == 0) return "infinite";
    char text[32];
    const double meanSquare = static_cast<double>(difference.squares) / samples;
    std::snprintf(text, sizeof text, "%.2f dB", 10 * std::log10(255.0 * 255.0 / meanSquare));
    return text;
}

std::string SizeText(const ImageShape& shape) {
    return std::to_string(shape.width) + " x " + std::to_string(shape.height);
}

// What keeps two pictures from being compared pixel by pixel; empty: nothing.
std::string Mismatch(const ImageShape& a, const ImageShape& b) {
    if (a.width != b.width || a.height != b.height)
        return "different sizes: " + SizeText(a) + " and " + SizeText(b) + " pixels\n";
    if (a.kind != b.kind)
        return std::string("different kinds of pixels: ") + Describe(a.kind).name + " and " + Describe(b.kind).name +
               "\n";
    return {};
}

}  // namespace

bool Compare(const std::string& pathA, const std::string& pathB, bool quiet, Notes& notes) {
    InputFile fileA(pathA);
    InputFile fileB(pathB);
    const std::unique_ptr<PictureReader> readerA = OpenPicture(fileA, notes);
    const std::unique_ptr<PictureReader> readerB = OpenPicture(fileB, notes);
    const ImageShape shape = ShapeOf(fileA, readerA->Header());
    const std::string mismatch = Mismatch(shape, ShapeOf(fileB, readerB->Header()));
    if (!mismatch.empty()) {
        PrintText(mismatch);
        return false;
    }

    // What can be decoded from the top is compared as it is decoded; the rest comes first.
    Progress progress(quiet);
    const RowTick whole = [&progress](std::int64_t done, std::int64_t total) { progress.Step(done, total); };
    const RowTick byRows = [&progress](std::int64_t, std::int64_t) { progress.Step(0, 0); };
    constexpr double kReading = 4, kComparing = 1;
    std::vector<double> efforts;
    double last = kComparing;
    for (const PictureReader* reader : {readerA.get(), readerB.get()}) {
        if (GivesRows(*reader))
            last += kReading;
        else
            efforts.push_back(kReading);
    }
    efforts.push_back(last);
    progress.Plan(efforts);
    const auto rowsOf = [&](const InputFile& file, PictureReader& reader) {
        if (GivesRows(reader)) return RowsOfPicture(reader, byRows);
        CheckPictureFits(file, reader.Header());
        progress.Begin("reading");
        return RowsOfPicture(reader, whole);
    };
    const std::unique_ptr<RowSource> a = rowsOf(fileA, *readerA);
    const std::unique_ptr<RowSource> b = rowsOf(fileB, *readerB);

    progress.Begin("compare");
    const int channels = Describe(shape.kind).channels;
    Difference difference;
    for (int y = 0; y < shape.height; ++y) {
        CompareRow(a->Next(), b->Next(), shape.width, channels, &difference);
        progress.Step(y + 1, shape.height);
    }
    progress.End();
    const std::int64_t pixels = std::int64_t{shape.width} * shape.height;
    PrintText("different pixels    " + std::to_string(difference.pixels) + " of " + std::to_string(pixels) +
              "\nlargest difference  " + std::to_string(difference.largest) + "\nPSNR                " +
              PsnrText(difference, static_cast<double>(pixels) * channels) + "\n");
    return difference.pixels == 0;
}
