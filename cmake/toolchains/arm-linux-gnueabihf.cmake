# Toolchain for 32-bit ARM Linux with Debian's cross compiler. CMAKE_SYSROOT is the absolute path of a folder that
# contains the headers and libraries of the device:
#
#   cmake --toolchain arm-linux-gnueabihf.cmake -DCMAKE_SYSROOT=FOLDER ...
if(NOT IS_ABSOLUTE "${CMAKE_SYSROOT}" OR NOT IS_DIRECTORY "${CMAKE_SYSROOT}")
    message(FATAL_ERROR "CMAKE_SYSROOT is \"${CMAKE_SYSROOT}\". It has to be the whole path of a folder with the headers "
        "and libraries of the device: cmake -DCMAKE_SYSROOT=FOLDER ...")
endif()

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# Silences notes about arguments that GCC before version 7 passed in another way.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Runs programs for the device on this machine.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -L ${CMAKE_SYSROOT})
