#pragma once

// A line from a person at a terminal, with editing, a history that outlives the program, and
// completion. An interrupt from the keyboard clears the line.

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

/// The candidates for the last word of what stands before the cursor.
using CompletionSource = std::function<std::vector<std::string>(std::string_view)>;

/// One at a time: the terminal is one.
class LineEditor {
 public:
  /// Lines that the history keeps.
  static constexpr int historyLength = 1000;

  explicit LineEditor(CompletionSource completions);
  ~LineEditor();
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  /// The next line, which the history then holds; none at the end of the input.
  [[nodiscard]] std::optional<std::string> next(const std::string& prompt);

 private:
  void remember(const std::string& line);

  /// Empty where there is no place for it.
  const std::string historyFile_;
};

/// Where the history is kept: fyrl3/history in $XDG_STATE_HOME, or in ~/.local/state; "" where
/// neither is known.
[[nodiscard]] std::string historyFile();

}  // namespace Agent
