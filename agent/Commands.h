#pragma once

// What an operator can ask of a session, each question a function over the live session.

#include <string>
#include <vector>

#include "agent/Printer.h"
#include "agent/Session.h"

namespace Agent {

/// Prints the L3 interface table in both directions.
void show(const Session& session, Printer& printer);

/// Prints the L3 id of an interface, or the interface of an L3 id; an interface's name comes before
/// a number. Returns whether there was an answer.
[[nodiscard]] bool lookup(const Session& session, const std::string& question, Printer& printer);

/// Prints the stories of the interfaces. Returns whether every name was known.
[[nodiscard]] bool why(const Session& session, const std::vector<std::string>& names,
                       Printer& printer);

/// Runs the library's self-check. Returns whether it found the state consistent. `after` says what
/// the state comes of.
[[nodiscard]] bool verify(Session& session, const std::string& after, Printer& printer);

/// Prints the names of all types that the libraries describe, or what the type of this name says of
/// itself. Returns whether there is such a type.
[[nodiscard]] bool types(const std::string& name, Printer& printer);

/// Prints the names of the types that the library in the file provides, without running it. Returns
/// whether there is any. Throws UnreadableInput.
[[nodiscard]] bool libraryTypes(const std::string& file, Printer& printer);

}  // namespace Agent
