#include "agent/Shell.h"

#include <unistd.h>

#include <algorithm>
#include <exception>

#include "agent/CommandError.h"
#include "agent/Completion.h"
#include "agent/Document.h"
#include "agent/LineEditor.h"
#include "agent/LineReader.h"
#include "agent/Text.h"
#include "agent/Trial.h"

namespace Agent {
namespace {

constexpr const char* prompt = "fyrl3> ";

/// The next line, or none at the end.
using LineSource = std::function<std::optional<std::string>()>;

LineSource linesOf(const std::vector<std::string>& commands) {
  return [next = commands.begin(), end = commands.end()]() mutable -> std::optional<std::string> {
    if (next == end) return std::nullopt;
    return *next++;
  };
}

int obeyAll(Shell& shell, const LineSource& lines, bool keepsGoing) {
  int firstFailure = exitSuccess;
  while (!shell.isEnded()) {
    const auto line = lines();
    if (!line) break;
    const int exitCode = shell.obey(*line);
    if (firstFailure == exitSuccess) firstFailure = exitCode;
    if (exitCode != exitSuccess && !keepsGoing) break;
  }
  return firstFailure;
}

int obeyPerson(Shell& shell) {
  LineEditor editor(
      [&shell](std::string_view text) { return completionsOf(text, shell.context()); });
  (void)obeyAll(shell, [&editor] { return editor.next(prompt); }, true);
  return exitSuccess;
}

int obeyInput(Shell& shell, bool keepsGoing) {
  LineReader reader;
  return obeyAll(shell, [&reader] { return reader.next(); }, keepsGoing);
}

}  // namespace

Shell::Shell(Session& session, Printer& printer)
    : context_{session, printer, rootsOf(session.machine()), false} {
  session.watch({});
}

Shell::~Shell() {
  try {
    prepareToEnd();
  } catch (const std::exception&) {  // There can be no child to tell whether it would end well.
    context_.session.leaveEverything();
  }
}

int Shell::obey(std::string_view line) {
  line = trimmed(line);
  if (line.empty() || line.starts_with('#')) return exitSuccess;
  int exitCode = exitUnusable;
  try {
    exitCode = carryOut(line);
  } catch (const CommandError& error) {
    exitCode = error.exitCode();
    refuse(error.what());
  } catch (const UnreadableInput& error) {
    refuse(error.what());
  }
  context_.printer.finishLine();
  return exitCode;
}

int Shell::carryOut(std::string_view line) {
  const std::size_t end = std::min(line.find_first_of(" \t"), line.size());
  const std::string_view name = line.substr(0, end);
  const ShellCommand* const command = shellCommand(name);
  if (command == nullptr) {
    throw CommandError("there is no command \"" + printable(name) + "\"; help lists them");
  }
  const ShellAction action = command->prepare(context_, line.substr(end));
  if (command->isTriedFirst) tryFirst(*command, action);
  return action();
}

void Shell::tryFirst(const ShellCommand& command, const ShellAction& action) {
  const Trial trial = tryInChild([&action] { (void)action(); });
  if (trial.hasSucceeded()) return;
  passOnTraces(trial);
  if (trial.outcome == TrialOutcome::threw) throw CommandError(trial.report);
  throw CommandError(std::string(command.name) +
                         " would end the program, and was not carried out:\n" + trial.report,
                     exitInconsistent);
}

void Shell::refuse(const std::string& text) {
  if (context_.printer.isJson()) {
    context_.printer.answer("error", text);
  } else {
    context_.printer.refuse(text);
  }
}

void Shell::prepareToEnd() {
  const Trial trial = tryInChild([this] { context_.session.machine().doPrepareToDie(); });
  if (trial.hasSucceeded()) return;
  context_.session.leaveEverything();
  context_.printer.refuse("the state is left as it is, since the library cannot withdraw it:\n" +
                          trial.report);
}

int runShell(Session& session, Printer& printer, const ShellOptions& options) {
  Shell shell(session, printer);
  if (!options.commands.empty()) {
    return obeyAll(shell, linesOf(options.commands), options.keepsGoing);
  }
  return ::isatty(STDIN_FILENO) == 1 ? obeyPerson(shell) : obeyInput(shell, options.keepsGoing);
}

}  // namespace Agent
