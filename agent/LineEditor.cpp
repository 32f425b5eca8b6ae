#include "agent/LineEditor.h"

#include <editline/readline.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

namespace Agent {
namespace {

using CString = std::unique_ptr<char, decltype(&std::free)>;

// The library calls back without saying for whom.
CompletionSource completionSource;
std::vector<std::string> candidates;

/// The next candidate, in memory that the library frees.
char* nextCandidate(const char* /*word*/, int state) {
  static std::size_t next = 0;
  if (state == 0) next = 0;
  return next < candidates.size() ? ::strdup(candidates[next++].c_str()) : nullptr;
}

char** complete(const char* word, int /*start*/, int end) {
  // Without candidates the library would offer files.
  ::rl_attempted_completion_over = 1;
  candidates = completionSource(std::string_view(::rl_line_buffer, static_cast<std::size_t>(end)));
  return candidates.empty() ? nullptr : ::rl_completion_matches(word, nextCandidate);
}

/// While it lives, the interrupt from the keyboard is a character as others are. The library takes
/// the terminal as it finds it, line by line.
class InterruptAsCharacter {
 public:
  InterruptAsCharacter() : isTerminal_(::tcgetattr(STDIN_FILENO, &former_) == 0) {
    termios changed = former_;
    changed.c_cc[VINTR] = _POSIX_VDISABLE;
    if (isTerminal_) (void)::tcsetattr(STDIN_FILENO, TCSADRAIN, &changed);
  }
  ~InterruptAsCharacter() {
    if (isTerminal_) (void)::tcsetattr(STDIN_FILENO, TCSADRAIN, &former_);
  }
  InterruptAsCharacter(const InterruptAsCharacter&) = delete;
  InterruptAsCharacter& operator=(const InterruptAsCharacter&) = delete;

 private:
  termios former_{};
  const bool isTerminal_;
};

/// A variable of the environment; "" where it is not set.
std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

void makeFolderOf(const std::string& file) {
  std::error_code ignored;
  std::filesystem::create_directories(std::filesystem::path(file).parent_path(), ignored);
}

}  // namespace

std::string historyFile() {
  std::string folder = environment("XDG_STATE_HOME");
  if (folder.empty()) {
    const std::string home = environment("HOME");
    if (home.empty()) return "";
    folder = home + "/.local/state";
  }
  return folder + "/fyrl3/history";
}

LineEditor::LineEditor(CompletionSource completions) : historyFile_(historyFile()) {
  completionSource = std::move(completions);
  ::rl_readline_name = "fyrl3";
  ::rl_initialize();
  ::rl_attempted_completion_function = complete;
  ::rl_completer_word_break_characters = const_cast<char*>(" ");
  // Candidates end in what has to follow them.
  ::rl_completion_append_character = '\0';
  ::rl_parse_and_bind("bind ^C em-kill-line");
  ::using_history();
  ::stifle_history(historyLength);
  if (!historyFile_.empty()) (void)::read_history(historyFile_.c_str());
}

LineEditor::~LineEditor() { completionSource = nullptr; }

std::optional<std::string> LineEditor::next(const std::string& prompt) {
  const InterruptAsCharacter guard;
  const CString line(::readline(prompt.c_str()), &std::free);
  if (!line) {
    std::fputs("\n", stdout);
    std::fflush(stdout);
    return std::nullopt;
  }
  std::string text = line.get();
  if (!text.empty()) remember(text);
  return text;
}

/// A history that cannot be written is none: nobody asked for it.
void LineEditor::remember(const std::string& line) {
  ::add_history(line.c_str());
  if (historyFile_.empty()) return;
  makeFolderOf(historyFile_);
  (void)::write_history(historyFile_.c_str());
}

}  // namespace Agent
