#pragma once

// Finding one's way in the tree of an OpenConfig interface: members with or without their module's
// name, settings as configured or else as reported, and parts that are of the wrong type.

#include <initializer_list>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

/// What stands behind the module's name in `openconfig-vlan:routed-vlan`.
[[nodiscard]] std::string_view withoutModule(std::string_view text);

/// The member of this name, or at the end of this path of names, with or without a module's name in
/// front; null when there is none, or `node` is null or no object.
[[nodiscard]] const nlohmann::json* child(const nlohmann::json* node, std::string_view name);
[[nodiscard]] const nlohmann::json* child(const nlohmann::json* node,
                                          std::initializer_list<std::string_view> path);

/// A setting of the node: as configured, else as reported; null when it is neither.
[[nodiscard]] const nlohmann::json* setting(const nlohmann::json* node, std::string_view name);

/// A setting that is a name out of a list of names, without its module; "" when there is none.
[[nodiscard]] std::string_view nameSetting(const nlohmann::json* node, std::string_view name);

/// Whether the value is true; null is not.
[[nodiscard]] bool isTrue(const nlohmann::json* value);
/// Whether the value is a list with something in it; null is not.
[[nodiscard]] bool isFilledList(const nlohmann::json* value);

/// A part of an interface that is not of the type that it has to be.
struct Misshapen {
  /// For example "subinterfaces/subinterface".
  std::string path;
  /// For example "a list".
  std::string_view wanted;
  const nlohmann::json* value;
};

/// Every such part of the interface that the program would read, in the order in which the parts
/// are listed in the source.
[[nodiscard]] std::vector<Misshapen> misshapenParts(const nlohmann::json& interface);

}  // namespace Agent
