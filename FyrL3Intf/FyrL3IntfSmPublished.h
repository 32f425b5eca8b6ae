#pragma once

// What the state machines publish of themselves: the tables from which their types are registered
// and their generic interfaces work (Kob/Description.h). A row says name, id, flags and kind code;
// types are those of the C++ declarations. Part of FyrL3IntfSm.cpp; nobody else includes it, and it
// is not installed.

#include <iterator>
#include <tuple>

#include "FyrL3Intf/FyrL3IntfSm.h"

namespace FyrL3Intf::Published {

using IntfSet = ConfigSm::IntfSet;
using HandlerOfIntf = void (ConfigSm::*)(Plexo::IntfId);

KOB_COLLECTION_ACCESS(DesiredRoutedPortName, ConfigSm, desiredRoutedPortName);
KOB_COLLECTION_ACCESS(DesiredInternalVlanId, ConfigSm, desiredInternalVlanId);

KOB_COLLECTION_LOOKUP(MachinesLookup, ConfigSm, switchIntfConfigSm);

/// Entries are made by the collection, from the configuration entry of their interface.
struct Machines : MachinesLookup {
  static void write(ConfigSm& owner, Plexo::IntfId intfId, const Kob::AttributeCall& call) {
    const auto& list = Kob::listOf(call.value().get(), {.missing = call.name()});
    const auto make = [&](const Kob::Ptr<const Bridging::SwitchIntfConfig>& config) {
      if (!config) throw Kob::TypeException(call.parameters()[0].name);
      if (config->intfId() != intfId) throw Kob::BadIndexException(call.name());
      owner.switchIntfConfigSmIs(config);
    };
    using Arguments = std::tuple<Kob::Ptr<const Bridging::SwitchIntfConfig>>;
    Kob::applyList<Arguments>(list, call.parameters(), call.name(), make);
  }
  static void del(ConfigSm& owner, Plexo::IntfId intfId) { owner.switchIntfConfigSmDel(intfId); }
};

struct Members {
  using Object = IntfSet;
  static constexpr bool walks = false;
  static const auto& map(const IntfSet& set) { return set.memberCollection(); }
  static bool read(const IntfSet& set, Plexo::IntfId intfId) { return set.member(intfId); }
  static void write(IntfSet& set, Plexo::IntfId intfId, const Kob::AttributeCall& call) {
    set.memberIs(intfId, call.newValue<bool>());
  }
  static void del(IntfSet& set, Plexo::IntfId intfId) {
    if (const auto entry = map(set)[intfId]) set.memberCollection().deleteMember(entry.get());
  }
};

inline constexpr Kob::AttributeRow switchIntfConfigSmRows[] = {
    Kob::described<Kob::ActivityConfig>("kobFwkActivity", {0x08000001, 0x00000400}, 0),
    Kob::readable<&SwitchIntfConfigSm::switchIntfConfig>("switchIntfConfig", 130,
                                                         {0x08220109, 0x00000400}, 2),
    Kob::readable<&SwitchIntfConfigSm::intfId>("intfId", 131, {0x00220001, 0x00000400}, 0),
    Kob::readable<&SwitchIntfConfigSm::configSm>("configSm", 132, {0x18220109, 0x40000400}, 2),
    Kob::function<&SwitchIntfConfigSm::handleSwitchportModeAndNativeVlan>(
        "handleSwitchportModeAndNativeVlan", 133, {0x00020001, 0x00000400}),
    Kob::function<&SwitchIntfConfigSm::doPrepareToDie>("doPrepareToDie", 134,
                                                       {0x00020001, 0x00000400}),
    Kob::described<Plexo::IntfId>("fwkKey", {0x00200001, 0x00000400}, 0),
    Kob::describedFunction<bool>("hasNotificationActiveIs", {0x00000001, 0x00000400},
                                 "hasNotificationActiveIs"),
    Kob::describedFunction<bool>("kobDoZombieReactors", {0x00000001, 0x00000400}, "on"),
};
inline constinit Kob::KobAttr* switchIntfConfigSmHandles[std::size(switchIntfConfigSmRows)] = {};

inline IntfSet emptySet() { return {}; }

inline constexpr Kob::AttributeRow intfSetRows[] = {
    Kob::collection<Members>("member", IntfSet::memberId, {0x01A20107, 0x00000400}, 2),
};
inline constexpr Kob::Description intfSetDescription = {
    .qualifiedName = IntfSet::kobTypeName,
    .type = IntfSet::_fwkType,
    .instanceSize = sizeof(IntfSet),
    .announcesGenericIf = true,
    .keyType = Plexo::IntfId::_fwkType,
    .rows = intfSetRows,
};

inline constexpr Kob::AttributeRow configSmRows[] = {
    Kob::described<Kob::ActivityConfig>("kobFwkActivity", {0x0800210F, 0x00000400}, 2),
    Kob::readable<&ConfigSm::config>("config", 130, {0x08220109, 0x00000400}, 2),
    Kob::readable<&ConfigSm::vlanIntfStatusDir>("vlanIntfStatusDir", 131, {0x08220109, 0x00000400},
                                                2),
    Kob::readable<&ConfigSm::fyrL3IndexDir>("fyrL3IndexDir", 132, {0x08220109, 0x00000400}, 2),
    Kob::readable<&ConfigSm::fyrL3IntfTable>("fyrL3IntfTable", 133, {0x08220109, 0x40000400}, 2),
    Kob::readable<&ConfigSm::internalVlanNeeded>("internalVlanNeeded", 134,
                                                 {0x00220109, 0x00000400}, 2),
    Kob::nestedType(intfSetDescription),
    Kob::function<static_cast<HandlerOfIntf>(&ConfigSm::handleVlanIntfStatus)>(
        "handleVlanIntfStatus", 135, {0x00020001, 0x00000400}, {"intfId"}),
    Kob::collection<DesiredRoutedPortName>("desiredRoutedPortName", 137, {0x01A20103, 0x00000400},
                                           2),
    Kob::collection<DesiredInternalVlanId>("desiredInternalVlanId", 138, {0x01A20103, 0x00000400},
                                           2),
    Kob::function<&ConfigSm::doSetDesiredInternalVlanId>("doSetDesiredInternalVlanId", 139,
                                                         {0x00020001, 0x00000400},
                                                         {"intfId", "newDesiredInternalVlanId"}),
    Kob::function<&ConfigSm::doSetInternalVlanId>(
        "doSetInternalVlanId", 140, {0x00020001, 0x00000400}, {"intfId", "newInternalVlanId"}),
    Kob::instantiatingCollection<Machines, Bridging::SwitchIntfConfig, Plexo::IntfId>(
        "switchIntfConfigSm", 141, {0x09A20103, 0x10000400}, {"switchIntfConfig", "intfId"}),
    Kob::function<static_cast<HandlerOfIntf>(&ConfigSm::handleSwitchIntfConfig)>(
        "handleSwitchIntfConfig", 142, {0x00020001, 0x00000400}, {"intfId"}),
    Kob::function<static_cast<HandlerOfIntf>(&ConfigSm::handleL3Index)>(
        "handleL3Index", 144, {0x00020001, 0x00000400}, {"intfId"}),
    Kob::function<&ConfigSm::doPrepareToDie>("doPrepareToDie", 146, {0x00020001, 0x00000400}),
    Kob::function<&ConfigSm::doVerify>("doVerify", 147, {0x00020001, 0x00000400}),
    Kob::describedFunction<bool>("hasNotificationActiveIs", {0x00000001, 0x00000400},
                                 "hasNotificationActiveIs"),
    Kob::describedFunction<bool>("kobDoZombieReactors", {0x00000001, 0x00000400}, "on"),
};
inline constinit Kob::KobAttr* configSmHandles[std::size(configSmRows)] = {};

/// The machine of an entry, made and put into its owner's collection where there is none.
inline Kob::Ptr<SwitchIntfConfigSm> machineOf(
    const Kob::Ptr<const Bridging::SwitchIntfConfig>& config, const Kob::Ptr<ConfigSm>& owner) {
  if (!config) throw Kob::TypeException("switchIntfConfig");
  if (!owner) throw Kob::TypeException("configSm");
  return owner->switchIntfConfigSmIs(config);
}

inline constexpr Kob::Description switchIntfConfigSmDescription = {
    .qualifiedName = SwitchIntfConfigSm::kobTypeName,
    .type = SwitchIntfConfigSm::_fwkType,
    .instanceSize = sizeof(SwitchIntfConfigSm),
    .announcesGenericIf = true,
    .constructorParameters =
        Kob::Signature<decltype(&machineOf)>::parameters({"switchIntfConfig", "configSm"}),
    .rows = switchIntfConfigSmRows,
    .constructorRefusal = {.missing = "List", .other = "List"},
    .handles = switchIntfConfigSmHandles,
};

/// The factory, for arguments that nobody has looked at.
inline Kob::Ptr<ConfigSm> configSmOf(const Kob::Ptr<Kob::ActivityConfig>& activity,
                                     const Kob::Ptr<const Bridging::Config>& config,
                                     const Kob::Ptr<const Interface::VlanIntfStatusDir>& statusDir,
                                     const Kob::Ptr<const L3IndexDir>& indexDir,
                                     const Kob::Ptr<Table>& table, bool internalVlanNeeded) {
  if (!config) throw Kob::TypeException("config");
  return configSmFactory(activity, config, statusDir, indexDir, table, internalVlanNeeded);
}

inline constexpr Kob::Description configSmDescription = {
    .qualifiedName = ConfigSm::kobTypeName,
    .type = ConfigSm::_fwkType,
    .instanceSize = sizeof(ConfigSm),
    .announcesGenericIf = true,
    .constructorParameters = Kob::Signature<decltype(&configSmOf)>::parameters(
        {"kobFwkActivity", "config", "vlanIntfStatusDir", "fyrL3IndexDir", "fyrL3IntfTable",
         "internalVlanNeeded"}),
    .rows = configSmRows,
    .constructorRefusal = {.missing = "List", .other = "List"},
    .handles = configSmHandles,
};

}  // namespace FyrL3Intf::Published
