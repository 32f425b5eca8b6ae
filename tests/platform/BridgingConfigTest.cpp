// The bridging configuration: entries that come and go, and what changes within an entry.

#include "platform/BridgingConfig.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>

#include "tests/platform/Directory.h"

namespace Tests {
namespace {

using Bridging::Config;
using Bridging::SwitchIntfConfig;
using Bridging::SwitchportMode;
using Bridging::VlanId;
using Plexo::IntfId;

struct ConfigModel {
  using Dir = Config;
  using Silent = Listener<Dir::NotifieeConst>;

  class Heard final : public Listener<Dir::NotifieeConst> {
   public:
    void onSwitchIntfConfig(IntfId intfId) override { hears(intfId.name().charPtr()); }
    void onSwitchIntfConfig() override { hears("any"); }
    void onSwitchIntfConfigkobImmediate() override { hears("immediate"); }
  };

  static constexpr Kob::AttributeId id = 260;

  static auto make(const char* name) { return Bridging::configFactory(name); }
  static auto add(Dir& dir, IntfId intfId) { return dir.switchIntfConfigIs(intfId); }
  static auto addRaw(Dir& dir, IntfId intfId) { return dir.newSwitchIntfConfig(intfId); }
  template <class D>
  static auto get(D& dir, IntfId intfId) {
    return dir.switchIntfConfig(intfId);
  }
  template <class Which>
  static auto del(Dir& dir, Which& which) {
    return dir.switchIntfConfigDel(which);
  }
  static void delAll(Dir& dir) { dir.switchIntfConfigDelAll(); }
  static void notify(Dir& dir, IntfId intfId) { dir.switchIntfConfigNotify(intfId); }
  static auto iterator(Dir& dir) { return dir.switchIntfConfigIterator(); }
  static auto iteratorConst(const Dir& dir) { return dir.switchIntfConfigIteratorConst(); }
  static unsigned count(const Dir& dir) { return dir.switchIntfConfigs(); }
  static void callOtherHooks(Silent& silent) {
    silent.onSwitchIntfConfig();
    silent.onSwitchIntfConfigkobImmediate();
  }
};

INSTANTIATE_TYPED_TEST_SUITE_P(BridgingConfig, Directory, ConfigModel);

/// Hears of one entry's changes.
class EntryListener final : public Listener<SwitchIntfConfig::NotifieeConst> {
 public:
  void onSwitchportModeAndNativeVlan() override { hears("mode and VLAN"); }
};

class SwitchIntfConfigTest : public testing::Test {
 protected:
  const IntfId intf = "Ethernet1"_intf;
  Kob::Ptr<Config> config = Bridging::configFactory("config");
  Kob::Ptr<SwitchIntfConfig> entry = config->switchIntfConfigIs(intf);
  Kob::Ptr<EntryListener> listener = joined(Kob::Ptr(new EntryListener), entry);

  void expectModeAndVlan(SwitchportMode mode, VlanId nativeVlan) const {
    EXPECT_EQ(entry->switchportMode(), mode);
    EXPECT_EQ(entry->nativeVlan(), nativeVlan);
  }
};

TEST_F(SwitchIntfConfigTest, IsNewInMode0WithoutANativeVlan) {
  expectModeAndVlan(SwitchportMode{0}, VlanId());
  EXPECT_EQ(entry->nativeVlan().value(), 0);
  EXPECT_EQ(entry->changeCount(), 0U);
}

TEST_F(SwitchIntfConfigTest, TheRoutedModeIs5) {
  EXPECT_EQ(static_cast<unsigned>(SwitchportMode::routed), 5U);
}

TEST_F(SwitchIntfConfigTest, BothValuesAreSetWhenTheOneAnnouncementIsMade) {
  listener->onHearing = [&] {
    expectModeAndVlan(SwitchportMode::routed, VlanId(10));
    EXPECT_EQ(entry->changeCount(), 1U);
  };
  entry->switchportModeAndNativeVlanIs(SwitchportMode::routed, VlanId(10));
  EXPECT_EQ(listener->heard, (Log{"mode and VLAN"}));
  expectModeAndVlan(SwitchportMode::routed, VlanId(10));
}

TEST_F(SwitchIntfConfigTest, EqualValuesChangeNothing) {
  entry->switchportModeAndNativeVlanIs(SwitchportMode::access, VlanId());
  EXPECT_EQ(listener->heard, Log{});
  entry->switchportModeAndNativeVlanIs(SwitchportMode::routed, VlanId(10));
  entry->switchportModeAndNativeVlanIs(SwitchportMode::routed, VlanId(10));
  entry->switchportModeIs(SwitchportMode::routed);
  entry->nativeVlanIs(VlanId(10));
  EXPECT_EQ(listener->heard.size(), 1U);
  EXPECT_EQ(entry->changeCount(), 1U);
}

TEST_F(SwitchIntfConfigTest, EachValueAloneIsAChange) {
  entry->switchportModeAndNativeVlanIs(SwitchportMode::routed, VlanId());
  entry->switchportModeAndNativeVlanIs(SwitchportMode::routed, VlanId(10));
  entry->switchportModeAndNativeVlanIs(SwitchportMode::trunk, VlanId(10));
  EXPECT_EQ(listener->heard.size(), 3U);
  EXPECT_EQ(entry->changeCount(), 3U);
}

TEST_F(SwitchIntfConfigTest, OneValueIsSetAndTheOtherStays) {
  entry->switchportModeAndNativeVlanIs(SwitchportMode::trunk, VlanId(10));
  entry->switchportModeIs(SwitchportMode::routed);
  expectModeAndVlan(SwitchportMode::routed, VlanId(10));
  entry->nativeVlanIs(VlanId(11));
  expectModeAndVlan(SwitchportMode::routed, VlanId(11));
  EXPECT_EQ(listener->heard.size(), 3U);
}

TEST_F(SwitchIntfConfigTest, TheNativeVlanCanBeTakenAway) {
  entry->switchportModeAndNativeVlanIs(SwitchportMode::routed, VlanId(10));
  entry->nativeVlanIs(VlanId());
  expectModeAndVlan(SwitchportMode::routed, VlanId());
  EXPECT_EQ(listener->heard.size(), 2U);
}

TEST_F(SwitchIntfConfigTest, AModeWithoutANameIsKept) {
  entry->switchportModeIs(SwitchportMode{42});
  EXPECT_EQ(entry->switchportMode(), SwitchportMode{42});
}

TEST_F(SwitchIntfConfigTest, AnAnnouncementCountsNothing) {
  entry->switchportModeAndNativeVlanNotify();
  EXPECT_EQ(listener->heard, (Log{"mode and VLAN"}));
  EXPECT_EQ(entry->changeCount(), 0U);
}

TEST_F(SwitchIntfConfigTest, ListenersOfTheConfigurationHearOfNoChangeWithinAnEntry) {
  const auto ofConfig = joined(Kob::Ptr(new ConfigModel::Heard), config);
  entry->switchportModeAndNativeVlanIs(SwitchportMode::routed, VlanId(10));
  EXPECT_EQ(ofConfig->heard, Log{});
  EXPECT_EQ(config->changeCount(), 1U);
}

TEST_F(SwitchIntfConfigTest, AnEntryThatWasRemovedStillAnnouncesItsChanges) {
  config->switchIntfConfigDel(intf);
  entry->switchportModeIs(SwitchportMode::routed);
  EXPECT_EQ(listener->heard, (Log{"mode and VLAN"}));
}

TEST_F(SwitchIntfConfigTest, ANewEntryIsAnnouncedWithTheValuesThatItIsGiven) {
  const auto ofConfig = joined(Kob::Ptr(new ConfigModel::Heard), config);
  ofConfig->onHearing = [&] {
    entry = config->switchIntfConfig("Ethernet2"_intf);
    expectModeAndVlan(SwitchportMode::routed, VlanId(20));
  };
  config->switchIntfConfigIs("Ethernet2"_intf, SwitchportMode::routed, VlanId(20));
  EXPECT_EQ(ofConfig->heard, (Log{"Ethernet2"}));
  EXPECT_EQ(entry->changeCount(), 0U);
}

TEST_F(SwitchIntfConfigTest, ARawEntryHasTheValuesThatItIsGiven) {
  entry = config->newSwitchIntfConfig("Ethernet2"_intf, SwitchportMode::trunk, VlanId(20));
  expectModeAndVlan(SwitchportMode::trunk, VlanId(20));
}

TEST_F(SwitchIntfConfigTest, AnEntryThatIsThereKeepsItsValues) {
  EXPECT_EQ(config->switchIntfConfigIs(intf, SwitchportMode::routed, VlanId(20)), entry);
  expectModeAndVlan(SwitchportMode::access, VlanId());
  EXPECT_EQ(listener->heard, Log{});
}

TEST_F(SwitchIntfConfigTest, AListenerThatThrowsIsToldAndTheChangeStays) {
  const auto other = joined(Kob::Ptr(new EntryListener), entry);
  listener->onHearing = [] { throw std::runtime_error("refused"); };
  entry->switchportModeIs(SwitchportMode::routed);
  EXPECT_EQ(listener->heard, (Log{"mode and VLAN", "exception 258"}));
  EXPECT_EQ(other->heard, (Log{"mode and VLAN"}));
  EXPECT_EQ(entry->switchportMode(), SwitchportMode::routed);
}

TEST_F(SwitchIntfConfigTest, AListenerThatOverridesNothingHearsNothing) {
  const auto silent = joined(Kob::Ptr(new Listener<SwitchIntfConfig::NotifieeConst>), entry);
  entry->switchportModeIs(SwitchportMode::routed);
  EXPECT_EQ(silent->heard, Log{});
}

template <class Pointer>
std::string printed(const Pointer& pointer) {
  std::ostringstream stream;
  stream << pointer;
  return stream.str();
}

TEST_F(SwitchIntfConfigTest, APointerToAnEntryPrintsTypeNameAndAddress) {
  std::ostringstream address;
  address << static_cast<const void*>(entry.get());
  const std::string text = "<Bridging::SwitchIntfConfig Ethernet1 " + address.str() + ">";
  EXPECT_EQ(printed(entry), text);
  EXPECT_EQ(printed(Kob::Ptr<const SwitchIntfConfig>(entry)), text);
  EXPECT_EQ(printed(Kob::Ptr<const Kob::Entity>(entry)), text);
}

TEST_F(SwitchIntfConfigTest, PointersToTwoEntriesOfOneInterfacePrintDifferently) {
  const auto former = entry;
  config->switchIntfConfigDel(intf);
  EXPECT_NE(printed(config->switchIntfConfigIs(intf)), printed(former));
}

TEST_F(SwitchIntfConfigTest, ANullPointerPrintsNull) {
  EXPECT_EQ(printed(Kob::Ptr<const SwitchIntfConfig>()), "null");
}

TEST_F(SwitchIntfConfigTest, AListenerHasTheNameOfItsInterface) {
  EXPECT_EQ(listener->name(), Kob::Name("Ethernet1"));
}

TEST_F(SwitchIntfConfigTest, AnObjectOfAnotherTypeIsNoNotifier) {
  listener->notifierIs(config);
  EXPECT_FALSE(listener->notifier());
  EXPECT_EQ(entry->kobNotifiees().members(), 0U);
}

TEST_F(SwitchIntfConfigTest, AListenerThatGoesLeavesTheList) {
  listener = nullptr;
  EXPECT_EQ(entry->kobNotifiees().members(), 0U);
  entry->switchportModeIs(SwitchportMode::routed);
}

TEST_F(SwitchIntfConfigTest, AnEntryThatGoesUnlinksItsListeners) {
  const auto second = joined(Kob::Ptr(new EntryListener), entry);
  listener->isWeakReferenceIs(true);
  second->isWeakReferenceIs(true);
  EXPECT_EQ(entry->kobNotifiees().next(listener.get()), second.get());
  config->switchIntfConfigDel(intf);
  entry = nullptr;
  const auto another = config->switchIntfConfigIs(intf);
  EXPECT_EQ(another->kobNotifiees().next(listener.get()), nullptr);
}

TEST_F(SwitchIntfConfigTest, TheLastReleaseIsToldBeforeTheEntryGoes) {
  listener->isWeakReferenceIs(true);
  config->switchIntfConfigDel(intf);
  EXPECT_EQ(listener->heard, Log{});
  entry = nullptr;
  EXPECT_EQ(listener->heard, (Log{"zero references"}));
  EXPECT_FALSE(listener->notifier());
}

}  // namespace
}  // namespace Tests
