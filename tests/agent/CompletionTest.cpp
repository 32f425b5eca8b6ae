#include "agent/Completion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <utility>

#include "agent/TypeListing.h"
#include "tests/agent/ShellBench.h"

namespace Agent {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

using Words = std::vector<std::string>;

class CompletionTest : public testing::Test {
 protected:
  [[nodiscard]] Words offered(std::string_view text) const {
    return completionsOf(text, bench_.shell.context());
  }

  ShellBench bench_{true};
};

TEST_F(CompletionTest, OffersEveryCommand) {
  EXPECT_THAT(offered(""), SizeIs(shellCommands().size()));
  EXPECT_THAT(offered("  "), SizeIs(shellCommands().size()));
  EXPECT_THAT(offered("w"), ElementsAre("why ", "watch "));
  EXPECT_THAT(offered("ver"), ElementsAre("verify"));
  EXPECT_THAT(offered("help ru"), ElementsAre("run"));
  EXPECT_THAT(offered("x"), IsEmpty());
  EXPECT_THAT(offered("x "), IsEmpty());
}

TEST_F(CompletionTest, OffersTheWordsThatACommandTakes) {
  EXPECT_THAT(offered("watch "), ElementsAre("on", "off"));
  EXPECT_THAT(offered("defer of"), ElementsAre("off"));
  EXPECT_THAT(offered("defer on "), IsEmpty());
  EXPECT_THAT(offered("trace "), ElementsAre("FyrL3IntfSm "));
  EXPECT_THAT(offered("trace FyrL3IntfSm "), SizeIs(10));
  EXPECT_THAT(offered("trace FyrL3IntfSm 7 o"), ElementsAre("on", "off"));
  EXPECT_THAT(offered("trace FyrL3IntfSm 7 on "), IsEmpty());
  EXPECT_THAT(offered("lookup V"), ElementsAre("Vlan10"));
  EXPECT_THAT(offered("why Vlan10 Eth"), ElementsAre("Ethernet0", "Ethernet4"));
  EXPECT_THAT(offered("types FyrL3Intf::T"), ElementsAre("FyrL3Intf::Table"));
  EXPECT_THAT(offered("types "), SizeIs(typeNames().size()));
  EXPECT_THAT(offered("show "), IsEmpty());
  EXPECT_THAT(offered("apply "), IsEmpty());
}

TEST_F(CompletionTest, OffersAttributesAfterADot) {
  EXPECT_THAT(offered("get "), ElementsAre("table.", "configSm."));
  EXPECT_THAT(offered("get table."), ElementsAre("table.internalVlanNeeded",
                                                 "table.routedPortName[", "table.intfL3Index["));
  EXPECT_THAT(offered("call table.in"), ElementsAre("table.intfL3Index[", "table.intfIdToL3Id("));
  EXPECT_THAT(offered("count table.i"), ElementsAre("table.intfL3Index", "table.intfL3Index["));
  EXPECT_THAT(offered("set table."), ElementsAre("table.routedPortName[", "table.intfL3Index["));
  EXPECT_THAT(offered("get configSm.config"), ElementsAre("configSm.config", "configSm.config."));
  EXPECT_THAT(offered("set table.intfL3Index[Ethernet4] "), IsEmpty());
}

TEST_F(CompletionTest, OffersLiveKeysInBrackets) {
  EXPECT_THAT(offered("get table.intfL3Index[Eth"),
              testing::UnorderedElementsAre("table.intfL3Index[Ethernet0]",
                                            "table.intfL3Index[Ethernet4]"));
  EXPECT_THAT(offered("get configSm.desiredRoutedPortName[3968]."),
              ElementsAre("configSm.desiredRoutedPortName[3968].member["));
  EXPECT_THAT(offered("del configSm.desiredRoutedPortName[3968].member["),
              ElementsAre("configSm.desiredRoutedPortName[3968].member[Ethernet0]"));
  EXPECT_THAT(offered("count configSm.desiredRoutedPortName[10"),
              ElementsAre("configSm.desiredRoutedPortName[10]."));
}

TEST_F(CompletionTest, QuotesKeysThatNeedIt) {
  (void)bench_.obey("set table.intfL3Index[\"a]b.c\"] 7");
  EXPECT_THAT(offered("get table.intfL3Index[\"a]"), ElementsAre("table.intfL3Index[\"a]b.c\"]"));
  EXPECT_THAT(offered("get table.intfL3Index[\"a]b.c\"]."), IsEmpty());
}

TEST_F(CompletionTest, OffersNothingWhereAPathLeadsNowhere) {
  for (const char* text : {"get x.", "get table.x[", "get table.x.", "get table.intfL3Index[a b].",
                           "get configSm.switchIntfConfigSm[Ethernet99].", "get table.internalV[",
                           "get table.internalVlanNeeded[", "get .", "get [", "get table[3].",
                           "get table.intfL3Index[a\"b", "get table.intfL3Index[\"a\\\"b"}) {
    EXPECT_THAT(offered(text), IsEmpty()) << text;
  }
}

/// Attributes by their types: what completion leads to from the roots, going on behind the first
/// entry of each collection, and into each type once.
class Explorer {
 public:
  using Attributes = std::set<std::pair<std::string, std::string>>;

  explicit Explorer(ShellBench& bench) : bench_(bench) {}

  void explore(const std::string& object) {
    const auto value = Place(pathOf(object), bench_.shell.context().roots).read();
    if (!value || !types_.insert(value->type()).second) return;
    for (const char* command : {"get ", "call ", "count "}) {
      for (const std::string& path :
           completionsOf(command + object + ".", bench_.shell.context())) {
        note(*value, object, path);
      }
    }
  }

  [[nodiscard]] const Attributes& attributes() const { return attributes_; }

 private:
  void note(const Kob::GenericIf& owner, const std::string& object, const std::string& path) {
    const std::string name = path.substr(object.size() + 1);
    const bool goesOn = name.find_first_of(".[(") != std::string::npos;
    attributes_.emplace(owner.type()->qualifiedName().charPtr(),
                        goesOn ? name.substr(0, name.size() - 1) : name);
    if (path.ends_with('.')) explore(path.substr(0, path.size() - 1));
    if (path.ends_with('[')) exploreEntry(path);
    if (!goesOn && value(path)) {
      EXPECT_EQ(bench_.obey("get " + path).exitCode, exitSuccess) << path;
    }
  }
  /// Whether it is no collection.
  [[nodiscard]] bool value(const std::string& path) const {
    return !Place(pathOf(path), bench_.shell.context().roots).attribute().isCollection();
  }
  void exploreEntry(const std::string& collection) {
    for (const std::string& entry : completionsOf("get " + collection, bench_.shell.context())) {
      EXPECT_EQ(bench_.obey("get " + entry.substr(0, entry.find_last_not_of('.') + 1)).exitCode,
                exitSuccess);
      if (entry.ends_with('.')) return explore(entry.substr(0, entry.size() - 1));
    }
  }

  ShellBench& bench_;
  std::set<const Kob::KobType*> types_;
  Attributes attributes_;
};

TEST(Completion, LeadsToEveryAttributeThatTheRegistryKnows) {
  Explorer::Attributes found;
  for (const bool internalVlanNeeded : {false, true}) {
    ShellBench bench(internalVlanNeeded);
    Explorer explorer(bench);
    for (const Root& root : bench.shell.context().roots) {
      explorer.explore(root.name);
    }
    found.insert(explorer.attributes().begin(), explorer.attributes().end());
  }
  Explorer::Attributes known;
  for (const Kob::KobType* type : Kob::KobType::typeNodes()) {
    for (const auto& attr : type->attrs()) {
      known.emplace(type->qualifiedName().charPtr(), attr->name().charPtr());
    }
  }
  EXPECT_EQ(found, known);
  EXPECT_THAT(known, Contains(std::pair<std::string, std::string>("FyrL3Intf::ConfigSm::IntfSet",
                                                                  "member")));
  EXPECT_THAT(known, Not(IsEmpty()));
}

}  // namespace
}  // namespace Agent
