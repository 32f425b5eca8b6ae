#include "Kob/Entity.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/Kob/Fatal.h"

namespace KobTest {

/// An entity that writes down its new parents, and names its attribute 7.
class Room : public Kob::Entity {
 public:
  using Entity::Entity;

  void handleParent(const Kob::Ptr<Kob::Entity>& handled) override {
    EXPECT_EQ(std::as_const(*this).parent(), handled) << "called after it was set";
    parents.push_back(handled ? handled->name().charPtr() : "none");
  }
  [[nodiscard]] Kob::String8 attributeString(Kob::AttributeId id) const override {
    return id == 7 ? "rooms" : "";
  }

  std::vector<std::string> parents;
};

namespace {

using Kob::Entity;
using Kob::Ptr;
using Parents = std::vector<std::string>;

template <class T>
std::string printed(const Ptr<T>& entity) {
  std::ostringstream stream;
  stream << entity;
  return stream.str();
}

TEST(Entity, StartsWithItsNameZeroCountersAndNoParent) {
  const Ptr<Entity> entity(new Entity("house"));
  EXPECT_EQ(entity->name(), "house");
  EXPECT_EQ(entity->changeCount(), 0U);
  EXPECT_EQ(entity->readCount(), 0U);
  EXPECT_EQ(entity->entityFlags(), 0x88U);
  EXPECT_EQ(entity->parent(), nullptr);
  EXPECT_EQ(std::as_const(*entity).parent(), nullptr);
  EXPECT_EQ(entity->parentAttrId(), 0);
  EXPECT_EQ(entity->parentAttr(), "");
}

TEST(Entity, ItsNameIsTheSameStringEachTime) {
  const Kob::Name name("house");
  const Ptr<Entity> entity(new Entity(name));
  EXPECT_EQ(entity->name().charPtr(), name.charPtr());
}

TEST(Entity, CountsChangesAndReadsApart) {
  const Ptr<Entity> entity(new Entity("house"));
  entity->changeCountInc();
  entity->readCountInc();
  entity->readCountInc();
  EXPECT_EQ(entity->changeCount(), 1U);
  EXPECT_EQ(entity->readCount(), 2U);
}

TEST(Entity, HandlesEachNewParentAfterItWasSet) {
  const Ptr<Room> room(new Room("kitchen"));
  const Ptr<Entity> house(new Entity("house"));
  room->parentIs(house);
  EXPECT_EQ(room->parent(), house);
  EXPECT_EQ(std::as_const(*room).parent(), house);
  room->parentIs(nullptr);
  EXPECT_EQ(room->parent(), nullptr);
  EXPECT_EQ(room->parents, (Parents{"house", "none"}));
}

TEST(Entity, TheSameParentAgainChangesNothing) {
  const Ptr<Room> room(new Room("kitchen"));
  const Ptr<Entity> house(new Entity("house"));
  room->parentIs(nullptr);
  room->parentIs(house);
  room->parentIs(house);
  EXPECT_EQ(room->parents, Parents{"house"});
}

TEST(Entity, HoldsItsParent) {
  const Ptr<Room> room(new Room("kitchen"));
  {
    const Ptr<Entity> house(new Entity("house"));
    room->parentIs(house);
    EXPECT_EQ(house->references(), 2U);
  }
  EXPECT_EQ(room->parent()->name(), "house");
}

TEST(Entity, ACircleOfParentsIsFatal) {
  const Ptr<Entity> house(new Entity("house"));
  const Ptr<Entity> room(new Entity("kitchen"));
  const Ptr<Entity> drawer(new Entity("drawer"));
  room->parentIs(house);
  drawer->parentIs(room);
  for (const Ptr<Entity>& below : {house, room, drawer}) {
    EXPECT_FATAL(house->parentIs(below), "Kob/Entity.cpp",
                 "void Kob::Entity::parentIs(const Kob::Ptr<Kob::Entity>&)", "above != this");
  }
}

TEST(Entity, ItsPathIsTheNamesFromTheRootDown) {
  const Ptr<Entity> house(new Entity("house"));
  const Ptr<Entity> room(new Entity("kitchen"));
  const Ptr<Entity> drawer(new Entity("drawer"));
  EXPECT_EQ(drawer->uriPath(), "drawer");
  drawer->parentIs(room);
  room->parentIs(house);
  EXPECT_EQ(drawer->uriPath(), "house/kitchen/drawer");
  EXPECT_EQ(drawer->fullName(), "house/kitchen/drawer");
}

TEST(Entity, KnowsUnderWhichAttributeItsParentHoldsIt) {
  const Ptr<Entity> room(new Entity("kitchen"));
  room->parentIs(Ptr<Entity>(new Room("house")));
  EXPECT_EQ(room->parentAttr(), "");
  room->parentAttrIdIs(7);
  EXPECT_EQ(room->parentAttrId(), 7);
  EXPECT_EQ(room->parentAttr(), "rooms");
}

TEST(Entity, NamesNoAttributeAndRefusesAdapters) {
  const Ptr<Entity> entity(new Entity("house"));
  EXPECT_EQ(entity->attributeString(260), "");
  EXPECT_FALSE(entity->kobNotifieeAdapterIs(Ptr<const Entity>(new Entity("adapter"))));
}

TEST(Entity, KeepsNoAttributeLog) {
  const Ptr<Entity> entity(new Entity("house"));
  EXPECT_FALSE(entity->kobHasAttrLogInterface());
  EXPECT_EQ(entity->kobNboAttrLogSa(), nullptr);
  EXPECT_EQ(std::as_const(*entity).kobNboAttrLogSa(), nullptr);
  EXPECT_EQ(entity->kobNboAttrLogSaForMsgChannel(), nullptr);
  EXPECT_EQ(entity->kobNboAttrLogSaIs(), nullptr);
  EXPECT_EQ(entity->kobNboAttrLogSaDel(), nullptr);
}

TEST(Entity, PrintsAsTypeNameAndAddressInAngleBrackets) {
  const Ptr<Room> room(new Room("kitchen"));
  std::ostringstream expected;
  expected << "<KobTest::Room kitchen " << static_cast<const void*>(room.get()) << '>';
  EXPECT_EQ(printed(room), expected.str());
  EXPECT_EQ(printed(Ptr<const Entity>(room)), expected.str()) << "the type is the object's";
}

TEST(Entity, PrintsAsNullWhereThereIsNone) {
  EXPECT_EQ(printed(Ptr<Room>()), "null");
  EXPECT_EQ(printed(Ptr<const Entity>()), "null");
}

TEST(Entity, TwoOfOneNameNeverPrintTheSame) {
  const Ptr<Entity> one(new Entity("house"));
  const Ptr<Entity> two(new Entity("house"));
  EXPECT_NE(printed(one), printed(two));
}

/// A notifiee that overrides nothing.
class Silent : public Entity::NotifieeConst {};

TEST(EntityNotifiee, HearsOfParentAndVersionWithoutDoingAnything) {
  const Ptr<Silent> notifiee(new Silent);
  notifiee->onParent();
  notifiee->onVersion();
  EXPECT_EQ(notifiee->notifier(), nullptr);
}

}  // namespace
}  // namespace KobTest
