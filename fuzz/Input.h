#pragma once
// Numbers out of the bytes that the fuzzer gives. Behind their end every byte is 0.

#include <cstddef>
#include <cstdint>
#include <vector>

class Input {
public:
    Input(const std::uint8_t* bytes, std::size_t size) : at_(bytes), end_(bytes + size) {}

    bool IsAtEnd() const { return at_ == end_; }
    int Byte() { return at_ < end_ ? *at_++ : 0; }
    int Between(int low, int high) {  // both included, at most 65536 numbers
        const int number = 256 * Byte() + Byte();
        return low + number % (high - low + 1);
    }
    bool Chance(int inHowMany) { return Byte() % inHowMany == inHowMany - 1; }
    std::uint32_t Word() {
        std::uint32_t word = 0;
        for (int i = 0; i < 4; ++i) word = word << 8 | static_cast<std::uint32_t>(Byte());
        return word;
    }
    template <class T, std::size_t kCount>
    T OneOf(const T (&all)[kCount]) {
        static_assert(kCount <= 256);
        return all[static_cast<std::size_t>(Byte()) % kCount];
    }
    std::vector<std::uint8_t> Rest() const { return {at_, end_}; }

private:
    const std::uint8_t* at_;
    const std::uint8_t* end_;
};
