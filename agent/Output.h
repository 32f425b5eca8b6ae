#pragma once

// Standard output and standard error: whole texts, written at once.
//
// A program may be started with some of its standard descriptors closed. The next file that it
// opens would then pass for standard input or output.

#include <stdexcept>
#include <string_view>

namespace Agent {

/// Output that could not be written; the message may be printed as it is.
class WriteError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Takes the place of standard descriptors that are closed: reading from them, or writing to them,
/// fails as it did. To be called before anything is opened.
void occupyClosedDescriptors() noexcept;

/// Writes all of it to standard output, unbuffered. Throws WriteError.
void printOut(std::string_view text);
/// Writes to standard error as much as it takes: there is nobody to tell when it fails.
void printError(std::string_view text) noexcept;

/// Shows a line on standard error, cut to fit, until the next output or the next such line takes
/// its place; an empty one takes it away. REQUIRES: isErrorWatched().
void printMeanwhile(std::string_view text) noexcept;
/// Whether standard error is a terminal on which a line can be taken away.
[[nodiscard]] bool isErrorWatched();

/// Whether to use colours: on a terminal that knows them, and not when the environment variable
/// NO_COLOR is set to anything.
[[nodiscard]] bool isOutputColoured();
[[nodiscard]] bool isErrorColoured();

}  // namespace Agent
