#pragma once

// Generic interfaces: objects and values as tools see them. A generic interface wraps one object or
// one value; its attributes are found by name and then read, written, counted, iterated and called
// by id, and every argument and result is a generic interface again.
//
//   const auto id = wrapper->attributeId("intfL3Index");
//   const auto l3Id = wrapper->attributeOp({id, GenericIf::readOperation}, key, nullptr);
//
// Operation codes: 0 reads an attribute (with a key: one entry of a collection) or calls a
// function; 1 counts a collection; 2 answers its first key and 3 the key after the given one, null
// when there is none; 128 writes and 129 deletes. Codes from 128 on modify, and a read-only wrapper
// refuses them before it looks at anything else.
//
// What cannot be done is refused with one of the exceptions of Kob/GenericIfException.h, before
// anything has been changed. Refusals are tested in this order: read-only, an index where none is
// expected, the operation code, the key, the value. Exceptions out of the operation itself, and
// what it does that is fatal, are the operation's own.
//
// Types that publish a description (Kob/Described.h) get all of this from it.

#include <memory>
#include <utility>
#include <vector>

#include "Kob/Entity.h"
#include "Kob/Export.h"
#include "Kob/ListRaw.h"
#include "Kob/Notifiee.h"
#include "Kob/Notifier.h"
#include "Kob/PtrInterface.h"
#include "Kob/String8.h"
#include "Kob/Type.h"

namespace Kob {

/// The protocol, and how an interface answers that knows no attribute. It is a notifiee, so that
/// the wrapper of a notifier can pass on what it hears, and a notifier of generic listeners.
class KOB_EXPORT GenericIf : public PtrInterface::NotifieeConst {
 public:
  class NotifieeConst;
  class List_;
  class IteratorState;
  class AttributeIteratorConst;

  /// What to do to which attribute.
  struct AttributeOp {
    AttributeId attributeId = 0;
    unsigned operation = 0;
  };
  static constexpr unsigned readOperation = 0;
  static constexpr unsigned callOperation = 0;
  static constexpr unsigned countOperation = 1;
  static constexpr unsigned firstKeyOperation = 2;
  static constexpr unsigned nextKeyOperation = 3;
  static constexpr unsigned writeOperation = 128;
  static constexpr unsigned deleteOperation = 129;
  /// Operations with this code or a greater one modify.
  static constexpr unsigned firstModifyingOperation = 128;

  ~GenericIf() override;

  // Virtual operations, in slot order after those of notifiees.

  /// The type of what is wrapped.
  virtual KobType* type() const = 0;
  /// The address of what is wrapped, as a `type`; null when it is none.
  virtual void* voidPtrIs(const KobType* type);
  /// Another wrapper: of the same object, or of a copy of the value.
  virtual Ptr<GenericIf> clone() = 0;
  virtual Ptr<const GenericIf> clone() const = 0;
  /// The id of the attribute of this name; 0 where there is none, or where it has none.
  virtual AttributeId attributeId(String8 name) const;
  /// Iterates over a collection attribute: from its first entry, or from the first that does not
  /// come before `key` in iteration order. Attributes that are no collection give an iterator at
  /// its end; a key of another type throws TypeException "kob_index".
  virtual AttributeIteratorConst attributeIteratorConst(AttributeId id) const;
  virtual AttributeIteratorConst attributeIteratorKeyConst(AttributeId id,
                                                           const Ptr<const GenericIf>& key) const;
  /// The steps of an iteration, which AttributeIteratorConst takes.
  virtual void attributeIterator_iterInc(AttributeId id, IteratorState& state) const;
  virtual Ptr<GenericIf> attributeIterator_iterKey(AttributeId id,
                                                   const IteratorState& state) const;
  /// The value: read-only from a const interface, else as this interface is.
  virtual Ptr<const GenericIf> attributeIterator_iterObj(AttributeId id,
                                                         const IteratorState& state) const;
  virtual Ptr<GenericIf> attributeIterator_iterObj(AttributeId id, const IteratorState& state);
  virtual std::unique_ptr<IteratorState> attributeIterator_iterClone(
      AttributeId id, const IteratorState& state) const;
  virtual void attributeIterator_iterDel(AttributeId id,
                                         std::unique_ptr<IteratorState> state) const;
  virtual bool attributeIterator_nonNull(AttributeId id, const IteratorState& state) const;
  /// Operates an attribute. `arg` is the key of a collection operation or the List_ of a call's
  /// arguments, `value` the new value of a write; null where there is none. Answers the value, the
  /// count, the key or the result; null where there is none. Throws UnknownAttributeException for
  /// ids that nobody knows.
  virtual Ptr<GenericIf> attributeOp(const AttributeOp& op, const Ptr<const GenericIf>& arg,
                                     const Ptr<GenericIf>& value);
  /// Makes a zombie of the interface, which then passes no notification on, or wakes it. Returns
  /// the value that stands afterwards.
  virtual bool kobDoZombieReactors(bool zombie);
  /// What is wrapped, printed for people; a value's text parses back to it.
  virtual String8 strRep() const = 0;
  /// An attribute of what is wrapped changed, or one key of it: tells the generic listeners.
  using PtrInterface::NotifieeConst::onAttribute;
  void onAttribute(AttributeId id) override;
  virtual void onAttribute(AttributeId id, const Ptr<const GenericIf>& key);

  /// Tells every generic listener `onZeroReferences()`.
  void zeroReferencesIs(bool zero) override;

  /// Whether modifying operations are refused.
  [[nodiscard]] bool readOnly() const noexcept { return readOnly_; }

  /// For generic listeners: where they join and leave.
  ListRaw<NotifieeConst>& kobNotifiees() const noexcept { return notifiees_; }

 protected:
  explicit GenericIf(bool readOnly) noexcept : readOnly_(readOnly) {}

 private:
  bool readOnly_;
  mutable ListRaw<NotifieeConst> notifiees_;
};

/// A generic listener: hears, from a wrapper that passes notifications on, which attribute changed
/// and which key of it.
class KOB_EXPORT GenericIf::NotifieeConst
    : public NotifieeFor<GenericIf::NotifieeConst, GenericIf, PtrInterface::NotifieeConst> {
 public:
  ~NotifieeConst() override;
  using PtrInterface::NotifieeConst::onAttribute;
  virtual void onAttribute(AttributeId id, const Ptr<const GenericIf>& key);
};

/// Where an iteration over a collection stands.
class KOB_EXPORT GenericIf::IteratorState {
 public:
  IteratorState(const IteratorState&) = delete;
  IteratorState& operator=(const IteratorState&) = delete;
  virtual ~IteratorState();

  [[nodiscard]] virtual bool nonNull() const = 0;
  virtual void inc() = 0;
  [[nodiscard]] virtual Ptr<GenericIf> key() const = 0;
  [[nodiscard]] virtual Ptr<GenericIf> object(bool readOnly) const = 0;
  [[nodiscard]] virtual std::unique_ptr<IteratorState> clone() const = 0;

 protected:
  IteratorState() = default;
};

/// Iterates over a collection attribute, tolerating changes as the collection's own iterators do.
/// Keeps the interface alive.
class KOB_EXPORT GenericIf::AttributeIteratorConst {
 public:
  /// At its end.
  AttributeIteratorConst() = default;
  AttributeIteratorConst(Ptr<const GenericIf> owner, AttributeId id,
                         std::unique_ptr<IteratorState> state) noexcept;
  AttributeIteratorConst(const AttributeIteratorConst& other);
  AttributeIteratorConst(AttributeIteratorConst&& other) noexcept = default;
  AttributeIteratorConst& operator=(AttributeIteratorConst other) noexcept;
  ~AttributeIteratorConst();

  /// Whether it stands on an entry.
  explicit operator bool() const;
  /// Goes to the next entry; at the end it stays there.
  AttributeIteratorConst& operator++();
  /// Key and value of the entry. REQUIRES: it stands on one; reading at the end is fatal.
  [[nodiscard]] Ptr<GenericIf> key() const;
  [[nodiscard]] Ptr<const GenericIf> value() const;

 private:
  [[nodiscard]] const IteratorState& state() const;

  Ptr<const GenericIf> owner_;
  AttributeId id_ = 0;
  std::unique_ptr<IteratorState> state_;
};

/// A generic list: the arguments of a call, in order. An element may be null.
class KOB_EXPORT GenericIf::List_ final : public GenericIf {
 public:
  List_() noexcept : GenericIf(false) {}
  explicit List_(std::vector<Ptr<GenericIf>> elements) noexcept
      : GenericIf(false), elements_(std::move(elements)) {}
  ~List_() override;

  void elementIs(const Ptr<GenericIf>& element) { elements_.push_back(element); }
  [[nodiscard]] const std::vector<Ptr<GenericIf>>& elements() const noexcept { return elements_; }

  /// The type "Kob::GenericIf::List_".
  static KobType* _fwkType();
  KobType* type() const override;
  Ptr<GenericIf> clone() override;
  Ptr<const GenericIf> clone() const override;
  /// The elements in brackets.
  String8 strRep() const override;

 private:
  std::vector<Ptr<GenericIf>> elements_;
};

/// Wraps a framework object and keeps it alive.
class KOB_EXPORT GenericIfPtrInterface : public GenericIf {
 public:
  /// REQUIRES: an object; null is fatal.
  GenericIfPtrInterface(const Ptr<PtrInterface>& object, bool readOnly);
  ~GenericIfPtrInterface() override;

  /// The object: null from a read-only wrapper, unless as const.
  virtual Ptr<PtrInterface> obj();
  virtual Ptr<const PtrInterface> obj() const;

  /// The object's own type; that of all objects where it has none.
  KobType* type() const override;
  void* voidPtrIs(const KobType* type) override;
  Ptr<GenericIf> clone() override;
  Ptr<const GenericIf> clone() const override;
  /// The type in angle brackets.
  String8 strRep() const override;

  /// The activity in which this wrapper passes notifications on; at once without one.
  Ptr<ActivityConfig> kobFwkActivity() override;
  Ptr<const ActivityConfig> kobFwkActivity() const override;
  ActivitySm* actsm() override;
  void kobFwkActivityIs(const Ptr<ActivityConfig>& activity);

 protected:
  [[nodiscard]] PtrInterface* object() const noexcept { return object_.get(); }

 private:
  const Ptr<PtrInterface> object_;
  Ptr<ActivityConfig> activity_;
};

/// Wraps an entity.
class KOB_EXPORT GenericIfEntity : public GenericIfPtrInterface {
 public:
  GenericIfEntity(const Ptr<Entity>& object, bool readOnly);
  ~GenericIfEntity() override;

  void* voidPtrIs(const KobType* type) override;
  Ptr<GenericIf> clone() override;
  Ptr<const GenericIf> clone() const override;
  /// Type, name and address in angle brackets.
  String8 strRep() const override;
};

}  // namespace Kob
