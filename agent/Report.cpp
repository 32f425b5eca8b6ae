#include "agent/Report.h"

#include <algorithm>
#include <map>

#include "agent/InterfaceName.h"
#include "agent/Progress.h"
#include "agent/Text.h"

namespace Agent {
namespace {

using nlohmann::ordered_json;

/// Terminal colours, or nothing.
class Palette {
 public:
  explicit Palette(bool isColoured) : isColoured_(isColoured) {}

  [[nodiscard]] std::string heading(const std::string& text) const { return wrapped("1", text); }
  [[nodiscard]] std::string faint(const std::string& text) const { return wrapped("2", text); }
  [[nodiscard]] std::string warning(const std::string& text) const { return wrapped("33", text); }

 private:
  [[nodiscard]] std::string wrapped(const char* code, const std::string& text) const {
    if (!isColoured_) return text;
    return std::string("\033[") + code + "m" + text + "\033[0m";
  }

  bool isColoured_;
};

/// A table whose columns are as wide as their widest cell; those in `atRight` hold numbers.
class Columns {
 public:
  using Cells = std::vector<std::string>;

  Columns(Cells heading, std::vector<bool> atRight)
      : widths_(heading.size()), atRight_(std::move(atRight)) {
    widen(heading);
    heading_ = std::move(heading);
  }

  void widen(const Cells& cells) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      widths_[i] = std::max(widths_[i], cells[i].size());
    }
  }
  [[nodiscard]] std::string heading() const { return line(heading_); }
  /// Without blanks at the end.
  [[nodiscard]] std::string line(const Cells& cells) const {
    std::string text;
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const std::string blanks(widths_[i] - cells[i].size(), ' ');
      text += i == 0 ? "" : "  ";
      text += atRight_[i] ? blanks + cells[i] : cells[i] + blanks;
    }
    return text.substr(0, text.find_last_not_of(' ') + 1);
  }

 private:
  Cells heading_;
  std::vector<std::size_t> widths_;
  std::vector<bool> atRight_;
};

/// "-" for zero, which is no number here.
std::string numberOf(std::uint64_t value) { return value == 0 ? "-" : std::to_string(value); }

Columns::Cells cellsOf(const InterfaceEntry& entry, bool internalVlanNeeded) {
  Columns::Cells cells{nameOf(entry.id), std::string(nameOf(entry.kind)),
                       numberOf(entry.l3Id.value()), std::string(entry.state())};
  if (internalVlanNeeded) cells.push_back(numberOf(entry.wish.value()));
  return cells;
}

/// Appends interface to L3 id.
void appendForward(std::string& text, const InterfaceEntries& entries, bool internalVlanNeeded,
                   const Palette& palette, Progress& progress) {
  Columns columns = internalVlanNeeded ? Columns({"INTERFACE", "KIND", "L3 ID", "STATE", "WISH"},
                                                 {false, false, true, false, true})
                                       : Columns({"INTERFACE", "KIND", "L3 ID", "STATE"},
                                                 {false, false, true, false});
  for (const InterfaceEntry& entry : entries) {
    columns.widen(cellsOf(entry, internalVlanNeeded));
  }
  text += palette.heading(columns.heading()) + "\n";
  for (const InterfaceEntry& entry : entries) {
    progress.step();
    const std::string line = columns.line(cellsOf(entry, internalVlanNeeded));
    text += (entry.l3Id ? line : palette.faint(line)) + "\n";
  }
}

/// Appends L3 id to interface, by rising id.
void appendBackward(std::string& text, const FyrL3Intf::Table& table, const Palette& palette) {
  std::map<FyrL3Intf::L3Id, Plexo::IntfId> holders;
  for (auto it = table.routedPortNameIteratorConst(); it; ++it) {
    holders.emplace(it.key(), table.l3IdToIntfId(it.key()));
  }
  Columns columns({"L3 ID", "INTERFACE"}, {true, false});
  for (const auto& [l3Id, id] : holders) {
    columns.widen({numberOf(l3Id.value()), nameOf(id)});
  }
  text += palette.heading(columns.heading()) + "\n";
  for (const auto& [l3Id, id] : holders) {
    text += columns.line({numberOf(l3Id.value()), nameOf(id)}) + "\n";
  }
}

}  // namespace

InterfaceEntry entryOf(Plexo::IntfId id, InterfaceKind kind, const FyrL3Intf::ConfigSm& machine) {
  const auto table = machine.fyrL3IntfTable();
  const auto wish = machine.desiredInternalVlanId(id);
  const auto holder = wish ? table->l3IdToIntfId(FyrL3Intf::L3Id(wish.value())) : Plexo::IntfId();
  return {id, kind, table->intfIdToL3Id(id), wish, holder};
}

InterfaceEntries interfaceEntries(const Switch& theSwitch, const FyrL3Intf::ConfigSm& machine) {
  InterfaceEntries entries;
  for (const auto& [id, kind] : theSwitch.l3Interfaces) {
    entries.push_back(entryOf(id, kind, machine));
  }
  return entries;
}

std::string textOf(const InterfaceEntries& entries, const FyrL3Intf::ConfigSm& machine,
                   bool isColoured) {
  const Palette palette(isColoured);
  if (entries.empty()) return "no L3 interfaces\n";
  std::string text;
  Progress progress("writing the table", entries.size());
  appendForward(text, entries, machine.internalVlanNeeded(), palette, progress);
  text += "\n";
  appendBackward(text, *machine.fyrL3IntfTable(), palette);
  return text;
}

ordered_json jsonOf(const InterfaceEntry& entry, bool internalVlanNeeded) {
  ordered_json object;
  object["interface"] = nameOf(entry.id);
  object["kind"] = nameOf(entry.kind);
  object["l3Id"] = entry.l3Id ? ordered_json(entry.l3Id.value()) : ordered_json(nullptr);
  object["state"] = entry.state();
  if (internalVlanNeeded) {
    object["wish"] = entry.wish ? ordered_json(entry.wish.value()) : ordered_json(nullptr);
    object["holder"] = entry.holder ? ordered_json(nameOf(entry.holder)) : ordered_json(nullptr);
  }
  return object;
}

ordered_json jsonOf(const Problem& problem) {
  ordered_json object;
  object["kind"] = nameOf(problem.kind);
  object["file"] = problem.file;
  object["table"] = problem.table;
  object["key"] = problem.key;
  object["found"] = problem.found;
  object["done"] = problem.done;
  return object;
}

std::string textOf(const Problems& problems, bool isColoured) {
  const Palette palette(isColoured);
  std::string text;
  for (const Problem& problem : problems) {
    text += palette.warning("problem:") + " " + printable(problem.file) + ": " +
            printable(problem.table);
    if (!problem.key.empty()) text += " " + printable(problem.key);
    text += ": " + printable(problem.found) + "; " + printable(problem.done) + "\n";
  }
  return text;
}

}  // namespace Agent
