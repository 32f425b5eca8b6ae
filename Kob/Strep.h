#pragma once

// Values from their text form ("strep"). A value type T parses itself with a constructor
// T(String8::IteratorConst& position, const String8::IteratorConst& end) that leaves `position`
// behind what it took.

#include <cstdint>
#include <string>

#include "Kob/Exception.h"
#include "Kob/Export.h"
#include "Kob/String8.h"

namespace Kob {

/// Takes a number, decimal or hexadecimal after 0x, as far as its digits go. Throws RangeException
/// "no number at column N" when there is none, "number at column N is greater than MAX" when it is.
KOB_EXPORT std::uint64_t strepToNumber(String8::IteratorConst& position,
                                       const String8::IteratorConst& end, std::uint64_t max);

/// Parses the whole of `text` as a T; the pointer only selects the type. Throws RangeException
/// "junk at column N deserializing TEXT" when something is left after the value, N being the bytes
/// that were taken; passes on what the value's own constructor throws.
template <class T>
T strepToValue(const String8& text, T* /*selectsType*/) {
  String8::IteratorConst position = text.begin();
  const String8::IteratorConst end = text.end();
  T value(position, end);
  if (!(position == end)) {
    const std::string message = "junk at column " + std::to_string(position.position()) +
                                " deserializing " + text.charPtr();
    throwRangeException(message.c_str());
  }
  return value;
}

}  // namespace Kob
