# SPDX-License-Identifier: MIT
# How to link a DLL. CMake's own rules want the resource tools of Visual Studio, for a manifest that
# nobody reads, and a debug database.
set(CMAKE_CXX_CREATE_SHARED_LIBRARY
  "<CMAKE_CXX_COMPILER> --target=i686-pc-windows-msvc -fuse-ld=lld-link -nostartfiles -nostdlib -shared <LINK_FLAGS> -o <TARGET> -Xlinker /implib:<TARGET_IMPLIB> <OBJECTS> <LINK_LIBRARIES>")
set(CMAKE_CXX_CREATE_SHARED_MODULE "${CMAKE_CXX_CREATE_SHARED_LIBRARY}")
