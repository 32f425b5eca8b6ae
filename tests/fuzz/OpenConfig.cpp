// OpenConfig interfaces, from the text to the table: as texts, and composed of the containers that
// the reader knows, in places where they belong and where they do not.

#include <array>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/fuzz/Configured.h"

namespace Fuzz {
namespace {

using nlohmann::json;

constexpr std::array words = {"Ethernet1",
                              "Ethernet2",
                              "Ethernet1.10",
                              "Port-Channel1",
                              "Vlan10",
                              "Vlan4095",
                              "Loopback0",
                              "Ethernet\x1b[2J",
                              "",
                              "iana-if-type:ethernetCsmacd",
                              "ethernetCsmacd",
                              "iana-if-type:ieee8023adLag",
                              "iana-if-type:l3ipvlan",
                              "softwareLoopback",
                              "ACCESS",
                              "TRUNK",
                              "10..20",
                              "20-10",
                              "4094"};
constexpr std::array members = {"name",
                                "config",
                                "state",
                                "type",
                                "index",
                                "enabled",
                                "subinterfaces",
                                "subinterface",
                                "openconfig-if-ip:ipv4",
                                "openconfig-if-ip:ipv6",
                                "ipv4",
                                "addresses",
                                "address",
                                "openconfig-vlan:vlan",
                                "match",
                                "single-tagged",
                                "vlan-id",
                                "openconfig-if-ethernet:ethernet",
                                "openconfig-vlan:switched-vlan",
                                "openconfig-vlan:routed-vlan",
                                "openconfig-if-aggregate:aggregate-id",
                                "openconfig-if-aggregate:aggregation",
                                "interface-mode",
                                "access-vlan",
                                "native-vlan",
                                "trunk-vlans",
                                "vlan"};

json container(Choices& from, unsigned depth) {
  json value = json::object();
  for (unsigned part = from.below(5); part > 0; --part) {
    const char* const name = from.of(members);
    const unsigned kind = from.below(4);
    if (depth == 0 || kind == 0) {
      value[name] = valueOf(from, words, 1);
    } else {
      value[name] =
          kind == 1 ? json::array({container(from, depth - 1)}) : container(from, depth - 1);
    }
  }
  return value;
}

/// What makes an interface one: its name, its type, and addresses or settings of a switched port.
json likely(Choices& from) {
  json interface = container(from, 1);
  interface["name"] = from.of(words);
  interface["config"] = {{"type", from.of(words)}};
  const json addresses = json::parse(R"({"addresses": {"address": [{"ip": "10.0.0.1"}]}})");
  json sub = {{"index", from.of({0, 1, 10})}};
  if (from.flag()) sub["openconfig-if-ip:ipv4"] = addresses;
  if (from.flag()) {
    sub["openconfig-vlan:vlan"]["match"]["single-tagged"]["config"]["vlan-id"] =
        valueOf(from, words, 0);
  }
  interface["subinterfaces"] = {{"subinterface", json::array({sub})}};
  if (from.flag()) {
    const json settings = {{from.of(members), valueOf(from, words, 1)},
                           {"interface-mode", from.of(words)},
                           {"trunk-vlans", json::array({valueOf(from, words, 0)})}};
    interface["openconfig-if-ethernet:ethernet"] = {
        {"openconfig-vlan:switched-vlan", {{"config", settings}}}};
  }
  return interface;
}

std::string composed(Choices from) {
  json list = json::array();
  while (!from.isEmpty() && list.size() < 20) {
    list.push_back(from.below(3) == 0 ? container(from, 4) : likely(from));
  }
  return json{{"openconfig-interfaces:interfaces", {{"interface", list}}}}.dump();
}

}  // namespace
}  // namespace Fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Fuzz::configure(Fuzz::textOf(bytes, size, Fuzz::composed));
  return 0;
}
