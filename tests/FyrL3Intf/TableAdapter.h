#pragma once

// What the tests of the table's adapter share.

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/FyrL3Intf/Generic.h"

namespace FyrL3Intf::Tests {

using TableWrapper = Table::GenericIf_;
using Adapter = Table::GenericIf_::GenericIf_Adapter_;

/// A table, one wrapper of it with a generic listener, and no other notifiee.
struct TableAdapterTest : testing::Test {
  const L3Id id{10};
  const Plexo::IntfId p = "Ethernet1"_intf;
  const Plexo::IntfId q = "Ethernet2"_intf;
  Kob::Ptr<Table> table = tableFactory("table", false);
  Kob::Ptr<TableWrapper> wrapper{new TableWrapper(table, false)};
  Kob::Ptr<Adapter> adapter = wrapper->adapter();
  Kob::Ptr<GenericListener> listener = genericListenerOf(wrapper);

  /// What the listener hears of a change of p.
  Log heardOfAChange() {
    listener->heard.clear();
    table->intfL3IndexNotify(p);
    return listener->heard;
  }
  [[nodiscard]] std::uint32_t members() const { return table->kobNotifiees().members(); }
  /// An adapter on the table that serves no wrapper.
  [[nodiscard]] Kob::Ptr<Adapter> adapterOfNobody() const {
    return TableWrapper::GenericIf_Adapter_Is(table, nullptr);
  }
  /// Lets the wrapper go, which its listener holds as well.
  void wrapperDel() {
    listener->notifierIs(nullptr);
    wrapper = nullptr;
  }

  const Log aChangeOfP = {"260 Ethernet1"};
};

}  // namespace FyrL3Intf::Tests
