# Runs in every build, so that the printed commit is the one that was built.
execute_process(
  COMMAND git describe --always --dirty --abbrev=12
  WORKING_DIRECTORY ${source_dir}
  OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE
  RESULT_VARIABLE failed ERROR_QUIET)
if(failed)
  set(commit unknown)
endif()
# Leaves the file alone, and everything that depends on it, when nothing has changed.
configure_file(${source_dir}/bench/bench_version.h.in ${output} @ONLY)
