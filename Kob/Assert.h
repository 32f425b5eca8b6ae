#pragma once

// The fatal forms. A broken invariant or a caller's contract violation ends the process with a
// line on standard error, in every build type; bad input data never comes here.
//
//   KOB_ASSERT(condition, text, function)
//     plain form: the C library's assertion report, nothing before it.
//   KOB_ASSERT_UNTESTABLE(condition, text, function, reason)
//     the plain form, for a failure that no test can bring about: the literal `reason` says why.
//     The tests must fail every assertion but those written so, and none of those: see
//     scripts/coverage.py.
//   KOB_ASSERT_REPORTED(condition, text, function, detail)
//     reported form: "Failed(" text ") " and the streamed detail, without a line end, and then the
//     assertion report on the text in quotes, negated.
//
// `text` is the condition as the report shows it, `function` the signature as the report shows it:
// both are literals and do not vary with the compiler. `detail` is a chain of stream insertions.

#include <iostream>

#include "Kob/Export.h"

namespace Kob {

/// Ends the process through the C library's assertion failure routine, which writes
/// "PROGRAM: FILE:LINE: FUNCTION: Assertion `EXPRESSION' failed." to standard error and aborts.
[[noreturn]] KOB_EXPORT void assertFail(const char* expression, const char* file, unsigned line,
                                        const char* function) noexcept;

/// The last two components of a source path, "folder/file", so that reports are the same wherever
/// the tree was built. Evaluated by the compiler.
consteval const char* sourceName(const char* path) {
  const char* name = path;
  const char* folder = path;
  for (const char* at = path; *at != '\0'; ++at) {
    if (*at == '/') {
      folder = name;
      name = at + 1;
    }
  }
  return folder;
}

}  // namespace Kob

#define KOB_ASSERT(condition, text, function) \
  ((condition) ? void() : ::Kob::assertFail(text, ::Kob::sourceName(__FILE__), __LINE__, function))

#define KOB_ASSERT_UNTESTABLE(condition, text, function, reason) \
  KOB_ASSERT(condition, text, function)

#define KOB_ASSERT_REPORTED(condition, text, function, detail)                              \
  do {                                                                                      \
    if (!(condition)) [[unlikely]] {                                                        \
      ::std::cerr << ::std::dec << "Failed(" << (text) << ") " << detail;                   \
      ::Kob::assertFail("! \"" text "\"", ::Kob::sourceName(__FILE__), __LINE__, function); \
    }                                                                                       \
  } while (false)
