#include "agent/AttributePath.h"

#include <gtest/gtest.h>

#include "agent/CommandError.h"
#include "agent/LiveAttribute.h"
#include "agent/TableHost.h"
#include "agent/ValueText.h"
#include "tests/platform/Intf.h"

namespace Agent {
namespace {

using Tests::operator""_intf;

constexpr auto routed = Bridging::SwitchportMode::routed;

/// What an action is refused with; "" when it is not.
template <class Action>
std::string refusalOf(const Action& action) {
  try {
    action();
  } catch (const CommandError& refusal) {
    return refusal.what();
  }
  return "";
}

std::string refusalOfPath(const std::string& text) {
  return refusalOf([&] { (void)pathOf(text); });
}

TEST(AttributePath, IsARootWithSteps) {
  EXPECT_EQ(pathOf("table"), (AttributePath{"table", {}}));
  EXPECT_EQ(pathOf(" table.intfL3Index[Ethernet4] "),
            (AttributePath{"table", {{"intfL3Index", "Ethernet4"}}}));
  EXPECT_EQ(pathOf("configSm.desiredRoutedPortName[3970].member[Ethernet4.100]"),
            (AttributePath{"configSm",
                           {{"desiredRoutedPortName", "3970"}, {"member", "Ethernet4.100"}}}));
}

TEST(AttributePath, HasKeysInQuotationMarksWhereTheyNeedThem) {
  for (const std::string key : {"", "a]b", "a\"b", "a\\b", "\"]", "[", "a.b", "a b", "(,)"}) {
    const AttributePath path{"table", {{"x", key}, {"y", std::nullopt}}};
    EXPECT_EQ(pathOf(textOf(path)), path) << key;
  }
  EXPECT_EQ(bracketed("Ethernet4"), "[Ethernet4]");
  EXPECT_EQ(bracketed("a]\"\\"), R"(["a]\"\\"])");
  EXPECT_EQ(bracketed(""), R"([""])");
}

TEST(AttributePath, IsTakenFromTheFrontOfAText) {
  std::string_view text = "table.f(Ethernet4)";
  EXPECT_EQ(textOf(takePath(text)), "table.f");
  EXPECT_EQ(text, "(Ethernet4)");
}

TEST(AttributePath, IsRefusedWhereItIsNotWhole) {
  EXPECT_EQ(refusalOfPath(""), "the name of a root is missing before \"\"");
  EXPECT_EQ(refusalOfPath("table."), "the name of an attribute is missing before \"\"");
  EXPECT_EQ(refusalOfPath("table.a[b"), "the bracket after a key is not closed");
  EXPECT_EQ(refusalOfPath("table.a["), "the bracket after a key is not closed");
  EXPECT_EQ(refusalOfPath("table.a[]"), "the key is missing in []; the empty one is [\"\"]");
  EXPECT_EQ(refusalOfPath("table.a[\"b]"), "a quotation mark is not closed");
  EXPECT_EQ(refusalOfPath("table.a[\"b\\"), "a quotation mark is not closed");
  EXPECT_EQ(refusalOfPath("table.a[\"b\"c]"), "the bracket after a key is not closed");
  EXPECT_EQ(refusalOfPath("table.a b"), "\" b\" is too much after table.a");
  EXPECT_EQ(refusalOfPath("table[3]"), "\"[3]\" is too much after table");
}

/// A port that wishes for VLAN 100 and holds it.
class PlaceTest : public testing::Test {
 protected:
  void SetUp() override {
    host_.config().switchIntfConfigIs("Ethernet0"_intf, routed, 100);
    roots_ = {{"table", host_.machine().fyrL3IntfTable()},
              {"configSm", Kob::Ptr(&host_.machine())}};
  }

  [[nodiscard]] Place place(const std::string& path) const { return {pathOf(path), roots_}; }
  [[nodiscard]] std::string textAt(const std::string& path) const {
    return briefText(place(path).read());
  }
  [[nodiscard]] std::string refusalAt(const std::string& path) const {
    return refusalOf([&] { (void)place(path).read(); });
  }
  void write(const std::string& path, const std::string& value) const {
    const Place written = place(path);
    written.write(valueFrom(value, *written.attribute().attr, roots_));
  }

  TableHost host_{true};
  Roots roots_;
};

TEST_F(PlaceTest, IsReadThroughObjectsAndValues) {
  EXPECT_EQ(textAt("table"), "FyrL3Intf::Table");
  EXPECT_EQ(textAt("table.intfL3Index[Ethernet0]"), "100");
  EXPECT_EQ(textAt("table.routedPortName[0x64]"), "Ethernet0");
  EXPECT_EQ(textAt("table.routedPortName[5]"), "\"\"");
  EXPECT_EQ(textAt("configSm.desiredRoutedPortName[100].member[Ethernet0]"), "true");
  EXPECT_EQ(textAt("configSm.config.switchIntfConfig[Ethernet0].nativeVlan"), "100");
  EXPECT_EQ(textAt("configSm.switchIntfConfigSm[Ethernet0].configSm.fyrL3IntfTable"),
            "FyrL3Intf::Table");
  EXPECT_EQ(textAt("configSm.switchIntfConfigSm[Ethernet9]"), "null");
}

TEST_F(PlaceTest, IsReachedWithoutAnIdToo) {
  EXPECT_EQ(textAt("configSm.kobFwkActivity"), "Kob::ActivityConfig");
  EXPECT_EQ(textAt("configSm.switchIntfConfigSm[Ethernet0].kobFwkActivity"), "null");
  EXPECT_EQ(textAt("configSm.switchIntfConfigSm[Ethernet0].fwkKey"), "Ethernet0");
}

TEST_F(PlaceTest, IsRefusedInTheWordsOfTheGenericInterface) {
  EXPECT_EQ(refusalAt("tabel"), "a path begins with table or configSm, not with \"tabel\"");
  EXPECT_EQ(refusalAt("table.x"), "table.x: FyrL3Intf::Table has no attribute \"x\"");
  EXPECT_EQ(refusalAt("table.intfL3Index"),
            "table.intfL3Index: 'kob_index' is missing or of the wrong type");
  EXPECT_EQ(refusalAt("table.internalVlanNeeded[1]"),
            "table.internalVlanNeeded[1]: 'internalVlanNeeded' does not take this index");
  EXPECT_EQ(refusalAt("configSm.kobFwkActivity[1]"),
            "configSm.kobFwkActivity[1]: 'kobFwkActivity' does not take this index");
  EXPECT_EQ(refusalAt("configSm.desiredRoutedPortName[0]"),
            "configSm.desiredRoutedPortName[0]: VlanId::value < 1 or > 4094 not allowed");
  EXPECT_EQ(refusalAt("configSm.desiredRoutedPortName[x]"),
            "configSm.desiredRoutedPortName[x]: no number at column 0");
  EXPECT_EQ(refusalAt("configSm.doVerify"),
            "configSm.doVerify: 'Kob::GenericIf::List_' is missing or of the wrong type");
  EXPECT_EQ(refusalAt("configSm.switchIntfConfigSm[Ethernet9].intfId"),
            "configSm.switchIntfConfigSm[Ethernet9] is null");
  EXPECT_EQ(refusalAt("table.intfL3Index[Ethernet0].x"),
            "table.intfL3Index[Ethernet0].x: FyrL3Intf::L3Id has no attribute \"x\"");
}

TEST_F(PlaceTest, WritesAMemberOfACopyBack) {
  write("configSm.desiredRoutedPortName[100].member[Ethernet4]", "true");
  EXPECT_TRUE(host_.machine().desiredRoutedPortName(100).member("Ethernet4"_intf));
  EXPECT_TRUE(host_.machine().desiredRoutedPortName(100).member("Ethernet0"_intf));
  place("configSm.desiredRoutedPortName[100].member[Ethernet4]").del();
  EXPECT_EQ(host_.machine().desiredRoutedPortName(100).members(), 1U);
}

TEST_F(PlaceTest, MakesNoEntryByDeletingWhatIsNotThere) {
  place("configSm.desiredRoutedPortName[7].member[Ethernet4]").del();
  place("table.intfL3Index[Ethernet4]").del();
  EXPECT_EQ(host_.machine().desiredRoutedPortNames(), 1U);
  EXPECT_EQ(host_.table().intfL3Indexs(), 1U);
}

TEST_F(PlaceTest, TakesASetFromAPathOrAnEmptyList) {
  write("configSm.desiredRoutedPortName[200]", "configSm.desiredRoutedPortName[100]");
  EXPECT_TRUE(host_.machine().desiredRoutedPortName(200).member("Ethernet0"_intf));
  write("configSm.desiredRoutedPortName[200]", "()");
  EXPECT_EQ(host_.machine().desiredRoutedPortName(200).members(), 0U);
  EXPECT_EQ(refusalOf([&] { write("configSm.desiredRoutedPortName[200]", "(true)"); }),
            "\"(true)\": 'IntfSet' was given an argument too many");
  // The library's own parse would end the process.
  EXPECT_EQ(refusalOf([&] { write("configSm.desiredRoutedPortName[200]", "None"); }),
            "a path begins with table or configSm, not with \"None\"");
  host_.machine().desiredRoutedPortNameDel(200);
}

TEST_F(PlaceTest, MakesAMachineFromAConfigurationEntry) {
  host_.machine().switchIntfConfigSmDel("Ethernet0"_intf);
  const std::string entry = "configSm.config.switchIntfConfig[Ethernet0]";
  EXPECT_EQ(refusalOf([&] { write("configSm.switchIntfConfigSm[Ethernet4]", entry); }),
            "configSm.switchIntfConfigSm[Ethernet4]: 'switchIntfConfigSm' does not take this "
            "index");
  EXPECT_EQ(host_.machine().switchIntfConfigSms(), 0U);
  write("configSm.switchIntfConfigSm[Ethernet0]", entry);
  EXPECT_EQ(host_.machine().switchIntfConfigSms(), 1U);
}

TEST_F(PlaceTest, SaysBeforehandWhetherItCanBeWritten) {
  const auto refusal = [this](const std::string& path) {
    return refusalOf([&] { place(path).refuseUnlessWritable(); });
  };
  EXPECT_EQ(refusal("table.intfL3Index[Ethernet4]"), "");
  EXPECT_EQ(refusal("configSm.switchIntfConfigSm[Ethernet4]"), "");
  EXPECT_EQ(refusal("table.intfL3Index"),
            "table.intfL3Index: 'kob_index' is missing or of the wrong type");
  EXPECT_EQ(refusal("configSm.doVerify"),
            "configSm.doVerify: 'doVerify' does not support operation 128");
  EXPECT_EQ(refusal("configSm.config.switchIntfConfig[Ethernet0]"),
            "configSm.config.switchIntfConfig[Ethernet0]: attempting to modify a const instance");
  EXPECT_EQ(refusal("configSm.kobFwkActivity"),
            "configSm.kobFwkActivity: 'kobFwkActivity' does not support operation 128");
  EXPECT_EQ(refusal("table"), "table is an object; give one of its attributes");
}

TEST_F(PlaceTest, CallsWithArgumentsOfTheirTypes) {
  const auto call = [this](const std::string& path, const std::string& arguments) {
    const Place called = place(path);
    const auto list = argumentsFrom(arguments, called.attribute().attr->parameters(), roots_);
    return briefText(called.call(list));
  };
  EXPECT_EQ(call("table.intfIdToL3Id", " \"Ethernet0\" "), "100");
  EXPECT_EQ(call("configSm.doVerify", ""), "null");
  EXPECT_EQ(call("configSm.hasNotificationActiveIs", "true"), "true");
  EXPECT_EQ(call("configSm.kobDoZombieReactors", "false"), "false");
  EXPECT_EQ(refusalOf([&] { call("table.intfIdToL3Id", ""); }),
            "table.intfIdToL3Id: 'intfId' is missing or of the wrong type");
  EXPECT_EQ(refusalOf([&] { call("table.intfIdToL3Id", "a, \"b,c\""); }),
            "table.intfIdToL3Id: 'intfIdToL3Id' was given an argument too many");
  EXPECT_EQ(refusalOf([&] { call("table.l3IdToIntfId", "12x"); }),
            "\"12x\": junk at column 2 deserializing 12x");
  EXPECT_EQ(refusalOf([&] { call("table.internalVlanNeeded", ""); }),
            "table.internalVlanNeeded is no function");
  EXPECT_EQ(refusalOf([&] { call("table.intfIdToL3Id", "\"a\"b"); }),
            "\"b\" is too much after a quotation mark");
}

TEST_F(PlaceTest, ShowsObjectsWithTheirAttributes) {
  EXPECT_EQ(wholeText(place("configSm.switchIntfConfigSm[Ethernet0]").read()),
            "FyrL3Intf::SwitchIntfConfigSm\n"
            "  kobFwkActivity: null\n"
            "  switchIntfConfig: Bridging::SwitchIntfConfig\n"
            "  intfId: Ethernet0\n"
            "  configSm: FyrL3Intf::ConfigSm\n"
            "  fwkKey: Ethernet0\n");
  EXPECT_EQ(wholeText(place("table").read()),
            "FyrL3Intf::Table\n"
            "  internalVlanNeeded: true\n"
            "  routedPortName: 1 entry\n"
            "  intfL3Index: 1 entry\n");
  EXPECT_EQ(wholeText(place("configSm.desiredRoutedPortName[100]").read()), "{Ethernet0: true}\n");
  EXPECT_EQ(wholeText(nullptr), "null\n");
  EXPECT_EQ(wholeJson(place("table").read()).dump(),
            R"({"type":"FyrL3Intf::Table","attributes":{"internalVlanNeeded":true,)"
            R"("routedPortName":{"entries":1},"intfL3Index":{"entries":1}}})");
  EXPECT_EQ(wholeJson(place("configSm.desiredRoutedPortName[100]").read()).dump(),
            R"({"member":{"Ethernet0":true}})");
  EXPECT_EQ(wholeJson(place("configSm.switchIntfConfigSm[Ethernet9]").read()).dump(), "null");
}

}  // namespace
}  // namespace Agent
