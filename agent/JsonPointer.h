#pragma once

// Paths into a JSON document as JSON Pointers (RFC 6901) write them, and what stands at their ends.

#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

class JsonPointer {
 public:
  /// Throws PointerError when the text is no JSON Pointer.
  explicit JsonPointer(std::string_view text);

  /// Whether it points to the whole document.
  [[nodiscard]] bool isRoot() const { return tokens_.empty(); }
  /// How many objects and arrays its end is inside of.
  [[nodiscard]] std::size_t depth() const { return tokens_.size(); }
  /// Whether `other` points into what this points to.
  [[nodiscard]] bool isProperPrefixOf(const JsonPointer& other) const;

  /// The value at the end. Throws PointerError when there is none.
  [[nodiscard]] nlohmann::json& in(nlohmann::json& root) const;
  /// Sets the value at the end in an object, inserts it in an array ("-" behind the last element),
  /// or replaces the whole document. Throws PointerError when there is nothing that could hold it.
  void add(nlohmann::json& root, nlohmann::json value) const;
  /// REQUIRES: !isRoot(). Takes the value at the end out. Throws PointerError when there is none.
  void remove(nlohmann::json& root) const;

 private:
  [[nodiscard]] nlohmann::json& parentIn(nlohmann::json& root) const;

  std::vector<std::string> tokens_;
};

/// A pointer that is none, or that leads nowhere; what() says how.
class PointerError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace Agent
