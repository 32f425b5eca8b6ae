#pragma once

// Interfaces in tests: "Ethernet1"_intf.

#include <cstddef>
#include <string_view>

#include "platform/IntfId.h"

namespace Tests {

inline Plexo::IntfId operator""_intf(const char* name, std::size_t length) {
  return {Kob::String8(std::string_view(name, length))};
}

}  // namespace Tests
