# SPDX-License-Identifier: MIT
# Everything that depends on the compiler, in one place.
add_library(project_flags INTERFACE)
target_compile_features(project_flags INTERFACE cxx_std_20)
target_include_directories(project_flags INTERFACE ${PROJECT_SOURCE_DIR})

if(CMAKE_CXX_COMPILER_ID STREQUAL "MSVC")
  message(FATAL_ERROR "This compiler has no vector types; choose the toolset ClangCL: -T ClangCL")
endif()
if(MSVC)
  target_compile_options(project_flags INTERFACE /W4 /utf-8 /fp:precise /clang:-ffp-contract=off)
else()
  target_compile_options(project_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Woverloaded-virtual
    -ffp-contract=off       # results are compared bit for bit: one rounding per operation
    -falign-functions=64    # what an evaluation costs doesn't depend on what lies before it
    -fno-math-errno         # nobody reads errno; lets a square root be one instruction
    -fvisibility=hidden -fvisibility-inlines-hidden)
  target_compile_options(project_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:
    -fno-gnu-unique   # without it a module that once was loaded stays in the process
    -Wno-restrict>)   # g++ 12 finds overlaps in the concatenation of strings where there are none
  if(NOT WIN32)
    target_link_options(project_flags INTERFACE LINKER:-z,relro,-z,now)
  endif()
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)  # the x87 registers would round otherwise
    target_compile_options(project_flags INTERFACE -msse2 -mfpmath=sse)
  endif()
endif()

if(NOT WIN32)
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES CXX)
endif()

set(SAMPLERINFO_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")

# For programs, as Debian builds them. Not for the library: a guard would stand in each evaluation.
add_library(hardened INTERFACE)
if(NOT WIN32 AND NOT SAMPLERINFO_SANITIZE)
  include(CheckCXXCompilerFlag)
  set(CMAKE_REQUIRED_FLAGS -Werror)
  check_cxx_compiler_flag(-fstack-clash-protection has_stack_clash_protection)  # clang 14 not on every processor
  target_compile_options(hardened INTERFACE
    -fstack-protector-strong -Wformat-security
    $<$<BOOL:${has_stack_clash_protection}>:-fstack-clash-protection>
    $<$<CONFIG:Release,RelWithDebInfo>:-D_FORTIFY_SOURCE=2>)
endif()

if(SAMPLERINFO_WINDOWS_RUNTIME)  # a toolchain without Visual Studio brings what stands in for it
  include(${SAMPLERINFO_WINDOWS_RUNTIME})
  target_link_libraries(project_flags INTERFACE windows_headers windows_runtime)
endif()

if(SAMPLERINFO_SANITIZE)
  target_compile_options(project_flags INTERFACE
    -fsanitize=${SAMPLERINFO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all
    # A host's tables have no C++ type information in front of them, nor does it call by C++ types.
    -fno-sanitize=vptr $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>)
  target_link_options(project_flags INTERFACE -fsanitize=${SAMPLERINFO_SANITIZE})
endif()
