# Runs the tests of PROGRAM that match FILTER with each build of the kernels that the processor can
# run: all must pass, with the same digest of their results.
foreach(kernels plain avx2 avx512)
  set(ENV{TREE_KERNELS} "${kernels}")
  execute_process(COMMAND ${PROGRAM} --gtest_filter=${FILTER}
    OUTPUT_VARIABLE output RESULT_VARIABLE result)
  string(REGEX MATCH "digest of the results: [0-9a-f]+" digest "${output}")
  if(NOT result EQUAL 0 OR NOT digest)
    message(FATAL_ERROR "TREE_KERNELS=${kernels}: ${result}\n${output}")
  endif()
  message("TREE_KERNELS=${kernels}: ${digest}")
  list(APPEND digests "${digest}")
endforeach()
list(REMOVE_DUPLICATES digests)
list(LENGTH digests count)
if(NOT count EQUAL 1)
  message(FATAL_ERROR "The kernels give different results")
endif()
