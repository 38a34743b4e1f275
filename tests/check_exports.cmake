# Fails unless the dynamic symbols that MODULE defines, as NM lists them, are `getLibDesc` alone.
execute_process(COMMAND ${NM} -D --defined-only --format=posix ${MODULE}
  OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
if(NOT symbols MATCHES "^getLibDesc T [^\n]*\n$")
  message(FATAL_ERROR "${MODULE} exports:\n${symbols}")
endif()
