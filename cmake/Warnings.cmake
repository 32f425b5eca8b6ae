# The warnings that every target of the project is compiled with. They are errors, unless the configuration says
# -DCMAKE_COMPILE_WARNING_AS_ERROR=OFF (for a packager with a compiler that is newer than this list).

if(NOT DEFINED CMAKE_COMPILE_WARNING_AS_ERROR)
  set(CMAKE_COMPILE_WARNING_AS_ERROR ON)
endif()

set(commonWarnings
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
  -Wold-style-cast -Wformat=2 -Wsuggest-override)
set(gnuWarnings -Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wuseless-cast)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # With -O3 it takes libstdc++'s "[" + std::string() for a copy onto itself (GCC's bug 105651, mended in 13). The preset
  # O3 also does without -Warray-bounds and -Wstringop-overflow, which make the same mistake in tests.
  list(APPEND gnuWarnings -Wno-restrict)
endif()
# clang takes libstdc++'s own use of what libstdc++ deprecates (in std::stable_sort) for ours.
set(clangWarnings -Wno-deprecated-declarations)

set(projectWarnings ${commonWarnings}
  "$<$<CXX_COMPILER_ID:GNU>:${gnuWarnings}>"
  "$<$<CXX_COMPILER_ID:Clang>:${clangWarnings}>")
