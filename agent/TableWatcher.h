#pragma once

// A reader of the L3 interface table that passes each change on as it is announced, together with
// the event of an input that caused it.

#include <exception>
#include <functional>
#include <string>
#include <unordered_map>

#include "FyrL3Intf/FyrL3IntfTable.h"
#include "agent/Journal.h"

namespace Agent {

/// One change of an interface's L3 id. Zero stands for no L3 id.
struct TableChange {
  Plexo::IntfId id;
  FyrL3Intf::L3Id oldL3Id;
  FyrL3Intf::L3Id newL3Id;
  InputEventPtr event;

  /// '+' when the interface had no L3 id before, '-' when it has none now, else '~'.
  [[nodiscard]] char sign() const { return !oldL3Id ? '+' : !newL3Id ? '-' : '~'; }
};

/// "+ Ethernet4: - -> 3969 (event 40, p.json: ...)".
[[nodiscard]] std::string textOf(const TableChange& change);

using TableChangeSink = std::function<void(const TableChange&)>;

/// Hold it through Kob::Ptr, and make it with watch().
class TableWatcher : public FyrL3Intf::Table::NotifieeConst {
 public:
  /// Watches an empty table: notes each change in the journal and passes it to `sink`, while that
  /// is not empty. Both outlive the watcher.
  [[nodiscard]] static Kob::Ptr<TableWatcher> watch(const FyrL3Intf::Table& table, Journal& journal,
                                                    const TableChangeSink& sink);

  using NotifieeConst::onIntfL3Index;
  void onIntfL3Index(Plexo::IntfId id) override;

  /// Throws what the sink threw first; nothing is passed on since. Nothing may leave the callback:
  /// the table would drop it.
  void rethrow() const;

 private:
  TableWatcher(Journal& journal, const TableChangeSink& sink) : journal_(journal), sink_(sink) {}

  void pass(const TableChange& change) noexcept;

  Journal& journal_;
  const TableChangeSink& sink_;
  std::unordered_map<Plexo::IntfId, FyrL3Intf::L3Id> known_;
  std::exception_ptr failure_;
};

}  // namespace Agent
