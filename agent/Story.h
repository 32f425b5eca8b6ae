#pragma once

// Why an interface has its L3 id or lacks one, in plain words: what it wishes for, since when, who
// has it, who comes next, and what would have to change.

#include <string>
#include <vector>

#include "agent/Session.h"

namespace Agent {

/// One sentence each, the verdict first.
using Story = std::vector<std::string>;

/// The story of an interface, of a port that is no L3 interface, of a port channel's member, or of
/// a loopback; empty for a name that the session does not know.
[[nodiscard]] Story storyOf(Plexo::IntfId id, const Session& session);

/// Those who wish for the VLAN and do not have it, in the order in which it would pass to them.
[[nodiscard]] std::vector<Plexo::IntfId> queueFor(Bridging::VlanId vlan,
                                                  const FyrL3Intf::ConfigSm& machine);

}  // namespace Agent
