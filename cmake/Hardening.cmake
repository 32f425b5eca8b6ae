# What makes a release harder to attack: checks of buffers and of the stack, control flow that goes nowhere but where the
# compiler meant it to go, and tables that are read-only once the program has started. scripts/hardened.py looks at the
# products.

include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

set(hardeningCompileOptions
  -D_FORTIFY_SOURCE=2 -fstack-protector-strong -fstack-clash-protection)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  list(APPEND hardeningCompileOptions -fcf-protection=full)
endif()
set(hardeningLinkOptions -Wl,-z,relro,-z,now)
