# Checks that a program prints what the comment at the head of its source says, below "Prints:".
#   cmake -DPROGRAM=... -DSOURCE=... -P checkoutput.cmake
file(READ ${SOURCE} source)
string(REGEX MATCH "// Prints:\n((//     [^\n]*\n)+)" found "${source}")
if(NOT found)
  message(FATAL_ERROR "${SOURCE} does not say what the program prints")
endif()
string(REGEX REPLACE "\n//     " "\n" expected "\n${CMAKE_MATCH_1}")
string(SUBSTRING "${expected}" 1 -1 expected)

execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE printed ERROR_VARIABLE complaint
                RESULT_VARIABLE result)
if(NOT result STREQUAL 0 OR complaint)
  message(FATAL_ERROR "${PROGRAM} ended with ${result}: ${complaint}")
endif()
if(NOT printed STREQUAL expected)
  message(FATAL_ERROR "${PROGRAM} printed\n${printed}instead of\n${expected}")
endif()
