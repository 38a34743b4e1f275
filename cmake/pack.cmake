# SPDX-License-Identifier: MIT
# Run by CPack on the tree that it packs: adds what a kind of package wants beside what is installed.
set(tree "${CPACK_TEMPORARY_INSTALL_DIRECTORY}")

# CPack strips programs and shared libraries alone.
file(GLOB_RECURSE archives "${tree}/*.a")
foreach(archive IN LISTS archives)
  execute_process(COMMAND strip --strip-debug --enable-deterministic-archives "${archive}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()

if(CPACK_GENERATOR STREQUAL "ZIP")
  file(GLOB_RECURSE files RELATIVE "${tree}" "${tree}/*")
  list(SORT files)
  foreach(file IN LISTS files)
    file(SHA256 "${tree}/${file}" sum)
    file(APPEND "${tree}/SHA256SUMS" "${sum}  ${file}\n")
  endforeach()
elseif(CPACK_GENERATOR STREQUAL "DEB")
  set(documents "${tree}/usr/share/doc/${CPACK_PACKAGE_NAME}")
  file(READ "${documents}/LICENSE" ours)
  file(READ "${documents}/docs/licences.md" others)
  string(REGEX REPLACE ".*\n(What is compiled in)" "\\1" notices "${others}")
  file(WRITE "${documents}/copyright" "${ours}\n${notices}")

  string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  file(WRITE "${documents}/changelog" "${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}) stable; urgency=medium\n
  * See CHANGELOG.md.\n
 -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
  execute_process(COMMAND gzip -9n "${documents}/changelog" COMMAND_ERROR_IS_FATAL ANY)

  file(WRITE "${tree}/usr/share/lintian/overrides/${CPACK_PACKAGE_NAME}"
"# The host's library has no version in its name, so its stand-in has none.
${CPACK_PACKAGE_NAME}: shared-library-lacks-version usr/lib/libquor.so libquor.so
# The stand-in is there for the tools and the sdk; it is not what the package is about.
${CPACK_PACKAGE_NAME}: package-name-doesnt-match-sonames libquor
# CPack writes these scripts for every package with a library.
${CPACK_PACKAGE_NAME}: maintscript-calls-ldconfig [postinst]
${CPACK_PACKAGE_NAME}: maintscript-calls-ldconfig [postrm]
")
endif()
