# SPDX-License-Identifier: MIT
# What stands in for Visual Studio: the headers of the MinGW cross compiler, whose C++ library is used
# as far as it is all headers, and msvcrt.dll, which is part of Windows, for C and for exceptions.
#   windows_headers  compiler options; everything is compiled with them
#   windows_runtime  start-up and import libraries; every DLL links them
set(_folder ${CMAKE_CURRENT_LIST_DIR})

find_program(MINGW_CXX i686-w64-mingw32-g++-posix REQUIRED)

# The folders in which the cross compiler looks for headers, except for its own intrinsics: clang has
# those.
function(mingw_header_folders result)
  execute_process(COMMAND ${MINGW_CXX} -E -v -x c++ /dev/null
    OUTPUT_QUIET ERROR_VARIABLE report COMMAND_ERROR_IS_FATAL ANY)
  if(NOT report MATCHES "#include <...> search starts here:\n(.*)End of search list")
    message(FATAL_ERROR "${MINGW_CXX} does not tell where its headers are")
  endif()
  string(STRIP "${CMAKE_MATCH_1}" folders)
  string(REGEX REPLACE "\n *" ";" folders "${folders}")
  foreach(intrinsics include include-fixed)
    execute_process(COMMAND ${MINGW_CXX} -print-file-name=${intrinsics}
      OUTPUT_VARIABLE folder OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    list(REMOVE_ITEM folders ${folder})
  endforeach()
  set(${result} ${folders} PARENT_SCOPE)
endfunction()

add_library(windows_headers INTERFACE)
target_compile_options(windows_headers INTERFACE
  -fexceptions -fcxx-exceptions
  -fno-threadsafe-statics         # the guards would need Visual Studio's runtime
  -fgnuc-version=12.2.0 -U_MSC_VER -nostdinc++)  # the headers are written for g++
target_compile_definitions(windows_headers INTERFACE
  __MINGW32__=1 __MSVCRT__=1 _X86_=1 __CRT__NO_INLINE=1
  __declspec=__declspec)          # keeps the headers from defining it away
mingw_header_folders(_header_folders)
foreach(folder ${_header_folders})
  target_compile_options(windows_headers INTERFACE "SHELL:-isystem ${folder}")
endforeach()

add_library(windows_runtime STATIC ${_folder}/startup.cpp ${_folder}/operator_new.cpp)
target_compile_features(windows_runtime PRIVATE cxx_std_20)
target_compile_options(windows_runtime PRIVATE -Wall -Wextra)
target_link_libraries(windows_runtime PRIVATE windows_headers)
target_link_options(windows_runtime INTERFACE
  LINKER:/machine:x86 LINKER:/nodefaultlib LINKER:/safeseh LINKER:/opt:ref LINKER:/timestamp:0)

# import_library(DLL): builds DLL.lib of what DLL.def names, with windows_runtime.
function(import_library dll)
  set(library ${CMAKE_BINARY_DIR}/${dll}.lib)
  add_custom_command(OUTPUT ${library} DEPENDS ${_folder}/${dll}.def VERBATIM
    COMMAND llvm-dlltool -m i386 -k -d ${_folder}/${dll}.def -l ${library})
  target_sources(windows_runtime PRIVATE ${library})
endfunction()
foreach(dll msvcrt kernel32)
  import_library(${dll})
  target_link_libraries(windows_runtime INTERFACE ${CMAKE_BINARY_DIR}/${dll}.lib)
endforeach()
