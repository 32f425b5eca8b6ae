#include "Kob/Entity.h"

#include <ostream>
#include <utility>

#include "Kob/TypeName.h"

namespace Kob {

Entity::Entity(Name name) : name_(std::move(name)) {}
Entity::~Entity() = default;

Name Entity::name() const { return name_; }
Ptr<const Entity> Entity::parent() const { return parent_; }
Ptr<Entity> Entity::parent() { return parent_; }

void Entity::parentIs(const Ptr<Entity>& parent) {
  if (parent == parent_) return;
  for (const Entity* above = parent.get(); above != nullptr; above = above->parent_.get()) {
    KOB_ASSERT(above != this, "above != this",
               "void Kob::Entity::parentIs(const Kob::Ptr<Kob::Entity>&)");
  }
  parent_ = parent;
  handleParent(parent_);
}

Name Entity::parentAttr() const {
  return parent_ ? parent_->attributeString(parentAttrId_) : Name();
}
AttributeId Entity::parentAttrId() const { return parentAttrId_; }
void Entity::parentAttrIdIs(AttributeId id) { parentAttrId_ = id; }

String8 Entity::uriPath() const {
  String8 path = name_;
  for (const Entity* above = parent_.get(); above != nullptr; above = above->parent_.get()) {
    path = above->name_ + "/" + path;
  }
  return path;
}
String8 Entity::fullName() const { return uriPath(); }

String8 Entity::attributeString(AttributeId) const { return {}; }
bool Entity::kobNotifieeAdapterIs(const Ptr<const Entity>&) { return false; }
void Entity::handleParent(const Ptr<Entity>&) {}

Ptr<const PtrInterface> Entity::kobNboAttrLogSa() const { return nullptr; }
Ptr<PtrInterface> Entity::kobNboAttrLogSa() { return nullptr; }
bool Entity::kobHasAttrLogInterface() const { return false; }
Ptr<PtrInterface> Entity::kobNboAttrLogSaForMsgChannel() { return nullptr; }
Ptr<PtrInterface> Entity::kobNboAttrLogSaIs() { return nullptr; }
Ptr<PtrInterface> Entity::kobNboAttrLogSaDel() { return nullptr; }

Entity::NotifieeConst::NotifieeConst() = default;
Entity::NotifieeConst::~NotifieeConst() = default;
void Entity::NotifieeConst::onParent() {}
void Entity::NotifieeConst::onVersion() {}

std::ostream& operator<<(std::ostream& stream, const Ptr<const Entity>& entity) {
  if (!entity) return stream << "null";
  const Entity& object = *entity;
  return stream << '<' << typeName(typeid(object)) << ' ' << object.name() << ' '
                << static_cast<const void*>(&object) << '>';
}

}  // namespace Kob
