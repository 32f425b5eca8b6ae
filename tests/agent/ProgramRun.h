#pragma once

// One run of the built program fyrl3, as a person at a shell would see it.

#include <string>
#include <vector>

namespace Agent {

struct ProgramRun {
  int exitCode;
  std::string out;
  std::string err;
};

/// Runs the program to its end. A run that a signal ends has the exit code 128 + signal.
ProgramRun runProgram(const std::vector<std::string>& arguments, const std::string& input = "");

/// As runProgram(), with standard input coming from the file at `path`.
ProgramRun runProgramReading(const std::string& path, const std::vector<std::string>& arguments);

/// As runProgram(), with standard output going to the file at `path`; `out` stays empty.
ProgramRun runProgramInto(const std::string& path, const std::vector<std::string>& arguments);

/// As runProgram(), with one of the standard descriptors, 0 to 2, closed.
ProgramRun runProgramWithout(int descriptor, const std::vector<std::string>& arguments);

/// As runProgram(), with standard output and standard error on one terminal of the type `TERM`;
/// `out` holds both. `noColor` becomes NO_COLOR.
ProgramRun runProgramOnTerminal(const std::vector<std::string>& arguments, const char* terminal,
                                const char* noColor);

/// As runProgram(), with standard error in `out` as well, in the order of the writing.
ProgramRun runProgramAsSeen(const std::vector<std::string>& arguments, const std::string& input);

/// As runProgramOnTerminal(), with standard input on the terminal too: a person who waits for the
/// prompt, and then types the next keys.
ProgramRun typeAtProgram(const std::vector<std::string>& arguments, const std::string& prompt,
                         const std::vector<std::string>& keys);

/// Starts the program, waits until it has opened the file `fifo`, and interrupts it.
ProgramRun runProgramInterrupted(const std::string& fifo,
                                 const std::vector<std::string>& arguments);

}  // namespace Agent
