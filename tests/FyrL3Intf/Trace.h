#pragma once

// What the system traces while a test looks: every record of the facility "FyrL3IntfSm".

#include <sstream>
#include <string>
#include <vector>

#include "Kob/Trace.h"

namespace FyrL3Intf::Tests {

/// Switches all levels on, and keeps the records instead of writing them. Everything is as it was
/// before when it goes.
class Trace {
 public:
  explicit Trace(unsigned upToLevel = Kob::TraceFacility::levels - 1) {
    facility().levelsUpToIs(upToLevel);
    Kob::traceStreamIs(&written_);
  }
  Trace(const Trace&) = delete;
  Trace& operator=(const Trace&) = delete;
  ~Trace() {
    facility().levelsUpToIs(0);
    facility().levelIs(0, false);
    facility().onIs(false);
    Kob::traceStreamIs(stream_);
  }

  static Kob::TraceFacility& facility() { return Kob::TraceFacility::named("FyrL3IntfSm"); }

  /// The records since the last call, each as "LEVEL FUNCTION MESSAGE".
  std::vector<std::string> taken() {
    std::vector<std::string> records;
    std::istringstream lines(written_.str());
    for (std::string line; std::getline(lines, line);) records.push_back(withoutTime(line));
    written_.str("");
    return records;
  }

 private:
  /// A record begins with date, time and facility.
  static std::string withoutTime(const std::string& record) {
    const auto facilityName = record.find(" FyrL3IntfSm ");
    return facilityName == std::string::npos ? record : record.substr(facilityName + 13);
  }

  std::ostream* const stream_ = Kob::traceStream();
  std::ostringstream written_;
};

}  // namespace FyrL3Intf::Tests
