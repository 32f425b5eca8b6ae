#include "agent/InterfaceName.h"

#include <gtest/gtest.h>

#include <string>

namespace Agent {
namespace {

TEST(InterfaceNamed, AcceptsOneTo255PrintableBytesWithoutBlanks) {
  EXPECT_EQ(nameOf(*interfaceNamed("Ethernet1/1")), "Ethernet1/1");
  EXPECT_TRUE(interfaceNamed(std::string(255, 'a')));
}

TEST(InterfaceNamed, RefusesWhatNoInterfaceCanBeCalled) {
  for (const std::string& name : {std::string(), std::string(256, 'a'), std::string("Ethernet 0"),
                                  std::string("\x1b[31m"), std::string("\xc3\xa9")}) {
    EXPECT_FALSE(interfaceNamed(name)) << name;
  }
}

TEST(VlanDigits, AreTheNumberOfAVlanInterface) {
  EXPECT_EQ(vlanDigits("Vlan10"), 10U);
  EXPECT_EQ(vlanDigits("vlan4094"), 4094U);
}

TEST(VlanDigits, AreToldInOrOutOfRange) {
  EXPECT_EQ(vlanDigits("Vlan0"), 0U);
  EXPECT_EQ(vlanDigits("Vlan4095"), 4095U);
  EXPECT_EQ(vlanDigits("Vlan99999999999999999999999"), UINT64_MAX);
}

TEST(VlanDigits, AreMissingInEveryOtherName) {
  for (const char* name : {"Vlan", "Vlan010", "VLAN10", "Vlan10a", "Vlan-1", "xVlan10", "10", ""}) {
    EXPECT_EQ(vlanDigits(name), std::nullopt) << name;
  }
}

TEST(SubInterfaceName, TellsParentAndNumber) {
  const auto name = subInterfaceName("Ethernet0.10");
  ASSERT_TRUE(name);
  EXPECT_EQ(name->parent, "Ethernet0");
  EXPECT_EQ(name->number, "10");
  EXPECT_FALSE(name->isShort);
}

TEST(SubInterfaceName, SpellsShortParentsOut) {
  EXPECT_EQ(subInterfaceName("Eth4.1")->parent, "Ethernet4");
  EXPECT_TRUE(subInterfaceName("Eth4.1")->isShort);
  EXPECT_EQ(subInterfaceName("Po1.1")->parent, "PortChannel1");
  EXPECT_TRUE(subInterfaceName("Po1.1")->isShort);
  EXPECT_EQ(subInterfaceName("Port1.1")->parent, "Port1");
  EXPECT_EQ(subInterfaceName("Eth.1")->parent, "Eth");
  EXPECT_EQ(subInterfaceName("Po.1")->parent, "Po");
}

TEST(SubInterfaceName, IsNoneWithoutADotAndDigits) {
  for (const char* name : {"Ethernet0", "Ethernet0.", "Ethernet0.a", ".10", "Ethernet0.1x", ""}) {
    EXPECT_FALSE(subInterfaceName(name)) << name;
  }
}

TEST(InterfaceNames, TellChannelsLoopbacksAndManagementInterfaces) {
  EXPECT_TRUE(isPortChannelName("PortChannel1234"));
  EXPECT_FALSE(isPortChannelName("Port1"));
  EXPECT_TRUE(isLoopbackName("Loopback0"));
  EXPECT_TRUE(isLoopbackName("lo"));
  EXPECT_FALSE(isLoopbackName("local1"));
  EXPECT_TRUE(isManagementName("eth0"));
  EXPECT_TRUE(isManagementName("Management1"));
  EXPECT_TRUE(isManagementName("mgmt0"));
  EXPECT_FALSE(isManagementName("eth01"));
  EXPECT_FALSE(isManagementName("Ethernet0"));
}

}  // namespace
}  // namespace Agent
