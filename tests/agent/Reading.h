#pragma once

// What tests of the readers share: documents given as text, and results told as plain strings.

#include <string>
#include <string_view>
#include <vector>

#include "agent/Configuration.h"
#include "agent/Document.h"
#include "agent/InterfaceName.h"
#include "agent/Problem.h"
#include "agent/Switch.h"

namespace Agent {

/// A configuration that was read from a text.
struct Configured {
  explicit Configured(std::string_view text) {
    theSwitch = readConfiguration(Document("test.json", text), problems);
  }

  Problems problems;
  Switch theSwitch;
};

using Texts = std::vector<std::string>;

/// "untaggedTwice VLAN_MEMBER Vlan20|Ethernet4" for each problem.
inline Texts briefly(const Problems& problems) {
  Texts texts;
  for (const Problem& problem : problems) {
    texts.push_back(std::string(nameOf(problem.kind)) + " " + problem.table + " " + problem.key);
  }
  return texts;
}

/// "Vlan10 vlan" for each L3 interface.
inline Texts l3Interfaces(const Switch& theSwitch) {
  Texts texts;
  for (const auto& [id, kind] : theSwitch.l3Interfaces) {
    texts.push_back(nameOf(id) + " " + std::string(nameOf(kind)));
  }
  return texts;
}

/// "Ethernet0 access 10" for each port, with its mode and its native VLAN or "-".
inline Texts ports(const Switch& theSwitch) {
  Texts texts;
  for (const auto& [id, port] : theSwitch.ports) {
    const char* mode = port.mode == Bridging::SwitchportMode::routed  ? "routed"
                       : port.mode == Bridging::SwitchportMode::trunk ? "trunk"
                                                                      : "access";
    const auto vlan = port.nativeVlan.value();
    texts.push_back(nameOf(id) + " " + mode + " " + (vlan == 0 ? "-" : std::to_string(vlan)));
  }
  return texts;
}

/// "Ethernet0.10 of Ethernet0 VLAN 10" for each sub-interface.
inline Texts subInterfaces(const Switch& theSwitch) {
  Texts texts;
  for (const auto& [id, settings] : theSwitch.subInterfaces) {
    texts.push_back(nameOf(id) + " of " + nameOf(settings.parent) + " VLAN " +
                    std::to_string(settings.encapsulation.value()));
  }
  return texts;
}

/// "Ethernet0 1537" for each index.
inline Texts indexes(const L3Indexes& all) {
  Texts texts;
  for (const auto& [id, l3Id] : all) {
    texts.push_back(nameOf(id) + " " + std::to_string(l3Id.value()));
  }
  return texts;
}

inline std::vector<int> usedVlans(const Switch& theSwitch) {
  std::vector<int> numbers;
  for (const Bridging::VlanId vlan : theSwitch.usedVlans) {
    numbers.push_back(vlan.value());
  }
  return numbers;
}

/// The message with which a document is refused; "" when it is not.
template <typename Reading>
std::string refusalOf(const Reading& reading) {
  try {
    reading();
  } catch (const UnreadableInput& refusal) {
    return refusal.what();
  }
  return "";
}

}  // namespace Agent
