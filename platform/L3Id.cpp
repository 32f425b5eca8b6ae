#include "platform/L3Id.h"

#include <ostream>
#include <string>

namespace FyrL3Intf {

std::ostream& operator<<(std::ostream& stream, const L3Id& l3Id) {
  return stream << std::to_string(l3Id.value());
}

}  // namespace FyrL3Intf
