#include "agent/Configuration.h"

#include <algorithm>
#include <string_view>

#include "agent/ConfigDb.h"
#include "agent/ConfigTables.h"
#include "agent/JsonValue.h"
#include "agent/L3Indexes.h"
#include "agent/OpenConfig.h"
#include "agent/Text.h"

namespace Agent {
namespace {

using nlohmann::json;

/// Whether each key begins as tables of a configuration database do: in capitals. A switch may well
/// have none of the tables that describe interfaces.
bool looksLikeConfigDb(const json& root) {
  const auto items = root.items();
  return std::all_of(items.begin(), items.end(), [](const auto& item) {
    const std::string_view key = item.key();
    const std::string_view table = key.substr(0, key.find_first_of("|:"));
    return !table.empty() && table.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-") ==
                                 std::string_view::npos;
  });
}

[[noreturn]] void refuse(const Document& document) {
  const json& root = document.root();
  if (!root.is_object()) {
    throw UnreadableInput(document.name(), "the document is " + printable(describe(root)) +
                                               ", not an object; give a configuration database or "
                                               "OpenConfig interfaces");
  }
  if (isL3Indexes(root)) {
    throw UnreadableInput(document.name(),
                          "holds L3 indexes, not a configuration; give it with --l3-index");
  }
  throw UnreadableInput(document.name(),
                        "neither a configuration database (VLAN, INTERFACE, ...) nor "
                        "openconfig-interfaces:interfaces; give one of the two");
}

}  // namespace

Switch readConfiguration(const Document& document, Problems& problems) {
  const json& root = document.root();
  addProblems(problems, document.repeatedKeys());
  if (isOpenConfig(root)) return readOpenConfig(document, problems);
  if (!root.is_object()) refuse(document);
  if (ConfigTables::isSpelledIn(root)) return readConfigDb(document, problems);
  if (isL3Indexes(root) || !looksLikeConfigDb(root)) refuse(document);
  return readConfigDb(document, problems);
}

}  // namespace Agent
