// Copies as much as it is told to into an array of a known size: a call that is checked when the compiler is asked to.

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
