#include "agent/Configuration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/agent/Reading.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string refusalOfText(std::string_view text) {
  return refusalOf([&] { Configured{text}; });
}

TEST(Configuration, MayDescribeNoInterfaceAtAll) {
  EXPECT_THAT(Configured("{}").theSwitch.l3Interfaces, IsEmpty());
  EXPECT_THAT(Configured(R"({"DEVICE_METADATA": {}, "ACL_RULE|x": {}})").theSwitch.ports,
              IsEmpty());
}

TEST(Configuration, IsRefusedWhenItIsNoObject) {
  EXPECT_EQ(refusalOfText("[]"),
            "test.json: the document is an array, not an object; give a configuration database or "
            "OpenConfig interfaces");
}

TEST(Configuration, IsRefusedWhenItHoldsL3Indexes) {
  const char* refusal = "test.json: holds L3 indexes, not a configuration; give it with --l3-index";
  EXPECT_EQ(refusalOfText(R"({"COUNTERS_RIF_NAME_MAP": {}})"), refusal);
  EXPECT_EQ(refusalOfText(R"({"ASIC_STATE:SAI_OBJECT_TYPE_VLAN:oid:0x1": {}})"), refusal);
}

TEST(Configuration, IsRefusedWhenItIsSomethingElse) {
  for (const char* text : {R"({"x": 1})", R"({"Vlan10": {}})", R"({"": {}})",
                           R"({"interfaces": [{"interface": "Ethernet0"}], "problems": []})"}) {
    EXPECT_THAT(refusalOfText(text), HasSubstr("neither a configuration database")) << text;
  }
}

TEST(Configuration, ReportsRepeatedKeys) {
  EXPECT_THAT(briefly(Configured(R"({"PORT": {"Ethernet0": {}, "Ethernet0": {}}})").problems),
              ElementsAre("repeatedKey PORT Ethernet0"));
}

}  // namespace
}  // namespace Agent
