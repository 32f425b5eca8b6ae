// How a wrapper of the table hears of it, through its adapter, and tells its generic listeners:
// switched on and off, as a zombie, and when one of the three goes.

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/FyrL3Intf/TableAdapter.h"

namespace FyrL3Intf::Tests {
namespace {

/// A table that says when it goes.
class MortalTable final : public Table {
 public:
  explicit MortalTable(bool& gone) : Table("mortal", false), gone_(gone) {}
  ~MortalTable() override { gone_ = true; }

 private:
  bool& gone_;
};

// ---------------------------------------------------------------------------------------------
// Construction

TEST_F(TableAdapterTest, AWrapperMakesItsAdapter) {
  EXPECT_EQ(adapter->notifier(), table);
  EXPECT_EQ(adapter->kobReactorAdapter(), wrapper);
  EXPECT_TRUE(adapter->isRegisteredNotifiee());
  EXPECT_TRUE(adapter->isWeakReference());
  EXPECT_TRUE(adapter->hasNotificationActive());
  EXPECT_TRUE(wrapper->hasNotificationActive());
  EXPECT_FALSE(adapter->kobMarkedForDeletion());
  EXPECT_FALSE(adapter->intfL3IndexPendingKey());
  EXPECT_EQ(adapter->name(), Kob::Name("table"));
}

TEST_F(TableAdapterTest, IsAppendedToTheTablesListOnce) {
  const auto other = tableFactory("other", false);
  const auto first = listenerOf(other);
  const auto modifications = other->kobNotifiees().modificationCount();
  const Kob::Ptr made(new TableWrapper(other, false));
  EXPECT_EQ(other->kobNotifiees().modificationCount(), modifications + 1);
  EXPECT_EQ(other->kobNotifiees().members(), 2U);
}

TEST_F(TableAdapterTest, HearsInTheOrderOfTheTablesList) {
  const auto other = tableFactory("other", false);
  Log log;
  const auto before = listenerOf(other, "before", log);
  const Kob::Ptr made(new TableWrapper(other, false));
  const auto generic = genericListenerOf(made, "generic", log);
  const auto after = listenerOf(other, "after", log);
  other->intfL3IndexNotify(p);
  EXPECT_EQ(log, (Log{"before Ethernet1", "generic 260 Ethernet1", "after Ethernet1"}));
}

TEST_F(TableAdapterTest, AnAdapterOfNobodyIsOneAllTheSame) {
  const auto nobodys = adapterOfNobody();
  EXPECT_EQ(nobodys->notifier(), table);
  EXPECT_EQ(members(), 2U);
  EXPECT_FALSE(nobodys->kobReactor());
  EXPECT_EQ(nobodys->kobRawReactor(), nullptr);
  EXPECT_FALSE(nobodys->kobReactorAdapter());
}

TEST_F(TableAdapterTest, EachWrapperHasItsOwn) {
  const Kob::Ptr second(new TableWrapper(table, true));
  EXPECT_NE(second->adapter(), adapter);
  const auto secondListener = genericListenerOf(second);
  EXPECT_EQ(heardOfAChange(), aChangeOfP);
  EXPECT_EQ(secondListener->heard, aChangeOfP);
}

// ---------------------------------------------------------------------------------------------
// Who keeps whom

TEST_F(TableAdapterTest, DoesNotKeepTheTableAlive) {
  bool gone = false;
  Kob::Ptr<Table> mortal(new MortalTable(gone));
  const auto held = TableWrapper::GenericIf_Adapter_Is(mortal, nullptr);
  mortal = nullptr;
  EXPECT_TRUE(gone);
  EXPECT_FALSE(held->notifier());
  EXPECT_EQ(held->name(), Kob::Name(""));
}

TEST_F(TableAdapterTest, TheWrapperKeepsTheTableAliveUntilItGoes) {
  bool gone = false;
  Kob::Ptr<Table> mortal(new MortalTable(gone));
  Kob::Ptr<TableWrapper> keeper(new TableWrapper(mortal, false));
  mortal = nullptr;
  EXPECT_FALSE(gone);
  keeper = nullptr;
  EXPECT_TRUE(gone);
}

TEST_F(TableAdapterTest, ItsAdapterOutlivesBothWithoutHarm) {
  bool gone = false;
  Kob::Ptr<Table> mortal(new MortalTable(gone));
  Kob::Ptr<TableWrapper> keeper(new TableWrapper(mortal, false));
  const Kob::Ptr<Adapter> survivor = keeper->adapter();
  mortal = nullptr;
  keeper = nullptr;
  EXPECT_TRUE(gone);
  EXPECT_FALSE(survivor->notifier());
  EXPECT_FALSE(survivor->kobReactorAdapter());
  EXPECT_FALSE(survivor->hasNotificationActive());
  EXPECT_FALSE(survivor->isRegisteredNotifiee());
}

TEST_F(TableAdapterTest, DoesNotKeepItsWrapperAlive) {
  wrapperDel();
  EXPECT_FALSE(adapter->kobReactorAdapter());
}

TEST_F(TableAdapterTest, IsTheWrappersAlone) {
  adapter = nullptr;
  wrapperDel();
  EXPECT_EQ(members(), 0U);
}

TEST_F(TableAdapterTest, KnowsItsWrapper) {
  EXPECT_EQ(adapter->kobReactor(), wrapper);
  EXPECT_EQ(adapter->kobRawReactor(), wrapper.get());
  EXPECT_EQ(Kob::Ptr<const Adapter>(adapter)->kobReactorAdapter(), wrapper);
}

// ---------------------------------------------------------------------------------------------
// Forwarding

TEST_F(TableAdapterTest, AChangeOfAKeyReachesTheGenericListenersWithTheKey) {
  table->intfL3IndexIs(p, id);
  table->intfL3IndexIs(p, L3Id(11));
  table->intfL3IndexDel(p);
  EXPECT_EQ(listener->heard, (Log{"260 Ethernet1", "260 Ethernet1", "260 Ethernet1"}));
}

TEST_F(TableAdapterTest, ANotificationWithoutAKeyReachesThemWithoutOne) {
  adapter->onIntfL3Index();
  EXPECT_EQ(listener->heard, Log{"260"});
}

TEST_F(TableAdapterTest, ChangesOfTheReverseMapAreNotTold) {
  table->routedPortNameIs(id, p);
  table->routedPortNameDel(id);
  EXPECT_EQ(listener->heard, Log{});
}

TEST_F(TableAdapterTest, ListenersHearInTheOrderInWhichTheyJoined) {
  Log log;
  const auto a = genericListenerOf(wrapper, "a", log);
  const auto b = genericListenerOf(wrapper, "b", log);
  table->intfL3IndexNotify(q);
  EXPECT_EQ(log, (Log{"a 260 Ethernet2", "b 260 Ethernet2"}));
  a->isRegisteredNotifieeIs(false);
  table->intfL3IndexNotify(p);
  EXPECT_EQ(log.size(), 3U);
  EXPECT_EQ(log.back(), "b 260 Ethernet1");
}

TEST_F(TableAdapterTest, TheLatestKeyIsRecorded) {
  table->intfL3IndexNotify(p);
  table->intfL3IndexNotify(q);
  EXPECT_EQ(adapter->intfL3IndexPendingKey(), q);
}

TEST_F(TableAdapterTest, AWriteThroughAWrapperIsHeardFromThatVeryWrapper) {
  EXPECT_EQ(outcome(wrapper, 260, writeOp, boxed(p), boxed(id)), "nothing");
  EXPECT_EQ(listener->heard, aChangeOfP);
  EXPECT_EQ(outcome(wrapper, 260, deleteOp, boxed(p)), "nothing");
  EXPECT_EQ(listener->heard, (Log{"260 Ethernet1", "260 Ethernet1"}));
  EXPECT_EQ(outcome(wrapper, 259, writeOp, boxed(id), boxed(p)), "nothing");
  EXPECT_EQ(listener->heard.size(), 2U);
}

TEST_F(TableAdapterTest, AReadOnlyWrapperHearsToo) {
  const auto heard = genericListenerOf(readOnlyOf(table));
  table->intfL3IndexIs(p, id);
  EXPECT_EQ(heard->heard, aChangeOfP);
}

TEST_F(TableAdapterTest, AListenerThatReadsFindsTheChangeMade) {
  std::string read;
  listener->onHeard = [&] { read = outcome(wrapper, 260, readOp, boxed(p)); };
  table->intfL3IndexIs(p, id);
  EXPECT_EQ(read, "FyrL3Intf::L3Id 10");
}

TEST_F(TableAdapterTest, OneThatServesNobodyPassesNothingOn) {
  const auto nobodys = adapterOfNobody();
  EXPECT_EQ(heardOfAChange(), aChangeOfP);
  nobodys->onIntfL3Index();
  nobodys->onNotificationException(260);
  EXPECT_EQ(listener->heard, aChangeOfP);
  EXPECT_FALSE(nobodys->intfL3IndexPendingKey());
}

TEST_F(TableAdapterTest, AnExceptionThatItIsToldConcernsNoListener) {
  adapter->onNotificationException(260);
  EXPECT_EQ(listener->heard, Log{});
  EXPECT_EQ(heardOfAChange(), aChangeOfP);
}

TEST_F(TableAdapterTest, AListenerThatThrowsIsToldAndTheOthersHear) {
  const auto second = genericListenerOf(wrapper);
  const auto reader = listenerOf(table);
  listener->onHeard = [] { throw std::runtime_error("no"); };
  table->intfL3IndexIs(p, id);
  EXPECT_EQ(listener->heard, (Log{"260 Ethernet1", "exception 260"}));
  EXPECT_EQ(second->heard, aChangeOfP);
  EXPECT_EQ(reader->heard, Log{"Ethernet1"});
  EXPECT_EQ(forwardOf(*table), (Forward{{"Ethernet1", 10}}));
}

TEST_F(TableAdapterTest, ZeroReferencesSwitchAdapterAndWrapperOff) {
  table->zeroReferencesIs(true);
  EXPECT_FALSE(adapter->hasNotificationActive());
  EXPECT_FALSE(wrapper->hasNotificationActive());
  EXPECT_EQ(members(), 0U);
  EXPECT_EQ(heardOfAChange(), Log{});
}

TEST_F(TableAdapterTest, ZeroReferencesSwitchAnAdapterOfNobodyOffToo) {
  const auto nobodys = adapterOfNobody();
  nobodys->onZeroReferences();
  EXPECT_FALSE(nobodys->hasNotificationActive());
  EXPECT_EQ(members(), 1U);
}

// ---------------------------------------------------------------------------------------------
// On and off

TEST_F(TableAdapterTest, SwitchedOffItLeavesTheListAndSwitchesItsWrapper) {
  EXPECT_FALSE(adapter->hasNotificationActiveIs(false));
  EXPECT_FALSE(wrapper->hasNotificationActive());
  EXPECT_FALSE(adapter->isRegisteredNotifiee());
  EXPECT_EQ(members(), 0U);
  EXPECT_EQ(heardOfAChange(), Log{});
}

TEST_F(TableAdapterTest, SwitchedOnAgainItJoinsAtTheTail) {
  Log log;
  const auto generic = genericListenerOf(wrapper, "generic", log);
  const auto reader = listenerOf(table, "reader", log);
  adapter->hasNotificationActiveIs(false);
  EXPECT_TRUE(adapter->hasNotificationActiveIs(true));
  EXPECT_TRUE(wrapper->hasNotificationActive());
  table->intfL3IndexNotify(p);
  EXPECT_EQ(log, (Log{"reader Ethernet1", "generic 260 Ethernet1"}));
}

TEST_F(TableAdapterTest, OneThatWasUnregisteredWhenSwitchedOffStaysSo) {
  adapter->isRegisteredNotifieeIs(false);
  adapter->hasNotificationActiveIs(false);
  adapter->hasNotificationActiveIs(true);
  EXPECT_FALSE(adapter->isRegisteredNotifiee());
  EXPECT_EQ(heardOfAChange(), Log{});
}

TEST_F(TableAdapterTest, TheSameSwitchAgainChangesNothing) {
  const auto modifications = table->kobNotifiees().modificationCount();
  EXPECT_TRUE(adapter->hasNotificationActiveIs(true));
  EXPECT_TRUE(wrapper->hasNotificationActiveIs(true));
  EXPECT_EQ(table->kobNotifiees().modificationCount(), modifications);
  adapter->hasNotificationActiveIs(false);
  EXPECT_FALSE(adapter->hasNotificationActiveIs(false));
  adapter->hasNotificationActiveIs(true);
  EXPECT_TRUE(adapter->isRegisteredNotifiee()) << "the second switch must not forget";
}

TEST_F(TableAdapterTest, TheWrappersSwitchIsTheAdapters) {
  EXPECT_FALSE(wrapper->hasNotificationActiveIs(false));
  EXPECT_FALSE(adapter->hasNotificationActive());
  EXPECT_EQ(heardOfAChange(), Log{});
  EXPECT_TRUE(wrapper->hasNotificationActiveIs(true));
  EXPECT_TRUE(adapter->hasNotificationActive());
  EXPECT_EQ(heardOfAChange(), aChangeOfP);
}

TEST_F(TableAdapterTest, AnAdapterOfNobodyIsSwitchedAlone) {
  const auto nobodys = adapterOfNobody();
  EXPECT_FALSE(nobodys->hasNotificationActiveIs(false));
  EXPECT_EQ(members(), 1U);
  EXPECT_TRUE(nobodys->hasNotificationActiveIs(true));
  EXPECT_EQ(members(), 2U);
}

// ---------------------------------------------------------------------------------------------
// Zombies

TEST_F(TableAdapterTest, AZombieStopsListeningAndARevivedOneListensAgain) {
  EXPECT_TRUE(adapter->kobDoZombieReactors(true));
  EXPECT_TRUE(adapter->kobMarkedForDeletion());
  EXPECT_FALSE(adapter->hasNotificationActive());
  EXPECT_EQ(members(), 0U);
  EXPECT_EQ(heardOfAChange(), Log{});
  EXPECT_FALSE(adapter->kobDoZombieReactors(false));
  EXPECT_FALSE(adapter->kobMarkedForDeletion());
  EXPECT_EQ(members(), 1U);
  EXPECT_EQ(heardOfAChange(), aChangeOfP);
}

TEST_F(TableAdapterTest, TheWrapperIsSwitchedBeforeTheMarkAndNotWhileItStands) {
  adapter->kobDoZombieReactors(true);
  EXPECT_FALSE(wrapper->hasNotificationActive());
  adapter->kobDoZombieReactors(false);
  EXPECT_TRUE(adapter->hasNotificationActive());
  EXPECT_FALSE(wrapper->hasNotificationActive());
}

TEST_F(TableAdapterTest, WhereTheyDifferTheSameSwitchOfOneLeavesTheOther) {
  adapter->kobDoZombieReactors(true);
  adapter->kobDoZombieReactors(false);
  ASSERT_TRUE(adapter->hasNotificationActive());
  ASSERT_FALSE(wrapper->hasNotificationActive());
  EXPECT_TRUE(adapter->hasNotificationActiveIs(true));
  EXPECT_FALSE(wrapper->hasNotificationActive());
  EXPECT_FALSE(wrapper->hasNotificationActiveIs(false));
  EXPECT_TRUE(adapter->hasNotificationActive());
}

TEST_F(TableAdapterTest, TheSameMarkAgainChangesNothing) {
  EXPECT_FALSE(adapter->kobDoZombieReactors(false));
  EXPECT_EQ(members(), 1U);
  adapter->kobDoZombieReactors(true);
  adapter->hasNotificationActiveIs(true);
  EXPECT_TRUE(adapter->kobDoZombieReactors(true));
  EXPECT_TRUE(adapter->hasNotificationActive());
}

TEST_F(TableAdapterTest, TheSameMarkOfTheWrapperAgainChangesNothing) {
  EXPECT_FALSE(wrapper->kobDoZombieReactors(false));
  EXPECT_EQ(members(), 1U);
  wrapper->kobDoZombieReactors(true);
  wrapper->hasNotificationActiveIs(true);
  EXPECT_TRUE(wrapper->kobDoZombieReactors(true));
  EXPECT_TRUE(wrapper->hasNotificationActive());
}

TEST_F(TableAdapterTest, AZombieWithoutATableIsOnlyMarked) {
  adapter->notifierIs(nullptr);
  EXPECT_TRUE(adapter->kobDoZombieReactors(true));
  EXPECT_TRUE(adapter->hasNotificationActive());
  EXPECT_TRUE(adapter->kobMarkedForDeletion());
}

TEST_F(TableAdapterTest, AWrapperThatIsAZombieTellsNobody) {
  EXPECT_TRUE(wrapper->kobDoZombieReactors(true));
  EXPECT_TRUE(wrapper->kobMarkedForDeletion());
  EXPECT_TRUE(adapter->kobMarkedForDeletion());
  EXPECT_FALSE(wrapper->hasNotificationActive());
  EXPECT_EQ(heardOfAChange(), Log{});
  wrapper->onIntfL3Index(p);
  EXPECT_EQ(listener->heard, Log{});
}

TEST_F(TableAdapterTest, AWrapperThatIsRevivedTellsAgain) {
  wrapper->kobDoZombieReactors(true);
  EXPECT_FALSE(wrapper->kobDoZombieReactors(false));
  EXPECT_FALSE(adapter->kobMarkedForDeletion());
  EXPECT_TRUE(wrapper->hasNotificationActive());
  EXPECT_TRUE(adapter->hasNotificationActive());
  EXPECT_EQ(heardOfAChange(), aChangeOfP);
}

TEST_F(TableAdapterTest, AZombieWrapperStillOperatesItsTable) {
  wrapper->kobDoZombieReactors(true);
  EXPECT_EQ(outcome(wrapper, 260, writeOp, boxed(p), boxed(id)), "nothing");
  EXPECT_EQ(outcome(wrapper, 260, readOp, boxed(p)), "FyrL3Intf::L3Id 10");
}

TEST_F(TableAdapterTest, DiesInWhateverState) {
  for (const auto& state : {std::function([](Adapter& a) { a.kobDoZombieReactors(true); }),
                            std::function([](Adapter& a) { a.hasNotificationActiveIs(false); }),
                            std::function([](Adapter& a) {
                              a.kobDoZombieReactors(true);
                              a.isRegisteredNotifieeIs(true);
                            })}) {
    Kob::Ptr<TableWrapper> mortal(new TableWrapper(table, false));
    state(*mortal->adapter());
    mortal = nullptr;
    EXPECT_EQ(members(), 1U);
    EXPECT_EQ(heardOfAChange(), aChangeOfP);
  }
}

// ---------------------------------------------------------------------------------------------
// The wrapper behind an adapter

TEST_F(TableAdapterTest, AnotherWrapperCanTakeItsPlace) {
  const Kob::Ptr other(new TableWrapper(tableFactory("other", false), false));
  const auto otherListener = genericListenerOf(other);
  adapter->kobReactorAdapterIs(other);
  EXPECT_EQ(heardOfAChange(), Log{});
  EXPECT_EQ(otherListener->heard, aChangeOfP);
  adapter->kobReactorAdapterIs(other);
  EXPECT_EQ(adapter->kobReactorAdapter(), other);
  adapter->kobReactorAdapterIs(nullptr);
  EXPECT_EQ(heardOfAChange(), Log{});
  adapter->kobReactorAdapterIs(wrapper);
  EXPECT_EQ(heardOfAChange(), aChangeOfP);
}

TEST_F(TableAdapterTest, AnAdapterThatIsHeldForgetsAWrapperThatGoes) {
  wrapperDel();
  EXPECT_EQ(members(), 1U);
  EXPECT_EQ(heardOfAChange(), Log{});
  adapter->onIntfL3Index();
  adapter->onNotificationException(260);
  adapter->onZeroReferences();
  EXPECT_EQ(members(), 0U);
}

TEST_F(TableAdapterTest, AWrapperThatGoesDuringTheWalkBeforeItsTurnIsNotTold) {
  const auto other = tableFactory("other", false);
  const auto reader = listenerOf(other);
  Kob::Ptr<TableWrapper> mortal(new TableWrapper(other, false));
  const auto last = listenerOf(other);
  reader->onKey = [&](Plexo::IntfId) { mortal = nullptr; };
  other->intfL3IndexIs(p, id);
  EXPECT_EQ(last->heard, Log{"Ethernet1"});
  EXPECT_EQ(other->kobNotifiees().members(), 2U);
}

TEST_F(TableAdapterTest, AnAdapterThatIsHeldIsCalledInThatWalkAndServesNobody) {
  const auto other = tableFactory("other", false);
  const auto reader = listenerOf(other);
  Kob::Ptr<TableWrapper> mortal(new TableWrapper(other, false));
  const Kob::Ptr<Adapter> held = mortal->adapter();
  reader->onKey = [&](Plexo::IntfId) { mortal = nullptr; };
  other->intfL3IndexIs(p, id);
  EXPECT_FALSE(held->kobReactorAdapter());
  EXPECT_FALSE(held->intfL3IndexPendingKey());
}

TEST_F(TableAdapterTest, AListenerMayDropTheWrapperThatCallsIt) {
  const auto second = genericListenerOf(wrapper);
  listener->onHeard = [&] {
    second->notifierIs(nullptr);
    wrapperDel();
    adapter = nullptr;
  };
  table->intfL3IndexIs(p, id);
  EXPECT_EQ(listener->heard, aChangeOfP);
  EXPECT_EQ(second->heard, aChangeOfP);
  EXPECT_EQ(members(), 0U);
}

TEST_F(TableAdapterTest, AWeakListenerHearsThatTheWrapperGoes) {
  listener->isWeakReferenceIs(true);
  wrapper = nullptr;
  EXPECT_EQ(listener->heard, Log{"zero references"});
  EXPECT_FALSE(listener->notifier());
}

TEST_F(TableAdapterTest, AListenerMayChangeTheTable) {
  listener->onHeard = [&] {
    if (forwardOf(*table).size() == 1) table->intfL3IndexIs(q, L3Id(11));
  };
  table->intfL3IndexIs(p, id);
  EXPECT_EQ(listener->heard, (Log{"260 Ethernet1", "260 Ethernet2"}));
}

}  // namespace
}  // namespace FyrL3Intf::Tests
