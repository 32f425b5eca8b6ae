#include "platform/BridgingConfig.h"

#include <utility>

namespace Bridging {

SwitchIntfConfig::SwitchIntfConfig(Plexo::IntfId intfId, SwitchportMode mode, VlanId nativeVlan)
    : Entity(intfId.name()), intfId_(intfId), switchportMode_(mode), nativeVlan_(nativeVlan) {}

SwitchIntfConfig::~SwitchIntfConfig() { notifiees_.deleteAll(); }

void SwitchIntfConfig::switchportModeAndNativeVlanIs(SwitchportMode mode, VlanId nativeVlan) {
  if (mode == switchportMode_ && nativeVlan == nativeVlan_) return;
  switchportMode_ = mode;
  nativeVlan_ = nativeVlan;
  changeCountInc();
  switchportModeAndNativeVlanNotify();
}

void SwitchIntfConfig::switchportModeAndNativeVlanNotify() {
  Kob::announce(notifiees_, switchportModeAndNativeVlanId,
                [](NotifieeConst& notifiee) { notifiee.onSwitchportModeAndNativeVlan(); });
}

void SwitchIntfConfig::zeroReferencesIs(bool) { Kob::announceZeroReferences(notifiees_); }

SwitchIntfConfig::NotifieeConst::~NotifieeConst() { leave(); }
void SwitchIntfConfig::NotifieeConst::onSwitchportModeAndNativeVlan() {}

Config::Config(Kob::Name name) : Entity(std::move(name)) {}

Config::~Config() { notifiees_.deleteAll(); }

Kob::Ptr<SwitchIntfConfig> Config::newSwitchIntfConfig(Plexo::IntfId intfId, SwitchportMode mode,
                                                       VlanId nativeVlan) {
  Kob::Ptr entry(new SwitchIntfConfig(intfId, mode, nativeVlan));
  switchIntfConfig_.newMember(entry);
  return entry;
}

Kob::Ptr<SwitchIntfConfig> Config::switchIntfConfigIs(Plexo::IntfId intfId, SwitchportMode mode,
                                                      VlanId nativeVlan) {
  if (auto known = switchIntfConfig_[intfId]) return known;
  auto entry = newSwitchIntfConfig(intfId, mode, nativeVlan);
  changeCountInc();
  switchIntfConfigNotify(intfId);
  return entry;
}

void Config::switchIntfConfigNotify(Plexo::IntfId intfId) {
  Kob::announce(notifiees_, switchIntfConfigId,
                [intfId](NotifieeConst& notifiee) { notifiee.onSwitchIntfConfig(intfId); });
}

void Config::zeroReferencesIs(bool) { Kob::announceZeroReferences(notifiees_); }

Config::NotifieeConst::~NotifieeConst() { leave(); }
void Config::NotifieeConst::onSwitchIntfConfig(Plexo::IntfId) {}
void Config::NotifieeConst::onSwitchIntfConfigkobImmediate() {}
void Config::NotifieeConst::onSwitchIntfConfig() {}

Kob::Ptr<Config> configFactory(Kob::Name name) { return {new Config(std::move(name))}; }

}  // namespace Bridging
