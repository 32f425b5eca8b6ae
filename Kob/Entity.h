#pragma once

// The base of published objects: a name, a place under a parent, and two counters that the
// object's own operations drive.

#include <cstdint>
#include <iosfwd>
#include <type_traits>

#include "Kob/Export.h"
#include "Kob/Notifiee.h"
#include "Kob/PtrInterface.h"
#include "Kob/String8.h"

namespace Kob {

class KOB_EXPORT Entity : public PtrInterface {
 public:
  class NotifieeConst;

  explicit Entity(Name name);
  ~Entity() override;

  /// The type "Kob::Entity": that of all entities.
  static constexpr const char* kobTypeName = "Kob::Entity";
  static KobType* _fwkType();
  KobType* fwkType() const override;

  // Virtual operations, in slot order after those of PtrInterface.

  /// The name; shares the string.
  virtual Name name() const;
  /// The entity above this one, or null. The hold is counted: a parent that owns its child must not
  /// be set here, or neither will ever be released.
  virtual Ptr<const Entity> parent() const;
  virtual Ptr<Entity> parent();
  /// Puts the entity under another parent, or under none, and calls `handleParent`. The same parent
  /// changes nothing. REQUIRES: this entity is not above its new parent; a circle is fatal.
  virtual void parentIs(const Ptr<Entity>& parent);
  /// Name and id of the parent's attribute that holds this entity; empty and 0 where unknown.
  virtual Name parentAttr() const;
  virtual AttributeId parentAttrId() const;
  virtual void parentAttrIdIs(AttributeId id);
  /// The names from the root down to this entity, joined by "/".
  virtual String8 uriPath() const;
  virtual String8 fullName() const;
  /// The name of the attribute with this id; the empty string for ids that are no attribute's.
  virtual String8 attributeString(AttributeId id) const;
  /// Refuses the adapter and returns false: entities take their notifiees through their own
  /// notifiee classes.
  virtual bool kobNotifieeAdapterIs(const Ptr<const Entity>& adapter);
  /// Called with the new parent after it was set.
  virtual void handleParent(const Ptr<Entity>& parent);
  /// The attribute log: none is kept, and each of these answers null.
  virtual Ptr<const PtrInterface> kobNboAttrLogSa() const;
  virtual Ptr<PtrInterface> kobNboAttrLogSa();
  /// False: no attribute log is kept.
  virtual bool kobHasAttrLogInterface() const;
  virtual Ptr<PtrInterface> kobNboAttrLogSaForMsgChannel();
  virtual Ptr<PtrInterface> kobNboAttrLogSaIs();
  virtual Ptr<PtrInterface> kobNboAttrLogSaDel();

  /// How often the entity's operations changed, and read, its attributes. Both start at 0, are
  /// never reset and wrap at 2^32.
  [[nodiscard]] std::uint32_t changeCount() const noexcept { return changeCount_; }
  [[nodiscard]] std::uint32_t readCount() const noexcept { return readCount_; }
  /// The framework's flags; 0x88 initially.
  [[nodiscard]] std::uint32_t entityFlags() const noexcept { return entityFlags_; }

  /// For the entity's own accessor families.
  void changeCountInc() noexcept { ++changeCount_; }
  void readCountInc() const noexcept { ++readCount_; }

 private:
  static constexpr std::uint32_t initialFlags = 0x88;

  Name name_;
  std::uint32_t changeCount_ = 0;
  mutable std::uint32_t readCount_ = 0;
  std::uint32_t entityFlags_ = initialFlags;
  Ptr<Entity> parent_;
  AttributeId parentAttrId_ = 0;
};

/// The base of notifiees of entities.
class KOB_EXPORT Entity::NotifieeConst : public PtrInterface::NotifieeConst {
 public:
  ~NotifieeConst() override;

  /// The entity got another parent; the entity's version changed.
  virtual void onParent();
  virtual void onVersion();

 protected:
  NotifieeConst();
};

/// Prints a pointer to an entity: type, name and address in angle brackets, "null" where there is
/// none. Two different objects never print the same.
KOB_EXPORT std::ostream& operator<<(std::ostream& stream, const Ptr<const Entity>& entity);
template <class T>
  requires std::is_base_of_v<Entity, T>
std::ostream& operator<<(std::ostream& stream, const Ptr<T>& entity) {
  return stream << Ptr<const Entity>(entity);
}

}  // namespace Kob
