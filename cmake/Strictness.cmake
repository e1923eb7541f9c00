# Warnings as errors for every target, and Qt without its implicit conversions.
add_library(ternvault_strictness INTERFACE)
target_compile_options(ternvault_strictness INTERFACE
  -Wall -Wextra -Werror -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wnull-dereference)
target_compile_definitions(ternvault_strictness INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_NO_FOREACH QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)
target_include_directories(ternvault_strictness INTERFACE ${PROJECT_SOURCE_DIR}/src)

# g++ 12 sees null dereferences inside coroutine frames that it generated itself, and with a sanitizer it takes empty
# optionals for uninitialised ones.
target_compile_options(ternvault_strictness INTERFACE
  $<$<CXX_COMPILER_ID:GNU>:-Wno-null-dereference;-Wno-maybe-uninitialized>)
