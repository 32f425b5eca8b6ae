#include "Kob/AccessorFamily.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/Kob/Fatal.h"

namespace KobTest {

/// A value whose copies can be made to fail.
struct Brittle {
  Brittle() = default;
  explicit Brittle(int content) : number(content) {}
  Brittle(const Brittle& other) : number(other.number) { breakIfTold(); }
  Brittle& operator=(const Brittle& other) {
    breakIfTold();
    number = other.number;
    return *this;
  }
  friend bool operator==(const Brittle& a, const Brittle& b) { return a.number == b.number; }

  static void breakIfTold() {
    if (broken) throw std::runtime_error("broken");
  }
  static inline bool broken = false;

  int number = 0;
};

/// An object that is its own entry.
class Tool final : public Kob::PtrInterface {
 public:
  explicit Tool(int number) : number_(number) {}
  [[nodiscard]] int fwkKey() const noexcept { return number_; }

 private:
  friend struct Kob::HashMapLink;

  int number_;
  Kob::Ptr<Tool> kobNext_;
};

/// An entity with a family of each kind. What is announced is written down with what the collection
/// held at that moment.
class Workshop : public Kob::Entity {
 public:
  Workshop() : Entity("workshop") { ++alive; }
  ~Workshop() override { --alive; }

  KOB_VALUE_COLLECTION(price, Price, int, int, ::Kob::IfDifferent);
  KOB_VALUE_COLLECTION(stock, Stock, int, int, ::Kob::Always);
  KOB_VALUE_COLLECTION(glass, Glass, int, Brittle, ::Kob::IfDifferent);
  KOB_OBJECT_COLLECTION(tool, Tool, int, Tool);

  Kob::Ptr<Tool> newTool(int number) {
    const Kob::Ptr<Tool> tool(new Tool(number));
    tool_.newMember(tool);
    return tool;
  }

  std::vector<std::string> announced;
  std::function<void(int)> whenAnnounced;

  static inline int alive = 0;

 private:
  void write(const std::string& what, int key, bool present) {
    announced.push_back(what + " " + std::to_string(key) + (present ? " is there" : " is gone") +
                        ", changes " + std::to_string(changeCount()));
    if (whenAnnounced) whenAnnounced(key);
  }

  PriceCollection price_;
  StockCollection stock_;
  GlassCollection glass_;
  ToolCollection tool_;
};

void Workshop::priceNotify(int key) { write("price", key, price_.isMemberOf(key)); }
void Workshop::stockNotify(int key) { write("stock", key, stock_.isMemberOf(key)); }
void Workshop::glassNotify(int key) { write("glass", key, glass_.isMemberOf(key)); }
void Workshop::toolNotify(int key) { write("tool", key, tool_.isMemberOf(key)); }

/// An owner that is no framework object.
class Ledger {
 public:
  KOB_VALUE_COLLECTION(entry, Entry, int, int, ::Kob::IfDifferent);

 private:
  EntryCollection entry_;
};
void Ledger::entryNotify(int) {}

namespace {

using Kob::Ptr;
using Announced = std::vector<std::string>;

struct SmallByChoice {
  using kobPassedByValue = void;
};
static_assert(std::is_same_v<Kob::Passed<int>, int>);
static_assert(std::is_same_v<Kob::Passed<Tool*>, Tool*>);
static_assert(std::is_same_v<Kob::Passed<SmallByChoice>, SmallByChoice>);
static_assert(std::is_same_v<Kob::Passed<Brittle>, const Brittle&>);

class AccessorFamily : public testing::Test {
 protected:
  void SetUp() override { workshop_ = Ptr<Workshop>(new Workshop); }
  void TearDown() override {
    workshop_ = nullptr;
    EXPECT_EQ(Workshop::alive, 0);
  }

  /// Checks the counters: changes, reads.
  void expectCounted(std::uint32_t changes, std::uint32_t reads) const {
    EXPECT_EQ(workshop_->changeCount(), changes);
    EXPECT_EQ(workshop_->readCount(), reads);
  }

  Ptr<Workshop> workshop_;
};

TEST_F(AccessorFamily, AMissReadsAsTheNeutralValueAndCountsOneRead) {
  EXPECT_EQ(workshop_->price(1), 0);
  expectCounted(0, 1);
  EXPECT_EQ(workshop_->tool(1), nullptr);
  EXPECT_EQ(std::as_const(*workshop_).tool(1), nullptr);
  expectCounted(0, 3);
}

TEST_F(AccessorFamily, AHitReadsTheValueAndCountsOneRead) {
  workshop_->priceIs(1, 10);
  EXPECT_EQ(workshop_->price(1), 10);
  expectCounted(1, 1);
  const Ptr<Tool> tool = workshop_->newTool(4);
  EXPECT_EQ(workshop_->tool(4), tool);
  EXPECT_EQ(std::as_const(*workshop_).tool(4), tool);
  expectCounted(1, 3);
}

TEST_F(AccessorFamily, InsertingStoresThenCountsThenAnnounces) {
  workshop_->priceIs(1, 10);
  EXPECT_EQ(workshop_->announced, Announced{"price 1 is there, changes 1"});
  expectCounted(1, 0);
}

TEST_F(AccessorFamily, OverwritingKeepsTheEntryAndIsAChange) {
  workshop_->priceIs(1, 10);
  const Ptr<Workshop::KobPrice> entry = workshop_->priceCollection()[1];
  workshop_->priceIs(1, 11);
  EXPECT_EQ(workshop_->priceCollection()[1], entry);
  EXPECT_EQ(entry->value(), 11);
  EXPECT_EQ(workshop_->prices(), 1U);
  EXPECT_EQ(workshop_->announced.back(), "price 1 is there, changes 2");
}

TEST_F(AccessorFamily, WritingTheValueThatStandsIsNoChangeWhereEqualIsNoChange) {
  workshop_->priceIs(1, 10);
  workshop_->priceIs(1, 10);
  EXPECT_EQ(workshop_->announced.size(), 1U);
  expectCounted(1, 0);
}

TEST_F(AccessorFamily, WritingTheNeutralValueInsertsAnEntry) {
  workshop_->priceIs(1, 0);
  EXPECT_EQ(workshop_->prices(), 1U);
  expectCounted(1, 0);
}

TEST_F(AccessorFamily, WritingTheValueThatStandsIsAChangeWhereEveryWriteIsOne) {
  workshop_->stockIs(1, 10);
  workshop_->stockIs(1, 10);
  EXPECT_EQ(workshop_->announced.size(), 2U);
  EXPECT_EQ(workshop_->stocks(), 1U);
  expectCounted(2, 0);
}

TEST_F(AccessorFamily, TheRawInsertionNeitherCountsNorAnnounces) {
  const Ptr<Workshop::KobPrice> entry = workshop_->newPrice(1, 10);
  EXPECT_EQ(entry, workshop_->priceCollection()[1]);
  EXPECT_EQ(entry->fwkKey(), 1);
  EXPECT_EQ(entry->value(), 10);
  EXPECT_TRUE(workshop_->announced.empty());
  expectCounted(0, 0);
}

TEST_F(AccessorFamily, TheRawInsertionOfAPresentKeyIsFatal) {
  workshop_->priceIs(1, 10);
  EXPECT_FATAL(workshop_->newPrice(1, 11), "Kob/HashMapGeneric.cpp",
               "void Kob::HashMapGeneric::newMemberG(Kob::PtrInterface*, const void*)",
               "!isMemberOf( key )");
}

TEST_F(AccessorFamily, RemovingReturnsTheFormerValueAndAnnouncesItGone) {
  workshop_->newPrice(1, 10);
  EXPECT_EQ(workshop_->priceDel(1), 10);
  EXPECT_EQ(workshop_->announced, Announced{"price 1 is gone, changes 1"});
  const Ptr<Tool> tool = workshop_->newTool(4);
  EXPECT_EQ(workshop_->toolDel(4), tool);
  EXPECT_EQ(workshop_->announced.back(), "tool 4 is gone, changes 2");
}

TEST_F(AccessorFamily, RemovingWhatIsNotThereChangesNothing) {
  workshop_->newPrice(1, 10);
  EXPECT_EQ(workshop_->priceDel(2), 0);
  EXPECT_EQ(workshop_->toolDel(2), nullptr);
  EXPECT_TRUE(workshop_->announced.empty());
  expectCounted(0, 0);
}

TEST_F(AccessorFamily, RemovingByAnIteratorLeavesItUsable) {
  for (const int key : {1, 2, 3}) workshop_->newPrice(key, key * 10);
  std::vector<int> visited;
  for (auto it = workshop_->priceIterator(); it; ++it) {
    visited.push_back(it.key());
    if (it.key() == 2) continue;
    EXPECT_EQ(workshop_->priceDel(it), it.key() * 10);
  }
  EXPECT_EQ(visited, (std::vector<int>{2, 1, 3})) << "the order of the reversed hashes";
  EXPECT_EQ(workshop_->announced,
            (Announced{"price 1 is gone, changes 1", "price 3 is gone, changes 2"}));
  EXPECT_EQ(workshop_->prices(), 1U);
}

TEST_F(AccessorFamily, RemovingByAnIteratorThatStandsOnNothingChangesNothing) {
  auto prices = workshop_->priceIterator();
  EXPECT_EQ(workshop_->priceDel(prices), 0);
  auto tools = workshop_->toolIterator();
  EXPECT_EQ(workshop_->toolDel(tools), nullptr);
  EXPECT_TRUE(workshop_->announced.empty());
  expectCounted(0, 0);
}

TEST_F(AccessorFamily, RemovingTwiceByAnIteratorRemovesOnce) {
  workshop_->newPrice(1, 10);
  auto prices = workshop_->priceIterator();
  EXPECT_EQ(workshop_->priceDel(prices), 10);
  EXPECT_EQ(workshop_->priceDel(prices), 0);
  const Ptr<Tool> tool = workshop_->newTool(4);
  auto tools = workshop_->toolIterator();
  EXPECT_EQ(workshop_->toolDel(tools), tool);
  EXPECT_EQ(workshop_->toolDel(tools), nullptr);
  expectCounted(2, 0);
}

TEST_F(AccessorFamily, RemovingByAnIteratorThatMovesMeanwhileReturnsWhatItRemoved) {
  for (const int key : {1, 2}) workshop_->newPrice(key, key * 10);
  auto it = workshop_->priceIterator();
  workshop_->whenAnnounced = [&](int) { ++it; };
  EXPECT_EQ(workshop_->priceDel(it), 20);
  EXPECT_EQ(workshop_->priceDel(it), 10);
  EXPECT_EQ(workshop_->announced,
            (Announced{"price 2 is gone, changes 1", "price 1 is gone, changes 2"}));
}

TEST_F(AccessorFamily, RemovingByAnIteratorOfAnotherCollectionIsFatal) {
  const Ptr<Workshop> other(new Workshop);
  other->newPrice(1, 10);
  workshop_->newPrice(1, 10);
  auto prices = other->priceIterator();
  EXPECT_FATAL(workshop_->priceDel(prices), "Kob/AccessorFamily.h",
               "void Kob::checkIterator(const Iterator&, const Map&)", "it.map() == &map");
  auto tools = other->toolIterator();
  EXPECT_FATAL(workshop_->toolDel(tools), "Kob/AccessorFamily.h",
               "void Kob::checkIterator(const Iterator&, const Map&)", "it.map() == &map");
}

TEST_F(AccessorFamily, RemovingAllAnnouncesEachKeyOnceInIterationOrder) {
  for (const int key : {1, 2, 3}) workshop_->newPrice(key, 10);
  std::vector<unsigned> left;
  workshop_->whenAnnounced = [&](int) { left.push_back(workshop_->prices()); };
  workshop_->priceDelAll();
  EXPECT_EQ(workshop_->announced,
            (Announced{"price 2 is gone, changes 1", "price 1 is gone, changes 2",
                       "price 3 is gone, changes 3"}));
  EXPECT_EQ(left, (std::vector<unsigned>{2, 1, 0})) << "one at a time";
}

TEST_F(AccessorFamily, RemovingAllObjectsAnnouncesEachKeyOnceInIterationOrder) {
  for (const int key : {1, 2, 3}) workshop_->newTool(key);
  workshop_->toolDelAll();
  EXPECT_EQ(workshop_->announced,
            (Announced{"tool 2 is gone, changes 1", "tool 1 is gone, changes 2",
                       "tool 3 is gone, changes 3"}));
  EXPECT_EQ(workshop_->tools(), 0U);
}

TEST_F(AccessorFamily, RemovingAllOfNothingChangesNothing) {
  workshop_->priceDelAll();
  workshop_->toolDelAll();
  EXPECT_TRUE(workshop_->announced.empty());
  expectCounted(0, 0);
}

TEST_F(AccessorFamily, RemovingAllGoesOnWhenItsAnnouncementsChangeTheCollection) {
  for (const int key : {1, 2, 3}) workshop_->newPrice(key, 10);
  workshop_->whenAnnounced = [&](int key) {
    if (key != 2) return;
    workshop_->whenAnnounced = nullptr;
    workshop_->priceDel(1);
    workshop_->newPrice(5, 10);
    workshop_->newPrice(4, 10);
  };
  workshop_->priceDelAll();
  EXPECT_EQ(workshop_->announced,
            (Announced{"price 2 is gone, changes 1", "price 1 is gone, changes 2",
                       "price 5 is gone, changes 3", "price 3 is gone, changes 4"}));
  EXPECT_EQ(workshop_->priceIterator().key(), 4) << "it came in before the place reached";
}

TEST_F(AccessorFamily, RemovingAllKeepsItsOwnerAliveToTheEnd) {
  for (const int key : {1, 2, 3}) workshop_->newTool(key);
  Workshop& watched = *workshop_;
  watched.whenAnnounced = [&](int) { workshop_ = nullptr; };
  watched.toolDelAll();
  EXPECT_EQ(Workshop::alive, 0);
}

TEST_F(AccessorFamily, RemovingAllMayHappenWhileTheOwnerIsStillBeingBuilt) {
  auto* const unheld = new Workshop;
  unheld->newTool(1);
  unheld->toolDelAll();
  ASSERT_EQ(Workshop::alive, 2) << "nobody held it yet, and nobody has let it go";
  const Ptr<Workshop> held(unheld);
  EXPECT_EQ(held->tools(), 0U);
}

TEST_F(AccessorFamily, IteratingAndCountingAndTheCollectionItselfCountNoRead) {
  workshop_->newPrice(1, 10);
  int sum = 0;
  for (auto it = std::as_const(*workshop_).priceIteratorConst(); it; ++it) sum += *it;
  EXPECT_EQ(sum, 10);
  EXPECT_EQ(workshop_->priceCollection()[1]->value(), 10);
  EXPECT_TRUE(workshop_->priceIteratorConst().isMemberOf(1));
  EXPECT_EQ(workshop_->prices(), 1U);
  expectCounted(0, 0);
}

TEST_F(AccessorFamily, AnExceptionWhileStoringOrRemovingLeavesNothingCountedOrAnnounced) {
  workshop_->glassIs(1, Brittle(10));
  workshop_->announced.clear();
  Brittle::broken = true;
  EXPECT_THROW(workshop_->glassIs(1, Brittle(11)), std::runtime_error);
  EXPECT_THROW(workshop_->glassIs(2, Brittle(12)), std::runtime_error);
  EXPECT_THROW(workshop_->newGlass(3, Brittle(13)), std::runtime_error);
  EXPECT_THROW(workshop_->glassDel(1), std::runtime_error);
  Brittle::broken = false;
  EXPECT_TRUE(workshop_->announced.empty());
  expectCounted(1, 0);
  EXPECT_EQ(workshop_->glasss(), 1U);
  EXPECT_EQ(workshop_->glass(1).number, 10);
}

TEST_F(AccessorFamily, ServesOwnersThatAreNoFrameworkObjects) {
  Ledger ledger;
  ledger.entryIs(1, 10);
  ledger.entryIs(2, 20);
  EXPECT_EQ(ledger.entry(1), 10);
  EXPECT_EQ(ledger.entryDel(1), 10);
  EXPECT_EQ(ledger.entry(1), 0);
  ledger.entryDelAll();
  EXPECT_EQ(ledger.entrys(), 0U);
}

}  // namespace
}  // namespace KobTest
