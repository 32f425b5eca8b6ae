#pragma once

// Paths to attributes, as an operator writes them:
//
//   table.intfL3Index[Ethernet4]
//   configSm.desiredRoutedPortName[3970].member[Ethernet4]
//
// A path begins at a root, an object with a name. A dot goes to an attribute of what the path led
// to so far, brackets to an entry of a collection. A key stands in the brackets as it is, unless it
// is empty or holds a quotation mark, a backslash or `]`: then it stands in quotation marks, and
// `\"` and `\\` stand for the two marks themselves.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

struct PathStep {
  std::string attribute;
  /// The text of the key; none where no entry is meant.
  std::optional<std::string> key;

  bool operator==(const PathStep&) const = default;
};

struct AttributePath {
  std::string root;
  std::vector<PathStep> steps;

  bool operator==(const AttributePath&) const = default;
};

/// Takes the path that stands at the front of `text`, and leaves what follows it there. Throws
/// CommandError when there is none, or a bracket or quotation mark is not closed.
[[nodiscard]] AttributePath takePath(std::string_view& text);
/// The path that the whole of `text` is. Throws CommandError.
[[nodiscard]] AttributePath pathOf(std::string_view text);

/// The path as it is written.
[[nodiscard]] std::string textOf(const AttributePath& path);
/// "[KEY]", with quotation marks where they are needed.
[[nodiscard]] std::string bracketed(std::string_view key);

/// Takes the text in quotation marks that stands at the front of `text`. Throws CommandError unless
/// it does, and is closed.
[[nodiscard]] std::string takeQuoted(std::string_view& text);
/// Takes the blanks at both ends away.
[[nodiscard]] std::string_view trimmed(std::string_view text);

}  // namespace Agent
