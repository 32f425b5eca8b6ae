// The refusals of the generic interface: what each carries, and what it says to people.

#include "Kob/GenericIfException.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace KobTest {
namespace {

using Kob::Exception;
using Kob::GenericIfException;

/// What is the same of every refusal: it is caught as what it is and as any exception, its message
/// is the name alone, and it is of one kind.
template <class Refusal>
void expectRefusal(const Refusal& refusal, Exception::Id kind, const char* message,
                   const char* explanation) {
  static_assert(std::is_base_of_v<GenericIfException, Refusal>);
  EXPECT_THROW(throw Refusal(refusal), GenericIfException);
  EXPECT_THROW(throw Refusal(refusal), Exception);
  EXPECT_EQ(refusal.message(), message);
  EXPECT_EQ(std::string(refusal.what()), message);
  EXPECT_EQ(refusal.explanation(), explanation);
  EXPECT_TRUE(refusal.expectable());
  for (Exception::Id id = 0; id < 64; ++id) EXPECT_EQ(refusal.ids().contains(id), id == kind) << id;
}

TEST(GenericIfException, AWriteToAConstInstance) {
  expectRefusal(Kob::ConstException(), Exception::constInstance,
                "attempting to modify a const instance", "attempting to modify a const instance");
}

TEST(GenericIfException, AValueOfAnotherType) {
  expectRefusal(Kob::TypeException("intfId"), Exception::typeMismatch, "intfId",
                "'intfId' is missing or of the wrong type");
}

TEST(GenericIfException, AnArgumentTooMany) {
  expectRefusal(Kob::UnknownArgumentException("doVerify"), Exception::unknownArgument, "doVerify",
                "'doVerify' was given an argument too many");
}

TEST(GenericIfException, AnIndexThatIsNone) {
  expectRefusal(Kob::BadIndexException("config"), Exception::badIndex, "config",
                "'config' does not take this index");
}

TEST(GenericIfException, AnOperationThatAnAttributeDoesNotHave) {
  const Kob::OperationNotSupportedException refusal("member", 130);
  expectRefusal(refusal, Exception::operationNotSupported, "member",
                "'member' does not support operation 130");
  EXPECT_EQ(refusal.operation(), 130U);
}

TEST(GenericIfException, AnAttributeThatATypeDoesNotHave) {
  const Kob::UnknownAttributeException refusal("FyrL3Intf::Table", -7);
  expectRefusal(refusal, Exception::unknownAttribute, "FyrL3Intf::Table",
                "'FyrL3Intf::Table' has no attribute with the id -7");
  EXPECT_EQ(refusal.attributeId(), -7);
}

TEST(GenericIfException, TheKindsAreSixDifferentOnes) {
  EXPECT_EQ(Exception::constInstance, 14U);
  EXPECT_EQ(Exception::typeMismatch, 15U);
  EXPECT_EQ(Exception::unknownArgument, 16U);
  EXPECT_EQ(Exception::badIndex, 17U);
  EXPECT_EQ(Exception::operationNotSupported, 18U);
  EXPECT_EQ(Exception::unknownAttribute, 19U);
}

}  // namespace
}  // namespace KobTest
