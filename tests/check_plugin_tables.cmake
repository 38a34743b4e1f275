# SPDX-License-Identifier: MIT
# Fails unless DOCUMENT ends with the tables that PREVIEW lists for the library as it is built.
execute_process(COMMAND ${PREVIEW} list --markdown OUTPUT_VARIABLE tables COMMAND_ERROR_IS_FATAL ANY)
file(READ ${DOCUMENT} text)
string(LENGTH "${tables}" tables_length)
string(LENGTH "${text}" text_length)
if(text_length LESS tables_length OR tables_length LESS 1000)
  message(FATAL_ERROR "${DOCUMENT} or the list is too short")
endif()
math(EXPR start "${text_length} - ${tables_length}")
string(SUBSTRING "${text}" ${start} -1 end)
if(NOT end STREQUAL tables)
  message(FATAL_ERROR "${DOCUMENT} does not end with what samplerinfo-preview list --markdown prints")
endif()
