# A program that feeds itself inputs, guided by the code that they reach (libFuzzer). It compiles the sources that it
# tries afresh, instrumented: libraries that are not would hide both faults and coverage. Qt is not. Its test
# starts from the inputs in corpus/<name> and leaves them as they are.
# Only clang has this, and only without other sanitizers.
function(add_fuzzer name)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang" OR TERNVAULT_SANITIZE)
    return()
  endif()
  add_executable(fuzz_${name} ${ARGN})
  target_link_libraries(fuzz_${name} PRIVATE ternvault_strictness Qt6::Core)
  target_compile_options(fuzz_${name} PRIVATE -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=all)
  target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer,address,undefined)

  set(scratch ${CMAKE_CURRENT_BINARY_DIR}/${name})
  file(MAKE_DIRECTORY ${scratch})
  add_test(NAME fuzz-${name}
    COMMAND fuzz_${name} -max_total_time=60 -timeout=10 -rss_limit_mb=512 -print_final_stats=1
      ${scratch} ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name}
    WORKING_DIRECTORY ${scratch})
  # What AddressSanitizer keeps of freed memory counts as the program's; a little of it will do. So do stacks: without
  # frame pointers, as in Qt, every one looks new and is remembered.
  set_tests_properties(fuzz-${name} PROPERTIES LABELS fuzz TIMEOUT 120
    ENVIRONMENT "ASAN_OPTIONS=quarantine_size_mb=16:malloc_context_size=2;\
LSAN_OPTIONS=suppressions='${PROJECT_SOURCE_DIR}/tools/lsan.supp':print_suppressions=0")
endfunction()
