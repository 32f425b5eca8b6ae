#pragma once

// Standard input, line by line, as the lines come.

#include <optional>
#include <string>

namespace Agent {

/// One at a time: what it has read ahead is its own.
class LineReader {
 public:
  /// The next line without its end; none at the end of the input. Throws UnreadableInput when the
  /// input cannot be read or the line is longer than a document may be.
  [[nodiscard]] std::optional<std::string> next();
  /// The number of the line that next() gave, from 1.
  [[nodiscard]] unsigned number() const { return number_; }

 private:
  /// False at the end of the input.
  [[nodiscard]] bool readMore();

  std::string ahead_;
  unsigned number_ = 0;
};

}  // namespace Agent
