#include "agent/TableWatcher.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/agent/Reading.h"
#include "tests/platform/Intf.h"

namespace Agent {
namespace {

using Tests::operator""_intf;

class TableWatcherTest : public testing::Test {
 protected:
  void SetUp() override {
    journal_.originIs("test");
    sink_ = [this](const TableChange& change) { heard_.push_back(textOf(change)); };
  }

  void give(const char* name, std::uint64_t l3Id) {
    table_->intfL3IndexIs(Plexo::IntfId(name), FyrL3Intf::L3Id(l3Id));
  }

  const Kob::Ptr<FyrL3Intf::Table> table_ = FyrL3Intf::tableFactory("table", true);
  Journal journal_;
  TableChangeSink sink_;
  Texts heard_;
  const Kob::Ptr<TableWatcher> watcher_ = TableWatcher::watch(*table_, journal_, sink_);
};

TEST_F(TableWatcherTest, PassesEachChangeOnWithTheEventThatCausedIt) {
  journal_.eventIs("first");
  give("Ethernet0", 7);
  journal_.eventIs("second");
  give("Ethernet0", 8);
  give("Ethernet4", 9);
  journal_.eventIs("third");
  table_->intfL3IndexDel("Ethernet0"_intf);
  EXPECT_EQ(heard_, (Texts{"+ Ethernet0: - -> 7 (event 1, test: first)",
                           "~ Ethernet0: 7 -> 8 (event 2, test: second)",
                           "+ Ethernet4: - -> 9 (event 2, test: second)",
                           "- Ethernet0: 8 -> - (event 3, test: third)"}));
  EXPECT_EQ(journal_.l3IdSince("Ethernet0"_intf)->text, "third");
  EXPECT_EQ(journal_.l3IdSince("Ethernet4"_intf)->text, "second");
  EXPECT_NO_THROW(watcher_->rethrow());
}

TEST_F(TableWatcherTest, KnowsTheFormerIdThoughNobodyListened) {
  sink_ = nullptr;
  journal_.eventIs("unheard");
  give("Ethernet0", 7);
  sink_ = [this](const TableChange& change) { heard_.push_back(textOf(change)); };
  journal_.eventIs("heard");
  give("Ethernet0", 8);
  EXPECT_EQ(heard_, (Texts{"~ Ethernet0: 7 -> 8 (event 2, test: heard)"}));
}

TEST_F(TableWatcherTest, KeepsWhatTheSinkThrowsForLater) {
  int calls = 0;
  sink_ = [&](const TableChange&) {
    ++calls;
    throw std::runtime_error("full");
  };
  journal_.eventIs("first");
  give("Ethernet0", 7);
  give("Ethernet0", 8);
  EXPECT_EQ(calls, 1);
  EXPECT_THROW(watcher_->rethrow(), std::runtime_error);
}

}  // namespace
}  // namespace Agent
