# Builds that watch the program while it runs: sanitizers (any compiler) and coverage (clang).
#
#   FYRL3INTF_SANITIZE=address,undefined   what -fsanitize= is given; every finding ends the program
#   FYRL3INTF_COVERAGE=ON                  line, branch and MC/DC counters

set(FYRL3INTF_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")
option(FYRL3INTF_COVERAGE "Count what the tests execute (clang only)" OFF)

set(instrumentationCompileOptions "")
set(instrumentationLinkOptions "")
set(instrumentationSources "")

if(FYRL3INTF_SANITIZE)
  list(APPEND instrumentationCompileOptions
    -fsanitize=${FYRL3INTF_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  list(APPEND instrumentationLinkOptions -fsanitize=${FYRL3INTF_SANITIZE})
endif()

if(FYRL3INTF_COVERAGE)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "FYRL3INTF_COVERAGE needs clang, not ${CMAKE_CXX_COMPILER_ID}")
  endif()
  list(APPEND instrumentationCompileOptions
    -fprofile-instr-generate -fcoverage-mapping -fcoverage-mcdc)
  list(APPEND instrumentationLinkOptions -fprofile-instr-generate)
  # Each library and each program has counters of its own, and a process that aborts would keep them to itself.
  set(instrumentationSources ${PROJECT_SOURCE_DIR}/cmake/WriteProfileOnAbort.cpp)
endif()
