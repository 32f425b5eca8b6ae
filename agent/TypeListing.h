#pragma once

// What types and their attributes say of themselves, as text and as JSON.

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "Kob/Type.h"

namespace Agent {

/// The type of this name, qualified or not; null where there is none. Of several with one short
/// name, the first that was registered.
[[nodiscard]] Kob::KobType* typeNamed(std::string_view name);

/// The qualified names of all registered types, in the order of their registration.
[[nodiscard]] std::vector<std::string> typeNames();

/// A type: its name and base, its constructor, and each attribute with its id (- where it has
/// none) as "name: TYPE", "name[KEY]: TYPE" or "name(parameter: TYPE): TYPE".
[[nodiscard]] std::string textOf(const Kob::KobType& type);

/// {"type", "base", "size", "key", "constructor", "attributes"}; attributes are
/// {"name", "id", "kind", "type", "key", "parameters", "flags"}.
[[nodiscard]] nlohmann::ordered_json jsonOf(const Kob::KobType& type);

}  // namespace Agent
