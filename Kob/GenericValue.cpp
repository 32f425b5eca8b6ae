#include "Kob/GenericValue.h"

#include <limits>

#include "Kob/Exception.h"

namespace Kob {

KobType* TypeOf<bool>::type() { return valueType<bool>(); }
KobType* TypeOf<unsigned>::type() { return valueType<unsigned>(); }
KobType* TypeOf<String8>::type() { return valueType<String8>(); }

KobType* TypeOf<void>::type() {
  static constinit TypePointer pointer;
  return pointer.get([] {}, [] { return newType<PlainType>(name); });
}

template <>
bool strepToValue(const String8& text, bool*) {
  if (text.view() == "true") return true;
  if (text.view() != "false") throwRangeException("bool is neither true nor false");
  return false;
}

template <>
unsigned strepToValue(const String8& text, unsigned*) {
  class Number {
   public:
    Number(String8::IteratorConst& position, const String8::IteratorConst& end)
        : value(static_cast<unsigned>(
              strepToNumber(position, end, std::numeric_limits<unsigned>::max()))) {}
    unsigned value;
  };
  return strepToValue(text, static_cast<Number*>(nullptr)).value;
}

template <>
String8 strepToValue(const String8& text, String8*) {
  return text;
}

}  // namespace Kob
