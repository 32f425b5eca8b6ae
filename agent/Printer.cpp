#include "agent/Printer.h"

#include <utility>

#include "agent/InterfaceName.h"
#include "agent/Output.h"
#include "agent/Report.h"

namespace Agent {
namespace {

using nlohmann::ordered_json;

ordered_json jsonOf(const FyrL3Intf::L3Id& l3Id) {
  return l3Id ? ordered_json(l3Id.value()) : ordered_json(nullptr);
}

ordered_json jsonOf(const TableChange& change) {
  ordered_json object;
  object["change"] = std::string(1, change.sign());
  object["interface"] = nameOf(change.id);
  object["oldL3Id"] = jsonOf(change.oldL3Id);
  object["newL3Id"] = jsonOf(change.newL3Id);
  object["event"] = Agent::jsonOf(change.event);
  return object;
}

ordered_json jsonOf(const Problems& problems) {
  ordered_json list = ordered_json::array();
  for (const Problem& problem : problems) {
    list.push_back(Agent::jsonOf(problem));
  }
  return list;
}

}  // namespace

ordered_json jsonOf(const InputEventPtr& event) {
  if (!event) return nullptr;
  ordered_json object;
  object["number"] = event->number;
  object["origin"] = event->origin;
  object["text"] = event->text;
  return object;
}

void Printer::tellProblems(const Problems& problems) {
  Problems fresh;
  for (const Problem& problem : problems) {
    if (!standing_.contains(problem)) fresh.push_back(problem);
  }
  standing_ = std::set(problems.begin(), problems.end());
  problems_.insert(problems_.end(), fresh.begin(), fresh.end());
  hasToldProblems_ = hasToldProblems_ || !fresh.empty();
  if (!isJson_) printError(textOf(fresh, isErrorColoured()));
}

void Printer::tellChange(const TableChange& change) {
  if (isJson_) {
    changes_.push_back(jsonOf(change));
  } else {
    printOut(textOf(change) + "\n");
  }
}

void Printer::answer(std::string_view text) const { printOut(text); }

void Printer::refuse(std::string_view text) const {
  printError("fyrl3: " + std::string(text) + "\n");
}

void Printer::answer(const std::string& member, ordered_json value) {
  document_[member] = std::move(value);
}

void Printer::append(const std::string& member, ordered_json value) {
  document_[member].push_back(std::move(value));
}

void Printer::finish() {
  if (!isJson_) return;
  if (expectsChanges_) document_["changes"] = changes_;
  document_["problems"] = jsonOf(problems_);
  printDocument();
}

void Printer::finishAnswer() const {
  if (isJson_) printDocument();
}

void Printer::printDocument() const {
  printOut(document_.dump(2, ' ', true, ordered_json::error_handler_t::replace) + "\n");
}

void Printer::finishLine() {
  if (!isJson_) return;
  if (!changes_.empty()) document_["changes"] = std::exchange(changes_, ordered_json::array());
  if (!problems_.empty()) document_["problems"] = jsonOf(std::exchange(problems_, {}));
  const ordered_json line = std::exchange(document_, ordered_json::object());
  printOut(line.dump(-1, ' ', true, ordered_json::error_handler_t::replace) + "\n");
}

}  // namespace Agent
