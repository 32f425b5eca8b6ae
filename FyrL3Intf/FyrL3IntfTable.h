#pragma once

// The L3 interface table: every layer-3 interface of the switch and its platform identifier, in
// both directions.
//
// The table is the output of the state machine in FyrL3IntfSm.h, which is its only writer. Readers
// look up, iterate, or register a notifiee and are told of each change of `intfL3Index` before the
// operation that made it returns. Changes of `routedPortName` are announced to nobody: a reader
// that finds an interface's identifier always finds its reverse entry too, because the writer puts
// the reverse entry in first and takes it out first.
//
// Everything belongs to the framework's thread. Notifiees may read or change the table, and join or
// leave it, from inside their callbacks (see Kob/Notifier.h for what a change does to the walk).

#include <span>

#include "Kob/AccessorFamily.h"
#include "Kob/Described.h"
#include "Kob/Entity.h"
#include "Kob/Export.h"
#include "Kob/Notifier.h"
#include "platform/IntfId.h"
#include "platform/L3Id.h"

namespace FyrL3Intf {

class KOB_EXPORT Table : public Kob::Entity {
 public:
  class NotifieeConst;
  class Notifiee;
  class GenericIf_;
  class _Type;  // NOLINT(bugprone-reserved-identifier): the published name

  /// Ids of the published attributes. That of `intfL3Index` is also the one under which a notifiee
  /// hears that its callback threw.
  static constexpr Kob::AttributeId internalVlanNeededId = 258;
  static constexpr Kob::AttributeId routedPortNameId = 259;
  static constexpr Kob::AttributeId intfL3IndexId = 260;
  static constexpr Kob::AttributeId l3IdToIntfIdId = 261;
  static constexpr Kob::AttributeId intfIdToL3IdId = 262;

  /// An empty table. Throws std::bad_alloc when memory runs out.
  Table(Kob::Name name, bool internalVlanNeeded);
  ~Table() override;

  /// The type "FyrL3Intf::Table".
  static constexpr const char* kobTypeName = "FyrL3Intf::Table";
  static Kob::KobType* _fwkType();
  Kob::KobType* fwkType() const override;
  /// The name of a published attribute; for other ids what every entity answers.
  Kob::String8 attributeString(Kob::AttributeId id) const override;

  /// Whether the platform needs internal VLANs for routed ports. Stored and published; the table
  /// itself does not look at it.
  [[nodiscard]] bool internalVlanNeeded() const noexcept { return internalVlanNeeded_; }

  /// Forward map. Writing the identifier that stands already changes nothing, counts nothing and
  /// announces nothing; every other change counts once and is announced (`onIntfL3Index(key)`).
  /// Out of memory, std::bad_alloc comes out of a change that was made and counted but could not be
  /// announced; `intfL3IndexNotify` makes up for it.
  KOB_VALUE_COLLECTION(intfL3Index, IntfL3Index, Plexo::IntfId, L3Id, ::Kob::IfDifferent);

  /// Reverse map: the owner of an identifier. Every write counts as a change, that of the same
  /// owner too, and none is announced.
  KOB_VALUE_COLLECTION(routedPortName, RoutedPortName, L3Id, Plexo::IntfId, ::Kob::Always);

  /// The identifier of the interface, or the zero identifier when it has none: a stored zero can
  /// not be told from a miss. Counts one read; traces at level 7.
  [[nodiscard]] L3Id intfIdToL3Id(Plexo::IntfId intfId) const;
  /// The interface that has the identifier, or the empty one. Both words of the identifier count.
  /// Counts one read; traces at level 7.
  [[nodiscard]] Plexo::IntfId l3IdToIntfId(const L3Id& l3Id) const;

  /// Tells every notifiee `onZeroReferences()`; the argument is not looked at.
  void zeroReferencesIs(bool zero) override;

  /// For notifiees: where they join and leave.
  Kob::ListRaw<NotifieeConst>& kobNotifiees() const noexcept { return notifiees_; }

 private:
  const bool internalVlanNeeded_;
  RoutedPortNameCollection routedPortName_;
  IntfL3IndexCollection intfL3Index_;
  mutable Kob::ListRaw<NotifieeConst> notifiees_;
};

/// Hears of changes of the table. A reader derives from it, overrides what it wants to hear, points
/// it at the table (`notifierIs`) and registers it (`isRegisteredNotifieeIs(true)`). It keeps the
/// table alive and must be held through Kob::Ptr. Notifiees are called in the order in which they
/// registered.
class KOB_EXPORT Table::NotifieeConst
    : public Kob::NotifieeFor<Table::NotifieeConst, Table, Kob::Entity::NotifieeConst> {
 public:
  /// Leaves the table's list.
  ~NotifieeConst() override;

  /// An `intfL3Index` entry of this interface was set, changed or removed. An exception out of it
  /// is told with `onNotificationException(260)`; the change stays.
  virtual void onIntfL3Index(Plexo::IntfId intfId);
  /// The framework's immediate form of the same; nobody calls it here.
  virtual void onIntfL3IndexkobImmediate();
  /// The same of any key: what a reactor that merges notifications delivers.
  virtual void onIntfL3Index();

  /// The key of the latest notification that a deferring reactor recorded here; empty at first.
  [[nodiscard]] Plexo::IntfId intfL3IndexPendingKey() const noexcept { return pendingKey_; }
  void intfL3IndexPendingKeyIs(Plexo::IntfId intfId) noexcept { pendingKey_ = intfId; }

 protected:
  NotifieeConst() = default;

 private:
  Plexo::IntfId pendingKey_;
};

/// The base of notifiees of a table that is not const; adds nothing.
class KOB_EXPORT Table::Notifiee : public Table::NotifieeConst {
 public:
  ~Notifiee() override;
};

/// The table as tools see it: its attributes by name and id (Kob/GenericIf.h). Passes changes of
/// `intfL3Index` on to its generic listeners, with the interface as key; at once, or deferred when
/// it was given an activity. Several changes that were deferred arrive as one, with the last key:
/// the other keys are not told. Keeps the table alive.
class KOB_EXPORT Table::GenericIf_ final
    : public Kob::Described<Table::GenericIf_, Kob::GenericIfEntity, Table> {
 public:
  class GenericIf_Adapter_;

  /// REQUIRES: a table; null is fatal.
  GenericIf_(const Kob::Ptr<Table>& table, bool readOnly);
  ~GenericIf_() override;

  static const Kob::Description& description();
  /// A new table from a list of its constructor's arguments: `name`, `internalVlanNeeded`. Throws
  /// TypeException "List" for no list and "Kob::GenericIf::List_" for what is none, TypeException
  /// naming a parameter, UnknownArgumentException "Table".
  static Kob::Ptr<GenericIf> genericIfListConstructor(const Kob::Ptr<const GenericIf>& list);

  /// Makes the notifiee by which `wrapper` hears of the table.
  static Kob::Ptr<GenericIf_Adapter_> GenericIf_Adapter_Is(const Kob::Ptr<Table>& table,
                                                           const Kob::Ptr<GenericIf_>& wrapper);
  [[nodiscard]] const Kob::Ptr<GenericIf_Adapter_>& adapter() const noexcept { return adapter_; }

  /// Switches the adapter too. The same value changes nothing.
  bool hasNotificationActiveIs(bool active) override;
  bool kobDoZombieReactors(bool zombie) override;
  void handleNotification(Kob::ActivityConfig* activity) override;

  /// An `intfL3Index` entry changed: passes it on, or lets it wait.
  void onIntfL3Index(Plexo::IntfId intfId);

 private:
  Kob::Ptr<GenericIf_Adapter_> adapter_;
};

/// The notifiee by which a wrapper hears of its table. Its hold on the table is weak, that on the
/// wrapper a plain pointer that the wrapper clears when it goes.
class KOB_EXPORT Table::GenericIf_::GenericIf_Adapter_ final : public Table::Notifiee {
 public:
  /// Registers, binds itself to the table and makes its hold weak, in this order.
  GenericIf_Adapter_(const Kob::Ptr<Table>& table, const Kob::Ptr<GenericIf_>& reactor);
  ~GenericIf_Adapter_() override;

  /// Off leaves the table's list and remembers, on joins again what had joined; unless the adapter
  /// is a zombie, its wrapper is switched too. Returns the value that stands afterwards.
  bool hasNotificationActiveIs(bool active) override;
  Kob::Ptr<Kob::PtrInterface> kobReactor() const override;
  Kob::PtrInterface* kobRawReactor() const override;
  using Notifiee::onNotificationException;
  void onNotificationException(Kob::AttributeId id) override;
  void onZeroReferences() override;
  void onIntfL3Index(Plexo::IntfId intfId) override;
  void onIntfL3Index() override;
  /// A zombie stops listening, a revived adapter listens again.
  virtual bool kobDoZombieReactors(bool zombie);

  [[nodiscard]] Kob::Ptr<GenericIf_> kobReactorAdapter();
  [[nodiscard]] Kob::Ptr<const GenericIf_> kobReactorAdapter() const;
  void kobReactorAdapterIs(const Kob::Ptr<GenericIf_>& reactor);

 private:
  GenericIf_* reactor_;
};

/// The type object of the table.
class KOB_EXPORT Table::_Type final : public Kob::DescribedObjectType<Table> {
 public:
  _Type();
  ~_Type() override;
  /// The handles of the registered attributes, in the order of their registration; null until the
  /// type is described.
  static std::span<Kob::KobAttr* const> attributeHandles() noexcept;
};

/// Describes the types of FyrL3IntfTable.cpp to the framework; runs when the library is loaded. The
/// second time, and while introspection is not active, it does nothing.
KOB_EXPORT void kobInitFyrL3IntfTable();

/// Creates an empty table and returns the only reference; nothing else is registered or published.
KOB_EXPORT Kob::Ptr<Table> tableFactory(Kob::Name name, bool internalVlanNeeded);

}  // namespace FyrL3Intf

using FyrL3Intf::kobInitFyrL3IntfTable;
