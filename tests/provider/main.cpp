// Provides the imports of the library, knows nothing else of it, and loads it, and then tests that use it.

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
