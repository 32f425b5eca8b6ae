#include "agent/Inputs.h"

#include <utility>

#include "agent/InterfaceName.h"
#include "agent/JsonValue.h"

namespace Agent {
namespace {

/// Whether the library can be told of the VLAN interface: it knows its number by the name alone.
bool tellsItsVlan(Plexo::IntfId id) {
  const auto digits = vlanDigits(nameOf(id));
  return digits && vlanOf(*digits);
}

}  // namespace

Inputs inputsOf(const Switch& theSwitch, L3Indexes l3Indexes) {
  Inputs inputs{theSwitch.ports, {}, std::move(l3Indexes)};
  for (const auto& [id, vlan] : theSwitch.vlanInterfaces) {
    if (tellsItsVlan(id)) inputs.vlanInterfaces.insert(id);
  }
  return inputs;
}

Inputs inputsOf(const Switch& theSwitch, const VlanReservations& reservations) {
  Inputs inputs = inputsOf(theSwitch, L3Indexes());
  for (const auto& [id, vlan] : reservations.vlans()) {
    inputs.ports.at(id).nativeVlan = vlan;
  }
  return inputs;
}

}  // namespace Agent
