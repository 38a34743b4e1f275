# SPDX-License-Identifier: MIT
# 32-bit Windows with the MinGW cross compiler. Its objects are not laid out as the host expects, but it
# has a whole C++ library, so the unit tests run on Windows' arithmetic, heap and locks with it.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86)
set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)
set(CMAKE_CROSSCOMPILING_EMULATOR wine)

# No package of the building machine is meant for Windows.
set(CMAKE_FIND_ROOT_PATH ${CMAKE_CURRENT_LIST_DIR})
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Windows looks for libraries beside the program, so that is where they go, those of the compiler with
# them: with copies of its runtime linked into each DLL no exception could leave one.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
foreach(library libgcc_s_dw2-1 libstdc++-6 libwinpthread-1)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}.dll
    OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  file(COPY ${file} DESTINATION ${CMAKE_BINARY_DIR})
endforeach()

# GoogleTest as the distribution has it, in sources. Tests are listed when they are run, which is when
# Wine is there.
set(SAMPLERINFO_GOOGLETEST /usr/src/googletest)
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
