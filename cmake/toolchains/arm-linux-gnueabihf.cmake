# 32-bit ARM Linux with Debian's cross compiler. The headers and libraries of the device lie in a folder of their own, whose
# whole path is given when configuring:
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
# Otherwise the compiler notes wherever code of compilers before version 7 would pass arguments in another way.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# What runs the device's programs on this machine.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -L ${CMAKE_SYSROOT})
