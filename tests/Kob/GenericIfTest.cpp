// Generic interfaces: how one answers that knows no attribute, lists, the wrappers of objects and
// entities, generic listeners, and the iterator over a collection attribute.

#include "Kob/GenericIf.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Kob/Activity.h"
#include "Kob/GenericIfException.h"
#include "Kob/GenericValue.h"
#include "tests/Kob/Fatal.h"
#include "tests/Kob/Mortal.h"
#include "tests/Kob/Refusal.h"

namespace KobTest {
namespace {

using Kob::Entity;
using Kob::GenericIf;
using Kob::GenericIfEntity;
using Kob::GenericIfPtrInterface;
using Kob::KobType;
using Kob::Ptr;
using Kob::String8;
using Log = std::vector<std::string>;
using List = GenericIf::List_;

/// An interface of nothing.
class Blank final : public GenericIf {
 public:
  explicit Blank(bool readOnly = false) : GenericIf(readOnly) { ++alive; }
  ~Blank() override { --alive; }

  KobType* type() const override { return Entity::_fwkType(); }
  Ptr<GenericIf> clone() override { return {new Blank(readOnly())}; }
  Ptr<const GenericIf> clone() const override { return {new Blank(true)}; }
  String8 strRep() const override { return "blank"; }

  static inline int alive = 0;
};

// ---------------------------------------------------------------------------------------------
// The protocol

TEST(GenericIfOfNothing, KnowsNoAttribute) {
  const Ptr<GenericIf> blank(new Blank);
  EXPECT_EQ(blank->attributeId("name"), 0);
  EXPECT_EQ(blank->voidPtrIs(Entity::_fwkType()), nullptr);
  for (const unsigned operation : {0U, 1U, 2U, 3U, 127U, 128U, 129U}) {
    EXPECT_EQ(refusalOf([&] { return blank->attributeOp({5, operation}, nullptr, nullptr); }),
              "UnknownAttributeException: Kob::Entity");
  }
  try {
    blank->attributeOp({5, 0}, nullptr, nullptr);
    FAIL();
  } catch (const Kob::UnknownAttributeException& refusal) {
    EXPECT_EQ(refusal.attributeId(), 5);
  }
}

TEST(GenericIfOfNothing, RefusesToModifyBeforeAnythingElseWhenItIsReadOnly) {
  const Ptr<GenericIf> blank(new Blank(true));
  EXPECT_TRUE(blank->readOnly());
  const std::string refusal = "ConstException: attempting to modify a const instance";
  for (const unsigned operation : {128U, 129U, 130U, 0xFFFFFFFFU}) {
    EXPECT_EQ(refusalOf([&] { return blank->attributeOp({5, operation}, nullptr, nullptr); }),
              refusal);
  }
  EXPECT_EQ(refusalOf([&] { return blank->attributeOp({5, 127}, nullptr, nullptr); }),
            "UnknownAttributeException: Kob::Entity");
  EXPECT_FALSE(Ptr(new Blank)->readOnly());
}

TEST(GenericIfOfNothing, HasNoCollectionToIterateOver) {
  const Ptr<GenericIf> blank(new Blank);
  EXPECT_FALSE(blank->attributeIteratorConst(2));
  EXPECT_FALSE(blank->attributeIteratorKeyConst(2, Kob::generic(true)));
}

TEST(GenericIfOfNothing, TheOperationCodesAreThoseOfTheProtocol) {
  EXPECT_EQ(GenericIf::readOperation, 0U);
  EXPECT_EQ(GenericIf::callOperation, 0U);
  EXPECT_EQ(GenericIf::countOperation, 1U);
  EXPECT_EQ(GenericIf::firstKeyOperation, 2U);
  EXPECT_EQ(GenericIf::nextKeyOperation, 3U);
  EXPECT_EQ(GenericIf::writeOperation, 128U);
  EXPECT_EQ(GenericIf::deleteOperation, 129U);
  EXPECT_EQ(GenericIf::firstModifyingOperation, 128U);
}

TEST(GenericIfOfNothing, BecomesAZombieAndWakesAgain) {
  const Ptr<GenericIf> blank(new Blank);
  EXPECT_TRUE(blank->kobDoZombieReactors(true));
  EXPECT_TRUE(blank->kobMarkedForDeletion());
  EXPECT_TRUE(blank->kobDoZombieReactors(true));
  EXPECT_FALSE(blank->kobDoZombieReactors(false));
  EXPECT_FALSE(blank->kobMarkedForDeletion());
}

// ---------------------------------------------------------------------------------------------
// Generic listeners

/// Writes down what it hears: "NAME 260 key".
class Listener final : public GenericIf::NotifieeConst {
 public:
  Listener(std::string label, Log& log) : label_(std::move(label)), log_(log) {}

  using NotifieeConst::onAttribute;
  using NotifieeConst::onNotificationException;

  void onAttribute(Kob::AttributeId id, const Ptr<const GenericIf>& key) override {
    log_.push_back(label_ + " " + std::to_string(id) + " " +
                   (key ? key->strRep().charPtr() : "none"));
    if (throws) throw std::runtime_error("no");
  }
  void onNotificationException(Kob::AttributeId id) override {
    log_.push_back(label_ + " exception " + std::to_string(id));
  }

  bool throws = false;

 private:
  std::string label_;
  Log& log_;
};

class GenericListeners : public testing::Test {
 protected:
  Ptr<Listener> joined(const char* label) {
    const Ptr<Listener> listener(new Listener(label, log));
    listener->notifierIs(blank);
    listener->isRegisteredNotifieeIs(true);
    return listener;
  }

  Log log;
  Ptr<GenericIf> blank{new Blank};
};

TEST_F(GenericListeners, HearTheAttributeAndTheKeyInTheOrderInWhichTheyJoined) {
  const auto first = joined("first");
  const auto second = joined("second");
  blank->onAttribute(260, Kob::generic(7U));
  EXPECT_EQ(log, (Log{"first 260 7", "second 260 7"}));
}

TEST_F(GenericListeners, HearAnAttributeWithoutKeyAsOne) {
  const auto listener = joined("first");
  blank->onAttribute(260);
  EXPECT_EQ(log, Log{"first 260 none"});
}

TEST_F(GenericListeners, HearNothingOnceTheyLeft) {
  const auto listener = joined("first");
  EXPECT_EQ(listener->notifier(), blank);
  listener->isRegisteredNotifieeIs(false);
  blank->onAttribute(260);
  EXPECT_EQ(log, Log{});
}

TEST_F(GenericListeners, HearNothingFromAZombie) {
  const auto listener = joined("first");
  blank->kobDoZombieReactors(true);
  blank->onAttribute(260, Kob::generic(7U));
  blank->onAttribute(260);
  EXPECT_EQ(log, Log{});
  blank->kobDoZombieReactors(false);
  blank->onAttribute(260);
  EXPECT_EQ(log, Log{"first 260 none"});
}

TEST_F(GenericListeners, OneThatThrowsIsToldAndTheOthersHearAllTheSame) {
  const auto first = joined("first");
  const auto second = joined("second");
  first->throws = true;
  blank->onAttribute(260);
  EXPECT_EQ(log, (Log{"first 260 none", "first exception 260", "second 260 none"}));
}

TEST_F(GenericListeners, KeepTheInterfaceUnlessTheirHoldIsWeak) {
  const auto listener = joined("first");
  blank = nullptr;
  EXPECT_EQ(Blank::alive, 1);
  listener->isWeakReferenceIs(true);
  EXPECT_EQ(Blank::alive, 0);
  EXPECT_EQ(listener->notifier(), nullptr);
}

TEST_F(GenericListeners, LeaveTheListWhenTheyGo) {
  joined("first");
  EXPECT_EQ(blank->kobNotifiees().members(), 0U);
  blank->onAttribute(260);
  EXPECT_EQ(log, Log{});
}

TEST_F(GenericListeners, NeedNotListen) {
  class Silent final : public GenericIf::NotifieeConst {};
  const Ptr<Silent> silent(new Silent);
  silent->notifierIs(blank);
  silent->isRegisteredNotifieeIs(true);
  const auto listener = joined("first");
  blank->onAttribute(260);
  EXPECT_EQ(log, Log{"first 260 none"});
}

// ---------------------------------------------------------------------------------------------
// Iterating

/// Stands on the numbers from `at` on, up to 2. Shows each as its own key, and whether it was shown
/// read-only as the value.
class Counting final : public GenericIf::IteratorState {
 public:
  explicit Counting(unsigned at) : at_(at) { ++alive; }
  ~Counting() override { --alive; }

  bool nonNull() const override { return at_ < 3; }
  void inc() override { ++at_; }
  Ptr<GenericIf> key() const override { return Kob::generic(at_); }
  Ptr<GenericIf> object(bool readOnly) const override { return Kob::generic(readOnly); }
  std::unique_ptr<IteratorState> clone() const override { return std::make_unique<Counting>(at_); }

  static inline int alive = 0;

 private:
  unsigned at_;
};

using Iterator = GenericIf::AttributeIteratorConst;

Iterator counting(const Ptr<const GenericIf>& owner, unsigned at = 0) {
  return {owner, 2, std::make_unique<Counting>(at)};
}

const std::string stateFunction =
    "const Kob::GenericIf::IteratorState& Kob::GenericIf::AttributeIteratorConst::state() const";

class AttributeIterator : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(Counting::alive, 0); }

  Ptr<GenericIf> blank{new Blank};
};

TEST_F(AttributeIterator, GoesThroughTheEntriesAndStaysAtTheEnd) {
  auto it = counting(blank);
  Log keys;
  for (; it; ++it) keys.emplace_back(it.key()->strRep().charPtr());
  EXPECT_EQ(keys, (Log{"0", "1", "2"}));
  EXPECT_FALSE(++it);
}

TEST_F(AttributeIterator, ShowsValuesReadOnly) {
  const auto it = counting(blank);
  EXPECT_EQ(it.value()->strRep(), "true");
}

TEST_F(AttributeIterator, StandsAtItsEndWhenItHasNoCollection) {
  Iterator it;
  EXPECT_FALSE(it);
  EXPECT_FALSE(++it);
  const Iterator copy(it);
  EXPECT_FALSE(copy);
  EXPECT_FATAL(static_cast<void>(it.key()), "Kob/GenericIf.cpp", stateFunction,
               "state_ != nullptr");
  EXPECT_FATAL(static_cast<void>(it.value()), "Kob/GenericIf.cpp", stateFunction,
               "state_ != nullptr");
}

TEST_F(AttributeIterator, CopiesGoTheirOwnWays) {
  auto it = counting(blank);
  auto copy = it;
  ++copy;
  EXPECT_EQ(it.key()->strRep(), "0");
  EXPECT_EQ(copy.key()->strRep(), "1");
  it = copy;
  ++copy;
  EXPECT_EQ(it.key()->strRep(), "1");
  EXPECT_EQ(copy.key()->strRep(), "2");
  EXPECT_EQ(Counting::alive, 2);
}

TEST_F(AttributeIterator, MovesWithItsPlace) {
  auto it = counting(blank, 1);
  const auto moved = std::move(it);
  EXPECT_EQ(moved.key()->strRep(), "1");
  EXPECT_EQ(Counting::alive, 1);
}

TEST_F(AttributeIterator, KeepsItsInterface) {
  auto it = counting(blank);
  blank = nullptr;
  EXPECT_EQ(Blank::alive, 1);
  EXPECT_EQ(it.key()->strRep(), "0");
  it = Iterator();
  EXPECT_EQ(Blank::alive, 0);
  EXPECT_EQ(Counting::alive, 0);
}

TEST_F(AttributeIterator, AsksItsInterfaceForEachStep) {
  Counting state(1);
  EXPECT_EQ(blank->attributeIterator_iterKey(2, state)->strRep(), "1");
  blank->attributeIterator_iterInc(2, state);
  EXPECT_EQ(blank->attributeIterator_iterKey(2, state)->strRep(), "2");
  EXPECT_TRUE(blank->attributeIterator_nonNull(2, state));
  auto clone = blank->attributeIterator_iterClone(2, state);
  blank->attributeIterator_iterInc(2, state);
  EXPECT_FALSE(blank->attributeIterator_nonNull(2, state));
  EXPECT_TRUE(blank->attributeIterator_nonNull(2, *clone));
  blank->attributeIterator_iterDel(2, std::move(clone));
  EXPECT_EQ(Counting::alive, 1);
}

TEST_F(AttributeIterator, AValueIsAsReadOnlyAsTheInterfaceAndAlwaysFromAConstOne) {
  const Counting state(0);
  EXPECT_EQ(blank->attributeIterator_iterObj(2, state)->strRep(), "false");
  EXPECT_EQ(std::as_const(*blank).attributeIterator_iterObj(2, state)->strRep(), "true");
  EXPECT_EQ(Ptr(new Blank(true))->attributeIterator_iterObj(2, state)->strRep(), "true");
}

// ---------------------------------------------------------------------------------------------
// Lists

TEST(GenericList, HoldsItsElementsInOrderAndPrintsThemInBrackets) {
  const Ptr<List> list(new List);
  EXPECT_EQ(list->strRep(), "()");
  EXPECT_TRUE(list->elements().empty());
  list->elementIs(Kob::generic(1U));
  EXPECT_EQ(list->strRep(), "(1)");
  list->elementIs(nullptr);
  list->elementIs(Kob::generic(true));
  EXPECT_EQ(list->strRep(), "(1, null, true)");
  ASSERT_EQ(list->elements().size(), 3U);
  EXPECT_EQ(list->elements()[1], nullptr);
}

TEST(GenericList, IsMadeFromItsElementsToo) {
  const Ptr<GenericIf> element = Kob::generic(1U);
  const Ptr<List> list(new List({element, element}));
  EXPECT_EQ(list->strRep(), "(1, 1)");
  EXPECT_EQ(list->elements()[0], element);
  EXPECT_EQ(element->references(), 3U);
}

TEST(GenericList, ACloneIsAnotherListOfTheSameElements) {
  const Ptr<List> list(new List({Kob::generic(1U)}));
  for (const Ptr<const GenericIf>& clone :
       {Ptr<const GenericIf>(list->clone()), std::as_const(*list).clone()}) {
    EXPECT_NE(clone, list);
    EXPECT_EQ(clone->strRep(), "(1)");
    EXPECT_EQ(Kob::dynamicCast<const List>(clone)->elements(), list->elements());
  }
  const auto clone = Kob::dynamicCast<List>(list->clone());
  clone->elementIs(nullptr);
  EXPECT_EQ(list->strRep(), "(1)");
}

TEST(GenericList, HasATypeOfItsOwn) {
  const Ptr<List> list(new List);
  EXPECT_EQ(list->type(), List::_fwkType());
  EXPECT_EQ(list->type()->qualifiedName(), "Kob::GenericIf::List_");
  EXPECT_EQ(list->type()->name(), "List_");
  EXPECT_EQ(KobType::typeNode("Kob::GenericIf::List_"), List::_fwkType());
  EXPECT_FALSE(list->readOnly());
}

// ---------------------------------------------------------------------------------------------
// Wrapped objects

class WrappedObject : public testing::Test {
 protected:
  Ptr<Mortal> object{new Mortal};
  Ptr<GenericIfPtrInterface> wrapper{new GenericIfPtrInterface(object, false)};
  Ptr<GenericIfPtrInterface> readOnly{new GenericIfPtrInterface(object, true)};
};

TEST_F(WrappedObject, IsKeptAliveAndGivenBack) {
  EXPECT_EQ(wrapper->obj(), object);
  EXPECT_EQ(std::as_const(*wrapper).obj(), object);
  EXPECT_EQ(object->references(), 3U);
  object = nullptr;
  wrapper = nullptr;
  EXPECT_EQ(Mortal::alive, 1);
  readOnly = nullptr;
  EXPECT_EQ(Mortal::alive, 0);
}

TEST_F(WrappedObject, IsGivenBackByAReadOnlyWrapperAsConstOnly) {
  EXPECT_TRUE(readOnly->readOnly());
  EXPECT_EQ(readOnly->obj(), nullptr);
  EXPECT_EQ(std::as_const(*readOnly).obj(), object);
}

TEST_F(WrappedObject, OfNoTypeHasThatOfAllObjects) {
  EXPECT_EQ(object->fwkType(), nullptr);
  EXPECT_EQ(wrapper->type(), Kob::PtrInterface::_fwkType());
  EXPECT_EQ(wrapper->strRep(), "<Kob::PtrInterface>");
}

TEST_F(WrappedObject, HasItsAddressAsAnObjectAndAsNothingElse) {
  EXPECT_EQ(wrapper->voidPtrIs(Kob::PtrInterface::_fwkType()),
            static_cast<Kob::PtrInterface*>(object.get()));
  EXPECT_EQ(wrapper->voidPtrIs(Entity::_fwkType()), nullptr);
  EXPECT_EQ(wrapper->voidPtrIs(nullptr), nullptr);
}

TEST_F(WrappedObject, ACloneWrapsTheSameObjectAndIsAsReadOnly) {
  const auto clone = Kob::dynamicCast<GenericIfPtrInterface>(wrapper->clone());
  EXPECT_NE(clone, wrapper);
  EXPECT_EQ(clone->obj(), object);
  EXPECT_FALSE(clone->readOnly());
  EXPECT_TRUE(readOnly->clone()->readOnly());
  const auto constClone =
      Kob::dynamicCast<const GenericIfPtrInterface>(std::as_const(*wrapper).clone());
  EXPECT_TRUE(constClone->readOnly());
  EXPECT_EQ(constClone->obj(), object);
}

TEST_F(WrappedObject, KnowsNoAttribute) {
  EXPECT_EQ(wrapper->attributeId("name"), 0);
  EXPECT_EQ(refusalOf([&] { return wrapper->attributeOp({1, 0}, nullptr, nullptr); }),
            "UnknownAttributeException: Kob::PtrInterface");
}

TEST_F(WrappedObject, ThatIsNullIsFatal) {
  EXPECT_FATAL(GenericIfPtrInterface(nullptr, false), "Kob/GenericIf.cpp",
               "Kob::GenericIfPtrInterface::GenericIfPtrInterface("
               "const Kob::Ptr<Kob::PtrInterface>&, bool)",
               "object != nullptr");
}

TEST_F(WrappedObject, PassesNotificationsOnInTheActivityThatItIsGiven) {
  EXPECT_EQ(wrapper->kobFwkActivity(), nullptr);
  EXPECT_EQ(std::as_const(*wrapper).kobFwkActivity(), nullptr);
  EXPECT_EQ(wrapper->actsm(), nullptr);
  const auto activity = Kob::activityFactory("activity");
  wrapper->kobFwkActivityIs(activity);
  EXPECT_EQ(wrapper->kobFwkActivity(), activity);
  EXPECT_EQ(std::as_const(*wrapper).kobFwkActivity(), activity);
  EXPECT_EQ(wrapper->actsm(), activity->activitySm());
  wrapper->kobFwkActivityIs(nullptr);
  EXPECT_EQ(wrapper->actsm(), nullptr);
}

template <class T>
std::string printed(const Ptr<T>& entity) {
  std::ostringstream stream;
  stream << entity;
  return stream.str();
}

TEST(WrappedEntity, PrintsItsTypeItsNameAndItsAddress) {
  const Ptr<Entity> entity(new Entity("house"));
  const Ptr<GenericIf> wrapper(new GenericIfEntity(entity, false));
  EXPECT_EQ(wrapper->strRep(), printed(entity).c_str());
  EXPECT_EQ(wrapper->type(), Entity::_fwkType());
}

TEST(WrappedEntity, HasItsAddressAsAnEntityAndAsAnObject) {
  const Ptr<Entity> entity(new Entity("house"));
  const Ptr<GenericIf> wrapper(new GenericIfEntity(entity, false));
  EXPECT_EQ(wrapper->voidPtrIs(Entity::_fwkType()), entity.get());
  EXPECT_EQ(wrapper->voidPtrIs(Kob::PtrInterface::_fwkType()),
            static_cast<Kob::PtrInterface*>(entity.get()));
  EXPECT_EQ(wrapper->voidPtrIs(Kob::ActivityConfig::_fwkType()), nullptr);
}

TEST(WrappedEntity, ACloneWrapsTheSameEntityAndIsAsReadOnly) {
  const Ptr<Entity> entity(new Entity("house"));
  const Ptr<GenericIf> wrapper(new GenericIfEntity(entity, false));
  const Ptr<GenericIf> readOnly(new GenericIfEntity(entity, true));
  EXPECT_EQ(wrapper->clone()->strRep(), wrapper->strRep());
  EXPECT_FALSE(wrapper->clone()->readOnly());
  EXPECT_TRUE(readOnly->clone()->readOnly());
  const auto constClone = std::as_const(*wrapper).clone();
  EXPECT_TRUE(constClone->readOnly());
  EXPECT_EQ(constClone->strRep(), wrapper->strRep());
}

// ---------------------------------------------------------------------------------------------
// The framework's own types

TEST(FrameworkTypes, AreThoseOfObjectsEntitiesAndActivities) {
  KobType* const objects = Kob::PtrInterface::_fwkType();
  KobType* const entities = Entity::_fwkType();
  KobType* const activities = Kob::ActivityConfig::_fwkType();
  EXPECT_EQ(objects->qualifiedName(), "Kob::PtrInterface");
  EXPECT_EQ(objects->name(), "PtrInterface");
  EXPECT_EQ(objects->base(), nullptr);
  EXPECT_EQ(entities->qualifiedName(), "Kob::Entity");
  EXPECT_EQ(entities->base(), objects);
  EXPECT_EQ(activities->qualifiedName(), "Kob::ActivityConfig");
  EXPECT_EQ(activities->base(), entities);
  for (KobType* const type : {objects, entities, activities}) {
    EXPECT_EQ(KobType::typeNode(type->qualifiedName()), type);
    EXPECT_EQ(type->references(), 1U) << "a reference is never given back";
  }
  EXPECT_EQ(Entity::_fwkType(), entities) << "there is one of each";
}

TEST(FrameworkTypes, AreNamedByTheirInstances) {
  EXPECT_EQ(Ptr(new Entity("house"))->fwkType(), Entity::_fwkType());
  EXPECT_EQ(Kob::activityFactory("activity")->fwkType(), Kob::ActivityConfig::_fwkType());
}

TEST(FrameworkTypes, WrapTheirInstancesAndNothingElse) {
  const Ptr<Mortal> object(new Mortal);
  const Ptr<Entity> entity(new Entity("house"));
  EXPECT_EQ(Kob::PtrInterface::_fwkType()->genericIf_(object.get(), false)->strRep(),
            "<Kob::PtrInterface>");
  EXPECT_EQ(Entity::_fwkType()->genericIf_(entity.get(), true)->strRep(), printed(entity).c_str());
  EXPECT_TRUE(Entity::_fwkType()->genericIf_(entity.get(), true)->readOnly());
  EXPECT_EQ(Entity::_fwkType()->genericIf_(object.get(), false), nullptr);
  EXPECT_EQ(Entity::_fwkType()->genericIf_(nullptr, false), nullptr);
  EXPECT_EQ(Kob::ActivityConfig::_fwkType()->genericIf_(entity.get(), false), nullptr);
  EXPECT_EQ(object->references(), 1U) << "a failed attempt takes no reference";
}

}  // namespace
}  // namespace KobTest
