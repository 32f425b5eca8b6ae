#include "Kob/Exception.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <stdexcept>
#include <string_view>
#include <type_traits>

#include "tests/Kob/Fatal.h"

namespace KobTest {
namespace {

using Kob::Exception;
using Kob::Expect;
using Kob::NameInUseException;
using Kob::RangeException;

static_assert(std::is_nothrow_copy_constructible_v<Exception>);
static_assert(std::is_nothrow_copy_constructible_v<RangeException>);
static_assert(std::is_nothrow_copy_constructible_v<NameInUseException>);
static_assert(sizeof(RangeException) == sizeof(Exception), "it has no fields of its own");

Exception::IdBitArray idsOf(std::initializer_list<Exception::Id> members) {
  Exception::IdBitArray ids;
  for (const Exception::Id id : members) ids.add(id);
  return ids;
}

TEST(ExceptionIds, AreNoneAtFirst) {
  for (Exception::Id id = 0; id < 64; ++id) EXPECT_FALSE(Exception::IdBitArray().contains(id));
}

TEST(ExceptionIds, ContainWhatWasAddedAndNothingElse) {
  for (Exception::Id added = 0; added < 64; ++added) {
    const auto ids = idsOf({added});
    for (Exception::Id id = 0; id < 64; ++id) EXPECT_EQ(ids.contains(id), id == added) << id;
  }
}

TEST(ExceptionIds, AddingOneKeepsTheOthers) {
  const auto ids = idsOf({0, 31, 32, 63});
  EXPECT_TRUE(ids.contains(0) && ids.contains(31) && ids.contains(32) && ids.contains(63));
}

TEST(ExceptionIds, AnIdPast63IsNeverContainedAndFatalToAdd) {
  EXPECT_FALSE(idsOf({0}).contains(64));
  EXPECT_FATAL(idsOf({64}), "Kob/Exception.cpp",
               "void Kob::Exception::IdBitArray::add(Kob::Exception::Id)", "id < 64");
}

TEST(Exceptions, CarryMessageIdsAndWhetherTheyMayBeExpected) {
  const Exception exception("out of paper", idsOf({3}), false);
  EXPECT_EQ(exception.message(), "out of paper");
  EXPECT_EQ(std::string_view(exception.what()), "out of paper");
  EXPECT_TRUE(exception.ids().contains(3));
  EXPECT_FALSE(exception.expectable());
  EXPECT_TRUE(Exception("", {}, true).expectable());
}

TEST(Exceptions, ShareTheirMessageWithTheirCopies) {
  const Exception exception("out of paper", {}, true);
  const Exception copy(exception);  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_EQ(copy.what(), exception.what());
}

TEST(Exceptions, OfARangeCarryTheId12BesidesTheGivenOnes) {
  const RangeException exception("too long", idsOf({5}));
  EXPECT_EQ(exception.message(), "too long");
  EXPECT_TRUE(exception.ids().contains(12));
  EXPECT_TRUE(exception.ids().contains(5));
  EXPECT_FALSE(exception.ids().contains(13));
  EXPECT_TRUE(exception.expectable());
}

TEST(Exceptions, OfATakenNameCarryTheId13BesidesTheGivenOnes) {
  const NameInUseException exception("taken", idsOf({5}));
  EXPECT_TRUE(exception.ids().contains(13));
  EXPECT_TRUE(exception.ids().contains(5));
  EXPECT_FALSE(exception.ids().contains(12));
  EXPECT_TRUE(exception.expectable());
}

TEST(Exceptions, AreThrownWithExactlyTheGivenMessage) {
  try {
    Kob::throwRangeException("Paper::value > 4 not allowed");
  } catch (const RangeException& exception) {
    EXPECT_EQ(exception.message(), "Paper::value > 4 not allowed");
    EXPECT_TRUE(exception.ids().contains(Exception::rangeError));
  }
  try {
    Kob::throwNameInUseException("tray is taken");
  } catch (const NameInUseException& exception) {
    EXPECT_EQ(exception.message(), "tray is taken");
    EXPECT_TRUE(exception.ids().contains(Exception::nameInUse));
  }
}

TEST(Exceptions, AreCaughtAsTheFrameworksAndAsTheStandardLibrarys) {
  EXPECT_THROW(Kob::throwRangeException("range"), Exception);
  EXPECT_THROW(Kob::throwRangeException("range"), std::exception);
  EXPECT_THROW(Kob::throwNameInUseException("name"), Exception);
}

TEST(ExpectScope, IsTheInnermostWhileItIsOpen) {
  EXPECT_EQ(Expect::innermost(), nullptr);
  {
    const Expect outer(12);
    EXPECT_EQ(Expect::innermost(), &outer);
    EXPECT_EQ(outer.id(), 12U);
    EXPECT_EQ(outer.outer(), nullptr);
    {
      const Expect inner(0);
      EXPECT_EQ(Expect::innermost(), &inner);
      EXPECT_EQ(inner.outer(), &outer);
    }
    EXPECT_EQ(Expect::innermost(), &outer);
  }
  EXPECT_EQ(Expect::innermost(), nullptr);
}

TEST(ExpectScope, ClosesWhenAnExceptionPassesThrough) {
  try {
    const Expect scope(0);
    throw std::runtime_error("passes");
  } catch (const std::runtime_error&) {
    EXPECT_EQ(Expect::innermost(), nullptr);
  }
}

}  // namespace
}  // namespace KobTest
