// What stands when memory runs out in what is described at run time: types, boxes, lists, texts,
// observers, and the operations of a published class.

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Kob/GenericIf.h"
#include "Kob/GenericIfException.h"
#include "Kob/GenericValue.h"
#include "Kob/Introspection.h"
#include "Kob/Strep.h"
#include "Kob/Trace.h"
#include "Kob/Type.h"
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

/// Fails each allocation of the call, alone and with all that follow it: std::bad_alloc comes out
/// of each failure, and nothing is lost.
void expectLosesNothing(const std::function<void()>& call) {
  call();  // What is made once in a process is there from now on.
  const std::size_t before = FailingHeap::live();
  for (const Failing mode : {Failing::once, Failing::fromThereOn}) {
    const int failures =
        failingEachAllocationOf(call, [&] { EXPECT_EQ(FailingHeap::live(), before); }, mode);
    EXPECT_GT(failures, 0);
    EXPECT_EQ(FailingHeap::live(), before);
  }
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
  bool failed = true;
  for (std::size_t successes = 0; failed; ++successes) {
    std::ostringstream written;
    Kob::traceStreamIs(&written);
    const Outcome outcome = failingAfter(successes, [&] {
      KOB_TRACE(handle, 7, "<unknown>", "operation", text << 12345678901234567890U);
    });
    EXPECT_FALSE(outcome.thrown);
    failed = outcome.failed;
    if (failed) continue;
    EXPECT_NE(written.str().find("12345678901234567890"), std::string::npos);
  }
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
  for (const Failing mode : {Failing::once, Failing::fromThereOn}) {
    const Ptr<Shop> shop = stocked();
    const std::string before = stateOf(*shop);
    const std::size_t live = FailingHeap::live();
    failingEachAllocationOf([&] { GetParam().operate(*shop); },
                            [&] {
                              EXPECT_EQ(stateOf(*shop), before);
                              EXPECT_EQ(shop->references(), 1U);
                              EXPECT_EQ(FailingHeap::live(), live);
                            },
                            mode);
  }
}

}  // namespace
}  // namespace KobTest
