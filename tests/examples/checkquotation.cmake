# Checks that a document quotes a source file, whole and in a code block.
#   cmake -DDOCUMENT=... -DSOURCE=... -P checkquotation.cmake
file(READ ${SOURCE} source)
file(READ ${DOCUMENT} document)
string(FIND "${document}" "```cpp\n${source}```\n" position)
if(position EQUAL -1)
  message(FATAL_ERROR "${DOCUMENT} does not quote ${SOURCE} as it is")
endif()
