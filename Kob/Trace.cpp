#include "Kob/Trace.h"

#include <chrono>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <utility>

namespace Kob {

std::ostream* coverageStream_ = nullptr;

namespace {

std::ostream* recordStream = &std::cerr;

/// Local time of day, to the microsecond, with the date.
void writeTime(std::ostream& stream) {
  using namespace std::chrono;
  const auto now = system_clock::now();
  const auto fraction = duration_cast<microseconds>(now.time_since_epoch()) % seconds(1);
  const std::time_t second = system_clock::to_time_t(now);
  std::tm local{};
  localtime_r(&second, &local);
  stream << std::put_time(&local, "%Y-%m-%d %H:%M:%S.") << std::setw(6) << std::setfill('0')
         << fraction.count();
}

}  // namespace

TraceFacility::TraceFacility(String8 name) : name_(std::move(name)) {}

TraceFacility& TraceFacility::named(const String8& name) {
  // Never destroyed: trace points may run while the process exits.
  static auto& facilities = *new std::map<String8, std::unique_ptr<TraceFacility>>;
  auto& facility = facilities[name];
  if (!facility) facility.reset(new TraceFacility(name));
  return *facility;
}

bool TraceFacility::level(unsigned level) const {
  KOB_ASSERT(level < levels, "level < levels", "bool Kob::TraceFacility::level(unsigned) const");
  return enabled_[level];
}

void TraceFacility::levelIs(unsigned level, bool on) {
  KOB_ASSERT(level < levels, "level < levels", "void Kob::TraceFacility::levelIs(unsigned, bool)");
  enabled_[level] = on;
}

void TraceFacility::levelsUpToIs(unsigned upTo) {
  KOB_ASSERT(upTo < levels, "upTo < levels", "void Kob::TraceFacility::levelsUpToIs(unsigned)");
  on_ = true;
  for (unsigned level = 0; level < levels; ++level) enabled_[level] = level <= upTo;
}

TraceHandle::TraceHandle(const String8& name, bool on) : facility_(TraceFacility::named(name)) {
  if (on) facility_.onIs(true);
}

void traceStreamIs(std::ostream* stream) noexcept { recordStream = stream; }
std::ostream* traceStream() noexcept { return recordStream; }

void traceHelper(const TraceFacility& facility, const char* context,
                 const std::stringstream& message, unsigned level, bool enabled, const char* file,
                 unsigned line, const char* function) {
  std::ostream* const stream = enabled ? recordStream : coverageStream_;
  if (stream == nullptr) return;
  // Composed apart, so that a record is one write and the stream's own format is left alone.
  std::ostringstream record;
  writeTime(record);
  record << ' ' << facility.name() << ' ' << level << ' ' << function << ' ' << message.view();
  if (!enabled) record << " [" << file << ':' << line << ' ' << context << ']';
  record << '\n';
  *stream << record.view() << std::flush;
}

}  // namespace Kob
