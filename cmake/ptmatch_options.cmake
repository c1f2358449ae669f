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
if(PTMATCH_SANITIZE)
  set(sanitizer_flags -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all
      -fno-omit-frame-pointer)
  # Clang warns of loops that were asked to vectorise and, instrumented, do not.
  target_compile_options(ptmatch_sanitizers INTERFACE ${sanitizer_flags}
    $<$<CXX_COMPILER_ID:Clang>:-Wno-pass-failed>)
  target_link_options(ptmatch_sanitizers INTERFACE ${sanitizer_flags})
endif()

# Everything a target of this project is compiled with.
function(ptmatch_private_flags target)
  target_link_libraries(${target} PRIVATE
    $<BUILD_INTERFACE:ptmatch_language> $<BUILD_INTERFACE:ptmatch_warnings>
    $<BUILD_INTERFACE:ptmatch_sanitizers>)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
endfunction()
