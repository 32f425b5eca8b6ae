#include "agent/Problem.h"

#include <gtest/gtest.h>

#include <set>

namespace Agent {
namespace {

TEST(ProblemKind, HasANameOfItsOwnEach) {
  std::set<std::string_view> names;
  const int kinds = static_cast<int>(ProblemKind::tooManyProblems) + 1;
  for (int kind = 0; kind < kinds; ++kind) {
    names.insert(nameOf(static_cast<ProblemKind>(kind)));
  }
  EXPECT_EQ(names.size(), static_cast<std::size_t>(kinds));
  EXPECT_FALSE(names.contains(""));
}

TEST(ProblemKind, OutOfTheListHasNoName) { EXPECT_EQ(nameOf(static_cast<ProblemKind>(1000)), ""); }

}  // namespace
}  // namespace Agent
