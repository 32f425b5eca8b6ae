#include "agent/AttributePath.h"

#include <algorithm>

#include "agent/CommandError.h"
#include "agent/Text.h"

namespace Agent {
namespace {

constexpr std::string_view blanks = " \t\r";

bool isNameCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

std::string takeName(std::string_view& text, const char* what) {
  const auto end = std::find_if_not(text.begin(), text.end(), isNameCharacter);
  const std::string name(text.begin(), end);
  if (name.empty()) {
    throw CommandError(std::string("the name of ") + what + " is missing before \"" +
                       printable(text) + "\"");
  }
  text.remove_prefix(name.size());
  return name;
}

/// Takes "[KEY]".
std::string takeKey(std::string_view& text) {
  text.remove_prefix(1);
  std::string key;
  if (text.starts_with('"')) {
    key = takeQuoted(text);
  } else {
    key = text.substr(0, text.find(']'));
    text.remove_prefix(key.size());
    if (key.empty() && !text.empty()) {
      throw CommandError("the key is missing in []; the empty one is [\"\"]");
    }
  }
  if (!text.starts_with(']')) throw CommandError("the bracket after a key is not closed");
  text.remove_prefix(1);
  return key;
}

}  // namespace

AttributePath takePath(std::string_view& text) {
  AttributePath path{takeName(text, "a root"), {}};
  while (text.starts_with('.')) {
    text.remove_prefix(1);
    PathStep step{takeName(text, "an attribute"), {}};
    if (text.starts_with('[')) step.key = takeKey(text);
    path.steps.push_back(std::move(step));
  }
  return path;
}

AttributePath pathOf(std::string_view text) {
  text = trimmed(text);
  const AttributePath path = takePath(text);
  if (!text.empty()) {
    throw CommandError("\"" + printable(text) + "\" is too much after " + printable(textOf(path)));
  }
  return path;
}

std::string textOf(const AttributePath& path) {
  std::string text = path.root;
  for (const PathStep& step : path.steps) {
    text += "." + step.attribute;
    if (step.key) text += bracketed(*step.key);
  }
  return text;
}

std::string bracketed(std::string_view key) {
  if (!key.empty() && key.find_first_of("\"\\]") == std::string_view::npos) {
    return "[" + std::string(key) + "]";
  }
  std::string text = "[\"";
  for (const char c : key) {
    if (c == '"' || c == '\\') text += '\\';
    text += c;
  }
  return text + "\"]";
}

std::string takeQuoted(std::string_view& text) {
  std::string content;
  std::size_t at = 1;
  for (; at < text.size() && text[at] != '"'; ++at) {
    if (text[at] == '\\') ++at;
    if (at < text.size()) content += text[at];
  }
  if (!text.starts_with('"') || at >= text.size()) {
    throw CommandError("a quotation mark is not closed");
  }
  text.remove_prefix(at + 1);
  return content;
}

std::string_view trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  return text.substr(0, text.find_last_not_of(blanks) + 1);
}

}  // namespace Agent
