// The L3 index directory: an identifier for each interface, which may be changed in place.

#include "platform/L3IndexDir.h"

#include <gtest/gtest.h>

#include "tests/platform/Directory.h"

namespace Tests {
namespace {

using FyrL3Intf::L3Id;
using FyrL3Intf::L3IndexDir;
using Plexo::IntfId;

struct IndexModel {
  using Dir = L3IndexDir;
  using Silent = Listener<Dir::NotifieeConst>;

  class Heard final : public Listener<Dir::NotifieeConst> {
   public:
    void onL3Index(IntfId intfId) override { hears(intfId.name().charPtr()); }
    void onL3Index() override { hears("any"); }
    void onL3IndexkobImmediate() override { hears("immediate"); }
  };

  static constexpr Kob::AttributeId id = 258;

  static auto make(const char* name) { return FyrL3Intf::l3IndexDirFactory(name); }
  static auto add(Dir& dir, IntfId intfId) { return dir.l3IndexIs(intfId, L3Id(7)); }
  static auto addRaw(Dir& dir, IntfId intfId) { return dir.newL3Index(intfId, L3Id(7)); }
  template <class D>
  static auto get(D& dir, IntfId intfId) {
    return dir.l3Index(intfId);
  }
  template <class Which>
  static auto del(Dir& dir, Which& which) {
    return dir.l3IndexDel(which);
  }
  static void delAll(Dir& dir) { dir.l3IndexDelAll(); }
  static void notify(Dir& dir, IntfId intfId) { dir.l3IndexNotify(intfId); }
  static auto iterator(Dir& dir) { return dir.l3IndexIterator(); }
  static auto iteratorConst(const Dir& dir) { return dir.l3IndexIteratorConst(); }
  static unsigned count(const Dir& dir) { return dir.l3Indexs(); }
  static void callOtherHooks(Silent& silent) {
    silent.onL3Index();
    silent.onL3IndexkobImmediate();
  }
};

INSTANTIATE_TYPED_TEST_SUITE_P(L3IndexDir, Directory, IndexModel);

class L3IndexDirTest : public testing::Test {
 protected:
  const IntfId intf = "Ethernet1"_intf;
  Kob::Ptr<L3IndexDir> dir = FyrL3Intf::l3IndexDirFactory("dir");
  Kob::Ptr<IndexModel::Heard> listener = joined(Kob::Ptr(new IndexModel::Heard), dir);
};

TEST_F(L3IndexDirTest, AnEntryCarriesItsIdentifier) {
  EXPECT_EQ(dir->l3IndexIs(intf, L3Id(0x100000005))->l3Id(), L3Id(0x100000005));
  EXPECT_EQ(dir->newL3Index("Ethernet2"_intf, L3Id(6))->l3Id(), L3Id(6));
}

TEST_F(L3IndexDirTest, AnotherIdentifierChangesTheEntryInPlaceAndAnnouncesItsKey) {
  const auto entry = dir->l3IndexIs(intf, L3Id(5));
  listener->onHearing = [&] {
    EXPECT_EQ(entry->l3Id(), L3Id(6));
    EXPECT_EQ(dir->changeCount(), 2U);
  };
  EXPECT_EQ(dir->l3IndexIs(intf, L3Id(6)), entry);
  EXPECT_EQ(listener->heard, (Log{"Ethernet1", "Ethernet1"}));
  EXPECT_EQ(dir->l3Indexs(), 1U);
  EXPECT_EQ(dir->changeCount(), 2U);
  EXPECT_EQ(entry->changeCount(), 1U);
}

TEST_F(L3IndexDirTest, AnIdentifierThatDiffersInOneWordOnlyIsAnother) {
  dir->l3IndexIs(intf, L3Id(0x100000005));
  dir->l3IndexIs(intf, L3Id(0x200000005));
  dir->l3IndexIs(intf, L3Id(0x200000006));
  EXPECT_EQ(listener->heard.size(), 3U);
}

TEST_F(L3IndexDirTest, TheIdentifierThatStandsChangesNothing) {
  const auto entry = dir->l3IndexIs(intf, L3Id(5));
  EXPECT_EQ(dir->l3IndexIs(intf, L3Id(5)), entry);
  EXPECT_EQ(listener->heard, (Log{"Ethernet1"}));
  EXPECT_EQ(dir->changeCount(), 1U);
  EXPECT_EQ(entry->changeCount(), 0U);
}

TEST_F(L3IndexDirTest, TwoInterfacesMayHaveOneIdentifier) {
  dir->l3IndexIs(intf, L3Id(5));
  dir->l3IndexIs("Ethernet2"_intf, L3Id(5));
  EXPECT_EQ(dir->l3Indexs(), 2U);
}

}  // namespace
}  // namespace Tests
