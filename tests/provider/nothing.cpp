// Loads the library that is given as argument into a process that provides no definitions, and prints the loader's
// error.

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
