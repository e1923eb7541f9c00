# Every test of such a program runs beside a private PC of its own: a real server on loopback, in namespaces that end
# with the test. The tests find it through the environment variable TERNVAULT_PC. `filter` is GoogleTest's; a label is
# matched by its parts, so that "system-threads" belongs to "system" and to "threads".
function(discover_system_tests target filter label)
  set_target_properties(${target} PROPERTIES CROSSCOMPILING_EMULATOR "${PROJECT_SOURCE_DIR}/tools/private-pc;run;--")
  gtest_discover_tests(${target} TEST_FILTER ${filter} DISCOVERY_MODE PRE_TEST
    PROPERTIES LABELS ${label} TIMEOUT 300)
endfunction()
