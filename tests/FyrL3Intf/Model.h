#pragma once

// An independent model of the state machine: what its inputs, the machine and the table hold after
// each event, in plain standard containers, written from what the system promises and not from its
// code. A test carries the same events out on the model and on the library, and compares.
//
// Each operation of the model is an event. One that ends the process throws Death, one that lets an
// exception out to the caller throws Thrown; the model is of no use after a Death.

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <iosfwd>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/IntfId.h"

namespace FyrL3Intf::Tests {

/// The order in which collections are walked: by bit-reversed hash, equal ones by key. For
/// interfaces, L3 ids (64 bits) and VLANs (16 bits).
struct InIterationOrder {
  bool operator()(Plexo::IntfId a, Plexo::IntfId b) const;
  bool operator()(std::uint64_t a, std::uint64_t b) const;
  bool operator()(std::uint16_t a, std::uint16_t b) const;
};

using Intfs = std::set<Plexo::IntfId, InIterationOrder>;
template <class T>
using ByIntf = std::map<Plexo::IntfId, T, InIterationOrder>;

/// The event ends the process, with this on standard error.
struct Death {
  /// What is written before the assertion's report.
  std::string said;
  std::string file;
  std::string function;
  std::string expression;

  /// A regular expression for the whole of it; the program's name and the line are left open.
  [[nodiscard]] std::string report() const;
};

/// The event lets a Kob::Exception out. Where the message shows a configuration entry, it stands
/// here as "{NUMBER}", the entry's number.
struct Thrown {
  std::string message;
};

/// An announcement of the table, and what whoever hears it finds there.
struct Announcement {
  Plexo::IntfId intf;
  std::uint64_t l3Id = 0;
  std::size_t reverseEntries = 0;
  std::uint32_t changes = 0;

  bool operator==(const Announcement&) const = default;
};

/// What model and library are compared by, each collection in its iteration order.
struct Snapshot {
  std::vector<std::pair<Plexo::IntfId, std::uint64_t>> forward;
  std::vector<std::pair<std::uint64_t, Plexo::IntfId>> reverse;
  std::vector<std::pair<Plexo::IntfId, std::uint16_t>> wishes;
  std::vector<std::pair<std::uint16_t, std::vector<std::pair<Plexo::IntfId, bool>>>> wishers;
  /// The interfaces that have a machine, and the number of the entry it watches.
  std::vector<std::pair<Plexo::IntfId, std::size_t>> machines;
  std::uint32_t changes = 0;
  std::uint32_t reads = 0;
  /// How many inputs have a notification pending.
  std::size_t pendings = 0;
  /// Since the last snapshot: announcements, traces, and the exception that the caller saw.
  std::vector<Announcement> announced;
  std::vector<std::string> traced;
  std::string thrown;

  bool operator==(const Snapshot&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Snapshot& snapshot);

class Model {
 public:
  /// No object of an input.
  static constexpr int none = -1;
  /// How many objects there are of each input; they are numbered from 0.
  static constexpr int objects = 2;
  /// The switchport mode of routed ports.
  static constexpr unsigned routed = 5;

  // What the platform does. `object` is the number of the input's object.

  /// Sets mode and native VLAN (0: none) of the interface's entry, which is made when there is
  /// none.
  void port(int object, Plexo::IntfId intf, unsigned mode, std::uint16_t vlan);
  void portDel(int object, Plexo::IntfId intf);
  /// Sets those of the entry that the interface's machine watches, in the configuration or not.
  void watchedPort(Plexo::IntfId intf, unsigned mode, std::uint16_t vlan);
  void vlanIntf(int object, Plexo::IntfId intf);
  void vlanIntfDel(int object, Plexo::IntfId intf);
  void l3Index(int object, Plexo::IntfId intf, std::uint64_t l3Id);
  void l3IndexDel(int object, Plexo::IntfId intf);

  // What the host does. Without a machine, all but `start` and the activity's do nothing.

  void deferralIs(bool deferral);
  void run();
  /// Makes the machine on configuration 0, on the table that is there or on a fresh one. Lets go of
  /// the machine that runs, if any.
  void start(bool internalVlanNeeded, bool freshTable, int statusDir, int indexDir);
  void prepareToDie();
  void release();
  /// Replaces the input, or removes it (none); Del: removes it the other way.
  void configIs(int object);
  void configDel();
  void statusDirIs(int object);
  void statusDirDel();
  void indexDirIs(int object);
  void indexDirDel();
  /// Direct calls of doSetDesiredInternalVlanId, of doSetInternalVlanId, and of the keyed handlers.
  /// That of a port's configuration is only made with a configuration input.
  void wish(Plexo::IntfId intf, std::uint16_t vlan);
  void grant(Plexo::IntfId intf, std::uint16_t vlan);
  void portHandled(Plexo::IntfId intf);
  void vlanIntfHandled(Plexo::IntfId intf);
  void l3IndexHandled(Plexo::IntfId intf);
  /// The self-check; does nothing where the inputs are missing that it requires. How many reads it
  /// counts is not promised.
  void verify();

  // What nobody should do: writing to the table and to the machine's wishes behind its back. A
  // VLAN may be out of range here, as it may in `port`, `wish` and `grant`.

  void tableForwardIs(Plexo::IntfId intf, std::uint64_t l3Id) { forwardIs(intf, l3Id); }
  void tableForwardDel(Plexo::IntfId intf) { forwardDel(intf); }
  void tableReverseIs(std::uint64_t l3Id, Plexo::IntfId intf) { reverseIs(l3Id, intf); }
  void tableReverseDel(std::uint64_t l3Id) { reverseDel(l3Id); }
  void wishEntryIs(Plexo::IntfId intf, std::uint16_t vlan);
  void wishEntryDel(Plexo::IntfId intf);
  void wisherIs(std::uint16_t vlan, Plexo::IntfId intf, bool member);
  void wishersEmptied(std::uint16_t vlan);
  void wishersDel(std::uint16_t vlan);

  /// Forgets the entries that no configuration has and no machine watches.
  void forgetUnused();

  /// Whether traces are noted down; they are not at first.
  void tracingIs(bool tracing) { tracing_ = tracing; }
  /// What stands now, and what happened since the last call.
  Snapshot snapshot();

 private:
  enum Which : std::size_t { config, statusDir, indexDir };

  struct Entry {
    Plexo::IntfId intf;
    unsigned mode;
    std::uint16_t vlan;
  };
  struct Input {
    int object = none;
    unsigned pendings = 0;
    Plexo::IntfId pendingKey;
  };
  struct Machine {
    bool internalVlanNeeded = false;
    std::array<Input, 3> inputs;
    ByIntf<std::size_t> ports;
    ByIntf<std::uint16_t> wishes;
    std::map<std::uint16_t, ByIntf<bool>, InIterationOrder> wishers;
  };
  struct Table {
    ByIntf<std::uint64_t> forward;
    std::map<std::uint64_t, Plexo::IntfId, InIterationOrder> reverse;
    std::uint32_t changes = 0;
    std::uint32_t reads = 0;
  };

  void trace(unsigned level, const char* function, const std::string& message);

  void forwardIs(Plexo::IntfId intf, std::uint64_t l3Id);
  void forwardDel(Plexo::IntfId intf);
  void announce(Plexo::IntfId intf);
  Plexo::IntfId ownerOf(std::uint64_t l3Id);
  void reverseIs(std::uint64_t l3Id, Plexo::IntfId intf);
  void reverseDel(std::uint64_t l3Id);

  void entryIs(std::size_t number, unsigned mode, std::uint16_t vlan);
  void keyChanged(Which which, int object, Plexo::IntfId intf);
  void deliver(Which which);
  void inputIs(Which which, int object);
  void inputDel(Which which);
  [[nodiscard]] int inputOf(Which which) const { return machine_->inputs[which].object; }

  void handle(Which which, Plexo::IntfId intf);
  void handleAll(Which which);
  void handlePort(Plexo::IntfId intf);
  void handlePorts();
  void handleVlanIntf(Plexo::IntfId intf);
  void handleVlanIntfs();
  void handleL3Index(Plexo::IntfId intf);
  void l3IndexAppeared(Plexo::IntfId intf, std::uint64_t l3Id);
  void l3IndexVanished(Plexo::IntfId intf);
  void handleL3Indexes();

  void portMachineIs(std::size_t number);
  void portStatesWish(std::size_t number);
  void portPreparesToDie(Plexo::IntfId intf);

  void desiredVlanIs(Plexo::IntfId intf, std::uint16_t wished);
  void wishWithdrawn(Plexo::IntfId intf, std::uint16_t old);
  void wishRecorded(Plexo::IntfId intf, std::uint16_t wished);
  std::uint16_t grantFor(Plexo::IntfId intf, std::uint16_t wished);
  void handedOver(std::uint16_t old);
  void vlanIs(Plexo::IntfId intf, std::uint16_t granted);

  [[nodiscard]] bool wishes(Plexo::IntfId intf, std::uint16_t vlan) const;
  [[nodiscard]] std::uint16_t wishOf(Plexo::IntfId intf) const;
  std::size_t verifyPorts() const;
  std::size_t verifyVlanIntfs() const;
  void verifyWishes() const;
  void verifyInternalVlans() const;
  void verifyForward() const;
  void verifyReverse() const;
  void verifyL3Indexes();
  void verifyL3Index(Plexo::IntfId intf, std::uint64_t l3Id);

  // By number; numbers are not used again.
  std::map<std::size_t, Entry> entries_;
  std::size_t nextEntry_ = 0;
  std::array<ByIntf<std::size_t>, objects> configs_;
  std::array<Intfs, objects> statusDirs_;
  std::array<ByIntf<std::uint64_t>, objects> indexDirs_;
  bool deferral_ = false;
  std::deque<Which> queue_;
  std::optional<Machine> machine_;
  Table table_;
  bool tracing_ = false;
  std::vector<Announcement> announced_;
  std::vector<std::string> traced_;
};

}  // namespace FyrL3Intf::Tests
