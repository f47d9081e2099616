# Toolchain of the 32-bit ARM builds: the packages g++-arm-linux-gnueabihf and, to run what was
# built, qemu-user.
#
# The baseline is that of Debian's armhf: ARMv7-A, Thumb-2, hard float with the 16 registers of
# VFPv3-D16. Every Cortex-A has these; a few have no NEON, and a NEON instruction ends the program
# there. So the image decoder asks the kernel before it takes its NEON code; the rest has none.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
find_program(TAVO_ARM_COMPILER ${CMAKE_CXX_COMPILER})
mark_as_advanced(TAVO_ARM_COMPILER)
if(NOT TAVO_ARM_COMPILER)
    message(FATAL_ERROR "The compiler for ARM is missing: install the package "
        "g++-arm-linux-gnueabihf")
endif()

set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf)
