#include "agent/Session.h"

#include <utility>

#include "agent/Configuration.h"
#include "agent/ConfigurationPatch.h"
#include "agent/L3Indexes.h"

namespace Agent {
namespace {

constexpr const char* loading = "loading";

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
  document_ = std::move(next);
  take(std::move(reading), patch.name());
  watcher_->rethrow();
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
