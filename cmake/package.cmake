# SPDX-License-Identifier: MIT
# What CPack makes of the installed tree; scripts/release.sh runs it.
set(CPACK_PACKAGE_NAME samplerinfo)
set(CPACK_PACKAGE_VENDOR "the SamplerInfo authors")
set(CPACK_PACKAGE_CONTACT "the SamplerInfo authors <samplerinfo@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Texture plugins for the renderer Quor, with tools and sdk")
set(CPACK_PACKAGE_DESCRIPTION
"Five plugins sample and combine data of the shaded point, exact to the bit.
A reference renderer shows what they answer, a validator tries modules as
the renderer does, and the sdk is for plugins of one's own.")
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/pack.cmake)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
if(NOT WIN32)
  set(CPACK_STRIP_FILES ON)
  set(CPACK_SYSTEM_NAME "${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS fonts-dejavu-core)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/triggers)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
