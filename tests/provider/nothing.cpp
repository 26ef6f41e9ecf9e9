// Loads the library named by its argument into a process that provides nothing, and says what the loader says.

#include <cstdio>

#include <dlfcn.h>

int main(int, char* argv[])
{
    if (dlopen(argv[1], RTLD_NOW) == nullptr) {
        std::puts(dlerror());
        return 1;
    }
    return 0;
}
