#pragma once

// Generic interfaces of values: a value in a box, with its type.
//
//   Ptr<GenericIf> boxed = generic(Plexo::IntfId("Ethernet4"));
//   const Plexo::IntfId* intfId = valueIn<Plexo::IntfId>(boxed.get());
//
// A value type T publishes itself with
//
//   static constexpr const char* kobTypeName = "Plexo::IntfId";
//   static Kob::KobType* _fwkType();     // { return Kob::valueType<IntfId>(); }
//
// an `operator<<`, and a constructor that parses what that prints (Kob/Strep.h). Builtin types have
// both here: bool prints as "true" and "false", numbers as decimals.

#include <ios>
#include <memory>
#include <optional>
#include <sstream>
#include <string_view>
#include <type_traits>
#include <utility>

#include "Kob/Export.h"
#include "Kob/GenericIf.h"
#include "Kob/PtrInterface.h"
#include "Kob/Strep.h"
#include "Kob/String8.h"
#include "Kob/Type.h"

namespace Kob {

/// The name and the type object of a C++ type. Pointers stand for what they point to, enumerations
/// for their numbers.
template <class T>
struct TypeOf {
  static constexpr const char* name = T::kobTypeName;
  static KobType* type() { return T::_fwkType(); }
};
template <class T>
  requires std::is_enum_v<T>
struct TypeOf<T> : TypeOf<std::underlying_type_t<T>> {};
template <class T>
struct TypeOf<const T> : TypeOf<T> {};
template <class T>
struct TypeOf<const T&> : TypeOf<T> {};
template <class T>
struct TypeOf<T*> : TypeOf<T> {};
template <class T>
struct TypeOf<Ptr<T>> : TypeOf<T> {};

/// The unqualified part of a type's name.
[[nodiscard]] constexpr const char* shortName(const char* qualifiedName) noexcept {
  const std::string_view name = qualifiedName;
  const auto colon = name.rfind(':');
  return colon == std::string_view::npos ? qualifiedName : qualifiedName + colon + 1;
}

/// A boxed value. Its copy is its own: changing it changes nothing else.
template <class T>
class KOB_EXPORT GenericValue : public GenericIf {
 public:
  explicit GenericValue(T value, bool readOnly = false)
      : GenericIf(readOnly), value_(std::move(value)) {}

  static KobType* _fwkType() { return TypeOf<T>::type(); }

  [[nodiscard]] const T& value() const noexcept { return value_; }

  KobType* type() const override { return TypeOf<T>::type(); }
  void* voidPtrIs(const KobType* type) override {
    return type == TypeOf<T>::type() ? &value_ : nullptr;
  }
  Ptr<GenericIf> clone() override { return {new GenericValue(value_, readOnly())}; }
  Ptr<const GenericIf> clone() const override { return {new GenericValue(value_, true)}; }
  String8 strRep() const override {
    std::ostringstream text;
    text.exceptions(std::ios_base::badbit);  // Out of memory, a text is not cut short.
    text << std::boolalpha << value_;
    return String8(text.view());
  }

 protected:
  [[nodiscard]] T& value() noexcept { return value_; }

 private:
  T value_;
};

/// Boxes of the language's own types.
template <class T>
using Builtin = GenericValue<T>;

template <>
struct KOB_EXPORT TypeOf<bool> {
  static constexpr const char* name = "bool";
  static KobType* type();
};
template <>
struct KOB_EXPORT TypeOf<unsigned> {
  static constexpr const char* name = "unsigned";
  static KobType* type();
};
/// What a function without a result has as its type. There is no value of it.
template <>
struct KOB_EXPORT TypeOf<void> {
  static constexpr const char* name = "void*";
  static KobType* type();
};
template <>
struct KOB_EXPORT TypeOf<void*> : TypeOf<void> {};
template <>
struct KOB_EXPORT TypeOf<String8> {
  static constexpr const char* name = "Kob::Name";
  static KobType* type();
};

/// The box of a value: the type's own generic interface, where it has one.
template <class T>
struct BoxOf {
  using type = GenericValue<T>;
};
template <class T>
  requires requires { typename T::GenericIf_; }
struct BoxOf<T> {
  using type = typename T::GenericIf_;
};

/// Boxes a value, or wraps an object by its own type (null for null). Objects that are const are
/// wrapped read-only whatever `readOnly` says.
template <class T>
[[nodiscard]] Ptr<GenericIf> generic(const T& value, bool readOnly = false) {
  if constexpr (std::is_enum_v<T>) {
    return generic(static_cast<std::underlying_type_t<T>>(value), readOnly);
  } else if constexpr (std::is_pointer_v<T>) {
    return generic(Ptr<std::remove_pointer_t<T>>(value), readOnly);
  } else {
    return {new typename BoxOf<T>::type(value, readOnly)};
  }
}
template <class T>
[[nodiscard]] Ptr<GenericIf> generic(const Ptr<T>& object, bool readOnly = false) {
  if constexpr (std::is_const_v<T>) {
    return KobType::genericIf(Ptr<const PtrInterface>(object));
  } else {
    return KobType::genericIf(Ptr<PtrInterface>(object), readOnly);
  }
}

/// The value in a box; null when there is no box, or one of another type.
template <class T>
[[nodiscard]] const T* valueIn(const GenericIf* box) noexcept {
  const auto* const typed = dynamic_cast<const GenericValue<T>*>(box);
  return typed != nullptr ? &typed->value() : nullptr;
}

/// What `from` holds, as the C++ type of a parameter: a value, or a pointer to a wrapped object. No
/// value when it is of another type. A null interface is a null pointer, and no value. An object
/// that is wrapped read-only can only become a pointer to const.
template <class T>
struct FromGeneric {
  static std::optional<T> from(const Ptr<GenericIf>& box) {
    const T* const value = valueIn<T>(box.get());
    return value != nullptr ? std::optional<T>(*value) : std::nullopt;
  }
};
template <class T>
struct FromGeneric<Ptr<T>> {
  static std::optional<Ptr<T>> from(const Ptr<GenericIf>& wrapper) {
    if (!wrapper) return Ptr<T>();
    auto* const typed = dynamic_cast<GenericIfPtrInterface*>(wrapper.get());
    if (typed == nullptr) return std::nullopt;
    using Wrapper =
        std::conditional_t<std::is_const_v<T>, const GenericIfPtrInterface, GenericIfPtrInterface>;
    const auto object = dynamicCast<T>(static_cast<Wrapper*>(typed)->obj());
    return object ? std::optional(object) : std::nullopt;
  }
};

/// The type object of a value type: boxes values, and parses them where the type can.
template <class T>
class KOB_EXPORT ValueType : public KobType {
 public:
  explicit ValueType(const char* qualifiedName)
      : KobType(shortName(qualifiedName), nullptr, qualifiedName) {}

  using KobType::genericIf;
  Ptr<GenericIf> genericIf(const void* value, bool readOnly) override {
    return generic(*static_cast<const T*>(value), readOnly);
  }
  Ptr<GenericIf> genericIf(const String8& text, bool readOnly) override {
    return generic(strepToValue(text, static_cast<T*>(nullptr)), readOnly);
  }
};

/// The type object of a class of objects. `Wrapper` is constructed from an object and the read-only
/// flag.
template <class T, class Wrapper>
class KOB_EXPORT ObjectType : public KobType {
 public:
  ObjectType(const char* qualifiedName, KobType* base)
      : KobType(shortName(qualifiedName), base, qualifiedName) {}

  Ptr<GenericIf> genericIf_(PtrInterface* object, bool readOnly) override {
    T* const typed = dynamic_cast<T*>(object);
    return typed != nullptr ? Ptr<GenericIf>(new Wrapper(Ptr<T>(typed), readOnly)) : nullptr;
  }
};

/// The type object of something that nothing can be made of.
class PlainType : public KobType {
 public:
  explicit PlainType(const char* qualifiedName)
      : KobType(shortName(qualifiedName), nullptr, qualifiedName) {}
};

/// Makes a type object and registers its name.
template <class Type, class... Arguments>
[[nodiscard]] KobType* newType(const char* qualifiedName, Arguments... arguments) {
  std::unique_ptr<Type> type(new Type(qualifiedName, arguments...));
  KobType::typeNodeIs(type.get(), qualifiedName);
  return type.release();
}

/// The type object of the value type T, made on first use.
template <class T>
[[nodiscard]] KobType* valueType() {
  static constinit TypePointer pointer;
  return pointer.get([] {}, [] { return newType<ValueType<T>>(TypeOf<T>::name); });
}

template <>
KOB_EXPORT bool strepToValue(const String8& text, bool* selectsType);
template <>
KOB_EXPORT unsigned strepToValue(const String8& text, unsigned* selectsType);
template <>
KOB_EXPORT String8 strepToValue(const String8& text, String8* selectsType);

}  // namespace Kob
