// The generic interface of a published class: what each sort of attribute can do, what it refuses,
// in which order, and what nothing is changed by.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Kob/GenericIf.h"
#include "Kob/GenericValue.h"
#include "tests/Kob/Refusal.h"
#include "tests/Kob/Shop.h"

namespace KobTest {
namespace {

using Kob::generic;
using Kob::GenericIf;
using Kob::Name;
using Kob::Ptr;
using List = GenericIf::List_;
using Box = Ptr<GenericIf>;
using Boxes = std::vector<Box>;

const std::string constRefusal = "ConstException: attempting to modify a const instance";

class DescribedShop : public testing::Test {
 protected:
  [[nodiscard]] static Kob::AttributeId id(const char* name) {
    return Shop::_fwkType()->attr(name)->id();
  }
  Box op(const char* name, unsigned operation, const Box& arg = nullptr,
         const Box& value = nullptr) const {
    return wrapper->attributeOp({id(name), operation}, arg, value);
  }
  std::string refusal(const char* name, unsigned operation, const Box& arg = nullptr,
                      const Box& value = nullptr) const {
    return refusalOf([&] { return op(name, operation, arg, value); });
  }
  /// The text of what an operation answers, "null" where there is none.
  std::string text(const char* name, unsigned operation, const Box& arg = nullptr,
                   const Box& value = nullptr) const {
    const Box answer = op(name, operation, arg, value);
    return answer ? answer->strRep().charPtr() : "null";
  }
  static Box list(Boxes elements) { return {new List(std::move(elements))}; }
  static Box name(const char* text) { return generic(Name(text)); }

  void makeReadOnly() { wrapper = generic(shop, true); }

  Ptr<Shop> shop{new Shop("corner", 12)};
  Ptr<Clerk> clerk{new Clerk("Ada")};
  Box wrapper = generic(shop);
};

// ---------------------------------------------------------------------------------------------
// The wrapper

TEST_F(DescribedShop, IsWrappedByItsOwnInterface) {
  EXPECT_NE(dynamic_cast<Shop::GenericIf_*>(wrapper.get()), nullptr);
  EXPECT_EQ(wrapper->type(), Shop::_fwkType());
  EXPECT_EQ(wrapper->voidPtrIs(Shop::_fwkType()), shop.get());
  EXPECT_EQ(wrapper->voidPtrIs(Kob::Entity::_fwkType()), static_cast<Kob::Entity*>(shop.get()));
  EXPECT_EQ(wrapper->voidPtrIs(Kob::PtrInterface::_fwkType()),
            static_cast<Kob::PtrInterface*>(shop.get()));
  EXPECT_EQ(wrapper->voidPtrIs(Clerk::_fwkType()), nullptr);
  EXPECT_EQ(Shop::_fwkType()->genericIf_(clerk.get(), false), nullptr);
}

TEST_F(DescribedShop, ACloneWrapsTheSameInstance) {
  for (const Ptr<const GenericIf>& clone :
       {Ptr<const GenericIf>(wrapper->clone()), std::as_const(*wrapper).clone()}) {
    ASSERT_NE(dynamic_cast<const Shop::GenericIf_*>(clone.get()), nullptr);
    EXPECT_EQ(clone->strRep(), wrapper->strRep());
  }
  EXPECT_FALSE(wrapper->clone()->readOnly());
  EXPECT_TRUE(std::as_const(*wrapper).clone()->readOnly());
  makeReadOnly();
  EXPECT_TRUE(wrapper->clone()->readOnly());
}

TEST_F(DescribedShop, FindsItsAttributesByName) {
  EXPECT_EQ(wrapper->attributeId("size"), 258);
  EXPECT_EQ(wrapper->attributeId("close"), 267);
  EXPECT_EQ(wrapper->attributeId("kobFwkActivity"), 0) << "described, but not reached by id";
  EXPECT_EQ(wrapper->attributeId("hasNotificationActiveIs"), 0);
  EXPECT_EQ(wrapper->attributeId("member"), 0) << "that of another type";
  EXPECT_EQ(wrapper->attributeId("unheardOf"), 0);
}

TEST_F(DescribedShop, KnowsNoOtherIds) {
  for (const Kob::AttributeId unknown : {0, 2, 257, 268, -1}) {
    EXPECT_EQ(refusalOf([&] { return wrapper->attributeOp({unknown, 0}, nullptr, nullptr); }),
              "UnknownAttributeException: KobTest::Shop")
        << unknown;
  }
}

TEST_F(DescribedShop, IsModifiedThroughAWritableWrapperOnly) {
  const auto* const writable = dynamic_cast<Shop::GenericIf_*>(wrapper.get());
  EXPECT_EQ(&writable->modified(), shop.get());
  const Ptr<Shop::GenericIf_> readOnly(new Shop::GenericIf_(shop, true));
  EXPECT_EQ(refusalOf([&] { return readOnly->modified().size(); }), constRefusal);
}

// ---------------------------------------------------------------------------------------------
// Read-only wrappers

TEST_F(DescribedShop, AReadOnlyWrapperRefusesToModifyBeforeItLooksAtAnythingElse) {
  makeReadOnly();
  for (const char* const name : {"size", "clerk", "price", "priceList", "offer", "close"}) {
    for (const unsigned operation : {128U, 129U, 200U}) {
      EXPECT_EQ(refusal(name, operation), constRefusal) << name;
      EXPECT_EQ(refusal(name, operation, generic(true), generic(true)), constRefusal) << name;
    }
  }
  EXPECT_EQ(refusalOf([&] { return wrapper->attributeOp({9999, 128}, nullptr, nullptr); }),
            constRefusal);
}

TEST_F(DescribedShop, AReadOnlyWrapperReadsAndCalls) {
  shop->priceIs("tea", 5);
  shop->hire(clerk);
  makeReadOnly();
  EXPECT_EQ(text("size", 0), "12");
  EXPECT_EQ(text("price", 0, name("tea")), "5");
  EXPECT_TRUE(op("price", 0, name("tea"))->readOnly());
  EXPECT_TRUE(op("clerk", 0)->readOnly()) << "and so it is with what it points to";
  EXPECT_EQ(text("price", 1), "1");
  EXPECT_EQ(text("close", 0, list({})), "null");
  EXPECT_EQ(shop->clerk(), nullptr);
}

// ---------------------------------------------------------------------------------------------
// Values and pointers

TEST_F(DescribedShop, AValueCanBeRead) {
  EXPECT_EQ(text("size", 0), "12");
  EXPECT_EQ(*Kob::valueIn<unsigned>(op("size", 0).get()), 12U);
}

TEST_F(DescribedShop, APointerIsReadAsTheWrapperOfItsObjectOrNull) {
  EXPECT_EQ(op("clerk", 0), nullptr);
  shop->hire(clerk);
  EXPECT_EQ(op("clerk", 0)->type(), Clerk::_fwkType());
  EXPECT_FALSE(op("clerk", 0)->readOnly());
}

TEST_F(DescribedShop, ValuesAndPointersRefuseAnIndexFirstAndThenAnyOtherOperation) {
  for (const char* const attribute : {"size", "clerk"}) {
    const std::string text = attribute;
    for (const unsigned operation : {1U, 2U, 3U, 4U, 128U, 129U}) {
      EXPECT_EQ(refusal(attribute, operation, name("tea"), generic(1U)),
                "BadIndexException: " + text);
      EXPECT_EQ(refusal(attribute, operation, nullptr, generic(1U)),
                "OperationNotSupportedException: " + text + " " + std::to_string(operation));
    }
    EXPECT_EQ(refusal(attribute, 0, list({})), "BadIndexException: " + text);
  }
}

// ---------------------------------------------------------------------------------------------
// Collections

TEST_F(DescribedShop, ACollectionIsReadCountedWrittenAndDeleted) {
  EXPECT_EQ(text("price", 1), "0");
  EXPECT_EQ(text("price", 128, name("tea"), generic(5U)), "null");
  EXPECT_EQ(text("price", 0, name("tea")), "5");
  EXPECT_EQ(text("price", 1), "1");
  EXPECT_EQ(shop->price("tea"), 5U);
  EXPECT_EQ(shop->changeCount(), 1U);
  EXPECT_EQ(text("price", 129, name("tea")), "null");
  EXPECT_EQ(shop->prices(), 0U);
  EXPECT_EQ(text("price", 129, name("tea")), "null") << "there is nothing to delete";
}

TEST_F(DescribedShop, AnAbsentKeyReadsAsTheNeutralValue) {
  EXPECT_EQ(text("price", 0, name("tea")), "0");
}

TEST_F(DescribedShop, ACountIgnoresTheKey) {
  EXPECT_EQ(text("price", 1, generic(true)), "0");
  EXPECT_NE(Kob::valueIn<unsigned>(op("price", 1).get()), nullptr);
}

TEST_F(DescribedShop, ACollectionRefusesTheOperationFirstThenTheKeyThenTheValue) {
  shop->priceIs("tea", 5);
  for (const unsigned operation : {4U, 127U, 130U}) {
    EXPECT_EQ(refusal("price", operation),
              "OperationNotSupportedException: price " + std::to_string(operation));
  }
  for (const unsigned operation : {0U, 3U, 128U, 129U}) {
    EXPECT_EQ(refusal("price", operation), "TypeException: kob_index") << operation;
    EXPECT_EQ(refusal("price", operation, generic(7U)), "TypeException: kob_index") << operation;
  }
  EXPECT_EQ(refusal("price", 128, name("tea")), "TypeException: price");
  EXPECT_EQ(refusal("price", 128, name("tea"), generic(true)), "TypeException: price");
  EXPECT_EQ(shop->price("tea"), 5U) << "nothing was changed";
  EXPECT_EQ(shop->changeCount(), 1U);
}

TEST_F(DescribedShop, ACollectionAnswersItsKeysOneAfterTheOther) {
  for (const char* const good : {"tea", "soap", "rope", "ink"}) shop->priceIs(good, 1);
  std::vector<std::string> keys;
  for (auto it = shop->priceIteratorConst(); it; ++it) keys.emplace_back(it.key().charPtr());
  std::vector<std::string> walked;
  for (Box key = op("price", 2); key; key = op("price", 3, key)) {
    walked.emplace_back(key->strRep().charPtr());
    ASSERT_LE(walked.size(), keys.size());
  }
  EXPECT_EQ(walked, keys);
}

TEST_F(DescribedShop, TheKeyAfterAnAbsentOneIsTheFirstThatWouldComeAfterIt) {
  for (const char* const good : {"tea", "soap", "rope", "ink"}) shop->priceIs(good, 1);
  std::vector<std::string> keys;
  for (auto it = shop->priceIteratorConst(); it; ++it) keys.emplace_back(it.key().charPtr());
  shop->priceDel(keys[1].c_str());
  EXPECT_EQ(text("price", 3, name(keys[1].c_str())), keys[2]);
  shop->priceDel(keys[3].c_str());
  EXPECT_EQ(text("price", 3, name(keys[3].c_str())), "null");
  EXPECT_EQ(text("price", 3, name(keys[0].c_str())), keys[2]);
}

TEST_F(DescribedShop, AnEmptyCollectionHasNoFirstKey) { EXPECT_EQ(text("price", 2), "null"); }

TEST_F(DescribedShop, ACollectionThatCanOnlyBeLookedIntoDoesNotModify) {
  shop->priceIs("tea", 5);
  EXPECT_EQ(text("priceList", 0, name("tea")), "5");
  EXPECT_EQ(text("priceList", 1), "1");
  EXPECT_EQ(text("priceList", 2), "tea");
  EXPECT_EQ(refusal("priceList", 128, name("tea"), generic(1U)),
            "OperationNotSupportedException: priceList 128");
  EXPECT_EQ(refusal("priceList", 129, name("tea")),
            "OperationNotSupportedException: priceList 129");
}

TEST_F(DescribedShop, ACollectionThatMakesItsEntriesTakesAListAsValue) {
  EXPECT_EQ(refusal("offer", 128, name("tea")), "TypeException: offer");
  EXPECT_EQ(refusal("offer", 128, name("tea"), generic(5U)),
            "TypeException: Kob::GenericIf::List_");
  EXPECT_EQ(refusal("offer", 128, name("tea"), list({})), "TypeException: amount");
  EXPECT_EQ(refusal("offer", 128, name("tea"), list({generic(true)})), "TypeException: amount");
  EXPECT_EQ(refusal("offer", 128, name("tea"), list({generic(5U), nullptr})),
            "UnknownArgumentException: offer");
  EXPECT_EQ(shop->prices(), 0U);
  EXPECT_EQ(text("offer", 128, name("tea"), list({generic(5U)})), "null");
  EXPECT_EQ(text("offer", 0, name("tea")), "5");
  EXPECT_EQ(text("offer", 129, name("tea")), "null");
  EXPECT_EQ(shop->prices(), 0U);
}

TEST_F(DescribedShop, ACollectionThatMakesItsEntriesRefusesAKeyOfAnotherTypeAsABadIndex) {
  for (const unsigned operation : {0U, 3U, 128U, 129U}) {
    EXPECT_EQ(refusal("offer", operation, generic(7U)), "BadIndexException: offer");
    EXPECT_EQ(refusal("offer", operation), "TypeException: kob_index");
  }
}

// ---------------------------------------------------------------------------------------------
// Functions

TEST_F(DescribedShop, AFunctionIsCalledWithAListAndAnswersItsResult) {
  shop->priceIs("tea", 5);
  EXPECT_EQ(text("cost", 0, list({name("tea"), generic(3U)})), "15");
  EXPECT_EQ(text("hire", 0, list({generic(clerk)})), "null");
  EXPECT_EQ(shop->clerk(), clerk);
  EXPECT_EQ(text("employs", 0, list({generic(clerk, true)})), "true");
  EXPECT_EQ(text("close", 0, list({})), "null");
  EXPECT_EQ(text("employs", 0, list({generic(clerk)})), "false");
  EXPECT_EQ(text("employs", 0, list({nullptr})), "true") << "null is a null pointer";
}

TEST_F(DescribedShop, AFunctionRefusesTheOperationThenTheListThenItsElementsInOrder) {
  const Box arguments = list({name("tea"), generic(3U)});
  for (const unsigned operation : {1U, 2U, 128U, 129U}) {
    EXPECT_EQ(refusal("cost", operation),
              "OperationNotSupportedException: cost " + std::to_string(operation));
    EXPECT_EQ(refusal("cost", operation, arguments),
              "OperationNotSupportedException: cost " + std::to_string(operation));
  }
  EXPECT_EQ(refusal("cost", 0), "TypeException: no list");
  EXPECT_EQ(refusal("cost", 0, name("tea")), "TypeException: other");
  EXPECT_EQ(refusal("cost", 0, list({})), "TypeException: good");
  EXPECT_EQ(refusal("cost", 0, list({nullptr, nullptr})), "TypeException: good");
  EXPECT_EQ(refusal("cost", 0, list({generic(3U), name("tea"), nullptr})), "TypeException: good");
  EXPECT_EQ(refusal("cost", 0, list({name("tea")})), "TypeException: pieces");
  EXPECT_EQ(refusal("cost", 0, list({name("tea"), nullptr, nullptr})), "TypeException: pieces");
  EXPECT_EQ(refusal("cost", 0, list({name("tea"), generic(3U), nullptr})),
            "UnknownArgumentException: cost");
}

TEST_F(DescribedShop, AFunctionWithoutParametersTakesAnEmptyListOnly) {
  shop->hire(clerk);
  EXPECT_EQ(refusal("close", 0), "TypeException: no list");
  EXPECT_EQ(refusal("close", 0, generic(true)), "TypeException: other");
  EXPECT_EQ(refusal("close", 0, list({nullptr})), "UnknownArgumentException: close");
  EXPECT_EQ(shop->clerk(), clerk) << "nothing ran";
}

TEST_F(DescribedShop, AReadOnlyObjectIsNoArgumentForWhomWouldModifyIt) {
  EXPECT_EQ(refusal("hire", 0, list({generic(clerk, true)})), "TypeException: clerk");
  EXPECT_EQ(refusal("hire", 0, list({generic(shop)})), "TypeException: clerk");
}

// ---------------------------------------------------------------------------------------------
// Iterating

TEST_F(DescribedShop, ACollectionIsIteratedOverByKeyAndValue) {
  shop->priceIs("tea", 5);
  shop->priceIs("ink", 7);
  std::vector<std::string> seen;
  for (auto it = wrapper->attributeIteratorConst(260); it; ++it) {
    seen.push_back(std::string(it.key()->strRep().charPtr()) + " " +
                   it.value()->strRep().charPtr());
    EXPECT_TRUE(it.value()->readOnly());
  }
  std::vector<std::string> expected;
  for (auto it = shop->priceIteratorConst(); it; ++it) {
    expected.push_back(std::string(it.key().charPtr()) + " " + std::to_string(*it));
  }
  EXPECT_EQ(seen, expected);
  ASSERT_EQ(seen.size(), 2U);
}

TEST_F(DescribedShop, AnIterationMayBeginAtAKey) {
  for (const char* const good : {"tea", "soap", "rope"}) shop->priceIs(good, 1);
  std::vector<std::string> keys;
  for (auto it = shop->priceIteratorConst(); it; ++it) keys.emplace_back(it.key().charPtr());
  auto it = wrapper->attributeIteratorKeyConst(260, name(keys[1].c_str()));
  EXPECT_EQ(it.key()->strRep(), keys[1].c_str());
  shop->priceDel(keys[1].c_str());
  const auto copy = it;
  EXPECT_EQ((++it).key()->strRep(), keys[2].c_str());
  EXPECT_EQ(copy.key()->strRep(), keys[1].c_str()) << "a copy goes its own way";
  EXPECT_FALSE(++it);
  EXPECT_EQ(wrapper->attributeIteratorKeyConst(260, name(keys[1].c_str())).key()->strRep(),
            keys[2].c_str())
      << "the first that does not come before it";
}

TEST_F(DescribedShop, AnIterationRefusesAMissingKeyAndOneOfAnotherType) {
  EXPECT_EQ(refusalOf([&] { return wrapper->attributeIteratorKeyConst(260, nullptr); }),
            "TypeException: kob_index");
  EXPECT_EQ(refusalOf([&] { return wrapper->attributeIteratorKeyConst(260, generic(7U)); }),
            "TypeException: kob_index");
}

TEST_F(DescribedShop, WhatIsNoCollectionGivesAnIteratorAtItsEnd) {
  shop->priceIs("tea", 5);
  for (const Kob::AttributeId id : {0, 2, 258, 264, 9999}) {
    EXPECT_FALSE(wrapper->attributeIteratorConst(id)) << id;
    EXPECT_FALSE(wrapper->attributeIteratorKeyConst(id, name("tea"))) << id;
  }
}

// ---------------------------------------------------------------------------------------------
// Described values

TEST_F(DescribedShop, ASetIsAValueWithAnInterfaceOfItsOwn) {
  Shop::Shelf shelf;
  shelf.put("tea");
  op("shelf", 128, generic(1U), generic(shelf));
  const Box box = op("shelf", 0, generic(1U));
  EXPECT_EQ(box->type(), Shop::Shelf::_fwkType());
  EXPECT_EQ(*Kob::valueIn<bool>(box->attributeOp({2, 0}, name("tea"), nullptr).get()), true);
  EXPECT_EQ(*Kob::valueIn<bool>(box->attributeOp({2, 0}, name("ink"), nullptr).get()), false);
  EXPECT_EQ(box->attributeId("member"), 2);
  EXPECT_EQ(box->attributeIteratorConst(2).key()->strRep(), "tea");
  for (const unsigned operation : {2U, 3U, 128U, 129U}) {
    EXPECT_EQ(
        refusalOf([&] { return box->attributeOp({2, operation}, name("tea"), generic(true)); }),
        "OperationNotSupportedException: member " + std::to_string(operation));
  }
  EXPECT_EQ(refusalOf([&] { return box->attributeOp({3, 0}, nullptr, nullptr); }),
            "UnknownAttributeException: KobTest::Shop::Shelf");
}

TEST_F(DescribedShop, AWrapperOfAValueAndItsClonesEachHaveTheirOwnCopy) {
  const Box box = generic(Shop::Shelf());
  const Box clone = box->clone();
  static_cast<Shop::Shelf*>(box->voidPtrIs(Shop::Shelf::_fwkType()))->put("tea");
  EXPECT_EQ(box->attributeOp({2, 1}, nullptr, nullptr)->strRep(), "1");
  EXPECT_EQ(clone->attributeOp({2, 1}, nullptr, nullptr)->strRep(), "0");
  EXPECT_EQ(box->voidPtrIs(Shop::_fwkType()), nullptr);
}

// ---------------------------------------------------------------------------------------------
// Making instances

TEST_F(DescribedShop, AnInstanceIsMadeFromAListOfTheConstructorsArguments) {
  const Box arguments = list({name("market"), generic(40U)});
  const Box made = Shop::_fwkType()->genericIf(arguments.get(), false);
  EXPECT_EQ(made->attributeOp({258, 0}, nullptr, nullptr)->strRep(), "40");
  EXPECT_FALSE(made->readOnly());
  const Box readOnly = Shop::_fwkType()->genericIf(arguments.get(), true);
  EXPECT_TRUE(readOnly->readOnly());
  EXPECT_EQ(readOnly->attributeOp({258, 0}, nullptr, nullptr)->strRep(), "40");
}

TEST_F(DescribedShop, AnInstanceIsRefusedForWhatIsNoListOfItsConstructorsArguments) {
  const auto refused = [](const Box& arguments) {
    return refusalOf([&] { return Shop::_fwkType()->genericIf(arguments.get(), false); });
  };
  EXPECT_EQ(refused(nullptr), "TypeException: no arguments");
  EXPECT_EQ(refused(generic(1U)), "TypeException: other arguments");
  EXPECT_EQ(refused(list({})), "TypeException: name");
  EXPECT_EQ(refused(list({name("market"), name("40")})), "TypeException: size");
  EXPECT_EQ(refused(list({name("market"), generic(40U), nullptr})),
            "UnknownArgumentException: Shop");
}

}  // namespace
}  // namespace KobTest
