# Runs one example program: the test fails when it exits with a status other than 0, or when
# its standard output lacks the line it must print (a regular expression, EXPECTED).
execute_process(COMMAND "${PROGRAM}" "${ARGUMENT}"
  RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE errors)
message("${output}${errors}")
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} exited with ${status}")
endif()
if(EXPECTED AND NOT output MATCHES "${EXPECTED}")
  message(FATAL_ERROR "${PROGRAM} did not print: ${EXPECTED}")
endif()
