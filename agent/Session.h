#pragma once

// One switch in the library's care: the configuration document as it stands, what was read out of
// it, and the library at work on that. Commands ask it; patches change it.

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "agent/Document.h"
#include "agent/Inputs.h"
#include "agent/Journal.h"
#include "agent/Problem.h"
#include "agent/Reconciler.h"
#include "agent/Switch.h"
#include "agent/TableHost.h"
#include "agent/TableWatcher.h"
#include "agent/VlanReservations.h"

namespace Agent {

/// Where L3 ids come from: internal VLANs, or a document of L3 indexes, or, with neither, indexes
/// that are assigned.
struct L3IdSource {
  std::optional<ReservationRules> internalVlans;
  std::optional<Document> l3Indexes;
};

class Session {
 public:
  /// Loads the configuration. Throws UnreadableInput when it or the L3 indexes cannot be used.
  Session(Document configuration, L3IdSource source);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Passes each later change of the table to `sink`, as it is announced. What the sink throws
  /// comes out of apply(), and silences it for good.
  void watch(TableChangeSink sink) { sink_ = std::move(sink); }

  /// Applies a JSON Patch to the configuration document, reads it anew, and lets the library follow
  /// the difference. Throws UnreadableInput, which names the patch, and has changed nothing then.
  /// With deferral on, a patch is refused likewise that would leave more than one change of an L3
  /// index to be delivered: such changes merge, and the machine drops what was merged.
  void apply(const Document& patch);

  // What an operator does to the library's state beside the document. Each change is an event of
  // its own in the journal. What the change throws passes to the caller, and so does what the sink
  // throws.

  /// Makes a change by hand, which the event's text tells.
  void change(const std::string& text, const std::function<void()>& action);
  /// Whether the machine lets the changes of its inputs wait; false at first.
  [[nodiscard]] bool deferral() const { return host_.activity().deferral(); }
  /// Switches that; off delivers what is pending.
  void deferralIs(bool deferral);
  /// Delivers what is pending now.
  void run();
  /// At its end the session leaves the state as it is, instead of withdrawing it.
  void leaveEverything() { host_.leaveEverything(); }

  /// The document as it stands, under the name of the configuration's file.
  [[nodiscard]] const Document& document() const { return document_; }
  /// What the document describes.
  [[nodiscard]] const Switch& theSwitch() const { return reading_.theSwitch; }
  /// The contradictions in the document as it stands, and in the L3 indexes.
  [[nodiscard]] const Problems& problems() const { return reading_.problems; }
  /// The name of the document of L3 indexes; "" without one.
  [[nodiscard]] std::string l3IndexFile() const {
    return source_.l3Indexes ? source_.l3Indexes->name() : std::string();
  }
  /// The range that internal VLANs are reserved from; the default one without internal VLANs.
  [[nodiscard]] VlanRange reservedRange() const {
    return source_.internalVlans.value_or(ReservationRules()).range;
  }

  [[nodiscard]] const FyrL3Intf::Table& table() const { return host_.table(); }
  [[nodiscard]] const FyrL3Intf::ConfigSm& machine() const { return host_.machine(); }
  [[nodiscard]] FyrL3Intf::ConfigSm& machine() { return host_.machine(); }
  [[nodiscard]] const Journal& journal() const { return journal_; }

 private:
  /// All that comes of reading a document.
  struct Reading {
    Problems problems;
    Switch theSwitch;
    std::optional<VlanReservations> reservations;
    Inputs inputs;
  };

  [[nodiscard]] Reading read(const Document& document,
                             const std::optional<VlanReservations>& former) const;
  [[nodiscard]] Reading readPatched(const Document& document, const Document& patch) const;
  void refuseMerging(const Reading& next, const Document& patch);
  void take(Reading reading, const std::string& origin);
  void deliver(const std::function<void()>& action);

  const L3IdSource source_;
  Document document_;
  Reading reading_;
  TableChangeSink sink_;
  Journal journal_;
  TableHost host_;
  const Kob::Ptr<TableWatcher> watcher_;
  Reconciler reconciler_;
  /// Changes of the L3 index directory that the machine was not told of yet.
  std::size_t deferredL3Indexes_ = 0;
};

}  // namespace Agent
