// Every id from 0 to 300 with every kind of operation code, argument and value, through writable
// and read-only wrappers of all four published types. What must come of each is foretold from the
// tables below, which say what the types publish and are not taken from the library; what is
// refused must leave everything as it was, and what is fatal is carried out in a child process.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/FyrL3Intf/Generic.h"
#include "tests/FyrL3Intf/Machines.h"
#include "tests/FyrL3Intf/ModelRun.h"

namespace FyrL3Intf::Tests {
namespace {

using Bridging::VlanId;
using Bridging::VlanIdOrNone;

constexpr Kob::AttributeId lastId = 300;
constexpr std::array<unsigned, 9> operations = {0, 1, 2, 3, 4, 127, 128, 129, 130};

enum class Kind { value, function, collection, set, instantiatingCollection };

/// How an argument or a value fits what is asked for.
enum class Fit { none, wrong, wrongElement, right };
constexpr std::array fits = {Fit::none, Fit::wrong, Fit::wrongElement, Fit::right};

/// What a type publishes under an id, and what comes of it in the world below.
struct Published {
  Kob::AttributeId id;
  std::string name;
  Kind kind;
  /// The key, or the list of arguments; what a write takes as value.
  Wrapper arg = nullptr;
  Wrapper value = nullptr;
  /// The answers to reading or calling, counting, and the walk over the keys.
  std::string read = "nothing";
  std::string nextKey = "nothing";
  std::string count = "";
  std::string firstKey = "";
  /// The parameter that a list with one wrong element names; none where no element is expected.
  std::string parameter = "";
  /// The report, when the call is fatal.
  std::string death = "";
};

/// A machine with one routed port that holds its VLAN.
struct SmallWorld : World {
  SmallWorld() : World(internalVlans) {
    routedPort("Ethernet1", 100);
    start();
  }
  [[nodiscard]] Kob::Ptr<SwitchIntfConfigSm> port() const {
    return machine->switchIntfConfigSm("Ethernet1"_intf);
  }
};

/// One of the published types: its attributes, and how a fresh instance is wrapped and looked at.
struct Surface {
  std::string type;
  std::string missingList = "Kob::GenericIf::List_";
  std::vector<Published> attributes;
  std::function<Wrapper(SmallWorld&, bool readOnly)> wrap;

  [[nodiscard]] const Published* attribute(Kob::AttributeId id) const {
    const auto found = std::ranges::find(attributes, id, &Published::id);
    return found == attributes.end() ? nullptr : &*found;
  }
};

/// One operation.
struct Step {
  Kob::AttributeId id;
  unsigned operation;
  Fit arg;
  Fit value;
  bool readOnly;
};

std::string expectedOfFunction(const Surface& surface, const Published& called, const Step& step) {
  if (step.operation != callOp) return notSupported(called.name, step.operation);
  if (step.arg == Fit::none) return "TypeException " + surface.missingList;
  if (step.arg == Fit::wrong) return "TypeException Kob::GenericIf::List_";
  if (step.arg == Fit::right) return called.read;
  return called.parameter.empty() ? "UnknownArgumentException " + called.name
                                  : "TypeException " + called.parameter;
}

std::string expectedOfWrite(const Published& written, Fit value) {
  if (value == Fit::right) return "nothing";
  if (written.kind != Kind::instantiatingCollection || value == Fit::none) {
    return "TypeException " + written.name;
  }
  return value == Fit::wrong ? "TypeException Kob::GenericIf::List_"
                             : "TypeException switchIntfConfig";
}

std::string expectedOfCollection(const Published& collection, const Step& step) {
  const bool walks = collection.kind != Kind::set;
  const bool known = step.operation <= countOp || step.operation == writeOp ||
                     step.operation == deleteOp ||
                     (walks && (step.operation == firstKeyOp || step.operation == nextKeyOp));
  if (!known) return notSupported(collection.name, step.operation);
  if (step.operation == countOp) return collection.count;
  if (step.operation == firstKeyOp) return collection.firstKey;
  if (step.arg == Fit::none) return "TypeException kob_index";
  if (step.arg != Fit::right) {
    return collection.kind == Kind::instantiatingCollection ? "BadIndexException " + collection.name
                                                            : "TypeException kob_index";
  }
  if (step.operation == writeOp) return expectedOfWrite(collection, step.value);
  if (step.operation == deleteOp) return "nothing";
  return step.operation == readOp ? collection.read : collection.nextKey;
}

/// What must come of the step.
std::string expected(const Surface& surface, const Step& step) {
  if (step.readOnly && step.operation >= 128) return constRefusal;
  const Published* const published = surface.attribute(step.id);
  if (published == nullptr) return unknownAttribute(surface.type, step.id);
  if (published->kind == Kind::function) return expectedOfFunction(surface, *published, step);
  if (published->kind != Kind::value) return expectedOfCollection(*published, step);
  const bool indexed = step.arg == Fit::wrong || step.arg == Fit::wrongElement;
  if (indexed) return "BadIndexException " + published->name;
  if (step.operation != readOp) return notSupported(published->name, step.operation);
  return published->read;
}

bool refused(const std::string& text) { return text.find("Exception ") != std::string::npos; }

/// The box for a fit, where `right` is the one that fits.
Wrapper fitting(Fit fit, const Wrapper& right) {
  static const Wrapper wrong = boxed(Kob::Name("wrong"));
  static const Wrapper wrongElement = arguments({wrong});
  switch (fit) {
    case Fit::none:
      return nullptr;
    case Fit::wrong:
      return wrong;
    case Fit::wrongElement:
      return wrongElement;
    case Fit::right:
      return right;
  }
  return nullptr;
}

/// What was met on the way, so that a sweep that meets nothing shows.
struct Met {
  unsigned refused = 0;
  unsigned answered = 0;
  unsigned changed = 0;
  unsigned died = 0;
};

/// Goes through all steps of a type, in a world that is made again whenever a step changed it.
class Sweep {
 public:
  explicit Sweep(Surface surface) : surface_(std::move(surface)) { renew(); }

  Met run() {
    for (Kob::AttributeId id = 0; id <= lastId; ++id) {
      for (const unsigned operation : operations) {
        for (const bool readOnly : {false, true}) take(id, operation, readOnly);
      }
      EXPECT_EQ(state(), state_) << surface_.type << " id " << id;
    }
    return met_;
  }

 private:
  void take(Kob::AttributeId id, unsigned operation, bool readOnly) {
    for (const Fit arg : fits) {
      for (const Fit value : fits) take({id, operation, arg, value, readOnly});
    }
  }

  void take(const Step& step) {
    const Published* const published = surface_.attribute(step.id);
    const Wrapper arg = fitting(step.arg, published != nullptr ? published->arg : boxed(true));
    const Wrapper value = fitting(step.value, published != nullptr ? published->value : arg);
    const auto carryOut = [&] {
      return outcome(wrappers_[step.readOnly ? 1 : 0], step.id, step.operation, arg, value);
    };
    const std::string text = expected(surface_, step);
    if (published != nullptr && !published->death.empty() && text == published->read) {
      die(carryOut, published->death);
      return;
    }
    EXPECT_EQ(carryOut(), text) << surface_.type << " id " << step.id << " operation "
                                << step.operation << " argument " << static_cast<int>(step.arg)
                                << " value " << static_cast<int>(step.value)
                                << (step.readOnly ? " read-only" : "");
    ++(refused(text) ? met_.refused : met_.answered);
    if (published != nullptr) look(text);
  }

  void look(const std::string& text) {
    if (state() == state_) return;
    ++met_.changed;
    EXPECT_FALSE(refused(text)) << "changed by what was refused with " << text;
    renew();
  }

  template <class Action>
  void die(const Action& action, const std::string& report) {
    const Ended ended = inChild([&] { std::cout << action(); });
    EXPECT_TRUE(ended.aborted) << report;
    EXPECT_THAT(ended.standardError, testing::MatchesRegex(report));
    ++met_.died;
  }

  void renew() {
    wrappers_ = {};
    world_ = std::make_unique<SmallWorld>();
    wrappers_ = {surface_.wrap(*world_, false), surface_.wrap(*world_, true)};
    state_ = state();
  }

  /// The world, and what values the wrappers hold.
  [[nodiscard]] std::string state() const {
    std::string text = wholeState(*world_->machine);
    // The read counter is the one thing that reading may change.
    text.erase(text.find("reads "), text.find(" needed ") - text.find("reads "));
    for (const Wrapper& wrapper : wrappers_) {
      const auto* const set = Kob::valueIn<ConfigSm::IntfSet>(wrapper.get());
      if (set == nullptr) continue;
      for (const auto& [intf, member] : membersOf(*set)) text += intf + (member ? "+" : "-");
    }
    return text;
  }

  const Surface surface_;
  std::unique_ptr<SmallWorld> world_;
  std::array<Wrapper, 2> wrappers_;
  std::string state_;
  Met met_;
};

// ---------------------------------------------------------------------------------------------
// The tables

Surface table() {
  return {
      .type = "FyrL3Intf::Table",
      .missingList = "List",
      .attributes =
          {{.id = 258, .name = "internalVlanNeeded", .kind = Kind::value, .read = "bool true"},
           {.id = 259,
            .name = "routedPortName",
            .kind = Kind::collection,
            .arg = boxed(L3Id(100)),
            .value = boxedIntf("Ethernet2"),
            .read = "Plexo::IntfId Ethernet1",
            .count = "unsigned 1",
            .firstKey = "FyrL3Intf::L3Id 100"},
           {.id = 260,
            .name = "intfL3Index",
            .kind = Kind::collection,
            .arg = boxedIntf("Ethernet1"),
            .value = boxed(L3Id(200)),
            .read = "FyrL3Intf::L3Id 100",
            .count = "unsigned 1",
            .firstKey = "Plexo::IntfId Ethernet1"},
           {.id = 261,
            .name = "l3IdToIntfId",
            .kind = Kind::function,
            .arg = arguments({boxed(L3Id(100))}),
            .read = "Plexo::IntfId Ethernet1",
            .parameter = "l3Id"},
           {.id = 262,
            .name = "intfIdToL3Id",
            .kind = Kind::function,
            .arg = arguments({boxedIntf("Ethernet1")}),
            .read = "FyrL3Intf::L3Id 100",
            .parameter = "intfId"}},
      .wrap = [](SmallWorld& world, bool readOnly) { return Kob::generic(world.table, readOnly); }};
}

Surface configSm() {
  return {
      .type = "FyrL3Intf::ConfigSm",
      .attributes =
          {{.id = 130, .name = "config", .kind = Kind::value, .read = "Bridging::Config"},
           {.id = 131,
            .name = "vlanIntfStatusDir",
            .kind = Kind::value,
            .read = "Interface::VlanIntfStatusDir"},
           {.id = 132,
            .name = "fyrL3IndexDir",
            .kind = Kind::value,
            .read = "FyrL3Intf::L3IndexDir"},
           {.id = 133, .name = "fyrL3IntfTable", .kind = Kind::value, .read = "FyrL3Intf::Table"},
           {.id = 134, .name = "internalVlanNeeded", .kind = Kind::value, .read = "bool true"},
           {.id = 135,
            .name = "handleVlanIntfStatus",
            .kind = Kind::function,
            .arg = arguments({boxedIntf("Ethernet1")}),
            .parameter = "intfId",
            .death =
                machineFailure("void FyrL3Intf::ConfigSm::handleVlanIntfStatus(Plexo::IntfId)",
                               "Plexo::VlanIntfId::isVlanIntfId( intfId )", " intf: Ethernet1")},
           {.id = 137,
            .name = "desiredRoutedPortName",
            .kind = Kind::collection,
            .arg = boxed(VlanId(100)),
            .value = boxed(ConfigSm::IntfSet()),
            .read = "FyrL3Intf::ConfigSm::IntfSet None",
            .count = "unsigned 1",
            .firstKey = "Bridging::VlanId 100"},
           {.id = 138,
            .name = "desiredInternalVlanId",
            .kind = Kind::collection,
            .arg = boxedIntf("Ethernet1"),
            .value = boxed(VlanIdOrNone(200)),
            .read = "Bridging::VlanIdOrNone 100",
            .count = "unsigned 1",
            .firstKey = "Plexo::IntfId Ethernet1"},
           {.id = 139,
            .name = "doSetDesiredInternalVlanId",
            .kind = Kind::function,
            .arg = arguments({boxedIntf("Ethernet1"), boxed(VlanIdOrNone(200))}),
            .parameter = "intfId"},
           {.id = 140,
            .name = "doSetInternalVlanId",
            .kind = Kind::function,
            .arg = arguments({boxedIntf("Ethernet2"), boxed(VlanIdOrNone(100))}),
            .parameter = "intfId",
            .death =
                machineAssertion("void FyrL3Intf::ConfigSm::doSetInternalVlanId(Plexo::IntfId, "
                                 "Bridging::VlanIdOrNone)",
                                 "!fyrL3IntfTable()->routedPortName( newPlatformId )")},
           {.id = 141,
            .name = "switchIntfConfigSm",
            .kind = Kind::instantiatingCollection,
            .arg = boxedIntf("Ethernet2"),
            .value = arguments({Kob::generic(otherEntry("Ethernet2", 200))}),
            .nextKey = "Plexo::IntfId Ethernet1",  // It comes after Ethernet2.
            .count = "unsigned 1",
            .firstKey = "Plexo::IntfId Ethernet1"},
           {.id = 142,
            .name = "handleSwitchIntfConfig",
            .kind = Kind::function,
            .arg = arguments({boxedIntf("Ethernet1")}),
            .parameter = "intfId"},
           {.id = 144,
            .name = "handleL3Index",
            .kind = Kind::function,
            .arg = arguments({boxedIntf("Ethernet2")}),
            .parameter = "intfId",
            .death = machineFailure("void FyrL3Intf::ConfigSm::handleL3Index(Plexo::IntfId)",
                                    "fyrL3IntfTable()->intfL3IndexIteratorConst().isMemberOf( "
                                    "intfId )",
                                    " intf Ethernet2 not found in fyrL3IntfTable.")},
           {.id = 146, .name = "doPrepareToDie", .kind = Kind::function, .arg = arguments()},
           {.id = 147, .name = "doVerify", .kind = Kind::function, .arg = arguments()}},
      .wrap = [](SmallWorld& world, bool readOnly) {
        return Kob::generic(world.machine, readOnly);
      }};
}

Surface switchIntfConfigSm() {
  return {
      .type = "FyrL3Intf::SwitchIntfConfigSm",
      .attributes =
          {{.id = 130,
            .name = "switchIntfConfig",
            .kind = Kind::value,
            .read = "Bridging::SwitchIntfConfig"},
           {.id = 131, .name = "intfId", .kind = Kind::value, .read = "Plexo::IntfId Ethernet1"},
           {.id = 132, .name = "configSm", .kind = Kind::value, .read = "FyrL3Intf::ConfigSm"},
           {.id = 133,
            .name = "handleSwitchportModeAndNativeVlan",
            .kind = Kind::function,
            .arg = arguments()},
           {.id = 134, .name = "doPrepareToDie", .kind = Kind::function, .arg = arguments()}},
      .wrap = [](SmallWorld& world, bool readOnly) {
        return Kob::generic(world.port(), readOnly);
      }};
}

Surface intfSet() {
  return {.type = "FyrL3Intf::ConfigSm::IntfSet",
          .attributes = {{.id = 2,
                          .name = "member",
                          .kind = Kind::set,
                          .arg = boxedIntf("Ethernet1"),
                          .value = boxed(false),
                          .read = "bool true",
                          .count = "unsigned 1"}},
          .wrap = [](SmallWorld& world, bool readOnly) {
            return Kob::generic(world.machine->desiredRoutedPortName(VlanId(100)), readOnly);
          }};
}

/// The steps of a sweep.
constexpr unsigned steps = (lastId + 1) * operations.size() * 2 * fits.size() * fits.size();

/// What is answered of each kind, with any value and through both wrappers.
constexpr unsigned both = 2 * fits.size();
constexpr unsigned perValue = both * 2;      // without an index
constexpr unsigned perFunction = both;       // with its arguments
constexpr unsigned perSet = both * (4 + 1);  // counting with any key, reading with the right one
constexpr unsigned perMap = 2 * perSet;      // the same of the walk over the keys
/// What the writable wrapper answers of a collection besides: deleting with any value, and writing.
constexpr unsigned modifications = fits.size() + 1;

TEST(GenericSweep, TheTable) {
  const Met met = Sweep(table()).run();
  EXPECT_EQ(met.answered, perValue + 2 * (perMap + modifications) + 2 * perFunction);
  EXPECT_EQ(met.changed, 2 * modifications);
  EXPECT_EQ(met.died, 0U);
  EXPECT_EQ(met.refused, steps - met.answered);
}

TEST(GenericSweep, TheStateMachine) {
  const Met met = Sweep(configSm()).run();
  EXPECT_EQ(met.died, 3 * perFunction);
  EXPECT_EQ(met.answered, 5 * perValue + 3 * (perMap + modifications) + 4 * perFunction);
  EXPECT_EQ(met.changed, 2 * perFunction + 2 * modifications + 1)
      << "a wish and the teardown, the wishes, a new machine";
  EXPECT_EQ(met.refused, steps - met.answered - met.died);
}

TEST(GenericSweep, TheMachineOfAnInterface) {
  const Met met = Sweep(switchIntfConfigSm()).run();
  EXPECT_EQ(met.answered, 3 * perValue + 2 * perFunction);
  EXPECT_EQ(met.changed, perFunction);
  EXPECT_EQ(met.died, 0U);
  EXPECT_EQ(met.refused, steps - met.answered);
}

TEST(GenericSweep, TheInterfaceSet) {
  const Met met = Sweep(intfSet()).run();
  EXPECT_EQ(met.answered, perSet + modifications);
  EXPECT_EQ(met.changed, modifications);
  EXPECT_EQ(met.died, 0U);
  EXPECT_EQ(met.refused, steps - met.answered);
}

}  // namespace
}  // namespace FyrL3Intf::Tests
