#include "agent/Reconciler.h"

#include "agent/InterfaceName.h"

namespace Agent {
namespace {

using Plexo::IntfId;

bool isRouted(const SwitchPort& port) { return port.mode == Bridging::SwitchportMode::routed; }

std::string textOf(const SwitchPort& port) {
  std::string text = isRouted(port)                                 ? "routed"
                     : port.mode == Bridging::SwitchportMode::trunk ? "trunk"
                                                                    : "access";
  if (port.nativeVlan != Bridging::VlanId()) {
    text += ", VLAN " + std::to_string(port.nativeVlan.value());
  }
  return text;
}

}  // namespace

void Reconciler::reconcile(const Inputs& wanted) {
  Progress progress("feeding the library",
                    wanted.ports.size() + wanted.vlanInterfaces.size() + wanted.l3Indexes.size());
  reconcilePorts(wanted.ports, progress);
  reconcileVlanInterfaces(wanted.vlanInterfaces, progress);
  reconcileL3Indexes(wanted.l3Indexes, progress);
}

void Reconciler::reconcilePorts(const Ports& wanted, Progress& progress) {
  const Ports held = heldPorts();
  for (const auto& item : held) {
    if (wanted.contains(item.first)) continue;
    drive(item.first, "leaves the bridging configuration",
          [&] { host_.config().switchIntfConfigDel(item.first); });
  }
  changePorts(held, wanted, false);
  changePorts(held, wanted, true);
  for (const auto& item : wanted) {
    progress.step();
    const SwitchPort& port = item.second;
    if (held.contains(item.first)) continue;
    drive(item.first, "enters the bridging configuration: " + textOf(port),
          [&] { host_.config().switchIntfConfigIs(item.first, port.mode, port.nativeVlan); });
  }
}

void Reconciler::changePorts(const Ports& held, const Ports& wanted, bool toRouted) {
  for (const auto& item : wanted) {
    const SwitchPort& port = item.second;
    const auto found = held.find(item.first);
    if (found == held.end() || found->second == port || isRouted(port) != toRouted) continue;
    const std::string change = textOf(found->second) + " becomes " + textOf(port);
    drive(item.first, "changes in the bridging configuration: " + change, [&] {
      host_.config()
          .switchIntfConfig(item.first)
          ->switchportModeAndNativeVlanIs(port.mode, port.nativeVlan);
    });
  }
}

void Reconciler::reconcileVlanInterfaces(const std::set<IntfId>& wanted, Progress& progress) {
  const std::set<IntfId> held = heldVlanInterfaces();
  for (const IntfId id : held) {
    if (wanted.contains(id)) continue;
    drive(id, "leaves the VLAN interface status directory",
          [&] { host_.vlanIntfStatusDir().intfStatusDel(id); });
  }
  for (const IntfId id : wanted) {
    progress.step();
    if (held.contains(id)) continue;
    drive(id, "enters the VLAN interface status directory",
          [&] { host_.vlanIntfStatusDir().intfStatusIs(id); });
  }
}

void Reconciler::reconcileL3Indexes(const L3Indexes& wanted, Progress& progress) {
  const L3Indexes held = heldL3Indexes();
  const auto stays = [&](const auto& item) {
    const auto found = held.find(item.first);
    if (found == held.end()) return false;
    const auto next = wanted.find(item.first);
    return next != wanted.end() && found->second == next->second;
  };
  for (const auto& item : held) {
    if (stays(item)) continue;
    drive(item.first, "leaves the L3 index directory",
          [&] { host_.l3IndexDir().l3IndexDel(item.first); });
  }
  for (const auto& item : wanted) {
    progress.step();
    if (stays(item)) continue;
    drive(item.first, "enters the L3 index directory: index " + std::to_string(item.second.value()),
          [&] { host_.l3IndexDir().l3IndexIs(item.first, item.second); });
  }
}

Reconciler::Ports Reconciler::heldPorts() {
  Ports ports;
  for (auto it = host_.config().switchIntfConfigIteratorConst(); it; ++it) {
    ports.emplace(it.key(), SwitchPort{it->switchportMode(), it->nativeVlan()});
  }
  return ports;
}

std::set<IntfId> Reconciler::heldVlanInterfaces() {
  std::set<IntfId> interfaces;
  for (auto it = host_.vlanIntfStatusDir().intfStatusIteratorConst(); it; ++it) {
    interfaces.insert(it.key());
  }
  return interfaces;
}

L3Indexes Reconciler::heldL3Indexes() {
  L3Indexes indexes;
  for (auto it = host_.l3IndexDir().l3IndexIteratorConst(); it; ++it) {
    indexes.emplace(it.key(), it->l3Id());
  }
  return indexes;
}

/// Only the interface whose entry changes can have another wish afterwards; hand-overs change what
/// others hold, not what they wish for.
void Reconciler::drive(IntfId id, const std::string& text, const std::function<void()>& change) {
  const auto before = host_.machine().desiredInternalVlanId(id);
  journal_.eventIs(nameOf(id) + " " + text);
  change();
  if (host_.machine().desiredInternalVlanId(id) != before) journal_.wishChanged(id);
}

}  // namespace Agent
