#include "agent/InterfaceName.h"

#include <algorithm>

#include "Kob/Exception.h"
#include "agent/Text.h"

namespace Agent {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool allDigits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), isDigit);
}

bool beginsWithDigit(std::string_view text) { return !text.empty() && isDigit(text.front()); }

}  // namespace

std::optional<Plexo::IntfId> interfaceNamed(std::string_view name) {
  if (name.empty()) return std::nullopt;
  try {
    return Plexo::IntfId(Kob::String8(name));
  } catch (const Kob::RangeException&) {
    return std::nullopt;
  }
}

std::string nameOf(Plexo::IntfId id) { return std::string(id.name().view()); }

std::optional<std::uint64_t> vlanDigits(std::string_view name) {
  if (!name.starts_with("Vlan") && !name.starts_with("vlan")) return std::nullopt;
  const std::string_view digits = name.substr(4);
  if (!allDigits(digits) || (digits.size() > 1 && digits.front() == '0')) return std::nullopt;
  return decimal(digits).value_or(UINT64_MAX);
}

std::optional<SubInterfaceName> subInterfaceName(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return std::nullopt;
  const std::string_view number = name.substr(dot + 1);
  if (!allDigits(number)) return std::nullopt;
  const std::string_view parent = name.substr(0, dot);
  if (parent.starts_with("Eth") && beginsWithDigit(parent.substr(3))) {
    return SubInterfaceName{"Ethernet" + std::string(parent.substr(3)), std::string(number), true};
  }
  if (parent.starts_with("Po") && beginsWithDigit(parent.substr(2))) {
    return SubInterfaceName{"PortChannel" + std::string(parent.substr(2)), std::string(number),
                            true};
  }
  return SubInterfaceName{std::string(parent), std::string(number), false};
}

bool isPortChannelName(std::string_view name) { return name.starts_with("PortChannel"); }

bool isLoopbackName(std::string_view name) { return name == "lo" || name.starts_with("Loopback"); }

bool isManagementName(std::string_view name) {
  return name == "eth0" || name.starts_with("Management") || name.starts_with("mgmt");
}

}  // namespace Agent
