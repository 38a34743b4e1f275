# SPDX-License-Identifier: MIT
# Run by CPack on the tree that it packs: adds what a kind of package wants beside what is installed.
cmake_policy(VERSION 3.25)
set(tree "${CPACK_TEMPORARY_INSTALL_DIRECTORY}")

# CPack strips programs and shared libraries alone.
file(GLOB_RECURSE archives "${tree}/*.a")
foreach(archive IN LISTS archives)
  execute_process(COMMAND ${CPACK_STRIP_PROGRAM} --strip-debug --enable-deterministic-archives "${archive}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()

if(CPACK_GENERATOR STREQUAL "ZIP")
  file(GLOB_RECURSE files RELATIVE "${tree}" "${tree}/*")
  list(SORT files)
  foreach(file IN LISTS files)
    file(SHA256 "${tree}/${file}" sum)
    file(APPEND "${tree}/SHA256SUMS" "${sum}  ${file}\n")
  endforeach()
elseif(CPACK_GENERATOR STREQUAL "DEB")  # a folder for each component, which becomes a package
  file(READ "${CMAKE_CURRENT_LIST_DIR}/../LICENSE" ours)
  file(READ "${CMAKE_CURRENT_LIST_DIR}/../docs/licences.md" others)
  string(REGEX REPLACE ".*\n(What is compiled in)" "\\1" notices "${others}")
  string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  file(REMOVE "${tree}/plugin/usr/share/doc/samplerinfo/LICENSE")  # the copyright says it
  foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    set(folder "${tree}/${component}/usr/share/doc/${package}")
    file(WRITE "${folder}/copyright" "${ours}\n${notices}")
    file(WRITE "${folder}/changelog" "${package} (${CPACK_PACKAGE_VERSION}) stable; urgency=medium\n
  * See CHANGELOG.md.\n
 -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
    execute_process(COMMAND gzip -9n "${folder}/changelog" COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
endif()
