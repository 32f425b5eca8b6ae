#include "Kob/PtrInterface.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "Kob/String8.h"
#include "tests/Kob/Fatal.h"
#include "tests/Kob/Mortal.h"

namespace KobTest {

/// A type with a name of its own, for the report of a null dereference.
class Derived : public Mortal {};

namespace {

using Kob::Ptr;
using Kob::PtrInterface;

static_assert(!std::is_copy_constructible_v<Mortal> && !std::is_copy_assignable_v<Mortal>);
static_assert(std::is_convertible_v<Ptr<Derived>, Ptr<Mortal>>);
static_assert(std::is_convertible_v<Ptr<Mortal>, Ptr<const Mortal>>);
static_assert(!std::is_convertible_v<Ptr<Mortal>, Ptr<Derived>>);
static_assert(!std::is_convertible_v<Ptr<const Mortal>, Ptr<Mortal>>);
static_assert(!std::is_convertible_v<Ptr<Mortal>, bool>, "only explicitly");
static_assert(sizeof(Ptr<Mortal>) == sizeof(void*));

/// An object begins with its virtual-table pointer, and the reference word follows.
constexpr std::size_t wordOffset = sizeof(void*);

std::uint32_t wordOf(const PtrInterface& object) {
  std::uint32_t word = 0;
  std::memcpy(&word, reinterpret_cast<const char*>(&object) + wordOffset, sizeof word);
  return word;
}

/// Stands for the half a billion references that a test can not take.
void wordIs(PtrInterface& object, std::uint32_t word) {
  std::memcpy(reinterpret_cast<char*>(&object) + wordOffset, &word, sizeof word);
}

void takeAndDrop(Mortal& object) { const Ptr<Mortal> dropped(&object); }

/// Every test ends with no object left.
class PtrInterfaceTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(Mortal::alive, 0); }
};
using PtrTest = PtrInterfaceTest;
using LastReference = PtrInterfaceTest;

TEST_F(PtrInterfaceTest, AnObjectStartsWithNoReferenceAndGoesWithItsLast) {
  auto* const object = new Mortal;
  EXPECT_EQ(object->references(), 0U);
  object->referencesInc();
  object->referencesInc();
  EXPECT_EQ(object->references(), 2U);
  object->referencesDec();
  EXPECT_EQ(Mortal::alive, 1);
  object->referencesDec();
  EXPECT_EQ(Mortal::alive, 0);
}

TEST_F(PtrInterfaceTest, TheReferenceWordFollowsTheVirtualTablePointer) {
  const Ptr<Mortal> object(new Mortal);
  const Ptr<Mortal> other(object);
  EXPECT_EQ(wordOf(*object), 2U);
  object->kobHeldIs(true);
  EXPECT_EQ(wordOf(*object), 0x40000002U);
  object->kobHeldIs(false);
  object->kobMarkedForDeletionIs(true);
  EXPECT_EQ(wordOf(*object), 0x80000002U);
  object->hasNotificationActiveIs(true);
  EXPECT_EQ(wordOf(*object), 0xA0000002U);
}

TEST_F(PtrInterfaceTest, AnObjectWithBit30SetIsNotReleasedWhenItsCountReachesZero) {
  auto* const object = new Mortal;
  object->kobHeldIs(true);
  EXPECT_TRUE(object->kobHeld());
  takeAndDrop(*object);
  ASSERT_EQ(Mortal::alive, 1);
  EXPECT_EQ(object->timesUnreferenced, 0);
  object->kobHeldIs(false);
  EXPECT_EQ(Mortal::alive, 1) << "clearing the bit releases nothing by itself";
  takeAndDrop(*object);
  EXPECT_EQ(Mortal::alive, 0);
}

TEST_F(PtrInterfaceTest, AnObjectWithOnlyBit29Or31SetIsReleasedWhenItsCountReachesZero) {
  Ptr<Mortal> active(new Mortal);
  active->hasNotificationActiveIs(true);
  active = nullptr;
  EXPECT_EQ(Mortal::alive, 0);
  Ptr<Mortal> zombie(new Mortal);
  zombie->kobMarkedForDeletionIs(true);
  zombie = nullptr;
  EXPECT_EQ(Mortal::alive, 0);
  Ptr<Mortal> both(new Mortal);
  both->hasNotificationActiveIs(true);
  both->kobMarkedForDeletionIs(true);
  both = nullptr;
  EXPECT_EQ(Mortal::alive, 0);
}

TEST_F(PtrInterfaceTest, ACountAtTheLimitIsFatalBeforeItFlowsIntoTheFlags) {
  const Ptr<Mortal> object(new Mortal);
  EXPECT_FATAL(
      {
        wordIs(*object, 0x1FFFFFFFU);
        object->referencesInc();
      },
      "Kob/ReferenceWord.h", "void Kob::ReferenceWord::inc()", "references() < 0x1FFFFFFF");
  EXPECT_FATAL(
      {
        wordIs(*object, 0x1FFFFFFFU);
        object->referencesLeak();
      },
      "Kob/ReferenceWord.h", "void Kob::ReferenceWord::inc()", "references() < 0x1FFFFFFF");
}

TEST_F(PtrInterfaceTest, GivingBackAReferenceThatNobodyHoldsIsFatal) {
  const std::unique_ptr<Mortal> object(new Mortal);
  EXPECT_FATAL(object->referencesDec(), "Kob/ReferenceWord.h", "bool Kob::ReferenceWord::dec()",
               "references() > 0");
}

TEST_F(PtrInterfaceTest, TheOperationsOfEveryObjectAnswerNothingByDefault) {
  const Ptr<Mortal> object(new Mortal);
  EXPECT_FALSE(object->hasNotificationActive());
  EXPECT_TRUE(object->hasNotificationActiveIs(true));
  EXPECT_TRUE(object->hasNotificationActive());
  EXPECT_FALSE(object->hasNotificationActiveIs(false));
  EXPECT_FALSE(object->hasNotificationActive());
  EXPECT_FALSE(object->kobMarkedForDeletion());
  EXPECT_EQ(object->kobAuditErrors(3), 0U);
  EXPECT_EQ(object->auditErrors(3), 0U);
  EXPECT_EQ(object->fwkType(), nullptr);
}

/// An object that wants more alignment than the framework's own memory has.
struct alignas(64) Aligned final : PtrInterface {};

TEST_F(PtrInterfaceTest, AnObjectIsAlignedAsItsTypeWants) {
  std::vector<Ptr<Aligned>> objects;
  for (int count = 0; count < 10; ++count) {
    objects.emplace_back(new Aligned);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(objects.back().get()) % alignof(Aligned), 0U);
  }
}

TEST_F(LastReference, IsToldBeforeTheObjectIsDestroyed) {
  bool destroyed = false;
  bool toldFirst = false;
  Ptr<Mortal> object(new Mortal);
  object->whenUnreferenced = [&](Mortal&) { toldFirst = !destroyed; };
  object->whenDestroyed = [&](Mortal& self) {
    destroyed = true;
    EXPECT_EQ(self.timesUnreferenced, 1);
  };
  object = nullptr;
  EXPECT_TRUE(toldFirst);
  EXPECT_TRUE(destroyed);
}

TEST_F(LastReference, TakenAndDroppedWhileItIsToldReleasesOnce) {
  Ptr<Mortal> object(new Mortal);
  int destroyed = 0;
  object->whenDestroyed = [&](Mortal&) { ++destroyed; };
  object->whenUnreferenced = [](Mortal& self) {
    for (int turn = 0; turn < 3; ++turn) takeAndDrop(self);
    EXPECT_EQ(self.timesUnreferenced, 1);
  };
  object = nullptr;
  EXPECT_EQ(destroyed, 1);
}

TEST_F(LastReference, KeptWhileItIsToldKeepsTheObjectAlive) {
  Ptr<Mortal> keeper;
  Ptr<Mortal> object(new Mortal);
  object->whenUnreferenced = [&](Mortal& self) {
    if (self.timesUnreferenced == 1) keeper = Ptr<Mortal>(&self);
  };
  object = nullptr;
  ASSERT_EQ(Mortal::alive, 1);
  EXPECT_EQ(keeper->references(), 1U);
  keeper = nullptr;
  EXPECT_EQ(Mortal::alive, 0) << "told a second time, and released";
}

TEST_F(LastReference, HoldingTheObjectByBit30WhileItIsToldKeepsItAlive) {
  auto* const object = new Mortal;
  object->whenUnreferenced = [](Mortal& self) { self.kobHeldIs(self.timesUnreferenced == 1); };
  takeAndDrop(*object);
  ASSERT_EQ(Mortal::alive, 1);
  EXPECT_EQ(object->references(), 0U);
  object->kobHeldIs(false);
  takeAndDrop(*object);
  EXPECT_EQ(Mortal::alive, 0);
}

TEST_F(LastReference, TakenAndDroppedInsideTheDestructorReleasesOnce) {
  Ptr<Mortal> object(new Mortal);
  int destroyed = 0;
  int told = 0;
  object->whenUnreferenced = [&](Mortal&) { ++told; };
  object->whenDestroyed = [&](Mortal& self) {
    ++destroyed;
    for (int turn = 0; turn < 3; ++turn) takeAndDrop(self);
  };
  object = nullptr;
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(told, 1);
}

/// Objects that do not hear of their last reference, whose exact type the compiler knows.
struct Deaf final : PtrInterface {
  explicit Deaf(int& deaths) : destroyed(deaths) {}
  ~Deaf() override {
    ++destroyed;
    for (int turn = 0; turn < 3; ++turn) Ptr<Deaf>(this);
  }
  int& destroyed;
};

TEST_F(LastReference, OfAFinalTypeTakenAndDroppedInsideTheDestructorReleasesOnce) {
  int destroyed = 0;
  Ptr<const Deaf> object(new Deaf(destroyed));
  Ptr<const Deaf> other = object;
  object = nullptr;
  EXPECT_EQ(destroyed, 0);
  other = nullptr;
  EXPECT_EQ(destroyed, 1);
}

TEST_F(LastReference, OfAFinalTypeDoesNotReleaseWhatBit30Holds) {
  int destroyed = 0;
  auto* const object = new Deaf(destroyed);
  object->kobHeldIs(true);
  Ptr<Deaf>{object} = nullptr;
  EXPECT_EQ(destroyed, 0);
  object->kobHeldIs(false);
  Ptr<Deaf>{object} = nullptr;
  EXPECT_EQ(destroyed, 1);
}

TEST_F(LastReference, OfAFinalTypeThatHearsOfItIsTold) {
  struct Hearing final : PtrInterface {
    explicit Hearing(bool& isTold) : told(isTold) {}
    void zeroReferencesIs(bool zero) override { told = zero; }
    bool& told;
  };
  bool told = false;
  Ptr<Hearing>(new Hearing(told)) = nullptr;
  EXPECT_TRUE(told);
}

TEST_F(PtrTest, OwnsOneReferenceEach) {
  Ptr<Mortal> first(new Mortal);
  EXPECT_EQ(first->references(), 1U);
  {
    const Ptr<Mortal> copy(first);
    const Ptr<const Mortal> constant(first);
    EXPECT_EQ(first->references(), 3U);
  }
  EXPECT_EQ(first->references(), 1U);
  Ptr<Mortal> assigned;
  assigned = first;
  EXPECT_EQ(first->references(), 2U);
}

TEST_F(PtrTest, MovingMovesTheReference) {
  Ptr<Derived> first(new Derived);
  Ptr<Derived> second(std::move(first));
  EXPECT_EQ(first, nullptr);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(second->references(), 1U);
  const Ptr<Mortal> base(std::move(second));
  EXPECT_EQ(second, nullptr);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(base->references(), 1U);
}

TEST_F(PtrTest, AssigningItselfChangesNothing) {
  Ptr<Mortal> object(new Mortal);
  const Ptr<Mortal>& alias = object;
  object = alias;
  EXPECT_EQ(object->references(), 1U);
}

TEST_F(PtrTest, ReplacingReleasesTheFormerObject) {
  Ptr<Mortal> object(new Mortal);
  object = Ptr<Mortal>(new Mortal);
  EXPECT_EQ(Mortal::alive, 1);
}

TEST_F(PtrTest, DetachingHandsTheReferenceOver) {
  Ptr<Mortal> object(new Mortal);
  Mortal* const detached = object.detach();
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(detached->references(), 1U);
  detached->referencesDec();
}

TEST_F(PtrTest, ComparesByTheObject) {
  const Ptr<Derived> object(new Derived);
  const Ptr<Mortal> base(object);
  const Ptr<Mortal> other(new Mortal);
  EXPECT_TRUE(object == base && base == object.get() && base != other);
  EXPECT_TRUE(object != nullptr && Ptr<Mortal>() == nullptr && Ptr<Mortal>(nullptr) == nullptr);
  EXPECT_TRUE(static_cast<bool>(object));
  EXPECT_FALSE(static_cast<bool>(Ptr<Mortal>()));
  EXPECT_EQ(&*base, base.get());
}

TEST_F(PtrTest, CastsDownToWhatTheObjectIsAndElseToNull) {
  const Ptr<Mortal> derived(new Derived);
  EXPECT_EQ(Kob::dynamicCast<Derived>(derived), derived);
  EXPECT_EQ(derived->references(), 1U);
  EXPECT_EQ(Kob::dynamicCast<Derived>(Ptr<Mortal>(new Mortal)), nullptr);
  EXPECT_EQ(Kob::dynamicCast<Derived>(Ptr<Mortal>()), nullptr);
}

TEST_F(PtrTest, IsNullBeforeItsObjectIsReleased) {
  Ptr<Mortal> holder(new Mortal);
  bool nullWhenTold = false;
  bool nullWhenDestroyed = false;
  holder->whenUnreferenced = [&](Mortal&) { nullWhenTold = holder == nullptr; };
  holder->whenDestroyed = [&](Mortal&) { nullWhenDestroyed = holder == nullptr; };
  holder = nullptr;
  EXPECT_TRUE(nullWhenTold);
  EXPECT_TRUE(nullWhenDestroyed);
}

TEST_F(PtrTest, IsNullBeforeItsObjectIsReleasedByItsDestructorToo) {
  auto holder = std::make_unique<Ptr<Mortal>>(new Mortal);
  const Ptr<Mortal>& seen = *holder;
  bool nullWhenDestroyed = false;
  seen->whenDestroyed = [&](Mortal&) { nullWhenDestroyed = seen == nullptr; };
  holder.reset();
  EXPECT_TRUE(nullWhenDestroyed);
}

TEST_F(PtrTest, HoldsTheNewObjectBeforeTheFormerIsReleased) {
  Ptr<Mortal> holder(new Mortal);
  const Ptr<Mortal> next(new Mortal);
  bool replaced = false;
  holder->whenDestroyed = [&](Mortal&) { replaced = holder == next; };
  holder = next;
  EXPECT_TRUE(replaced);
}

TEST_F(PtrTest, DereferencingNullIsFatalAndNamesTheType) {
  EXPECT_FATAL(static_cast<void>(Ptr<Derived>()->references()), "Kob/PtrInterface.h",
               "Kob::Ptr<KobTest::Derived>::operator->() const", "ptr != 0");
  EXPECT_FATAL(static_cast<void>(*Ptr<Mortal>()), "Kob/PtrInterface.h",
               "Kob::Ptr<KobTest::Mortal>::operator->() const", "ptr != 0");
}

TEST_F(PtrInterfaceTest, KeepingAnObjectHoldsItUntilTheEndOfTheScope) {
  Ptr<Mortal> object(new Mortal);
  {
    const Kob::Keep<Mortal> keep(object.get());
    EXPECT_EQ(keep, object.get());
    EXPECT_EQ(keep->references(), 2U);
    object = nullptr;
    EXPECT_EQ(Mortal::alive, 1);
  }
  EXPECT_EQ(Mortal::alive, 0);
}

TEST_F(PtrInterfaceTest, KeepingAnObjectThatNobodyHoldsLeavesItToItsMaker) {
  const std::unique_ptr<Mortal> object(new Mortal);
  EXPECT_EQ(Kob::Keep<Mortal>(object.get())->references(), 0U);
  EXPECT_EQ(Mortal::alive, 1);
}

TEST_F(PtrInterfaceTest, KeepingAnObjectThatIsGoingDoesNotReleaseItAgain) {
  Ptr<Mortal> object(new Mortal);
  int destroyed = 0;
  object->whenDestroyed = [&](Mortal& self) {
    ++destroyed;
    EXPECT_EQ(Kob::Keep<Mortal>(&self)->references(), 0U);
  };
  object = nullptr;
  EXPECT_EQ(destroyed, 1);
}

TEST_F(PtrInterfaceTest, KeepingNothingIsFatalToUse) {
  const Kob::Keep<Mortal> nothing(nullptr);
  EXPECT_EQ(nothing, nullptr);
  EXPECT_FATAL(static_cast<void>(nothing->references()), "Kob/PtrInterface.h",
               "Kob::Ptr<KobTest::Mortal>::operator->() const", "ptr != 0");
}

/// Runs with the tracker on, and leaves it as it was found.
class PtrTracker : public PtrInterfaceTest {
 protected:
  void SetUp() override {
    before_ = Kob::PtrTrack::ptrifs();
    Kob::ptrifTrackOn_ = true;
  }
  void TearDown() override {
    Kob::ptrifTrackOn_ = false;
    PtrInterfaceTest::TearDown();
  }
  [[nodiscard]] std::size_t remembered() const { return Kob::PtrTrack::ptrifs() - before_; }

 private:
  std::size_t before_ = 0;
};

TEST_F(PtrTracker, RemembersObjectsFromConstructionToDestruction) {
  Ptr<Mortal> first(new Mortal);
  const Ptr<Mortal> second(new Mortal);
  EXPECT_EQ(remembered(), 2U);
  first = nullptr;
  EXPECT_EQ(remembered(), 1U);
}

TEST_F(PtrTracker, ForgetsAnObjectWhoseReferenceIsLeakedOnPurpose) {
  auto* const object = new Mortal;
  object->referencesLeak();
  EXPECT_EQ(object->references(), 1U);
  EXPECT_EQ(remembered(), 0U);
  takeAndDrop(*object);
  EXPECT_EQ(Mortal::alive, 1) << "the leaked reference is never given back";
  object->referencesDec();
}

TEST_F(PtrTracker, KnowsNothingOfObjectsMadeWhileItWasOff) {
  Kob::ptrifTrackOn_ = false;
  Ptr<Mortal> object(new Mortal);
  EXPECT_EQ(remembered(), 0U);
  Kob::ptrifTrackOn_ = true;
  object = nullptr;
  EXPECT_EQ(remembered(), 0U);
}

TEST_F(PtrTracker, ForgetsObjectsThatGoWhileItIsOff) {
  Ptr<Mortal> object(new Mortal);
  Kob::ptrifTrackOn_ = false;
  object = nullptr;
  EXPECT_EQ(remembered(), 0U);
}

TEST_F(PtrTracker, LeakingWhileItIsOffOnlyCounts) {
  Kob::ptrifTrackOn_ = false;
  auto* const object = new Mortal;
  object->referencesLeak();
  EXPECT_EQ(object->references(), 1U);
  object->referencesDec();
}

TEST_F(PtrInterfaceTest, TheThreadSwitchCoversObjectsAndStrings) {
  EXPECT_FALSE(Kob::VFPtrInterface::enableThreadSafePointers) << "off at start";
  EXPECT_EQ(&Kob::VFPtrInterface::enableThreadSafePointers, &Kob::ReferenceWord::threadSafe);
  Kob::VFPtrInterface::enableThreadSafePointers = true;
  const Ptr<Mortal> object(new Mortal);
  const Kob::String8 text("shared");
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      for (int turn = 0; turn < 20000; ++turn) {
        const Ptr<Mortal> copy(object);
        const Kob::String8 same(text);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  Kob::VFPtrInterface::enableThreadSafePointers = false;
  EXPECT_EQ(object->references(), 1U);
  EXPECT_EQ(text, "shared");
}

}  // namespace
}  // namespace KobTest
