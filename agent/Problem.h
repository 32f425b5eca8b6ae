#pragma once

// A contradiction in the data that the program was given, and what the program did about it.
// Contradictions never end the program: each is told to the operator, and the rest of the data
// counts.

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

/// What is wrong. The names that nameOf() gives are part of the JSON output and stay as they are.
enum class ProblemKind {
  // what a document holds
  repeatedKey,
  wrongType,
  malformedKey,
  badName,
  badValue,
  // VLANs and their numbers
  badVlanNumber,
  vlanNumberMismatch,
  vlanNameWithoutNumber,
  missingVlan,
  // ports, channels and who belongs to whom
  missingPort,
  missingPortChannel,
  missingMember,
  missingMemberRow,
  memberOfTwoChannels,
  channelMemberInterface,
  channelMemberInVlan,
  // what an interface is used for
  routedVlanMember,
  untaggedTwice,
  internalRouted,
  wrongTable,
  sameEncapsulation,
  repeatedInterface,
  // L3 indexes
  badObjectId,
  unnamedIndex,
  unknownInterface,
  zeroIndex,
  sharedIndex,
  secondIndex,
  // internal VLANs
  rangeExhausted,
  unknownPin,
  usedReservation,
  // what is not told
  tooManyProblems,
};

/// The kind as the JSON output spells it, for example "untaggedTwice".
[[nodiscard]] std::string_view nameOf(ProblemKind kind);

struct Problem {
  /// Bytes of each text that a file has a part in, at most and before the "...": a short file can
  /// hold many problems under one long key.
  static constexpr std::size_t longestText = 400;

  ProblemKind kind;
  /// The file's name as the operator gave it.
  std::string file;
  /// The table and the row's key as the file spells them; the key may be empty.
  std::string table;
  std::string key;
  /// What was found and what was done, two clauses without a full stop.
  std::string found;
  std::string done;

  auto operator<=>(const Problem&) const = default;
};

/// In the order in which they were found, which depends on the documents alone.
using Problems = std::vector<Problem>;

/// Problems that are told of one state of the documents, at most; one that says so comes behind
/// them.
inline constexpr std::size_t mostProblems = 10'000;

/// Appends the problem, with texts that are too long cut and ending in "...". Behind `mostProblems`
/// of them it appends `tooManyProblems` once, and nothing more.
void addProblem(Problems& problems, Problem problem);
/// Appends each of them likewise.
void addProblems(Problems& problems, const Problems& more);

}  // namespace Agent
