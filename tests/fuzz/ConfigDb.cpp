// Configuration databases, from the text to the table: as texts, and composed of tables, rows and
// fields that contradict each other.

#include <array>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/fuzz/Configured.h"

namespace Fuzz {
namespace {

using nlohmann::json;

constexpr std::array tables = {"PORT",
                               "PORTCHANNEL",
                               "PORTCHANNEL_MEMBER",
                               "VLAN",
                               "VLAN_MEMBER",
                               "VLAN_INTERFACE",
                               "INTERFACE",
                               "PORTCHANNEL_INTERFACE",
                               "LOOPBACK_INTERFACE",
                               "VLAN_SUB_INTERFACE",
                               "PORT_TABLE",
                               "INTF_TABLE"};
constexpr std::array words = {"Ethernet0",
                              "Ethernet4",
                              "Ethernet8",
                              "Ethernet0.10",
                              "Eth0.10",
                              "PortChannel1",
                              "PortChannel2",
                              "Po1.20",
                              "Vlan10",
                              "Vlan20",
                              "Vlan4094",
                              "Vlan4095",
                              "Vlan0",
                              "Vlan010",
                              "Vlan",
                              "Loopback0",
                              "Ethernet\x1b[2J",
                              "",
                              "10",
                              "20",
                              "4094",
                              "4095",
                              "0",
                              "tagged",
                              "untagged",
                              "vlanid",
                              "vlan",
                              "members",
                              "tagging_mode",
                              "admin_status",
                              "10.0.0.1/31",
                              "fc00::1/64",
                              "vrf_name",
                              "Internal1",
                              "mode",
                              "routed"};

std::string word(Choices& from) { return from.of(words); }

/// A row's key: a name, or names apart as tables spell them.
std::string rowKey(Choices& from) {
  switch (from.below(4)) {
    case 0:
      return word(from) + "|" + word(from);
    case 1:
      return word(from) + "|" + word(from) + "|" + word(from);
    default:
      return word(from);
  }
}

json row(Choices& from) {
  switch (from.below(5)) {
    case 0:
    case 1:
      return json::object();
    case 2:
      return {{word(from), word(from)}};
    case 3:
      return {{word(from), word(from)}, {word(from), json::array({word(from), word(from)})}};
    default:
      return valueOf(from, words, 1);
  }
}

std::string composed(Choices from) {
  json root = json::object();
  for (unsigned rows = 0; rows < 40 && !from.isEmpty(); ++rows) {
    json& table = root[from.of(tables)];
    const std::string key = rowKey(from);
    if (table.is_null() || table.is_object()) table[key] = row(from);
  }
  return root.dump();
}

}  // namespace
}  // namespace Fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Fuzz::configure(Fuzz::textOf(bytes, size, Fuzz::composed));
  return 0;
}
