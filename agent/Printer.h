#pragma once

// What a run of the program says, in one of two manners: as text, at once, answers and changes on
// standard output and problems on standard error; or as JSON on standard output, one document at
// the end, or a line for each answer.

#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <string_view>

#include "agent/Problem.h"
#include "agent/TableWatcher.h"

namespace Agent {

class Printer {
 public:
  explicit Printer(bool isJson) : isJson_(isJson) {}

  [[nodiscard]] bool isJson() const { return isJson_; }

  // What all commands say. Throws WriteError when standard output takes no more.

  /// The problems that stand now: tells those that did not stand at the call before.
  void tellProblems(const Problems& problems);
  void tellChange(const TableChange& change);
  /// From now on the JSON document has a list of changes, be it empty.
  void expectChanges() { expectsChanges_ = true; }
  /// Whether any problem was told.
  [[nodiscard]] bool hasToldProblems() const { return hasToldProblems_; }

  // Answers, each given in both manners by whoever asks isJson().

  void answer(std::string_view text) const;
  /// Standard error: the answer is that there is none.
  void refuse(std::string_view text) const;
  /// Makes `value` a member of the document.
  void answer(const std::string& member, nlohmann::ordered_json value);
  /// Appends `value` to the list that a member of the document is.
  void append(const std::string& member, nlohmann::ordered_json value);

  /// Prints the JSON document: the answer, the changes where they are expected, the problems.
  void finish();
  /// Prints the JSON document of an answer that needs no session: nothing but the answer.
  void finishAnswer() const;
  /// Prints the JSON document on one line, with changes and problems where there are any, and
  /// begins another one.
  void finishLine();

 private:
  void printDocument() const;

  const bool isJson_;
  bool expectsChanges_ = false;
  nlohmann::ordered_json document_ = nlohmann::ordered_json::object();
  nlohmann::ordered_json changes_ = nlohmann::ordered_json::array();
  /// In the order in which they were told.
  Problems problems_;
  bool hasToldProblems_ = false;
  std::set<Problem> standing_;
};

/// Null, or the event as an object.
[[nodiscard]] nlohmann::ordered_json jsonOf(const InputEventPtr& event);

}  // namespace Agent
