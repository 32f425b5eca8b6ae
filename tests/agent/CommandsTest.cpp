#include "agent/Commands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/agent/Reading.h"
#include "tests/platform/Intf.h"

namespace Agent {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;
using Tests::operator""_intf;

/// A session on one routed port, with its state corrupted: the port's wish is forgotten.
class BreachTest : public testing::Test {
 protected:
  void SetUp() override { session_.machine().desiredInternalVlanIdDel("Ethernet0"_intf); }
  void TearDown() override { session_.machine().newDesiredInternalVlanId("Ethernet0"_intf, 3968); }

  Session session_{Document("c.json", R"({"INTERFACE": {"Ethernet0": {}}})"),
                   {ReservationRules(), std::nullopt}};
};

TEST(Lookup, TakesANumberForTheNameOfAChannelMemberToo) {
  const Session session(
      Document("c.json", R"({"PORT": {"1": {}}, "PORTCHANNEL_MEMBER": {"PortChannel1|1": {}},
                             "INTERFACE": {"PortChannel1": {}}})"),
      {});
  Printer printer(false);
  CaptureStdout();
  CaptureStderr();
  EXPECT_FALSE(lookup(session, "1", printer));
  EXPECT_TRUE(lookup(session, "0x1", printer));
  EXPECT_EQ(GetCapturedStderr(), "fyrl3: no L3 interface and no L3 id is \"1\"\n");
  EXPECT_EQ(GetCapturedStdout(), "PortChannel1\n");
}

TEST_F(BreachTest, IsReportedByVerifyAsText) {
  Printer printer(false);
  CaptureStdout();
  CaptureStderr();
  EXPECT_FALSE(verify(session_, "p\n.json", printer));
  EXPECT_EQ(GetCapturedStdout(), "");
  const std::string report = GetCapturedStderr();
  EXPECT_THAT(report, StartsWith("fyrl3: the self-check failed after p\\n.json:\n"));
  EXPECT_THAT(report, HasSubstr("`desiredInternalVlanId( iter->intfId() ) == vlanId' failed.\n"));
}

TEST_F(BreachTest, IsReportedByVerifyAsJson) {
  Printer printer(true);
  EXPECT_FALSE(verify(session_, "loading", printer));
  CaptureStdout();
  printer.finish();
  const auto check = nlohmann::json::parse(GetCapturedStdout())["checks"][0];
  EXPECT_EQ(check["after"], "loading");
  EXPECT_EQ(check["consistent"], false);
  EXPECT_THAT(check["report"], HasSubstr("desiredInternalVlanId( iter->intfId() ) == vlanId"));
}

TEST_F(BreachTest, DoesNotKeepTheSessionFromAnswering) {
  Printer printer(false);
  CaptureStderr();
  EXPECT_FALSE(verify(session_, "loading", printer));
  GetCapturedStderr();
  CaptureStdout();
  EXPECT_TRUE(lookup(session_, "Ethernet0", printer));
  EXPECT_EQ(GetCapturedStdout(), "3968\n");
}

}  // namespace
}  // namespace Agent
