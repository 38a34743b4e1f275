# SPDX-License-Identifier: MIT
# The installed sdk for the host's platform, from sources, as there is no C++ library for that layout to link:
#   Quor::sdk      the object model, compiler flags, start-up code
#   Quor::standin  the import library of the host's quor.dll
include(${CMAKE_CURRENT_LIST_DIR}/runtime.cmake)

set(_sources ${CMAKE_CURRENT_LIST_DIR}/object_model)
add_library(quor_sdk STATIC EXCLUDE_FROM_ALL
  ${_sources}/plugin.cpp ${_sources}/plugin_base.cpp ${_sources}/plugin_desc.cpp ${_sources}/texture_interfaces.cpp)
target_include_directories(quor_sdk PUBLIC ${QUOR_INCLUDE_FOLDER})
target_compile_features(quor_sdk PUBLIC cxx_std_20)
target_compile_options(quor_sdk PUBLIC -msse2 -mfpmath=sse)
target_link_libraries(quor_sdk PUBLIC windows_headers windows_runtime)
add_library(Quor::sdk ALIAS quor_sdk)

import_library(quor)
add_library(Quor::standin INTERFACE IMPORTED)
target_link_libraries(Quor::standin INTERFACE ${CMAKE_BINARY_DIR}/quor.lib)
