# SPDX-License-Identifier: MIT
# Builds on Linux for the host's platform: 32-bit Windows with the object layout of Microsoft's C++
# compiler. A MinGW build will not do: its objects have two slots for the destructor where the host
# expects one. clang knows the layout; what else a DLL needs is in this folder.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET i686-pc-windows-msvc)
set(CMAKE_CXX_COMPILER_TARGET i686-pc-windows-msvc)
set(CMAKE_AR llvm-ar)
set(CMAKE_RANLIB llvm-ranlib)
set(CMAKE_RC_COMPILER llvm-rc)
set(CMAKE_MT llvm-mt)
set(CMAKE_CROSSCOMPILING_EMULATOR wine)

# No package of the building machine is meant for Windows.
set(CMAKE_FIND_ROOT_PATH ${CMAKE_CURRENT_LIST_DIR})
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# There is no C runtime to link before the project has been configured.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

# No library of Visual Studio's, neither named to the linker nor recorded in the object files.
set(CMAKE_MSVC_RUNTIME_LIBRARY "")
set(CMAKE_CXX_STANDARD_LIBRARIES "" CACHE STRING "" FORCE)
set(CMAKE_USER_MAKE_RULES_OVERRIDE_CXX ${CMAKE_CURRENT_LIST_DIR}/link_rules.cmake)

set(SAMPLERINFO_WINDOWS_RUNTIME ${CMAKE_CURRENT_LIST_DIR}/runtime.cmake)
if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/../QuorConfig.cmake)  # where the sdk is installed
  set(Quor_DIR ${CMAKE_CURRENT_LIST_DIR}/..)
endif()
