#pragma once

// How a class publishes itself: one table of its attributes, written down once and read like
// documentation, from which everything else follows. The table drives the registration of the type
// (Kob/Introspection.h), the look-up of names, and the generic interface: which operations an
// attribute has, what they refuse, and how arguments are converted.
//
//   constexpr Kob::AttributeRow storeRows[] = {
//       // name, id, flags, kind code
//       Kob::readable<&Store::owner>("owner", 130, {0x08220109, 0x400}, 2),
//       Kob::collection<StoreParcel>("parcel", 131, {0x01A20103, 0x400}, 2),
//       Kob::function<&Store::weigh>("weigh", 132, {0x00020001, 0x400}, {"parcel"}),
//   };
//
// Types of values, keys, parameters and results are those of the C++ declarations. The rows are
// constants: a type can be asked for, and described, before any constructor of its library has run.

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Kob/Export.h"
#include "Kob/GenericIf.h"
#include "Kob/GenericIfException.h"
#include "Kob/GenericValue.h"
#include "Kob/Introspection.h"  // IWYU pragma: export
#include "Kob/PtrInterface.h"
#include "Kob/Type.h"

namespace Kob {

class AttributeCall;
struct AttributeRow;
struct Description;

/// A parameter as a table names it, with the type that its C++ declaration has.
struct ParameterRow {
  const char* name = nullptr;
  const char* typeName = nullptr;
  KobType* (*type)() = nullptr;
};
inline constexpr std::size_t maxParameters = 6;
using ParameterRows = std::array<ParameterRow, maxParameters>;

/// One row of a table: an attribute, or a nested type in the place where it is declared.
struct AttributeRow {
  const char* name = nullptr;
  AttributeId id = 0;
  AttributeFlags flags{};
  std::uint32_t kindCode = 0;
  KobType* (*type)() = nullptr;
  KobType* (*keyType)() = nullptr;
  /// Whether it is declared on its own, with parameters, in place of an inherited one.
  bool declaredAlone = false;
  ParameterRows parameters{};
  /// What operates it; null where it cannot be reached by id.
  Ptr<GenericIf> (*operate)(const AttributeCall& call) = nullptr;
  /// Begins an iteration, at the key unless it is null; null where it is no collection.
  std::unique_ptr<GenericIf::IteratorState> (*iterate)(const void* object,
                                                       const GenericIf* key) = nullptr;
  const Description* nestedType = nullptr;
};

/// What is named where a generic list is expected: when there is nothing, and when there is
/// something else.
struct ListRefusal {
  const char* missing = "Kob::GenericIf::List_";
  const char* other = "Kob::GenericIf::List_";
};

/// `arg` as a generic list; throws TypeException as `refusal` has it.
[[nodiscard]] KOB_EXPORT const GenericIf::List_& listOf(const GenericIf* arg,
                                                        const ListRefusal& refusal);
/// Throws UnknownArgumentException naming `name` when the list is longer than the parameters.
KOB_EXPORT void requireListEnd(const GenericIf::List_& list, std::size_t parameters,
                               const char* name);

/// Everything that a published type says of itself.
struct Description {
  const char* qualifiedName = nullptr;
  KobType* (*type)() = nullptr;
  std::size_t instanceSize = 0;
  /// Whether its registration announces that it can be operated generically.
  bool announcesGenericIf = false;
  ParameterRows constructorParameters{};
  /// The key type of a type that is a set or a map; null for others.
  KobType* (*keyType)() = nullptr;
  std::span<const AttributeRow> rows{};
  /// What calls, and the list constructor, name when they are not given a list.
  ListRefusal callRefusal{};
  ListRefusal constructorRefusal{};
  /// Where the handles of the registered attributes are kept, in the order of the rows; null until
  /// they are described, and for nested types. May be empty.
  std::span<KobAttr*> handles{};

  /// The row with this id that can be operated, or null.
  [[nodiscard]] KOB_EXPORT const AttributeRow* row(AttributeId id) const noexcept;
  /// The name of the attribute with this id, or null.
  [[nodiscard]] KOB_EXPORT const char* attributeName(AttributeId id) const noexcept;

  // The generic interface of an instance, as far as the description knows the attribute.

  /// Whether it did; then `result` is what the operation answered.
  KOB_EXPORT bool operate(void* object, bool readOnly, const GenericIf::AttributeOp& op,
                          const Ptr<const GenericIf>& arg, const Ptr<GenericIf>& value,
                          Ptr<GenericIf>& result) const;
  /// Null where the attribute is no collection of this type.
  [[nodiscard]] KOB_EXPORT std::unique_ptr<GenericIf::IteratorState> iterate(
      AttributeId id, const void* object, const GenericIf* key) const;
};

/// An operation of a described attribute, on its way to what it operates.
class KOB_EXPORT AttributeCall {
 public:
  AttributeCall(const Description& description, const AttributeRow& row, void* object,
                bool readOnly, unsigned operation, const Ptr<const GenericIf>& arg,
                const Ptr<GenericIf>& value)
      : description_(description),
        row_(row),
        object_(object),
        readOnly_(readOnly),
        operation_(operation),
        arg_(arg),
        value_(value) {}

  template <class Object>
  [[nodiscard]] Object& object() const noexcept {
    return *static_cast<Object*>(object_);
  }
  [[nodiscard]] const char* name() const noexcept { return row_.name; }
  [[nodiscard]] bool readOnly() const noexcept { return readOnly_; }
  [[nodiscard]] unsigned operation() const noexcept { return operation_; }
  [[nodiscard]] const ParameterRows& parameters() const noexcept { return row_.parameters; }
  [[nodiscard]] const Ptr<GenericIf>& value() const noexcept { return value_; }

  // The refusals. Each throws unless what it is named after is given.

  void requireNoIndex() const;
  void requireOperation(bool supported) const;
  /// The list of a call's arguments.
  [[nodiscard]] const GenericIf::List_& list() const;
  [[noreturn]] void refuseKey() const;
  [[noreturn]] void refuseValue() const;

  /// The key of a collection operation.
  template <class Key>
  [[nodiscard]] const Key& key() const {
    const Key* const key = valueIn<Key>(arg_.get());
    if (key == nullptr) refuseKey();
    return *key;
  }
  /// The new value of a write.
  template <class Value>
  [[nodiscard]] const Value& newValue() const {
    const Value* const value = valueIn<Value>(value_.get());
    if (value == nullptr) refuseValue();
    return *value;
  }

 private:
  const Description& description_;
  const AttributeRow& row_;
  void* object_;
  bool readOnly_;
  unsigned operation_;
  const Ptr<const GenericIf>& arg_;
  const Ptr<GenericIf>& value_;
};

/// Names the parameters of a C++ parameter list. REQUIRES: as many names as parameters; a constant
/// table with another number does not compile.
template <class... Parameters, std::size_t count>
[[nodiscard]] consteval ParameterRows parametersOf(const char* const (&names)[count]) {
  static_assert(count == sizeof...(Parameters) && count <= maxParameters);
  const ParameterRow types[] = {
      {nullptr, TypeOf<std::decay_t<Parameters>>::name, TypeOf<std::decay_t<Parameters>>::type}...};
  ParameterRows rows{};
  for (std::size_t at = 0; at < count; ++at) {
    rows[at] = types[at];
    rows[at].name = names[at];
  }
  return rows;
}

/// What a function type says.
template <class F>
struct Signature;
template <class R, class... A>
struct Signature<R (*)(A...)> {
  using Result = R;
  using Arguments = std::tuple<std::decay_t<A>...>;
  template <std::size_t count>
  static consteval ParameterRows parameters(const char* const (&names)[count]) {
    return parametersOf<A...>(names);
  }
};
template <class R, class C, class... A>
struct Signature<R (C::*)(A...)> : Signature<R (*)(A...)> {
  using Object = C;
};
template <class R, class C, class... A>
struct Signature<R (C::*)(A...) const> : Signature<R (*)(A...)> {
  using Object = C;
};
template <class R, class C, class... A>
struct Signature<R (C::*)(A...) const noexcept> : Signature<R (*)(A...)> {
  using Object = C;
};

/// The arguments of a call, converted in the order of the parameters. Throws TypeException naming
/// the first that is missing or of another type.
template <class Arguments, std::size_t... at>
[[nodiscard]] Arguments argumentsFrom(const GenericIf::List_& list, const ParameterRows& parameters,
                                      std::index_sequence<at...>) {
  [[maybe_unused]] const auto argument = [&]<std::size_t index>() {
    using Argument = std::tuple_element_t<index, Arguments>;
    const auto& elements = list.elements();
    auto converted = index < elements.size() ? FromGeneric<Argument>::from(elements[index])
                                             : std::optional<Argument>();
    if (!converted) throw TypeException(parameters[index].name);
    return *std::move(converted);
  };
  return Arguments { argument.template operator()<at>()... };
}

/// Calls `target` with the elements of a list. Throws TypeException naming the first parameter
/// whose argument is missing or of another type, then UnknownArgumentException naming `name` when
/// an argument is left.
template <class Arguments, class Target>
decltype(auto) applyList(const GenericIf::List_& list, const ParameterRows& parameters,
                         const char* name, const Target& target) {
  constexpr std::size_t count = std::tuple_size_v<Arguments>;
  const auto arguments =
      argumentsFrom<Arguments>(list, parameters, std::make_index_sequence<count>());
  requireListEnd(list, count, name);
  return std::apply(target, arguments);
}

/// Operates a value or a pointer: it can be read.
template <auto get>
Ptr<GenericIf> operateReadable(const AttributeCall& call) {
  using Object = typename Signature<decltype(get)>::Object;
  call.requireNoIndex();
  call.requireOperation(call.operation() == GenericIf::readOperation);
  return generic((call.object<const Object>().*get)(), call.readOnly());
}

/// Operates a function: it can be called.
template <auto target>
Ptr<GenericIf> operateFunction(const AttributeCall& call) {
  using Called = Signature<decltype(target)>;
  call.requireOperation(call.operation() == GenericIf::callOperation);
  const auto invoke = [&call](const auto&... arguments) {
    return (call.object<typename Called::Object>().*target)(arguments...);
  };
  const auto apply = [&] {
    return applyList<typename Called::Arguments>(call.list(), call.parameters(), call.name(),
                                                 invoke);
  };
  if constexpr (std::is_void_v<typename Called::Result>) {
    apply();
    return nullptr;
  } else {
    return generic(apply());
  }
}

/// Where an iteration over a HashMap stands.
template <class Map>
class HashMapIteratorState final : public GenericIf::IteratorState {
 public:
  explicit HashMapIteratorState(typename Map::IteratorConst place) : place_(std::move(place)) {}

  [[nodiscard]] bool nonNull() const override { return static_cast<bool>(place_); }
  void inc() override { place_.advance(); }
  [[nodiscard]] Ptr<GenericIf> key() const override { return generic(place_.key()); }
  [[nodiscard]] Ptr<GenericIf> object(bool readOnly) const override {
    return generic(*place_, readOnly);
  }
  [[nodiscard]] std::unique_ptr<IteratorState> clone() const override {
    return std::make_unique<HashMapIteratorState>(place_);
  }

 private:
  typename Map::IteratorConst place_;
};

/// The collection that `Access` reaches.
template <class Access>
using MapOf =
    std::remove_cvref_t<decltype(Access::map(std::declval<const typename Access::Object&>()))>;

/// Operates a collection. `Access` says how: `map(object)` and `read(object, key)`, and for
/// collections that can be modified `write(object, key, call)` and `del(object, key)`. A collection
/// that `walks` answers its keys one after the other.
template <class Access>
Ptr<GenericIf> operateCollection(const AttributeCall& call) {
  using Map = MapOf<Access>;
  using Key = typename Map::KeyType;
  constexpr bool modifies =
      requires(typename Access::Object& object, const Key& key) { Access::del(object, key); };
  auto& object = call.object<typename Access::Object>();
  const Map& map = Access::map(object);
  const auto keyAt = [](const auto& place) { return place ? generic(place.key()) : nullptr; };
  const auto keyAfter = [&](const Key& key) {
    typename Map::IteratorConst place(&map, key);
    if (place && place.key() == key) ++place;
    return keyAt(place);
  };
  switch (call.operation()) {
    case GenericIf::readOperation:
      return generic(Access::read(object, call.key<Key>()), call.readOnly());
    case GenericIf::countOperation:
      return generic(unsigned{map.members()});
    case GenericIf::firstKeyOperation:
      call.requireOperation(Access::walks);
      return keyAt(typename Map::IteratorConst(&map));
    case GenericIf::nextKeyOperation:
      call.requireOperation(Access::walks);
      return keyAfter(call.key<Key>());
    default:
      break;
  }
  if constexpr (modifies) {
    call.requireOperation(call.operation() == GenericIf::writeOperation ||
                          call.operation() == GenericIf::deleteOperation);
    const Key& key = call.key<Key>();
    if (call.operation() == GenericIf::writeOperation) {
      Access::write(object, key, call);
    } else {
      Access::del(object, key);
    }
  } else {
    call.requireOperation(false);
  }
  return nullptr;
}

template <class Access>
std::unique_ptr<GenericIf::IteratorState> iterateCollection(const void* object,
                                                            const GenericIf* key) {
  using Map = MapOf<Access>;
  using Key = typename Map::KeyType;
  const Map& map = Access::map(*static_cast<const typename Access::Object*>(object));
  if (key == nullptr) {
    return std::make_unique<HashMapIteratorState<Map>>(typename Map::IteratorConst(&map));
  }
  const Key* const typed = valueIn<Key>(key);
  if (typed == nullptr) throw TypeException("kob_index");
  return std::make_unique<HashMapIteratorState<Map>>(typename Map::IteratorConst(&map, *typed));
}

// The rows. Each is written out whole: clang 14 takes no function that the compiler evaluates for a
// constant inside another of them.

/// An attribute that is described but not reached by id.
template <class T>
[[nodiscard]] consteval AttributeRow described(const char* name, AttributeFlags flags,
                                               std::uint32_t kindCode) {
  return {.name = name, .flags = flags, .kindCode = kindCode, .type = TypeOf<T>::type};
}

/// A function without result that is described but not reached by id.
template <class Parameter>
[[nodiscard]] consteval AttributeRow describedFunction(const char* name, AttributeFlags flags,
                                                       const char* parameter) {
  return {.name = name,
          .flags = flags,
          .kindCode = KobAttr::functionKind,
          .type = TypeOf<void>::type,
          .declaredAlone = true,
          .parameters = parametersOf<Parameter>({parameter})};
}

/// A value or a pointer that `get`, a const member function, answers.
template <auto get>
[[nodiscard]] consteval AttributeRow readable(const char* name, AttributeId id,
                                              AttributeFlags flags, std::uint32_t kindCode) {
  using Value = typename Signature<decltype(get)>::Result;
  return {.name = name,
          .id = id,
          .flags = flags,
          .kindCode = kindCode,
          .type = TypeOf<std::decay_t<Value>>::type,
          .operate = operateReadable<get>};
}

/// A collection.
template <class Access>
[[nodiscard]] consteval AttributeRow collection(const char* name, AttributeId id,
                                                AttributeFlags flags, std::uint32_t kindCode) {
  using Map = MapOf<Access>;
  return {.name = name,
          .id = id,
          .flags = flags,
          .kindCode = kindCode,
          .type = TypeOf<typename Map::ValueType>::type,
          .keyType = TypeOf<typename Map::KeyType>::type,
          .operate = operateCollection<Access>,
          .iterate = iterateCollection<Access>};
}

/// A collection that makes its entries itself. The parameters are those that an entry is made from,
/// then the key.
template <class Access, class... Parameters, std::size_t count>
[[nodiscard]] consteval AttributeRow instantiatingCollection(
    const char* name, AttributeId id, AttributeFlags flags,
    const char* const (&parameters)[count]) {
  using Map = MapOf<Access>;
  return {.name = name,
          .id = id,
          .flags = flags,
          .kindCode = KobAttr::instantiatingKind,
          .type = TypeOf<typename Map::ValueType>::type,
          .keyType = TypeOf<typename Map::KeyType>::type,
          .declaredAlone = true,
          .parameters = parametersOf<Parameters...>(parameters),
          .operate = operateCollection<Access>,
          .iterate = iterateCollection<Access>};
}

/// A function without parameters, and one with parameters of these names.
template <auto target>
[[nodiscard]] consteval AttributeRow function(const char* name, AttributeId id,
                                              AttributeFlags flags) {
  using Result = typename Signature<decltype(target)>::Result;
  return {.name = name,
          .id = id,
          .flags = flags,
          .kindCode = KobAttr::functionKind,
          .type = TypeOf<Result>::type,
          .operate = operateFunction<target>};
}
template <auto target, std::size_t count>
[[nodiscard]] consteval AttributeRow function(const char* name, AttributeId id,
                                              AttributeFlags flags,
                                              const char* const (&parameters)[count]) {
  using Result = typename Signature<decltype(target)>::Result;
  return {.name = name,
          .id = id,
          .flags = flags,
          .kindCode = KobAttr::functionKind,
          .type = TypeOf<Result>::type,
          .declaredAlone = true,
          .parameters = Signature<decltype(target)>::parameters(parameters),
          .operate = operateFunction<target>};
}

/// A type that is declared within this one, at this place.
[[nodiscard]] consteval AttributeRow nestedType(const Description& description) {
  return {.nestedType = &description};
}

}  // namespace Kob

/// How the collection `x` of `Class` is reached, for Kob::collection: it can be looked into.
#define KOB_COLLECTION_LOOKUP(Access, Class, x)                                    \
  struct Access {                                                                  \
    using Object = Class;                                                          \
    static constexpr bool walks = true;                                            \
    static const auto& map(const Class& object) { return object.x##Collection(); } \
    static auto read(Class& object, const auto& key) { return object.x(key); }     \
  }

/// The same of a collection of values that can be modified.
#define KOB_COLLECTION_ACCESS(Access, Class, x)                                           \
  KOB_COLLECTION_LOOKUP(Access##Lookup, Class, x);                                        \
  struct Access : Access##Lookup {                                                        \
    static void write(Class& object, const auto& key, const ::Kob::AttributeCall& call) { \
      using Value = typename ::Kob::MapOf<Access##Lookup>::ValueType;                     \
      object.x##Is(key, call.newValue<Value>());                                          \
    }                                                                                     \
    static void del(Class& object, const auto& key) { object.x##Del(key); }               \
  }
