# lumora_add_tests(PROGRAM… [PLAIN] [PROPERTIES NAME VALUE…])
#
# Registers the tests of these programs with CTest, each test with a process of its own, which tests of Lumora need:
# the library's instances live as long as the process. A program is linked with GoogleTest (GTest::gtest_main); with
# PLAIN it is any program whose exit status says whether its one test passed.
#
#     enable_testing()
#     find_package(GTest REQUIRED)
#     add_executable(shop_tests shop_test.cpp)
#     target_link_libraries(shop_tests PRIVATE lumora::testing GTest::gtest_main)
#     lumora_add_tests(shop_tests)
#
# PROPERTIES are CTest's, for every test; a test that runs for more than a minute has failed, unless TIMEOUT says
# otherwise.
function(lumora_add_tests)
  cmake_parse_arguments(PARSE_ARGV 0 arg PLAIN "" PROPERTIES)
  if(NOT arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "lumora_add_tests: name the test programs, as in lumora_add_tests(shop_tests).")
  endif()
  if(NOT CMAKE_TESTING_ENABLED)
    message(FATAL_ERROR "lumora_add_tests: CTest would not see the tests; call enable_testing() before, in the "
      "project's top CMakeLists.txt.")
  endif()
  set(properties TIMEOUT 60 ${arg_PROPERTIES})
  foreach(program IN LISTS arg_UNPARSED_ARGUMENTS)
    if(NOT TARGET ${program})
      message(FATAL_ERROR "lumora_add_tests: there is no program ${program}; call add_executable(${program} …) before.")
    endif()
    if(arg_PLAIN)
      add_test(NAME ${program} COMMAND ${program})
      set_tests_properties(${program} PROPERTIES ${properties})
    else()
      include(GoogleTest)
      gtest_discover_tests(${program} PROPERTIES ${properties})
    endif()
  endforeach()
endfunction()
