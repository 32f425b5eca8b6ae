#include "agent/SelfCheck.h"

#include "agent/Trial.h"

namespace Agent {

SelfCheck selfCheck(FyrL3Intf::ConfigSm& machine) {
  const Trial trial = tryInChild([&machine] { machine.doVerify(); });
  passOnTraces(trial);
  return {trial.hasSucceeded(), trial.report};
}

}  // namespace Agent
