# Everything that depends on the compiler, in one place.
add_library(project_flags INTERFACE)
target_compile_features(project_flags INTERFACE cxx_std_20)
target_include_directories(project_flags INTERFACE ${PROJECT_SOURCE_DIR})

if(MSVC AND NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(project_flags INTERFACE /W4 /WX /fp:precise /utf-8)
else()
  target_compile_options(project_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Woverloaded-virtual -Werror
    -ffp-contract=off       # results are compared bit for bit: one rounding per operation
    -fno-math-errno         # nobody reads errno; lets a square root be one instruction
    -fvisibility=hidden -fvisibility-inlines-hidden)
  # Without it a module that once was loaded stays in the process. Only g++ knows the option.
  target_compile_options(project_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
endif()

set(SAMPLERINFO_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")
if(SAMPLERINFO_SANITIZE)
  target_compile_options(project_flags INTERFACE
    -fsanitize=${SAMPLERINFO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(project_flags INTERFACE -fsanitize=${SAMPLERINFO_SANITIZE})
endif()
