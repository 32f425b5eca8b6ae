#pragma once

// What a class that describes itself (Kob/Description.h) becomes for tools: its type object, and
// its generic interface, in which the description does all the work.
//
//   class Store::GenericIf_ final
//       : public Kob::Described<Store::GenericIf_, Kob::GenericIfPtrInterface, Store> {
//    public:
//     GenericIf_(const Kob::Ptr<Store>& store, bool readOnly) : Described(store, readOnly) {}
//     static const Kob::Description& description();
//   };

#include <span>
#include <type_traits>
#include <utility>

#include "Kob/Description.h"
#include "Kob/Export.h"
#include "Kob/GenericIf.h"
#include "Kob/GenericIfException.h"
#include "Kob/GenericValue.h"
#include "Kob/PtrInterface.h"
#include "Kob/String8.h"
#include "Kob/Type.h"

namespace Kob {

/// Makes what `factory` makes from a generic list of its arguments.
template <auto factory>
[[nodiscard]] auto constructFromList(const Ptr<const GenericIf>& list,
                                     const Description& description) {
  return applyList<typename Signature<decltype(factory)>::Arguments>(
      listOf(list.get(), description.constructorRefusal), description.constructorParameters,
      shortName(description.qualifiedName), factory);
}

/// The generic interface of `Object` over `Base`, the interface of all objects, all entities or of
/// a value. `Self` is constructed from what it wraps and the read-only flag, and has
/// `static const Description& description()`.
template <class Self, class Base, class Object>
class KOB_EXPORT Described : public Base {
 public:
  [[nodiscard]] KobType* type() const override { return Object::_fwkType(); }
  void* voidPtrIs(const KobType* type) override {
    return type == Object::_fwkType() ? &instance() : Base::voidPtrIs(type);
  }
  Ptr<GenericIf> clone() override { return {new Self(wrapped(), this->readOnly())}; }
  [[nodiscard]] Ptr<const GenericIf> clone() const override { return {new Self(wrapped(), true)}; }

  [[nodiscard]] AttributeId attributeId(String8 name) const override {
    const KobAttr* const attr = Object::_fwkType()->attr(name);
    return attr != nullptr ? attr->id() : Base::attributeId(name);
  }
  [[nodiscard]] GenericIf::AttributeIteratorConst attributeIteratorConst(
      AttributeId id) const override {
    auto state = Self::description().iterate(id, &instance(), nullptr);
    if (!state) return Base::attributeIteratorConst(id);
    return {Ptr<const GenericIf>(this), id, std::move(state)};
  }
  [[nodiscard]] GenericIf::AttributeIteratorConst attributeIteratorKeyConst(
      AttributeId id, const Ptr<const GenericIf>& key) const override {
    auto state = Self::description().iterate(id, &instance(), key.get());
    if (!state) return Base::attributeIteratorKeyConst(id, key);
    if (!key) throw TypeException("kob_index");
    return {Ptr<const GenericIf>(this), id, std::move(state)};
  }
  Ptr<GenericIf> attributeOp(const GenericIf::AttributeOp& op, const Ptr<const GenericIf>& arg,
                             const Ptr<GenericIf>& value) override {
    Ptr<GenericIf> result;
    if (Self::description().operate(&instance(), this->readOnly(), op, arg, value, result)) {
      return result;
    }
    return Base::attributeOp(op, arg, value);
  }

 protected:
  using Base::Base;

  /// What is wrapped.
  [[nodiscard]] Object& instance() const noexcept {
    if constexpr (std::is_base_of_v<GenericIfPtrInterface, Base>) {
      return static_cast<Object&>(*this->object());
    } else {
      return const_cast<Object&>(this->value());
    }
  }
  /// The same, to be modified; a read-only wrapper throws ConstException.
  [[nodiscard]] Object& modified() const {
    if (this->readOnly()) throw ConstException();
    return instance();
  }

 private:
  [[nodiscard]] auto wrapped() const {
    if constexpr (std::is_base_of_v<GenericIfPtrInterface, Base>) {
      return Ptr<Object>(&instance());
    } else {
      return instance();
    }
  }
};

/// What a list constructor made; wrapped read-only where that is asked for.
[[nodiscard]] inline Ptr<GenericIf> restricted(const Ptr<GenericIf>& made, bool readOnly) {
  return readOnly ? Ptr(const_cast<GenericIf*>(std::as_const(*made).clone().get())) : made;
}

/// The type object of a class of objects that has a generic interface of its own, which can make
/// instances from lists.
template <class T>
class KOB_EXPORT DescribedObjectType : public ObjectType<T, typename T::GenericIf_> {
 public:
  explicit DescribedObjectType(KobType* base)
      : ObjectType<T, typename T::GenericIf_>(T::kobTypeName, base) {}

  using KobType::genericIf;
  Ptr<GenericIf> genericIf(const GenericIf* list, bool readOnly) override {
    return restricted(T::GenericIf_::genericIfListConstructor(Ptr(list)), readOnly);
  }
};

/// The generic interface of objects that have nothing to it but their description.
template <class Object, class Base>
class KOB_EXPORT DescribedObject final
    : public Described<DescribedObject<Object, Base>, Base, Object> {
 public:
  DescribedObject(const Ptr<Object>& object, bool readOnly)
      : Described<DescribedObject, Base, Object>(object, readOnly) {}
  static const Description& description() { return Object::kobDescription(); }
};

/// Describes the types of one source of a library: what the source's init function and its static
/// initialiser do. A constant, so that types can be asked for before constructors have run.
class KOB_EXPORT TypeInitialiser {
 public:
  /// `types` in the order in which they are described; nested types are rows of theirs.
  constexpr TypeInitialiser(const char* nameSpace,
                            std::span<const Description* const> types) noexcept
      : nameSpace_(nameSpace), types_(types) {}
  TypeInitialiser(const TypeInitialiser&) = delete;
  TypeInitialiser& operator=(const TypeInitialiser&) = delete;

  /// Describes the types; the second time, and while introspection is not active, does nothing.
  /// Makes the type object of everything that the tables name before it describes the first.
  void describe();
  /// What the loader runs: registers the names of `nodes`, finds the handles of their attributes,
  /// and describes. Returns true.
  bool load(std::span<const Description* const> nodes);

 private:
  const char* nameSpace_;
  std::span<const Description* const> types_;
  bool done_ = false;
};

/// The description of an entity that another library or a host makes: tools may read what the rows
/// name.
template <class Object>
[[nodiscard]] consteval Description describedModel(std::span<const AttributeRow> rows) {
  return {.qualifiedName = Object::kobTypeName,
          .type = Object::_fwkType,
          .instanceSize = sizeof(Object),
          .announcesGenericIf = true,
          .rows = rows};
}

}  // namespace Kob

/// The type members of a model: its type object, made on first use, and described as soon as it is
/// asked for while introspection is active.
#define KOB_MODEL_TYPE(Class, description, initialiser)                                       \
  Kob::KobType* Class::_fwkType() {                                                           \
    static constinit Kob::TypePointer pointer;                                                \
    (initialiser).describe();                                                                 \
    return pointer.get([] {},                                                                 \
                       []() -> Kob::KobType* {                                                \
                         using Wrapper = Kob::DescribedObject<Class, Kob::GenericIfEntity>;   \
                         return new Kob::ObjectType<Class, Wrapper>(kobTypeName,              \
                                                                    Kob::Entity::_fwkType()); \
                       });                                                                    \
  }                                                                                           \
  Kob::KobType* Class::fwkType() const { return _fwkType(); }                                 \
  const Kob::Description& Class::kobDescription() { return description; }                     \
  static_assert(true)
