// The check of a collection's whole state, shown to find what it is there to find.

#include "tests/Kob/Pairs.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <utility>

namespace KobTest {
namespace {

using Kob::HashMapLink;
using Kob::Ptr;

template <class Hash>
class WholeState : public testing::Test {
 protected:
  void SetUp() override { insertAll(pairs_, {0, 1, 2, 3}); }
  void TearDown() override { expectHolds(pairs_, {0, 1, 2, 3}); }

  /// Whether the check that the collection holds these numbers fails.
  [[nodiscard]] bool isFoundWrong(const Numbers& numbers = {0, 1, 2, 3},
                                  const Pair<Hash>* standing = nullptr) const {
    testing::TestPartResultArray results;
    const testing::ScopedFakeTestPartResultReporter reporter(
        testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
    expectHolds(pairs_, numbers, standing);
    return results.size() > 0;
  }

  /// All in one bucket.
  Pairs<Hash> pairs_{1};
};
TYPED_TEST_SUITE(WholeState, AllHashes, HashNames);

TYPED_TEST(WholeState, IsFoundRight) { EXPECT_FALSE(this->isFoundWrong()); }

TYPED_TEST(WholeState, IsWrongWithAnEntryTooManyOrTooFew) {
  EXPECT_TRUE(this->isFoundWrong({0, 1, 2}));
  EXPECT_TRUE(this->isFoundWrong({0, 1, 2, 3, 4}));
  EXPECT_TRUE(this->isFoundWrong({0, 1, 2, 4}));
}

TYPED_TEST(WholeState, IsWrongWithAnotherValue) {
  this->pairs_.find({2})->valueIs(7);
  EXPECT_TRUE(this->isFoundWrong());
  this->pairs_.find({2})->valueIs(valueOf(2));
}

TYPED_TEST(WholeState, IsWrongWithAReferenceTooManyOrTooFew) {
  {
    const Ptr<Pair<TypeParam>> held = this->pairs_[{2}];
    EXPECT_TRUE(this->isFoundWrong());
    EXPECT_FALSE(this->isFoundWrong({0, 1, 2, 3}, held.get()));
  }
  EXPECT_TRUE(this->isFoundWrong({0, 1, 2, 3}, this->pairs_.find({2})));
}

TYPED_TEST(WholeState, IsWrongWithAChainThatIsCut) {
  const Numbers order = walked(this->pairs_);
  this->pairs_.setSize0(1);
  for (const int number : {order[0], order[1], order[2]}) {
    auto& link = HashMapLink::of(*this->pairs_.find({number}));
    auto rest = std::move(link);
    EXPECT_TRUE(this->isFoundWrong());
    link = std::move(rest);
  }
}

TYPED_TEST(WholeState, IsWrongWithEntriesInAnotherOrder) {
  const Numbers order = walked(this->pairs_);
  this->pairs_.setSize0(1);
  auto& first = HashMapLink::of(*this->pairs_.find({order[0]}));
  auto& second = HashMapLink::of(*this->pairs_.find({order[1]}));
  auto& third = HashMapLink::of(*this->pairs_.find({order[2]}));
  const auto exchangeSecondAndThird = [&] {
    std::swap(first, second);
    std::swap(second, third);
  };
  exchangeSecondAndThird();
  EXPECT_EQ(walked(this->pairs_), (Numbers{order[0], order[2], order[1], order[3]}));
  EXPECT_TRUE(this->isFoundWrong());
  std::swap(second, third);
  std::swap(first, second);
}

}  // namespace
}  // namespace KobTest
