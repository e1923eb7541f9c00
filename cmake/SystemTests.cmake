# Every test of such a program runs beside a private PC of its own: a real server on loopback, in namespaces that end
# with the test. The tests find it through the environment variable TERNVAULT_PC.
function(discover_system_tests target)
  set_target_properties(${target} PROPERTIES CROSSCOMPILING_EMULATOR "${PROJECT_SOURCE_DIR}/tools/private-pc;run;--")
  gtest_discover_tests(${target} ${ARGN} DISCOVERY_MODE PRE_TEST PROPERTIES LABELS system TIMEOUT 120)
endfunction()
