#pragma once

// One switch in the library's care: the configuration document as it stands, what was read out of
// it, and the library at work on that. Commands ask it; patches change it.

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
  void apply(const Document& patch);

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
  void take(Reading reading, const std::string& origin);

  const L3IdSource source_;
  Document document_;
  Reading reading_;
  TableChangeSink sink_;
  Journal journal_;
  TableHost host_;
  const Kob::Ptr<TableWatcher> watcher_;
  Reconciler reconciler_;
};

}  // namespace Agent
