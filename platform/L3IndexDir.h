#pragma once

// The platform's L3 index directory, an input of the L3 interface state machine: the layer-3
// identifier that the platform assigned to each routed interface.

#include "Kob/AccessorFamily.h"
#include "Kob/Entity.h"
#include "Kob/Export.h"
#include "Kob/Notifier.h"
#include "Kob/Type.h"
#include "platform/IntfId.h"
#include "platform/L3Id.h"

namespace FyrL3Intf {

/// The identifier of one interface. Owned by its directory; may be held longer.
class KOB_EXPORT L3Index : public Kob::Entity {
 public:
  static constexpr Kob::AttributeId intfIdId = 258;
  static constexpr Kob::AttributeId l3IdId = 259;

  L3Index(Plexo::IntfId intfId, const L3Id& l3Id);
  ~L3Index() override;

  /// The type "FyrL3Intf::L3Index"; what it publishes can be read.
  static constexpr const char* kobTypeName = "FyrL3Intf::L3Index";
  static Kob::KobType* _fwkType();
  Kob::KobType* fwkType() const override;
  static const Kob::Description& kobDescription();

  /// The interface; the name of the entity is its name.
  [[nodiscard]] Plexo::IntfId intfId() const noexcept { return intfId_; }
  [[nodiscard]] const Plexo::IntfId& fwkKey() const noexcept { return intfId_; }
  [[nodiscard]] const L3Id& l3Id() const noexcept { return l3Id_; }

 private:
  friend struct Kob::HashMapLink;
  friend class L3IndexDir;

  const Plexo::IntfId intfId_;
  L3Id l3Id_;
  Kob::Ptr<L3Index> kobNext_;
};

/// Every interface that has an identifier.
class KOB_EXPORT L3IndexDir : public Kob::Entity {
 public:
  class NotifieeConst;

  static constexpr Kob::AttributeId l3IndexId = 258;

  explicit L3IndexDir(Kob::Name name);
  ~L3IndexDir() override;

  /// The type "FyrL3Intf::L3IndexDir"; what it publishes can be read.
  static constexpr const char* kobTypeName = "FyrL3Intf::L3IndexDir";
  static Kob::KobType* _fwkType();
  Kob::KobType* fwkType() const override;
  static const Kob::Description& kobDescription();

  /// The entries, by interface. A new, changed or removed entry is one change, and its key is
  /// announced (`onL3Index(intfId)`).
  KOB_OBJECT_COLLECTION(l3Index, L3Index, Plexo::IntfId, L3Index);

  /// Assigns an identifier: makes the entry, or changes the one that is there in place; counted and
  /// announced. The identifier that stands already changes nothing.
  Kob::Ptr<L3Index> l3IndexIs(Plexo::IntfId intfId, const L3Id& l3Id);
  /// Makes the entry; neither counted nor announced. REQUIRES: there is none; a second is fatal.
  Kob::Ptr<L3Index> newL3Index(Plexo::IntfId intfId, const L3Id& l3Id);

  /// Tells every notifiee `onZeroReferences()`.
  void zeroReferencesIs(bool zero) override;

  Kob::ListRaw<NotifieeConst>& kobNotifiees() const noexcept { return notifiees_; }

 private:
  L3IndexCollection l3Index_;
  mutable Kob::ListRaw<NotifieeConst> notifiees_;
};

/// Hears of identifiers that come, change and go.
class KOB_EXPORT L3IndexDir::NotifieeConst
    : public Kob::NotifieeFor<L3IndexDir::NotifieeConst, L3IndexDir, Kob::Entity::NotifieeConst> {
 public:
  ~NotifieeConst() override;
  /// The entry of this interface came, changed or went; the immediate form of the same; the same
  /// of any.
  virtual void onL3Index(Plexo::IntfId intfId);
  virtual void onL3IndexkobImmediate();
  virtual void onL3Index();
};

/// Creates an empty directory and returns the only reference.
KOB_EXPORT Kob::Ptr<L3IndexDir> l3IndexDirFactory(Kob::Name name);

}  // namespace FyrL3Intf
