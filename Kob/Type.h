#pragma once

// Types described at run time: what a tool needs in order to find, read, write and call what it was
// not compiled against.
//
// A description is a tree of nodes. A KobType describes a type; the attributes that are declared in
// it are KobAttr. Types and attributes are made once per process, when the library that defines
// them is loaded (Kob/Description.h), and never go away.
//
//   for (KobType* type : KobType::typeNodes())
//     for (const auto& attr : type->attrs()) std::cout << attr->name() << '\n';

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Kob/Export.h"
#include "Kob/PtrInterface.h"
#include "Kob/String8.h"

namespace Kob {

class GenericIf;
class KobType;
struct Description;

/// The two flag words of an attribute, as its type declares them. The framework keeps them for
/// tools and looks at none of their bits.
struct AttributeFlags {
  std::uint32_t first = 0;
  std::uint32_t second = 0;

  friend constexpr bool operator==(const AttributeFlags&, const AttributeFlags&) = default;
};

/// A node of the description: an attribute of a type, or (KobType) a type.
class KOB_EXPORT KobAttr : public PtrInterface {
 public:
  /// A parameter of a function, of a type's constructor or of an instantiating collection's
  /// entries.
  struct Parameter {
    Name name;
    Name typeName;
  };

  /// Kind codes that tools tell apart: attributes that can be called, and collections that make
  /// their own entries. Others are 0, or 2 for what a constructor parameter sets and for
  /// collections.
  static constexpr std::uint32_t functionKind = 8;
  static constexpr std::uint32_t instantiatingKind = 34;

  ~KobAttr() override;

  [[nodiscard]] const Name& name() const noexcept { return name_; }
  /// The type of the value, of a collection's values, or of a function's result.
  [[nodiscard]] KobType* type() const noexcept { return type_; }
  /// The type of a collection's keys; null where there are none.
  [[nodiscard]] KobType* keyType() const noexcept { return keyType_; }
  void keyTypeIs(KobType* keyType) noexcept { keyType_ = keyType; }
  [[nodiscard]] AttributeFlags flags() const noexcept { return flags_; }
  /// The number by which the attribute is operated; 0 when it has none.
  [[nodiscard]] AttributeId id() const noexcept { return id_; }
  /// The kind code, which is also the introspection flag of plainly declared attributes.
  [[nodiscard]] std::uint32_t kindCode() const noexcept { return kindCode_; }
  void kindCodeIs(std::uint32_t code) noexcept { kindCode_ = code; }

  /// The parameters, in order; parameterIs adds one.
  [[nodiscard]] const std::vector<Parameter>& parameters() const noexcept { return parameters_; }
  void parameterIs(const Name& name, const Name& typeName);

  /// The attributes that are declared in this node, in the order of their declaration.
  [[nodiscard]] const std::vector<Ptr<KobAttr>>& attrs() const noexcept { return attrs_; }
  /// The attribute of this name, or null.
  [[nodiscard]] KobAttr* attr(const Name& name) const noexcept;
  /// The attribute with this id, or null; 0 is nobody's.
  [[nodiscard]] KobAttr* attr(AttributeId id) const noexcept;
  /// Declares an attribute. REQUIRES: the name is not declared here; a second is fatal.
  KobAttr* attrIs(const Name& name, KobType* type, AttributeFlags flags, AttributeId id);
  /// Takes the attribute of this name away; does nothing when there is none.
  void attrDel(const Name& name) noexcept;

 protected:
  KobAttr(Name name, KobType* type, AttributeFlags flags, AttributeId id);

 private:
  Name name_;
  KobType* type_;
  KobType* keyType_ = nullptr;
  AttributeFlags flags_;
  AttributeId id_;
  std::uint32_t kindCode_ = 0;
  std::vector<Parameter> parameters_;
  std::vector<Ptr<KobAttr>> attrs_;
};

/// A type. As a node its name is the short one, its parameters are those of its constructor, and
/// its key type is that of the collection that a set type is.
class KOB_EXPORT KobType : public KobAttr {
 public:
  /// `base` is null where the type has none.
  KobType(Name shortName, KobType* base);
  KobType(Name shortName, KobType* base, Name qualifiedName);
  ~KobType() override;

  // The factories of generic interfaces (Kob/GenericIf.h), in slot order. Each answers null, or
  // refuses, as far as a type does not override it.

  /// Wraps an object; null when it is none of this type.
  virtual Ptr<GenericIf> genericIf_(PtrInterface* object, bool readOnly);
  /// Wraps a copy of the value at this address, which is one of this type.
  virtual Ptr<GenericIf> genericIf(const void* value, bool readOnly);
  /// Makes an instance from a generic list of its constructor's arguments and wraps it. Throws what
  /// the type's list constructor refuses with; TypeException naming the type where it has none.
  virtual Ptr<GenericIf> genericIf(const GenericIf* list, bool readOnly);
  /// Parses the text form of a value and wraps it. Throws RangeException for text that is none;
  /// TypeException naming the type where it has no text form.
  virtual Ptr<GenericIf> genericIf(const String8& text, bool readOnly);

  /// Wraps an object by its own type; null for null and for objects without a type.
  static Ptr<GenericIf> genericIf(const Ptr<PtrInterface>& object, bool readOnly);
  static Ptr<GenericIf> genericIf(const Ptr<const PtrInterface>& object);

  [[nodiscard]] KobType* base() const noexcept { return base_; }
  /// Whether this is `other` or derived from it.
  [[nodiscard]] bool isA(const KobType* other) const noexcept;

  /// Bytes of an instance; 0 until the type is described.
  [[nodiscard]] std::size_t instanceSize() const noexcept { return instanceSize_; }
  void instanceSizeIs(std::size_t bytes) noexcept { instanceSize_ = bytes; }
  /// Whether the type announced that it can be operated generically.
  [[nodiscard]] bool hasGenericIfSupport() const noexcept { return hasGenericIfSupport_; }
  void hasGenericIfSupportIs(bool supports) noexcept { hasGenericIfSupport_ = supports; }
  /// Whether a host makes instances through a factory function of the library.
  [[nodiscard]] bool hasFactory() const noexcept { return hasFactory_; }
  void hasFactoryIs(bool has) noexcept { hasFactory_ = has; }

  /// The qualified name; the short one where it was never told another.
  [[nodiscard]] const Name& qualifiedName() const noexcept { return qualifiedName_; }

  /// Registers the type under its qualified name. The same again changes nothing. REQUIRES: no
  /// other type has the name; a second is fatal.
  static void typeNodeIs(KobType* type, const Name& qualifiedName);
  /// The type that is registered under the name, or null.
  [[nodiscard]] static KobType* typeNode(const Name& qualifiedName) noexcept;
  /// Every registered type, in the order of registration.
  [[nodiscard]] static const std::vector<KobType*>& typeNodes() noexcept;

 private:
  KobType* base_;
  Name qualifiedName_;
  std::size_t instanceSize_ = 0;
  bool hasGenericIfSupport_ = false;
  bool hasFactory_ = false;
};

/// The static pointer to a type object, which is made on first use and never freed.
class KOB_EXPORT TypePointer {
 public:
  constexpr TypePointer() noexcept = default;

  /// The type object. If there is none yet, `init` is called first, which describes the type and
  /// thereby comes here again; then `make` makes the object.
  template <class Init, class Make>
  KobType* get(const Init& init, const Make& make) {
    if (type_ == nullptr) init();
    if (type_ == nullptr) typeIs(make());
    return type_;
  }

 private:
  void typeIs(KobType* type) noexcept;

  KobType* type_ = nullptr;
};

}  // namespace Kob
