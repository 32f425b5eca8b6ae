#pragma once

// The readable name of a type, as reports and printed forms show it.

#include <string>
#include <typeinfo>

#include "Kob/Export.h"

namespace Kob {

/// The qualified name, for example "Kob::ActivityConfig".
[[nodiscard]] KOB_EXPORT std::string typeName(const std::type_info& type);

}  // namespace Kob
