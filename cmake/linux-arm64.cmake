# SPDX-License-Identifier: MIT
# 64-bit ARM Linux by Debian's cross compilers; an emulator of the processor runs the tests.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-gnu)  # clang compiles for any
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/aarch64-linux-gnu)

# No package of the building machine is meant for ARM.
set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# GoogleTest as the distribution has it, in sources.
set(SAMPLERINFO_GOOGLETEST /usr/src/googletest)
