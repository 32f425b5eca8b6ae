#include "agent/VlanReservations.h"

#include <algorithm>
#include <utility>

#include "agent/InterfaceName.h"

namespace Agent {
namespace {

using Bridging::VlanId;
using Plexo::IntfId;

constexpr const char* table = "internal VLANs";

bool isRouted(const SwitchPort& port) { return port.mode == Bridging::SwitchportMode::routed; }

bool isRoutedPort(const Switch& theSwitch, IntfId id) {
  const auto found = theSwitch.ports.find(id);
  return found != theSwitch.ports.end() && isRouted(found->second);
}

std::string textOf(VlanId vlan) { return "VLAN " + std::to_string(vlan.value()); }

/// Tells what is wrong with reservations as they stand.
class Reporter {
 public:
  Reporter(const Switch& theSwitch, const std::string& file, Problems& problems)
      : switch_(theSwitch), file_(file), problems_(problems) {}

  void reportPins(const ReservationRules& rules);
  void reportMissing(const ReservationRules& rules, const std::vector<IntfId>& ports);
  void reportUsed(const ReservationRules& rules, const std::map<IntfId, VlanId>& vlans);

 private:
  [[nodiscard]] std::vector<IntfId> interfacesOf(VlanId vlan) const;
  void report(ProblemKind kind, IntfId id, std::string found, std::string done);

  const Switch& switch_;
  const std::string& file_;
  Problems& problems_;
};

void Reporter::reportPins(const ReservationRules& rules) {
  for (const auto& [id, vlan] : rules.pins) {
    if (switch_.ports.contains(id)) continue;
    report(ProblemKind::unknownPin, id, textOf(vlan) + " is pinned to it, and it is no port",
           "the VLAN is kept for it");
  }
}

void Reporter::reportMissing(const ReservationRules& rules, const std::vector<IntfId>& ports) {
  const std::string count =
      ports.size() == 1 ? "1 VLAN is missing" : std::to_string(ports.size()) + " VLANs are missing";
  for (const IntfId id : ports) {
    report(ProblemKind::rangeExhausted, id,
           "the range " + Agent::textOf(rules.range) + " is exhausted, " + count,
           "the port gets no internal VLAN");
  }
}

/// A VLAN that was taken from the range was free then, so that its port holds it. A pinned one may
/// have had a holder before.
void Reporter::reportUsed(const ReservationRules& rules, const std::map<IntfId, VlanId>& vlans) {
  for (const auto& [id, vlan] : vlans) {
    if (!switch_.usedVlans.contains(vlan)) continue;
    const auto interfaces = interfacesOf(vlan);
    for (const IntfId interface : interfaces) {
      report(ProblemKind::usedReservation, interface,
             textOf(vlan) + " is the internal VLAN of " + nameOf(id),
             rules.pins.contains(id) ? "the one that holds it keeps it, the other waits"
                                     : "the VLAN interface waits");
    }
    if (interfaces.empty()) {
      report(ProblemKind::usedReservation, id,
             "its internal " + textOf(vlan) + " is used by the configuration as well",
             "the port keeps it");
    }
  }
}

/// The VLAN interfaces that wish for the VLAN: those whose name tells it.
std::vector<IntfId> Reporter::interfacesOf(VlanId vlan) const {
  std::vector<IntfId> interfaces;
  for (const auto& [id, number] : switch_.vlanInterfaces) {
    if (number == vlan && vlanDigits(nameOf(id))) interfaces.push_back(id);
  }
  return interfaces;
}

void Reporter::report(ProblemKind kind, IntfId id, std::string found, std::string done) {
  addProblem(problems_, {kind, file_, table, nameOf(id), std::move(found), std::move(done)});
}

}  // namespace

std::string textOf(const VlanRange& range) {
  return std::to_string(range.first.value()) + "-" + std::to_string(range.last.value());
}

void VlanReservations::renew(const Switch& theSwitch, const std::string& file, Problems& problems) {
  giveBack(theSwitch);
  pin(theSwitch);
  const std::vector<IntfId> missing = reserve(theSwitch);
  Reporter reporter(theSwitch, file, problems);
  reporter.reportPins(rules_);
  reporter.reportMissing(rules_, missing);
  reporter.reportUsed(rules_, vlans_);
}

void VlanReservations::giveBack(const Switch& theSwitch) {
  std::erase_if(vlans_, [&](const auto& item) { return !isRoutedPort(theSwitch, item.first); });
}

void VlanReservations::pin(const Switch& theSwitch) {
  for (const auto& [id, vlan] : rules_.pins) {
    if (isRoutedPort(theSwitch, id)) vlans_[id] = vlan;
  }
}

std::vector<IntfId> VlanReservations::reserve(const Switch& theSwitch) {
  const std::vector<VlanId> free = freeVlans(theSwitch);
  auto next = free.begin();
  std::vector<IntfId> missing;
  for (const auto& [id, port] : theSwitch.ports) {
    if (!isRouted(port) || vlans_.contains(id)) continue;
    if (next == free.end()) {
      missing.push_back(id);
    } else {
      vlans_.emplace(id, *next++);
    }
  }
  return missing;
}

/// In the order in which they are given out.
std::vector<VlanId> VlanReservations::freeVlans(const Switch& theSwitch) const {
  std::set<VlanId> taken = theSwitch.usedVlans;
  for (const auto& [id, vlan] : vlans_) {
    taken.insert(vlan);
  }
  for (const auto& [id, vlan] : rules_.pins) {
    taken.insert(vlan);
  }
  std::vector<VlanId> free;
  for (std::uint16_t vlan = rules_.range.first.value(); vlan <= rules_.range.last.value(); ++vlan) {
    if (!taken.contains(vlan)) free.emplace_back(vlan);
  }
  if (rules_.policy == ReservationPolicy::descending) std::reverse(free.begin(), free.end());
  return free;
}

}  // namespace Agent
