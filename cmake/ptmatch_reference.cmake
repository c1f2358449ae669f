# The reference of the public headers: `cmake --build BUILD --target reference` makes BUILD/reference/html,
# a tree of relative links that can be put on any server, and is installed with the development files.
# A header without a comment, a parameter that is left out, or a reference that leads nowhere is an error.
find_program(PTMATCH_DOXYGEN doxygen)
mark_as_advanced(PTMATCH_DOXYGEN)
if(PTMATCH_DOXYGEN)
  add_custom_target(reference
    COMMAND ${CMAKE_COMMAND} -D DOXYGEN=${PTMATCH_DOXYGEN} -D VERSION=${PROJECT_VERSION}
      -D SOURCE=${PROJECT_SOURCE_DIR} -D OUTPUT=${PROJECT_BINARY_DIR}/reference
      -P ${PROJECT_SOURCE_DIR}/cmake/make_reference.cmake
    COMMENT "Making the reference of the headers" VERBATIM)
endif()
