# What is installed, and where. Nothing that is installed holds an absolute path: the tree can be moved.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

# One of the two header folders is called foundation, which is too common a name for /usr/include; and
# the headers of two major versions can lie side by side.
set(ptmatch_install_includedir ${CMAKE_INSTALL_INCLUDEDIR}/ptmatch-${PROJECT_VERSION_MAJOR})

set(PTMATCH_PYTHON_INSTALL_DIR lib/python3/dist-packages CACHE STRING
  "Where the Python package is installed, below the prefix")
mark_as_advanced(PTMATCH_PYTHON_INSTALL_DIR)

# A tool finds the library beside it, wherever the tree was put.
function(ptmatch_find_library_beside target)
  file(RELATIVE_PATH path /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${path}")
endfunction()

# ptmatch_install_layout(<library folder> <component prefix> <export> [EXCLUDE_FROM_ALL]
# [COMPRESSED_MANUAL]): the rules of one layout, which are the components <prefix>library, <prefix>development and <prefix>tool.
function(ptmatch_install_layout libdir prefix export)
  cmake_parse_arguments(PARSE_ARGV 3 arg "EXCLUDE_FROM_ALL;COMPRESSED_MANUAL" "" "")
  set(library COMPONENT ${prefix}library)
  set(development COMPONENT ${prefix}development)
  set(tool COMPONENT ${prefix}tool)
  if(arg_EXCLUDE_FROM_ALL)
    list(APPEND library EXCLUDE_FROM_ALL)
    list(APPEND development EXCLUDE_FROM_ALL)
    list(APPEND tool EXCLUDE_FROM_ALL)
  endif()

  install(TARGETS ptmatch EXPORT ${export}
    LIBRARY DESTINATION ${libdir} ${library} NAMELINK_COMPONENT ${prefix}development)
  install(TARGETS ptmatch_static EXPORT ${export} ARCHIVE DESTINATION ${libdir} ${development})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/
    DESTINATION ${ptmatch_install_includedir} ${development} FILES_MATCHING PATTERN "*.h")

  set(cmake_dir ${libdir}/cmake/ptmatch)
  set(generated ${PROJECT_BINARY_DIR}/install/${export})
  install(EXPORT ${export} NAMESPACE ptmatch:: FILE ptmatchTargets.cmake
    DESTINATION ${cmake_dir} ${development})
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ptmatchConfig.cmake.in
    ${generated}/ptmatchConfig.cmake INSTALL_DESTINATION ${cmake_dir}
    NO_SET_AND_CHECK_MACRO)
  write_basic_package_version_file(${generated}/ptmatchConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
  install(FILES ${generated}/ptmatchConfig.cmake ${generated}/ptmatchConfigVersion.cmake
    DESTINATION ${cmake_dir} ${development})

  # The way up from the file to the prefix, for pkg-config.
  file(RELATIVE_PATH prefix_from_pc /prefix/${libdir}/pkgconfig /prefix)
  string(REGEX REPLACE "/$" "" prefix_from_pc "${prefix_from_pc}")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/ptmatch.pc.in ${generated}/ptmatch.pc @ONLY)
  install(FILES ${generated}/ptmatch.pc DESTINATION ${libdir}/pkgconfig ${development})

  if(TARGET ptmatch_tool)
    install(TARGETS ptmatch_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} ${tool})
    install(FILES ${PROJECT_BINARY_DIR}/tool/ptmatch.bash
      DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ptmatch ${tool})
    if(arg_COMPRESSED_MANUAL)
      set(manual ${PROJECT_BINARY_DIR}/tool/ptmatch.1.gz)
    else()
      set(manual ${PROJECT_BINARY_DIR}/tool/ptmatch.1)
    endif()
    install(FILES ${manual} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 ${tool})
  endif()
endfunction()

# ptmatch_install_python(<folder> <component> [EXCLUDE_FROM_ALL]): the Python package, and beside it what
# tells pip and its like the version.
function(ptmatch_install_python folder component)
  set(component COMPONENT ${component} ${ARGN})
  install(TARGETS ptmatch_python LIBRARY DESTINATION ${folder}/ptmatch ${component})
  get_target_property(sources ptmatch_python ptmatch_python_sources)
  install(FILES ${sources} DESTINATION ${folder}/ptmatch ${component})
  install(FILES ${PROJECT_BINARY_DIR}/python/METADATA
    DESTINATION ${folder}/ptmatch-${PROJECT_VERSION}.dist-info ${component})
endfunction()

function(ptmatch_install_everything)
  if(TARGET ptmatch_tool)
    ptmatch_find_library_beside(ptmatch_tool)
  endif()
  ptmatch_install_layout(${CMAKE_INSTALL_LIBDIR} "" ptmatchTargets)
  if(TARGET ptmatch_python)
    ptmatch_install_python(${PTMATCH_PYTHON_INSTALL_DIR} python)
  endif()
  # If it has been made.
  install(DIRECTORY ${PROJECT_BINARY_DIR}/reference/html
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development OPTIONAL)
endfunction()
