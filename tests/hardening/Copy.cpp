// Code that the compiler checks with the hardening options: a copy of a variable size into an array of known size, and
// an index into a container.

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
