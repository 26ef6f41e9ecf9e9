// Opens a module that uses the library, uses it and closes it, again and again: reopening MODULE FOLDER. Prints how much
// more the heap holds after 22 times than after two.

#include "HeapUse.h"

#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>

int main(int, char** argv)
{
    constexpr int rounds = 22;
    qint64 early = 0;
    for (int round = 1; round <= rounds; ++round) {
        void* const module = dlopen(argv[1], RTLD_NOW);
        if (module == nullptr) {
            std::puts(dlerror());
            return EXIT_FAILURE;
        }
        const auto use = reinterpret_cast<int (*)(const char*)>(dlsym(module, "use"));
        if (use == nullptr || use(argv[2]) != 4) {
            std::puts("the library does not work");
            return EXIT_FAILURE;
        }
        dlclose(module);
        // The loader takes a little more the second time.
        if (round == 2) {
            early = heapUse().kept;
        }
    }
    std::printf("%lld\n", heapUse().kept - early);
    return EXIT_SUCCESS;
}
