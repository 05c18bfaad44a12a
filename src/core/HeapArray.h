#pragma once
// Memory for an operation's own use.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace zor {

// Zero-filled memory that is freed at the end of the scope. False, with nothing behind it, where it cannot be had: for
// want of memory, and where the count is negative or more than can be addressed, as sizes of images on memory of the
// application's own may be. A count of 0 can be had.
template <class T>
class HeapArray {
public:
    // Nothing, as where none can be had.
    HeapArray() = default;

    explicit HeapArray(std::int64_t count) : HeapArray(count, 1) {}

    // count * size elements. Products of sizes are formed here, where one that has no room in a number is refused.
    HeapArray(std::int64_t count, std::int64_t size)
        : memory_(CanBeHad(count, size) ? static_cast<T*>(std::calloc(AtLeastOne(count * size), sizeof(T))) : nullptr) {
    }

    T* get() const { return memory_.get(); }
    explicit operator bool() const { return memory_ != nullptr; }

private:
    // Half a tebibyte: no operation comes near it, and allocators that check their callers end the process over more.
    static constexpr std::int64_t kMaxBytes = std::int64_t{1} << 39;

    static bool CanBeHad(std::int64_t count, std::int64_t size) {
        constexpr std::int64_t kAddressable = static_cast<std::int64_t>(PTRDIFF_MAX);
        constexpr std::int64_t kMaxCount =
            (kAddressable < kMaxBytes ? kAddressable : kMaxBytes) / static_cast<std::int64_t>(sizeof(T));
        return count >= 0 && size >= 0 && (size == 0 || count <= kMaxCount / size);
    }
    static std::size_t AtLeastOne(std::int64_t count) { return static_cast<std::size_t>(count > 0 ? count : 1); }

    struct Free {
        void operator()(T* memory) const { std::free(memory); }
    };
    std::unique_ptr<T, Free> memory_;
};

}  // namespace zor
