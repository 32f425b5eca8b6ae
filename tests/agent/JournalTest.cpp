#include "agent/Journal.h"

#include <gtest/gtest.h>

#include "tests/platform/Intf.h"

namespace Agent {
namespace {

using Tests::operator""_intf;

TEST(Journal, CountsEventsWhateverTheirOrigin) {
  Journal journal;
  EXPECT_EQ(journal.event(), nullptr);
  journal.originIs("loading");
  journal.eventIs("a comes");
  EXPECT_EQ(textOf(*journal.event()), "event 1, loading: a comes");
  journal.originIs("p.json");
  journal.eventIs("a goes");
  EXPECT_EQ(textOf(*journal.event()), "event 2, p.json: a goes");
}

TEST(Journal, RemembersTheLastChangeOfEachInterface) {
  const Plexo::IntfId a = "Ethernet0"_intf;
  const Plexo::IntfId b = "Ethernet4"_intf;
  Journal journal;
  journal.eventIs("first");
  journal.wishChanged(a);
  journal.eventIs("second");
  journal.l3IdChanged(a);
  journal.wishChanged(b);
  journal.eventIs("third");
  journal.l3IdChanged(b);
  EXPECT_EQ(journal.wishSince(a)->text, "first");
  EXPECT_EQ(journal.l3IdSince(a)->text, "second");
  EXPECT_EQ(journal.wishSince(b)->text, "second");
  EXPECT_EQ(journal.l3IdSince(b)->text, "third");
  EXPECT_EQ(journal.wishSince("Ethernet8"_intf), nullptr);
  EXPECT_EQ(journal.l3IdSince("Ethernet8"_intf), nullptr);
}

TEST(Journal, NeverShowsAnOriginRaw) {
  Journal journal;
  journal.originIs("\x1b[2J");
  journal.eventIs("a comes");
  EXPECT_EQ(textOf(*journal.event()), "event 1, \\x1b[2J: a comes");
}

}  // namespace
}  // namespace Agent
