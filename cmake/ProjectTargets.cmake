# What every target of the project is built with. Flags belong to targets, never to the directory.
include_guard()

set(TREE_SANITIZE "" CACHE STRING "Sanitizers to build with, e.g. address,undefined or thread")
option(TREE_FUZZ "Build the fuzzers, and all code so that they see where an input leads" OFF)
option(TREE_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)

if(TREE_FUZZ AND NOT (CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND TREE_SANITIZE MATCHES "address"))
  message(FATAL_ERROR "The fuzzers need clang and the address sanitizer: cmake --preset fuzz")
endif()

# What the library's headers need wherever they are compiled: its users get these options, too.
# Contraction stays off: iterators compare doubles exactly, and a singular matrix has determinant 0.
# ZeCTransformationNode::GetID may be called through a null pointer.
if(MSVC)
  set(tree_public_options /fp:precise)
else()
  set(tree_public_options -ffp-contract=off -fno-delete-null-pointer-checks)
endif()

# Language level, public options, warnings and sanitizers.
function(tree_target_defaults target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${target} PRIVATE ${tree_public_options})
  if(MSVC)
    # Members of standard types are not exported; both libraries are built with one compiler.
    target_compile_options(${target} PRIVATE /W4 /utf-8 /permissive- /wd4251 /wd4275 /wd4910)
    if(TREE_WARNINGS_AS_ERRORS)
      target_compile_options(${target} PRIVATE /WX)
    endif()
    return()
  endif()
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                           -Woverloaded-virtual)
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(${target} PRIVATE -Wthread-safety)
  else()
    # g++ 12 sees overlaps in the sum of a literal and a string at -O3 that are not there.
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  if(TREE_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(TREE_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${TREE_SANITIZE} -fno-omit-frame-pointer
                                             -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${TREE_SANITIZE})
    if(TREE_SANITIZE MATCHES "address")
      target_compile_definitions(${target} PRIVATE TREE_ADDRESS_SANITIZER)
    endif()
  endif()
  if(TREE_FUZZ)
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
endfunction()

# Adds the folder of a library to the shared library that holds it: an object library of its own,
# named <shared>_<folder>, whose only project dependencies are the folders below it.
#   tree_add_folder(platform base SOURCES ... HEADERS ... DEPENDS ...)
function(tree_add_folder shared folder)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "SOURCES;HEADERS;DEPENDS")
  set(target ${shared}_${folder})
  add_library(${target} OBJECT ${arg_SOURCES})
  tree_target_defaults(${target})
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden
                                             VISIBILITY_INLINES_HIDDEN ON)
  target_compile_definitions(${target} PRIVATE ${shared}_EXPORTS)
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
  if(NOT MSVC)
    # Nobody replaces functions of the library at load time, so calls within it may be inlined.
    # Exceptions know their source file; where it lay when it was built is nobody's business.
    target_compile_options(${target} PRIVATE -fno-semantic-interposition
                                             -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
  endif()
  foreach(below IN LISTS arg_DEPENDS)
    target_include_directories(${target} PUBLIC
      $<TARGET_PROPERTY:${below},INTERFACE_INCLUDE_DIRECTORIES>)
  endforeach()
  target_sources(${shared} PRIVATE $<TARGET_OBJECTS:${target}>
                           PUBLIC FILE_SET ${folder}_headers TYPE HEADERS
                                  BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${arg_HEADERS})
endfunction()

# Adds a test program: one process per test case.
#   tree_add_tests(name SOURCES ... LIBRARIES ... [DEFINITIONS ...])
# Sources that end in "_threads_test.cpp" become a program of their own, whose tests carry the label
# "threads" and run under the thread sanitizer; so do those that end in "_soak_test.cpp", which take
# long and run where they are asked for, and those that end in "_threads_soak_test.cpp", which are
# both: ctest looks for a part of a label. Sources that are no tests belong to each of the programs.
function(tree_add_tests name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES;DEFINITIONS")
  set(tests ${arg_SOURCES})
  set(shared ${arg_SOURCES})
  list(FILTER tests INCLUDE REGEX "_test\\.cpp$")
  list(FILTER shared EXCLUDE REGEX "_test\\.cpp$")
  foreach(kind _threads_soak _threads _soak "")
    set(sources ${tests})
    list(FILTER sources INCLUDE REGEX "${kind}_test\\.cpp$")
    if(NOT sources)
      continue()
    endif()
    list(REMOVE_ITEM tests ${sources})
    set(program ${name}${kind})
    add_executable(${program} ${sources} ${shared})
    tree_target_defaults(${program})
    target_link_libraries(${program} PRIVATE ${arg_LIBRARIES} tests_support GTest::gmock_main)
    target_compile_definitions(${program} PRIVATE ${arg_DEFINITIONS})
    string(REGEX REPLACE "^_" "" label "${kind}")
    gtest_discover_tests(${program} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300 LABELS "${label}")
  endforeach()
endfunction()
