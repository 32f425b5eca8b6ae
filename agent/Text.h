#pragma once

// Text that passes between people and the program: what may be printed as it is, and what a string
// of digits means.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Agent {

/// `text` as it may be shown on a terminal: printable ASCII stays, every other byte and the
/// backslash become escapes (`\n`, `\x1b`, `\\`), and what is longer than 400 bytes is cut and ends
/// in "...".
[[nodiscard]] std::string printable(std::string_view text);

/// The value of 1 to 20 decimal digits; none for anything else, and for values above 2^64 - 1.
[[nodiscard]] std::optional<std::uint64_t> decimal(std::string_view digits);

/// The value of 1 to 16 hexadecimal digits of either case, without prefix; none for anything else.
[[nodiscard]] std::optional<std::uint64_t> hexadecimal(std::string_view digits);

}  // namespace Agent
