#pragma once

// What every input model promises, as one typed test suite: a named collection of entries, keyed by
// interface, that counts and announces what comes and goes. Each model instantiates it with a class
// that says how the model's operations are called:
//
//   Dir                             the directory
//   Heard                           a Listener that keeps what each hook of the directory hears
//   Silent                          a Listener that overrides none of them
//   callOtherHooks(silent)          calls the hooks that the directory itself never calls
//   id                              attribute id of the collection
//   make(name)                      the factory
//   add(dir, intfId)                the entry, made when there is none
//   addRaw(dir, intfId)             the raw insertion
//   get(dir, intfId)                the entry or null; dir may be const
//   del(dir, which)                 removes by interface or by iterator
//   delAll(dir), notify(dir, intfId), iterator(dir), iteratorConst(dir), count(dir)

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Kob/Entity.h"
#include "platform/IntfId.h"
#include "tests/platform/Fatal.h"
#include "tests/platform/Intf.h"

namespace Tests {

using Log = std::vector<std::string>;

/// A notifiee that keeps what it hears, and does inside its hooks what it is told to do. `Base` is
/// the notifiee class of the notifier.
template <class Base>
class Listener : public Base {
 public:
  using Base::onNotificationException;

  /// Interfaces by name, "exception ID", "zero references", and what a model adds.
  Log heard;
  std::function<void()> onHearing = [] {};

  void onNotificationException(Kob::AttributeId id) override {
    heard.push_back("exception " + std::to_string(id));
  }
  void onZeroReferences() override { hears("zero references"); }

 protected:
  void hears(const std::string& what) {
    heard.push_back(what);
    onHearing();
  }
};

/// Points the notifiee at the notifier and registers it.
template <class Notifiee, class Notifier>
Kob::Ptr<Notifiee> joined(const Kob::Ptr<Notifiee>& notifiee, const Kob::Ptr<Notifier>& notifier) {
  notifiee->notifierIs(notifier);
  notifiee->isRegisteredNotifieeIs(true);
  return notifiee;
}

template <class Model>
class Directory : public testing::Test {
 protected:
  using Dir = typename Model::Dir;
  using Heard = typename Model::Heard;

  const Plexo::IntfId one = "Vlan1"_intf;
  const Plexo::IntfId two = "Vlan2"_intf;
  const Plexo::IntfId three = "Vlan3"_intf;

  Kob::Ptr<Dir> dir = Model::make("the directory");
  Kob::Ptr<Heard> listener = joined(Kob::Ptr(new Heard), dir);

  void addThree() {
    Model::add(*dir, one);
    Model::add(*dir, two);
    Model::add(*dir, three);
    listener->heard.clear();
  }
  /// The interfaces in iteration order.
  [[nodiscard]] Log names() const {
    Log all;
    for (auto it = Model::iteratorConst(*dir); it; ++it) all.push_back(it.key().name().charPtr());
    return all;
  }
};

TYPED_TEST_SUITE_P(Directory);

TYPED_TEST_P(Directory, TheFactoryGivesAnEmptyOneAndItsOnlyReference) {
  const auto fresh = TypeParam::make("fresh");
  EXPECT_EQ(fresh->references(), 1U);
  EXPECT_EQ(fresh->name(), Kob::Name("fresh"));
  EXPECT_EQ(TypeParam::count(*fresh), 0U);
  EXPECT_EQ(fresh->changeCount(), 0U);
  EXPECT_EQ(fresh->readCount(), 0U);
  EXPECT_FALSE(TypeParam::iteratorConst(*fresh));
}

TYPED_TEST_P(Directory, ANewEntryIsThereAndCountedWhenItsKeyIsAnnounced) {
  this->listener->onHearing = [&] {
    EXPECT_EQ(TypeParam::count(*this->dir), 1U);
    EXPECT_TRUE(TypeParam::get(*this->dir, this->one));
    EXPECT_EQ(this->dir->changeCount(), 1U);
  };
  const auto entry = TypeParam::add(*this->dir, this->one);
  EXPECT_EQ(this->listener->heard, (Log{"Vlan1"}));
  EXPECT_EQ(TypeParam::get(*this->dir, this->one), entry);
  EXPECT_EQ(this->dir->changeCount(), 1U);
}

TYPED_TEST_P(Directory, AnEntryKnowsItsInterface) {
  const auto entry = TypeParam::add(*this->dir, this->one);
  EXPECT_EQ(entry->intfId(), this->one);
  EXPECT_EQ(entry->fwkKey(), this->one);
  EXPECT_EQ(entry->name(), Kob::Name("Vlan1"));
}

TYPED_TEST_P(Directory, AnEntryThatIsThereIsGivenAsItIs) {
  const auto entry = TypeParam::add(*this->dir, this->one);
  EXPECT_EQ(TypeParam::add(*this->dir, this->one), entry);
  EXPECT_EQ(TypeParam::count(*this->dir), 1U);
  EXPECT_EQ(this->dir->changeCount(), 1U);
  EXPECT_EQ(this->listener->heard, (Log{"Vlan1"}));
}

TYPED_TEST_P(Directory, AMissIsNull) {
  EXPECT_FALSE(TypeParam::get(*this->dir, this->one));
  EXPECT_FALSE(TypeParam::get(*this->dir, Plexo::IntfId()));
  TypeParam::add(*this->dir, this->two);
  EXPECT_FALSE(TypeParam::get(*this->dir, this->one));
}

TYPED_TEST_P(Directory, EachLookUpCountsOneReadAndNothingElseDoes) {
  TypeParam::add(*this->dir, this->one);
  for (auto it = TypeParam::iteratorConst(*this->dir); it; ++it) {
    EXPECT_TRUE(it.isMemberOf(this->one));
  }
  TypeParam::del(*this->dir, this->two);
  EXPECT_EQ(TypeParam::count(*this->dir), 1U);
  EXPECT_EQ(this->dir->readCount(), 0U);
  EXPECT_TRUE(TypeParam::get(*this->dir, this->one));
  EXPECT_FALSE(TypeParam::get(std::as_const(*this->dir), this->two));
  EXPECT_EQ(this->dir->readCount(), 2U);
  EXPECT_EQ(this->dir->changeCount(), 1U);
}

TYPED_TEST_P(Directory, ARawInsertionIsNeitherCountedNorAnnounced) {
  const auto entry = TypeParam::addRaw(*this->dir, this->one);
  EXPECT_EQ(TypeParam::get(*this->dir, this->one), entry);
  EXPECT_EQ(this->dir->changeCount(), 0U);
  EXPECT_EQ(this->listener->heard, Log{});
}

TYPED_TEST_P(Directory, ARemovedEntryHasGoneAndIsCountedWhenItsKeyIsAnnounced) {
  const auto entry = TypeParam::add(*this->dir, this->one);
  this->listener->heard.clear();
  this->listener->onHearing = [&] {
    EXPECT_FALSE(TypeParam::get(*this->dir, this->one));
    EXPECT_EQ(this->dir->changeCount(), 2U);
  };
  EXPECT_EQ(TypeParam::del(*this->dir, this->one), entry);
  EXPECT_EQ(this->listener->heard, (Log{"Vlan1"}));
  EXPECT_EQ(TypeParam::count(*this->dir), 0U);
  EXPECT_EQ(this->dir->changeCount(), 2U);
}

TYPED_TEST_P(Directory, RemovingWhatIsNotThereChangesNothing) {
  EXPECT_FALSE(TypeParam::del(*this->dir, this->one));
  EXPECT_EQ(this->dir->changeCount(), 0U);
  EXPECT_EQ(this->listener->heard, Log{});
}

TYPED_TEST_P(Directory, ARemovedEntryMayBeHeldLongerAndIsNobodysAnyMore) {
  const auto held = TypeParam::add(*this->dir, this->one);
  TypeParam::del(*this->dir, this->one);
  EXPECT_EQ(held->references(), 1U);
  EXPECT_EQ(held->intfId(), this->one);
  EXPECT_NE(TypeParam::add(*this->dir, this->one), held);
}

TYPED_TEST_P(Directory, AnIteratorRemovesItsEntryAndVisitsTheOthersOnce) {
  this->addThree();
  const Log order = this->names();
  Log visited;
  for (auto it = TypeParam::iterator(*this->dir); it; ++it) {
    visited.push_back(it.key().name().charPtr());
    const auto current = it.ptr();
    EXPECT_EQ(TypeParam::del(*this->dir, it), current);
  }
  EXPECT_EQ(visited, order);
  EXPECT_EQ(this->listener->heard, order);
  EXPECT_EQ(TypeParam::count(*this->dir), 0U);
  EXPECT_EQ(this->dir->changeCount(), 6U);
}

TYPED_TEST_P(Directory, AnIteratorAtTheEndRemovesNothing) {
  TypeParam::add(*this->dir, this->one);
  auto end = TypeParam::iterator(*this->dir);
  ++end;
  EXPECT_FALSE(TypeParam::del(*this->dir, end));
  EXPECT_EQ(TypeParam::count(*this->dir), 1U);
  EXPECT_EQ(this->dir->changeCount(), 1U);
}

TYPED_TEST_P(Directory, RemovingAllAnnouncesEachKeyOnceInIterationOrder) {
  this->addThree();
  const Log order = this->names();
  unsigned left = 3;
  this->listener->onHearing = [&] { EXPECT_EQ(TypeParam::count(*this->dir), --left); };
  TypeParam::delAll(*this->dir);
  EXPECT_EQ(this->listener->heard, order);
  EXPECT_EQ(TypeParam::count(*this->dir), 0U);
  EXPECT_EQ(this->dir->changeCount(), 6U);
}

TYPED_TEST_P(Directory, RemovingAllOfNothingDoesNothing) {
  TypeParam::delAll(*this->dir);
  EXPECT_EQ(this->dir->changeCount(), 0U);
  EXPECT_EQ(this->listener->heard, Log{});
}

TYPED_TEST_P(Directory, AnAnnouncementCountsNothing) {
  TypeParam::notify(*this->dir, this->one);
  EXPECT_EQ(this->listener->heard, (Log{"Vlan1"}));
  EXPECT_EQ(this->dir->changeCount(), 0U);
}

TYPED_TEST_P(Directory, AListenerThatThrowsIsToldAndTheOthersAreCalled) {
  const auto other = joined(Kob::Ptr(new typename TypeParam::Heard), this->dir);
  this->listener->onHearing = [] { throw std::runtime_error("refused"); };
  TypeParam::add(*this->dir, this->one);
  EXPECT_EQ(this->listener->heard, (Log{"Vlan1", "exception " + std::to_string(TypeParam::id)}));
  EXPECT_EQ(other->heard, (Log{"Vlan1"}));
  EXPECT_EQ(TypeParam::count(*this->dir), 1U);
}

TYPED_TEST_P(Directory, AListenerThatOverridesNothingHearsNothing) {
  const auto silent = joined(Kob::Ptr(new typename TypeParam::Silent), this->dir);
  TypeParam::add(*this->dir, this->one);
  silent->onZeroReferences();
  TypeParam::callOtherHooks(*silent);
  EXPECT_EQ(this->listener->heard, (Log{"Vlan1"}));
}

TYPED_TEST_P(Directory, AListenerHasTheNameOfItsDirectory) {
  EXPECT_EQ(this->listener->name(), Kob::Name("the directory"));
  this->listener->notifierIs(nullptr);
  EXPECT_EQ(this->listener->name(), Kob::Name(""));
}

TYPED_TEST_P(Directory, AnObjectOfAnotherTypeIsNoNotifier) {
  this->listener->notifierIs(TypeParam::add(*this->dir, this->one));
  EXPECT_FALSE(this->listener->notifier());
  EXPECT_EQ(this->dir->kobNotifiees().members(), 0U);
}

TYPED_TEST_P(Directory, AListenerThatGoesLeavesTheList) {
  EXPECT_EQ(this->dir->kobNotifiees().members(), 1U);
  this->listener = nullptr;
  EXPECT_EQ(this->dir->kobNotifiees().members(), 0U);
  TypeParam::add(*this->dir, this->one);
  EXPECT_EQ(this->dir->references(), 1U);
}

TYPED_TEST_P(Directory, TheLastReleaseIsToldBeforeTheDirectoryGoes) {
  TypeParam::add(*this->dir, this->one);
  this->listener->heard.clear();
  this->listener->isWeakReferenceIs(true);
  const auto* const directory = this->dir.get();
  this->listener->onHearing = [&] { EXPECT_EQ(TypeParam::count(*directory), 1U); };
  this->dir = nullptr;
  EXPECT_EQ(this->listener->heard, (Log{"zero references"}));
  EXPECT_FALSE(this->listener->notifier());
}

TYPED_TEST_P(Directory, ADirectoryThatGoesUnlinksItsListeners) {
  const auto second = joined(Kob::Ptr(new typename TypeParam::Heard), this->dir);
  this->listener->isWeakReferenceIs(true);
  second->isWeakReferenceIs(true);
  EXPECT_EQ(this->dir->kobNotifiees().next(this->listener.get()), second.get());
  this->dir = nullptr;
  EXPECT_EQ(TypeParam::make("another")->kobNotifiees().next(this->listener.get()), nullptr);
}

TYPED_TEST_P(Directory, AListenerThatThrowsAtTheLastReleaseIsTold) {
  this->listener->isWeakReferenceIs(true);
  this->listener->onHearing = [] { throw std::runtime_error("refused"); };
  this->dir = nullptr;
  EXPECT_EQ(this->listener->heard, (Log{"zero references", "exception 5"}));
}

TYPED_TEST_P(Directory, ASecondRawInsertionOfAnInterfaceIsFatal) {
  TypeParam::addRaw(*this->dir, this->one);
  EXPECT_FATAL(TypeParam::addRaw(*this->dir, this->one),
               assertion("Kob/HashMapGeneric.cpp",
                         "void Kob::HashMapGeneric::newMemberG(Kob::PtrInterface*, const void*)",
                         "!isMemberOf( key )"));
}

REGISTER_TYPED_TEST_SUITE_P(
    Directory, TheFactoryGivesAnEmptyOneAndItsOnlyReference,
    ANewEntryIsThereAndCountedWhenItsKeyIsAnnounced, AnEntryKnowsItsInterface,
    AnEntryThatIsThereIsGivenAsItIs, AMissIsNull, EachLookUpCountsOneReadAndNothingElseDoes,
    ARawInsertionIsNeitherCountedNorAnnounced,
    ARemovedEntryHasGoneAndIsCountedWhenItsKeyIsAnnounced, RemovingWhatIsNotThereChangesNothing,
    ARemovedEntryMayBeHeldLongerAndIsNobodysAnyMore,
    AnIteratorRemovesItsEntryAndVisitsTheOthersOnce, AnIteratorAtTheEndRemovesNothing,
    RemovingAllAnnouncesEachKeyOnceInIterationOrder, RemovingAllOfNothingDoesNothing,
    AnAnnouncementCountsNothing, AListenerThatThrowsIsToldAndTheOthersAreCalled,
    AListenerThatOverridesNothingHearsNothing, AListenerHasTheNameOfItsDirectory,
    AnObjectOfAnotherTypeIsNoNotifier, AListenerThatGoesLeavesTheList,
    TheLastReleaseIsToldBeforeTheDirectoryGoes, ADirectoryThatGoesUnlinksItsListeners,
    AListenerThatThrowsAtTheLastReleaseIsTold, ASecondRawInsertionOfAnInterfaceIsFatal);

}  // namespace Tests
