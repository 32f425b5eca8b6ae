#pragma once

// How far long work has come, for a person who waits at a terminal: one line on standard error,
// which the end of the work takes away again. Nothing is shown where standard error is no terminal
// or one that cannot clear a line, and nothing of work that is soon done.

#include <chrono>
#include <cstddef>
#include <string>

namespace Agent {

class Progress {
 public:
  /// How long work goes on before anything of it is shown.
  static constexpr std::chrono::milliseconds patience{500};

  /// Begins the work `what`, for example "feeding the library": `total` steps, or 0 where nobody
  /// knows how many. Nothing is shown before `showAfter` has passed.
  explicit Progress(std::string what, std::size_t total = 0,
                    std::chrono::milliseconds showAfter = patience);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// One more step is done.
  void step() {
    ++done_;
    if (isWatched_) show();
  }

 private:
  void show();
  [[nodiscard]] std::string text() const;

  const std::string what_;
  const std::size_t total_;
  const bool isWatched_;
  std::size_t done_ = 0;
  std::chrono::steady_clock::time_point showNext_;
};

}  // namespace Agent
