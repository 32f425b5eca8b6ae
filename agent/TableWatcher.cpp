#include "agent/TableWatcher.h"

#include <utility>

#include "agent/InterfaceName.h"

namespace Agent {
namespace {

std::string textOf(const FyrL3Intf::L3Id& l3Id) {
  return l3Id ? std::to_string(l3Id.value()) : "-";
}

}  // namespace

std::string textOf(const TableChange& change) {
  return std::string(1, change.sign()) + " " + nameOf(change.id) + ": " + textOf(change.oldL3Id) +
         " -> " + textOf(change.newL3Id) + " (" + textOf(*change.event) + ")";
}

Kob::Ptr<TableWatcher> TableWatcher::watch(const FyrL3Intf::Table& table, Journal& journal,
                                           const TableChangeSink& sink) {
  Kob::Ptr watcher(new TableWatcher(journal, sink));
  watcher->notifierIs(Kob::Ptr(&table));
  watcher->isRegisteredNotifieeIs(true);
  return watcher;
}

void TableWatcher::onIntfL3Index(Plexo::IntfId id) {
  const FyrL3Intf::L3Id now = notifier()->intfIdToL3Id(id);
  const FyrL3Intf::L3Id before = std::exchange(known_[id], now);
  journal_.l3IdChanged(id);
  pass({id, before, now, journal_.event()});
}

void TableWatcher::rethrow() const {
  if (failure_) std::rethrow_exception(failure_);
}

void TableWatcher::pass(const TableChange& change) noexcept {
  if (failure_ || !sink_) return;
  try {
    sink_(change);
  } catch (...) {
    failure_ = std::current_exception();
  }
}

}  // namespace Agent
