# SPDX-License-Identifier: MIT
# What CPack makes of the installed tree; scripts/release.sh runs it.
set(CPACK_PACKAGE_NAME samplerinfo)
set(CPACK_PACKAGE_VENDOR "the SamplerInfo authors")
set(CPACK_PACKAGE_CONTACT "the SamplerInfo authors <samplerinfo@example.org>")
set(CPACK_PACKAGE_DESCRIPTION
"Five plugins sample and combine data of the shaded point, exact to the bit.
A reference renderer shows what they answer, a validator tries modules as
the renderer does, and the sdk is for plugins of one's own.")
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/pack.cmake)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
if(NOT WIN32)
  set(CPACK_STRIP_FILES ON)
  set(CPACK_STRIP_PROGRAM ${CMAKE_STRIP})
  set(CPACK_SYSTEM_NAME "${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
endif()
# A Debian package for each component; the archives have everything.
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
if(CMAKE_CROSSCOMPILING)  # Debian's tool looks for libraries of the building machine alone
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
  set(libraries "libc6 (>= 2.36), libgcc-s1 (>= 12), libstdc++6 (>= 12)")
else()
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
endif()
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# debian_package(COMPONENT NAME DEPENDS SUMMARY)
macro(debian_package component name depends summary)
  set(CPACK_DEBIAN_${component}_PACKAGE_NAME ${name})
  set(depends_on ${depends})  # without empty ones
  list(JOIN depends_on ", " CPACK_DEBIAN_${component}_PACKAGE_DEPENDS)
  set(CPACK_DEBIAN_${component}_DESCRIPTION "${summary}\n${CPACK_PACKAGE_DESCRIPTION}")
endmacro()
debian_package(PLUGIN samplerinfo "${libraries}" "Texture plugins for the renderer Quor")
debian_package(TOOLS samplerinfo-tools "${libraries};samplerinfo (= ${PROJECT_VERSION});fonts-dejavu-core"
  "Texture plugins for the renderer Quor: renderer and validator")
debian_package(SDK samplerinfo-dev "samplerinfo-tools (= ${PROJECT_VERSION})"
  "Texture plugins for the renderer Quor: sdk for further ones")
debian_package(DOCUMENTS samplerinfo-doc "" "Texture plugins for the renderer Quor: documents and scenes")
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_SDK_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_SECTION doc)
include(CPack)
