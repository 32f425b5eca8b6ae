// Attribute operations with any id, code and argument tree, through writable and read-only wrappers
// of the four published types. What is refused is refused with a published exception and leaves
// everything as it was; what a read-only wrapper and an unknown id come to is known exactly. What
// may end the process is tried in a child first, and may end it by an assertion alone, in one of
// the functions that it leads to.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/FyrL3Intf/Generic.h"
#include "tests/FyrL3Intf/Machines.h"
#include "tests/FyrL3Intf/ModelRun.h"
#include "tests/fuzz/Choices.h"
#include "tests/fuzz/Finding.h"

namespace FyrL3Intf::Tests {
namespace {

using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using Fuzz::Choices;
using Fuzz::require;

constexpr std::size_t mostSteps = 40;

/// The functions of the state machine in which an attribute may end the process, as reports name
/// them.
using Ends = std::vector<std::string>;
const std::string handleVlanIntfStatus = "handleVlanIntfStatus(Plexo::IntfId)";
const std::string handleL3Index = "handleL3Index(Plexo::IntfId)";
const std::string wish = "doSetDesiredInternalVlanId(Plexo::IntfId, Bridging::VlanIdOrNone)";
const std::string grant = "doSetInternalVlanId(Plexo::IntfId, Bridging::VlanIdOrNone)";

/// A type: its published ids, and those among them that may end the process.
struct Surface {
  std::string type;
  std::vector<Kob::AttributeId> ids;
  std::map<Kob::AttributeId, Ends> dangerous;
};
const std::array<Surface, 4> surfaces = {
    Surface{"FyrL3Intf::Table", {258, 259, 260, 261, 262}, {}},
    Surface{"FyrL3Intf::ConfigSm",
            {130, 131, 132, 133, 134, 135, 137, 138, 139, 140, 141, 142, 144, 146, 147},
            {{135, {handleVlanIntfStatus, wish, grant}},
             {139, {wish, grant}},
             {140, {grant}},
             {141, {wish, grant}},
             {142, {wish, grant}},
             {144, {handleL3Index}},
             {146, {"doPrepareToDie()", wish, grant}},
             {147, {"doVerify()"}}}},
    Surface{"FyrL3Intf::SwitchIntfConfigSm",
            {130, 131, 132, 133, 134},
            {{133, {wish, grant}}, {134, {wish, grant}}}},
    Surface{"FyrL3Intf::ConfigSm::IntfSet", {2}, {}}};
constexpr std::array<Kob::AttributeId, 12> strangers = {0,   1,   3,   127, 129, 136,
                                                        143, 145, 148, 257, 263, -1};
constexpr std::array operations = {0U, 1U, 2U, 3U, 128U, 129U, 4U, 127U, 130U, ~0U};
/// The last id and the last operation stand for any: the next four bytes.
constexpr auto anyId = strangers.back();
constexpr auto anyOperation = operations.back();
constexpr std::array intfs = {"Ethernet1", "Ethernet2", "Vlan100", "Vlan4095", "Internal1"};

class Life {
 public:
  explicit Life(Choices choices) : from_(choices), needed_(from_.below(4) != 0) {
    world_ = std::make_unique<World>(needed_);
    world_->routedPort("Ethernet1", 100);
    world_->routedPort("Ethernet3", 100);
    world_->vlanIntf("Vlan101");
    world_->start();
    sets_ = {Kob::generic(ConfigSm::IntfSet()),
             Kob::generic(world_->machine->desiredRoutedPortName(VlanId(100)))};
    listener_ = genericListenerOf(Kob::generic(world_->table));
  }

  void live() {
    for (std::size_t step = 0; step < mostSteps && !from_.isEmpty(); ++step) take();
  }

 private:
  void take() {
    const unsigned which = from_.below(4);
    const Surface& surface = surfaces[which];
    const bool readOnly = from_.below(4) == 3;
    const Kob::AttributeId id = attributeId(surface);
    const unsigned operation = anyUnless(anyOperation, from_.of(operations));
    const Wrapper wrapper = wrapperOf(which, readOnly);
    if (!wrapper) return;
    walk(wrapper, id);
    const Wrapper arg = tree(2);
    const Wrapper value = tree(2);
    const auto action = [&] { return outcome(wrapper, id, operation, arg, value); };
    const auto danger = surface.dangerous.find(id);
    const bool isDone = operation == callOp || (operation == writeOp && !readOnly);
    const bool isTried = danger != surface.dangerous.end() && arg && isDone;
    if (isTried && dies(danger->second, action)) return;
    check(surface, readOnly, id, operation, action);
  }

  /// The value, or any number where it stands for that.
  template <class Number>
  Number anyUnless(Number any, Number value) {
    if (value != any) return value;
    unsigned number = 0;
    for (int bytes = 0; bytes < 4; ++bytes) number = number << 8U | from_.byte();
    return static_cast<Number>(number);
  }
  Kob::AttributeId attributeId(const Surface& surface) {
    if (from_.below(6) != 5) return from_.of(surface.ids);
    return anyUnless(anyId, from_.of(strangers));
  }

  template <class Action>
  bool dies(const Ends& ends, const Action& action) const {
    const Ended ended = inChild([&action] {
      action();
      std::_Exit(EXIT_SUCCESS);
    });
    if (ended.successful) return false;
    const bool isForeseen = std::ranges::any_of(ends, [&ended](const std::string& function) {
      const std::string text = ": void FyrL3Intf::ConfigSm::" + function + ": Assertion `";
      return ended.standardError.find(text) != std::string::npos;
    });
    require(ended.aborted && isForeseen && ended.standardError.ends_with("' failed.\n"),
            "an attribute ends the process otherwise than foreseen: " + ended.standardError);
    return true;
  }

  template <class Action>
  void check(const Surface& surface, bool readOnly, Kob::AttributeId id, unsigned operation,
             const Action& action) {
    const std::string before = state();
    const std::string text = action();
    const std::string step = surface.type + " " + std::to_string(id) + " operation " +
                             std::to_string(operation) + ": " + text;
    const bool isKnown = std::ranges::count(surface.ids, id) > 0;
    if (readOnly && operation >= 128) {
      require(text == constRefusal, step + " instead of " + constRefusal);
    } else if (!isKnown) {
      require(text == unknownAttribute(surface.type, id), step + " though it is unknown");
    }
    const bool isRefused = text.find("Exception ") != std::string::npos &&
                           !text.starts_with("RangeException") &&
                           !text.starts_with("NameInUseException");
    const bool isModifying = operation >= 128 || !surface.dangerous.empty();
    if (isRefused || !isModifying) require(state() == before, step + " changed something");
    require(listener_->heard.size() < 1000, "a listener hears without end");
  }

  /// Both walks over a collection show the same keys.
  static void walk(const Wrapper& wrapper, Kob::AttributeId id) {
    const std::string first = outcome(wrapper, id, firstKeyOp);
    if (first.find("Exception ") != std::string::npos) return;
    const Log keys = keysOf(wrapper->attributeIteratorConst(id));
    require(walkedKeys(wrapper, id) == keys, "the walks over a collection differ");
    require(outcome(wrapper, id, countOp) == "unsigned " + std::to_string(keys.size()),
            "a collection counts wrongly");
  }

  [[nodiscard]] Wrapper wrapperOf(unsigned which, bool readOnly) {
    switch (which) {
      case 0:
        return Kob::generic(world_->table, readOnly);
      case 1:
        return Kob::generic(world_->machine, readOnly);
      case 2: {
        const auto port = world_->machine->switchIntfConfigSm(Plexo::IntfId("Ethernet1"));
        return port ? Kob::generic(port, readOnly) : nullptr;
      }
      default:
        return readOnly ? Kob::generic(ConfigSm::IntfSet(), true) : from_.of(sets_);
    }
  }

  /// An argument or a value: none, a scalar, an object, or a list of such.
  Wrapper tree(unsigned depth) {
    switch (from_.below(depth > 0 ? 12 : 9)) {
      case 0:
        return nullptr;
      case 1:
      case 2:
        return boxedIntf(from_.of(intfs));
      case 3:
        return boxed(L3Id(from_.of<std::uint64_t>({0, 1, 100, 65636, 1ULL << 39U, UINT64_MAX})));
      case 4:
        return boxed(VlanId(from_.of<std::uint16_t>({1, 100, 101, 4094})));
      case 5:
        return boxed(VlanIdOrNone(from_.of<std::uint16_t>({0, 1, 100, 101, 4094})));
      case 6:
        return from_.flag() ? boxed(from_.flag()) : boxed(Kob::Name("wrong"));
      case 7:
        return from_.of(sets_);
      case 8:
        return object();
      default:
        return list(depth);
    }
  }
  Wrapper list(unsigned depth) {
    std::vector<Wrapper> elements;
    for (unsigned left = from_.below(4); left > 0; --left) elements.push_back(tree(depth - 1));
    return {new Kob::GenericIf::List_(std::move(elements))};
  }
  Wrapper object() {
    switch (from_.below(4)) {
      case 0:
        return Kob::generic(world_->machine);
      case 1:
        return Kob::generic(world_->table);
      case 2:
        return Kob::generic(otherEntry(from_.of(intfs), 100));
      default:
        return Kob::generic(world_->config->switchIntfConfig(Plexo::IntfId("Ethernet1")));
    }
  }

  /// Everything but the read counter, which reading may change.
  [[nodiscard]] std::string state() const {
    std::string text = wholeState(*world_->machine);
    text.erase(text.find("reads "), text.find(" needed ") - text.find("reads "));
    for (const Wrapper& set : sets_) {
      for (const auto& [intf, member] : membersOf(*Kob::valueIn<ConfigSm::IntfSet>(set.get()))) {
        text += intf + (member ? "+" : "-");
      }
    }
    return text;
  }

  Choices from_;
  const bool needed_;
  std::unique_ptr<World> world_;
  std::array<Wrapper, 2> sets_;
  Kob::Ptr<GenericListener> listener_;
};

}  // namespace
}  // namespace FyrL3Intf::Tests

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FyrL3Intf::Tests::Life(Fuzz::Choices(bytes, size)).live();
  return 0;
}
