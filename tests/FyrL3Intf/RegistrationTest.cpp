// What the system registers of its four types: every row, in order, as an observer hears it that
// comes after the library was loaded.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iomanip>
#include <span>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "FyrL3Intf/FyrL3IntfTable.h"
#include "Kob/GenericValue.h"
#include "Kob/Introspection.h"
#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {
namespace {

using IntfSet = ConfigSm::IntfSet;
using Kob::KobAttr;
using Kob::KobType;
using Kob::Ptr;
/// "NAME TYPE", as parameters are declared.
using Parameters = std::vector<std::string>;
using Lines = std::vector<std::string>;

// ---------------------------------------------------------------------------------------------
// The registrations as text: one line for each call

/// How an attribute is told: plainly, or on its own with its parameters.
constexpr const char* plainly = "plain";
constexpr const char* alone = "alone";

std::string rowLine(const char* how, const std::string& name, const std::string& type,
                    const std::string& keyType, Kob::AttributeId id, std::uint32_t flags1,
                    std::uint32_t flags2, std::uint32_t kind, const Parameters& parameters) {
  std::ostringstream line;
  line << how << ' ' << name << ": " << type;
  if (!keyType.empty()) line << " by " << keyType;
  line << ", id " << id << ", flags " << std::hex << std::setfill('0') << "0x" << std::setw(8)
       << flags1 << " 0x" << std::setw(8) << flags2 << std::dec << ", kind " << kind;
  for (const auto& parameter : parameters) line << ", (" << parameter << ')';
  return line.str();
}

std::string typeLine(const std::string& name, const std::string& base) {
  return "type " + name + (base.empty() ? "" : " : " + base);
}

Parameters parametersOf(const KobAttr& node) {
  Parameters parameters;
  for (const auto& parameter : node.parameters()) {
    parameters.push_back(std::string(parameter.name.charPtr()) + " " +
                         parameter.typeName.charPtr());
  }
  return parameters;
}

std::string nameOf(const KobType* type) {
  return type != nullptr ? type->qualifiedName().charPtr() : "";
}

class LineObserver final : public Kob::IntrospectionObserver {
 public:
  void handleNameSpace(const Kob::Name& name) override {
    lines.push_back(std::string("namespace ") + name.charPtr());
  }
  void handleType(KobType* type, KobType* base) override {
    lines.push_back(typeLine(nameOf(type), nameOf(base)));
    types.push_back(type);
  }
  void defNoninstantiatingAttr(KobType* type, KobAttr* attr) override { tell(plainly, type, attr); }
  void handleAttr(KobType* type, KobAttr* attr) override { tell(alone, type, attr); }
  void handleAttrContextExit() override { lines.emplace_back("end of attribute"); }
  void handleScopeExit() override { lines.emplace_back("end"); }

  Lines lines;
  /// The types that were announced, in order.
  std::vector<KobType*> types;

 private:
  void tell(const char* how, const KobType* type, const KobAttr* attr) {
    EXPECT_EQ(type->attr(attr->name()), attr)
        << "it is an attribute of the type that it is told of";
    lines.push_back(rowLine(how, attr->name().charPtr(), nameOf(attr->type()),
                            nameOf(attr->keyType()), attr->id(), attr->flags().first,
                            attr->flags().second, attr->kindCode(), parametersOf(*attr)));
  }
};

/// Sets an observer now, and takes it away again.
class Observed {
 public:
  Observed() { reactor_->observerIs(observer); }
  Observed(const Observed&) = delete;
  Observed& operator=(const Observed&) = delete;
  ~Observed() { reactor_->observerIs(nullptr); }

  Ptr<LineObserver> observer{new LineObserver};

 private:
  Ptr<Kob::IntrospectionReactor> reactor_ = Kob::IntrospectionReactor::global();
};

/// The lines of the namespace in which the type is the first, from its beginning to its end.
Lines namespaceOf(const Lines& lines, const std::string& type) {
  auto begin = std::find(lines.begin(), lines.end(), type);
  if (begin == lines.begin() || begin == lines.end()) return {};
  --begin;
  int depth = 0;
  auto end = begin;
  do {
    if (end->starts_with("namespace") || end->starts_with("type")) ++depth;
    if (*end == "end") --depth;
    ++end;
  } while (depth > 0 && end != lines.end());
  return {begin, end};
}

// ---------------------------------------------------------------------------------------------
// The tables

/// Joins what is declared of several types.
Lines operator+(Lines head, const Lines& tail) {
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

constexpr std::uint32_t second = 0x00000400;

Lines value(const char* name, const char* type, Kob::AttributeId id, std::uint32_t flags1,
            std::uint32_t flags2, std::uint32_t kind) {
  return {rowLine(plainly, name, type, "", id, flags1, flags2, kind, {})};
}
Lines collection(const char* name, const char* keyType, const char* type, Kob::AttributeId id,
                 std::uint32_t flags1) {
  return {rowLine(plainly, name, type, keyType, id, flags1, second, 2, {})};
}
Lines function(const char* name, Kob::AttributeId id) {
  return {rowLine(plainly, name, "void*", "", id, 0x00020001, second, 8, {})};
}
Lines function(const char* name, Kob::AttributeId id, const Parameters& parameters,
               const char* result = "void*") {
  return {rowLine(alone, name, result, "", id, 0x00020001, second, 8, parameters),
          "end of attribute"};
}
Lines inherited(const char* name, const char* parameter) {
  return {rowLine(alone, name, "void*", "", 0, 0x00000001, second, 8,
                  {std::string(parameter) + " bool"}),
          "end of attribute"};
}

Lines switchIntfConfigSmRows() {
  return value("kobFwkActivity", "Kob::ActivityConfig", 0, 0x08000001, second, 0) +
         value("switchIntfConfig", "Bridging::SwitchIntfConfig", 130, 0x08220109, second, 2) +
         value("intfId", "Plexo::IntfId", 131, 0x00220001, second, 0) +
         value("configSm", "FyrL3Intf::ConfigSm", 132, 0x18220109, 0x40000400, 2) +
         function("handleSwitchportModeAndNativeVlan", 133) + function("doPrepareToDie", 134) +
         value("fwkKey", "Plexo::IntfId", 0, 0x00200001, second, 0) +
         inherited("hasNotificationActiveIs", "hasNotificationActiveIs") +
         inherited("kobDoZombieReactors", "on");
}

Lines configSmInputRows() {
  return value("kobFwkActivity", "Kob::ActivityConfig", 0, 0x0800210F, second, 2) +
         value("config", "Bridging::Config", 130, 0x08220109, second, 2) +
         value("vlanIntfStatusDir", "Interface::VlanIntfStatusDir", 131, 0x08220109, second, 2) +
         value("fyrL3IndexDir", "FyrL3Intf::L3IndexDir", 132, 0x08220109, second, 2) +
         value("fyrL3IntfTable", "FyrL3Intf::Table", 133, 0x08220109, 0x40000400, 2) +
         value("internalVlanNeeded", "bool", 134, 0x00220109, second, 2);
}

Lines intfSetRows() { return collection("member", "Plexo::IntfId", "bool", 2, 0x01A20107); }

Lines instantiatingRow() {
  return {rowLine(alone, "switchIntfConfigSm", "FyrL3Intf::SwitchIntfConfigSm", "Plexo::IntfId",
                  141, 0x09A20103, 0x10000400, 34,
                  {"switchIntfConfig Bridging::SwitchIntfConfig", "intfId Plexo::IntfId"}),
          "end of attribute"};
}

Lines configSmOtherRows() {
  const Parameters intf = {"intfId Plexo::IntfId"};
  return function("handleVlanIntfStatus", 135, intf) +
         collection("desiredRoutedPortName", "Bridging::VlanId", "FyrL3Intf::ConfigSm::IntfSet",
                    137, 0x01A20103) +
         collection("desiredInternalVlanId", "Plexo::IntfId", "Bridging::VlanIdOrNone", 138,
                    0x01A20103) +
         function("doSetDesiredInternalVlanId", 139,
                  {"intfId Plexo::IntfId", "newDesiredInternalVlanId Bridging::VlanIdOrNone"}) +
         function("doSetInternalVlanId", 140,
                  {"intfId Plexo::IntfId", "newInternalVlanId Bridging::VlanIdOrNone"}) +
         instantiatingRow() + function("handleSwitchIntfConfig", 142, intf) +
         function("handleL3Index", 144, intf) + function("doPrepareToDie", 146) +
         function("doVerify", 147) +
         inherited("hasNotificationActiveIs", "hasNotificationActiveIs") +
         inherited("kobDoZombieReactors", "on");
}

Lines tableRows() {
  return value("internalVlanNeeded", "bool", 258, 0x00220109, 0x40000400, 2) +
         collection("routedPortName", "FyrL3Intf::L3Id", "Plexo::IntfId", 259, 0x01A20103) +
         collection("intfL3Index", "Plexo::IntfId", "FyrL3Intf::L3Id", 260, 0x01A20143) +
         function("l3IdToIntfId", 261, {"l3Id FyrL3Intf::L3Id"}, "Plexo::IntfId") +
         function("intfIdToL3Id", 262, {"intfId Plexo::IntfId"}, "FyrL3Intf::L3Id");
}

const std::string switchIntfConfigSmLine =
    typeLine("FyrL3Intf::SwitchIntfConfigSm", "Kob::PtrInterface");
const std::string tableLine = typeLine("FyrL3Intf::Table", "Kob::Entity");

TEST(Registration, OfTheMachinesIsOneNamespaceWithTheSetInsideTheScopeOfTheMachine) {
  const Observed observed;
  const Lines expected = Lines{"namespace FyrL3Intf", switchIntfConfigSmLine} +
                         switchIntfConfigSmRows() +
                         Lines{"end", typeLine("FyrL3Intf::ConfigSm", "Kob::PtrInterface")} +
                         configSmInputRows() + Lines{typeLine("FyrL3Intf::ConfigSm::IntfSet", "")} +
                         intfSetRows() + Lines{"end"} + configSmOtherRows() + Lines{"end", "end"};
  EXPECT_EQ(namespaceOf(observed.observer->lines, switchIntfConfigSmLine), expected);
}

TEST(Registration, OfTheTableIsANamespaceOfItsOwn) {
  const Observed observed;
  EXPECT_EQ(namespaceOf(observed.observer->lines, tableLine),
            (Lines{"namespace FyrL3Intf", tableLine} + tableRows() + Lines{"end", "end"}));
}

TEST(Registration, OfTheTypesThatTheMachinesNameComesFirst) {
  const Observed observed;
  const Lines& lines = observed.observer->lines;
  EXPECT_LT(std::find(lines.begin(), lines.end(), tableLine),
            std::find(lines.begin(), lines.end(), switchIntfConfigSmLine));
}

TEST(Registration, AnnouncesEachTypeOnceWithItsOwnTypeObject) {
  const Observed observed;
  for (KobType* const type : {SwitchIntfConfigSm::_fwkType(), ConfigSm::_fwkType(),
                              IntfSet::_fwkType(), Table::_fwkType()}) {
    const auto& types = observed.observer->types;
    EXPECT_EQ(std::count(types.begin(), types.end(), type), 1) << nameOf(type);
  }
}

TEST(Registration, AskedForAgainRegistersNothing) {
  const Observed observed;
  const Lines before = observed.observer->lines;
  kobInitFyrL3IntfSm();
  kobInitFyrL3IntfTable();
  ::kobInitFyrL3IntfSm();
  ::kobInitFyrL3IntfTable();
  EXPECT_EQ(observed.observer->lines, before);
  EXPECT_EQ(SwitchIntfConfigSm::_fwkType()->attrs().size(), 9U);
  EXPECT_EQ(ConfigSm::_fwkType()->attrs().size(), 18U);
  EXPECT_EQ(IntfSet::_fwkType()->attrs().size(), 1U);
  EXPECT_EQ(Table::_fwkType()->attrs().size(), 5U);
}

// ---------------------------------------------------------------------------------------------
// The types

TEST(RegisteredTypes, HaveShortNamesAndBases) {
  EXPECT_EQ(SwitchIntfConfigSm::_fwkType()->name(), "SwitchIntfConfigSm");
  EXPECT_EQ(ConfigSm::_fwkType()->name(), "ConfigSm");
  EXPECT_EQ(IntfSet::_fwkType()->name(), "IntfSet");
  EXPECT_EQ(Table::_fwkType()->name(), "Table");
  EXPECT_EQ(SwitchIntfConfigSm::_fwkType()->base(), Kob::PtrInterface::_fwkType());
  EXPECT_EQ(ConfigSm::_fwkType()->base(), Kob::PtrInterface::_fwkType());
  EXPECT_EQ(IntfSet::_fwkType()->base(), nullptr);
  EXPECT_EQ(Table::_fwkType()->base(), Kob::Entity::_fwkType());
}

TEST(RegisteredTypes, AreOfTheirOwnClassesAndStayForever) {
  EXPECT_NE(dynamic_cast<SwitchIntfConfigSm::_Type*>(SwitchIntfConfigSm::_fwkType()), nullptr);
  EXPECT_NE(dynamic_cast<ConfigSm::_Type*>(ConfigSm::_fwkType()), nullptr);
  EXPECT_NE(dynamic_cast<IntfSet::_Type*>(IntfSet::_fwkType()), nullptr);
  EXPECT_NE(dynamic_cast<Table::_Type*>(Table::_fwkType()), nullptr);
  for (KobType* const type : {SwitchIntfConfigSm::_fwkType(), ConfigSm::_fwkType(),
                              IntfSet::_fwkType(), Table::_fwkType()}) {
    EXPECT_EQ(type->references(), 1U) << nameOf(type);
  }
}

TEST(RegisteredTypes, AreTheOnesUnderTheirNamesWhateverElseIsMadeOfTheirClasses) {
  const std::size_t nodes = KobType::typeNodes().size();
  const Ptr<KobType> others[] = {new SwitchIntfConfigSm::_Type, new ConfigSm::_Type,
                                 new IntfSet::_Type, new Table::_Type};
  for (const auto& other : others) {
    KobType* const registered = KobType::typeNode(other->qualifiedName());
    EXPECT_NE(registered, other);
    EXPECT_EQ(registered->name(), other->name());
    EXPECT_EQ(registered->base(), other->base());
    EXPECT_TRUE(other->attrs().empty());
  }
  EXPECT_EQ(KobType::typeNodes().size(), nodes);
}

TEST(RegisteredTypes, AreNamedByTheirInstances) {
  World world(internalVlans);
  world.routedPort("Ethernet1", 100);
  world.start();
  EXPECT_EQ(world.machine->fwkType(), ConfigSm::_fwkType());
  EXPECT_EQ(world.table->fwkType(), Table::_fwkType());
  EXPECT_EQ(world.machine->switchIntfConfigSm("Ethernet1"_intf)->fwkType(),
            SwitchIntfConfigSm::_fwkType());
}

TEST(RegisteredTypes, KnowTheSizeOfTheirInstances) {
  EXPECT_EQ(SwitchIntfConfigSm::_fwkType()->instanceSize(), sizeof(SwitchIntfConfigSm));
  EXPECT_EQ(ConfigSm::_fwkType()->instanceSize(), sizeof(ConfigSm));
  EXPECT_EQ(IntfSet::_fwkType()->instanceSize(), sizeof(IntfSet));
  EXPECT_EQ(Table::_fwkType()->instanceSize(), sizeof(Table));
}

TEST(RegisteredTypes, AnnounceThatTheyCanBeOperatedGenericallyButForTheTable) {
  EXPECT_TRUE(SwitchIntfConfigSm::_fwkType()->hasGenericIfSupport());
  EXPECT_TRUE(ConfigSm::_fwkType()->hasGenericIfSupport());
  EXPECT_TRUE(IntfSet::_fwkType()->hasGenericIfSupport());
  EXPECT_FALSE(Table::_fwkType()->hasGenericIfSupport());
}

TEST(RegisteredTypes, OfWhatAHostMakesSayThatThereIsAFactory) {
  EXPECT_TRUE(ConfigSm::_fwkType()->hasFactory());
  EXPECT_TRUE(Table::_fwkType()->hasFactory());
  EXPECT_FALSE(SwitchIntfConfigSm::_fwkType()->hasFactory());
  EXPECT_FALSE(IntfSet::_fwkType()->hasFactory());
}

TEST(RegisteredTypes, NameTheParametersOfTheirConstructorsInOrder) {
  EXPECT_EQ(
      parametersOf(*SwitchIntfConfigSm::_fwkType()),
      (Parameters{"switchIntfConfig Bridging::SwitchIntfConfig", "configSm FyrL3Intf::ConfigSm"}));
  EXPECT_EQ(parametersOf(*ConfigSm::_fwkType()),
            (Parameters{"kobFwkActivity Kob::ActivityConfig", "config Bridging::Config",
                        "vlanIntfStatusDir Interface::VlanIntfStatusDir",
                        "fyrL3IndexDir FyrL3Intf::L3IndexDir", "fyrL3IntfTable FyrL3Intf::Table",
                        "internalVlanNeeded bool"}));
  EXPECT_EQ(parametersOf(*IntfSet::_fwkType()), Parameters());
  EXPECT_EQ(parametersOf(*Table::_fwkType()),
            (Parameters{"name Kob::Name", "internalVlanNeeded bool"}));
}

TEST(RegisteredTypes, OnlyTheSetHasAKeyType) {
  EXPECT_EQ(IntfSet::_fwkType()->keyType(), Plexo::IntfId::_fwkType());
  EXPECT_EQ(ConfigSm::_fwkType()->keyType(), nullptr);
  EXPECT_EQ(SwitchIntfConfigSm::_fwkType()->keyType(), nullptr);
  EXPECT_EQ(Table::_fwkType()->keyType(), nullptr);
}

TEST(RegisteredTypes, WrapInstancesOfTheirOwnAndNothingElse) {
  World world(internalVlans);
  world.routedPort("Ethernet1", 100);
  world.start();
  const auto port = world.machine->switchIntfConfigSm("Ethernet1"_intf);
  EXPECT_EQ(ConfigSm::_fwkType()->genericIf_(world.machine.get(), false)->type(),
            ConfigSm::_fwkType());
  EXPECT_EQ(Table::_fwkType()->genericIf_(world.table.get(), false)->type(), Table::_fwkType());
  EXPECT_EQ(SwitchIntfConfigSm::_fwkType()->genericIf_(port.get(), true)->type(),
            SwitchIntfConfigSm::_fwkType());
  EXPECT_TRUE(SwitchIntfConfigSm::_fwkType()->genericIf_(port.get(), true)->readOnly());
  EXPECT_EQ(ConfigSm::_fwkType()->genericIf_(port.get(), false), nullptr);
  EXPECT_EQ(SwitchIntfConfigSm::_fwkType()->genericIf_(world.machine.get(), false), nullptr);
  EXPECT_EQ(Table::_fwkType()->genericIf_(world.machine.get(), false), nullptr);
  EXPECT_EQ(Table::_fwkType()->genericIf_(nullptr, false), nullptr);
  EXPECT_EQ(IntfSet::_fwkType()->genericIf_(world.machine.get(), false), nullptr);
}

TEST(RegisteredTypes, TheSetsTypeWrapsACopyOfAValue) {
  IntfSet set;
  set.memberIs("Ethernet1"_intf, true);
  const auto box = IntfSet::_fwkType()->genericIf(static_cast<const void*>(&set), true);
  set.memberDelAll();
  ASSERT_NE(Kob::valueIn<IntfSet>(box.get()), nullptr);
  EXPECT_TRUE(Kob::valueIn<IntfSet>(box.get())->member("Ethernet1"_intf));
  EXPECT_TRUE(box->readOnly());
}

// ---------------------------------------------------------------------------------------------
// Names, ids and handles

TEST(RegisteredNames, FindTheirTypesInTheOrderOfTheInitialisers) {
  const auto place = [](const char* name, KobType* type) {
    EXPECT_EQ(KobType::typeNode(name), type);
    const auto& nodes = KobType::typeNodes();
    EXPECT_EQ(std::count(nodes.begin(), nodes.end(), type), 1);
    return std::find(nodes.begin(), nodes.end(), type) - nodes.begin();
  };
  const auto set = place("FyrL3Intf::ConfigSm::IntfSet", IntfSet::_fwkType());
  const auto port = place("FyrL3Intf::SwitchIntfConfigSm", SwitchIntfConfigSm::_fwkType());
  const auto machine = place("FyrL3Intf::ConfigSm", ConfigSm::_fwkType());
  const auto table = place("FyrL3Intf::Table", Table::_fwkType());
  EXPECT_EQ(port, set + 1);
  EXPECT_EQ(machine, port + 1);
  EXPECT_EQ(table, machine + 1);
}

TEST(RegisteredIds, AreFoundByName) {
  World world(internalVlans);
  world.routedPort("Ethernet1", 100);
  world.start();
  const auto machine = Kob::generic(world.machine);
  const auto port = Kob::generic(world.machine->switchIntfConfigSm("Ethernet1"_intf));
  EXPECT_EQ(machine->attributeId("doVerify"), 147);
  EXPECT_EQ(Kob::generic(IntfSet())->attributeId("member"), 2);
  EXPECT_EQ(Kob::generic(world.table)->attributeId("intfIdToL3Id"), 262);
  EXPECT_EQ(port->attributeId("intfId"), 131);
  for (const char* const name :
       {"kobFwkActivity", "fwkKey", "hasNotificationActiveIs", "kobDoZombieReactors"}) {
    EXPECT_EQ(machine->attributeId(name), 0) << name;
    EXPECT_EQ(port->attributeId(name), 0) << name;
  }
}

TEST(RegisteredIds, SkipThreeNumbers) {
  std::vector<Kob::AttributeId> ids;
  for (const auto& attr : ConfigSm::_fwkType()->attrs()) {
    if (attr->id() != 0) ids.push_back(attr->id());
  }
  EXPECT_EQ(ids, (std::vector<Kob::AttributeId>{130, 131, 132, 133, 134, 135, 137, 138, 139, 140,
                                                141, 142, 144, 146, 147}));
  for (const Kob::AttributeId id : {129, 136, 143, 145, 148}) {
    EXPECT_EQ(ConfigSm::_fwkType()->attr(id), nullptr) << id;
  }
}

/// The names of the attributes behind the handles; "" where there is none.
Lines namesOf(std::span<KobAttr* const> handles) {
  Lines names;
  for (const KobAttr* const attr : handles) {
    names.emplace_back(attr != nullptr ? attr->name().charPtr() : "");
  }
  return names;
}
/// Each handle is the attribute that the type finds under its name.
void expectHandles(std::span<KobAttr* const> handles, const KobType& type) {
  for (KobAttr* const attr : handles) {
    if (attr == nullptr) continue;
    EXPECT_EQ(type.attr(attr->name()), attr);
  }
}

TEST(AttributeHandles, AreThoseOfTheAttributesInTheOrderOfTheirRegistration) {
  EXPECT_EQ(namesOf(SwitchIntfConfigSm::_Type::attributeHandles()),
            (Lines{"kobFwkActivity", "switchIntfConfig", "intfId", "configSm",
                   "handleSwitchportModeAndNativeVlan", "doPrepareToDie", "fwkKey",
                   "hasNotificationActiveIs", "kobDoZombieReactors"}));
  EXPECT_EQ(
      namesOf(ConfigSm::_Type::attributeHandles()),
      (Lines{"kobFwkActivity", "config", "vlanIntfStatusDir", "fyrL3IndexDir", "fyrL3IntfTable",
             "internalVlanNeeded", "", "handleVlanIntfStatus", "desiredRoutedPortName",
             "desiredInternalVlanId", "doSetDesiredInternalVlanId", "doSetInternalVlanId",
             "switchIntfConfigSm", "handleSwitchIntfConfig", "handleL3Index", "doPrepareToDie",
             "doVerify", "hasNotificationActiveIs", "kobDoZombieReactors"}))
      << "with none in the place of the nested type";
  EXPECT_EQ(namesOf(Table::_Type::attributeHandles()),
            (Lines{"internalVlanNeeded", "routedPortName", "intfL3Index", "l3IdToIntfId",
                   "intfIdToL3Id"}));
  expectHandles(SwitchIntfConfigSm::_Type::attributeHandles(), *SwitchIntfConfigSm::_fwkType());
  expectHandles(ConfigSm::_Type::attributeHandles(), *ConfigSm::_fwkType());
  expectHandles(Table::_Type::attributeHandles(), *Table::_fwkType());
}

}  // namespace
}  // namespace FyrL3Intf::Tests
