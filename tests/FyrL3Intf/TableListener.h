#pragma once

// A reader of the table, for tests: keeps what it hears, and does inside its callbacks what it is
// told to do.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "FyrL3Intf/FyrL3IntfTable.h"

namespace FyrL3Intf::Tests {

using Log = std::vector<std::string>;

/// Hears of the table. What it hears goes to `heard`, and to a log that it may share with others,
/// there with its name in front ("a Ethernet1").
class TableListener : public Table::NotifieeConst {
 public:
  TableListener() = default;
  TableListener(std::string listenerName, Log& log)
      : listenerName_(std::move(listenerName)), log_(&log) {}

  /// Interfaces as their names, "exception ID", "zero references".
  Log heard;
  /// Run inside the callbacks, after what was heard was kept.
  std::function<void(Plexo::IntfId)> onKey = [](Plexo::IntfId) {};
  std::function<void()> onZero = [] {};

  using Table::NotifieeConst::onNotificationException;
  void onIntfL3Index(Plexo::IntfId intfId) override {
    hears(intfId.name().charPtr());
    onKey(intfId);
  }
  void onIntfL3Index() override { hears("any"); }
  void onIntfL3IndexkobImmediate() override { hears("immediate"); }
  void onNotificationException(Kob::AttributeId id) override {
    hears("exception " + std::to_string(id));
  }
  void onZeroReferences() override {
    hears("zero references");
    onZero();
  }

 private:
  void hears(const std::string& what) {
    heard.push_back(what);
    if (log_ != nullptr) log_->push_back(listenerName_ + " " + what);
  }

  std::string listenerName_;
  Log* log_ = nullptr;
};

/// Points the notifiee at the table and registers it.
template <class Notifiee>
Kob::Ptr<Notifiee> joined(const Kob::Ptr<Notifiee>& notifiee, const Kob::Ptr<Table>& table) {
  notifiee->notifierIs(table);
  notifiee->isRegisteredNotifieeIs(true);
  return notifiee;
}

/// A listener that hears of the table from now on.
inline Kob::Ptr<TableListener> listenerOf(const Kob::Ptr<Table>& table) {
  return joined(Kob::Ptr(new TableListener), table);
}
inline Kob::Ptr<TableListener> listenerOf(const Kob::Ptr<Table>& table, std::string name,
                                          Log& log) {
  return joined(Kob::Ptr(new TableListener(std::move(name), log)), table);
}

}  // namespace FyrL3Intf::Tests
