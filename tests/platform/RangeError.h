#pragma once

// How a test reads what a range check says.

#include <string>

#include "Kob/Exception.h"

namespace Tests {

/// The message of the range error that the call throws; "" when it throws none. Other exceptions
/// pass.
template <class Call>
std::string rangeErrorOf(const Call& call) {
  try {
    call();
  } catch (const Kob::RangeException& error) {
    return error.message().charPtr();
  }
  return "";
}

}  // namespace Tests
