#pragma once

// The tables of a configuration database, whichever of its three spellings a document uses:
//   {"VLAN": {"Vlan10": {...}}}      nested objects
//   {"VLAN|Vlan10": {...}}           one object per row, as the database keys it
//   {"VLAN_TABLE:Vlan10": {...}}     the application database, with tables of its own names
// After this, a table is rows, and a row is its key's parts and its fields.

#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "agent/Document.h"
#include "agent/Problem.h"

namespace Agent {

/// The tables that describe interfaces. All others are ignored.
enum class Table {
  port,
  portChannel,
  portChannelMember,
  vlan,
  vlanMember,
  interface,
  portChannelInterface,
  vlanInterface,
  vlanSubInterface,
  loopbackInterface,
};

/// Lives as long as the document, whose text it shows.
struct Row {
  /// As the document spells them, for reports.
  std::string_view table;
  std::string_view key;
  /// What the key is about: one name, or two in the tables of members.
  std::string_view name;
  std::string_view second;
  /// Always an object.
  const nlohmann::json* fields;

  /// The field; null when the row does not have it.
  [[nodiscard]] const nlohmann::json* field(std::string_view fieldName) const;
};

class ConfigTables {
 public:
  /// Whether one of the root's keys names a table described here, in any spelling.
  [[nodiscard]] static bool isSpelledIn(const nlohmann::json& root);

  /// REQUIRES: the document's root is an object, and the document outlives the tables. Keys with
  /// too few or too many parts and rows that are no objects are reported and left out. Throws
  /// UnreadableInput when a table is no object.
  ConfigTables(const Document& document, Problems& problems);

  /// Whether the document has the table, with or without rows.
  [[nodiscard]] bool has(Table table) const { return tables_.contains(table); }
  /// In the order of their keys' bytes; empty where the table is absent.
  [[nodiscard]] const std::vector<Row>& rows(Table table) const;

 private:
  struct Spelling;

  [[nodiscard]] static const Spelling* spellingOf(std::string_view tableName);
  void addTable(const Spelling& spelling, const nlohmann::json& rows);
  void addRow(const Spelling& spelling, std::string_view key, const nlohmann::json& fields);
  void report(ProblemKind kind, const Spelling& spelling, std::string_view key, std::string found);

  const std::string& file_;
  Problems& problems_;
  std::map<Table, std::vector<Row>> tables_;
};

}  // namespace Agent
