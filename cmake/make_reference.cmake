# Makes the reference of the public headers.
#   cmake -D DOXYGEN=program -D VERSION=1.2.3 -D SOURCE=project -D OUTPUT=folder -P make_reference.cmake
# OUTPUT/html is replaced when all of it is good, and else left as it was.
cmake_minimum_required(VERSION 3.25)

# Without a component, what a header declares outside of classes would be left out silently.
file(GLOB headers RELATIVE ${SOURCE}/include ${SOURCE}/include/*/*.h)
file(STRINGS ${SOURCE}/docs/reference/components.txt components)
list(TRANSFORM components REPLACE " .*" "")
list(SORT headers)
list(SORT components)
if(NOT headers STREQUAL components)
  set(without ${headers})
  list(REMOVE_ITEM without ${components})
  set(gone ${components})
  list(REMOVE_ITEM gone ${headers})
  message(FATAL_ERROR "docs/reference/components.txt lacks these headers: ${without}; "
                      "and has these, which are not there: ${gone}")
endif()

set(making ${OUTPUT}/making)
file(REMOVE_RECURSE ${making})
file(MAKE_DIRECTORY ${making})

# The numbered examples, each with a page of its own. The first line of each says what it shows.
set(examples "")
file(GLOB programs RELATIVE ${SOURCE}/examples ${SOURCE}/examples/0*.cpp)
foreach(program IN LISTS programs)
  file(STRINGS ${SOURCE}/examples/${program} first LIMIT_COUNT 1)
  string(REGEX REPLACE "^// *" "" first "${first}")
  string(APPEND examples "/** @example ${program}\n${first}\n*/\n")
endforeach()
file(WRITE ${making}/examples.dox "${examples}")

file(READ ${SOURCE}/docs/reference/Doxyfile configuration)
file(WRITE ${making}/Doxyfile "${configuration}
PROJECT_NUMBER   = ${VERSION}
OUTPUT_DIRECTORY = \"${making}\"
INPUT           += \"${making}/examples.dox\"
STRIP_FROM_PATH  = \"${SOURCE}\" \"${making}\"
")
execute_process(COMMAND ${DOXYGEN} ${making}/Doxyfile WORKING_DIRECTORY ${SOURCE} RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "the reference is not complete")
endif()
file(REMOVE_RECURSE ${OUTPUT}/html)
file(RENAME ${making}/html ${OUTPUT}/html)
