#pragma once

// How a test says that a call ends the process: with exactly which text on standard error, and in
// which state. The program's name and the line number of a report are patterns, all the rest stands
// as it is.
//
//   EXPECT_FATAL(map.newMember(entry), assertion("Kob/HashMapGeneric.cpp", function, expression));

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>

namespace Tests {

/// A regular expression that matches exactly this text.
inline std::string literally(std::string_view text) {
  std::string pattern;
  for (const char c : text) {
    if (std::string_view("\\^$.|?*+()[]{}").find(c) != std::string_view::npos) pattern += '\\';
    pattern += c;
  }
  return pattern;
}

/// The report of a failed assertion: the whole of it, its line end included.
inline std::string assertion(std::string_view file, std::string_view function,
                             std::string_view expression) {
  return literally(program_invocation_short_name) + ": " + literally(file) +
         ":[0-9]+: " + literally(function) + ": " + literally("Assertion `") +
         literally(expression) + literally("' failed.") + "\n";
}

namespace Detail {

inline std::function<std::string()> writtenOnAbort;
inline void (*nextAbortHandler)(int) = SIG_DFL;

inline void writeOnAbort(int signal) {
  std::cerr << writtenOnAbort();
  if (nextAbortHandler == SIG_DFL) return;
  std::signal(signal, nextAbortHandler);
  std::raise(signal);
}

}  // namespace Detail

/// In a process that is about to abort: writes this text, composed then, behind the report. So a
/// test sees in which state the process died.
inline void onAbortWrite(std::function<std::string()> text) {
  Detail::writtenOnAbort = std::move(text);
  Detail::nextAbortHandler = std::signal(SIGABRT, Detail::writeOnAbort);
}

}  // namespace Tests

/// Expects that the statement aborts the process, and that standard error then holds what the
/// pattern `report` matches, and nothing else.
#define EXPECT_FATAL(statement, report) \
  EXPECT_EXIT(statement, ::testing::KilledBySignal(SIGABRT), ::testing::MatchesRegex(report))
