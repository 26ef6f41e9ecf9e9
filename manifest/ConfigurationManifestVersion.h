#pragma once

// The version of these headers, in numbers, as text, and as one number that grows with each version:
//
//   #if CONFIGURATION_MANIFEST_VERSION >= CONFIGURATION_MANIFEST_VERSION_CHECK(1, 2, 0)
//
// Only the preprocessor is needed to read it.
#define CONFIGURATION_MANIFEST_VERSION_MAJOR 1
#define CONFIGURATION_MANIFEST_VERSION_MINOR 0
#define CONFIGURATION_MANIFEST_VERSION_PATCH 0
#define CONFIGURATION_MANIFEST_VERSION_STRING "1.0.0"

// Each of the three is below 256.
#define CONFIGURATION_MANIFEST_VERSION_CHECK(major, minor, patch) (((major) << 16) | ((minor) << 8) | (patch))
#define CONFIGURATION_MANIFEST_VERSION                                                                                 \
    CONFIGURATION_MANIFEST_VERSION_CHECK(CONFIGURATION_MANIFEST_VERSION_MAJOR, CONFIGURATION_MANIFEST_VERSION_MINOR,   \
        CONFIGURATION_MANIFEST_VERSION_PATCH)
