#pragma once

// A table, a listener, three interfaces and two identifiers.

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {

class TableFixture : public testing::Test {
 protected:
  const L3Id idX{10};
  const L3Id idY{11};
  const Plexo::IntfId p = "Ethernet1"_intf;
  const Plexo::IntfId q = "Ethernet2"_intf;
  const Plexo::IntfId r = "Ethernet3"_intf;

  Kob::Ptr<Table> table = tableFactory("table", false);
  Kob::Ptr<TableListener> listener = listenerOf(table);

  void writeThree() {
    table->intfL3IndexIs(p, L3Id(1));
    table->intfL3IndexIs(q, L3Id(2));
    table->intfL3IndexIs(r, L3Id(3));
    listener->heard.clear();
  }
  [[nodiscard]] std::vector<Plexo::IntfId> order() const {
    std::vector<Plexo::IntfId> intfs;
    for (auto it = table->intfL3IndexIteratorConst(); it; ++it) intfs.push_back(it.key());
    return intfs;
  }
  [[nodiscard]] Log orderOfNames() const { return namesOf(table->intfL3IndexIteratorConst()); }

  /// The changes that the call counts.
  template <class Call>
  std::uint32_t changesOf(const Call& call) const {
    const std::uint32_t before = table->changeCount();
    call();
    return table->changeCount() - before;
  }
};

}  // namespace FyrL3Intf::Tests
