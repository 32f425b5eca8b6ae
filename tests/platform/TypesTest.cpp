// The types of identifiers and models: their names, the text forms of the values, and the models as
// tools read them.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Kob/GenericIf.h"
#include "Kob/GenericIfException.h"
#include "Kob/GenericValue.h"
#include "Kob/Type.h"
#include "platform/BridgingConfig.h"
#include "platform/IntfId.h"
#include "platform/L3Id.h"
#include "platform/L3IndexDir.h"
#include "platform/VlanId.h"
#include "platform/VlanIntfStatusDir.h"
#include "tests/platform/Intf.h"
#include "tests/platform/RangeError.h"

namespace Tests {
namespace {

using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using FyrL3Intf::L3Id;
using Kob::generic;
using Kob::GenericIf;
using Kob::KobType;
using Kob::Ptr;
using Kob::String8;
using Kob::valueIn;
using Plexo::IntfId;
using Names = std::vector<std::string>;

// ---------------------------------------------------------------------------------------------
// Values

/// The type is registered, there is one of it, and it is a value's.
template <class T>
void expectValueType(const char* qualifiedName, const char* shortName) {
  KobType* const type = T::_fwkType();
  EXPECT_EQ(type->qualifiedName(), qualifiedName);
  EXPECT_EQ(type->name(), shortName);
  EXPECT_EQ(type->base(), nullptr);
  EXPECT_EQ(KobType::typeNode(qualifiedName), type);
  EXPECT_EQ(T::_fwkType(), type);
}

TEST(ValueTypes, HaveTheirQualifiedNames) {
  expectValueType<IntfId>("Plexo::IntfId", "IntfId");
  expectValueType<VlanId>("Bridging::VlanId", "VlanId");
  expectValueType<VlanIdOrNone>("Bridging::VlanIdOrNone", "VlanIdOrNone");
  expectValueType<L3Id>("FyrL3Intf::L3Id", "L3Id");
}

/// Parses the text and prints the value again.
template <class T>
std::string again(const char* text) {
  const auto box = T::_fwkType()->genericIf(String8(text), false);
  EXPECT_NE(valueIn<T>(box.get()), nullptr);
  EXPECT_EQ(box->type(), T::_fwkType());
  return box->strRep().charPtr();
}
template <class T>
T parsed(const char* text) {
  return *valueIn<T>(T::_fwkType()->genericIf(String8(text), false).get());
}
template <class T>
std::string refusalOf(const std::string& text) {
  return rangeErrorOf([&] { T::_fwkType()->genericIf(String8(text), false); });
}

TEST(IntfIdText, IsTheName) {
  EXPECT_EQ(again<IntfId>("Ethernet1"), "Ethernet1");
  EXPECT_EQ(parsed<IntfId>("Ethernet1"), "Ethernet1"_intf);
  EXPECT_EQ(again<IntfId>("Ethernet1/2:3,x"), "Ethernet1/2:3,x");
  EXPECT_EQ(again<IntfId>(""), "");
  EXPECT_FALSE(parsed<IntfId>(""));
}

TEST(IntfIdText, ThatIsNoNameIsRefused) {
  const char* const refusal = "IntfId::name is not 1 to 255 printable characters without blanks";
  EXPECT_EQ(refusalOf<IntfId>("Ethernet 1"), refusal);
  EXPECT_EQ(refusalOf<IntfId>("Ethernet1\n"), refusal);
  EXPECT_EQ(refusalOf<IntfId>(std::string(256, 'E')), refusal);
  EXPECT_EQ(refusalOf<IntfId>(std::string(255, 'E')), "");
}

TEST(VlanIdText, IsANumberInItsRange) {
  EXPECT_EQ(again<VlanId>("1"), "1");
  EXPECT_EQ(again<VlanId>("4094"), "4094");
  EXPECT_EQ(again<VlanId>("0x64"), "100");
  const char* const refusal = "VlanId::value < 1 or > 4094 not allowed";
  EXPECT_EQ(refusalOf<VlanId>("0"), refusal);
  EXPECT_EQ(refusalOf<VlanId>("4095"), refusal);
  EXPECT_EQ(refusalOf<VlanId>("65535"), refusal);
}

TEST(VlanIdOrNoneText, IsANumberInItsRange) {
  EXPECT_EQ(again<VlanIdOrNone>("0"), "0");
  EXPECT_EQ(again<VlanIdOrNone>("4094"), "4094");
  EXPECT_EQ(again<VlanIdOrNone>("0xffe"), "4094");
  const char* const refusal = "VlanIdOrNone::value > 4094 not allowed";
  EXPECT_EQ(refusalOf<VlanIdOrNone>("4095"), refusal);
  EXPECT_EQ(refusalOf<VlanIdOrNone>("65535"), refusal);
}

template <class T>
class VlanText : public testing::Test {};
using VlanTypes = testing::Types<VlanId, VlanIdOrNone>;
TYPED_TEST_SUITE(VlanText, VlanTypes);

TYPED_TEST(VlanText, ThatIsNoNumberOrMoreIsRefused) {
  EXPECT_EQ(refusalOf<TypeParam>(""), "no number at column 0");
  EXPECT_EQ(refusalOf<TypeParam>("none"), "no number at column 0");
  EXPECT_EQ(refusalOf<TypeParam>("-1"), "no number at column 0");
  EXPECT_EQ(refusalOf<TypeParam>("10 "), "junk at column 2 deserializing 10 ");
  EXPECT_EQ(refusalOf<TypeParam>("100x"), "junk at column 3 deserializing 100x");
}

TYPED_TEST(VlanText, OfMoreThan16BitsIsNotCutToThem) {
  EXPECT_EQ(refusalOf<TypeParam>("65536"), "number at column 0 is greater than 65535");
  EXPECT_EQ(refusalOf<TypeParam>("65546"), "number at column 0 is greater than 65535");
  EXPECT_EQ(refusalOf<TypeParam>("0x1000a"), "number at column 0 is greater than 65535");
}

TEST(L3IdText, IsANumberOf64Bits) {
  EXPECT_EQ(again<L3Id>("0"), "0");
  EXPECT_EQ(parsed<L3Id>("0x0000000100000005"), L3Id(0x100000005));
  EXPECT_EQ(again<L3Id>("0xFFFFFFFFFFFFFFFF"), "18446744073709551615");
  EXPECT_EQ(parsed<L3Id>("18446744073709551615"), L3Id(0xFFFFFFFFFFFFFFFF));
  EXPECT_EQ(refusalOf<L3Id>("18446744073709551616"),
            "number at column 0 is greater than 18446744073709551615");
  EXPECT_EQ(refusalOf<L3Id>(""), "no number at column 0");
  EXPECT_EQ(refusalOf<L3Id>("0x"), "junk at column 1 deserializing 0x");
  EXPECT_EQ(refusalOf<L3Id>("5-6"), "junk at column 1 deserializing 5-6");
}

// ---------------------------------------------------------------------------------------------
// Models

TEST(ModelTypes, AreEntitiesUnderTheirQualifiedNames) {
  const auto expectModel = [](KobType* type, const char* name, const Names& attributes) {
    EXPECT_EQ(KobType::typeNode(name), type) << name;
    EXPECT_EQ(type->base(), Kob::Entity::_fwkType()) << name;
    EXPECT_TRUE(type->hasGenericIfSupport()) << name;
    EXPECT_FALSE(type->hasFactory()) << name;
    EXPECT_GE(type->instanceSize(), sizeof(Kob::Entity)) << name;
    Names found;
    for (const auto& attr : type->attrs()) found.emplace_back(attr->name().charPtr());
    EXPECT_EQ(found, attributes) << name;
  };
  expectModel(Bridging::SwitchIntfConfig::_fwkType(), "Bridging::SwitchIntfConfig",
              {"intfId", "switchportMode", "nativeVlan"});
  expectModel(Bridging::Config::_fwkType(), "Bridging::Config", {"switchIntfConfig"});
  expectModel(Interface::IntfStatus::_fwkType(), "Interface::IntfStatus", {"intfId"});
  expectModel(Interface::VlanIntfStatusDir::_fwkType(), "Interface::VlanIntfStatusDir",
              {"intfStatus"});
  expectModel(FyrL3Intf::L3Index::_fwkType(), "FyrL3Intf::L3Index", {"intfId", "l3Id"});
  expectModel(FyrL3Intf::L3IndexDir::_fwkType(), "FyrL3Intf::L3IndexDir", {"l3Index"});
}

TEST(ModelTypes, AreNamedByTheirInstances) {
  const auto config = Bridging::configFactory("config");
  EXPECT_EQ(config->fwkType(), Bridging::Config::_fwkType());
  EXPECT_EQ(config->switchIntfConfigIs("Ethernet1"_intf)->fwkType(),
            Bridging::SwitchIntfConfig::_fwkType());
  const auto statusDir = Interface::vlanIntfStatusDirFactory("dir");
  EXPECT_EQ(statusDir->fwkType(), Interface::VlanIntfStatusDir::_fwkType());
  EXPECT_EQ(statusDir->intfStatusIs("Vlan1"_intf)->fwkType(), Interface::IntfStatus::_fwkType());
  const auto indexDir = FyrL3Intf::l3IndexDirFactory("dir");
  EXPECT_EQ(indexDir->fwkType(), FyrL3Intf::L3IndexDir::_fwkType());
  EXPECT_EQ(indexDir->l3IndexIs("Ethernet1"_intf, L3Id(5))->fwkType(),
            FyrL3Intf::L3Index::_fwkType());
}

/// The text of what a wrapper answers, "null" where it is nothing.
std::string read(const Ptr<GenericIf>& wrapper, const char* attribute, unsigned operation = 0,
                 const Ptr<GenericIf>& arg = nullptr) {
  const auto answer =
      wrapper->attributeOp({wrapper->attributeId(attribute), operation}, arg, nullptr);
  return answer ? answer->strRep().charPtr() : "null";
}

/// Every model lets its collection be read, counted, walked and iterated over, and not be modified.
template <class Dir, class Entry>
void expectReadable(const Ptr<Dir>& dir, const char* collection, const Ptr<Entry>& entry) {
  const auto wrapper = generic(dir);
  const auto key = generic(entry->intfId());
  const auto id = wrapper->attributeId(collection);
  EXPECT_EQ(read(wrapper, collection, 1), "1");
  EXPECT_EQ(read(wrapper, collection, 2), entry->intfId().name().charPtr());
  EXPECT_EQ(read(wrapper, collection, 3, key), "null");
  EXPECT_EQ(read(wrapper, collection, 0, key), generic(entry)->strRep().charPtr());
  EXPECT_EQ(read(wrapper, collection, 0, generic("Ethernet99"_intf)), "null");
  for (const unsigned operation : {128U, 129U}) {
    EXPECT_THROW(wrapper->attributeOp({id, operation}, key, generic(entry)),
                 Kob::OperationNotSupportedException);
  }
  const auto it = wrapper->attributeIteratorConst(id);
  EXPECT_EQ(it.key()->strRep(), entry->intfId().name());
  EXPECT_EQ(it.value()->strRep(), generic(entry)->strRep());
  EXPECT_EQ(read(generic(entry), "intfId"), entry->intfId().name().charPtr());
}

TEST(ModelTypes, TheBridgingConfigurationCanBeRead) {
  const auto config = Bridging::configFactory("config");
  const auto entry = config->switchIntfConfigIs("Ethernet1"_intf);
  expectReadable(config, "switchIntfConfig", entry);
  EXPECT_EQ(generic(config)->attributeId("switchIntfConfig"), 260);
  EXPECT_EQ(read(generic(entry), "switchportMode"), "0");
  EXPECT_EQ(read(generic(entry), "nativeVlan"), "0") << "there is none yet";
  entry->switchportModeAndNativeVlanIs(Bridging::SwitchportMode::routed, VlanId(100));
  EXPECT_EQ(read(generic(entry), "switchportMode"), "5");
  EXPECT_EQ(read(generic(entry), "nativeVlan"), "100");
}

TEST(ModelTypes, TheVlanInterfaceStatusDirectoryCanBeRead) {
  const auto dir = Interface::vlanIntfStatusDirFactory("dir");
  expectReadable(dir, "intfStatus", dir->intfStatusIs("Vlan100"_intf));
  EXPECT_EQ(generic(dir)->attributeId("intfStatus"), 386);
}

TEST(ModelTypes, TheL3IndexDirectoryCanBeRead) {
  const auto dir = FyrL3Intf::l3IndexDirFactory("dir");
  const auto entry = dir->l3IndexIs("Ethernet1"_intf, L3Id(0x100000005));
  expectReadable(dir, "l3Index", entry);
  EXPECT_EQ(generic(dir)->attributeId("l3Index"), 258);
  EXPECT_EQ(read(generic(entry), "l3Id"), "4294967301");
}

TEST(ModelTypes, ReadingThroughToolsLeavesNothingBehind) {
  const auto config = Bridging::configFactory("config");
  const auto entry = config->switchIntfConfigIs("Ethernet1"_intf);
  {
    const auto wrapper = generic(entry);
  }
  EXPECT_EQ(entry->references(), 2U) << "the collection's and ours";
  EXPECT_EQ(config->changeCount(), 1U);
}

}  // namespace
}  // namespace Tests
