// Lives of a system as events, on the model and on the library side by side: the state, the
// announcements, the traces and the self-check are compared after each event. An event that ends
// the process is one that the model foresees; now and then such an end is carried out in a child,
// and its report compared.

#include <array>
#include <cstdint>
#include <vector>

#include "tests/FyrL3Intf/ModelRun.h"
#include "tests/fuzz/Choices.h"
#include "tests/fuzz/Finding.h"

namespace FyrL3Intf::Tests {
namespace {

using Fuzz::Choices;

constexpr std::size_t mostEvents = 40;

constexpr std::array ports = {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet10",
                              "Internal1", "Vlan100",   "Vlan101"};
constexpr std::array vlanIntfs = {"Vlan100", "Vlan101",  "vlan100",   "Vlan1",    "Vlan4094",
                                  "Vlan0",   "Vlan4095", "Vlan65535", "Ethernet1"};
constexpr std::array indexes = {"Loopback0", "Ethernet1", "Ethernet2", "Vlan100", "Tunnel3"};
constexpr std::array<std::uint16_t, 9> vlans = {100, 101, 102, 0, 1, 4094, 4095, 4096, 65535};
constexpr std::array<std::uint16_t, 5> vlansInRange = {100, 101, 102, 1, 4094};
constexpr std::array<unsigned, 7> modes = {
    Model::routed, Model::routed, Model::routed, 0, 1, 4, 261};
constexpr std::array<std::uint64_t, 12> l3Ids = {
    0,           1,         100,         101,         5001,
    65535,       65536,     65536 + 100, 1ULL << 32U, (1ULL << 32U) + 100,
    1ULL << 39U, UINT64_MAX};

/// Mostly the object that a machine begins with.
int object(Choices& from) { return from.below(4) == 3 ? 1 : 0; }
int objectOrNone(Choices& from) { return from.of({0, 1, Model::none}); }
std::uint16_t vlan(Choices& from) { return from.of(vlans); }

using Make = Event (*)(Choices&);
constexpr std::array<Make, 34> events = {
    [](Choices& from) {
      return EVENT(port, object(from), from.of(ports), from.of(modes), vlan(from));
    },
    [](Choices& from) {
      return EVENT(port, 0, from.of(ports), Model::routed, from.of(vlansInRange));
    },
    [](Choices& from) { return EVENT(portDel, object(from), from.of(ports)); },
    [](Choices& from) { return EVENT(watchedPort, from.of(ports), from.of(modes), vlan(from)); },
    [](Choices& from) { return EVENT(vlanIntf, object(from), from.of(vlanIntfs)); },
    [](Choices& from) { return EVENT(vlanIntfDel, object(from), from.of(vlanIntfs)); },
    [](Choices& from) { return EVENT(l3Index, object(from), from.of(indexes), from.of(l3Ids)); },
    [](Choices& from) { return EVENT(l3IndexDel, object(from), from.of(indexes)); },
    [](Choices& from) { return EVENT(deferralIs, from.flag()); },
    [](Choices&) { return EVENT(deferralIs, false); },
    [](Choices&) { return EVENT(run); },
    [](Choices& from) {
      return EVENT(start, from.flag(), from.flag(), objectOrNone(from), objectOrNone(from));
    },
    [](Choices&) { return EVENT(start, true, true, 0, 0); },
    [](Choices&) { return EVENT(prepareToDie); },
    [](Choices&) { return EVENT(release); },
    [](Choices& from) { return EVENT(configIs, objectOrNone(from)); },
    [](Choices&) { return EVENT(configDel); },
    [](Choices& from) { return EVENT(statusDirIs, objectOrNone(from)); },
    [](Choices&) { return EVENT(statusDirDel); },
    [](Choices& from) { return EVENT(indexDirIs, objectOrNone(from)); },
    [](Choices&) { return EVENT(indexDirDel); },
    [](Choices& from) { return EVENT(wish, from.of(ports), vlan(from)); },
    [](Choices& from) { return EVENT(grant, from.of(ports), vlan(from)); },
    [](Choices& from) { return EVENT(portHandled, from.of(ports)); },
    [](Choices& from) { return EVENT(vlanIntfHandled, from.of(vlanIntfs)); },
    [](Choices& from) { return EVENT(l3IndexHandled, from.of(indexes)); },
    [](Choices& from) { return EVENT(tableForwardIs, from.of(ports), from.of(l3Ids)); },
    [](Choices& from) { return EVENT(tableForwardDel, from.of(ports)); },
    [](Choices& from) { return EVENT(tableReverseIs, from.of(l3Ids), from.of(ports)); },
    [](Choices& from) { return EVENT(tableReverseDel, from.of(l3Ids)); },
    [](Choices& from) { return EVENT(wishEntryIs, from.of(ports), from.of(vlansInRange)); },
    [](Choices& from) { return EVENT(wishEntryDel, from.of(ports)); },
    [](Choices& from) {
      return EVENT(wisherIs, from.of(vlansInRange), from.of(ports), from.flag());
    },
    [](Choices& from) {
      const std::uint16_t number = from.of(vlansInRange);
      return from.flag() ? EVENT(wishersEmptied, number) : EVENT(wishersDel, number);
    }};
/// How many of them anybody may carry out; the others go behind the machine's back.
constexpr unsigned permitted = 21;

std::vector<Event> sequenceOf(Choices from, bool isTampered) {
  const unsigned kinds = isTampered ? static_cast<unsigned>(events.size()) : permitted;
  std::vector<Event> sequence;
  while (!from.isEmpty() && sequence.size() < mostEvents) {
    sequence.push_back(events[from.below(kinds)](from));
  }
  return sequence;
}

}  // namespace
}  // namespace FyrL3Intf::Tests

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace FyrL3Intf::Tests;
  Fuzz::Choices choices(bytes, size);
  const unsigned kind = choices.byte();
  const Looking looking{.atTraces = kind % 4 == 0, .atDeaths = kind >= 0xFCU};
  const auto sequence = sequenceOf(choices, kind % 2 != 0);
  const std::string difference = differenceAfter(sequence, looking);
  if (!difference.empty()) Fuzz::found(testCode("Finding", sequence) + difference);
  return 0;
}
