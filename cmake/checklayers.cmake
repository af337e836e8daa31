# Checks that each folder includes headers of itself and of lower layers only.
#   cmake -P cmake/checklayers.cmake
cmake_minimum_required(VERSION 3.25)
cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH root)

set(below_platform/base)
set(below_platform/math3d platform/base)
set(below_platform/attributes platform/base platform/math3d)
set(below_platform/datatree platform/base platform/math3d)
set(below_platform/messages platform/base platform/math3d platform/datatree)
set(below_platform/datacontainer platform/base platform/math3d platform/datatree)
set(below_logging platform/base)
set(below_transformationtree platform logging)

foreach(folder platform/base platform/math3d platform/attributes platform/datatree
        platform/messages platform/datacontainer logging transformationtree)
  file(GLOB_RECURSE files RELATIVE ${root} ${root}/${folder}/*.h ${root}/${folder}/*.cpp)
  foreach(file IN LISTS files)
    file(STRINGS ${root}/${file} includes REGEX "^#[ ]*include")
    foreach(include IN LISTS includes)
      string(REGEX REPLACE ".*[<\"](.*)[>\"].*" "\\1" header "${include}")
      if(include MATCHES "<" AND NOT header MATCHES
         "^(platform|logging|transformationtree|tests|benchmarks|examples)/")
        continue() # not the project's
      endif()
      set(allowed FALSE)
      foreach(prefix IN ITEMS ${folder} ${below_${folder}})
        if(header MATCHES "^${prefix}(/|$)")
          set(allowed TRUE)
        endif()
      endforeach()
      if(NOT allowed)
        message(SEND_ERROR "${file} includes ${header}, which is not below ${folder}")
      endif()
    endforeach()
  endforeach()
endforeach()
