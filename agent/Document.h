#pragma once

// A JSON document that the program was given, whole and checked: what cannot be read ends in one
// error that names the file, the place and the remedy.

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

#include "agent/Problem.h"

namespace Agent {

/// Input that cannot be used at all. The message begins with the file's name and may be printed as
/// it is.
class UnreadableInput : public std::runtime_error {
 public:
  /// `file` is the name as the operator gave it; `what` says what is wrong and what would help.
  UnreadableInput(std::string_view file, const std::string& what);
};

/// A value; nothing changes it but assignment.
class Document {
 public:
  /// Objects and arrays within each other, at most.
  static constexpr std::size_t deepest = 64;
  /// Bytes in a file, at most.
  static constexpr std::size_t longest = std::size_t{256} << 20U;

  /// Reads the file at `path`, or standard input for "-". Throws UnreadableInput when the file
  /// cannot be read, is no JSON, is too long, or nests too deep.
  [[nodiscard]] static Document read(const std::string& path);

  /// The document that was made of another one.
  [[nodiscard]] static Document of(std::string name, nlohmann::json root);

  /// The document that `text` holds. Throws as read() does.
  Document(std::string name, std::string_view text);

  /// The file's name as the operator gave it, "standard input" for "-".
  [[nodiscard]] const std::string& name() const { return name_; }
  /// Where an object has a key twice, the last one stands.
  [[nodiscard]] const nlohmann::json& root() const { return root_; }
  /// One problem for each repeated key, in the order of the text.
  [[nodiscard]] const Problems& repeatedKeys() const { return repeatedKeys_; }

 private:
  Document() = default;

  std::string name_;
  nlohmann::json root_;
  Problems repeatedKeys_;
};

}  // namespace Agent
