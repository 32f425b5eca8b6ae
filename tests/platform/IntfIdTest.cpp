// Interface identifiers: names, interning, hash, natural order, and the names that mean something.

#include "platform/IntfId.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Kob/BitReverse.h"
#include "Kob/HashMap.h"
#include "tests/platform/Fatal.h"
#include "tests/platform/RangeError.h"

namespace Tests {
namespace {

using Plexo::IntfId;

constexpr const char* badName = "IntfId::name is not 1 to 255 printable characters without blanks";

IntfId idOf(const std::string& name) { return {Kob::String8(std::string_view(name))}; }

std::string printed(IntfId intfId) {
  std::ostringstream stream;
  stream << intfId;
  return stream.str();
}

/// Both words, as they lie in memory.
std::uint64_t wordsOf(IntfId intfId) {
  std::uint64_t words = 0;
  static_assert(sizeof words == sizeof intfId);
  std::memcpy(&words, &intfId, sizeof words);
  return words;
}

// ---------------------------------------------------------------------------------------------
// What an identifier is

TEST(IntfId, IsEightBytesThatAreCopiedByValue) {
  EXPECT_EQ(sizeof(IntfId), 8U);
  EXPECT_TRUE(std::is_trivially_copyable_v<IntfId>);
}

TEST(IntfId, TheIdentifierOfTheEmptyStringTestsFalseAndEqualsEveryOther) {
  const IntfId one("");
  const IntfId other{Kob::String8()};
  EXPECT_FALSE(one);
  EXPECT_FALSE(other);
  EXPECT_EQ(one, other);
  EXPECT_EQ(one, IntfId());
  EXPECT_EQ(wordsOf(one), 0U);
  EXPECT_EQ(one.hash(), 0U);
}

TEST(IntfId, EveryOtherIdentifierTestsTrue) {
  EXPECT_TRUE(IntfId("Ethernet1"));
  EXPECT_TRUE(IntfId("0"));
}

TEST(IntfId, KnowsItsName) {
  EXPECT_EQ(IntfId("Ethernet1/2.300").name(), Kob::String8("Ethernet1/2.300"));
  EXPECT_EQ(IntfId().name(), Kob::String8(""));
}

TEST(IntfId, EqualNamesAreEqualIdentifiers) {
  const std::string name = "Ethernet7";
  EXPECT_EQ(idOf(name), idOf(name + ""));
  EXPECT_EQ(wordsOf(idOf(name)), wordsOf(idOf("Ethernet" + std::to_string(7))));
  EXPECT_NE(idOf(name), idOf("Ethernet8"));
  EXPECT_NE(idOf(name), idOf("ethernet7"));
  EXPECT_NE(idOf(name), IntfId());
}

TEST(IntfId, HoldsItsNameWhenTheStringItCameFromHasGone) {
  auto name = std::make_unique<Kob::String8>("Ethernet-short-lived");
  const IntfId intfId(*name);
  name.reset();
  EXPECT_EQ(printed(intfId), "Ethernet-short-lived");
}

TEST(IntfId, CanBeGivenAnotherName) {
  IntfId intfId("Ethernet1");
  intfId.handleInitialized("Ethernet2");
  EXPECT_EQ(intfId, IntfId("Ethernet2"));
  EXPECT_EQ(wordsOf(intfId), wordsOf(IntfId("Ethernet2")));
  intfId.handleInitialized("");
  EXPECT_FALSE(intfId);
  EXPECT_EQ(wordsOf(intfId), wordsOf(IntfId()));
}

TEST(IntfId, PrintsItsName) { EXPECT_EQ(printed(IntfId("Port-Channel10")), "Port-Channel10"); }

TEST(IntfId, PrintsNothingWhenEmpty) { EXPECT_EQ(printed(IntfId()), ""); }

// ---------------------------------------------------------------------------------------------
// The table of names

TEST(IntfIdDeathTest, NoNameIsKnownAtFirst) {
  // In a process of its own, into which the tests before this one have put nothing.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::exit(static_cast<int>(Plexo::intfNames())), testing::ExitedWithCode(0), "");
}

TEST(IntfId, ANameIsKeptOnce) {
  const std::size_t before = Plexo::intfNames();
  const IntfId first("aNameThatIsNew");
  EXPECT_EQ(Plexo::intfNames(), before + 1);
  const IntfId second("aNameThatIsNew");
  EXPECT_EQ(Plexo::intfNames(), before + 1);
  EXPECT_EQ(first, second);
}

TEST(IntfId, TheEmptyNameIsNotKept) {
  const std::size_t before = Plexo::intfNames();
  EXPECT_FALSE(IntfId(""));
  EXPECT_EQ(Plexo::intfNames(), before);
}

TEST(IntfId, ARefusedNameIsNotKept) {
  const std::size_t before = Plexo::intfNames();
  EXPECT_EQ(rangeErrorOf([] { IntfId("not a name"); }), badName);
  EXPECT_EQ(Plexo::intfNames(), before);
}

// ---------------------------------------------------------------------------------------------
// Which names there are

TEST(IntfId, EachByteIsPartOfANameExactlyFrom0x21To0x7E) {
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    const std::string expected = byte >= 0x21 && byte <= 0x7E ? "" : badName;
    for (const std::string& name :
         {std::string{c}, std::string{c, 'x'}, std::string{'x', c, 'x'}, std::string{'x', c}}) {
      EXPECT_EQ(rangeErrorOf([&] { EXPECT_EQ(printed(idOf(name)), name); }), expected)
          << "byte " << byte;
    }
  }
}

TEST(IntfId, ANameHas1To255Bytes) {
  for (std::size_t length = 1; length <= 300; ++length) {
    const std::string name(length, 'x');
    EXPECT_EQ(rangeErrorOf([&] { EXPECT_EQ(printed(idOf(name)), name); }),
              length <= 255 ? "" : badName)
        << "length " << length;
  }
}

TEST(IntfId, ARefusedNameLeavesTheIdentifierAsItWas) {
  IntfId intfId("Ethernet1");
  EXPECT_EQ(rangeErrorOf([&] { intfId.handleInitialized("Ethernet 1"); }), badName);
  EXPECT_EQ(intfId, IntfId("Ethernet1"));
  EXPECT_EQ(wordsOf(intfId), wordsOf(IntfId("Ethernet1")));
}

// ---------------------------------------------------------------------------------------------
// Hash

TEST(IntfId, TheHashIsThatOfTheNameAlone) {
  for (const char* const name : {"Ethernet1", "Ethernet2", "Vlan10", "x"}) {
    EXPECT_EQ(IntfId(name).hash(), Kob::String8(name).hash()) << name;
  }
}

TEST(IntfId, TheHashServesUnorderedContainersOfTheStandard) {
  EXPECT_EQ(std::hash<IntfId>()(IntfId("Ethernet1")), IntfId("Ethernet1").hash());
  const std::unordered_set<IntfId> ids{"Ethernet1", "Ethernet2", "Ethernet1"};
  EXPECT_EQ(ids.size(), 2U);
}

TEST(IntfId, TheHashIsKeptReversedForTheCollections) {
  for (const char* const name : {"", "Ethernet1", "Ethernet2", "Vlan10"}) {
    const IntfId intfId(name);
    EXPECT_EQ(intfId.kobReversedHash(), Kob::bitReverse(intfId.hash())) << name;
    EXPECT_EQ(Kob::reversedHash(intfId), Kob::bitReverse(intfId.hash())) << name;
  }
}

TEST(IntfId, DifferentNamesOfOneHashAreDifferentIdentifiers) {
  const IntfId one("Hash512789");
  const IntfId other("Hash749192");
  ASSERT_EQ(one.hash(), other.hash()) << "the test needs two names whose hashes collide";
  EXPECT_NE(one, other);
  EXPECT_TRUE(one < other);
  EXPECT_FALSE(other < one);
  EXPECT_EQ(printed(one), "Hash512789");
  EXPECT_EQ(printed(other), "Hash749192");
}

// ---------------------------------------------------------------------------------------------
// Order

/// Expects that the order of identifiers is that of the names as they are listed.
void expectOrder(const std::vector<std::string>& names) {
  for (std::size_t i = 0; i < names.size(); ++i) {
    for (std::size_t j = 0; j < names.size(); ++j) {
      EXPECT_EQ(idOf(names[i]) < idOf(names[j]), i < j) << names[i] << " and " << names[j];
    }
  }
}

TEST(IntfId, TheOrderIsNatural) {
  expectOrder({"", "Ethernet", "Ethernet1", "Ethernet1/1", "Ethernet1/2", "Ethernet1/10",
               "Ethernet2", "Ethernet2/1", "Ethernet10", "Ethernet10/1", "Ethernet100",
               "Port-Channel9", "Port-Channel10", "Vlan9", "Vlan10", "Vlan4094", "vlan1"});
}

TEST(IntfId, NamesThatAreEqualInNaturalOrderGoByBytes) {
  expectOrder({"E", "E0", "E00", "E000", "E0a", "E001", "E01", "E1", "E01a1", "E1a01", "E1a1",
               "E01a2", "E1a2", "E2"});
}

TEST(IntfId, NumbersOfAnyLengthCompareAsNumbers) {
  const std::string nines(200, '9');
  const std::string zeros(200, '0');
  expectOrder({"E" + zeros + "1", "E7", "E18446744073709551615", "E18446744073709551616",
               "E99999999999999999999", "E" + nines, "E1" + zeros, "E9" + nines});
}

TEST(IntfId, DigitsAndOtherCharactersCompareAsBytes) {
  expectOrder({"E!", "E/", "E0", "E9", "E10", "E:", "EA", "E~"});
}

/// An independent account of natural order: numbers become one token, which stands where the digits
/// stand among the characters; ties go by bytes.
using Token = std::pair<char, std::uint64_t>;
std::pair<std::vector<Token>, std::string> orderOf(const std::string& name) {
  std::vector<Token> tokens;
  for (std::size_t at = 0; at < name.size();) {
    if (name[at] < '0' || name[at] > '9') {
      tokens.emplace_back(name[at++], 0);
    } else {
      std::size_t digits = 0;
      tokens.emplace_back('0', std::stoull(name.substr(at), &digits));
      at += digits;
    }
  }
  return {tokens, name};
}

TEST(IntfId, TheOrderOfAllShortNamesIsStrictAndTotal) {
  std::vector<std::string> names{""};
  for (std::size_t shorter = 0; names[shorter].size() < 4; ++shorter) {
    for (const char c : {'/', '0', '2', 'a'}) names.push_back(names[shorter] + c);
  }
  ASSERT_EQ(names.size(), 1U + 4 + 16 + 64 + 256);
  std::vector<IntfId> ids;
  for (const auto& name : names) ids.push_back(idOf(name));
  for (std::size_t i = 0; i < names.size(); ++i) {
    for (std::size_t j = 0; j < names.size(); ++j) {
      ASSERT_EQ(ids[i] < ids[j], orderOf(names[i]) < orderOf(names[j]))
          << names[i] << " and " << names[j];
    }
  }
}

// ---------------------------------------------------------------------------------------------
// VLAN interfaces and internal interfaces

TEST(VlanIntfId, EachNumberOf16BitsNamesAVlanInterface) {
  for (unsigned number = 0; number <= 0xFFFF; ++number) {
    for (const char* const prefix : {"Vlan", "vlan"}) {
      const IntfId intfId = idOf(prefix + std::to_string(number));
      ASSERT_TRUE(Plexo::VlanIntfId::isVlanIntfId(intfId)) << intfId;
      ASSERT_EQ(Plexo::VlanIntfId::vlanId(intfId), number);
    }
  }
}

TEST(VlanIntfId, OtherNamesAreNoVlanInterfaces) {
  for (const char* const name : {"",
                                 "Vlan",
                                 "vlan",
                                 "VLAN10",
                                 "vLan10",
                                 "Vlan00",
                                 "Vlan01",
                                 "vlan010",
                                 "Vlan65536",
                                 "Vlan99999",
                                 "Vlan18446744073709551617",
                                 "Vlan-1",
                                 "Vlan+1",
                                 "Vlan1a",
                                 "Vlan1.0",
                                 "Vlan1-",
                                 "Vlan0x1",
                                 "VlanA",
                                 "xVlan10",
                                 "10",
                                 "Ethernet10",
                                 "vVlan10",
                                 "VlanVlan10"}) {
    EXPECT_FALSE(Plexo::VlanIntfId::isVlanIntfId(IntfId(name))) << name;
  }
}

TEST(VlanIntfIdDeathTest, TheNumberOfAnythingElseIsFatal) {
  EXPECT_FATAL(
      static_cast<void>(Plexo::VlanIntfId::vlanId(IntfId("Ethernet10"))),
      assertion("platform/IntfId.cpp", "std::uint16_t Plexo::VlanIntfId::vlanId(Plexo::IntfId)",
                "Plexo::VlanIntfId::isVlanIntfId( intfId )"));
}

TEST(InternalIntfId, NamesThatBeginWithInternalAreInternal) {
  for (const char* const name : {"Internal", "Internal1", "Internal1/2", "InternalRecirc"}) {
    EXPECT_TRUE(Plexo::InternalIntfId::isInternalIntfId(IntfId(name))) << name;
  }
}

TEST(InternalIntfId, OtherNamesAreNot) {
  for (const char* const name :
       {"", "I", "Interna", "internal1", "INTERNAL1", "xInternal1", "Ethernet1", "Vlan10"}) {
    EXPECT_FALSE(Plexo::InternalIntfId::isInternalIntfId(IntfId(name))) << name;
  }
}

}  // namespace
}  // namespace Tests
