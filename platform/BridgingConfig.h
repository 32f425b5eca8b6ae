#pragma once

// The bridging configuration of the switch, an input of the L3 interface state machine: for each
// configured interface its switchport mode and native VLAN.

#include <cstdint>

#include "Kob/AccessorFamily.h"
#include "Kob/Entity.h"
#include "Kob/Export.h"
#include "Kob/Notifier.h"
#include "Kob/Type.h"
#include "platform/IntfId.h"
#include "platform/VlanId.h"

namespace Bridging {

/// What an interface does with frames. Other numbers may occur; only `routed` makes a layer-3 port.
enum class SwitchportMode : std::uint32_t { access = 0, trunk = 1, routed = 5 };

/// The configuration of one interface. Owned by its Config; may be held longer, and is then
/// nobody's configuration any more.
class KOB_EXPORT SwitchIntfConfig : public Kob::Entity {
 public:
  class NotifieeConst;

  static constexpr Kob::AttributeId switchportModeAndNativeVlanId = 258;
  static constexpr Kob::AttributeId intfIdId = 259;
  static constexpr Kob::AttributeId switchportModeId = 260;
  static constexpr Kob::AttributeId nativeVlanId = 261;

  /// Mode 0 and no native VLAN.
  explicit SwitchIntfConfig(Plexo::IntfId intfId, SwitchportMode mode = {}, VlanId nativeVlan = {});
  ~SwitchIntfConfig() override;

  /// The type "Bridging::SwitchIntfConfig"; what it publishes can be read.
  static constexpr const char* kobTypeName = "Bridging::SwitchIntfConfig";
  static Kob::KobType* _fwkType();
  Kob::KobType* fwkType() const override;
  static const Kob::Description& kobDescription();

  /// The interface; the name of the entity is its name.
  [[nodiscard]] Plexo::IntfId intfId() const noexcept { return intfId_; }
  [[nodiscard]] const Plexo::IntfId& fwkKey() const noexcept { return intfId_; }
  [[nodiscard]] SwitchportMode switchportMode() const noexcept { return switchportMode_; }
  /// The native VLAN; unset (value 0) where none is configured.
  [[nodiscard]] VlanId nativeVlan() const noexcept { return nativeVlan_; }

  /// Sets both; one change and one announcement (`onSwitchportModeAndNativeVlan()`). Values that
  /// stand already change nothing. The unset VlanId takes the native VLAN away.
  void switchportModeAndNativeVlanIs(SwitchportMode mode, VlanId nativeVlan);
  void switchportModeIs(SwitchportMode mode) { switchportModeAndNativeVlanIs(mode, nativeVlan_); }
  void nativeVlanIs(VlanId nativeVlan) {
    switchportModeAndNativeVlanIs(switchportMode_, nativeVlan);
  }
  /// Announces mode and native VLAN to every notifiee.
  void switchportModeAndNativeVlanNotify();

  /// Tells every notifiee `onZeroReferences()`.
  void zeroReferencesIs(bool zero) override;

  /// For notifiees: where they join and leave.
  Kob::ListRaw<NotifieeConst>& kobNotifiees() const noexcept { return notifiees_; }

 private:
  friend struct Kob::HashMapLink;

  const Plexo::IntfId intfId_;
  SwitchportMode switchportMode_;
  VlanId nativeVlan_;
  mutable Kob::ListRaw<NotifieeConst> notifiees_;
  Kob::Ptr<SwitchIntfConfig> kobNext_;
};

/// Hears of changes of one interface's configuration.
class KOB_EXPORT SwitchIntfConfig::NotifieeConst
    : public Kob::NotifieeFor<SwitchIntfConfig::NotifieeConst, SwitchIntfConfig,
                              Kob::Entity::NotifieeConst> {
 public:
  ~NotifieeConst() override;
  virtual void onSwitchportModeAndNativeVlan();
};

/// Every configured interface.
class KOB_EXPORT Config : public Kob::Entity {
 public:
  class NotifieeConst;

  static constexpr Kob::AttributeId switchIntfConfigId = 260;

  explicit Config(Kob::Name name);
  ~Config() override;

  /// The type "Bridging::Config"; what it publishes can be read.
  static constexpr const char* kobTypeName = "Bridging::Config";
  static Kob::KobType* _fwkType();
  Kob::KobType* fwkType() const override;
  static const Kob::Description& kobDescription();

  /// The entries, by interface. A new or removed entry is one change, and its key is announced
  /// (`onSwitchIntfConfig(intfId)`); a change within an entry is the entry's own to announce.
  KOB_OBJECT_COLLECTION(switchIntfConfig, SwitchIntfConfig, Plexo::IntfId, SwitchIntfConfig);

  /// The entry of the interface, which is made when there is none: with this mode and native VLAN,
  /// counted and announced. An entry that exists is returned as it is.
  Kob::Ptr<SwitchIntfConfig> switchIntfConfigIs(Plexo::IntfId intfId, SwitchportMode mode = {},
                                                VlanId nativeVlan = {});
  /// Makes the entry; neither counted nor announced. REQUIRES: there is none; a second is fatal.
  Kob::Ptr<SwitchIntfConfig> newSwitchIntfConfig(Plexo::IntfId intfId, SwitchportMode mode = {},
                                                 VlanId nativeVlan = {});

  /// Tells every notifiee `onZeroReferences()`.
  void zeroReferencesIs(bool zero) override;

  Kob::ListRaw<NotifieeConst>& kobNotifiees() const noexcept { return notifiees_; }

 private:
  SwitchIntfConfigCollection switchIntfConfig_;
  mutable Kob::ListRaw<NotifieeConst> notifiees_;
};

/// Hears of entries that come and go.
class KOB_EXPORT Config::NotifieeConst
    : public Kob::NotifieeFor<Config::NotifieeConst, Config, Kob::Entity::NotifieeConst> {
 public:
  ~NotifieeConst() override;
  /// The entry of this interface came or went; the immediate form of the same; the same of any.
  virtual void onSwitchIntfConfig(Plexo::IntfId intfId);
  virtual void onSwitchIntfConfigkobImmediate();
  virtual void onSwitchIntfConfig();
};

/// Creates an empty configuration and returns the only reference.
KOB_EXPORT Kob::Ptr<Config> configFactory(Kob::Name name);

}  // namespace Bridging
