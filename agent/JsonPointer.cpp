#include "agent/JsonPointer.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "agent/Text.h"

namespace Agent {
namespace {

using nlohmann::json;

/// `~1` stands for a slash, `~0` for the tilde itself.
std::string unescaped(std::string_view text) {
  std::string token;
  while (!text.empty()) {
    const std::size_t plain = std::min(text.find('~'), text.size());
    token += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) break;
    if (!text.starts_with("~0") && !text.starts_with("~1")) {
      throw PointerError("a ~ in a path is followed by 0 or 1");
    }
    token += text[1] == '0' ? '~' : '/';
    text.remove_prefix(2);
  }
  return token;
}

/// The place in an array of this size that the token names. Throws PointerError.
std::size_t indexOf(const std::string& token, std::size_t size) {
  const bool isPadded = token.size() > 1 && token.front() == '0';
  const auto index = isPadded ? std::nullopt : decimal(token);
  if (!index) throw PointerError("\"" + token + "\" is no place in a list");
  if (*index >= size) {
    throw PointerError("the list ends before place " + token);
  }
  return *index;
}

json& memberOf(json& node, const std::string& token) {
  if (node.is_array()) return node[indexOf(token, node.size())];
  const auto found = node.is_object() ? node.find(token) : node.end();
  if (!node.is_object() || found == node.end()) {
    throw PointerError("there is no \"" + token + "\"");
  }
  return *found;
}

}  // namespace

JsonPointer::JsonPointer(std::string_view text) {
  while (!text.empty()) {
    if (text.front() != '/') throw PointerError("a path begins with /");
    const std::size_t end = text.find('/', 1);
    tokens_.push_back(unescaped(text.substr(1, end - 1)));
    text = end == std::string_view::npos ? std::string_view() : text.substr(end);
  }
}

bool JsonPointer::isProperPrefixOf(const JsonPointer& other) const {
  return tokens_.size() < other.tokens_.size() &&
         std::equal(tokens_.begin(), tokens_.end(), other.tokens_.begin());
}

json& JsonPointer::in(json& root) const {
  return isRoot() ? root : memberOf(parentIn(root), tokens_.back());
}

void JsonPointer::add(json& root, json value) const {
  if (isRoot()) {
    root = std::move(value);
    return;
  }
  json& parent = parentIn(root);
  const std::string& token = tokens_.back();
  if (parent.is_object()) {
    parent[token] = std::move(value);
  } else if (parent.is_array()) {
    const std::size_t place = token == "-" ? parent.size() : indexOf(token, parent.size() + 1);
    parent.insert(parent.begin() + static_cast<json::difference_type>(place), std::move(value));
  } else {
    throw PointerError("there is no object or list to hold \"" + token + "\"");
  }
}

void JsonPointer::remove(json& root) const {
  json& parent = parentIn(root);
  memberOf(parent, tokens_.back());
  if (parent.is_array()) {
    parent.erase(indexOf(tokens_.back(), parent.size()));
  } else {
    parent.erase(tokens_.back());
  }
}

json& JsonPointer::parentIn(json& root) const {
  json* node = &root;
  for (std::size_t i = 0; i + 1 < tokens_.size(); ++i) {
    node = &memberOf(*node, tokens_[i]);
  }
  return *node;
}

}  // namespace Agent
