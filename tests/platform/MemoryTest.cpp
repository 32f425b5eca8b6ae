// What stands when memory runs out in names, values and input models: each allocation of an
// operation fails, alone and with all that follow it.

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "Kob/GenericValue.h"
#include "Kob/Strep.h"
#include "platform/BridgingConfig.h"
#include "platform/L3IndexDir.h"
#include "platform/VlanIntfStatusDir.h"
#include "tests/Kob/FailingHeap.h"
#include "tests/platform/Intf.h"

namespace Tests {
namespace {

using Bridging::SwitchportMode;
using Bridging::VlanId;
using FyrL3Intf::L3Id;
using Kob::Ptr;
using Kob::String8;
using KobTest::Failing;
using KobTest::failingAfter;
using KobTest::failingEachAllocationOf;
using KobTest::FailingHeap::live;
using Plexo::IntfId;

/// Counts what it hears of, which needs no memory. `Base` is the notifiee class of a model.
template <class Base>
class Counter : public Base {
 public:
  int heard = 0;
};
class ConfigCounter : public Counter<Bridging::Config::NotifieeConst> {
 public:
  using NotifieeConst::onSwitchIntfConfig;
  void onSwitchIntfConfig(IntfId) override { ++heard; }
};
class EntryCounter : public Counter<Bridging::SwitchIntfConfig::NotifieeConst> {
 public:
  void onSwitchportModeAndNativeVlan() override { ++heard; }
};
class StatusCounter : public Counter<Interface::VlanIntfStatusDir::NotifieeConst> {
 public:
  using NotifieeConst::onIntfStatus;
  void onIntfStatus(IntfId) override { ++heard; }
};
class IndexCounter : public Counter<FyrL3Intf::L3IndexDir::NotifieeConst> {
 public:
  using NotifieeConst::onL3Index;
  void onL3Index(IntfId) override { ++heard; }
};

template <class NotifieeType, class Notifier>
Ptr<NotifieeType> joined(const Ptr<Notifier>& notifier) {
  Ptr<NotifieeType> notifiee(new NotifieeType);
  notifiee->notifierIs(notifier);
  notifiee->isRegisteredNotifieeIs(true);
  return notifiee;
}

/// The three models, each with four entries, so that one entry more makes it grow.
struct Models {
  Ptr<Bridging::Config> config = Bridging::configFactory("config");
  Ptr<Interface::VlanIntfStatusDir> statusDir = Interface::vlanIntfStatusDirFactory("status");
  Ptr<FyrL3Intf::L3IndexDir> indexDir = FyrL3Intf::l3IndexDirFactory("index");
  Ptr<ConfigCounter> configCounter = joined<ConfigCounter>(config);
  Ptr<EntryCounter> entryCounter;
  Ptr<StatusCounter> statusCounter = joined<StatusCounter>(statusDir);
  Ptr<IndexCounter> indexCounter = joined<IndexCounter>(indexDir);

  Models() {
    for (const char* const name : {"Vlan1", "Vlan2", "Vlan3", "Vlan4"}) {
      const IntfId intfId(name);
      config->switchIntfConfigIs(intfId, SwitchportMode::routed, VlanId(10));
      statusDir->intfStatusIs(intfId);
      indexDir->l3IndexIs(intfId, L3Id(intfId.hash()));
    }
    entryCounter = joined<EntryCounter>(config->switchIntfConfig("Vlan1"_intf));
  }

  /// Entries, counts, and what was heard.
  [[nodiscard]] std::string text() const {
    std::ostringstream text;
    for (auto it = config->switchIntfConfigIteratorConst(); it; ++it) {
      text << it.key() << ' ' << static_cast<unsigned>(it->switchportMode()) << ' '
           << it->nativeVlan() << ' ' << it->changeCount() << ", ";
    }
    for (auto it = statusDir->intfStatusIteratorConst(); it; ++it) text << it.key() << ", ";
    for (auto it = indexDir->l3IndexIteratorConst(); it; ++it) {
      text << it.key() << ' ' << it->l3Id() << ' ' << it->changeCount() << ", ";
    }
    text << config->changeCount() << ' ' << statusDir->changeCount() << ' '
         << indexDir->changeCount() << " heard " << configCounter->heard << ' '
         << entryCounter->heard << ' ' << statusCounter->heard << ' ' << indexCounter->heard;
    return text.str();
  }
};

struct Operation {
  const char* name;
  std::function<void(const Models&)> operate;

  friend void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.name;
  }
};

const Operation operations[] = {
    {"MakesAConfiguration", [](const Models&) { Bridging::configFactory("another"); }},
    {"MakesAStatusDirectory",
     [](const Models&) { Interface::vlanIntfStatusDirFactory("another"); }},
    {"MakesAnIndexDirectory", [](const Models&) { FyrL3Intf::l3IndexDirFactory("another"); }},
    {"AddsAPort", [](const Models& models) { models.config->switchIntfConfigIs("Vlan5"_intf); }},
    {"AddsAPortUnannounced",
     [](const Models& models) { models.config->newSwitchIntfConfig("Vlan5"_intf); }},
    {"AddsAStatus", [](const Models& models) { models.statusDir->intfStatusIs("Vlan5"_intf); }},
    {"AddsAStatusUnannounced",
     [](const Models& models) { models.statusDir->newIntfStatus("Vlan5"_intf); }},
    {"AddsAnIndex",
     [](const Models& models) { models.indexDir->l3IndexIs("Vlan5"_intf, L3Id(5)); }},
    {"AddsAnIndexUnannounced",
     [](const Models& models) { models.indexDir->newL3Index("Vlan5"_intf, L3Id(5)); }},
    {"WrapsThemAll",
     [](const Models& models) {
       Kob::generic(models.config)->strRep();
       Kob::generic(models.statusDir)->strRep();
       Kob::generic(models.indexDir)->strRep();
       Kob::generic(models.indexDir->l3Index("Vlan1"_intf))
           ->attributeOp({FyrL3Intf::L3Index::l3IdId, 0}, nullptr, nullptr);
     }},
};

class ModelOutOfMemory : public testing::TestWithParam<Operation> {};

INSTANTIATE_TEST_SUITE_P(Operations, ModelOutOfMemory, testing::ValuesIn(operations),
                         [](const auto& tested) { return tested.param.name; });

TEST_P(ModelOutOfMemory, ChangesNothingThenDoesWhatItDoesAtOnce) {
  const Models untroubled;
  const Operation& operation = GetParam();
  operation.operate(untroubled);
  for (const Failing mode : {Failing::once, Failing::fromThereOn}) {
    const Models models;
    const std::string before = models.text();
    const std::size_t blocks = live();
    const int failures = failingEachAllocationOf([&] { operation.operate(models); },
                                                 [&] {
                                                   EXPECT_EQ(live(), blocks);
                                                   EXPECT_EQ(models.text(), before);
                                                 },
                                                 mode);
    EXPECT_GT(failures, 0);
    EXPECT_EQ(models.text(), untroubled.text());
  }
}

TEST(ModelsOutOfMemory, NeedNoMemoryToChangeAndToRemove) {
  const Models models;
  const IntfId intfId = "Vlan1"_intf;
  const auto outcome = failingAfter(
      0,
      [&] {
        const auto entry = models.config->switchIntfConfig(intfId);
        entry->switchportModeAndNativeVlanIs(SwitchportMode::access, VlanId(11));
        models.indexDir->l3IndexIs(intfId, L3Id(5));
        models.config->switchIntfConfigDel(intfId);
        models.statusDir->intfStatusDel(intfId);
        models.indexDir->l3IndexDelAll();
      },
      Failing::fromThereOn);
  EXPECT_FALSE(outcome.failed);
  EXPECT_EQ(models.entryCounter->heard, 1);
  EXPECT_EQ(models.config->switchIntfConfigs(), 3U);
  EXPECT_EQ(models.statusDir->intfStatuss(), 3U);
  EXPECT_EQ(models.indexDir->l3Indexs(), 0U);
}

TEST(ModelsOutOfMemory, ChangeAndCountWhatTheyCanNotAnnounceToMany) {
  const Models models;
  const IntfId intfId = "Vlan1"_intf;
  std::vector<Ptr<IndexCounter>> counters;
  do {
    counters.push_back(joined<IndexCounter>(models.indexDir));
  } while (!failingAfter(0, [&] { models.indexDir->l3IndexNotify(intfId); }).failed);
  const int heard = counters.back()->heard;
  const auto changes = models.indexDir->changeCount();
  EXPECT_TRUE(failingAfter(0, [&] { models.indexDir->l3IndexIs(intfId, L3Id(7)); }).thrown);
  EXPECT_EQ(models.indexDir->l3Index(intfId)->l3Id(), L3Id(7));
  EXPECT_EQ(models.indexDir->changeCount(), changes + 1);
  EXPECT_EQ(counters.back()->heard, heard);
  models.indexDir->l3IndexNotify(intfId);
  EXPECT_EQ(counters.back()->heard, heard + 1);
}

TEST(NamesOutOfMemory, AreReadComparedAndPrintedWithoutMemory) {
  const IntfId one = "Ethernet1/2/3.4000"_intf;
  const IntfId two = "Ethernet1/2/4.4000"_intf;
  const auto outcome = failingAfter(
      0,
      [&] {
        static_cast<void>(one < two && one.name() == two.name());
        static_cast<void>(IntfId().name());
        static_cast<void>(Plexo::VlanIntfId::isVlanIntfId(one));
        static_cast<void>(Plexo::InternalIntfId::isInternalIntfId(one));
        static_cast<void>(Plexo::intfNames());
      },
      Failing::fromThereOn);
  EXPECT_FALSE(outcome.failed);
}

TEST(ValuesOutOfMemory, AreParsedOrOutOfMemory) {
  for (const char* const text :
       {"18446744073709551615", "12 and more", "-", "99999999999999999999"}) {
    const String8 strep(text);
    const std::size_t before = live();
    failingEachAllocationOf(
        [&] {
          try {
            Kob::strepToValue(strep, static_cast<L3Id*>(nullptr));
          } catch (const Kob::RangeException&) {
            return;
          }
        },
        [&] { EXPECT_EQ(live(), before); });
  }
}

TEST(ValuesOutOfMemory, ArePrintedWithoutMemoryOfTheirOwn) {
  class Counting final : public std::streambuf {
   public:
    std::streamsize written = 0;

   protected:
    std::streamsize xsputn(const char*, std::streamsize count) override {
      written += count;
      return count;
    }
    int_type overflow(int_type c) override {
      ++written;
      return c;
    }
  };
  Counting buffer;
  std::ostream stream(&buffer);
  const auto outcome = failingAfter(0, [&] {
    stream << L3Id(18446744073709551615U) << VlanId(4094) << Bridging::VlanIdOrNone(4094);
  });
  EXPECT_FALSE(outcome.failed);
  EXPECT_EQ(buffer.written, 20 + 4 + 4);
}

}  // namespace
}  // namespace Tests
