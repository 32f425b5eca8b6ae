// What describing a type registers: in which order, with what, and when.

#include "Kob/Described.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "tests/Kob/Mortal.h"
#include "tests/Kob/Observer.h"
#include "tests/Kob/Shop.h"

namespace KobTest {
namespace {

using Kob::AttributeRow;
using Kob::Description;
using Kob::KobAttr;
using Kob::KobType;
using Kob::Ptr;
using Kob::TypeInitialiser;
using Names = std::vector<std::string>;

/// What an observer hears that is set now: all that was described so far.
Heard allDescribed() {
  const IntrospectionGuard guard;
  const Ptr<WritingObserver> observer(new WritingObserver);
  guard.reactor->observerIs(observer);
  return observer->heard;
}

// ---------------------------------------------------------------------------------------------
// What a table registers

class DescriptionOfAShop : public testing::Test {
 protected:
  static const KobAttr& attr(const char* name) { return *Shop::_fwkType()->attr(name); }
  static Names parametersOf(const KobAttr& node) {
    Names parameters;
    for (const auto& parameter : node.parameters()) {
      parameters.push_back(std::string(parameter.name.charPtr()) + " " +
                           parameter.typeName.charPtr());
    }
    return parameters;
  }
};

TEST_F(DescriptionOfAShop, IsHeardInTheOrderOfTheRowsWithTheNestedTypeInItsPlace) {
  KobType* const type = Shop::_fwkType();
  const Heard heard = allDescribed();
  const auto begin = std::find(heard.begin(), heard.end(), "namespace KobTest");
  const Heard expected{"namespace KobTest",
                       "type KobTest::Shop : Kob::Entity",
                       "plain Shop.kobFwkActivity",
                       "plain Shop.size",
                       "plain Shop.clerk",
                       "type KobTest::Shop::Shelf",
                       "plain Shelf.member",
                       "end",
                       "plain Shop.price",
                       "plain Shop.shelf",
                       "plain Shop.priceList",
                       "attr Shop.offer",
                       "attr end",
                       "attr Shop.cost",
                       "attr end",
                       "attr Shop.hire",
                       "attr end",
                       "attr Shop.employs",
                       "attr end",
                       "plain Shop.close",
                       "attr Shop.hasNotificationActiveIs",
                       "attr end",
                       "end",
                       "end"};
  const auto length = static_cast<std::ptrdiff_t>(expected.size());
  ASSERT_GE(heard.end() - begin, length);
  EXPECT_EQ(Heard(begin, begin + length), expected);
  EXPECT_EQ(std::count(heard.begin(), heard.end(), "namespace KobTest"), 1);
  EXPECT_EQ(type->base(), Kob::Entity::_fwkType());
}

TEST_F(DescriptionOfAShop, TheTypeKnowsItsSizeItsSupportAndItsConstructorsParameters) {
  const KobType* const type = Shop::_fwkType();
  EXPECT_EQ(type->instanceSize(), sizeof(Shop));
  EXPECT_FALSE(type->hasGenericIfSupport()) << "it is announced where the description says so";
  EXPECT_EQ(type->keyType(), nullptr);
  EXPECT_EQ(parametersOf(*type), (Names{"name Kob::Name", "size unsigned"}));
}

TEST_F(DescriptionOfAShop, TheNestedTypeKnowsItsKeyTypeAndAnnouncesItsSupport) {
  const KobType* const type = Shop::Shelf::_fwkType();
  EXPECT_EQ(type->instanceSize(), sizeof(Shop::Shelf));
  EXPECT_TRUE(type->hasGenericIfSupport());
  EXPECT_EQ(type->keyType(), Kob::TypeOf<Kob::Name>::type());
  EXPECT_EQ(type->base(), nullptr);
  EXPECT_TRUE(type->parameters().empty());
  EXPECT_EQ(type->attr("member")->type(), Kob::TypeOf<bool>::type());
  EXPECT_EQ(type->attr("member")->keyType(), Kob::TypeOf<Kob::Name>::type());
}

TEST_F(DescriptionOfAShop, AnAttributeHasTheIdTheFlagsAndTheKindOfItsRow) {
  EXPECT_EQ(attr("size").id(), 258);
  EXPECT_EQ(attr("size").flags(), (Kob::AttributeFlags{0x109, 0x401}));
  EXPECT_EQ(attr("size").kindCode(), 2U);
  EXPECT_EQ(attr("clerk").kindCode(), 0U);
  EXPECT_EQ(attr("price").id(), 260);
  EXPECT_EQ(attr("price").kindCode(), 2U);
  EXPECT_EQ(attr("offer").flags(), (Kob::AttributeFlags{0x103, 0x406}));
  EXPECT_EQ(attr("offer").kindCode(), 34U);
  EXPECT_EQ(attr("cost").kindCode(), 8U);
  EXPECT_EQ(attr("close").kindCode(), 8U);
  EXPECT_EQ(attr("kobFwkActivity").id(), 0);
  EXPECT_EQ(attr("hasNotificationActiveIs").id(), 0);
  EXPECT_EQ(attr("hasNotificationActiveIs").kindCode(), 8U);
}

TEST_F(DescriptionOfAShop, AnAttributeHasTheTypesOfTheDeclarations) {
  EXPECT_EQ(attr("kobFwkActivity").type(), Kob::ActivityConfig::_fwkType());
  EXPECT_EQ(attr("size").type(), Kob::TypeOf<unsigned>::type());
  EXPECT_EQ(attr("size").keyType(), nullptr);
  EXPECT_EQ(attr("clerk").type(), Clerk::_fwkType());
  EXPECT_EQ(attr("price").type(), Kob::TypeOf<unsigned>::type());
  EXPECT_EQ(attr("price").keyType(), Kob::TypeOf<Kob::Name>::type());
  EXPECT_EQ(attr("shelf").type(), Shop::Shelf::_fwkType());
  EXPECT_EQ(attr("shelf").keyType(), Kob::TypeOf<unsigned>::type());
  EXPECT_EQ(attr("offer").keyType(), Kob::TypeOf<Kob::Name>::type());
  EXPECT_EQ(attr("cost").type(), Kob::TypeOf<unsigned>::type());
  EXPECT_EQ(attr("cost").keyType(), nullptr);
  EXPECT_EQ(attr("employs").type(), Kob::TypeOf<bool>::type());
  EXPECT_EQ(attr("hire").type(), Kob::TypeOf<void>::type());
  EXPECT_EQ(attr("close").type(), Kob::TypeOf<void>::type());
  EXPECT_EQ(attr("hasNotificationActiveIs").type(), Kob::TypeOf<void>::type());
}

TEST_F(DescriptionOfAShop, AnAttributeHasTheParametersOfItsRow) {
  EXPECT_EQ(parametersOf(attr("offer")), (Names{"amount unsigned", "good Kob::Name"}));
  EXPECT_EQ(parametersOf(attr("cost")), (Names{"good Kob::Name", "pieces unsigned"}));
  EXPECT_EQ(parametersOf(attr("hire")), (Names{"clerk KobTest::Clerk"}));
  EXPECT_EQ(parametersOf(attr("employs")), (Names{"clerk KobTest::Clerk"}));
  EXPECT_EQ(parametersOf(attr("hasNotificationActiveIs")), (Names{"active bool"}));
  EXPECT_EQ(parametersOf(attr("close")), Names());
}

TEST_F(DescriptionOfAShop, TheHandlesStandInTheOrderOfTheRowsWithNoneForTheNestedType) {
  Shop::_fwkType();
  ASSERT_EQ(std::size(shopHandles), std::size(shopRows));
  for (std::size_t at = 0; at < std::size(shopRows); ++at) {
    const char* const name = shopRows[at].name;
    EXPECT_EQ(shopHandles[at], name != nullptr ? &attr(name) : nullptr) << at;
  }
  EXPECT_EQ(shopHandles[3], nullptr);
  EXPECT_NE(shopHandles[2], nullptr);
}

TEST_F(DescriptionOfAShop, NamesTheAttributesThatAreReachedById) {
  EXPECT_STREQ(shopDescription.attributeName(258), "size");
  EXPECT_STREQ(shopDescription.attributeName(267), "close");
  EXPECT_EQ(shopDescription.attributeName(2), nullptr) << "that of another type";
  EXPECT_EQ(shopDescription.attributeName(0), nullptr) << "those without id are not reached by 0";
  EXPECT_EQ(shopDescription.row(0), nullptr);
  EXPECT_EQ(shopDescription.row(258), &shopRows[1]);
  EXPECT_EQ(shopDescription.row(9999), nullptr);
}

// ---------------------------------------------------------------------------------------------
// When it is registered: with a type that is new in each test

class Crate : public Mortal {
 public:
  [[nodiscard]] unsigned weight() const noexcept { return 1; }
  void open() {}
};

class NewDescription : public testing::Test {
 protected:
  NewDescription() {
    pointer = Kob::TypePointer();
    initialiser = &own;
    typesMade = 0;
    name = "KobTest::Crate" + std::to_string(++crates);
    description.qualifiedName = name.c_str();
  }

  static KobType* type() {
    return pointer.get([] { initialiser->describe(); },
                       [] {
                         ++typesMade;
                         return new KobType("Crate", Kob::Entity::_fwkType(), name.c_str());
                       });
  }
  /// The lines that tell of the crate.
  Heard described() const {
    return {"namespace Depot",
            "type " + name + " : Kob::Entity",
            "plain Crate.weight",
            "attr Crate.open",
            "attr end",
            "end",
            "end"};
  }
  Heard heard() { return observer->taken(); }

  static inline Kob::TypePointer pointer;
  static inline TypeInitialiser* initialiser = nullptr;
  static inline int typesMade = 0;
  static inline int crates = 0;
  static inline std::string name;

  static constexpr AttributeRow rows[] = {
      Kob::readable<&Crate::weight>("weight", 258, {1, 2}, 2),
      [] {
        AttributeRow row = Kob::function<&Crate::open>("open", 259, {3, 4});
        row.declaredAlone = true;
        return row;
      }(),
  };
  KobAttr* handles[2] = {};
  Description description{
      .type = type, .instanceSize = sizeof(Crate), .rows = rows, .handles = handles};
  const Description* types[1] = {&description};
  TypeInitialiser own{"Depot", types};
  IntrospectionGuard guard;
  Ptr<WritingObserver> observer = [this] {
    Ptr<WritingObserver> made(new WritingObserver);
    guard.reactor->observerIs(made);
    made->taken();
    return made;
  }();
};

TEST_F(NewDescription, IsRegisteredOnceHoweverOftenItIsAskedFor) {
  own.describe();
  EXPECT_EQ(heard(), described());
  EXPECT_EQ(type()->attrs().size(), 2U);
  own.describe();
  EXPECT_EQ(heard(), Heard());
  EXPECT_EQ(type()->attrs().size(), 2U);
  EXPECT_EQ(typesMade, 1);
}

TEST_F(NewDescription, IsRegisteredWhenTheTypeIsAskedFor) {
  KobType* const asked = type();
  EXPECT_EQ(heard(), described());
  EXPECT_EQ(asked->attrs().size(), 2U);
  EXPECT_EQ(type(), asked);
  EXPECT_EQ(heard(), Heard());
  EXPECT_EQ(typesMade, 1);
}

TEST_F(NewDescription, AnnouncesTheTypeBeforeWhatIsToldOfIt) {
  std::size_t sizeWhenHeard = 1;
  observer->whenHeard = [&](const std::string& line) {
    if (line.starts_with("type ")) sizeWhenHeard = type()->instanceSize();
  };
  own.describe();
  EXPECT_EQ(sizeWhenHeard, 0U);
  EXPECT_EQ(type()->instanceSize(), sizeof(Crate));
}

TEST_F(NewDescription, FillsTheHandles) {
  EXPECT_EQ(handles[0], nullptr);
  own.describe();
  EXPECT_EQ(handles[0], type()->attr("weight"));
  EXPECT_EQ(handles[1], type()->attr("open"));
  EXPECT_NE(handles[0], nullptr);
  EXPECT_NE(handles[1], nullptr);
}

TEST_F(NewDescription, WaitsWhileIntrospectionIsNotActiveAndIsRegisteredOnALaterCall) {
  guard.reactor->activeIs(false);
  own.describe();
  KobType* const undescribed = type();
  ASSERT_NE(undescribed, nullptr);
  EXPECT_EQ(heard(), Heard());
  EXPECT_TRUE(undescribed->attrs().empty());
  EXPECT_EQ(undescribed->instanceSize(), 0U);
  EXPECT_EQ(undescribed->name(), "Crate");
  EXPECT_EQ(undescribed->base(), Kob::Entity::_fwkType());
  EXPECT_EQ(handles[0], nullptr);
  guard.reactor->activeIs(true);
  EXPECT_TRUE(type()->attrs().empty()) << "the type exists: asking for it describes nothing";
  own.describe();
  EXPECT_EQ(heard(), described());
  EXPECT_EQ(type(), undescribed);
  EXPECT_EQ(undescribed->attrs().size(), 2U);
  EXPECT_EQ(undescribed->instanceSize(), sizeof(Crate));
  EXPECT_EQ(handles[1], undescribed->attr("open"));
}

TEST_F(NewDescription, LoadingRegistersTheNameAndDescribes) {
  EXPECT_TRUE(own.load(types));
  EXPECT_EQ(KobType::typeNode(name.c_str()), type());
  EXPECT_EQ(KobType::typeNodes().back(), type());
  EXPECT_EQ(heard(), described());
  EXPECT_EQ(handles[0], type()->attr("weight"));
  const std::size_t registered = KobType::typeNodes().size();
  EXPECT_TRUE(own.load(types));
  EXPECT_EQ(heard(), Heard());
  EXPECT_EQ(KobType::typeNodes().size(), registered);
}

TEST_F(NewDescription, LoadingWhileIntrospectionIsNotActiveRegistersTheNameAlone) {
  guard.reactor->activeIs(false);
  EXPECT_TRUE(own.load(types));
  EXPECT_EQ(KobType::typeNode(name.c_str()), type());
  EXPECT_EQ(heard(), Heard());
  EXPECT_TRUE(type()->attrs().empty());
  EXPECT_EQ(handles[0], nullptr);
  guard.reactor->activeIs(true);
  own.describe();
  EXPECT_EQ(heard(), described());
  EXPECT_EQ(handles[0], type()->attr("weight"));
}

TEST_F(NewDescription, AnAttributeThatIsDeclaredAloneTakesThePlaceOfAnInheritedOne) {
  guard.reactor->activeIs(false);
  type()->attrIs("open", nullptr, {}, 7);
  guard.reactor->activeIs(true);
  own.describe();
  ASSERT_EQ(type()->attrs().size(), 2U);
  EXPECT_EQ(type()->attr("open")->id(), 259);
  EXPECT_EQ(type()->attr("open")->type(), Kob::TypeOf<void>::type());
  EXPECT_EQ(type()->attrs()[1], type()->attr("open"));
  EXPECT_EQ(type()->attr(7), nullptr);
}

/// A type that makes itself known when it is first asked for. Each test has its own, which stays.
Kob::TypePointer innerPointer;
KobType* innerType() {
  static auto& made = *new std::vector<Ptr<KobType>>;
  return innerPointer.get([] { Kob::IntrospectionReactor::global()->handleNameSpace("Inner"); },
                          [] { return made.emplace_back(new KobType("Inner", nullptr)).get(); });
}

class TypesThatADescriptionNames : public NewDescription {
 protected:
  TypesThatADescriptionNames() {
    innerPointer = Kob::TypePointer();
    description.rows = {};
    description.handles = {};
  }
  /// The inner type is known before anything of the crate is told.
  void expectInnerFirst() {
    own.describe();
    const Heard all = heard();
    ASSERT_GE(all.size(), 4U);
    EXPECT_EQ(Heard(all.begin(), all.begin() + 3),
              (Heard{"namespace Inner", "namespace Depot", "type " + name + " : Kob::Entity"}));
    EXPECT_EQ(std::count(all.begin(), all.end(), "namespace Inner"), 1);
    EXPECT_EQ(lastOf(all, 2), (Heard{"end", "end"}));
  }
};

TEST_F(TypesThatADescriptionNames, AreMadeFirstWhenAnAttributeIsOfThem) {
  const AttributeRow inner[] = {{.name = "inner", .type = innerType}};
  description.rows = inner;
  expectInnerFirst();
  EXPECT_EQ(type()->attr("inner")->type(), innerType());
}

TEST_F(TypesThatADescriptionNames, AreMadeFirstWhenACollectionHasThemAsKeys) {
  const AttributeRow inner[] = {
      {.name = "inner", .type = Kob::TypeOf<bool>::type, .keyType = innerType}};
  description.rows = inner;
  expectInnerFirst();
  EXPECT_EQ(type()->attr("inner")->keyType(), innerType());
}

TEST_F(TypesThatADescriptionNames, AreMadeFirstWhenAFunctionTakesThem) {
  const AttributeRow inner[] = {{.name = "inner",
                                 .type = Kob::TypeOf<void>::type,
                                 .declaredAlone = true,
                                 .parameters = {{{"inner", "Inner", innerType}}}}};
  description.rows = inner;
  expectInnerFirst();
  ASSERT_EQ(type()->attr("inner")->parameters().size(), 1U);
}

TEST_F(TypesThatADescriptionNames, AreMadeFirstWhenTheConstructorTakesThem) {
  description.constructorParameters = {{{"inner", "Inner", innerType}}};
  expectInnerFirst();
  ASSERT_EQ(type()->parameters().size(), 1U);
  EXPECT_EQ(type()->parameters()[0].typeName, "Inner");
}

TEST_F(TypesThatADescriptionNames, AreMadeFirstWhenANestedTypeNamesThem) {
  const Description nested{.qualifiedName = "Inner", .type = innerType};
  const AttributeRow inner[] = {{.nestedType = &nested}};
  description.rows = inner;
  expectInnerFirst();
}

}  // namespace
}  // namespace KobTest
