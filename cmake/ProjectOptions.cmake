# Compiler and linker options of all targets in this tree. Consumers of the library do not get any of them.
include(CheckCXXCompilerFlag)

add_library(ConfigurationManifest_options INTERFACE)

target_compile_definitions(ConfigurationManifest_options INTERFACE
    # Without this, release builds log messages without file, line and function. A device is debugged through its log.
    QT_MESSAGELOGCONTEXT
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_URL_CAST_FROM_STRING
    QT_USE_QSTRINGBUILDER
    QT_NO_KEYWORDS
    QT_NO_FOREACH
    QT_STRICT_ITERATORS
    QT_DISABLE_DEPRECATED_BEFORE=0x050E00)

target_compile_options(ConfigurationManifest_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    -Wold-style-cast -Wcast-qual -Wundef)
if(CONFIGURATION_MANIFEST_WARNINGS_AS_ERRORS)
    add_compile_options(-Werror)
endif()

# Messages and debug information name source files by their paths in the project, wherever it is built. If several
# options match a path, the last one counts. For sources inside the build folder, the compiler gets relative paths.
set(map_sources -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
set(map_build)
foreach(folder IN ITEMS ${CMAKE_BINARY_DIR} ${PROJECT_BINARY_DIR})
    list(APPEND map_build -ffile-prefix-map=${folder}=. -ffile-prefix-map=${folder}/=)
endforeach()
file(RELATIVE_PATH sources_in_build ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})
if(sources_in_build MATCHES "^(\\.\\./|\\.\\.$|$)")
    set(path_maps ${map_sources} ${map_build})
else()
    set(path_maps ${map_build} ${map_sources} -ffile-prefix-map=${sources_in_build}/=)
endif()
if(CMAKE_SYSROOT)
    list(APPEND path_maps -ffile-prefix-map=${CMAKE_SYSROOT}/=/)
endif()
# Coverage reports must find the sources, so only macros like __FILE__ are mapped for them.
if(CONFIGURATION_MANIFEST_FUZZ_COVERAGE)
    list(TRANSFORM path_maps REPLACE "^-ffile-" -fmacro-)
endif()
target_compile_options(ConfigurationManifest_options INTERFACE ${path_maps})

# Hardening for everything that is installed: checked calls to the C library and checked containers, read-only
# relocations, stack protection, stack clash protection, control-flow protection and zero-initialised variables.
add_library(ConfigurationManifest_hardened INTERFACE)
target_compile_options(ConfigurationManifest_hardened INTERFACE
    "SHELL:-include \"${CMAKE_CURRENT_LIST_DIR}/CheckedCalls.h\"")
target_link_options(ConfigurationManifest_hardened INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)

# Adds -f<feature><level> if the compiler supports it for this architecture, unless CMAKE_CXX_FLAGS sets the feature.
function(ConfigurationManifest_harden feature level)
    string(TOUPPER ${feature} name)
    string(REPLACE - _ variable CONFIGURATION_MANIFEST_HAS_${name})
    if(NOT CMAKE_CXX_FLAGS MATCHES "-f(no-)?${feature}")
        check_cxx_compiler_flag(-f${feature}${level} ${variable})
        if(${variable})
            target_compile_options(ConfigurationManifest_hardened INTERFACE -f${feature}${level})
        endif()
    endif()
endfunction()

ConfigurationManifest_harden(stack-protector -strong)
ConfigurationManifest_harden(stack-clash-protection "")
ConfigurationManifest_harden(cf-protection "")
# Zero-initialisation would hide uninitialised variables from a memory checker.
if(NOT CONFIGURATION_MANIFEST_MEMORY_CHECKED)
    ConfigurationManifest_harden(trivial-auto-var-init =zero)
endif()
