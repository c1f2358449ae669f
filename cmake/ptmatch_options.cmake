# Flags of our own targets. They sit on private targets and never reach users of the library.

# Language level and reproducible arithmetic. Contracting a*b+c into one rounding would make
# results depend on the instruction set, so it is off for every target of the project.
add_library(ptmatch_language INTERFACE)
target_compile_features(ptmatch_language INTERFACE cxx_std_20)
target_compile_options(ptmatch_language INTERFACE -ffp-contract=off)

add_library(ptmatch_warnings INTERFACE)
target_compile_options(ptmatch_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  $<$<CXX_COMPILER_ID:Clang>:-Wreserved-identifier>
  $<$<BOOL:${PTMATCH_WARNINGS_AS_ERRORS}>:-Werror>)

add_library(ptmatch_sanitizers INTERFACE)
if(PTMATCH_SANITIZE AND PTMATCH_SANITIZE_THREADS)
  message(FATAL_ERROR "PTMATCH_SANITIZE and PTMATCH_SANITIZE_THREADS exclude each other")
endif()
if(PTMATCH_SANITIZE_INTEGERS AND NOT (PTMATCH_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang"))
  message(FATAL_ERROR "PTMATCH_SANITIZE_INTEGERS needs PTMATCH_SANITIZE, and Clang; "
    "the compiler is ${CMAKE_CXX_COMPILER_ID}")
endif()
if(PTMATCH_SANITIZE_THREADS)
  target_compile_options(ptmatch_sanitizers INTERFACE -fsanitize=thread -fno-omit-frame-pointer
    $<$<CXX_COMPILER_ID:Clang>:-Wno-pass-failed>)
  target_link_options(ptmatch_sanitizers INTERFACE -fsanitize=thread)
endif()
if(PTMATCH_SANITIZE)
  set(sanitizer_flags -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all
      -fno-omit-frame-pointer)
  if(PTMATCH_SANITIZE_INTEGERS)
    # Words of bits are joined by shifts to the left, which drop bits on purpose: of these no check.
    list(APPEND sanitizer_flags -fsanitize=integer -fno-sanitize=unsigned-shift-base
      -fsanitize-ignorelist=${CMAKE_CURRENT_LIST_DIR}/integer_checks.ignore)
  endif()
  # Clang warns of loops that were asked to vectorise and, instrumented, do not.
  target_compile_options(ptmatch_sanitizers INTERFACE ${sanitizer_flags}
    $<$<CXX_COMPILER_ID:Clang>:-Wno-pass-failed>)
  target_link_options(ptmatch_sanitizers INTERFACE ${sanitizer_flags})
endif()

# Fuzzers choose their inputs by what these reached.
if(PTMATCH_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "PTMATCH_BUILD_FUZZERS needs Clang, whose libFuzzer the fuzzers are linked with; "
      "the compiler is ${CMAKE_CXX_COMPILER_ID}. Saved inputs are run again without it: ctest -L fuzz")
  endif()
  target_compile_options(ptmatch_sanitizers INTERFACE -fsanitize=fuzzer-no-link)
endif()

# Everything a target of this project is compiled with.
function(ptmatch_private_flags target)
  target_link_libraries(${target} PRIVATE
    $<BUILD_INTERFACE:ptmatch_language> $<BUILD_INTERFACE:ptmatch_warnings>
    $<BUILD_INTERFACE:ptmatch_sanitizers>)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
endfunction()

# ptmatch_compile_together(<target> <part>): if PTMATCH_COMPILE_TOGETHER names the part, the sources of the
# target are compiled up to eight at a time, those whose names do not meet: headers are read, and what
# they have inline is compiled, once for all of them. Sources with options of their own stay alone. To be
# called when the target has all of its sources.
function(ptmatch_compile_together target part)
  if(NOT part IN_LIST PTMATCH_COMPILE_TOGETHER)
    return()
  endif()
  find_program(PTMATCH_GROUPING_PYTHON NAMES python3 REQUIRED)
  mark_as_advanced(PTMATCH_GROUPING_PYTHON)
  get_target_property(folder ${target} SOURCE_DIR)
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "\\.cpp$")
  list(REMOVE_DUPLICATES sources)
  execute_process(
    COMMAND ${PTMATCH_GROUPING_PYTHON} -B ${PROJECT_SOURCE_DIR}/scripts/source_groups.py 8 ${sources}
    WORKING_DIRECTORY ${folder} OUTPUT_VARIABLE groups COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[^\n]+" groups "${groups}")
  # Named after the target: a source of several targets goes with others in the last of them only.
  foreach(line IN LISTS groups)
    string(REGEX MATCH "^([0-9]+) (.*)$" line "${line}")
    set_source_files_properties(${CMAKE_MATCH_2} TARGET_DIRECTORY ${target}
      PROPERTIES UNITY_GROUP ${target}_${CMAKE_MATCH_1})
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
  # GCC takes a source that another one includes for a header, in which a test, whose class is made by a
  # macro, ought not to have a fixture of an unnamed namespace.
  if(part STREQUAL "tests")
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
  endif()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/scripts/source_groups.py)
endfunction()
