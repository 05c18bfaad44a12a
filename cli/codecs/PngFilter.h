#pragma once
// Rows of a PNG file: each begins with the number of its filter, which takes from every byte what its neighbours let
// expect, so that what is left is mostly near 0.

#include <cstddef>
#include <cstdint>

constexpr int kPngFilters = 5;  // none, left, above, mean of the two, and the nearest of three

// `bytes` of a row below `above` by a filter; `step` bytes are a pixel. The rows and the result lie apart.
void FilterPngRow(int filter, const std::uint8_t* row, const std::uint8_t* above, std::size_t bytes, std::size_t step,
                  std::uint8_t* result);

// By the filter that leaves the least: its number and then the bytes into `result`. `trial` has room for the bytes.
void FilterPngRowBest(const std::uint8_t* row, const std::uint8_t* above, std::size_t bytes, std::size_t step,
                      std::uint8_t* trial, std::uint8_t* result);
