# SPDX-License-Identifier: MIT
# What is installed, and packed by CPack: the plugin, the tools, the sdk with which others build plugins (it needs the
# tools' stand-in), the documents.
if(WIN32)
  set(plugin_folder .)
  set(document_folder doc)
  set(scene_folder doc)
else()
  include(GNUInstallDirs)
  set(plugin_folder ${CMAKE_INSTALL_LIBDIR}/quor/plugins)
  set(standin_folder ${CMAKE_INSTALL_LIBDIR}/quor/standin)  # where no loader finds it in place of the host's library
  set(sdk_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Quor)
  set(document_folder ${CMAKE_INSTALL_DATADIR}/doc/samplerinfo)
  set(scene_folder ${CMAKE_INSTALL_DATADIR}/samplerinfo)
endif()

install(TARGETS samplerinfo LIBRARY DESTINATION ${plugin_folder} COMPONENT plugin)
install(FILES LICENSE DESTINATION ${document_folder} COMPONENT plugin)
# Documents, and the example that they link to, beside each other as here.
install(FILES CHANGELOG.md CONTRIBUTING.md LICENSE README.md SECURITY.md
  DESTINATION ${document_folder} COMPONENT documents)
install(DIRECTORY docs examples DESTINATION ${document_folder} COMPONENT documents
  PATTERN build EXCLUDE)
install(DIRECTORY scenes DESTINATION ${scene_folder} COMPONENT documents)

if(WIN32)
  return()
endif()

file(CREATE_LINK ../../samplerinfo/scenes ${PROJECT_BINARY_DIR}/scenes SYMBOLIC)
install(FILES ${PROJECT_BINARY_DIR}/scenes DESTINATION ${document_folder} COMPONENT documents)

install(FILES
  host/api.h host/parameters.h host/plugin_host.h host/records.h host/shading_context.h host/types.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quor/host COMPONENT sdk)
install(FILES
  frame/plugin.h frame/plugin_base.h frame/plugin_desc.h frame/texture_interfaces.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quor/frame COMPONENT sdk)
set_target_properties(object_model PROPERTIES EXPORT_NAME sdk OUTPUT_NAME quor_sdk)
set_target_properties(quor PROPERTIES EXPORT_NAME standin)
target_include_directories(object_model INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/quor>)
target_compile_features(object_model INTERFACE $<INSTALL_INTERFACE:cxx_std_20>)
# Whatever a module instantiates of `std` would be exported, and keep it loaded.
target_compile_options(object_model INTERFACE
  $<INSTALL_INTERFACE:$<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>>)
set(is_module $<STREQUAL:$<TARGET_PROPERTY:TYPE>,MODULE_LIBRARY>)
target_link_options(object_model INTERFACE
  $<INSTALL_INTERFACE:$<${is_module}:LINKER:--version-script=$<INSTALL_PREFIX>/${sdk_folder}/exports.map>>)
install(FILES cmake/exports.map DESTINATION ${sdk_folder} COMPONENT sdk)
install(TARGETS quor EXPORT Quor DESTINATION ${standin_folder} COMPONENT tools)
install(TARGETS object_model EXPORT Quor DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT sdk)
install(EXPORT Quor NAMESPACE Quor:: FILE QuorTargets.cmake
  DESTINATION ${sdk_folder} COMPONENT sdk)
include(CMakePackageConfigHelpers)
set(include_folder ${CMAKE_INSTALL_INCLUDEDIR}/quor)
configure_package_config_file(cmake/QuorConfig.cmake.in QuorConfig.cmake
  INSTALL_DESTINATION ${sdk_folder} PATH_VARS include_folder NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QuorConfigVersion.cmake
  COMPATIBILITY SameMajorVersion ARCH_INDEPENDENT)
install(FILES ${PROJECT_BINARY_DIR}/QuorConfig.cmake ${PROJECT_BINARY_DIR}/QuorConfigVersion.cmake
  DESTINATION ${sdk_folder} COMPONENT sdk)
# For the host's platform a module is built from sources: --toolchain …/windows-x86/toolchain.cmake
install(DIRECTORY cmake/windows-x86 DESTINATION ${sdk_folder} COMPONENT sdk
  PATTERN mingw.cmake EXCLUDE PATTERN relative_paths.sh EXCLUDE)
install(FILES frame/plugin.cpp frame/plugin_base.cpp frame/plugin_desc.cpp frame/texture_interfaces.cpp
  DESTINATION ${sdk_folder}/windows-x86/object_model COMPONENT sdk)

string(REGEX REPLACE "[^/]+" .. up_from_pc ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
configure_file(cmake/quor-sdk.pc.in quor-sdk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quor-sdk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT sdk)

find_program(HELP2MAN help2man)
if(NOT HELP2MAN)
  message(STATUS "No help2man: there will be no manual pages")
endif()

# install_tool(TARGET WHAT [COMMAND...]): a program with its manual pages, one for each of its commands, and
# completion. WHAT it does is the title of its page; what a command does is the first line of its help.
function(install_tool tool what)
  file(RELATIVE_PATH standin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_PREFIX}/${standin_folder})
  set_target_properties(${tool} PROPERTIES INSTALL_RPATH $ORIGIN/${standin})
  install(TARGETS ${tool} COMPONENT tools)
  install(FILES cmake/completion.bash RENAME ${tool}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
  if(NOT HELP2MAN OR CMAKE_CROSSCOMPILING OR SAMPLERINFO_SANITIZE)
    return()
  endif()
  foreach(command "" ${ARGN})
    string(JOIN - page ${tool} ${command})
    set(page ${PROJECT_BINARY_DIR}/${page}.1.gz)
    add_custom_command(OUTPUT ${page} DEPENDS ${tool} cmake/manual_page.sh VERBATIM COMMAND
      ${PROJECT_SOURCE_DIR}/cmake/manual_page.sh ${page} $<TARGET_FILE:${tool}> ${PROJECT_VERSION} ${what} ${command})
    list(APPEND pages ${page})
  endforeach()
  add_custom_target(${tool}_pages ALL DEPENDS ${pages})
  install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
endfunction()

if(TARGET samplerinfo-preview)
  install_tool(samplerinfo-preview "render, show, check, probe and list textures of Quor plugins"
    render view check probe list)
endif()
if(TARGET samplerinfo-validate)
  install_tool(samplerinfo-validate "try a plugin module as the Quor renderer does")
endif()
