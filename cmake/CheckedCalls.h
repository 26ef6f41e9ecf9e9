// Included before everything else in the sources of installed binaries. Macros on the command line would conflict with
// those that a distribution passes there or builds into its compiler; a header can check for them.

// For the address sanitizer, GCC defines __SANITIZE_ADDRESS__, and clang has __has_feature().
#if defined(__has_feature)
#define CONFIGURATION_MANIFEST_HAS_FEATURE(feature) __has_feature(feature)
#else
#define CONFIGURATION_MANIFEST_HAS_FEATURE(feature) 0
#endif

// _FORTIFY_SOURCE works only in optimised code; elsewhere the C library warns about it. The address sanitizer checks
// more by itself.
#if defined(__OPTIMIZE__) && !defined(_FORTIFY_SOURCE) && !defined(__SANITIZE_ADDRESS__)                               \
    && !CONFIGURATION_MANIFEST_HAS_FEATURE(address_sanitizer)
#define _FORTIFY_SOURCE 2
#endif

#if !defined(_GLIBCXX_ASSERTIONS)
#define _GLIBCXX_ASSERTIONS 1
#endif
