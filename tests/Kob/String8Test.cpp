#include "Kob/String8.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "tests/Kob/Fatal.h"

namespace KobTest {
namespace {

using Kob::String8;
using namespace std::string_view_literals;

static_assert(std::is_same_v<Kob::Name, String8>);
static_assert(std::is_nothrow_copy_constructible_v<String8>);
static_assert(std::is_nothrow_move_constructible_v<String8>);
static_assert(std::is_convertible_v<const char*, String8>);
static_assert(!std::is_convertible_v<std::string_view, String8>, "only explicitly");

TEST(String8, HoldsACopyOfItsText) {
  char text[] = "port";
  const String8 string(text);
  text[0] = 'f';
  EXPECT_EQ(string.view(), "port");
  EXPECT_EQ(string.length(), 4U);
  EXPECT_EQ(string.charPtr()[4], '\0');
  EXPECT_FALSE(string.empty());
}

TEST(String8, OfNullIsFatal) {
  EXPECT_FATAL(String8(static_cast<const char*>(nullptr)), "Kob/String8.cpp",
               "Kob::String8::String8(const char*)", "text != 0");
}

TEST(String8, EveryEmptyStringSharesOneBlock) {
  const String8 empty;
  String8 initialised("text");
  initialised.init("text", 2, 0);
  String8 appended;
  appended += "";
  String8 moved("text");
  const String8 taken(std::move(moved));
  for (const String8& other : {String8(""), String8(""sv), String8() + "", initialised, appended,
                               moved}) {  // NOLINT(bugprone-use-after-move)
    EXPECT_TRUE(other.empty());
    EXPECT_EQ(other.charPtr(), empty.charPtr());
  }
  EXPECT_EQ(empty.view(), "");
}

TEST(String8, CopiesShareTheBlock) {
  const String8 string("port");
  const String8 copy(string);  // NOLINT(performance-unnecessary-copy-initialization)
  String8 assigned;
  assigned = string;
  EXPECT_EQ(copy.charPtr(), string.charPtr());
  EXPECT_EQ(assigned.charPtr(), string.charPtr());
}

TEST(String8, ABlockLivesAsLongAsAStringSharesIt) {
  std::optional<String8> first("a block of its own");
  const String8 second(*first);
  first.reset();
  EXPECT_EQ(second.view(), "a block of its own");
}

TEST(String8, MovingTakesTheBlock) {
  String8 first("port");
  const char* const block = first.charPtr();
  String8 second(std::move(first));
  EXPECT_EQ(second.charPtr(), block);
  String8 third("other");
  third = std::move(second);
  EXPECT_EQ(third.charPtr(), block);
}

TEST(String8, AssigningItselfChangesNothing) {
  String8 string("port");
  const String8& alias = string;
  string = alias;
  EXPECT_EQ(string.view(), "port");
}

TEST(String8, AppendingMakesANewBlockAndLeavesTheSharers) {
  String8 string("Ethernet");
  const String8 sharer(string);
  string += "12";
  EXPECT_EQ(string.view(), "Ethernet12");
  EXPECT_EQ(sharer.view(), "Ethernet");
}

TEST(String8, MayBeAppendedToItself) {
  String8 string("ab");
  string += string;
  EXPECT_EQ(string.view(), "abab");
}

TEST(String8, AddingLeavesBothSides) {
  const String8 head("head");
  const String8 tail("tail");
  EXPECT_EQ((head + tail).view(), "headtail");
  EXPECT_EQ((head + "").view(), "head");
  EXPECT_EQ((String8() + tail).view(), "tail");
  EXPECT_EQ(head.view(), "head");
  EXPECT_EQ(tail.view(), "tail");
}

TEST(String8, IsInitialisedFromAPartOfAText) {
  String8 string("old");
  const String8 sharer(string);
  string.init("Ethernet12", 8, 2);
  EXPECT_EQ(string.view(), "12");
  string.init("Ethernet12", 0, 10);
  EXPECT_EQ(string.view(), "Ethernet12");
  EXPECT_EQ(sharer.view(), "old");
}

TEST(String8, MayBeInitialisedFromItsOwnBytes) {
  String8 string("Ethernet12");
  string.init(string.charPtr(), 8, 2);
  EXPECT_EQ(string.view(), "12");
}

TEST(String8, HoldsAnyByte) {
  const String8 string("a\0b\xff"sv);
  EXPECT_EQ(string.length(), 4U);
  EXPECT_EQ(string.view(), "a\0b\xff"sv);
  EXPECT_NE(string, String8("a"));
  EXPECT_EQ((string + "!").view(), "a\0b\xff!"sv);
}

TEST(String8, ComparesByItsBytes) {
  EXPECT_EQ(String8("port"), String8("port"));
  EXPECT_NE(String8("port"), String8("Port"));
  EXPECT_NE(String8("port"), String8("ports"));
  EXPECT_LT(String8("port"), String8("ports"));
  EXPECT_LT(String8(""), String8("a"));
  EXPECT_LT(String8("a"), String8("\xff")) << "bytes are unsigned";
}

TEST(String8, HashesEqualTextsEqually) {
  EXPECT_EQ(String8("Ethernet1").hash(), (String8("Ether") + "net1").hash());
}

TEST(String8, HashesTheSameInEveryRun) {
  EXPECT_EQ(String8("").hash(), 0xAB3E7C0BU);
  EXPECT_EQ(String8("Ethernet1").hash(), 0x66D2033DU);
  EXPECT_EQ(String8("\xff\0a"sv).hash(), 0xFBE4FB69U);
}

TEST(String8, HashesNamesThatDifferInDigitsApart) {
  std::set<std::uint32_t> hashes;
  std::set<std::uint32_t> lowBits;
  for (int port = 0; port < 1024; ++port) {
    const std::uint32_t hash = String8(("Ethernet" + std::to_string(port)).c_str()).hash();
    hashes.insert(hash);
    lowBits.insert(hash % 1024);
  }
  EXPECT_EQ(hashes.size(), 1024U);
  EXPECT_GT(lowBits.size(), 550U) << "a random choice of buckets fills about 647";
}

TEST(String8, PrintsItsBytes) {
  std::ostringstream stream;
  stream << std::setw(6) << std::setfill('.') << String8("port") << String8() << String8("a\0b"sv);
  EXPECT_EQ(stream.view(), "..porta\0b"sv);
}

TEST(String8Iterator, WalksFromTheFirstByteToTheNulAtTheEnd) {
  const String8 string("ab");
  String8::IteratorConst at = string.begin();
  EXPECT_EQ(*at, 'a');
  EXPECT_EQ(at.position(), 0U);
  EXPECT_EQ(*++at, 'b');
  EXPECT_FALSE(at == string.end());
  EXPECT_EQ(*++at, '\0');
  EXPECT_EQ(at.position(), 2U);
  EXPECT_EQ(at, string.end());
}

TEST(String8Iterator, OfTheEmptyStringIsAtItsEnd) { EXPECT_EQ(String8().begin(), String8().end()); }

TEST(String8Iterator, KeepsTheText) {
  String8 string("text");
  String8::IteratorConst at = string.begin();
  string = "other";
  EXPECT_EQ(*at, 't');
  EXPECT_EQ(*++at, 'e');
}

TEST(String8Iterator, IsOfOneStringAndOnePlace) {
  const String8 string("text");
  const String8 sharer(string);
  const String8 equal("text");
  EXPECT_EQ(string.begin(), sharer.begin());
  EXPECT_FALSE(string.begin() == equal.begin());
  EXPECT_FALSE(string.begin() == string.end());
}

TEST(String8Iterator, GoingPastTheEndIsFatal) {
  EXPECT_FATAL(++String8("ab").end(), "Kob/String8.cpp",
               "Kob::String8::IteratorConst& Kob::String8::IteratorConst::operator++()",
               "position < text.length()");
  EXPECT_FATAL(String8::IteratorConst("ab", 3), "Kob/String8.cpp",
               "Kob::String8::IteratorConst::IteratorConst(Kob::String8, std::size_t)",
               "position <= text.length()");
  EXPECT_EQ(*String8::IteratorConst("ab", 2), '\0');
}

}  // namespace
}  // namespace KobTest
