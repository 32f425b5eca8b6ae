#include "agent/Report.h"

#include <gtest/gtest.h>

#include "agent/TableHost.h"
#include "tests/agent/Reading.h"
#include "tests/platform/Intf.h"

namespace Agent {
namespace {

using Tests::operator""_intf;

using nlohmann::ordered_json;

class ReportTest : public testing::Test {
 protected:
  void SetUp() override {
    host_.l3IndexDir().l3IndexIs("Ethernet0"_intf, FyrL3Intf::L3Id(1234567));
    host_.l3IndexDir().l3IndexIs("Ethernet10"_intf, FyrL3Intf::L3Id(7));
    host_.l3IndexDir().l3IndexIs("PortChannel1"_intf, FyrL3Intf::L3Id(UINT64_MAX));
  }

  [[nodiscard]] InterfaceEntries entries() const {
    return interfaceEntries(read_.theSwitch, host_.machine());
  }

  const Configured read_{R"({"INTERFACE": {"Ethernet0": {}, "Ethernet10": {}, "Ethernet4": {}},
                             "PORTCHANNEL_INTERFACE": {"PortChannel1": {}}})"};
  TableHost host_{false};
};

TEST_F(ReportTest, AlignsTheTableInBothDirections) {
  EXPECT_EQ(textOf(entries(), host_.machine(), false),
            "INTERFACE     KIND                        L3 ID  STATE\n"
            "Ethernet0     routed                    1234567  holding\n"
            "Ethernet4     routed                          -  none\n"
            "Ethernet10    routed                          7  holding\n"
            "PortChannel1  portChannel  18446744073709551615  holding\n"
            "\n"
            "               L3 ID  INTERFACE\n"
            "                   7  Ethernet10\n"
            "             1234567  Ethernet0\n"
            "18446744073709551615  PortChannel1\n");
}

TEST_F(ReportTest, ColoursHeadingsAndMissingIds) {
  const std::string text = textOf(entries(), host_.machine(), true);
  EXPECT_TRUE(text.starts_with("\033[1mINTERFACE "));
  EXPECT_NE(text.find("\033[2mEthernet4 "), std::string::npos);
  EXPECT_EQ(text.find("\033[2mEthernet0 "), std::string::npos);
}

TEST_F(ReportTest, SaysSoWhereThereIsNothing) {
  EXPECT_EQ(textOf(InterfaceEntries(), host_.machine(), false), "no L3 interfaces\n");
}

TEST_F(ReportTest, WritesTheDocumentedJson) {
  EXPECT_EQ(jsonOf(entries()[0], false).dump(),
            R"({"interface":"Ethernet0","kind":"routed","l3Id":1234567,"state":"holding"})");
  EXPECT_EQ(jsonOf(entries()[1], false).dump(),
            R"({"interface":"Ethernet4","kind":"routed","l3Id":null,"state":"none"})");
}

/// Two ports that wish for one VLAN, a VLAN interface, and a port without a wish.
class WishReportTest : public testing::Test {
 protected:
  void SetUp() override {
    constexpr auto routed = Bridging::SwitchportMode::routed;
    host_.config().switchIntfConfigIs("Ethernet0"_intf, routed, 4000);
    host_.config().switchIntfConfigIs("Ethernet4"_intf, routed, 4000);
    host_.config().switchIntfConfigIs("Ethernet8"_intf, routed);
    host_.vlanIntfStatusDir().intfStatusIs("Vlan10"_intf);
  }

  [[nodiscard]] InterfaceEntries entries() const {
    return interfaceEntries(read_.theSwitch, host_.machine());
  }

  const Configured read_{R"({"INTERFACE": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}},
                             "VLAN_INTERFACE": {"Vlan10": {}}})"};
  TableHost host_{true};
};

TEST_F(WishReportTest, ShowsWishesWhereInternalVlansAreNeeded) {
  EXPECT_EQ(textOf(entries(), host_.machine(), false),
            "INTERFACE  KIND    L3 ID  STATE    WISH\n"
            "Ethernet0  routed   4000  holding  4000\n"
            "Ethernet4  routed      -  waiting  4000\n"
            "Ethernet8  routed      -  none        -\n"
            "Vlan10     vlan       10  holding    10\n"
            "\n"
            "L3 ID  INTERFACE\n"
            "   10  Vlan10\n"
            " 4000  Ethernet0\n");
}

TEST_F(WishReportTest, AddsWishAndHolderToTheJson) {
  EXPECT_EQ(jsonOf(entries()[0], true).dump(),
            R"({"interface":"Ethernet0","kind":"routed","l3Id":4000,"state":"holding",)"
            R"("wish":4000,"holder":"Ethernet0"})");
  EXPECT_EQ(jsonOf(entries()[1], true).dump(),
            R"({"interface":"Ethernet4","kind":"routed","l3Id":null,"state":"waiting",)"
            R"("wish":4000,"holder":"Ethernet0"})");
  EXPECT_EQ(jsonOf(entries()[2], true).dump(),
            R"({"interface":"Ethernet8","kind":"routed","l3Id":null,"state":"none",)"
            R"("wish":null,"holder":null})");
}

TEST(ProblemReport, IsOneEscapedLineForEach) {
  const Problems problems{{ProblemKind::badName, "a\nb", "T", "\x1b[31m", "found", "done"},
                          {ProblemKind::badName, "f", "T", "", "found", "done"}};
  EXPECT_EQ(textOf(problems, false),
            "problem: a\\nb: T \\x1b[31m: found; done\n"
            "problem: f: T: found; done\n");
  EXPECT_TRUE(textOf(problems, true).starts_with("\033[33mproblem:\033[0m a\\nb"));
}

TEST(ProblemReport, WritesTheDocumentedJson) {
  const Problem problem{ProblemKind::badName, "f", "T", "k", "found", "done"};
  EXPECT_EQ(jsonOf(problem).dump(),
            R"({"kind":"badName","file":"f","table":"T","key":"k","found":"found","done":"done"})");
}

}  // namespace
}  // namespace Agent
