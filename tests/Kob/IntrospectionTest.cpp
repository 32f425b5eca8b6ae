// The one place that hears of descriptions, and its observers: early ones, late ones, and those
// that describe something themselves.

#include "Kob/Introspection.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/Kob/Observer.h"

namespace KobTest {
namespace {

using Kob::IntrospectionObserver;
using Kob::IntrospectionReactor;
using Kob::KobAttr;
using Kob::KobType;
using Kob::Ptr;

/// Types that are described stay.
KobType* newType(const char* shortName, const char* qualifiedName, KobType* base = nullptr) {
  auto* const type = new KobType(shortName, base, qualifiedName);
  type->referencesLeak();
  return type;
}

class Introspection : public testing::Test {
 protected:
  /// Describes a type with one attribute of each sort, in a namespace.
  void describe() {
    KobType* const type = newType("Part", "Shop::Part", base);
    reactor->handleNameSpace("Shop");
    reactor->handleType(type, base);
    plain = reactor->defNoninstantiatingAttr(type, "weight", other, base, {0x109, 0x400}, 2, 130);
    KobAttr* const attr = type->attrIs("weigh", other, {}, 131);
    reactor->handleAttr(type, attr);
    reactor->handleAttrContextExit();
    reactor->handleScopeExit();
    reactor->handleScopeExit();
  }
  /// What is heard of it.
  static Heard description() {
    return {"namespace Shop",
            "type Shop::Part : Shop::Base",
            "plain Part.weight",
            "attr Part.weigh",
            "attr end",
            "end",
            "end"};
  }

  static KobType* baseType() {
    static KobType* const type = newType("Base", "Shop::Base");
    return type;
  }
  static KobType* otherType() {
    static KobType* const type = newType("Other", "Shop::Other");
    return type;
  }

  KobType* base = baseType();
  KobType* other = otherType();
  KobAttr* plain = nullptr;
  Ptr<WritingObserver> observer{new WritingObserver};
  Ptr<WritingObserver> late{new WritingObserver};
  IntrospectionGuard guard;
  Ptr<IntrospectionReactor> reactor = guard.reactor;
};

TEST_F(Introspection, IsOneReactorForTheProcessAndActiveAtStart) {
  EXPECT_EQ(IntrospectionReactor::global(), reactor);
  EXPECT_TRUE(reactor->active());
  reactor->activeIs(false);
  EXPECT_FALSE(IntrospectionReactor::global()->active());
  reactor->activeIs(true);
  EXPECT_TRUE(reactor->active());
}

TEST_F(Introspection, HasNoObserverUntilOneIsSet) {
  EXPECT_EQ(reactor->observer(), nullptr);
  reactor->observerIs(observer);
  EXPECT_EQ(reactor->observer(), observer);
}

TEST_F(Introspection, DeclaresAPlainAttributeWithAllThatIsKnownOfIt) {
  describe();
  EXPECT_EQ(plain->name(), "weight");
  EXPECT_EQ(plain->type(), other);
  EXPECT_EQ(plain->keyType(), base);
  EXPECT_EQ(plain->flags(), (Kob::AttributeFlags{0x109, 0x400}));
  EXPECT_EQ(plain->kindCode(), 2U);
  EXPECT_EQ(plain->id(), 130);
}

TEST_F(Introspection, AnObserverHearsEachCallInOrder) {
  reactor->observerIs(observer);
  observer->taken();
  describe();
  EXPECT_EQ(observer->heard, description());
}

TEST_F(Introspection, ATypeWithoutBaseIsHeardWithoutOne) {
  reactor->observerIs(observer);
  observer->taken();
  reactor->handleType(other, nullptr);
  reactor->handleScopeExit();
  EXPECT_EQ(observer->heard, (Heard{"type Shop::Other", "end"}));
}

TEST_F(Introspection, ALateObserverFirstHearsAllThatWasDescribedWithoutIt) {
  reactor->observerIs(observer);
  describe();
  EXPECT_EQ(lastOf(observer->heard, 7), description());
  reactor->observerIs(late);
  EXPECT_EQ(late->heard, observer->heard);
  describe();
  EXPECT_EQ(lastOf(late->heard, 14), [] {
    Heard twice = description();
    for (const auto& line : description()) twice.push_back(line);
    return twice;
  }());
}

TEST_F(Introspection, TheObserverThatIsSetAlreadyHearsNothingAgain) {
  reactor->observerIs(observer);
  observer->taken();
  reactor->observerIs(observer);
  EXPECT_EQ(observer->heard, Heard{});
  EXPECT_EQ(reactor->observer(), observer);
}

TEST_F(Introspection, AnObserverThatWasReplacedHearsNoMore) {
  reactor->observerIs(observer);
  reactor->observerIs(late);
  observer->taken();
  late->taken();
  describe();
  EXPECT_EQ(observer->heard, Heard{});
  EXPECT_EQ(late->heard, description());
  EXPECT_EQ(observer->references(), 1U) << "nor is it held";
}

TEST_F(Introspection, WithoutObserverDescriptionsAreKept) {
  reactor->observerIs(observer);
  reactor->observerIs(nullptr);
  EXPECT_EQ(reactor->observer(), nullptr);
  observer->taken();
  describe();
  EXPECT_EQ(observer->heard, Heard{});
  reactor->observerIs(late);
  EXPECT_EQ(lastOf(late->heard, 7), description());
}

TEST_F(Introspection, WhatALateObserverDescribesItselfComesAfterTheRestAndOnce) {
  describe();
  reactor->observerIs(observer);
  Heard expected = observer->taken();
  expected.emplace_back("namespace Late");
  late->whenHeard = [this](const std::string&) {
    late->whenHeard = [](const std::string&) {};
    reactor->handleNameSpace("Late");
  };
  reactor->observerIs(late);
  EXPECT_EQ(late->heard, expected);
  EXPECT_EQ(observer->heard, Heard{}) << "the former observer is gone by then";
}

TEST_F(Introspection, WhatAnObserverDescribesLaterComesOnceToo) {
  reactor->observerIs(observer);
  observer->taken();
  observer->whenHeard = [this](const std::string& line) {
    if (line == "namespace Shop") reactor->handleNameSpace("Meanwhile");
  };
  reactor->handleNameSpace("Shop");
  EXPECT_EQ(observer->heard, (Heard{"namespace Shop", "namespace Meanwhile"}));
}

TEST_F(Introspection, AnObserverMayTakeItselfAwayWhileItIsTold) {
  reactor->observerIs(observer);
  observer->taken();
  observer->whenHeard = [this](const std::string&) { reactor->observerIs(nullptr); };
  describe();
  EXPECT_EQ(observer->heard, Heard{"namespace Shop"});
  EXPECT_EQ(observer->references(), 1U);
}

TEST_F(Introspection, WhatAnObserverThrowsPassesToWhoeverDescribes) {
  reactor->observerIs(observer);
  observer->whenHeard = [](const std::string&) { throw std::runtime_error("not now"); };
  EXPECT_THROW(reactor->handleNameSpace("Shop"), std::runtime_error);
  EXPECT_EQ(reactor->observer(), observer);
}

TEST_F(Introspection, ALateObserverThatThrowsIsNotSet) {
  describe();
  late->whenHeard = [](const std::string&) { throw std::runtime_error("not now"); };
  EXPECT_THROW(reactor->observerIs(late), std::runtime_error);
  EXPECT_EQ(reactor->observer(), nullptr);
  EXPECT_EQ(late->references(), 1U);
}

TEST_F(Introspection, AnObserverNeedNotListenToEverything) {
  class ListensToNothing final : public IntrospectionObserver {};
  const Ptr<IntrospectionObserver> silent(new ListensToNothing);
  reactor->observerIs(silent);
  describe();
  EXPECT_EQ(reactor->observer(), silent);
}

}  // namespace
}  // namespace KobTest
