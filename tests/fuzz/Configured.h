#pragma once

// What the targets of the host share: documents, sessions on them, and what must hold of each.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "agent/Document.h"
#include "agent/Problem.h"
#include "agent/Session.h"
#include "tests/fuzz/Choices.h"

namespace Fuzz {

/// A document's text: the bytes, if they begin as one does; all others are choices, out of which
/// the target composes a document.
[[nodiscard]] std::string textOf(const std::uint8_t* bytes, std::size_t size,
                                 std::string (*composed)(Choices));

/// Runs what may refuse its input. Returns the refusal's text, which is checked, or none.
std::optional<std::string> refusalOf(const std::function<void()>& action);
/// The same. Returns whether it did not refuse.
bool unlessRefused(const std::function<void()>& action);

/// Where L3 ids come from: assigned indexes, or internal VLANs out of a range of this many.
[[nodiscard]] Agent::L3IdSource assignedIndexes();
[[nodiscard]] Agent::L3IdSource internalVlans(unsigned count);

/// The problems as they would be printed hold nothing that a terminal obeys.
void checkProblems(const Agent::Problems& problems);
/// The session's state is consistent, and whatever is told of it can be printed.
void checkSession(Agent::Session& session);
/// Both sessions have the same switch, inputs and table.
void requireSame(const Agent::Session& one, const Agent::Session& other);

/// Reads the text as a configuration, in both manners of L3 ids, and checks all that comes of it.
void configure(const std::string& text);

/// A JSON value out of a target's own words: scalars, and objects and lists of such.
nlohmann::json valueOf(Choices& from, std::span<const char* const> words, unsigned depth);

}  // namespace Fuzz
