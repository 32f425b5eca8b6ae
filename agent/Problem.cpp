#include "agent/Problem.h"

#include <array>
#include <utility>

namespace Agent {
namespace {

using Kind = ProblemKind;

constexpr std::array names{
    std::pair{Kind::repeatedKey, "repeatedKey"},
    std::pair{Kind::wrongType, "wrongType"},
    std::pair{Kind::malformedKey, "malformedKey"},
    std::pair{Kind::badName, "badName"},
    std::pair{Kind::badValue, "badValue"},
    std::pair{Kind::badVlanNumber, "badVlanNumber"},
    std::pair{Kind::vlanNumberMismatch, "vlanNumberMismatch"},
    std::pair{Kind::vlanNameWithoutNumber, "vlanNameWithoutNumber"},
    std::pair{Kind::missingVlan, "missingVlan"},
    std::pair{Kind::missingPort, "missingPort"},
    std::pair{Kind::missingPortChannel, "missingPortChannel"},
    std::pair{Kind::missingMember, "missingMember"},
    std::pair{Kind::missingMemberRow, "missingMemberRow"},
    std::pair{Kind::memberOfTwoChannels, "memberOfTwoChannels"},
    std::pair{Kind::channelMemberInterface, "channelMemberInterface"},
    std::pair{Kind::channelMemberInVlan, "channelMemberInVlan"},
    std::pair{Kind::routedVlanMember, "routedVlanMember"},
    std::pair{Kind::untaggedTwice, "untaggedTwice"},
    std::pair{Kind::internalRouted, "internalRouted"},
    std::pair{Kind::wrongTable, "wrongTable"},
    std::pair{Kind::sameEncapsulation, "sameEncapsulation"},
    std::pair{Kind::repeatedInterface, "repeatedInterface"},
    std::pair{Kind::badObjectId, "badObjectId"},
    std::pair{Kind::unnamedIndex, "unnamedIndex"},
    std::pair{Kind::unknownInterface, "unknownInterface"},
    std::pair{Kind::zeroIndex, "zeroIndex"},
    std::pair{Kind::sharedIndex, "sharedIndex"},
    std::pair{Kind::secondIndex, "secondIndex"},
    std::pair{Kind::rangeExhausted, "rangeExhausted"},
    std::pair{Kind::unknownPin, "unknownPin"},
    std::pair{Kind::usedReservation, "usedReservation"},
    std::pair{Kind::tooManyProblems, "tooManyProblems"},
};

/// Never within a character (UTF-8).
void cut(std::string& text) {
  if (text.size() <= Problem::longestText) return;
  std::size_t end = Problem::longestText;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  text.resize(end);
  text += "...";
}

}  // namespace

std::string_view nameOf(ProblemKind kind) {
  for (const auto& [named, name] : names) {
    if (named == kind) return name;
  }
  return "";
}

void addProblem(Problems& problems, Problem problem) {
  if (problems.size() > mostProblems) return;
  if (problems.size() == mostProblems) {
    problems.push_back({Kind::tooManyProblems, std::move(problem.file), std::move(problem.table),
                        "", "there are more than " + std::to_string(mostProblems) + " problems",
                        "the others are not told"});
    return;
  }
  for (std::string* text : {&problem.table, &problem.key, &problem.found}) {
    cut(*text);
  }
  problems.push_back(std::move(problem));
}

void addProblems(Problems& problems, const Problems& more) {
  for (const Problem& problem : more) {
    addProblem(problems, problem);
  }
}

}  // namespace Agent
