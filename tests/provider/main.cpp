// Provides the definitions for the library and is not linked to it. Loads the library at run time, and then the module
// with the tests.

#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>

namespace {

void* found(void* result)
{
    if (result == nullptr) {
        std::puts(dlerror());
        std::exit(EXIT_FAILURE);
    }
    return result;
}

void* loaded(const char* path)
{
    return found(dlopen(path, RTLD_NOW | RTLD_GLOBAL));
}

} // namespace

int main(int argc, char** argv)
{
    if (dlsym(RTLD_DEFAULT, "_ZTV28ConfigurationManifestHandler") != nullptr) {
        std::puts("the library is there before it is loaded");
        return EXIT_FAILURE;
    }
    loaded(LIBRARY);
    void* const tests = loaded(TESTS);
    const auto run = reinterpret_cast<int (*)(int, char**)>(found(dlsym(tests, "run")));
    return run(argc, argv);
}
