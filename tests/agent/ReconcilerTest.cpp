#include "agent/Reconciler.h"

#include <gtest/gtest.h>

#include "agent/TableWatcher.h"
#include "tests/agent/Reading.h"
#include "tests/platform/Intf.h"

namespace Agent {
namespace {

using Tests::operator""_intf;

constexpr auto routed = Bridging::SwitchportMode::routed;
constexpr auto access = Bridging::SwitchportMode::access;
constexpr auto trunk = Bridging::SwitchportMode::trunk;

/// A library at work, of which the table's changes are heard.
class Library {
 public:
  explicit Library(bool internalVlanNeeded)
      : host_(internalVlanNeeded), watcher_(TableWatcher::watch(host_.table(), journal_, sink_)) {
    journal_.originIs("test");
  }

  /// The changes of the table that come of it.
  Texts reconcile(const Inputs& wanted) {
    heard_.clear();
    Reconciler(host_, journal_).reconcile(wanted);
    return heard_;
  }
  [[nodiscard]] unsigned events() const { return journal_.event() ? journal_.event()->number : 0; }
  [[nodiscard]] TableHost& host() { return host_; }
  [[nodiscard]] const Journal& journal() const { return journal_; }

 private:
  Texts heard_;
  TableChangeSink sink_ = [this](const TableChange& change) { heard_.push_back(textOf(change)); };
  Journal journal_;
  TableHost host_;
  Kob::Ptr<TableWatcher> watcher_;
};

SwitchPort port(Bridging::SwitchportMode mode, std::uint16_t vlan = 0) {
  return {mode, vlan == 0 ? Bridging::VlanId() : Bridging::VlanId(vlan)};
}

TEST(Reconciler, FillsEmptyInputsInNaturalOrder) {
  Library library(true);
  EXPECT_EQ(library.reconcile(
                {{{"Ethernet10"_intf, port(routed, 101)}, {"Ethernet2"_intf, port(routed, 100)}},
                 {"Vlan20"_intf, "Vlan3"_intf},
                 {}}),
            (Texts{"+ Ethernet2: - -> 100 (event 1, test: Ethernet2 enters the bridging "
                   "configuration: routed, VLAN 100)",
                   "+ Ethernet10: - -> 101 (event 2, test: Ethernet10 enters the bridging "
                   "configuration: routed, VLAN 101)",
                   "+ Vlan3: - -> 3 (event 3, test: Vlan3 enters the VLAN interface status "
                   "directory)",
                   "+ Vlan20: - -> 20 (event 4, test: Vlan20 enters the VLAN interface status "
                   "directory)"}));
}

TEST(Reconciler, TouchesNothingThatIsRight) {
  for (const bool internalVlanNeeded : {false, true}) {
    Library library(internalVlanNeeded);
    const Inputs inputs{
        {{"Ethernet0"_intf, port(routed, 100)}, {"Ethernet4"_intf, port(access, 10)}},
        {"Vlan10"_intf},
        internalVlanNeeded ? L3Indexes() : L3Indexes{{"Ethernet0"_intf, FyrL3Intf::L3Id(1)}}};
    library.reconcile(inputs);
    const unsigned events = library.events();
    const auto changes = library.host().config().changeCount();
    EXPECT_EQ(library.reconcile(inputs), Texts());
    EXPECT_EQ(library.events(), events);
    EXPECT_EQ(library.host().config().changeCount(), changes);
  }
}

TEST(Reconciler, RemovesFromAnInputBeforeItChangesAndAdds) {
  Library library(true);
  library.reconcile({{{"Ethernet0"_intf, port(routed, 100)},
                      {"Ethernet4"_intf, port(trunk)},
                      {"Ethernet8"_intf, port(routed, 102)},
                      {"Ethernet12"_intf, port(routed, 103)}},
                     {},
                     {}});
  EXPECT_EQ(library.reconcile({{{"Ethernet2"_intf, port(routed, 103)},
                                {"Ethernet4"_intf, port(routed, 102)},
                                {"Ethernet8"_intf, port(access, 7)},
                                {"Ethernet0"_intf, port(routed, 101)}},
                               {},
                               {}}),
            (Texts{"- Ethernet12: 103 -> - (event 5, test: Ethernet12 leaves the bridging "
                   "configuration)",
                   "- Ethernet8: 102 -> - (event 6, test: Ethernet8 changes in the bridging "
                   "configuration: routed, VLAN 102 becomes access, VLAN 7)",
                   "~ Ethernet0: 100 -> 101 (event 7, test: Ethernet0 changes in the bridging "
                   "configuration: routed, VLAN 100 becomes routed, VLAN 101)",
                   "+ Ethernet4: - -> 102 (event 8, test: Ethernet4 changes in the bridging "
                   "configuration: trunk becomes routed, VLAN 102)",
                   "+ Ethernet2: - -> 103 (event 9, test: Ethernet2 enters the bridging "
                   "configuration: routed, VLAN 103)"}));
}

TEST(Reconciler, FeedsAnIndexThatChangesAsRemovalAndAddition) {
  Library library(false);
  library.reconcile({{},
                     {},
                     {{"Ethernet0"_intf, FyrL3Intf::L3Id(1)},
                      {"Ethernet4"_intf, FyrL3Intf::L3Id(2)},
                      {"Ethernet8"_intf, FyrL3Intf::L3Id(3)}}});
  EXPECT_EQ(
      library.reconcile({{},
                         {},
                         {{"Ethernet0"_intf, FyrL3Intf::L3Id(2)},
                          {"Ethernet4"_intf, FyrL3Intf::L3Id(1)},
                          {"Ethernet8"_intf, FyrL3Intf::L3Id(3)}}}),
      (Texts{"- Ethernet0: 1 -> - (event 4, test: Ethernet0 leaves the L3 index directory)",
             "- Ethernet4: 2 -> - (event 5, test: Ethernet4 leaves the L3 index directory)",
             "+ Ethernet0: - -> 2 (event 6, test: Ethernet0 enters the L3 index directory: index "
             "2)",
             "+ Ethernet4: - -> 1 (event 7, test: Ethernet4 enters the L3 index directory: index "
             "1)"}));
}

TEST(Reconciler, HandsAVlanFromAVlanInterfaceToAPortAndBack) {
  Library library(true);
  const Inputs port10{{{"Ethernet0"_intf, port(routed, 10)}}, {}, {}};
  const Inputs interface10{{}, {"Vlan10"_intf}, {}};
  library.reconcile(port10);
  EXPECT_EQ(library.reconcile(interface10).size(), 2U);
  EXPECT_EQ(library.reconcile(port10),
            (Texts{"- Vlan10: 10 -> - (event 5, test: Vlan10 leaves the VLAN interface status "
                   "directory)",
                   "+ Ethernet0: - -> 10 (event 5, test: Vlan10 leaves the VLAN interface status "
                   "directory)"}));
}

TEST(Reconciler, NotesSinceWhichEventAWishStands) {
  Library library(true);
  library.reconcile(
      {{{"Ethernet0"_intf, port(routed, 100)}, {"Ethernet4"_intf, port(routed, 100)}}, {}, {}});
  library.reconcile({{{"Ethernet4"_intf, port(routed, 100)}}, {}, {}});
  const Journal& journal = library.journal();
  EXPECT_EQ(journal.wishSince("Ethernet0"_intf)->number, 3U);
  EXPECT_EQ(journal.wishSince("Ethernet4"_intf)->number, 2U);
  EXPECT_EQ(journal.l3IdSince("Ethernet4"_intf)->number, 3U);
  EXPECT_EQ(journal.wishSince("Vlan10"_intf), nullptr);
}

}  // namespace
}  // namespace Agent
