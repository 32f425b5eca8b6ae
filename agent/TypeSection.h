#pragma once

// The names of the types that a library provides, read from the section `.kob.type` of its file.
// Nothing of the file is run.

#include <string>
#include <vector>

namespace Agent {

/// The section in which a library lists its types: one name after the other, each with a NUL.
inline constexpr const char* typeSectionName = ".kob.type";

/// The names in the order of the file; none where it has no such section. They may hold any byte
/// but NUL. Throws UnreadableInput when the file cannot be read, or is no ELF file of this
/// machine's byte order whose headers and sections lie within it.
[[nodiscard]] std::vector<std::string> typesProvidedBy(const std::string& path);

}  // namespace Agent
