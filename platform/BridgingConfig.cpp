#include "platform/BridgingConfig.h"

#include <utility>

#include "Kob/Described.h"

namespace Bridging {

namespace {

KOB_COLLECTION_LOOKUP(ConfigEntries, Config, switchIntfConfig);

constexpr Kob::AttributeRow switchIntfConfigRows[] = {
    Kob::readable<&SwitchIntfConfig::intfId>("intfId", SwitchIntfConfig::intfIdId,
                                             {0x00220001, 0x00000400}, 0),
    Kob::readable<&SwitchIntfConfig::switchportMode>(
        "switchportMode", SwitchIntfConfig::switchportModeId, {0x00220001, 0x00000400}, 0),
    Kob::readable<&SwitchIntfConfig::nativeVlan>("nativeVlan", SwitchIntfConfig::nativeVlanId,
                                                 {0x00220001, 0x00000400}, 0),
};
constexpr Kob::Description switchIntfConfigDescription =
    Kob::describedModel<SwitchIntfConfig>(switchIntfConfigRows);

constexpr Kob::AttributeRow configRows[] = {
    Kob::collection<ConfigEntries>("switchIntfConfig", Config::switchIntfConfigId,
                                   {0x01A20103, 0x00000400}, 2),
};
constexpr Kob::Description configDescription = Kob::describedModel<Config>(configRows);

constexpr const Kob::Description* types[] = {&switchIntfConfigDescription, &configDescription};
constinit Kob::TypeInitialiser initialiser("Bridging", types);
[[maybe_unused]] const bool loaded = initialiser.load(types);

}  // namespace

KOB_MODEL_TYPE(SwitchIntfConfig, switchIntfConfigDescription, initialiser);
KOB_MODEL_TYPE(Config, configDescription, initialiser);

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
