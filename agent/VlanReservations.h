#pragma once

// Which internal VLAN each routed port is given. A VLAN is reserved out of a range that the
// operator sets, or pinned to a port by name; a port keeps what it has for as long as it is routed.

#include <map>
#include <string>
#include <vector>

#include "agent/JsonValue.h"
#include "agent/Problem.h"
#include "agent/Switch.h"
#include "platform/IntfId.h"
#include "platform/VlanId.h"

namespace Agent {

/// From which end of the range VLANs are taken.
enum class ReservationPolicy { ascending, descending };

struct ReservationRules {
  VlanRange range{3968, 4094};
  ReservationPolicy policy = ReservationPolicy::ascending;
  /// Ports that are to have one certain VLAN, in the range or not. Several may name the same one.
  std::map<Plexo::IntfId, Bridging::VlanId> pins;
};

/// "3968-4094".
[[nodiscard]] std::string textOf(const VlanRange& range);

class VlanReservations {
 public:
  /// Nothing is reserved yet.
  explicit VlanReservations(ReservationRules rules) : rules_(std::move(rules)) {}

  /// Brings the reservations in line with the switch. Ports that are no longer routed give their
  /// VLAN back; a pinned port has the VLAN of its pin; then each routed port without VLAN, in
  /// natural order, takes the next one of the range that is neither reserved nor pinned for anybody
  /// nor used by the configuration.
  ///
  /// Appends to `problems`, with `file` as the file's name: pins of what is no port, ports for
  /// which no VLAN is left, and VLANs that are reserved or pinned while the configuration uses
  /// them.
  void renew(const Switch& theSwitch, const std::string& file, Problems& problems);

  /// The VLAN of each routed port that has one.
  [[nodiscard]] const std::map<Plexo::IntfId, Bridging::VlanId>& vlans() const { return vlans_; }
  [[nodiscard]] const ReservationRules& rules() const { return rules_; }

 private:
  void giveBack(const Switch& theSwitch);
  void pin(const Switch& theSwitch);
  /// The ports for which no VLAN was left.
  [[nodiscard]] std::vector<Plexo::IntfId> reserve(const Switch& theSwitch);
  [[nodiscard]] std::vector<Bridging::VlanId> freeVlans(const Switch& theSwitch) const;

  ReservationRules rules_;
  std::map<Plexo::IntfId, Bridging::VlanId> vlans_;
};

}  // namespace Agent
