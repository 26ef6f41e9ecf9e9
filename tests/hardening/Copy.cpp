// What the compiler checks when it is asked to: a copy of as much as it is told into an array of a known size, and an index
// into a container.

#include <array>
#include <cstddef>
#include <cstring>

extern "C" __attribute__((visibility("default"))) int sumOfCopy(const char* bytes, std::size_t count)
{
    char copy[16] = {};
    std::memcpy(copy, bytes, count);
    int sum = 0;
    for (const char byte : copy) {
        sum += byte;
    }
    return sum;
}

extern "C" __attribute__((visibility("default"))) int elementOf(const std::array<int, 4>& numbers, std::size_t index)
{
    return numbers[index];
}
