#pragma once

// How a target tells what it found: by the text, and by ending the process, for which libFuzzer
// keeps the input. Failed expectations of GoogleTest, in what targets share with the tests, end it
// likewise; so does whatever the sanitizers find.

#include <string>
#include <string_view>

namespace Fuzz {

/// Ends the process with the text.
[[noreturn]] void found(const std::string& text);

/// Ends the process with the text unless the condition holds.
inline void require(bool condition, std::string_view text) {
  if (!condition) found(std::string(text));
}

/// Ends the process when the text holds a byte that a terminal would obey, or that is no ASCII;
/// line ends may stand in it when `isBlock`. `what` names the text.
void requirePrintable(std::string_view text, std::string_view what, bool isBlock);

}  // namespace Fuzz
