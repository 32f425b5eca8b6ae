#pragma once

// The state machine that keeps the L3 interface table right.
//
// ConfigSm follows three inputs through reactors and writes the table:
//
//   L3 index directory      each entry is copied into the table, in both directions
//   bridging configuration  each routed port wishes for its native VLAN as internal VLAN
//   VLAN interface status   each VLAN interface wishes for its own VLAN while its entry exists
//
// The last two count only when the machine is built with `internalVlanNeeded`. A wish is granted
// when nobody holds the VLAN; the wisher waits otherwise, and a VLAN that its holder lets go passes
// to the waiting port that comes first in iteration order, within the same call.
//
// Invariants of the internal-VLAN bookkeeping (doVerify checks them against inputs and table):
//   1. desiredInternalVlanId[p] = v exactly when p is a member of desiredRoutedPortName[v];
//   2. a port that holds a VLAN in the table wishes for that VLAN;
//   3. a VLAN is held by at most one port.
//
// Out of memory, std::bad_alloc comes out of where an operation stands. Each step writes directly
// and none is rolled back, so a machine that ran out of memory may be left between two of them:
// then it can be dropped, and another be made on a table of its own.
//
// Everything belongs to the framework's thread. Notifiees of the table may read, write and join or
// leave it, and may drop the machine, from inside their callbacks. They must not change the
// machine's inputs there: a port that comes or goes within its own announcement is handled twice,
// which ends fatally or leaves its wish standing.

#include <iosfwd>
#include <span>

#include "FyrL3Intf/FyrL3IntfTable.h"
#include "Kob/AccessorFamily.h"
#include "Kob/Activity.h"
#include "Kob/Described.h"
#include "Kob/Export.h"
#include "Kob/Reactor.h"
#include "platform/BridgingConfig.h"
#include "platform/L3IndexDir.h"
#include "platform/VlanIntfStatusDir.h"

namespace FyrL3Intf {

class ConfigSm;

/// Follows the configuration of one interface and states its wish. Owned by its ConfigSm, which it
/// knows by a plain pointer. The owner disconnects the machines in its collection before it goes;
/// whoever holds one that was taken out of the collection must not keep it longer than the owner.
class KOB_EXPORT SwitchIntfConfigSm : public Kob::PtrInterface {
 public:
  /// Watches the entry of one interface. Runs in no activity: a change is handled at once.
  class KOB_EXPORT KobSwitchIntfConfig final
      : public Kob::Reactor<KobSwitchIntfConfig, Bridging::SwitchIntfConfig::NotifieeConst,
                            SwitchIntfConfigSm> {
   public:
    KobSwitchIntfConfig(const Kob::Ptr<Kob::ActivityConfig>& activity, const NotifierPtr& notifier,
                        SwitchIntfConfigSm* owner)
        : Reactor(activity, notifier, owner) {}

    void onSwitchportModeAndNativeVlan() override {
      if (!kobMarkedForDeletion()) renewed();
    }
    void switchIntfConfigSmIs(SwitchIntfConfigSm* owner) noexcept { ownerIs(owner); }
    void renewed() { owner()->handleSwitchportModeAndNativeVlan(); }
  };

  class GenericIf_;
  class _Type;  // NOLINT(bugprone-reserved-identifier): the published name

  /// The type "FyrL3Intf::SwitchIntfConfigSm".
  static constexpr const char* kobTypeName = "FyrL3Intf::SwitchIntfConfigSm";
  static Kob::KobType* _fwkType();
  Kob::KobType* fwkType() const override;

  /// Makes a machine, which states its wish, and switches its notifications on.
  static Kob::Ptr<SwitchIntfConfigSm> SwitchIntfConfigSmIs(
      const Kob::Ptr<const Bridging::SwitchIntfConfig>& config, ConfigSm* configSm);
  ~SwitchIntfConfigSm() override;

  /// Forwards to the reactor; the same value changes nothing. Returns the value that stands.
  bool hasNotificationActiveIs(bool active) override;
  bool kobDoZombieReactors(bool zombie);

  /// The interface of the watched entry, empty when the entry was taken away. A reactor that
  /// watches nothing is fatal.
  [[nodiscard]] Plexo::IntfId intfId() const;
  [[nodiscard]] Plexo::IntfId fwkKey() const { return intfId(); }
  /// The owning machine; null once that has gone.
  [[nodiscard]] ConfigSm* configSm() const noexcept { return configSm_; }
  void configSmIs(ConfigSm* configSm) noexcept { configSm_ = configSm; }

  /// The watched entry, or null; making, replacing and removing it, as ConfigSm does with its
  /// inputs. REQUIRES, while the machine is in its owner's collection: an entry of the same
  /// interface, because it is the key there; with another, or with none, the machine is found no
  /// more, and its wish stays.
  [[nodiscard]] Kob::Ptr<const Bridging::SwitchIntfConfig> switchIntfConfig() const {
    return switchIntfConfig_.notifier();
  }
  Kob::Ptr<KobSwitchIntfConfig> newSwitchIntfConfig(
      const Kob::Ptr<const Bridging::SwitchIntfConfig>& config) {
    return switchIntfConfig_.newReactor(*this, config);
  }
  void switchIntfConfigIs(const Kob::Ptr<const Bridging::SwitchIntfConfig>& config) {
    switchIntfConfig_.notifierIs(*this, config);
  }
  Kob::Ptr<const Bridging::SwitchIntfConfig> switchIntfConfigDel() {
    return switchIntfConfig_.notifierDel();
  }

  /// Null: the machine has no activity of its own, and so its reactor never defers.
  [[nodiscard]] Kob::Ptr<Kob::ActivityConfig> kobFwkActivity() { return nullptr; }
  [[nodiscard]] Kob::Ptr<const Kob::ActivityConfig> kobFwkActivity() const { return nullptr; }

  /// States the wish: the native VLAN of a routed port, none in any other mode. Internal interfaces
  /// state nothing.
  void handleSwitchportModeAndNativeVlan();
  /// Withdraws the wish.
  void doPrepareToDie();

 private:
  friend struct Kob::HashMapLink;

  SwitchIntfConfigSm(const Kob::Ptr<const Bridging::SwitchIntfConfig>& config, ConfigSm* configSm);

  /// The owning machine, held while it does what this one asks of it: it may be dropped meanwhile.
  [[nodiscard]] Kob::Keep<ConfigSm> owner() const;

  Kob::Input<KobSwitchIntfConfig> switchIntfConfig_;
  ConfigSm* configSm_;
  Kob::Ptr<SwitchIntfConfigSm> kobNext_;
};

/// Prints "SwitchIntfConfigSm( INTERFACE )".
KOB_EXPORT std::ostream& operator<<(std::ostream& stream, const SwitchIntfConfigSm* machine);

class KOB_EXPORT ConfigSm : public Kob::PtrInterface {
 public:
  class GenericIf_;
  class _Type;  // NOLINT(bugprone-reserved-identifier): the published name

  /// The type "FyrL3Intf::ConfigSm".
  static constexpr const char* kobTypeName = "FyrL3Intf::ConfigSm";
  static Kob::KobType* _fwkType();
  Kob::KobType* fwkType() const override;

  /// The ports that wish for one VLAN: a set of interfaces, each with a value that says whether it
  /// is a member. An entry whose value is false is an entry all the same. Copies are deep and
  /// iterate in the order of their source.
  class KOB_EXPORT IntfSet {
   public:
    class GenericIf_;
    class _Type;  // NOLINT(bugprone-reserved-identifier): the published name

    /// The type "FyrL3Intf::ConfigSm::IntfSet".
    static constexpr const char* kobTypeName = "FyrL3Intf::ConfigSm::IntfSet";
    static Kob::KobType* _fwkType();

    static constexpr Kob::AttributeId memberId = 2;

    class KobMember final : public Kob::HashMapEntry<KobMember, Plexo::IntfId, bool> {
     public:
      using HashMapEntry::HashMapEntry;
    };
    using MemberCollection = Kob::HashMap<KobMember, Plexo::IntfId, bool>;

    IntfSet() = default;
    /// From text: not supported, always fatal.
    IntfSet(Kob::String8::IteratorConst& position, const Kob::String8::IteratorConst& end);

    /// The value of the entry; false when there is none.
    [[nodiscard]] bool member(Plexo::IntfId intfId) const;
    /// Overwrites the value, or inserts an entry with it. Never removes one.
    void memberIs(Plexo::IntfId intfId, bool value);
    /// Inserts an entry. REQUIRES: there is none; a second is fatal.
    Kob::Ptr<KobMember> newMember(Plexo::IntfId intfId, bool value);
    void memberDelAll();
    /// The number of entries.
    [[nodiscard]] unsigned members() const noexcept { return member_.members(); }
    [[nodiscard]] MemberCollection::IteratorConst memberIteratorConst() const {
      return MemberCollection::IteratorConst(&member_);
    }
    /// The collection itself. There is no operation that removes a single member: whoever must,
    /// finds the entry and deletes it here.
    [[nodiscard]] MemberCollection& memberCollection() noexcept { return member_; }
    [[nodiscard]] const MemberCollection& memberCollection() const noexcept { return member_; }

    /// Equal when both hold the same entries with the same values, in whatever order they came.
    bool operator==(const IntfSet& other) const;

   private:
    MemberCollection member_;
  };

  /// Watches the bridging configuration.
  class KOB_EXPORT KobConfig final
      : public Kob::KeyedReactor<KobConfig, Bridging::Config::NotifieeConst, ConfigSm,
                                 Bridging::Config::switchIntfConfigId, Plexo::IntfId> {
   public:
    KobConfig(const Kob::Ptr<Kob::ActivityConfig>& activity, const NotifierPtr& notifier,
              ConfigSm* owner)
        : KeyedReactor(activity, notifier, owner) {}

    void onSwitchIntfConfig(Plexo::IntfId intfId) override { keyChanged(intfId); }
    void onSwitchIntfConfig() override {
      if (!kobMarkedForDeletion()) renewed();
    }
    void configSmIs(ConfigSm* owner) noexcept { ownerIs(owner); }
    void keyedHook(Plexo::IntfId intfId) { onSwitchIntfConfig(intfId); }
    void unkeyedHook() { onSwitchIntfConfig(); }
    void handleKey(Plexo::IntfId intfId) { owner()->handleSwitchIntfConfig(intfId); }
    void renewed() { owner()->handleSwitchIntfConfig(); }
  };

  /// Watches the VLAN interface status directory.
  class KOB_EXPORT KobVlanIntfStatusDir final
      : public Kob::KeyedReactor<KobVlanIntfStatusDir, Interface::VlanIntfStatusDir::NotifieeConst,
                                 ConfigSm, Interface::VlanIntfStatusDir::intfStatusId,
                                 Plexo::IntfId> {
   public:
    KobVlanIntfStatusDir(const Kob::Ptr<Kob::ActivityConfig>& activity, const NotifierPtr& notifier,
                         ConfigSm* owner)
        : KeyedReactor(activity, notifier, owner) {}

    void onIntfStatus(Plexo::IntfId intfId) override { keyChanged(intfId); }
    void onIntfStatus() override {
      if (!kobMarkedForDeletion()) renewed();
    }
    void configSmIs(ConfigSm* owner) noexcept { ownerIs(owner); }
    void keyedHook(Plexo::IntfId intfId) { onIntfStatus(intfId); }
    void unkeyedHook() { onIntfStatus(); }
    void handleKey(Plexo::IntfId intfId) { owner()->handleVlanIntfStatus(intfId); }
    void renewed() { owner()->handleVlanIntfStatus(); }
  };

  /// Watches the L3 index directory. Its unkeyed hook and a new directory deliberately run no
  /// handler: the full handler only adds, and requires a table that holds nothing of the directory.
  class KOB_EXPORT KobFyrL3IndexDir final
      : public Kob::KeyedReactor<KobFyrL3IndexDir, L3IndexDir::NotifieeConst, ConfigSm,
                                 L3IndexDir::l3IndexId, Plexo::IntfId> {
   public:
    KobFyrL3IndexDir(const Kob::Ptr<Kob::ActivityConfig>& activity, const NotifierPtr& notifier,
                     ConfigSm* owner)
        : KeyedReactor(activity, notifier, owner) {}

    void onL3Index(Plexo::IntfId intfId) override { keyChanged(intfId); }
    void onL3Index() override {}
    void configSmIs(ConfigSm* owner) noexcept { ownerIs(owner); }
    void keyedHook(Plexo::IntfId intfId) { onL3Index(intfId); }
    void unkeyedHook() { onL3Index(); }
    void handleKey(Plexo::IntfId intfId) { owner()->handleL3Index(intfId); }
    void renewed() {}
  };

  /// Makes the machine and switches its notifications on; see configSmFactory.
  static Kob::Ptr<ConfigSm> ConfigSmIs(
      const Kob::Ptr<Kob::ActivityConfig>& activity, const Kob::Ptr<const Bridging::Config>& config,
      const Kob::Ptr<const Interface::VlanIntfStatusDir>& vlanIntfStatusDir,
      const Kob::Ptr<const L3IndexDir>& fyrL3IndexDir, const Kob::Ptr<Table>& fyrL3IntfTable,
      bool internalVlanNeeded);
  /// Disconnects the reactors and removes the per-interface machines; their wishes stay in the
  /// table when `doPrepareToDie` was not called before.
  ~ConfigSm() override;

  /// Switches the notifications of the reactors and of the per-interface machines. The same value
  /// changes nothing. Returns the value that stands afterwards.
  bool hasNotificationActiveIs(bool active) override;
  /// Makes zombies of the reactors and of the machine, or wakes them; the per-interface machines
  /// stay as they are. Returns the value that stands afterwards.
  bool kobDoZombieReactors(bool zombie);

  /// The activity in which the machine and its reactors run.
  [[nodiscard]] Kob::Ptr<Kob::ActivityConfig> kobFwkActivity() { return kobFwkActivity_; }
  [[nodiscard]] Kob::Ptr<const Kob::ActivityConfig> kobFwkActivity() const {
    return kobFwkActivity_;
  }

  // The inputs: null where there is none. `newX` makes the reactor and runs no handler. `xIs`
  // replaces the input: a new one runs the full handler (but see KobFyrL3IndexDir), null removes
  // it. Removing an input, with `xIs(null)` or `xDel()`, runs no handler: what was derived from it
  // stays. `xDel()` returns the former input.
  [[nodiscard]] Kob::Ptr<const Bridging::Config> config() const { return config_.notifier(); }
  Kob::Ptr<KobConfig> newConfig(const Kob::Ptr<const Bridging::Config>& config) {
    return config_.newReactor(*this, config);
  }
  void configIs(const Kob::Ptr<const Bridging::Config>& config) {
    config_.notifierIs(*this, config);
  }
  Kob::Ptr<const Bridging::Config> configDel() { return config_.notifierDel(); }

  [[nodiscard]] Kob::Ptr<const Interface::VlanIntfStatusDir> vlanIntfStatusDir() const {
    return vlanIntfStatusDir_.notifier();
  }
  Kob::Ptr<KobVlanIntfStatusDir> newVlanIntfStatusDir(
      const Kob::Ptr<const Interface::VlanIntfStatusDir>& dir) {
    return vlanIntfStatusDir_.newReactor(*this, dir);
  }
  void vlanIntfStatusDirIs(const Kob::Ptr<const Interface::VlanIntfStatusDir>& dir) {
    vlanIntfStatusDir_.notifierIs(*this, dir);
  }
  Kob::Ptr<const Interface::VlanIntfStatusDir> vlanIntfStatusDirDel() {
    return vlanIntfStatusDir_.notifierDel();
  }

  [[nodiscard]] Kob::Ptr<const L3IndexDir> fyrL3IndexDir() const {
    return fyrL3IndexDir_.notifier();
  }
  Kob::Ptr<KobFyrL3IndexDir> newFyrL3IndexDir(const Kob::Ptr<const L3IndexDir>& dir) {
    return fyrL3IndexDir_.newReactor(*this, dir);
  }
  void fyrL3IndexDirIs(const Kob::Ptr<const L3IndexDir>& dir) {
    fyrL3IndexDir_.notifierIs(*this, dir);
  }
  Kob::Ptr<const L3IndexDir> fyrL3IndexDirDel() { return fyrL3IndexDir_.notifierDel(); }

  /// The output.
  [[nodiscard]] Kob::Ptr<Table> fyrL3IntfTable() const { return fyrL3IntfTable_; }
  [[nodiscard]] bool internalVlanNeeded() const noexcept { return internalVlanNeeded_; }

  /// The ports that wish for a VLAN; no entry where nobody does. Nobody is told of changes.
  KOB_VALUE_COLLECTION(desiredRoutedPortName, DesiredRoutedPortName, Bridging::VlanId, IntfSet,
                       ::Kob::Always);
  /// The VLAN that an interface wishes for; no entry where it wishes for none. Nobody is told.
  KOB_VALUE_COLLECTION(desiredInternalVlanId, DesiredInternalVlanId, Plexo::IntfId,
                       Bridging::VlanIdOrNone, ::Kob::Always);
  /// The machine of each configured interface. Removing one calls nothing on it; nobody is told.
  KOB_OBJECT_COLLECTION(switchIntfConfigSm, SwitchIntfConfigSm, Plexo::IntfId, SwitchIntfConfigSm);
  /// The machine of the entry's interface, which is made when there is none. A machine that
  /// watches another entry object throws Kob::NameInUseException, and stays.
  Kob::Ptr<SwitchIntfConfigSm> switchIntfConfigSmIs(
      const Kob::Ptr<const Bridging::SwitchIntfConfig>& config);
  /// Makes a machine and inserts it. REQUIRES: the interface has none; a second is fatal. Throws
  /// std::bad_alloc; a machine that finds no place has withdrawn its wish by then.
  Kob::Ptr<SwitchIntfConfigSm> newSwitchIntfConfigSm(
      const Kob::Ptr<const Bridging::SwitchIntfConfig>& config);

  // The handlers: what a change of an input makes the machine do, for one interface and for all.
  // Those for all only visit what the input holds; they do not look for what has vanished.

  /// Makes the interface's machine, or withdraws its wish and removes it. REQUIRES: a configuration
  /// input, when internal VLANs are needed.
  void handleSwitchIntfConfig(Plexo::IntfId intfId);
  /// REQUIRES: a configuration input; a missing one is fatal.
  void handleSwitchIntfConfig();
  /// Makes the VLAN interface wish for its VLAN while it has a status entry, for none without. An
  /// interface that is no VLAN interface is fatal; a number above 4094 throws Kob::RangeException.
  void handleVlanIntfStatus(Plexo::IntfId intfId);
  void handleVlanIntfStatus();
  /// Copies the interface's L3 index into the table, or removes it from there: reverse entry first,
  /// in both cases. Fatal when the table already holds the interface or its identifier (an index
  /// is never changed in place), or lacks what is to be removed.
  void handleL3Index(Plexo::IntfId intfId);
  /// Only adds; runs once, from the constructor.
  void handleL3Index();

  /// Records that the interface wishes for the VLAN, or for none, and grants, withdraws and hands
  /// over so that the table follows. Each step writes directly; nothing is rolled back.
  void doSetDesiredInternalVlanId(Plexo::IntfId intfId,
                                  Bridging::VlanIdOrNone newDesiredInternalVlanId);
  /// Makes the table say that the interface holds the VLAN, or none.
  void doSetInternalVlanId(Plexo::IntfId intfId, Bridging::VlanIdOrNone newInternalVlanId);
  /// Withdraws every wish; the host calls it once, before it lets the machine go. What the L3 index
  /// directory gave stays in the table.
  void doPrepareToDie();
  /// Checks every invariant between inputs, bookkeeping and table; a breach is fatal. Changes
  /// nothing. REQUIRES: the table; the configuration and the status directory when internal VLANs
  /// are needed, else the L3 index directory. Throws Kob::RangeException for values that are no
  /// VLAN where one must be.
  void doVerify();

 private:
  ConfigSm(const Kob::Ptr<Kob::ActivityConfig>& activity,
           const Kob::Ptr<const Bridging::Config>& config,
           const Kob::Ptr<const Interface::VlanIntfStatusDir>& vlanIntfStatusDir,
           const Kob::Ptr<const L3IndexDir>& fyrL3IndexDir, const Kob::Ptr<Table>& fyrL3IntfTable,
           bool internalVlanNeeded);

  void l3IndexAppeared(Plexo::IntfId intfId, const L3Id& l3Id);
  void l3IndexVanished(Plexo::IntfId intfId);

  /// Whether the interface is a member of the set of those who wish for the VLAN.
  [[nodiscard]] bool wishStands(Plexo::IntfId intfId, Bridging::VlanId vlanId) const;
  void wishWithdrawn(Plexo::IntfId intfId, Bridging::VlanIdOrNone old);
  void wishRecorded(Plexo::IntfId intfId, Bridging::VlanIdOrNone newDesiredInternalVlanId);
  [[nodiscard]] bool vlanIsFree(Plexo::IntfId intfId,
                                Bridging::VlanIdOrNone newDesiredInternalVlanId) const;
  void vlanHandedOver(Bridging::VlanIdOrNone old);

  unsigned verifySwitchIntfWishes() const;
  unsigned verifyVlanIntfWishes() const;
  void verifyWishes() const;
  void verifyInternalVlanTable() const;
  void verifyL3IndexTable() const;

  Kob::Ptr<Kob::ActivityConfig> kobFwkActivity_;
  Kob::Input<KobConfig> config_;
  Kob::Input<KobVlanIntfStatusDir> vlanIntfStatusDir_;
  Kob::Input<KobFyrL3IndexDir> fyrL3IndexDir_;
  Kob::Ptr<Table> fyrL3IntfTable_;
  const bool internalVlanNeeded_;
  DesiredRoutedPortNameCollection desiredRoutedPortName_;
  DesiredInternalVlanIdCollection desiredInternalVlanId_;
  SwitchIntfConfigSmCollection switchIntfConfigSm_;
};

/// Prints "ConfigSm".
KOB_EXPORT std::ostream& operator<<(std::ostream& stream, const ConfigSm* machine);

/// The text form of a set: "None", whatever it holds. Sets are printed in traces as a placeholder.
KOB_EXPORT Kob::String8 valueToStrep(const ConfigSm::IntfSet& set);
KOB_EXPORT std::ostream& operator<<(std::ostream& stream, const ConfigSm::IntfSet& set);

/// The set as tools see it: its members by key. Holds its own copy.
class KOB_EXPORT ConfigSm::IntfSet::GenericIf_ final
    : public Kob::Described<ConfigSm::IntfSet::GenericIf_, Kob::GenericValue<ConfigSm::IntfSet>,
                            ConfigSm::IntfSet> {
 public:
  GenericIf_(const IntfSet& set, bool readOnly);
  ~GenericIf_() override;

  static const Kob::Description& description();
  /// An empty set from an empty list. Throws TypeException "Kob::GenericIf::List_" for what is no
  /// list, UnknownArgumentException "IntfSet" for any element.
  static Kob::Ptr<GenericIf> genericIfListConstructor(const Kob::Ptr<const GenericIf>& list);
};

/// The type object of sets. Making one from text is fatal, as the parsing constructor is.
class KOB_EXPORT ConfigSm::IntfSet::_Type final : public Kob::ValueType<ConfigSm::IntfSet> {
 public:
  _Type();
  ~_Type() override;
  using ValueType::genericIf;
  Kob::Ptr<Kob::GenericIf> genericIf(const Kob::GenericIf* list, bool readOnly) override;
};

/// The machine of one interface as tools see it. Keeps the machine alive, but not its owner: it
/// must not be used once the owner has gone.
class KOB_EXPORT SwitchIntfConfigSm::GenericIf_ final
    : public Kob::Described<SwitchIntfConfigSm::GenericIf_, Kob::GenericIfPtrInterface,
                            SwitchIntfConfigSm> {
 public:
  /// REQUIRES: a machine; null is fatal.
  GenericIf_(const Kob::Ptr<SwitchIntfConfigSm>& machine, bool readOnly);
  ~GenericIf_() override;

  static const Kob::Description& description();
  /// The machine of an entry from a list of `switchIntfConfig`, `configSm`: made, and put into its
  /// owner's collection, as ConfigSm::switchIntfConfigSmIs does. Throws TypeException "List" for
  /// what is no list, TypeException naming a parameter, UnknownArgumentException
  /// "SwitchIntfConfigSm".
  static Kob::Ptr<GenericIf> genericIfListConstructor(const Kob::Ptr<const GenericIf>& list);

  /// Switch the machine. A read-only wrapper throws ConstException.
  bool hasNotificationActiveIs(bool active) override;
  bool kobDoZombieReactors(bool zombie) override;
};

class KOB_EXPORT SwitchIntfConfigSm::_Type final
    : public Kob::DescribedObjectType<SwitchIntfConfigSm> {
 public:
  _Type();
  ~_Type() override;
  /// The handles of the registered attributes, in the order of their registration; null until the
  /// type is described.
  static std::span<Kob::KobAttr* const> attributeHandles() noexcept;
};

/// The state machine as tools see it: its attributes by name and id (Kob/GenericIf.h). An entry of
/// `switchIntfConfigSm` is written with the interface as key and a list that holds the
/// configuration entry as value. Keeps the machine alive.
class KOB_EXPORT ConfigSm::GenericIf_ final
    : public Kob::Described<ConfigSm::GenericIf_, Kob::GenericIfPtrInterface, ConfigSm> {
 public:
  /// REQUIRES: a machine; null is fatal.
  GenericIf_(const Kob::Ptr<ConfigSm>& machine, bool readOnly);
  ~GenericIf_() override;

  static const Kob::Description& description();
  /// A new machine from a list of the factory's arguments; inputs may be null, but for `config`.
  /// Throws TypeException "List" for what is no list, TypeException naming a parameter,
  /// UnknownArgumentException "ConfigSm".
  static Kob::Ptr<GenericIf> genericIfListConstructor(const Kob::Ptr<const GenericIf>& list);

  /// Switch the machine. A read-only wrapper throws ConstException.
  bool hasNotificationActiveIs(bool active) override;
  bool kobDoZombieReactors(bool zombie) override;
};

class KOB_EXPORT ConfigSm::_Type final : public Kob::DescribedObjectType<ConfigSm> {
 public:
  _Type();
  ~_Type() override;
  /// The handles of the registered attributes, in the order of their registration, with a null for
  /// the nested type; all null until the type is described.
  static std::span<Kob::KobAttr* const> attributeHandles() noexcept;
};

/// Describes the types of FyrL3IntfSm.cpp to the framework; runs when the library is loaded. The
/// second time, and while introspection is not active, it does nothing.
KOB_EXPORT void kobInitFyrL3IntfSm();

/// Creates the state machine, which brings the table in line with its inputs before this returns.
/// `config` must be set (a missing one is fatal), the other inputs may be null; `fyrL3IntfTable`
/// must hold nothing that the L3 index directory holds. Exceptions of the first resynchronisation
/// pass to the caller; what it wrote to the table until then stays.
KOB_EXPORT Kob::Ptr<ConfigSm> configSmFactory(
    const Kob::Ptr<Kob::ActivityConfig>& activity, const Kob::Ptr<const Bridging::Config>& config,
    const Kob::Ptr<const Interface::VlanIntfStatusDir>& vlanIntfStatusDir,
    const Kob::Ptr<const L3IndexDir>& fyrL3IndexDir, const Kob::Ptr<Table>& fyrL3IntfTable,
    bool internalVlanNeeded);

}  // namespace FyrL3Intf

using FyrL3Intf::kobInitFyrL3IntfSm;
