#pragma once

// What an exception says to people.

#include <exception>
#include <string>

namespace Agent {

/// The explanation of a refusal of the generic interface, else the exception's message.
[[nodiscard]] std::string wordsOf(const std::exception& exception);

}  // namespace Agent
