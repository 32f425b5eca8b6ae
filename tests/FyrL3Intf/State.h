#pragma once

// What stands in a table and in a state machine, as plain values that a test compares and that a
// failed expectation prints. Looking counts no read.

#include <cstdint>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "FyrL3Intf/FyrL3IntfTable.h"

namespace FyrL3Intf::Tests {

/// Identifiers by interface; interfaces by identifier.
using Forward = std::map<std::string, std::uint64_t>;
using Reverse = std::map<std::uint64_t, std::string>;
/// The entries of an interface set; the VLANs that are wished for, by interface; and the sets of
/// wishers, by VLAN.
using Members = std::map<std::string, bool>;
using Wishes = std::map<std::string, unsigned>;
using Wishers = std::map<unsigned, Members>;

inline std::string nameOf(Plexo::IntfId intfId) { return intfId.name().charPtr(); }

inline Forward forwardOf(const Table& table) {
  Forward entries;
  for (auto it = table.intfL3IndexIteratorConst(); it; ++it) {
    entries[nameOf(it.key())] = it->value();
  }
  return entries;
}

inline Reverse reverseOf(const Table& table) {
  Reverse entries;
  for (auto it = table.routedPortNameIteratorConst(); it; ++it) {
    entries[it.key().value()] = nameOf(*it);
  }
  return entries;
}

inline Members membersOf(const ConfigSm::IntfSet& set) {
  Members entries;
  for (auto it = set.memberIteratorConst(); it; ++it) entries[nameOf(it.key())] = *it;
  return entries;
}

inline Wishes wishesOf(const ConfigSm& machine) {
  Wishes entries;
  for (auto it = machine.desiredInternalVlanIdIteratorConst(); it; ++it) {
    entries[nameOf(it.key())] = it->value();
  }
  return entries;
}

inline Wishers wishersOf(const ConfigSm& machine) {
  Wishers entries;
  for (auto it = machine.desiredRoutedPortNameIteratorConst(); it; ++it) {
    entries[it.key().value()] = membersOf(*it);
  }
  return entries;
}

/// The names of the interfaces over which the iterator goes, in its order.
template <class Iterator>
std::vector<std::string> namesOf(Iterator it) {
  std::vector<std::string> names;
  for (; it; ++it) names.push_back(nameOf(it.key()));
  return names;
}

/// Both maps of the table and its change counter, on one line.
inline std::string textOf(const Table& table) {
  std::ostringstream text;
  for (const auto& [intf, id] : forwardOf(table)) text << intf << "->" << id << ' ';
  for (const auto& [id, intf] : reverseOf(table)) text << id << "->" << intf << ' ';
  text << "changes " << table.changeCount() << '\n';
  return text.str();
}

/// The wishes of the machine, the wishers of each VLAN and the number of machines, on one line.
inline std::string textOf(const ConfigSm& machine) {
  std::ostringstream text;
  for (const auto& [intf, vlan] : wishesOf(machine)) text << intf << " wishes " << vlan << ' ';
  for (const auto& [vlan, members] : wishersOf(machine)) {
    text << vlan << " wished by";
    for (const auto& [intf, member] : members) text << ' ' << intf << (member ? "" : "(false)");
    text << ' ';
  }
  text << "machines " << machine.switchIntfConfigSms() << '\n';
  return text.str();
}

}  // namespace FyrL3Intf::Tests
