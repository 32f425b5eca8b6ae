// Values in boxes: their types, their copies, their text forms, and how an argument becomes a value
// or a pointer again.

#include "Kob/GenericValue.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>

#include "Kob/Exception.h"
#include "tests/Kob/Mortal.h"
#include "tests/Kob/Refusal.h"

namespace KobTest {

/// A value type with a text form, "3g".
class Grams {
 public:
  static constexpr const char* kobTypeName = "KobTest::Units::Grams";
  static Kob::KobType* _fwkType() { return Kob::valueType<Grams>(); }

  explicit Grams(unsigned number) : number_(number) {}
  Grams(Kob::String8::IteratorConst& position, const Kob::String8::IteratorConst& end)
      : number_(static_cast<unsigned>(Kob::strepToNumber(position, end, 1000))) {
    if (*position == 'g') ++position;
  }

  [[nodiscard]] unsigned number() const noexcept { return number_; }
  friend std::ostream& operator<<(std::ostream& stream, const Grams& grams) {
    return stream << grams.number_ << 'g';
  }

 private:
  unsigned number_;
};

/// A value type with a generic interface of its own, and an empty text form.
struct Label {
  Label() = default;
  Label(Kob::String8::IteratorConst& /*position*/, const Kob::String8::IteratorConst& /*end*/) {}

  class GenericIf_;
  static constexpr const char* kobTypeName = "Label";
  static Kob::KobType* _fwkType() { return Kob::valueType<Label>(); }
  friend std::ostream& operator<<(std::ostream& stream, const Label&) { return stream; }
};
class Label::GenericIf_ final : public Kob::GenericValue<Label> {
 public:
  using GenericValue::GenericValue;
};

/// A published class of objects, and one derived from it.
class Parcel : public Mortal {
 public:
  static constexpr const char* kobTypeName = "KobTest::Parcel";
  static Kob::KobType* _fwkType() {
    static constinit Kob::TypePointer pointer;
    return pointer.get([] {},
                       [] {
                         using Type = Kob::ObjectType<Parcel, Kob::GenericIfPtrInterface>;
                         return Kob::newType<Type>(kobTypeName, Kob::PtrInterface::_fwkType());
                       });
  }
  Kob::KobType* fwkType() const override { return _fwkType(); }
};
class Letter final : public Parcel {};

namespace {

using Kob::Builtin;
using Kob::FromGeneric;
using Kob::generic;
using Kob::GenericIf;
using Kob::GenericValue;
using Kob::KobType;
using Kob::Name;
using Kob::Ptr;
using Kob::RangeException;
using Kob::String8;
using Kob::TypeOf;
using Kob::valueIn;

/// What is refused in the text of a value.
template <class T>
std::string rangeErrorOf(const char* text) {
  try {
    TypeOf<T>::type()->genericIf(String8(text), false);
  } catch (const RangeException& refusal) {
    return refusal.what();
  }
  return "none";
}

/// The text form of the value that the text stands for.
template <class T>
std::string again(const char* text) {
  return TypeOf<T>::type()->genericIf(String8(text), false)->strRep().charPtr();
}

// ---------------------------------------------------------------------------------------------
// Boxes

TEST(BoxedValue, CarriesItsValueAndItsType) {
  const Ptr<GenericIf> box = generic(Grams(3));
  ASSERT_NE(valueIn<Grams>(box.get()), nullptr);
  EXPECT_EQ(valueIn<Grams>(box.get())->number(), 3U);
  EXPECT_EQ(box->type(), Grams::_fwkType());
  EXPECT_EQ(GenericValue<Grams>::_fwkType(), Grams::_fwkType());
  EXPECT_EQ(box->strRep(), "3g");
}

TEST(BoxedValue, IsOfNoOtherType) {
  const Ptr<GenericIf> box = generic(1U);
  EXPECT_EQ(valueIn<bool>(box.get()), nullptr);
  EXPECT_EQ(valueIn<Grams>(box.get()), nullptr);
  EXPECT_EQ(*valueIn<unsigned>(box.get()), 1U);
  EXPECT_EQ(valueIn<unsigned>(nullptr), nullptr);
}

TEST(BoxedValue, HasItsAddressAsItsOwnTypeOnly) {
  const Ptr<GenericIf> box = generic(Grams(3));
  EXPECT_EQ(box->voidPtrIs(Grams::_fwkType()), valueIn<Grams>(box.get()));
  EXPECT_EQ(box->voidPtrIs(TypeOf<bool>::type()), nullptr);
  EXPECT_EQ(box->voidPtrIs(nullptr), nullptr);
}

TEST(BoxedValue, ACloneHasAValueOfItsOwn) {
  const Ptr<GenericIf> box = generic(Grams(3));
  const auto clone = box->clone();
  const auto constClone = std::as_const(*box).clone();
  *static_cast<Grams*>(box->voidPtrIs(Grams::_fwkType())) = Grams(4);
  EXPECT_EQ(box->strRep(), "4g");
  EXPECT_EQ(clone->strRep(), "3g");
  EXPECT_EQ(constClone->strRep(), "3g");
  EXPECT_FALSE(clone->readOnly());
  EXPECT_TRUE(constClone->readOnly());
}

TEST(BoxedValue, IsAsReadOnlyAsItIsAskedFor) {
  EXPECT_FALSE(generic(1U)->readOnly());
  EXPECT_TRUE(generic(1U, true)->readOnly());
  EXPECT_TRUE(generic(1U, true)->clone()->readOnly());
}

TEST(BoxedValue, OfATypeWithAnInterfaceOfItsOwnIsThat) {
  const Ptr<GenericIf> box = generic(Label());
  EXPECT_NE(dynamic_cast<Label::GenericIf_*>(box.get()), nullptr);
  EXPECT_NE(valueIn<Label>(box.get()), nullptr);
  EXPECT_EQ(box->type()->name(), "Label");
}

TEST(BoxedValue, OfAnEnumerationIsItsNumber) {
  enum class Size : unsigned { small = 2 };
  const Ptr<GenericIf> box = generic(Size::small);
  EXPECT_EQ(*valueIn<unsigned>(box.get()), 2U);
  EXPECT_EQ(TypeOf<Size>::type(), TypeOf<unsigned>::type());
}

TEST(BoxedValue, AnObjectIsWrappedByItsType) {
  const Ptr<Parcel> parcel(new Parcel);
  EXPECT_EQ(generic(parcel)->type(), Parcel::_fwkType());
  EXPECT_EQ(generic(parcel.get())->type(), Parcel::_fwkType());
  EXPECT_FALSE(generic(parcel)->readOnly());
  EXPECT_TRUE(generic(parcel, true)->readOnly());
  EXPECT_TRUE(generic(Ptr<const Parcel>(parcel))->readOnly());
  EXPECT_EQ(generic(Ptr<Parcel>()), nullptr);
  EXPECT_EQ(generic(static_cast<Parcel*>(nullptr)), nullptr);
  EXPECT_EQ(generic(Ptr<Mortal>(new Mortal)), nullptr) << "it names no type";
}

// ---------------------------------------------------------------------------------------------
// The types of values

TEST(ValueTypes, HaveTheNamesOfTheirDeclarations) {
  EXPECT_EQ(TypeOf<bool>::type()->qualifiedName(), "bool");
  EXPECT_EQ(TypeOf<unsigned>::type()->qualifiedName(), "unsigned");
  EXPECT_EQ(TypeOf<Name>::type()->qualifiedName(), "Kob::Name");
  EXPECT_EQ(TypeOf<Name>::type()->name(), "Name");
  EXPECT_EQ(TypeOf<void>::type()->qualifiedName(), "void*");
  EXPECT_EQ(Grams::_fwkType()->qualifiedName(), "KobTest::Units::Grams");
  EXPECT_EQ(Grams::_fwkType()->name(), "Grams");
  EXPECT_EQ(Grams::_fwkType()->base(), nullptr);
}

TEST(ValueTypes, AreRegisteredAndMadeOnce) {
  ASSERT_NE(TypeOf<Name>::type(), nullptr);  // Made when they are first asked for.
  ASSERT_NE(Builtin<unsigned>::_fwkType(), Builtin<bool>::_fwkType());
  ASSERT_NE(TypeOf<void*>::type(), nullptr);
  for (const char* const name : {"bool", "unsigned", "Kob::Name", "void*"}) {
    KobType* const type = KobType::typeNode(name);
    ASSERT_NE(type, nullptr) << name;
    EXPECT_EQ(type->references(), 1U) << name;
  }
  EXPECT_EQ(KobType::typeNode("bool"), Builtin<bool>::_fwkType());
  EXPECT_EQ(KobType::typeNode("unsigned"), Builtin<unsigned>::_fwkType());
  EXPECT_EQ(KobType::typeNode("void*"), TypeOf<void*>::type());
}

TEST(ValueTypes, ConstReferencesAndPointersStandForWhatTheyPointTo) {
  EXPECT_EQ(TypeOf<const Grams>::type(), Grams::_fwkType());
  EXPECT_EQ(TypeOf<const Grams&>::type(), Grams::_fwkType());
  EXPECT_EQ(TypeOf<Parcel*>::type(), Parcel::_fwkType());
  EXPECT_EQ(TypeOf<Ptr<const Parcel>>::type(), Parcel::_fwkType());
  EXPECT_EQ(TypeOf<Ptr<const Parcel>>::name, std::string("KobTest::Parcel"));
}

TEST(ValueTypes, TheShortNameIsWhatComesAfterTheLastColon) {
  EXPECT_EQ(Kob::shortName("A::B::C"), std::string("C"));
  EXPECT_EQ(Kob::shortName("bool"), std::string("bool"));
  EXPECT_EQ(Kob::shortName(""), std::string());
}

TEST(ValueTypes, BoxACopyOfTheValueAtAnAddress) {
  Grams grams(3);
  const auto box = Grams::_fwkType()->genericIf(static_cast<const void*>(&grams), true);
  grams = Grams(4);
  EXPECT_EQ(box->strRep(), "3g");
  EXPECT_TRUE(box->readOnly());
}

TEST(ValueTypes, AreMadeOfNoListAndWrapNoObject) {
  const Ptr<GenericIf> list(new GenericIf::List_);
  EXPECT_EQ(refusalOf([&] { return Grams::_fwkType()->genericIf(list.get(), false); }),
            "TypeException: Grams");
  const Ptr<Mortal> object(new Mortal);
  EXPECT_EQ(Grams::_fwkType()->genericIf_(object.get(), false), nullptr);
}

TEST(ValueTypes, ThatOfNothingMakesNothing) {
  EXPECT_EQ(refusalOf([] { return TypeOf<void>::type()->genericIf(String8("0"), false); }),
            "TypeException: void*");
}

// ---------------------------------------------------------------------------------------------
// Text forms

TEST(ValueText, OfABoolIsTrueOrFalse) {
  EXPECT_EQ(generic(true)->strRep(), "true");
  EXPECT_EQ(generic(false)->strRep(), "false");
  EXPECT_EQ(again<bool>("true"), "true");
  EXPECT_EQ(again<bool>("false"), "false");
  for (const char* const text : {"", "1", "True", "true ", "falsee"}) {
    EXPECT_EQ(rangeErrorOf<bool>(text), "bool is neither true nor false") << text;
  }
}

TEST(ValueText, OfANumberIsItsDecimal) {
  EXPECT_EQ(generic(0U)->strRep(), "0");
  EXPECT_EQ(generic(4294967295U)->strRep(), "4294967295");
  EXPECT_EQ(again<unsigned>("0"), "0");
  EXPECT_EQ(again<unsigned>("4294967295"), "4294967295");
  EXPECT_EQ(again<unsigned>("0xFFFFFFFF"), "4294967295");
  EXPECT_EQ(rangeErrorOf<unsigned>("4294967296"), "number at column 0 is greater than 4294967295");
  EXPECT_EQ(rangeErrorOf<unsigned>("-1"), "no number at column 0");
  EXPECT_EQ(rangeErrorOf<unsigned>("1 2"), "junk at column 1 deserializing 1 2");
}

TEST(ValueText, OfANameIsTheNameWhateverIsInIt) {
  for (const char* const name : {"", "Ethernet1", "a name, with blanks"}) {
    EXPECT_EQ(generic(Name(name))->strRep(), name);
    EXPECT_EQ(again<Name>(name), name);
  }
}

TEST(ValueText, OfAValueTypeIsWhatItPrintsAndParses) {
  EXPECT_EQ(again<Grams>("12g"), "12g");
  EXPECT_EQ(again<Grams>(generic(Grams(1000))->strRep().charPtr()), "1000g");
  EXPECT_EQ(rangeErrorOf<Grams>("12kg"), "junk at column 2 deserializing 12kg");
  EXPECT_EQ(rangeErrorOf<Grams>("1001"), "number at column 0 is greater than 1000");
}

TEST(ValueText, IsParsedIntoABoxThatIsAsReadOnlyAsItIsAskedFor) {
  EXPECT_TRUE(Grams::_fwkType()->genericIf(String8("1g"), true)->readOnly());
  EXPECT_FALSE(Grams::_fwkType()->genericIf(String8("1g"), false)->readOnly());
}

// ---------------------------------------------------------------------------------------------
// Arguments

TEST(Argument, AValueIsTakenFromABoxOfItsTypeOnly) {
  EXPECT_EQ(FromGeneric<unsigned>::from(generic(7U)), std::optional(7U));
  EXPECT_EQ(FromGeneric<unsigned>::from(generic(7U, true)), std::optional(7U));
  EXPECT_EQ(FromGeneric<unsigned>::from(generic(true)), std::nullopt);
  EXPECT_EQ(FromGeneric<unsigned>::from(nullptr), std::nullopt) << "null is no value";
  EXPECT_EQ(FromGeneric<unsigned>::from(Ptr<GenericIf>(new GenericIf::List_)), std::nullopt);
}

TEST(Argument, APointerIsTakenFromTheWrapperOfAnObjectOfItsType) {
  const Ptr<Parcel> parcel(new Parcel);
  const Ptr<Parcel> letter(new Letter);
  EXPECT_EQ(FromGeneric<Ptr<Parcel>>::from(generic(parcel)), std::optional(parcel));
  EXPECT_EQ(FromGeneric<Ptr<Parcel>>::from(generic(letter)), std::optional(letter));
  EXPECT_EQ(FromGeneric<Ptr<Letter>>::from(generic(parcel)), std::nullopt);
  EXPECT_EQ(FromGeneric<Ptr<Parcel>>::from(generic(7U)), std::nullopt);
}

TEST(Argument, NullIsANullPointer) {
  EXPECT_EQ(FromGeneric<Ptr<Parcel>>::from(nullptr), std::optional(Ptr<Parcel>()));
  EXPECT_EQ(FromGeneric<Ptr<const Parcel>>::from(nullptr), std::optional(Ptr<const Parcel>()));
}

TEST(Argument, AnObjectThatIsWrappedReadOnlyBecomesAPointerToConstOnly) {
  const Ptr<Parcel> parcel(new Parcel);
  EXPECT_EQ(FromGeneric<Ptr<Parcel>>::from(generic(parcel, true)), std::nullopt);
  EXPECT_EQ(FromGeneric<Ptr<const Parcel>>::from(generic(parcel, true)),
            std::optional(Ptr<const Parcel>(parcel)));
  EXPECT_EQ(FromGeneric<Ptr<const Parcel>>::from(generic(parcel)),
            std::optional(Ptr<const Parcel>(parcel)));
}

}  // namespace
}  // namespace KobTest
