# How the project's libraries, programs and tests are declared: the settings that they share, said once.

# Settings of everything that is compiled here.
function(projectSettings target)
  target_compile_options(${target} PRIVATE
    ${projectWarnings} ${instrumentationCompileOptions} "$<$<CONFIG:Release>:${hardeningCompileOptions}>"
    # __FILE__ is relative to the root, in fatal lines too, and no build directory ends up in a binary.
    -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
  target_link_options(${target} PRIVATE
    ${instrumentationLinkOptions} "$<$<CONFIG:Release>:${hardeningLinkOptions}>")
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  set_target_properties(${target} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN OFF
    POSITION_INDEPENDENT_CODE ON)
endfunction()

# projectLibrary(NAME SOURCES file... [LIBRARIES target...])
# A shared library lib<NAME> whose headers are included from the root of the source tree or of the installed include
# directory. Hidden unless a header exports it.
function(projectLibrary name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
  add_library(${name} SHARED ${arg_SOURCES} ${instrumentationSources})
  add_library(FyrL3Intf::${name} ALIAS ${name})
  projectSettings(${name})
  # Nobody replaces a function of ours, so calls within a library need not allow for it. But each keeps an address of its
  # own, by which the operations in a virtual table are told apart.
  target_compile_options(${name} PRIVATE -fno-semantic-interposition $<$<CXX_COMPILER_ID:GNU>:-fno-ipa-icf>)
  target_link_options(${name} PRIVATE -Wl,-Bsymbolic-functions)
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_link_libraries(${name} PUBLIC ${arg_LIBRARIES})
  target_include_directories(${name} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  # Until 1.0 a minor version may change the binary interface, so the name that programs load carries it.
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
    INSTALL_RPATH "$ORIGIN")
  if(NOT FYRL3INTF_SANITIZE)  # their runtime is linked into the program alone
    target_link_options(${name} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()

# projectProgram(NAME SOURCES file... [LIBRARIES target...])
function(projectProgram name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
  add_executable(${name} ${arg_SOURCES} ${instrumentationSources})
  projectSettings(${name})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES})
  set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN/${relativeLibDir}")
endfunction()

# projectTest(NAME SOURCES file... [LIBRARIES target...])
# A GoogleTest program, known to ctest test by test.
function(projectTest name)
  projectProgram(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE GTest::gmock GTest::gtest_main)
  target_precompile_headers(${name} PRIVATE <gmock/gmock.h> <gtest/gtest.h>)  # a third of the time of most tests
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
endfunction()
