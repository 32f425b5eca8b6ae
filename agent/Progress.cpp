#include "agent/Progress.h"

#include <algorithm>
#include <utility>

#include "agent/Output.h"

namespace Agent {
namespace {

/// How often what is shown changes, at most.
constexpr std::chrono::milliseconds pause{100};

}  // namespace

Progress::Progress(std::string what, std::size_t total, std::chrono::milliseconds showAfter)
    : what_(std::move(what)),
      total_(total),
      isWatched_(isErrorWatched()),
      showNext_(std::chrono::steady_clock::now() + showAfter) {}

Progress::~Progress() {
  if (isWatched_) printMeanwhile("");
}

void Progress::show() {
  const auto now = std::chrono::steady_clock::now();
  if (now < showNext_) return;
  showNext_ = now + pause;
  printMeanwhile(text());
}

std::string Progress::text() const {
  if (total_ == 0) return what_ + " ...";
  return what_ + ": " + std::to_string(100 * std::min(done_, total_) / total_) + " %";
}

}  // namespace Agent
