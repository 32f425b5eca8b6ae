#pragma once

// Changes of a configuration document, written as a JSON Patch (RFC 6902).

#include <nlohmann/json_fwd.hpp>

#include "agent/Document.h"

namespace Agent {

/// Values that the copy operations of one patch may make, at most, and the bytes of the keys and
/// the strings in them.
inline constexpr std::size_t mostCopiedValues = 1'000'000;
inline constexpr std::size_t mostCopiedBytes = std::size_t{64} << 20U;

/// Throws UnreadableInput when the document is no JSON Patch: no list, or with a key that stands
/// twice in one object.
void refuseUnlessPatch(const Document& patch);

/// The document with the patch's operations carried out, one after the other: all of them or none.
/// Throws UnreadableInput, which names the patch, the operation's number from 1 and its path, when
/// the patch is none or an operation cannot be carried out. A result that nests deeper than
/// documents may, copies of more than `mostCopiedValues` values or `mostCopiedBytes` and the
/// removal of the whole document are refused too.
[[nodiscard]] nlohmann::json patched(const nlohmann::json& root, const Document& patch);

}  // namespace Agent
