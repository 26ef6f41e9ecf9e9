include(CMakeFindDependencyMacro)
find_dependency(Qt5Core 5.14)
include(${CMAKE_CURRENT_LIST_DIR}/ConfigurationManifestTargets.cmake)
