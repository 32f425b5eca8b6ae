#include "Kob/Type.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>

#include "Kob/Assert.h"
#include "Kob/GenericIf.h"
#include "Kob/GenericIfException.h"

namespace Kob {

KobAttr::KobAttr(Name name, KobType* type, AttributeFlags flags, AttributeId id)
    : name_(std::move(name)), type_(type), flags_(flags), id_(id) {}

KobAttr::~KobAttr() = default;

void KobAttr::parameterIs(const Name& name, const Name& typeName) {
  parameters_.push_back({name, typeName});
}

KobAttr* KobAttr::attr(const Name& name) const noexcept {
  const auto found = std::ranges::find_if(
      attrs_, [&name](const Ptr<KobAttr>& attribute) { return attribute->name() == name; });
  return found == attrs_.end() ? nullptr : found->get();
}

KobAttr* KobAttr::attr(AttributeId id) const noexcept {
  if (id == 0) return nullptr;
  const auto found = std::ranges::find_if(
      attrs_, [id](const Ptr<KobAttr>& attribute) { return attribute->id() == id; });
  return found == attrs_.end() ? nullptr : found->get();
}

KobAttr* KobAttr::attrIs(const Name& name, KobType* type, AttributeFlags flags, AttributeId id) {
  KOB_ASSERT(attr(name) == nullptr, "attr( name ) == nullptr",
             "Kob::KobAttr* Kob::KobAttr::attrIs(const Kob::Name&, Kob::KobType*, "
             "Kob::AttributeFlags, Kob::AttributeId)");
  const Ptr<KobAttr> attribute(new KobAttr(name, type, flags, id));
  attrs_.push_back(attribute);
  return attribute.get();
}

void KobAttr::attrDel(const Name& name) noexcept {
  std::erase_if(attrs_,
                [&name](const Ptr<KobAttr>& attribute) { return attribute->name() == name; });
}

KobType::KobType(Name shortName, KobType* base)
    : KobAttr(std::move(shortName), this, {}, 0), base_(base), qualifiedName_(name()) {}
KobType::KobType(Name shortName, KobType* base, Name qualifiedName)
    : KobAttr(std::move(shortName), this, {}, 0),
      base_(base),
      qualifiedName_(std::move(qualifiedName)) {}

KobType::~KobType() = default;

Ptr<GenericIf> KobType::genericIf_(PtrInterface*, bool) { return nullptr; }
Ptr<GenericIf> KobType::genericIf(const void*, bool) { return nullptr; }
Ptr<GenericIf> KobType::genericIf(const GenericIf*, bool) { throw TypeException(name()); }
Ptr<GenericIf> KobType::genericIf(const String8&, bool) { throw TypeException(name()); }

Ptr<GenericIf> KobType::genericIf(const Ptr<PtrInterface>& object, bool readOnly) {
  KobType* const type = object ? object->fwkType() : nullptr;
  return type != nullptr ? type->genericIf_(object.get(), readOnly) : nullptr;
}

Ptr<GenericIf> KobType::genericIf(const Ptr<const PtrInterface>& object) {
  return genericIf(Ptr(const_cast<PtrInterface*>(object.get())), true);
}

bool KobType::isA(const KobType* other) const noexcept {
  const KobType* type = this;
  while (type != nullptr && type != other) type = type->base_;
  return type != nullptr;
}

namespace {

std::vector<KobType*>& registry() noexcept {
  // Never destroyed, as the types that it lists.
  alignas(std::vector<KobType*>) static std::byte memory[sizeof(std::vector<KobType*>)];
  static auto& types = *new (memory) std::vector<KobType*>;
  return types;
}

}  // namespace

void KobType::typeNodeIs(KobType* type, const Name& qualifiedName) {
  KobType* const registered = typeNode(qualifiedName);
  if (registered == type) return;
  KOB_ASSERT(registered == nullptr, "typeNode( qualifiedName ) == nullptr",
             "static void Kob::KobType::typeNodeIs(Kob::KobType*, const Kob::Name&)");
  registry().push_back(type);
  type->qualifiedName_ = qualifiedName;
}

KobType* KobType::typeNode(const Name& qualifiedName) noexcept {
  const auto found = std::ranges::find_if(registry(), [&qualifiedName](const KobType* type) {
    return type->qualifiedName_ == qualifiedName;
  });
  return found == registry().end() ? nullptr : *found;
}

const std::vector<KobType*>& KobType::typeNodes() noexcept { return registry(); }

void TypePointer::typeIs(KobType* type) noexcept {
  type_ = type;
  type->referencesLeak();
}

}  // namespace Kob
