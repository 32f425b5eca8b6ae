#include "agent/Session.h"

#include <map>
#include <utility>
#include <vector>

#include "agent/Configuration.h"
#include "agent/ConfigurationPatch.h"
#include "agent/L3Indexes.h"

namespace Agent {
namespace {

constexpr const char* loading = "loading";
constexpr const char* shell = "shell";

/// The interfaces that `map` has and `other` lacks, or has with another value.
template <class Map>
std::vector<Plexo::IntfId> missing(const Map& map, const Map& other) {
  std::vector<Plexo::IntfId> ids;
  for (const auto& [id, value] : map) {
    const auto found = other.find(id);
    if (found == other.end() || !(found->second == value)) ids.push_back(id);
  }
  return ids;
}

using Wishes = std::map<Plexo::IntfId, Bridging::VlanIdOrNone>;

Wishes wishesOf(const FyrL3Intf::ConfigSm& machine) {
  Wishes wishes;
  for (auto it = machine.desiredInternalVlanIdIteratorConst(); it; ++it) {
    wishes.emplace(it.key(), *it);
  }
  return wishes;
}

std::optional<VlanReservations> nothingReserved(const L3IdSource& source) {
  if (!source.internalVlans) return std::nullopt;
  return VlanReservations(*source.internalVlans);
}

}  // namespace

Session::Session(Document configuration, L3IdSource source)
    : source_(std::move(source)),
      document_(std::move(configuration)),
      host_(source_.internalVlans.has_value()),
      watcher_(TableWatcher::watch(host_.table(), journal_, sink_)),
      reconciler_(host_, journal_) {
  take(read(document_, nothingReserved(source_)), loading);
}

void Session::apply(const Document& patch) {
  Document next = Document::of(document_.name(), patched(document_.root(), patch));
  Reading reading = readPatched(next, patch);
  if (deferral()) refuseMerging(reading, patch);
  document_ = std::move(next);
  take(std::move(reading), patch.name());
  watcher_->rethrow();
}

void Session::refuseMerging(const Reading& next, const Document& patch) {
  const L3Indexes& held = reading_.inputs.l3Indexes;
  const L3Indexes& wanted = next.inputs.l3Indexes;
  // Another index of an interface is two changes: it goes, and it comes.
  const std::size_t changes =
      deferredL3Indexes_ + missing(held, wanted).size() + missing(wanted, held).size();
  if (changes > 1) {
    throw UnreadableInput(patch.name(),
                          "deferral is on, and " + std::to_string(changes) +
                              " changes of L3 indexes would wait; they would merge, and the merged "
                              "change would be dropped; run, or switch deferral off, before");
  }
  deferredL3Indexes_ = changes;
}

void Session::change(const std::string& text, const std::function<void()>& action) {
  journal_.originIs(shell);
  journal_.eventIs(text);
  const Wishes before = wishesOf(machine());
  action();
  const Wishes after = wishesOf(machine());
  for (const auto& ids : {missing(before, after), missing(after, before)}) {
    for (const Plexo::IntfId id : ids) {
      journal_.wishChanged(id);
    }
  }
  watcher_->rethrow();
}

void Session::deferralIs(bool deferral) {
  if (deferral) {
    host_.activity().deferralIs(true);
  } else {
    deliver([this] { host_.activity().deferralIs(false); });
  }
}

void Session::run() {
  deliver([this] { host_.activity().run(); });
}

void Session::deliver(const std::function<void()>& action) {
  change("what was deferred is delivered", action);
  deferredL3Indexes_ = 0;
}

Session::Reading Session::read(const Document& document,
                               const std::optional<VlanReservations>& former) const {
  Reading reading;
  Problems& problems = reading.problems;
  reading.theSwitch = readConfiguration(document, problems);
  const Switch& theSwitch = reading.theSwitch;
  if (former) {
    reading.reservations = former;
    reading.reservations->renew(theSwitch, document.name(), problems);
    reading.inputs = inputsOf(theSwitch, *reading.reservations);
  } else {
    reading.inputs = inputsOf(
        theSwitch, source_.l3Indexes ? readL3Indexes(*source_.l3Indexes, theSwitch, problems)
                                     : assignL3Indexes(theSwitch));
  }
  return reading;
}

Session::Reading Session::readPatched(const Document& document, const Document& patch) const {
  try {
    return read(document, reading_.reservations);
  } catch (const UnreadableInput& refusal) {
    throw UnreadableInput(patch.name(),
                          std::string("the configuration would be unusable: ") + refusal.what());
  }
}

void Session::take(Reading reading, const std::string& origin) {
  reading_ = std::move(reading);
  journal_.originIs(origin);
  reconciler_.reconcile(reading_.inputs);
}

}  // namespace Agent
