#include "agent/L3Indexes.h"

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "agent/AsicDb.h"
#include "agent/InterfaceName.h"
#include "agent/JsonValue.h"
#include "agent/RouterInterface.h"
#include "agent/Text.h"

namespace Agent {
namespace {

using nlohmann::json;

constexpr const char* nameMap = "COUNTERS_RIF_NAME_MAP";
constexpr const char* notFed = "the index is not fed";

RouterInterfaces readNameMap(const Document& document, Problems& problems) {
  const json& map = document.root().at(nameMap);
  if (!map.is_object()) {
    throw UnreadableInput(document.name(), std::string("table ") + nameMap + " is " +
                                               printable(describe(map)) +
                                               "; write it as an object of names and object ids");
  }
  RouterInterfaces routerInterfaces;
  for (const auto& [name, value] : map.items()) {
    const std::string* text = stringOf(value);
    const auto id = text == nullptr ? std::nullopt : objectId(*text);
    if (id) {
      routerInterfaces.push_back({nameMap, name, name, indexOf(*id)});
    } else {
      addProblem(problems, {ProblemKind::badObjectId, document.name(), nameMap, name,
                            describe(value) + " is no object id of the form oid:0x...", notFed});
    }
  }
  return routerInterfaces;
}

/// Takes the indexes that can stand side by side.
class Selection {
 public:
  Selection(const Document& document, const Switch& theSwitch, Problems& problems)
      : document_(document), switch_(theSwitch), problems_(problems) {}

  L3Indexes of(const RouterInterfaces& routerInterfaces);

 private:
  [[nodiscard]] std::optional<Plexo::IntfId> known(const RouterInterface& candidate);
  void take(Plexo::IntfId id, const RouterInterface& candidate);
  void report(ProblemKind kind, const RouterInterface& candidate, std::string found);

  const Document& document_;
  const Switch& switch_;
  Problems& problems_;
  L3Indexes taken_;
  std::map<std::uint64_t, Plexo::IntfId> holders_;
};

L3Indexes Selection::of(const RouterInterfaces& routerInterfaces) {
  std::map<std::pair<Plexo::IntfId, std::uint64_t>, const RouterInterface*> inOrder;
  for (const RouterInterface& candidate : routerInterfaces) {
    if (const auto id = known(candidate)) {
      inOrder.emplace(std::pair(*id, candidate.index), &candidate);
    }
  }
  for (const auto& [place, candidate] : inOrder) {
    take(place.first, *candidate);
  }
  return std::move(taken_);
}

std::optional<Plexo::IntfId> Selection::known(const RouterInterface& candidate) {
  const auto id = interfaceNamed(candidate.name);
  if (id && switch_.l3Interfaces.contains(*id)) return id;
  report(ProblemKind::unknownInterface, candidate,
         "\"" + candidate.name + "\" is no L3 interface of the configuration");
  return std::nullopt;
}

void Selection::take(Plexo::IntfId id, const RouterInterface& candidate) {
  if (candidate.index == 0) {
    report(ProblemKind::zeroIndex, candidate,
           "the index of " + nameOf(id) + " is 0, which stands for no index");
  } else if (const auto own = taken_.find(id); own != taken_.end()) {
    report(ProblemKind::secondIndex, candidate,
           nameOf(id) + " has index " + std::to_string(own->second.value()) + " already");
  } else if (const auto [holder, isFirst] = holders_.emplace(candidate.index, id); !isFirst) {
    report(ProblemKind::sharedIndex, candidate,
           "index " + std::to_string(candidate.index) + " of " + nameOf(id) + " is that of " +
               nameOf(holder->second) + " already");
  } else {
    taken_.emplace(id, FyrL3Intf::L3Id(candidate.index));
  }
}

void Selection::report(ProblemKind kind, const RouterInterface& candidate, std::string found) {
  addProblem(problems_,
             {kind, document_.name(), candidate.table, candidate.key, std::move(found), notFed});
}

}  // namespace

bool isL3Indexes(const json& root) { return memberOf(root, nameMap) != nullptr || isAsicDb(root); }

L3Indexes readL3Indexes(const Document& document, const Switch& theSwitch, Problems& problems) {
  const json& root = document.root();
  if (!isL3Indexes(root)) {
    throw UnreadableInput(document.name(),
                          std::string("no L3 indexes; give a document with ") + nameMap +
                              " or a dump of the ASIC database (keys ASIC_STATE:...)");
  }
  addProblems(problems, document.repeatedKeys());
  const RouterInterfaces routerInterfaces = memberOf(root, nameMap) != nullptr
                                                ? readNameMap(document, problems)
                                                : readAsicDb(document, theSwitch, problems);
  return Selection(document, theSwitch, problems).of(routerInterfaces);
}

L3Indexes assignL3Indexes(const Switch& theSwitch) {
  L3Indexes indexes;
  std::uint64_t next = 0;
  for (const auto& [id, kind] : theSwitch.l3Interfaces) {
    indexes.emplace_hint(indexes.end(), id, FyrL3Intf::L3Id(++next));
  }
  return indexes;
}

}  // namespace Agent
