// A reader of the L3 interface table, as another program would have it: hears of every change, and
// looks up in both directions. Here it also plays the writer, so that there is something to hear.

#include <FyrL3Intf/FyrL3IntfTable.h>

#include <iostream>

namespace {

class Listener : public FyrL3Intf::Table::NotifieeConst {
 public:
  using NotifieeConst::onIntfL3Index;
  void onIntfL3Index(Plexo::IntfId intfId) override {
    std::cout << "changed: " << intfId << " is " << notifier()->intfIdToL3Id(intfId) << '\n';
  }
};

}  // namespace

int main() {
  const auto table = FyrL3Intf::tableFactory("reader", false);
  const Kob::Ptr<Listener> listener(new Listener);
  listener->notifierIs(table);
  listener->isRegisteredNotifieeIs(true);

  const Plexo::IntfId port("Ethernet1");
  table->routedPortNameIs(FyrL3Intf::L3Id(7), port);
  table->intfL3IndexIs(port, FyrL3Intf::L3Id(7));

  std::cout << "look-up: " << port << " is " << table->intfIdToL3Id(port) << '\n';
  std::cout << "look-up: 7 is " << table->l3IdToIntfId(FyrL3Intf::L3Id(7)) << '\n';
}
