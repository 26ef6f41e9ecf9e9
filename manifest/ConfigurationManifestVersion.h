#pragma once

/**
 * @file
 * The version of these headers: as three numbers, as a string, and as one number that grows with every version.
 *
 *     #if CONFIGURATION_MANIFEST_VERSION >= CONFIGURATION_MANIFEST_VERSION_CHECK(1, 2, 0)
 *
 * This header includes nothing and declares nothing, so the preprocessor alone can read it.
 */

/// Major version. It changes when programs have to be compiled again.
#define CONFIGURATION_MANIFEST_VERSION_MAJOR 1
/// Minor version. It changes when something is added.
#define CONFIGURATION_MANIFEST_VERSION_MINOR 0
/// Patch version. It changes with corrections that add nothing.
#define CONFIGURATION_MANIFEST_VERSION_PATCH 0
/// The version as a string, "major.minor.patch".
#define CONFIGURATION_MANIFEST_VERSION_STRING "1.0.0"

/**
 * A version as one number, for comparison with #CONFIGURATION_MANIFEST_VERSION.
 *
 * @param major major version, below 256.
 * @param minor minor version, below 256.
 * @param patch patch version, below 256.
 * @return an integer constant that the preprocessor can evaluate.
 */
#define CONFIGURATION_MANIFEST_VERSION_CHECK(major, minor, patch) (((major) << 16) | ((minor) << 8) | (patch))
/// The version of these headers as one number, made by #CONFIGURATION_MANIFEST_VERSION_CHECK.
#define CONFIGURATION_MANIFEST_VERSION                                                                                 \
    CONFIGURATION_MANIFEST_VERSION_CHECK(CONFIGURATION_MANIFEST_VERSION_MAJOR, CONFIGURATION_MANIFEST_VERSION_MINOR,   \
        CONFIGURATION_MANIFEST_VERSION_PATCH)
