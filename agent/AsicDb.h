#pragma once

// The router interfaces in a dump of the ASIC database. The dump knows objects by number only;
// names come from the ports' host interfaces, from the VLANs' numbers, and from the configuration,
// which knows who is a member of which port channel and which sub-interface has which outer VLAN.

#include <nlohmann/json_fwd.hpp>

#include "agent/Document.h"
#include "agent/Problem.h"
#include "agent/RouterInterface.h"
#include "agent/Switch.h"

namespace Agent {

/// Whether the root is such a dump.
[[nodiscard]] bool isAsicDb(const nlohmann::json& root);

/// REQUIRES: isAsicDb(document.root()). The router interfaces that have a name, in the order of
/// their object ids' texts; the others are appended to `problems`, but for loopbacks, which have no
/// L3 index.
[[nodiscard]] RouterInterfaces readAsicDb(const Document& document, const Switch& theSwitch,
                                          Problems& problems);

}  // namespace Agent
