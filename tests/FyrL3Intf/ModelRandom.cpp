#include "tests/FyrL3Intf/ModelRandom.h"

#include <initializer_list>
#include <random>

namespace FyrL3Intf::Tests {

using Plexo::IntfId;

namespace {

class Life {
 public:
  explicit Life(std::uint64_t seed)
      : random_(seed),
        internalVlans_(once(4, 5)),
        wild_(once(1, 3)),
        indexes_(once(1, 2)),
        internalIntfs_(once(1, 4)),
        tampered_(once(1, 6)) {}

  Event next() {
    struct Choice {
      unsigned weight;
      Event (Life::*event)();
    };
    static constexpr Choice choices[] = {
        {30, &Life::port},       {10, &Life::portDel},    {3, &Life::watchedPort},
        {9, &Life::vlanIntf},    {8, &Life::vlanIntfDel}, {9, &Life::l3Index},
        {8, &Life::l3IndexDel},  {8, &Life::activity},    {3, &Life::lifeCycle},
        {9, &Life::inputChange}, {4, &Life::directCall},  {6, &Life::tampering},
    };
    unsigned total = 0;
    for (const Choice& choice : choices) total += choice.weight;
    unsigned left = below(total);
    const Choice* choice = choices;
    while (left >= choice->weight) left -= choice++->weight;
    return (this->*choice->event)();
  }

  Event start() {
    return EVENT(start, internalVlans_, once(3, 4), once(7, 8) ? 0 : anyOf({Model::none, 1}),
                 once(3, 4) ? 0 : anyOf({Model::none, 1}));
  }

 private:
  unsigned below(unsigned bound) { return static_cast<unsigned>(random_() % bound); }
  bool once(unsigned times, unsigned in) { return below(in) < times; }
  template <class T>
  T anyOf(std::initializer_list<T> values) {
    return values.begin()[below(static_cast<unsigned>(values.size()))];
  }
  IntfId intfOf(std::initializer_list<const char*> names) { return {anyOf(names)}; }

  /// Mostly the object that the machine began with.
  int object() { return once(6, 7) ? 0 : 1; }
  int objectOrNone() { return anyOf({Model::none, 0, 0, 1}); }

  IntfId portName() {
    if (wild_ && once(1, 12)) return intfOf({"Vlan100", "Vlan101"});
    if (internalIntfs_ && once(1, 8)) return intfOf({"Internal1"});
    return intfOf({"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4", "Ethernet10"});
  }
  IntfId vlanIntfName() {
    if (wild_ && once(1, 10)) return intfOf({"Vlan0", "Vlan4095", "Vlan65535", "Ethernet1"});
    return intfOf({"Vlan100", "Vlan101", "vlan100"});
  }
  IntfId indexName() {
    if (wild_) return intfOf({"Ethernet1", "Ethernet2", "Ethernet3", "Vlan100", "Loopback0"});
    return intfOf({"Loopback0", "Loopback1", "Port-Channel1", "Tunnel3"});
  }
  std::uint16_t vlan() {
    if (wild_ && once(1, 40)) return anyOf<std::uint16_t>({4095, 65535});
    return vlanInRange();
  }
  std::uint16_t vlanInRange() { return anyOf<std::uint16_t>({100, 100, 100, 101, 101, 102, 4094}); }
  std::uint16_t vlanOrNone() { return once(1, 6) ? std::uint16_t{0} : vlan(); }
  std::uint64_t l3Id() {
    if (!wild_) return anyOf<std::uint64_t>({5001, 5002, 70001, 4294967297, 8589934593});
    return anyOf<std::uint64_t>(
        {100, 101, 102, 5001, 0, 65536, 65636, 4294967296, 4294967396, 70001});
  }

  Event port() {
    const unsigned mode = once(5, 6) ? Model::routed : anyOf({0U, 1U, 4U, 6U, 261U});
    return EVENT(port, object(), portName(), mode, vlanOrNone());
  }
  Event portDel() { return EVENT(portDel, object(), portName()); }
  Event watchedPort() {
    return EVENT(watchedPort, portName(), once(5, 6) ? Model::routed : 0U, vlan());
  }
  Event vlanIntf() { return EVENT(vlanIntf, object(), vlanIntfName()); }
  Event vlanIntfDel() { return EVENT(vlanIntfDel, object(), vlanIntfName()); }
  Event l3Index() { return indexes_ ? EVENT(l3Index, object(), indexName(), l3Id()) : port(); }
  Event l3IndexDel() { return indexes_ ? EVENT(l3IndexDel, object(), indexName()) : portDel(); }

  Event activity() {
    switch (below(8)) {
      case 0:
        return EVENT(run);
      case 1:
      case 2:
        return EVENT(deferralIs, true);
      default:
        return EVENT(deferralIs, false);
    }
  }
  Event lifeCycle() {
    switch (below(5)) {
      case 0:
      case 1:
        return EVENT(prepareToDie);
      case 2:
        return EVENT(release);
      default:
        return start();
    }
  }
  Event inputChange() {
    switch (below(9)) {
      case 0:
        return EVENT(configIs, objectOrNone());
      case 1:
        return EVENT(configDel);
      case 2:
        return EVENT(statusDirIs, objectOrNone());
      case 3:
        return EVENT(statusDirDel);
      case 4:
        return EVENT(indexDirIs, objectOrNone());
      case 5:
        return EVENT(indexDirDel);
      case 6:
        return EVENT(configIs, 0);
      case 7:
        return EVENT(statusDirIs, 0);
      default:
        return EVENT(indexDirIs, 0);
    }
  }
  Event tampering() {
    if (!tampered_) return port();
    switch (below(9)) {
      case 0:
        return EVENT(tableForwardIs, portName(), anyOf<std::uint64_t>({0, 100, 65636}));
      case 1:
        return EVENT(tableForwardDel, portName());
      case 2:
        return EVENT(tableReverseIs, anyOf<std::uint64_t>({0, 100, 101, 65636}), portName());
      case 3:
        return EVENT(tableReverseDel, vlanInRange());
      case 4:
        return EVENT(wishEntryIs, portName(), vlanOrNone());
      case 5:
        return EVENT(wishEntryDel, portName());
      case 6:
        return EVENT(wisherIs, vlanInRange(), portName(), once(1, 2));
      case 7:
        return EVENT(wishersEmptied, vlanInRange());
      default:
        return EVENT(wishersDel, vlanInRange());
    }
  }
  Event directCall() {
    if (!wild_) return port();
    switch (below(6)) {
      case 0:
        return EVENT(grant, portName(), vlanOrNone());
      case 1:
        return EVENT(portHandled, portName());
      case 2:
        return EVENT(vlanIntfHandled, vlanIntfName());
      case 3:
        return EVENT(l3IndexHandled, indexName());
      default:
        return EVENT(wish, portName(), vlanOrNone());
    }
  }

  std::mt19937_64 random_;
  const bool internalVlans_;
  const bool wild_;
  const bool indexes_;
  const bool internalIntfs_;
  const bool tampered_;
};

}  // namespace

std::vector<Event> randomSequence(std::uint64_t seed, std::size_t events) {
  Life life(seed);
  std::vector<Event> sequence;
  const std::size_t before = seed % 8;
  while (sequence.size() < events) {
    sequence.push_back(sequence.size() == before ? life.start() : life.next());
  }
  return sequence;
}

}  // namespace FyrL3Intf::Tests
