// The VLAN interface status directory: entries whose presence is all that matters.

#include "platform/VlanIntfStatusDir.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "tests/platform/Directory.h"

namespace Tests {
namespace {

using Interface::VlanIntfStatusDir;
using Plexo::IntfId;

struct StatusModel {
  using Dir = VlanIntfStatusDir;
  using Silent = Listener<Dir::NotifieeConst>;

  class Heard final : public Listener<Dir::NotifieeConst> {
   public:
    void onIntfStatus(IntfId intfId) override { hears(intfId.name().charPtr()); }
    void onIntfStatus() override { hears("any"); }
    void onIntfStatuskobImmediate() override { hears("immediate"); }
  };

  static constexpr Kob::AttributeId id = 386;

  static auto make(const char* name) { return Interface::vlanIntfStatusDirFactory(name); }
  static auto add(Dir& dir, IntfId intfId) { return dir.intfStatusIs(intfId); }
  static auto addRaw(Dir& dir, IntfId intfId) { return dir.newIntfStatus(intfId); }
  template <class D>
  static auto get(D& dir, IntfId intfId) {
    return dir.intfStatus(intfId);
  }
  template <class Which>
  static auto del(Dir& dir, Which& which) {
    return dir.intfStatusDel(which);
  }
  static void delAll(Dir& dir) { dir.intfStatusDelAll(); }
  static void notify(Dir& dir, IntfId intfId) { dir.intfStatusNotify(intfId); }
  static auto iterator(Dir& dir) { return dir.intfStatusIterator(); }
  static auto iteratorConst(const Dir& dir) { return dir.intfStatusIteratorConst(); }
  static unsigned count(const Dir& dir) { return dir.intfStatuss(); }
  static void callOtherHooks(Silent& silent) {
    silent.onIntfStatus();
    silent.onIntfStatuskobImmediate();
  }
};

INSTANTIATE_TYPED_TEST_SUITE_P(VlanIntfStatusDir, Directory, StatusModel);

TEST(VlanIntfStatusDir, IsOneOfTheStatusDirectories) {
  EXPECT_TRUE((std::is_base_of_v<Interface::IntfStatusDirBase, VlanIntfStatusDir>));
  EXPECT_TRUE((std::is_base_of_v<Interface::IntfStatusDirBase::NotifieeConst,
                                 VlanIntfStatusDir::NotifieeConst>));
}

TEST(VlanIntfStatusDir, TakesAnyInterface) {
  const auto dir = Interface::vlanIntfStatusDirFactory("dir");
  EXPECT_TRUE(dir->intfStatusIs("Ethernet1"_intf));
  EXPECT_TRUE(dir->intfStatusIs("Vlan5000"_intf));
  EXPECT_EQ(dir->intfStatuss(), 2U);
}

}  // namespace
}  // namespace Tests
