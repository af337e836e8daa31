# Checks that a program prints what the comment at the head of its source says, below "Prints:".
#   cmake -DPROGRAM=... -DSOURCE=... -P checkoutput.cmake
file(READ ${SOURCE} source)
string(REGEX MATCH "// Prints:\n((//     [^\n]*\n)+)" found "${source}")
if(NOT found)
  message(FATAL_ERROR "${SOURCE} does not say what the program prints")
endif()
string(REGEX REPLACE "(^|\n)//     " "\\1" expected "${CMAKE_MATCH_1}")

execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE printed RESULT_VARIABLE result)
if(NOT result STREQUAL 0)
  message(FATAL_ERROR "${PROGRAM} ended with ${result}")
endif()
if(NOT printed STREQUAL expected)
  message(FATAL_ERROR "${PROGRAM} printed\n${printed}instead of\n${expected}")
endif()
