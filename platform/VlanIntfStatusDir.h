#pragma once

// The status of the VLAN interfaces, an input of the L3 interface state machine: one entry for each
// VLAN interface that exists on the switch. Only its presence matters.

#include "Kob/AccessorFamily.h"
#include "Kob/Entity.h"
#include "Kob/Export.h"
#include "Kob/Notifier.h"
#include "Kob/Type.h"
#include "platform/IntfId.h"

namespace Interface {

/// The status of one interface. Owned by its directory; may be held longer.
class KOB_EXPORT IntfStatus : public Kob::Entity {
 public:
  static constexpr Kob::AttributeId intfIdId = 258;

  explicit IntfStatus(Plexo::IntfId intfId);
  ~IntfStatus() override;

  /// The type "Interface::IntfStatus"; what it publishes can be read.
  static constexpr const char* kobTypeName = "Interface::IntfStatus";
  static Kob::KobType* _fwkType();
  Kob::KobType* fwkType() const override;
  static const Kob::Description& kobDescription();

  /// The interface; the name of the entity is its name.
  [[nodiscard]] Plexo::IntfId intfId() const noexcept { return intfId_; }
  [[nodiscard]] const Plexo::IntfId& fwkKey() const noexcept { return intfId_; }

 private:
  friend struct Kob::HashMapLink;

  const Plexo::IntfId intfId_;
  Kob::Ptr<IntfStatus> kobNext_;
};

/// What directories of interface status have in common.
class KOB_EXPORT IntfStatusDirBase : public Kob::Entity {
 public:
  class NotifieeConst;

  ~IntfStatusDirBase() override;

 protected:
  explicit IntfStatusDirBase(Kob::Name name);
};

class KOB_EXPORT IntfStatusDirBase::NotifieeConst : public Kob::Entity::NotifieeConst {
 public:
  ~NotifieeConst() override;
};

/// The VLAN interfaces that exist.
class KOB_EXPORT VlanIntfStatusDir : public IntfStatusDirBase {
 public:
  class NotifieeConst;

  static constexpr Kob::AttributeId intfStatusId = 386;

  explicit VlanIntfStatusDir(Kob::Name name);
  ~VlanIntfStatusDir() override;

  /// The type "Interface::VlanIntfStatusDir"; what it publishes can be read.
  static constexpr const char* kobTypeName = "Interface::VlanIntfStatusDir";
  static Kob::KobType* _fwkType();
  Kob::KobType* fwkType() const override;
  static const Kob::Description& kobDescription();

  /// The entries, by interface. A new or removed entry is one change, and its key is announced
  /// (`onIntfStatus(intfId)`).
  KOB_OBJECT_COLLECTION(intfStatus, IntfStatus, Plexo::IntfId, IntfStatus);

  /// The entry of the interface, which is made when there is none, counted and announced.
  Kob::Ptr<IntfStatus> intfStatusIs(Plexo::IntfId intfId);
  /// Makes the entry; neither counted nor announced. REQUIRES: there is none; a second is fatal.
  Kob::Ptr<IntfStatus> newIntfStatus(Plexo::IntfId intfId);

  /// Tells every notifiee `onZeroReferences()`.
  void zeroReferencesIs(bool zero) override;

  Kob::ListRaw<NotifieeConst>& kobNotifiees() const noexcept { return notifiees_; }

 private:
  IntfStatusCollection intfStatus_;
  mutable Kob::ListRaw<NotifieeConst> notifiees_;
};

/// Hears of VLAN interfaces that come and go.
class KOB_EXPORT VlanIntfStatusDir::NotifieeConst
    : public Kob::NotifieeFor<VlanIntfStatusDir::NotifieeConst, VlanIntfStatusDir,
                              IntfStatusDirBase::NotifieeConst> {
 public:
  ~NotifieeConst() override;
  /// The entry of this interface came or went; the immediate form of the same; the same of any.
  virtual void onIntfStatus(Plexo::IntfId intfId);
  virtual void onIntfStatuskobImmediate();
  virtual void onIntfStatus();
};

/// Creates an empty directory and returns the only reference.
KOB_EXPORT Kob::Ptr<VlanIntfStatusDir> vlanIntfStatusDirFactory(Kob::Name name);

}  // namespace Interface
