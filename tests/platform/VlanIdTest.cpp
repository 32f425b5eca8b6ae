// VLAN numbers: every 16-bit number, conversions, printed forms.

#include "platform/VlanId.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ios>
#include <set>
#include <sstream>
#include <string>

#include "Kob/BitReverse.h"
#include "Kob/Exception.h"
#include "Kob/HashMap.h"
#include "platform/L3Id.h"
#include "tests/platform/RangeError.h"

namespace Tests {
namespace {

using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using FyrL3Intf::L3Id;

constexpr const char* badVlanId = "VlanId::value < 1 or > 4094 not allowed";
constexpr const char* badVlanIdOrNone = "VlanIdOrNone::value > 4094 not allowed";

/// Calls `call` with every 16-bit number.
template <class Call>
void forEveryNumber(const Call& call) {
  for (std::uint32_t number = 0; number <= 0xFFFF; ++number) {
    call(static_cast<std::uint16_t>(number));
  }
}

template <class Vlan>
std::string printed(Vlan vlan) {
  std::ostringstream stream;
  stream << std::hex << std::showbase << vlan << ' ' << 255;
  return stream.str();
}

// ---------------------------------------------------------------------------------------------
// VlanId

TEST(VlanId, IsMadeFrom1To4094AndFromNoOtherNumber) {
  forEveryNumber([](std::uint16_t number) {
    const bool inRange = number >= 1 && number <= 4094;
    ASSERT_EQ(rangeErrorOf([number] { ASSERT_EQ(VlanId(number).value(), number); }),
              inRange ? "" : badVlanId)
        << number;
  });
}

TEST(VlanId, ItsRangeErrorIsAnExceptionOfKind12WithTheMessage) {
  try {
    const VlanId vlanId(0);
    FAIL() << "made from " << vlanId.value();
  } catch (const Kob::Exception& error) {
    EXPECT_EQ(error.message(), Kob::String8(badVlanId));
    EXPECT_STREQ(error.what(), badVlanId);
    EXPECT_TRUE(error.ids().contains(12));
    EXPECT_TRUE(error.expectable());
  }
}

TEST(VlanId, AFailedAssignmentChangesNothing) {
  VlanId vlanId(7);
  EXPECT_EQ(rangeErrorOf([&] { vlanId = VlanId(4095); }), badVlanId);
  EXPECT_EQ(vlanId.value(), 7);
}

TEST(VlanId, IsA16BitValue) { EXPECT_EQ(sizeof(VlanId), 2U); }

TEST(VlanId, UnsetIsAValueThatNoNumberHas) {
  const VlanId unset;
  EXPECT_EQ(unset.value(), 0);
  for (std::uint16_t number = 1; number <= 4094; ++number) {
    ASSERT_NE(unset, VlanId(number));
    ASSERT_LT(unset, VlanId(number));
  }
}

TEST(VlanId, ComparesAsTheNumber) {
  EXPECT_EQ(VlanId(10), VlanId(10));
  EXPECT_NE(VlanId(10), VlanId(11));
  EXPECT_LT(VlanId(10), VlanId(11));
  EXPECT_FALSE(VlanId(10) < VlanId(10));
  EXPECT_FALSE(VlanId(4094) < VlanId(1));
}

TEST(VlanId, EachVlanHasAHashOfItsOwn) {
  std::set<std::uint32_t> hashes;
  for (std::uint16_t number = 1; number <= 4094; ++number) {
    ASSERT_EQ(VlanId(number).hash(), VlanId(number).hash());
    hashes.insert(VlanId(number).hash());
  }
  EXPECT_EQ(hashes.size(), 4094U);
}

TEST(VlanId, CollectionsHashItReversed) {
  for (std::uint16_t number = 1; number <= 4094; ++number) {
    EXPECT_EQ(Kob::reversedHash(VlanId(number)), Kob::bitReverse(VlanId(number).hash()));
  }
}

TEST(VlanId, PrintsInDecimalAndLeavesTheStreamAsItIs) {
  EXPECT_EQ(printed(VlanId(4094)), "4094 0xff");
  EXPECT_EQ(printed(VlanId()), "0 0xff");
}

// ---------------------------------------------------------------------------------------------
// VlanIdOrNone

TEST(VlanIdOrNone, IsMadeFrom0To4094AndFromNoOtherNumber) {
  forEveryNumber([](std::uint16_t number) {
    ASSERT_EQ(rangeErrorOf([number] { ASSERT_EQ(VlanIdOrNone(number).value(), number); }),
              number <= 4094 ? "" : badVlanIdOrNone)
        << number;
  });
}

TEST(VlanIdOrNone, NoneIs0) {
  EXPECT_EQ(VlanIdOrNone().value(), 0);
  EXPECT_EQ(VlanIdOrNone(), VlanIdOrNone(0));
  EXPECT_FALSE(VlanIdOrNone(0));
  EXPECT_TRUE(VlanIdOrNone(1));
  EXPECT_TRUE(VlanIdOrNone(4094));
}

TEST(VlanIdOrNone, ComparesAsTheNumber) {
  EXPECT_EQ(VlanIdOrNone(10), VlanIdOrNone(10));
  EXPECT_NE(VlanIdOrNone(10), VlanIdOrNone(11));
  EXPECT_NE(VlanIdOrNone(10), VlanIdOrNone());
}

TEST(VlanIdOrNone, IsA16BitValue) { EXPECT_EQ(sizeof(VlanIdOrNone), 2U); }

TEST(VlanIdOrNone, PrintsInDecimalAndLeavesTheStreamAsItIs) {
  EXPECT_EQ(printed(VlanIdOrNone(4094)), "4094 0xff");
  EXPECT_EQ(printed(VlanIdOrNone()), "0 0xff");
}

// ---------------------------------------------------------------------------------------------
// Conversions

TEST(VlanIdOrNone, BecomesTheVlanIdOfItsNumber) {
  for (std::uint16_t number = 1; number <= 4094; ++number) {
    ASSERT_EQ(VlanId(VlanIdOrNone(number)), VlanId(number));
  }
}

TEST(VlanIdOrNone, NoneBecomesNoVlanId) {
  EXPECT_EQ(rangeErrorOf([] { VlanId{VlanIdOrNone{}}; }), badVlanId);
}

TEST(VlanId, BecomesTheVlanIdOrNoneOfItsNumber) {
  for (std::uint16_t number = 1; number <= 4094; ++number) {
    ASSERT_EQ(VlanIdOrNone(VlanId(number)), VlanIdOrNone(number));
  }
  EXPECT_EQ(VlanIdOrNone(VlanId()), VlanIdOrNone());
}

TEST(L3Id, WhoseLowWordIs0x00010005BecomesTheVlanIdOrNone5) {
  EXPECT_EQ(VlanIdOrNone(L3Id(0x00010005)), VlanIdOrNone(5));
}

TEST(L3Id, BecomesTheVlanIdOrNoneOfItsLow16BitsWhateverTheOthers) {
  constexpr std::uint64_t others = 0xFEDCBA9876540000;
  forEveryNumber([](std::uint16_t number) {
    const L3Id l3Id(others | number);
    ASSERT_EQ(rangeErrorOf([&] { ASSERT_EQ(VlanIdOrNone(l3Id).value(), number); }),
              number <= 4094 ? "" : badVlanIdOrNone)
        << l3Id;
  });
}

}  // namespace
}  // namespace Tests
