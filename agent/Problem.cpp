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
};

}  // namespace

std::string_view nameOf(ProblemKind kind) {
  for (const auto& [named, name] : names) {
    if (named == kind) return name;
  }
  return "";
}

}  // namespace Agent
