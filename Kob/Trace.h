#pragma once

// Tracing. A facility is a named set of levels that can be switched on and off while the program
// runs; a trace point names a facility and a level, and formats its message only when somebody will
// see it: the level is on, or a coverage stream asks for every message.
//
// Facilities are found by name and shared by all handles of that name. They are off at start.

#include <array>
#include <cstdint>
#include <iosfwd>
#include <sstream>

#include "Kob/Assert.h"
#include "Kob/Export.h"
#include "Kob/String8.h"

namespace Kob {

class KOB_EXPORT TraceFacility {
 public:
  /// Levels are 0 to 9, 0 the most important.
  static constexpr unsigned levels = 10;

  TraceFacility(const TraceFacility&) = delete;
  TraceFacility& operator=(const TraceFacility&) = delete;

  /// The facility of this name, made at the first call and kept for the rest of the process.
  static TraceFacility& named(const String8& name);

  [[nodiscard]] const String8& name() const noexcept { return name_; }
  /// Whether the facility is switched on; while it is off it writes nothing at any level.
  [[nodiscard]] bool on() const noexcept { return on_; }
  void onIs(bool on) noexcept { on_ = on; }
  /// REQUIRES: level < levels; anything else is fatal.
  [[nodiscard]] bool level(unsigned level) const;
  /// Switches one level. REQUIRES: level < levels; anything else is fatal.
  void levelIs(unsigned level, bool on);
  /// Switches the facility and its levels 0 to `upTo` on, and the levels above off.
  /// REQUIRES: upTo < levels; anything else is fatal.
  void levelsUpToIs(unsigned upTo);

  /// What trace points asked so far: 1 for each while the facility was off, 2 while it was on.
  /// Wraps at 2^64.
  [[nodiscard]] std::uint64_t checks() const noexcept { return checks_; }

  /// For trace points: counts the check and tells whether the level is to be written.
  /// REQUIRES: level < levels; anything else is fatal while the facility is on.
  [[nodiscard]] bool checked(unsigned level) noexcept {
    if (!on_) [[likely]] {
      checks_ += 1;
      return false;
    }
    checks_ += 2;
    KOB_ASSERT(level < levels, "level < levels", "bool Kob::TraceFacility::checked(unsigned)");
    return enabled_[level];
  }

 private:
  explicit TraceFacility(String8 name);

  String8 name_;
  bool on_ = false;
  std::array<bool, levels> enabled_{};
  std::uint64_t checks_ = 0;
};

/// How a source file reaches its facility: a function-local static, built on first use.
class KOB_EXPORT TraceHandle {
 public:
  /// `on` switches the facility on, with the levels that it has; false leaves it as it is.
  TraceHandle(const String8& name, bool on);

  [[nodiscard]] TraceFacility& facility() const noexcept { return facility_; }

 private:
  TraceFacility& facility_;
};

/// When set, every trace point that is off formats its message for this stream all the same, so
/// that a test run exercises the formatting. Null at start; not owned.
KOB_EXPORT extern std::ostream* coverageStream_;

/// Where records are written; standard error at start, null for nowhere. Not owned.
KOB_EXPORT void traceStreamIs(std::ostream* stream) noexcept;
[[nodiscard]] KOB_EXPORT std::ostream* traceStream() noexcept;

/// Writes one record on one line: time (local, microseconds), facility, level, function, message.
/// With `enabled` it goes to the trace stream, else to the coverage stream. `context` names the
/// object that traces, "<unknown>" where there is none.
KOB_EXPORT void traceHelper(const TraceFacility& facility, const char* context,
                            const std::stringstream& message, unsigned level, bool enabled,
                            const char* file, unsigned line, const char* function);

/// Precision with which messages print floating-point numbers.
inline constexpr int tracePrecision = 12;

/// What does not change at a trace point.
struct TracePoint {
  const char* context;
  const char* file;
  unsigned line;
  const char* function;
};

/// Formats the message with `write(stream)` and writes the record. Out of line, so that a function
/// whose trace point is off has no room for the stream to make (measured: a third of a look-up).
template <class Write>
[[gnu::noinline, gnu::cold]] void traceMessage(const TraceFacility& facility, TracePoint point,
                                               unsigned level, bool enabled, Write write) {
  std::stringstream message;
  message.precision(tracePrecision);
  write(message);
  traceHelper(facility, point.context, message, level, enabled, point.file, point.line,
              point.function);
}

}  // namespace Kob

/// A trace point: the message, which comes last, is a chain of stream insertions without the
/// leading stream.
///   KOB_TRACE(trace(), 7, "<unknown>", "weight", "weight( " << name << " )");
/// Checks in this order: is the facility on (and counts), is the level on, is there a coverage
/// stream. Formats nothing, and evaluates nothing of the message, when all say no.
#define KOB_TRACE(handle, level, context, function, ...) \
  KOB_TRACE_CAPTURING(&, handle, level, context, function, __VA_ARGS__)

/// The same with a message that names copies of local variables, which are made when it is
/// formatted: for functions in which the variables are to stand in registers until then. It names
/// no members.
#define KOB_TRACE_COPYING(handle, level, context, function, ...) \
  KOB_TRACE_CAPTURING(=, handle, level, context, function, __VA_ARGS__)

#define KOB_TRACE_CAPTURING(how, handle, level, context, function, ...)                            \
  do {                                                                                             \
    ::Kob::TraceFacility& kobFacility = (handle).facility();                                       \
    const bool kobEnabled = kobFacility.checked(level);                                            \
    if (kobEnabled || ::Kob::coverageStream_ != nullptr) [[unlikely]] {                            \
      ::Kob::traceMessage(kobFacility, {context, ::Kob::sourceName(__FILE__), __LINE__, function}, \
                          level, kobEnabled,                                                       \
                          [how](::std::ostream& kobStream) { kobStream << __VA_ARGS__; });         \
    }                                                                                              \
  } while (false)
