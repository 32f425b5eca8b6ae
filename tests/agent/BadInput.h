#pragma once

// Input that is bad in every way that a table can list, and what must hold of whatever the host
// says of it: for tests of the readers, the patches and the shell.

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "agent/Document.h"
#include "tests/agent/Reading.h"

namespace Agent {

/// Whether the build is one for sanitizers or valgrind, which want to see each object.
#ifdef KOB_SLAB
inline constexpr bool isWatched = false;
#else
inline constexpr bool isWatched = true;
#endif
/// Whether there is time to parse a hundred million bytes.
#ifdef __OPTIMIZE__
inline constexpr bool isQuick = !isWatched;
#else
inline constexpr bool isQuick = false;
#endif

/// A configuration database with each table that counts and each field that is read.
inline constexpr const char* everyTable = R"({
"PORT": {"Ethernet0": {"admin_status": "up"}, "Ethernet4": {}, "Ethernet8": {}, "Ethernet12": {}},
"PORTCHANNEL": {"PortChannel1": {}},
"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet12": {}},
"VLAN": {"Vlan10": {"vlanid": "10", "members": ["Ethernet8"]}, "Vlan20": {"vlanid": 20}},
"VLAN_MEMBER": {"Vlan10|Ethernet8": {"tagging_mode": "untagged"},
                "Vlan20|Ethernet8": {"tagging_mode": "tagged"}},
"VLAN_INTERFACE": {"Vlan10": {}, "Vlan10|10.0.0.1/24": {}},
"INTERFACE": {"Ethernet0": {"NULL": "NULL"}, "Ethernet4|10.0.0.3/31": {}},
"PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
"VLAN_SUB_INTERFACE": {"Ethernet4.100": {"vlan": "200"}, "Po1.7": {"vlan": 7}},
"LOOPBACK_INTERFACE": {"Loopback0": {}}})";

/// Rows of such a database, one object each.
inline constexpr const char* everyRow = R"({
"PORT|Ethernet0": {}, "PORT|Ethernet4": {}, "VLAN|Vlan10": {"vlanid": 10, "members": ["Ethernet4"]},
"VLAN_INTERFACE|Vlan10|10.0.0.1/24": {"NULL": "NULL"}, "INTERFACE|Ethernet0": {}})";

/// OpenConfig interfaces with each container and each setting that is read.
inline constexpr const char* everyContainer =
    R"({"openconfig-interfaces:interfaces": {"interface": [
{"name": "Ethernet1", "config": {"type": "iana-if-type:ethernetCsmacd", "enabled": true},
 "subinterfaces": {"subinterface": [
  {"index": 0, "openconfig-if-ip:ipv4": {"addresses": {"address": [{"ip": "192.0.2.1"}]}}},
  {"index": 7, "openconfig-if-ip:ipv6": {"config": {"enabled": true}},
   "openconfig-vlan:vlan": {"match": {"single-tagged": {"config": {"vlan-id": 107}}}}},
  {"config": {"index": "8"}, "ipv6": {"addresses": {"address": [{"ip": "2001:db8::1"}]}},
   "vlan": {"config": {"vlan-id": "108"}}}]}},
{"name": "Ethernet2", "config": {"type": "iana-if-type:ethernetCsmacd"},
 "openconfig-if-ethernet:ethernet": {"config": {"openconfig-if-aggregate:aggregate-id": "Port-Channel1"}}},
{"name": "Ethernet3", "openconfig-if-ethernet:ethernet": {"openconfig-vlan:switched-vlan":
 {"config": {"interface-mode": "TRUNK", "native-vlan": 10, "trunk-vlans": [20, "30..32", "40-41"]}}}},
{"name": "Ethernet4", "state": {"type": "ethernetCsmacd"}, "ethernet": {"switched-vlan":
 {"state": {"interface-mode": "ACCESS", "access-vlan": "11"}}}},
{"name": "Port-Channel1", "config": {"type": "iana-if-type:ieee8023adLag"},
 "aggregation": {"switched-vlan": {"config": {"interface-mode": "ACCESS", "access-vlan": 12}}}},
{"name": "Vlan10", "config": {"type": "iana-if-type:l3ipvlan"}, "routed-vlan": {"config": {"vlan": 10}}},
{"name": "Loopback0", "config": {"type": "iana-if-type:softwareLoopback"}},
{"name": "Ethernet9", "config": {"type": "iana-if-type:ethernetCsmacd", "management": true}}]}})";

/// A patch of everyTable with each operation.
inline constexpr const char* everyOperation = R"([
{"op": "test", "path": "/VLAN/Vlan10/vlanid", "value": "10"},
{"op": "add", "path": "/VLAN_INTERFACE/Vlan20", "value": {}},
{"op": "copy", "from": "/VLAN_INTERFACE/Vlan20", "path": "/VLAN_INTERFACE/Vlan20|10.0.20.1~124"},
{"op": "move", "from": "/INTERFACE/Ethernet0", "path": "/INTERFACE/Ethernet8"},
{"op": "replace", "path": "/VLAN/Vlan20/vlanid", "value": "20"},
{"op": "remove", "path": "/VLAN_SUB_INTERFACE/Po1.7"}])";

/// Names that would make a terminal do something, or show something else than is there.
inline const std::vector<std::string>& hostileNames() {
  static const std::vector<std::string> names{
      "\x1b[2J",                 // clears the screen
      "\x1b]0;title\x07",        // names the window
      "\x1bPq\x1b\\",            // a device control string
      "Ethernet0\x1b[1A\x1b[K",  // takes the line before away
      "\xc2\x9b"
      "31m",               // a control character beyond ASCII
      "a\rb",              // begins the line again
      "a\nfyrl3: forged",  // forges a line
      "a\bb\tc\x7f",       // goes back, ahead, deletes
      "\xe2\x80\xae"
      "0tenrehtE",                      // right to left
      std::string("Ethernet0\0x", 11),  // ends a text that C reads
      "%s%n",
      "\\x1b[2J",
  };
  return names;
}

/// Byte sequences that are no UTF-8.
inline const std::vector<std::string>& invalidUtf8() {
  static const std::vector<std::string> sequences{
      "\x80",              // a continuation of nothing
      "\xc3",              // without its continuation
      "\xe2\x80",          // without its last one
      "\xf0\x9f\x98",      // likewise
      "\xc0\xaf",          // a slash in two bytes
      "\xe0\x80\xaf",      // in three
      "\xf0\x80\x80\xaf",  // in four
      "\xed\xa0\x80",      // half of a surrogate pair
      "\xf4\x90\x80\x80",  // behind the last character
      "\xfe",
      "\xff",
      "\xff\xfe",
  };
  return sequences;
}

/// Whether a terminal shows the text as it is: printable ASCII, and line ends, none of which comes
/// out of a hostile name.
inline bool isShownAsItIs(std::string_view text) {
  if (text.find("\nfyrl3: forged") != std::string_view::npos) return false;
  for (const char c : text) {
    if (c != '\n' && (c < ' ' || c > '~')) return false;
  }
  return true;
}

/// `text` with every `mark` replaced.
inline std::string filled(std::string_view text, std::string_view mark, std::string_view with) {
  std::string all;
  for (std::size_t at; (at = text.find(mark)) != std::string_view::npos;) {
    all += text.substr(0, at);
    all += with;
    text.remove_prefix(at + mark.size());
  }
  return all += text;
}

/// The opening text so many times, then `middle`, then the closing one as often.
inline std::string nestedIn(std::string_view open, std::string_view middle, std::string_view close,
                            std::size_t depth) {
  std::string text;
  for (std::size_t i = 0; i < depth; ++i) text += open;
  text += middle;
  for (std::size_t i = 0; i < depth; ++i) text += close;
  return text;
}

/// All that a switch is, as plain text.
inline Texts everythingOf(const Switch& theSwitch) {
  Texts texts = l3Interfaces(theSwitch);
  for (const Texts& more : {ports(theSwitch), subInterfaces(theSwitch)}) {
    texts.insert(texts.end(), more.begin(), more.end());
  }
  for (const auto& [id, vlan] : theSwitch.vlanInterfaces) {
    texts.push_back(nameOf(id) + " of VLAN " + std::to_string(vlan.value()));
  }
  for (const auto& [member, channel] : theSwitch.channelOf) {
    texts.push_back(nameOf(member) + " in " + nameOf(channel));
  }
  for (const Plexo::IntfId id : theSwitch.loopbacks) texts.push_back(nameOf(id) + " loopback");
  for (const int vlan : usedVlans(theSwitch)) texts.push_back("uses " + std::to_string(vlan));
  return texts;
}

}  // namespace Agent
