# Debian packages, by `cpack` in any build folder: the shared library, what programs are built with, the
# tool, and the Python package if it is built. They have a layout of their own (/usr, libraries in the folder of the architecture), so that
# the prefix the build was configured with does not matter.
set(ptmatch_makes_packages OFF)
find_program(PTMATCH_DPKG_DEB dpkg-deb)
find_program(PTMATCH_GZIP gzip)
mark_as_advanced(PTMATCH_DPKG_DEB PTMATCH_GZIP)
if(NOT (PTMATCH_DPKG_DEB AND PTMATCH_GZIP AND CMAKE_LIBRARY_ARCHITECTURE AND TARGET ptmatch_tool))
  message(STATUS "No Debian packages: they need dpkg-deb, gzip, the architecture's folder, the tool")
  return()
endif()

set(ptmatch_makes_packages ON)
set(prefix debian_)
ptmatch_install_layout(lib/${CMAKE_LIBRARY_ARCHITECTURE} ${prefix} ptmatchDebianTargets EXCLUDE_FROM_ALL
  COMPRESSED_MANUAL)

set(library_package libptmatch${PROJECT_VERSION_MAJOR})
set(development_package libptmatch-dev)
set(tool_package ptmatch-tool)
set(python_package python3-ptmatch)

set(parts library development tool)
if(TARGET ptmatch_python)
  list(APPEND parts python)
  # Debian's Python finds packages there, whatever its version.
  ptmatch_install_python(lib/python3/dist-packages ${prefix}python EXCLUDE_FROM_ALL)
endif()

# The documents that every package has to have. `-n` leaves out the time: the same input, the same file.
set(doc_dir ${PROJECT_BINARY_DIR}/install/doc)
function(ptmatch_compress input output)
  execute_process(COMMAND ${PTMATCH_GZIP} -9nc ${input} OUTPUT_FILE ${doc_dir}/${output}
                  COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${input})
endfunction()
file(MAKE_DIRECTORY ${doc_dir})
ptmatch_compress(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog.gz)
ptmatch_compress(${PROJECT_SOURCE_DIR}/packaging/debian/changelog changelog.Debian.gz)
foreach(part IN LISTS parts)
  install(FILES ${doc_dir}/changelog.gz ${doc_dir}/changelog.Debian.gz
                ${PROJECT_SOURCE_DIR}/packaging/debian/copyright
    DESTINATION share/doc/${${part}_package} COMPONENT ${prefix}${part} EXCLUDE_FROM_ALL)
endforeach()

# The reference of the headers, if it has been made.
install(DIRECTORY ${PROJECT_BINARY_DIR}/reference/html
  DESTINATION share/doc/${development_package} COMPONENT ${prefix}development OPTIONAL EXCLUDE_FROM_ALL)

# The dynamic linker of the system finds the library by itself; packages must not carry paths.
set(installed_tool "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/ptmatch")
install(CODE "file(RPATH_REMOVE FILE \"${installed_tool}\")"
  COMPONENT ${prefix}tool EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ptmatch)
set(CPACK_PACKAGE_VENDOR ptmatch)
set(CPACK_PACKAGE_CONTACT "ptmatch maintainers <maintainers@ptmatch.invalid>")
# Empty: else it would stand before the summary of each package.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
list(TRANSFORM parts PREPEND ${prefix} OUTPUT_VARIABLE CPACK_COMPONENTS_ALL)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)

set(release 1)
set(full_version ${PROJECT_VERSION}-${release})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${release})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(about "ptmatch finds a known pattern of 2-D points among measured points: where\n"
          "it is, how it is turned and scaled, and which measured point is which.")
list(JOIN about "" about)

set(CPACK_DEBIAN_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
# CPack itself adds scripts that call ldconfig, as Debian did before there were triggers.
set(CPACK_DEBIAN_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers)
set(CPACK_DEBIAN_DEBIAN_LIBRARY_DESCRIPTION "matching of 2-D point sets (shared library)\n${about}")

set(CPACK_DEBIAN_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development_package})
set(CPACK_DEBIAN_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${library_package} (= ${full_version}), libstdc++-12-dev | libstdc++-dev")
set(CPACK_DEBIAN_DEBIAN_DEVELOPMENT_DESCRIPTION "matching of 2-D point sets (development files)\n${about}\n.\n\
This package has the headers, the static library and the files for CMake\nand pkg-config.")

set(CPACK_DEBIAN_DEBIAN_TOOL_PACKAGE_NAME ${tool_package})
set(CPACK_DEBIAN_DEBIAN_TOOL_PACKAGE_SECTION science)
# dpkg-shlibdeps adds the libraries of the system; it knows nothing of a package made beside it.
set(CPACK_DEBIAN_DEBIAN_TOOL_PACKAGE_DEPENDS "${library_package} (>= ${PROJECT_VERSION})")
# Only --png needs it.
set(CPACK_DEBIAN_DEBIAN_TOOL_PACKAGE_SUGGESTS librsvg2-bin)
set(CPACK_DEBIAN_DEBIAN_TOOL_DESCRIPTION "matching of 2-D point sets (command-line tool)\n${about}\n.\n\
This package has the command ptmatch.")

if(TARGET ptmatch_python)
  # The module is for one version of Python. Debian's NumPy has the epoch 1.
  get_target_property(minor ptmatch_python ptmatch_python_minor)
  math(EXPR next_minor "${minor} + 1")
  set(CPACK_DEBIAN_DEBIAN_PYTHON_PACKAGE_NAME ${python_package})
  set(CPACK_DEBIAN_DEBIAN_PYTHON_PACKAGE_SECTION python)
  set(CPACK_DEBIAN_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.${minor}), \
python3 (<< 3.${next_minor}), python3-numpy (>= 1:1.24)")
  # Only ptmatch.plot needs it.
  set(CPACK_DEBIAN_DEBIAN_PYTHON_PACKAGE_SUGGESTS python3-matplotlib)
  set(CPACK_DEBIAN_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/packaging/debian/python/postinst
    ${PROJECT_SOURCE_DIR}/packaging/debian/python/prerm)
  set(CPACK_DEBIAN_DEBIAN_PYTHON_DESCRIPTION "matching of 2-D point sets (Python package)\n${about}\n.\n\
This package has the Python module ptmatch.")
endif()

include(CPack)
