# What is installed: the library, the substitute and the program, and what a developer needs of the first two.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(headers ${CMAKE_INSTALL_INCLUDEDIR}/configurationmanifest)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/ConfigurationManifest)

# The include folders are those of this tree, so that a header is included in the same way here and there.
target_include_directories(ConfigurationManifest_definitions INTERFACE
    $<INSTALL_INTERFACE:${headers}> $<INSTALL_INTERFACE:${headers}/definitions>)
target_include_directories(ConfigurationManifest_manifest INTERFACE $<INSTALL_INTERFACE:${headers}/manifest>)

install(TARGETS ConfigurationManifest_definitions ConfigurationManifest_manifest EXPORT ConfigurationManifest
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development)
install(TARGETS ConfigurationManifest_substitute EXPORT ConfigurationManifestSubstitute
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Substitute NAMELINK_COMPONENT Development)
if(CONFIGURATION_MANIFEST_BUILD_TOOL)
    install(TARGETS ConfigurationManifest_program DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Tool)
    install(FILES tools/configuration-manifest.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Tool)
    # The program finds the libraries beside it, wherever the installed tree is moved. Packages have no run path.
    if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR} OR IS_ABSOLUTE ${CMAKE_INSTALL_BINDIR})
        set_target_properties(ConfigurationManifest_program PROPERTIES INSTALL_RPATH ${CMAKE_INSTALL_FULL_LIBDIR})
    else()
        file(RELATIVE_PATH libraries /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
        set_target_properties(ConfigurationManifest_program PROPERTIES INSTALL_RPATH "\$ORIGIN/${libraries}")
    endif()
endif()

install(FILES
    manifest/ConfigurationManifestCreator.h
    manifest/ConfigurationManifestExport.h
    manifest/ConfigurationManifestHandler.h
    manifest/ConfigurationManifestVersion.h
    manifest/ConfigurationStructureElement.h
    manifest/ConfigurationStructureElementList.h
    manifest/JsonDataIteratorConfigurationInstanceCollector.h
    manifest/JsonDataIteratorConfigurationInstanceListUpdater.h
    DESTINATION ${headers}/manifest COMPONENT Development)
install(FILES cmake/toolchains/arm-linux-gnueabihf.cmake
    DESTINATION ${CMAKE_INSTALL_DATADIR}/configurationmanifest COMPONENT Development)
install(PROGRAMS definitions/check-definitions
    DESTINATION ${CMAKE_INSTALL_DATADIR}/configurationmanifest COMPONENT Development)
install(DIRECTORY definitions substitute DESTINATION ${headers} COMPONENT Development FILES_MATCHING PATTERN *.h)

# The substitute is described by a file of its own: a device has the rest without it.
install(EXPORT ConfigurationManifest
    FILE ConfigurationManifestTargets.cmake NAMESPACE ConfigurationManifest::
    DESTINATION ${package} COMPONENT Development)
install(EXPORT ConfigurationManifestSubstitute
    FILE ConfigurationManifestSubstituteTargets.cmake NAMESPACE ConfigurationManifest::
    DESTINATION ${package} COMPONENT Development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ConfigurationManifestConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
configure_package_config_file(cmake/ConfigurationManifestConfig.cmake.in
    ${PROJECT_BINARY_DIR}/ConfigurationManifestConfig.cmake
    INSTALL_DESTINATION ${package} PATH_VARS CMAKE_INSTALL_LIBDIR)
install(FILES
    ${PROJECT_BINARY_DIR}/ConfigurationManifestConfig.cmake
    ${PROJECT_BINARY_DIR}/ConfigurationManifestConfigVersion.cmake
    DESTINATION ${package} COMPONENT Development)

# Where the linker looks by itself, as seen from the root of the system that is built for.
set(root /)
if(CMAKE_SYSROOT)
    set(root ${CMAKE_SYSROOT})
endif()
set(system_libraries)
foreach(folder IN LISTS CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES)
    file(RELATIVE_PATH folder_in_root ${root} ${folder})
    list(APPEND system_libraries /${folder_in_root})
endforeach()
# Not those that the environment has added here.
list(FILTER system_libraries INCLUDE REGEX "^(/usr)?/lib")
configure_file(cmake/InstallPkgConfig.cmake.in InstallPkgConfig.cmake @ONLY)
install(SCRIPT ${PROJECT_BINARY_DIR}/InstallPkgConfig.cmake COMPONENT Development)
