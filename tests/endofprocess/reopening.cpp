// Repeatedly opens a module that uses the library, calls it and closes it: reopening MODULE FOLDER. Prints by how many
// bytes the heap has grown from the second to the 22nd round.

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
        // The loader allocates a little more memory in the second round.
        if (round == 2) {
            early = heapUse().kept;
        }
    }
    std::printf("%lld\n", heapUse().kept - early);
    return EXIT_SUCCESS;
}
