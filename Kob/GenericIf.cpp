#include "Kob/GenericIf.h"

#include <sstream>

#include "Kob/Activity.h"
#include "Kob/Assert.h"
#include "Kob/Entity.h"
#include "Kob/GenericIfException.h"
#include "Kob/GenericValue.h"

namespace Kob {

GenericIf::~GenericIf() { notifiees_.deleteAll(); }

void* GenericIf::voidPtrIs(const KobType*) { return nullptr; }
AttributeId GenericIf::attributeId(String8) const { return 0; }

GenericIf::AttributeIteratorConst GenericIf::attributeIteratorConst(AttributeId) const {
  return {};
}
GenericIf::AttributeIteratorConst GenericIf::attributeIteratorKeyConst(
    AttributeId, const Ptr<const GenericIf>&) const {
  return {};
}
void GenericIf::attributeIterator_iterInc(AttributeId, IteratorState& state) const { state.inc(); }
Ptr<GenericIf> GenericIf::attributeIterator_iterKey(AttributeId, const IteratorState& state) const {
  return state.key();
}
Ptr<const GenericIf> GenericIf::attributeIterator_iterObj(AttributeId,
                                                          const IteratorState& state) const {
  return state.object(true);
}
Ptr<GenericIf> GenericIf::attributeIterator_iterObj(AttributeId, const IteratorState& state) {
  return state.object(readOnly_);
}
std::unique_ptr<GenericIf::IteratorState> GenericIf::attributeIterator_iterClone(
    AttributeId, const IteratorState& state) const {
  return state.clone();
}
void GenericIf::attributeIterator_iterDel(AttributeId, std::unique_ptr<IteratorState>) const {}
bool GenericIf::attributeIterator_nonNull(AttributeId, const IteratorState& state) const {
  return state.nonNull();
}

Ptr<GenericIf> GenericIf::attributeOp(const AttributeOp& op, const Ptr<const GenericIf>&,
                                      const Ptr<GenericIf>&) {
  if (readOnly_ && op.operation >= firstModifyingOperation) throw ConstException();
  throw UnknownAttributeException(type()->qualifiedName(), op.attributeId);
}

bool GenericIf::kobDoZombieReactors(bool zombie) { return zombieIs(zombie); }

void GenericIf::onAttribute(AttributeId id) { onAttribute(id, nullptr); }

void GenericIf::onAttribute(AttributeId id, const Ptr<const GenericIf>& key) {
  if (kobMarkedForDeletion()) return;
  announce(notifiees_, id, [&](NotifieeConst& listener) { listener.onAttribute(id, key); });
}

void GenericIf::zeroReferencesIs(bool) { announceZeroReferences(notifiees_); }

GenericIf::NotifieeConst::~NotifieeConst() { leave(); }
void GenericIf::NotifieeConst::onAttribute(AttributeId, const Ptr<const GenericIf>&) {}

GenericIf::IteratorState::~IteratorState() = default;

using AttributeIterator = GenericIf::AttributeIteratorConst;

AttributeIterator::AttributeIteratorConst(Ptr<const GenericIf> owner, AttributeId id,
                                          std::unique_ptr<IteratorState> state) noexcept
    : owner_(std::move(owner)), id_(id), state_(std::move(state)) {}

AttributeIterator::AttributeIteratorConst(const AttributeIteratorConst& other)
    : owner_(other.owner_), id_(other.id_) {
  if (other.state_) state_ = owner_->attributeIterator_iterClone(id_, *other.state_);
}

AttributeIterator& AttributeIterator::operator=(AttributeIteratorConst other) noexcept {
  std::swap(owner_, other.owner_);
  std::swap(id_, other.id_);
  std::swap(state_, other.state_);
  return *this;
}

AttributeIterator::~AttributeIteratorConst() {
  if (state_) owner_->attributeIterator_iterDel(id_, std::move(state_));
}

AttributeIterator::operator bool() const {
  return state_ && owner_->attributeIterator_nonNull(id_, *state_);
}

AttributeIterator& AttributeIterator::operator++() {
  if (state_) owner_->attributeIterator_iterInc(id_, *state_);
  return *this;
}

Ptr<GenericIf> AttributeIterator::key() const {
  const IteratorState& here = state();
  return owner_->attributeIterator_iterKey(id_, here);
}

Ptr<const GenericIf> AttributeIterator::value() const {
  const IteratorState& here = state();
  return owner_->attributeIterator_iterObj(id_, here);
}

const GenericIf::IteratorState& AttributeIterator::state() const {
  KOB_ASSERT(state_ != nullptr, "state_ != nullptr",
             "const Kob::GenericIf::IteratorState& "
             "Kob::GenericIf::AttributeIteratorConst::state() const");
  return *state_;
}

namespace {

/// The type of a class of the framework that publishes no attributes.
template <class T, class Wrapper>
KobType* plainType(KobType* (*base)()) {
  static constinit TypePointer pointer;
  return pointer.get([] {},
                     [base] {
                       return newType<ObjectType<T, Wrapper>>(T::kobTypeName,
                                                              base != nullptr ? base() : nullptr);
                     });
}

}  // namespace

KobType* PtrInterface::_fwkType() {
  return plainType<PtrInterface, GenericIfPtrInterface>(nullptr);
}
KobType* Entity::_fwkType() { return plainType<Entity, GenericIfEntity>(PtrInterface::_fwkType); }
KobType* ActivityConfig::_fwkType() {
  return plainType<ActivityConfig, GenericIfEntity>(Entity::_fwkType);
}
KobType* Entity::fwkType() const { return _fwkType(); }
KobType* ActivityConfig::fwkType() const { return _fwkType(); }

GenericIf::List_::~List_() = default;

KobType* GenericIf::List_::_fwkType() {
  static constinit TypePointer pointer;
  return pointer.get([] {}, [] { return newType<PlainType>("Kob::GenericIf::List_"); });
}

KobType* GenericIf::List_::type() const { return _fwkType(); }
Ptr<GenericIf> GenericIf::List_::clone() { return {new List_(elements_)}; }
Ptr<const GenericIf> GenericIf::List_::clone() const { return {new List_(elements_)}; }

String8 GenericIf::List_::strRep() const {
  std::string text = "(";
  for (const auto& element : elements_) {
    if (text.size() > 1) text += ", ";
    text += element ? element->strRep().view() : "null";
  }
  return String8(text + ")");
}

GenericIfPtrInterface::GenericIfPtrInterface(const Ptr<PtrInterface>& object, bool readOnly)
    : GenericIf(readOnly), object_(object) {
  KOB_ASSERT(object != nullptr, "object != nullptr",
             "Kob::GenericIfPtrInterface::GenericIfPtrInterface("
             "const Kob::Ptr<Kob::PtrInterface>&, bool)");
}
GenericIfPtrInterface::~GenericIfPtrInterface() = default;

Ptr<PtrInterface> GenericIfPtrInterface::obj() { return readOnly() ? nullptr : object_; }
Ptr<const PtrInterface> GenericIfPtrInterface::obj() const { return object_; }

KobType* GenericIfPtrInterface::type() const {
  KobType* const own = object_->fwkType();
  return own != nullptr ? own : PtrInterface::_fwkType();
}

void* GenericIfPtrInterface::voidPtrIs(const KobType* type) {
  return type == PtrInterface::_fwkType() ? object_.get() : nullptr;
}

Ptr<GenericIf> GenericIfPtrInterface::clone() {
  return {new GenericIfPtrInterface(object_, readOnly())};
}
Ptr<const GenericIf> GenericIfPtrInterface::clone() const {
  return {new GenericIfPtrInterface(object_, true)};
}

String8 GenericIfPtrInterface::strRep() const {
  return String8("<") + type()->qualifiedName() + String8(">");
}

Ptr<ActivityConfig> GenericIfPtrInterface::kobFwkActivity() { return activity_; }
Ptr<const ActivityConfig> GenericIfPtrInterface::kobFwkActivity() const { return activity_; }
ActivitySm* GenericIfPtrInterface::actsm() { return activity_ ? activity_->activitySm() : nullptr; }
void GenericIfPtrInterface::kobFwkActivityIs(const Ptr<ActivityConfig>& activity) {
  activity_ = activity;
}

GenericIfEntity::GenericIfEntity(const Ptr<Entity>& object, bool readOnly)
    : GenericIfPtrInterface(object, readOnly) {}
GenericIfEntity::~GenericIfEntity() = default;

void* GenericIfEntity::voidPtrIs(const KobType* type) {
  if (type != Entity::_fwkType()) return GenericIfPtrInterface::voidPtrIs(type);
  return static_cast<Entity*>(object());
}

Ptr<GenericIf> GenericIfEntity::clone() {
  return {new GenericIfEntity(Ptr(static_cast<Entity*>(object())), readOnly())};
}
Ptr<const GenericIf> GenericIfEntity::clone() const {
  return {new GenericIfEntity(Ptr(static_cast<Entity*>(object())), true)};
}

String8 GenericIfEntity::strRep() const {
  std::ostringstream text;
  text.exceptions(std::ios_base::badbit);  // Out of memory, a text is not cut short.
  text << Ptr<const Entity>(static_cast<const Entity*>(object()));
  return String8(text.view());
}

}  // namespace Kob
