# Install rules for the library, the substitute and the program, and for the development files of the two libraries.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(headers ${CMAKE_INSTALL_INCLUDEDIR}/configurationmanifest)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/ConfigurationManifest)

# The installed include folders correspond to those of the source tree, so #include directives work unchanged in both.
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
    # With a relative run path the program finds its libraries in an installed tree that was moved. Packages disable it.
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

# The substitute has a targets file of its own, because a device has the rest without it.
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

# The default library folders of the linker, as absolute paths on the target system.
set(root /)
if(CMAKE_SYSROOT)
    set(root ${CMAKE_SYSROOT})
endif()
set(system_libraries)
foreach(folder IN LISTS CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES)
    file(RELATIVE_PATH folder_in_root ${root} ${folder})
    list(APPEND system_libraries /${folder_in_root})
endforeach()
# Leave out folders that environment variables of this build have added.
list(FILTER system_libraries INCLUDE REGEX "^(/usr)?/lib")
configure_file(cmake/InstallPkgConfig.cmake.in InstallPkgConfig.cmake @ONLY)
install(SCRIPT ${PROJECT_BINARY_DIR}/InstallPkgConfig.cmake COMPONENT Development)
