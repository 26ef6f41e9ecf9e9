// Included before everything else in what is installed. Here and not on the command line, where it would contradict what a
// distribution has set there or built into its compiler.

// GCC tells with a macro that the address sanitizer is at work, and clang in this way.
#if defined(__has_feature)
#define CONFIGURATION_MANIFEST_HAS_FEATURE(feature) __has_feature(feature)
#else
#define CONFIGURATION_MANIFEST_HAS_FEATURE(feature) 0
#endif

// Only optimised code can be checked in this way, and the C library warns of the attempt to check other code. The address
// sanitizer checks more by itself.
#if defined(__OPTIMIZE__) && !defined(_FORTIFY_SOURCE) && !defined(__SANITIZE_ADDRESS__)                               \
    && !CONFIGURATION_MANIFEST_HAS_FEATURE(address_sanitizer)
#define _FORTIFY_SOURCE 2
#endif

#if !defined(_GLIBCXX_ASSERTIONS)
#define _GLIBCXX_ASSERTIONS 1
#endif
