#pragma once

// Death tests of the two fatal forms. The whole of standard error is compared: only the program's
// name and the line number are left open.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <string_view>

namespace KobTest {

/// `text` as a regular expression that matches it and nothing else.
inline std::string literally(std::string_view text) {
  std::string pattern;
  for (const char byte : text) {
    if (std::string_view("\\^$.[|()*+?{").find(byte) != std::string_view::npos) pattern += '\\';
    pattern += byte;
  }
  return pattern;
}

/// What the plain form writes, as a regular expression.
inline std::string assertionReport(std::string_view file, std::string_view function,
                                   std::string_view expression) {
  return "[^:\n]+: " + literally(file) + ":[0-9]+: " + literally(function) + ": Assertion `" +
         literally(expression) + "' failed\\.\n";
}

}  // namespace KobTest

/// The statement ends the process with the plain form's report, and writes nothing else.
#define EXPECT_FATAL(statement, file, function, expression)  \
  EXPECT_EXIT(statement, ::testing::KilledBySignal(SIGABRT), \
              ::testing::MatchesRegex(::KobTest::assertionReport(file, function, expression)))
