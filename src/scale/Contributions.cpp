#include "scale/Contributions.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace zor {

namespace {

constexpr std::int64_t kMaxBytes = 2147483647;

// Samples that can have a weight at all, both ends included; left above right: none.
struct SampleSpan {
    int left;
    int right;
};

SampleSpan SpanAround(const FilterKernel& kernel, ScaleAxis axis, double scale, int size, double center) {
    double left, right;
    if (scale < 1.0) {
        const double reach = kernel.radius / scale;
        left = std::trunc(center - reach);
        right = std::trunc(center + reach);
    } else if (axis == ScaleAxis::kHorizontal) {
        left = std::floor(center - kernel.radius);
        right = std::ceil(center + kernel.radius);
    } else {
        left = std::trunc(center - kernel.radius);
        right = std::trunc(center + kernel.radius);
    }
    SampleSpan span;
    span.left = left > 0.0 ? static_cast<int>(std::min(left, 2147483647.0)) : 0;
    span.right = right < size ? static_cast<int>(right) : size - 1;
    return span;
}

}  // namespace

std::int64_t ListCapacity(const FilterKernel& kernel, ScaleAxis axis, double scale) {
    if (!(scale < 1.0)) return axis == ScaleAxis::kHorizontal ? kernel.horizontalCapacity : kernel.verticalCapacity;
    const double reach = kernel.radius / scale;
    if (axis == ScaleAxis::kHorizontal) return 2 * static_cast<std::int64_t>(reach) + 2;
    return static_cast<std::int64_t>(reach + reach + 2.0);
}

void BuildList(const FilterKernel& kernel, ScaleAxis axis, double scale, int size, double position,
               ContributionList* list) {
    *list = {};
    const std::int64_t capacity = ListCapacity(kernel, axis, scale);
    const std::int64_t bytes = capacity * static_cast<std::int64_t>(sizeof(Contribution));
    if (bytes > kMaxBytes) return;
    list->entries = static_cast<Contribution*>(std::calloc(static_cast<std::size_t>(bytes), 1));
    if (!list->entries) return;

    const double center = (position + 0.5) / scale;
    const SampleSpan span = SpanAround(kernel, axis, scale, size, center);
    double weightSum = 0.0;
    for (std::int64_t j = span.left; j <= span.right && list->count < capacity; ++j) {
        const double offset = center - static_cast<double>(j) - 0.5;
        const double distance = std::fabs(scale < 1.0 ? offset * scale : offset);
        if (!kernel.Supports(distance)) continue;
        const double weight = kernel.weight(distance);
        if (weight == 0.0) continue;
        list->entries[list->count++] = {static_cast<float>(weight), static_cast<int>(j)};
        weightSum += weight;
    }
    list->weightSum = static_cast<float>(weightSum);
}

ContributionTable::~ContributionTable() {
    FreeEntries();
    std::free(lists_);
}

bool ContributionTable::Allocate(int lists) {
    if (lists < 0 || lists * static_cast<std::int64_t>(sizeof(ContributionList)) > kMaxBytes) return false;
    lists_ = static_cast<ContributionList*>(std::calloc(static_cast<std::size_t>(lists), sizeof(ContributionList)));
    count_ = lists_ ? lists : 0;
    return lists_ != nullptr;
}

void ContributionTable::Build(const FilterKernel& kernel, ScaleAxis axis, double scale, int size, int lists,
                              YieldData* yield, int first) {
    double position = static_cast<double>(first);
    for (int i = 0; i < lists; ++i, position += 1.0) {
        BuildList(kernel, axis, scale, size, position, &lists_[i]);
        if (yield) YieldIfAsked(yield);
    }
}

void ContributionTable::FreeEntries() {
    for (int i = 0; i < count_; ++i) {
        std::free(lists_[i].entries);
        lists_[i] = {};
    }
}

}  // namespace zor
