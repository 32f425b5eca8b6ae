// What stands when memory runs out in what is described at run time: types, boxes, lists, texts,
// observers, and the operations of a published class.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <ostream>
#include <sstream>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "Kob/Activity.h"
#include "Kob/GenericIf.h"
#include "Kob/GenericIfException.h"
#include "Kob/GenericValue.h"
#include "Kob/Introspection.h"
#include "Kob/Strep.h"
#include "Kob/Trace.h"
#include "Kob/Type.h"
#include "Kob/TypeName.h"
#include "tests/Kob/FailingHeap.h"
#include "tests/Kob/Observer.h"
#include "tests/Kob/Shop.h"

namespace KobTest {
namespace {

using Kob::generic;
using Kob::GenericIf;
using Kob::KobType;
using Kob::Name;
using Kob::Ptr;
using Box = Ptr<GenericIf>;
using List = GenericIf::List_;
using testing::HasSubstr;

/// Fails each allocation of the call, alone and with all that follow it: std::bad_alloc comes out
/// of each failure, and nothing is lost.
void expectLosesNothing(const std::function<void()>& call) {
  call();  // What is made once in a process is there from now on.
  const std::size_t before = FailingHeap::live();
  const int failures =
      failingEachAllocationOf(call, [&] { EXPECT_EQ(FailingHeap::live(), before); });
  EXPECT_GT(failures, 0);
  EXPECT_EQ(FailingHeap::live(), before);
}

TEST(TypeOutOfMemory, IsNotMadeAndCanBeMadeLater) {
  class Fresh {
   public:
    static KobType* _fwkType() {
      static constinit Kob::TypePointer pointer;
      return pointer.get([] {},
                         [] { return Kob::newType<Kob::PlainType>("GenericMemoryTest::Fresh"); });
    }
  };
  // The registry grows when it holds a power of two.
  const auto& types = KobType::typeNodes();
  while ((types.size() & (types.size() - 1)) != 0) {
    const std::string name = "GenericMemoryTest::Type" + std::to_string(types.size());
    Kob::newType<Kob::PlainType>(name.c_str())->referencesLeak();
  }
  const std::size_t before = types.size();
  const std::size_t live = FailingHeap::live();
  const int failures = failingEachAllocationOf([] { Fresh::_fwkType(); },
                                               [&] {
                                                 EXPECT_EQ(FailingHeap::live(), live);
                                                 EXPECT_EQ(types.size(), before);
                                               });
  EXPECT_GT(failures, 1) << "the type, and its place";
  EXPECT_EQ(KobType::typeNode("GenericMemoryTest::Fresh"), Fresh::_fwkType());
}

TEST(TypeOutOfMemory, HasNoAttributeThatFoundNoPlace) {
  const Ptr<KobType> type(new KobType("Type", nullptr));
  const Name names[] = {"one", "two", "three", "four", "five"};
  for (const Name& name : names) {
    const std::size_t before = FailingHeap::live();
    failingEachAllocationOf([&] { type->attrIs(name, type.get(), {}, 1); },
                            [&] {
                              EXPECT_EQ(FailingHeap::live(), before);
                              EXPECT_EQ(type->attr(name), nullptr);
                            });
    EXPECT_NE(type->attr(name), nullptr);
    failingEachAllocationOf([&] { type->attr(name)->parameterIs(name, name); },
                            [&] { EXPECT_TRUE(type->attr(name)->parameters().empty()); });
    EXPECT_EQ(type->attr(name)->parameters().size(), 1U);
  }
  EXPECT_EQ(type->attrs().size(), 5U);
}

TEST(BoxOutOfMemory, LosesNothing) {
  expectLosesNothing([] { static_cast<void>(generic(12U)); });
  expectLosesNothing([] { generic(Name("a name"))->clone(); });
  expectLosesNothing([] {
    KobType* const type = Kob::TypeOf<unsigned>::type();
    type->genericIf(Name("12"), true);
  });
  expectLosesNothing([] {
    const Ptr<List> list(new List);
    for (unsigned number = 0; number < 5; ++number) list->elementIs(generic(number));
    list->clone();
    list->strRep();
  });
}

TEST(TextOutOfMemory, IsNotCutShort) {
  const Name name("a name that is longer than any small buffer would be");
  const Box box = generic(name);
  expectLosesNothing([&] { box->strRep(); });
  const Ptr<Clerk> clerk(new Clerk(name));
  const Box wrapper = generic(clerk);
  expectLosesNothing([&] { wrapper->strRep(); });
}

TEST(TextOutOfMemory, ThatIsRefusedIsRefusedOrOutOfMemory) {
  const Name text("12 is followed by more than a number");
  expectLosesNothing([&] {
    try {
      Kob::strepToValue(text, static_cast<unsigned*>(nullptr));
    } catch (const Kob::RangeException&) {
      return;
    }
  });
}

TEST(TraceOutOfMemory, CutsTheRecordShortAndLetsTheOperationGoOn) {
  Kob::TraceHandle handle("GenericMemoryTest", false);
  handle.facility().levelsUpToIs(9);
  std::ostream* const stream = Kob::traceStream();
  const Name text("a message that is longer than any small buffer would be");
  std::ostringstream written;
  Kob::traceStreamIs(&written);
  const int failures = outcomesOfEachAllocation(
      [&] { KOB_TRACE(handle, 7, "<unknown>", "operation", text << 12345678901234567890U); },
      [&](const Outcome& outcome) {
        EXPECT_FALSE(outcome.thrown);
        if (!outcome.failed) {
          EXPECT_THAT(written.str(), HasSubstr("12345678901234567890\n"));
        }
        written.str("");
      });
  EXPECT_GT(failures, 0);
  Kob::traceStreamIs(stream);
  handle.facility().onIs(false);
}

TEST(TraceOutOfMemory, HasNoFacilityThatWasNotMade) {
  const Name name("GenericMemoryTest.fresh");
  Kob::TraceFacility* facility = nullptr;
  const int failures = failingEachAllocationOf([&] { facility = &Kob::TraceFacility::named(name); },
                                               [&] { EXPECT_EQ(facility, nullptr); });
  EXPECT_GT(failures, 1);
  EXPECT_EQ(&Kob::TraceFacility::named(name), facility);
}

TEST(ObserverOutOfMemory, IsNotSetWhenItCouldNotBeToldEverything) {
  class Silent final : public Kob::IntrospectionObserver {};
  const IntrospectionGuard guard;
  guard.reactor->handleNameSpace("GenericMemoryTest");
  guard.reactor->handleScopeExit();
  const Ptr<Silent> observer(new Silent);
  const int failures = failingEachAllocationOf([&] { guard.reactor->observerIs(observer); },
                                               [&] { EXPECT_EQ(observer->references(), 1U); });
  EXPECT_GT(failures, 0);
  EXPECT_EQ(observer->references(), 2U);
}

/// Counts what it hears of without needing memory.
class Counting final : public Kob::IntrospectionObserver {
 public:
  void handleNameSpace(const Name& /*name*/) override { ++heard; }
  void handleType(KobType* /*type*/, KobType* /*base*/) override { ++heard; }
  void defNoninstantiatingAttr(KobType* /*type*/, Kob::KobAttr* /*attr*/) override { ++heard; }
  void handleAttr(KobType* /*type*/, Kob::KobAttr* /*attr*/) override { ++heard; }
  void handleAttrContextExit() override { ++heard; }
  void handleScopeExit() override { ++heard; }

  int heard = 0;
};

/// What a library calls while it describes a type.
struct Describing {
  const char* name;
  std::function<void(Kob::IntrospectionReactor&, KobType*)> call;

  friend void PrintTo(const Describing& describing, std::ostream* stream) {
    *stream << describing.name;
  }
};

const Describing describings[] = {
    {"ANamespace", [](auto& reactor, KobType*) { reactor.handleNameSpace("GenericMemoryTest"); }},
    {"AType", [](auto& reactor, KobType* type) { reactor.handleType(type, nullptr); }},
    {"AnAttribute",
     [](auto& reactor, KobType* type) { reactor.handleAttr(type, type->attrs()[0].get()); }},
    {"TheEndOfAnAttribute", [](auto& reactor, KobType*) { reactor.handleAttrContextExit(); }},
    {"TheEndOfAScope", [](auto& reactor, KobType*) { reactor.handleScopeExit(); }},
};

/// A type that is described and stays.
KobType* describedType() {
  static KobType* const made = [] {
    auto* const type = new KobType("Described", nullptr, "GenericMemoryTest::Described");
    type->referencesLeak();
    type->attrIs("attribute", type, {}, 1);
    return type;
  }();
  return made;
}

class ObservedOutOfMemory : public testing::Test {
 protected:
  IntrospectionGuard guard;
  Ptr<Counting> observer{new Counting};
  KobType* const type = describedType();

  void SetUp() override { guard.reactor->observerIs(observer); }
  /// What somebody hears who comes late.
  [[nodiscard]] int known() const {
    const Ptr<Counting> late(new Counting);
    guard.reactor->observerIs(late);
    guard.reactor->observerIs(nullptr);
    return late->heard;
  }
  /// Describes until that makes the sequence grow, which needs memory.
  template <class Describe, class Check>
  static void failingEachAllocationOfOne(const Describe& describe, const Check& check) {
    while (failingEachAllocationOf(describe, check) == 0) continue;
  }
};

class DescriptionOutOfMemory : public ObservedOutOfMemory,
                               public testing::WithParamInterface<Describing> {};

INSTANTIATE_TEST_SUITE_P(Calls, DescriptionOutOfMemory, testing::ValuesIn(describings),
                         [](const auto& tested) { return tested.param.name; });

TEST_P(DescriptionOutOfMemory, IsHeardOfByNobodyNowOrLater) {
  const int before = observer->heard;
  int described = 0;
  const auto describe = [&] {
    GetParam().call(*guard.reactor, type);
    ++described;
  };
  failingEachAllocationOfOne(describe, [&] { EXPECT_EQ(observer->heard, before + described); });
  EXPECT_EQ(observer->heard, before + described);
  EXPECT_EQ(known(), before + described);
}

TEST_F(ObservedOutOfMemory, LeavesThePlainAttributeOfWhichNobodyHeard) {
  const int before = observer->heard;
  int described = 0;
  const auto describe = [&] {
    const Name name(("attribute" + std::to_string(described)).c_str());
    type->attrDel(name);  // It stands when it found no place in the sequence.
    guard.reactor->defNoninstantiatingAttr(type, name, type, nullptr, {}, 2, 2);
    ++described;
  };
  failingEachAllocationOfOne(describe, [&] { EXPECT_EQ(observer->heard, before + described); });
  EXPECT_EQ(known(), before + described);
  EXPECT_EQ(type->attrs().size(), 1U + static_cast<unsigned>(described));
}

TEST(MakingOutOfMemory, LosesNothing) {
  const Name name("a name that is longer than any small buffer would be");
  expectLosesNothing([] { const Name made("literal"); });
  expectLosesNothing([&] { const Name made(name.view()); });
  expectLosesNothing([&] { static_cast<void>(name + name); });
  expectLosesNothing([&] { Kob::activityFactory(name); });
  expectLosesNothing([&] { const Ptr<KobType> type(new KobType(name, nullptr, "qualified")); });
  expectLosesNothing([&] { static_cast<void>(Kob::typeName(typeid(WritingObserver))); });
  expectLosesNothing([&] { static_cast<void>(generic(Ptr(new Clerk(name)))->clone()); });
  expectLosesNothing([&] { Kob::ConstException(); });
  expectLosesNothing([&] { static_cast<void>(Kob::TypeException(name).explanation()); });
  expectLosesNothing([&] { static_cast<void>(Kob::BadIndexException(name).explanation()); });
  expectLosesNothing(
      [&] { static_cast<void>(Kob::OperationNotSupportedException(name, 1).explanation()); });
  expectLosesNothing(
      [&] { static_cast<void>(Kob::UnknownAttributeException(name, 1).explanation()); });
}

TEST(ThrowingOutOfMemory, ThrowsWhatItIsAskedToOrThatItIsOutOfMemory) {
  expectLosesNothing([] {
    try {
      Kob::throwRangeException("a message");
    } catch (const Kob::RangeException&) {
      return;
    }
  });
  expectLosesNothing([] {
    try {
      Kob::throwNameInUseException("a message");
    } catch (const Kob::NameInUseException&) {
      return;
    }
  });
}

/// An operation of a shop with two prices and a shelf.
struct Operation {
  const char* name;
  std::function<void(Shop&)> operate;

  friend void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.name;
  }
};

Box nameBox(const char* text) { return generic(Name(text)); }
Box attributeOp(Shop& shop, Kob::AttributeId id, unsigned operation, const Box& arg = nullptr,
                const Box& value = nullptr) {
  return generic(Ptr(&shop))->attributeOp({id, operation}, arg, value);
}
Box listOf(std::vector<Box> elements) { return {new List(std::move(elements))}; }

const Operation operations[] = {
    {"ReadsAValue", [](Shop& shop) { attributeOp(shop, 258, 0); }},
    {"ReadsAPointer", [](Shop& shop) { attributeOp(shop, 259, 0); }},
    {"ReadsAPrice", [](Shop& shop) { attributeOp(shop, 260, 0, nameBox("bread")); }},
    {"Counts", [](Shop& shop) { attributeOp(shop, 260, 1); }},
    {"FindsTheFirstKey", [](Shop& shop) { attributeOp(shop, 260, 2); }},
    {"FindsTheNextKey", [](Shop& shop) { attributeOp(shop, 260, 3, nameBox("bread")); }},
    {"WritesAPrice", [](Shop& shop) { attributeOp(shop, 260, 128, nameBox("salt"), generic(7U)); }},
    {"OverwritesAPrice",
     [](Shop& shop) { attributeOp(shop, 260, 128, nameBox("bread"), generic(7U)); }},
    {"DeletesAPrice", [](Shop& shop) { attributeOp(shop, 260, 129, nameBox("bread")); }},
    {"ReadsAShelf", [](Shop& shop) { attributeOp(shop, 261, 0, generic(1U)); }},
    {"MakesAnOffer",
     [](Shop& shop) { attributeOp(shop, 263, 128, nameBox("salt"), listOf({generic(5U)})); }},
    {"Calls",
     [](Shop& shop) { attributeOp(shop, 264, 0, listOf({nameBox("bread"), generic(3U)})); }},
    {"CallsWithAnObject",
     [](Shop& shop) { attributeOp(shop, 266, 0, listOf({generic(Ptr(new Clerk("Ada")))})); }},
    {"Walks",
     [](Shop& shop) {
       const Box wrapper = generic(Ptr(&shop));
       for (auto it = wrapper->attributeIteratorConst(260); it; ++it) {
         const auto copy(it);
         copy.key()->strRep();
         copy.value()->strRep();
       }
     }},
    {"Refuses",
     [](Shop& shop) {
       try {
         attributeOp(shop, 260, 0);
       } catch (const Kob::TypeException& refusal) {
         static_cast<void>(refusal.explanation());
       }
     }},
    {"IsMadeFromAList",
     [](Shop&) {
       const Box list = listOf({nameBox("another"), generic(3U)});
       Shop::_fwkType()->genericIf(list.get(), true);
     }},
};

class OperationOutOfMemory : public testing::TestWithParam<Operation> {
 protected:
  static Ptr<Shop> stocked() {
    Ptr<Shop> shop(new Shop("corner", 12));
    shop->priceIs("bread", 3);
    shop->priceIs("milk", 2);
    shop->shelfIs(1, {});
    shop->hire(new Clerk("Ada"));
    return shop;
  }
  static std::string stateOf(const Shop& shop) {
    std::string text;
    for (auto it = shop.priceIteratorConst(); it; ++it) {
      text += std::string(it.key().charPtr()) + " " + std::to_string(*it) + " ";
    }
    return text + std::to_string(shop.changeCount());
  }
};

INSTANTIATE_TEST_SUITE_P(Operations, OperationOutOfMemory, testing::ValuesIn(operations),
                         [](const auto& tested) { return tested.param.name; });

TEST_P(OperationOutOfMemory, ChangesNothingAndLosesNothing) {
  GetParam().operate(*stocked());
  const Ptr<Shop> shop = stocked();
  const std::string before = stateOf(*shop);
  const std::size_t live = FailingHeap::live();
  failingEachAllocationOf([&] { GetParam().operate(*shop); },
                          [&] {
                            EXPECT_EQ(stateOf(*shop), before);
                            EXPECT_EQ(shop->references(), 1U);
                            EXPECT_EQ(FailingHeap::live(), live);
                          });
}

}  // namespace
}  // namespace KobTest
