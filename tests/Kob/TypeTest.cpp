// Types and attributes as nodes of the description, the registry of types, and the pointer by which
// a type object is made once.

#include "Kob/Type.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Kob/GenericIf.h"
#include "Kob/GenericIfException.h"
#include "tests/Kob/Fatal.h"
#include "tests/Kob/Mortal.h"

namespace KobTest {
namespace {

using Kob::AttributeFlags;
using Kob::GenericIf;
using Kob::KobAttr;
using Kob::KobType;
using Kob::Ptr;
using Names = std::vector<std::string>;

/// Counts the types that there are, so that their release can be seen.
class CountedType final : public KobType {
 public:
  explicit CountedType(const char* name) : KobType(name, nullptr) { ++alive; }
  ~CountedType() override { --alive; }

  static inline int alive = 0;
};

/// A type that stays, as registered types must.
KobType* stayingType(const char* shortName) {
  auto* const type = new KobType(shortName, nullptr);
  type->referencesLeak();
  return type;
}

Names namesOf(const KobAttr& node) {
  Names names;
  for (const auto& attr : node.attrs()) names.emplace_back(attr->name().charPtr());
  return names;
}

class TypeNode : public testing::Test {
 protected:
  KobAttr* attr(const char* name, Kob::AttributeId id = 0) {
    return type->attrIs(name, other.get(), {1, 2}, id);
  }

  Ptr<KobType> base{new KobType("Base", nullptr)};
  Ptr<KobType> type{new KobType("Part", base.get())};
  Ptr<KobType> other{new KobType("Other", nullptr)};
};

TEST_F(TypeNode, KnowsItsShortNameAndItsBaseAndNothingElseAtFirst) {
  EXPECT_EQ(type->name(), "Part");
  EXPECT_EQ(type->qualifiedName(), "Part");
  EXPECT_EQ(type->base(), base.get());
  EXPECT_EQ(base->base(), nullptr);
  EXPECT_EQ(type->type(), type.get());
  EXPECT_EQ(type->keyType(), nullptr);
  EXPECT_EQ(type->flags(), AttributeFlags());
  EXPECT_EQ(type->id(), 0);
  EXPECT_EQ(type->kindCode(), 0U);
  EXPECT_TRUE(type->parameters().empty());
  EXPECT_TRUE(type->attrs().empty());
  EXPECT_EQ(type->instanceSize(), 0U);
  EXPECT_FALSE(type->hasGenericIfSupport());
  EXPECT_FALSE(type->hasFactory());
}

TEST_F(TypeNode, KeepsWhatItIsTold) {
  type->instanceSizeIs(48);
  type->hasGenericIfSupportIs(true);
  type->keyTypeIs(other.get());
  EXPECT_EQ(type->instanceSize(), 48U);
  EXPECT_TRUE(type->hasGenericIfSupport());
  EXPECT_FALSE(type->hasFactory());
  EXPECT_EQ(type->keyType(), other.get());
  type->hasFactoryIs(true);
  EXPECT_TRUE(type->hasFactory());
  type->hasGenericIfSupportIs(false);
  type->hasFactoryIs(false);
  EXPECT_FALSE(type->hasGenericIfSupport());
  EXPECT_FALSE(type->hasFactory());
}

TEST_F(TypeNode, MayBeMadeWithItsQualifiedName) {
  const Ptr<KobType> nested(new KobType("Part", base.get(), "Shop::Part"));
  EXPECT_EQ(nested->name(), "Part");
  EXPECT_EQ(nested->qualifiedName(), "Shop::Part");
  EXPECT_EQ(nested->base(), base.get());
  EXPECT_EQ(nested->id(), 0);
}

TEST_F(TypeNode, IsOfItsOwnTypeAndOfThoseAbove) {
  const Ptr<KobType> derived(new KobType("Derived", type.get()));
  EXPECT_TRUE(derived->isA(derived.get()));
  EXPECT_TRUE(derived->isA(type.get()));
  EXPECT_TRUE(derived->isA(base.get()));
  EXPECT_FALSE(derived->isA(other.get()));
  EXPECT_FALSE(base->isA(type.get()));
}

TEST_F(TypeNode, ReleasesItselfAndItsAttributesUnlessItWasRegistered) {
  Ptr<KobType> counted(new CountedType("Counted"));
  const Ptr<KobAttr> kept = counted->attrIs("kept", nullptr, {}, 1);
  EXPECT_EQ(kept->references(), 2U);
  EXPECT_EQ(CountedType::alive, 1);
  counted = nullptr;
  EXPECT_EQ(CountedType::alive, 0);
  EXPECT_EQ(kept->references(), 1U);
  EXPECT_EQ(kept->name(), "kept");
}

TEST_F(TypeNode, AnAttributeIsWhatItWasDeclaredAs) {
  KobAttr* const declared = type->attrIs("weight", other.get(), {0x01A20143, 0x400}, 260);
  EXPECT_EQ(declared->name(), "weight");
  EXPECT_EQ(declared->type(), other.get());
  EXPECT_EQ(declared->keyType(), nullptr);
  EXPECT_EQ(declared->flags(), (AttributeFlags{0x01A20143, 0x400}));
  EXPECT_EQ(declared->id(), 260);
  EXPECT_EQ(declared->kindCode(), 0U);
  EXPECT_TRUE(declared->parameters().empty());
  EXPECT_TRUE(declared->attrs().empty());
}

TEST_F(TypeNode, FlagsAreEqualWhenBothWordsAre) {
  EXPECT_EQ((AttributeFlags{1, 2}), (AttributeFlags{1, 2}));
  EXPECT_NE((AttributeFlags{1, 2}), (AttributeFlags{1, 3}));
  EXPECT_NE((AttributeFlags{1, 2}), (AttributeFlags{3, 2}));
}

TEST_F(TypeNode, AnAttributeKeepsItsKeyTypeItsKindAndItsParametersInOrder) {
  KobAttr* const declared = attr("weigh");
  declared->keyTypeIs(base.get());
  declared->kindCodeIs(KobAttr::instantiatingKind);
  declared->parameterIs("parcel", "Shop::Parcel");
  declared->parameterIs("grams", "unsigned");
  EXPECT_EQ(declared->keyType(), base.get());
  EXPECT_EQ(declared->kindCode(), 34U);
  ASSERT_EQ(declared->parameters().size(), 2U);
  EXPECT_EQ(declared->parameters()[0].name, "parcel");
  EXPECT_EQ(declared->parameters()[0].typeName, "Shop::Parcel");
  EXPECT_EQ(declared->parameters()[1].name, "grams");
  EXPECT_EQ(declared->parameters()[1].typeName, "unsigned");
  EXPECT_EQ(KobAttr::functionKind, 8U);
}

TEST_F(TypeNode, AttributesStandInTheOrderOfTheirDeclaration) {
  attr("weight");
  attr("colour");
  attr("age");
  EXPECT_EQ(namesOf(*type), (Names{"weight", "colour", "age"}));
}

TEST_F(TypeNode, FindsAttributesByNameAndById) {
  KobAttr* const weight = attr("weight", 2);
  KobAttr* const colour = attr("colour", -1);
  EXPECT_EQ(type->attr("weight"), weight);
  EXPECT_EQ(type->attr("colour"), colour);
  EXPECT_EQ(type->attr("age"), nullptr);
  EXPECT_EQ(type->attr(2), weight);
  EXPECT_EQ(type->attr(-1), colour);
  EXPECT_EQ(type->attr(3), nullptr);
}

TEST_F(TypeNode, TheId0IsNobodysEvenWhereAnAttributeHasNone) {
  KobAttr* const without = attr("weight", 0);
  EXPECT_EQ(type->attr(Kob::AttributeId{0}), nullptr);
  EXPECT_EQ(type->attr("weight"), without);
}

TEST_F(TypeNode, AttributesOfTheBaseAreNotItsOwn) {
  base->attrIs("weight", nullptr, {}, 7);
  EXPECT_EQ(type->attr("weight"), nullptr);
  EXPECT_EQ(type->attr(7), nullptr);
}

TEST_F(TypeNode, DeclaringANameTwiceIsFatal) {
  attr("weight", 2);
  EXPECT_FATAL(attr("weight", 3), "Kob/Type.cpp",
               "Kob::KobAttr* Kob::KobAttr::attrIs(const Kob::Name&, Kob::KobType*, "
               "Kob::AttributeFlags, Kob::AttributeId)",
               "attr( name ) == nullptr");
}

TEST_F(TypeNode, TakingAnAttributeAwayLeavesTheOthersInTheirOrder) {
  attr("weight");
  const Ptr<KobAttr> colour = attr("colour");
  attr("age");
  type->attrDel("colour");
  EXPECT_EQ(namesOf(*type), (Names{"weight", "age"}));
  EXPECT_EQ(colour->references(), 1U) << "whoever holds it keeps it";
  type->attrDel("colour");
  EXPECT_EQ(namesOf(*type), (Names{"weight", "age"}));
  attr("colour");
  EXPECT_EQ(namesOf(*type), (Names{"weight", "age", "colour"}));
}

TEST_F(TypeNode, HasNoFactoryOfItsOwn) {
  const Ptr<Mortal> object(new Mortal);
  const int value = 0;
  const Ptr<GenericIf> list(new GenericIf::List_);
  EXPECT_EQ(type->genericIf_(object.get(), false), nullptr);
  EXPECT_EQ(type->genericIf(static_cast<const void*>(&value), false), nullptr);
  EXPECT_THROW(type->genericIf(list.get(), false), Kob::TypeException);
  EXPECT_THROW(type->genericIf(Kob::String8("1"), false), Kob::TypeException);
  try {
    type->genericIf(Kob::String8("1"), false);
  } catch (const Kob::TypeException& refusal) {
    EXPECT_EQ(refusal.message(), "Part");
  }
  try {
    type->genericIf(list.get(), false);
  } catch (const Kob::TypeException& refusal) {
    EXPECT_EQ(refusal.message(), "Part");
  }
}

// ---------------------------------------------------------------------------------------------
// Wrapping by an object's own type

/// An object of a type that it is told.
class Typed final : public Kob::PtrInterface {
 public:
  explicit Typed(KobType* type) : type_(type) {}
  KobType* fwkType() const override { return type_; }

 private:
  KobType* type_;
};

/// Wraps every object.
class WrappingType final : public KobType {
 public:
  WrappingType() : KobType("Wrapping", nullptr) {}
  Ptr<GenericIf> genericIf_(Kob::PtrInterface* object, bool readOnly) override {
    return {new Kob::GenericIfPtrInterface(Ptr(object), readOnly)};
  }
};

TEST(WrappingByTheOwnType, GivesNullForNullForNoTypeAndForATypeThatDoesNotWrap) {
  const Ptr<KobType> plain(new KobType("Plain", nullptr));
  EXPECT_EQ(KobType::genericIf(Ptr<Kob::PtrInterface>(), false), nullptr);
  EXPECT_EQ(KobType::genericIf(Ptr<const Kob::PtrInterface>()), nullptr);
  EXPECT_EQ(KobType::genericIf(Ptr<Kob::PtrInterface>(new Typed(nullptr)), false), nullptr);
  EXPECT_EQ(KobType::genericIf(Ptr<Kob::PtrInterface>(new Typed(plain.get())), false), nullptr);
}

TEST(WrappingByTheOwnType, IsAsReadOnlyAsItIsAskedForAndAlwaysForConst) {
  const Ptr<KobType> type(new WrappingType);
  const Ptr<Kob::PtrInterface> object(new Typed(type.get()));
  EXPECT_FALSE(KobType::genericIf(object, false)->readOnly());
  EXPECT_TRUE(KobType::genericIf(object, true)->readOnly());
  EXPECT_TRUE(KobType::genericIf(Ptr<const Kob::PtrInterface>(object))->readOnly());
}

// ---------------------------------------------------------------------------------------------
// The registry

/// A name that nobody else registers, however often the tests run in one process.
std::string newName() {
  static int names = 0;
  return "TypeTest::Type" + std::to_string(++names);
}

TEST(TypeRegistry, FindsATypeByItsQualifiedNameAndListsTypesInTheOrderOfRegistration) {
  KobType* const second = stayingType("Second");
  KobType* const first = stayingType("First");
  const std::string firstName = newName();
  const std::string secondName = newName();
  EXPECT_EQ(KobType::typeNode(firstName.c_str()), nullptr);
  const std::size_t before = KobType::typeNodes().size();
  KobType::typeNodeIs(first, firstName.c_str());
  KobType::typeNodeIs(second, secondName.c_str());
  ASSERT_EQ(KobType::typeNodes().size(), before + 2);
  EXPECT_EQ(KobType::typeNodes()[before], first);
  EXPECT_EQ(KobType::typeNodes()[before + 1], second);
  EXPECT_EQ(KobType::typeNode(firstName.c_str()), first);
  EXPECT_EQ(KobType::typeNode(secondName.c_str()), second);
  EXPECT_EQ(KobType::typeNode("First"), nullptr) << "the short name finds nothing";
  EXPECT_EQ(first->qualifiedName(), firstName.c_str());
  EXPECT_EQ(first->name(), "First");
}

TEST(TypeRegistry, RegisteringTheSameAgainChangesNothing) {
  KobType* const type = stayingType("Again");
  const std::string name = newName();
  KobType::typeNodeIs(type, name.c_str());
  const auto before = KobType::typeNodes();
  KobType::typeNodeIs(type, name.c_str());
  EXPECT_EQ(KobType::typeNodes(), before);
}

TEST(TypeRegistry, AnotherTypeUnderATakenNameIsFatal) {
  const Ptr<KobType> rival(new KobType("Taken", nullptr));
  const std::string name = newName();
  KobType::typeNodeIs(stayingType("Taken"), name.c_str());
  EXPECT_FATAL(KobType::typeNodeIs(rival.get(), name.c_str()), "Kob/Type.cpp",
               "static void Kob::KobType::typeNodeIs(Kob::KobType*, const Kob::Name&)",
               "typeNode( qualifiedName ) == nullptr");
}

// ---------------------------------------------------------------------------------------------
// The pointer to a type object

TEST(TypePointer, MakesTheTypeOnFirstUseAndKeepsItForever) {
  Kob::TypePointer pointer;
  int made = 0;
  int initialised = 0;
  const auto get = [&] {
    return pointer.get([&] { ++initialised; },
                       [&] {
                         ++made;
                         return new KobType("Once", nullptr);
                       });
  };
  KobType* const type = get();
  EXPECT_EQ(get(), type);
  EXPECT_EQ(made, 1);
  EXPECT_EQ(initialised, 1);
  EXPECT_EQ(type->references(), 1U);
  {
    const Ptr<KobType> passing(type);
  }
  EXPECT_EQ(get(), type) << "a passing reference does not release it";
  type->referencesDec();
}

TEST(TypePointer, TakesTheTypeThatTheInitialisationMade) {
  Kob::TypePointer pointer;
  int made = 0;
  const auto make = [&made] {
    ++made;
    return new KobType("Nested", nullptr);
  };
  KobType* inner = nullptr;
  KobType* const outer = pointer.get([&] { inner = pointer.get([] {}, make); }, make);
  EXPECT_EQ(outer, inner);
  EXPECT_EQ(made, 1);
  outer->referencesDec();
}

}  // namespace
}  // namespace KobTest
