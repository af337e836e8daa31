# The installed package: find_package(TransformationTree), target
# TransformationTree::transformationtree, or pkg-config transformationtree.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/TransformationTree)

foreach(library platform transformationtree)
  get_target_property(header_sets ${library} HEADER_SETS)
  set(file_sets)
  foreach(header_set IN LISTS header_sets)
    list(APPEND file_sets FILE_SET ${header_set} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  endforeach()
  install(TARGETS ${library} EXPORT TransformationTreeTargets ${file_sets})
endforeach()
set_target_properties(platform transformationtree PROPERTIES INSTALL_RPATH $ORIGIN)

install(EXPORT TransformationTreeTargets NAMESPACE TransformationTree:: DESTINATION ${package_dir})
configure_package_config_file(cmake/TransformationTreeConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/TransformationTreeConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TransformationTreeConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TransformationTreeConfig.cmake
              ${PROJECT_BINARY_DIR}/TransformationTreeConfigVersion.cmake
        DESTINATION ${package_dir})

if(NOT MSVC)
  # For users without CMake. It finds what it names from where it lies.
  set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH to_prefix /prefix/${pkgconfig_dir} /prefix)
  list(JOIN tree_public_options " " public_options)
  configure_file(cmake/transformationtree.pc.in ${PROJECT_BINARY_DIR}/transformationtree.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/transformationtree.pc DESTINATION ${pkgconfig_dir})
endif()
