# The warnings of our own code. They never reach a host that links the library.
add_library(lumora_warnings INTERFACE)
target_compile_options(lumora_warnings INTERFACE
  $<BUILD_INTERFACE:-Wall -Wextra -Wpedantic -Wshadow -Wconversion>
  $<BUILD_INTERFACE:$<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>>)
