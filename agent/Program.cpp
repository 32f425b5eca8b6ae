#include "agent/Program.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Kob/Trace.h"
#include "agent/Commands.h"
#include "agent/ConfigurationPatch.h"
#include "agent/Document.h"
#include "agent/ExitCode.h"
#include "agent/LineReader.h"
#include "agent/Printer.h"
#include "agent/Session.h"
#include "agent/Shell.h"

namespace Agent {
namespace {

constexpr const char* traceFacility = "FyrL3IntfSm";

L3IdSource sourceOf(const Options& options) {
  L3IdSource source{options.internalVlans, std::nullopt};
  if (!options.l3IndexFile.empty()) source.l3Indexes = Document::read(options.l3IndexFile);
  return source;
}

/// Patches in their order; an empty place stands for standard input, where they come line by line.
using Patches = std::vector<std::optional<Document>>;

/// All that are in files, so that one that cannot be read is refused before anything is done.
Patches patchesOf(const Options& options) {
  Patches patches;
  for (const std::string& file : options.patchFiles) {
    if (file == "-") {
      patches.emplace_back();
    } else {
      Document patch = Document::read(file);
      refuseUnlessPatch(patch);
      patches.emplace_back(std::move(patch));
    }
  }
  return patches;
}

class Run {
 public:
  Run(const Options& options, Document configuration, L3IdSource source, Patches patches)
      : options_(options),
        patches_(std::move(patches)),
        printer_(options.isJson),
        session_(std::move(configuration), std::move(source)) {
    session_.watch([this](const TableChange& change) { printer_.tellChange(change); });
    if (!patches_.empty()) printer_.expectChanges();
  }

  [[nodiscard]] int exitCode();

 private:
  void applyAll();
  void applyLines();
  void apply(const Document& patch);
  void settle(const std::string& origin);
  void answer();

  const Options& options_;
  const Patches patches_;
  Printer printer_;
  Session session_;
  bool isConsistent_ = true;
  bool isUsable_ = true;
  bool isAnswered_ = true;
  int shellExitCode_ = exitSuccess;
};

int Run::exitCode() {
  settle("loading");
  try {
    applyAll();
  } catch (const UnreadableInput& refusal) {
    isUsable_ = false;
    printer_.refuse(refusal.what());
  }
  answer();
  if (options_.command != Command::shell) printer_.finish();
  if (!isConsistent_) return exitInconsistent;
  if (!isUsable_) return exitUnusable;
  if (shellExitCode_ != exitSuccess) return shellExitCode_;
  if (options_.isStrict && printer_.hasToldProblems()) return exitContradictions;
  return isAnswered_ ? exitSuccess : exitNotFound;
}

/// A state that is not consistent is left as it is.
void Run::applyAll() {
  for (const auto& patch : patches_) {
    if (!isConsistent_) return;
    if (patch) {
      apply(*patch);
    } else {
      applyLines();
    }
  }
}

void Run::applyLines() {
  LineReader lines;
  while (isConsistent_) {
    const auto line = lines.next();
    if (!line) return;
    if (line->find_first_not_of(" \t\r") == std::string::npos) continue;
    apply(Document("standard input, line " + std::to_string(lines.number()), *line));
  }
}

void Run::apply(const Document& patch) {
  session_.apply(patch);
  settle(patch.name());
}

/// What follows each change of the configuration.
void Run::settle(const std::string& origin) {
  printer_.tellProblems(session_.problems());
  if (options_.command == Command::verify) isConsistent_ = verify(session_, origin, printer_);
}

void Run::answer() {
  switch (options_.command) {
    case Command::show:
      return show(session_, printer_);
    case Command::lookup:
      isAnswered_ = lookup(session_, options_.question, printer_);
      return;
    case Command::why:
      isAnswered_ = why(session_, options_.names, printer_);
      return;
    case Command::shell:
      shellExitCode_ = runShell(session_, printer_, options_.shell);
      return;
    case Command::verify:
    case Command::types:
      return;
  }
}

/// The command without a session.
int runTypes(const Options& options) {
  Printer printer(options.isJson);
  const bool isAnswered = options.libraryFile.empty() ? types(options.typeName, printer)
                                                      : libraryTypes(options.libraryFile, printer);
  printer.finishAnswer();
  return isAnswered ? exitSuccess : exitNotFound;
}

}  // namespace

int run(const Options& options) {
  if (options.command == Command::types) return runTypes(options);
  if (options.traceLevel) {
    Kob::TraceFacility::named(traceFacility).levelsUpToIs(*options.traceLevel);
  }
  Document configuration = Document::read(options.configFile);
  L3IdSource source = sourceOf(options);
  return Run(options, std::move(configuration), std::move(source), patchesOf(options)).exitCode();
}

}  // namespace Agent
