# What is installed: the library, the substitute and the program, and what a developer needs of the first two.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(headers ${CMAKE_INSTALL_INCLUDEDIR}/configurationmanifest)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/ConfigurationManifest)

# The include folders are those of this tree, so that a header is included in the same way here and there.
target_include_directories(definitions INTERFACE
    $<INSTALL_INTERFACE:${headers}> $<INSTALL_INTERFACE:${headers}/definitions>)
target_include_directories(manifest INTERFACE $<INSTALL_INTERFACE:${headers}/manifest>)

install(TARGETS definitions manifest EXPORT ConfigurationManifest
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development)
install(TARGETS substitute EXPORT ConfigurationManifest
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Substitute NAMELINK_COMPONENT Development)
install(TARGETS configuration-manifest DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Tool)
install(FILES tools/configuration-manifest.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Tool)
# The program finds the libraries beside it, wherever the installed tree is moved. Packages have no run path.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR} OR IS_ABSOLUTE ${CMAKE_INSTALL_BINDIR})
    set_target_properties(configuration-manifest PROPERTIES INSTALL_RPATH ${CMAKE_INSTALL_FULL_LIBDIR})
else()
    file(RELATIVE_PATH libraries /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
    set_target_properties(configuration-manifest PROPERTIES INSTALL_RPATH "\$ORIGIN/${libraries}")
endif()

install(FILES
    manifest/ConfigurationManifestCreator.h
    manifest/ConfigurationManifestExport.h
    manifest/ConfigurationManifestHandler.h
    manifest/ConfigurationStructureElement.h
    manifest/ConfigurationStructureElementList.h
    manifest/JsonDataIteratorConfigurationInstanceCollector.h
    manifest/JsonDataIteratorConfigurationInstanceListUpdater.h
    DESTINATION ${headers}/manifest COMPONENT Development)
install(DIRECTORY definitions substitute DESTINATION ${headers} COMPONENT Development FILES_MATCHING PATTERN *.h)

install(EXPORT ConfigurationManifest
    FILE ConfigurationManifestTargets.cmake NAMESPACE ConfigurationManifest::
    DESTINATION ${package} COMPONENT Development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ConfigurationManifestConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES cmake/ConfigurationManifestConfig.cmake ${PROJECT_BINARY_DIR}/ConfigurationManifestConfigVersion.cmake
    DESTINATION ${package} COMPONENT Development)

# The .pc files say the way from themselves up to the prefix, so that the installed tree can be moved.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
    set(pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
    string(REGEX REPLACE "[^/]+" ".." up ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
    set(pc_prefix "\${pcfiledir}/${up}")
endif()
cmake_path(APPEND pc_libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
cmake_path(APPEND pc_includedir "\${prefix}" ${headers})
foreach(name configurationmanifest configurationmanifestsubstitute)
    configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${name}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
endforeach()
