#pragma once

// Attributes that a type describes without giving them an id, because the framework itself operates
// them: the activity and the key of an object, and the two switches of whatever reacts.

#include "Kob/GenericIf.h"
#include "Kob/Type.h"

namespace Agent {

/// Operates such an attribute as GenericIf::attributeOp does with others, and refuses as it does.
[[nodiscard]] Kob::Ptr<Kob::GenericIf> operateFrameworkAttribute(
    Kob::GenericIf& owner, const Kob::KobAttr& attr, unsigned operation,
    const Kob::Ptr<const Kob::GenericIf>& arg);

}  // namespace Agent
