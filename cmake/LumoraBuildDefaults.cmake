# Conveniences of our own builds. A project that includes Lumora has its own habits, so it never sees these.
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

get_property(is_multi_config GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(NOT is_multi_config AND NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
endif()

find_program(LUMORA_CCACHE ccache)
mark_as_advanced(LUMORA_CCACHE)
if(LUMORA_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # Without this ccache passes over every source that uses a precompiled header.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros "${LUMORA_CCACHE}")
endif()

# Saves about half of a build's time. Not for every preset: a source must compile without it too. Not where one unit takes
# all of a target's sources either.
function(lumora_precompile target)
  get_target_property(sources ${target} SOURCES)
  list(LENGTH sources count)
  if(LUMORA_PRECOMPILE_HEADERS AND (NOT CMAKE_UNITY_BUILD OR count GREATER 8))
    target_precompile_headers(${target} PRIVATE ${ARGN})
  endif()
endfunction()
