#include "agent/TableHost.h"

namespace Agent {

TableHost::TableHost(bool internalVlanNeeded)
    : activity_(Kob::activityFactory("fyrl3")),
      config_(Bridging::configFactory("bridgingConfig")),
      vlanIntfStatusDir_(Interface::vlanIntfStatusDirFactory("vlanIntfStatusDir")),
      l3IndexDir_(FyrL3Intf::l3IndexDirFactory("l3IndexDir")),
      table_(FyrL3Intf::tableFactory("l3IntfTable", internalVlanNeeded)),
      machine_(FyrL3Intf::configSmFactory(activity_, config_, vlanIntfStatusDir_, l3IndexDir_,
                                          table_, internalVlanNeeded)) {}

TableHost::~TableHost() {
  if (withdraws_) machine_->doPrepareToDie();
}

}  // namespace Agent
