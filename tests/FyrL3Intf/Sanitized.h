#pragma once

// Whether the tests run under AddressSanitizer, which makes them several times slower.

namespace FyrL3Intf::Tests {

#if defined(__has_feature)
constexpr bool sanitized = __has_feature(address_sanitizer);
#elif defined(__SANITIZE_ADDRESS__)
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

}  // namespace FyrL3Intf::Tests
