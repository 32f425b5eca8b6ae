#include "agent/ConfigTables.h"

#include <array>
#include <nlohmann/json.hpp>
#include <optional>

#include "agent/InterfaceName.h"
#include "agent/JsonValue.h"
#include "agent/Text.h"

namespace Agent {

using nlohmann::json;

/// How one table is written in a document.
struct ConfigTables::Spelling {
  std::string_view name;
  char separator;
  /// None for the application database's one table of all L3 interfaces.
  std::optional<Table> table;
};

namespace {

/// What a row's key consists of.
enum class KeyShape { name, nameAndAddress, twoNames };

KeyShape shapeOf(Table table) {
  switch (table) {
    case Table::port:
    case Table::portChannel:
    case Table::vlan:
      return KeyShape::name;
    case Table::portChannelMember:
    case Table::vlanMember:
      return KeyShape::twoNames;
    default:
      return KeyShape::nameAndAddress;
  }
}

Table tableOfInterface(std::string_view name) {
  if (vlanDigits(name)) return Table::vlanInterface;
  if (isLoopbackName(name) || isManagementName(name)) return Table::loopbackInterface;
  if (subInterfaceName(name)) return Table::vlanSubInterface;
  return isPortChannelName(name) ? Table::portChannelInterface : Table::interface;
}

/// Rows by which the application database says how far it is; they name no port.
bool isProgressMark(std::string_view key) {
  return key == "PortConfigDone" || key == "PortInitDone";
}

/// The key's parts. In the application database an address may hold the separator itself, and only
/// the first one counts.
std::vector<std::string_view> partsOf(std::string_view key, char separator) {
  std::vector<std::string_view> parts;
  while (separator == '|' || parts.empty()) {
    const std::size_t end = key.find(separator);
    if (end == std::string_view::npos) break;
    parts.emplace_back(key.substr(0, end));
    key.remove_prefix(end + 1);
  }
  parts.emplace_back(key);
  return parts;
}

std::string_view wantedParts(KeyShape shape) {
  switch (shape) {
    case KeyShape::name:
      return "a name";
    case KeyShape::nameAndAddress:
      return "a name, with or without an address";
    case KeyShape::twoNames:
      return "a name and a member's name";
  }
  return "";
}

bool isOfShape(KeyShape shape, const std::vector<std::string_view>& parts) {
  switch (shape) {
    case KeyShape::name:
      return parts.size() == 1;
    case KeyShape::nameAndAddress:
      return parts.size() <= 2;
    case KeyShape::twoNames:
      return parts.size() == 2;
  }
  return false;
}

}  // namespace

const json* Row::field(std::string_view fieldName) const { return memberOf(*fields, fieldName); }

const ConfigTables::Spelling* ConfigTables::spellingOf(std::string_view tableName) {
  static constexpr std::array spellings{
      Spelling{"PORT", '|', Table::port},
      Spelling{"PORTCHANNEL", '|', Table::portChannel},
      Spelling{"PORTCHANNEL_MEMBER", '|', Table::portChannelMember},
      Spelling{"VLAN", '|', Table::vlan},
      Spelling{"VLAN_MEMBER", '|', Table::vlanMember},
      Spelling{"INTERFACE", '|', Table::interface},
      Spelling{"PORTCHANNEL_INTERFACE", '|', Table::portChannelInterface},
      Spelling{"VLAN_INTERFACE", '|', Table::vlanInterface},
      Spelling{"VLAN_SUB_INTERFACE", '|', Table::vlanSubInterface},
      Spelling{"LOOPBACK_INTERFACE", '|', Table::loopbackInterface},
      Spelling{"PORT_TABLE", ':', Table::port},
      Spelling{"LAG_TABLE", ':', Table::portChannel},
      Spelling{"LAG_MEMBER_TABLE", ':', Table::portChannelMember},
      Spelling{"VLAN_TABLE", ':', Table::vlan},
      Spelling{"VLAN_MEMBER_TABLE", ':', Table::vlanMember},
      Spelling{"INTF_TABLE", ':', std::nullopt},
  };
  for (const Spelling& spelling : spellings) {
    if (spelling.name == tableName) return &spelling;
  }
  return nullptr;
}

bool ConfigTables::isSpelledIn(const json& root) {
  for (const auto& [key, value] : root.items()) {
    if (spellingOf(std::string_view(key).substr(0, key.find_first_of("|:"))) != nullptr) {
      return true;
    }
  }
  return false;
}

ConfigTables::ConfigTables(const Document& document, Problems& problems)
    : file_(document.name()), problems_(problems) {
  for (const auto& [key, value] : document.root().items()) {
    const std::size_t end = key.find_first_of("|:");
    const Spelling* spelling = spellingOf(std::string_view(key).substr(0, end));
    if (spelling == nullptr) continue;
    if (end == std::string::npos) {
      addTable(*spelling, value);
    } else if (key[end] == spelling->separator) {
      addRow(*spelling, std::string_view(key).substr(end + 1), value);
    }
  }
}

const std::vector<Row>& ConfigTables::rows(Table table) const {
  static const std::vector<Row> none;
  const auto found = tables_.find(table);
  return found == tables_.end() ? none : found->second;
}

void ConfigTables::addTable(const Spelling& spelling, const json& rows) {
  if (!rows.is_object()) {
    throw UnreadableInput(file_, "table " + std::string(spelling.name) + " is " +
                                     printable(describe(rows)) +
                                     "; write it as an object of rows, each under its key");
  }
  if (spelling.table) tables_[*spelling.table];
  for (const auto& [key, fields] : rows.items()) {
    addRow(spelling, key, fields);
  }
}

void ConfigTables::addRow(const Spelling& spelling, std::string_view key, const json& fields) {
  if (spelling.separator == ':' && isProgressMark(key)) return;
  std::vector<std::string_view> parts = partsOf(key, spelling.separator);
  const Table table = spelling.table.value_or(tableOfInterface(parts.front()));
  std::vector<Row>& rows = tables_[table];
  if (const KeyShape shape = shapeOf(table); !isOfShape(shape, parts)) {
    report(ProblemKind::malformedKey, spelling, key,
           "the key is not " + std::string(wantedParts(shape)));
  } else if (!fields.is_object()) {
    report(ProblemKind::wrongType, spelling, key, "the row is " + describe(fields));
  } else {
    parts.resize(2);
    rows.push_back({spelling.name, key, parts[0], parts[1], &fields});
  }
}

void ConfigTables::report(ProblemKind kind, const Spelling& spelling, std::string_view key,
                          std::string found) {
  addProblem(problems_, {kind, file_, std::string(spelling.name), std::string(key),
                         std::move(found), "the row is ignored"});
}

}  // namespace Agent
