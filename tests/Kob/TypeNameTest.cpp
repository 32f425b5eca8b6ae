#include "Kob/TypeName.h"

#include <gtest/gtest.h>

#include <typeinfo>

#include "Kob/Entity.h"

namespace KobTest {
namespace {

using Kob::typeName;

TEST(TypeName, IsTheQualifiedNameAsTheSourceWritesIt) {
  EXPECT_EQ(typeName(typeid(Kob::Entity)), "Kob::Entity");
  EXPECT_EQ(typeName(typeid(Kob::Entity::NotifieeConst)), "Kob::Entity::NotifieeConst");
  EXPECT_EQ(typeName(typeid(unsigned)), "unsigned int");
  EXPECT_EQ(typeName(typeid(Kob::Ptr<const Kob::Entity>)), "Kob::Ptr<Kob::Entity const>");
}

TEST(TypeName, IsThatOfTheObjectForAnExpression) {
  const Kob::Ptr<Kob::PtrInterface> object(new Kob::Entity("entity"));
  const Kob::PtrInterface& seen = *object;
  EXPECT_EQ(typeName(typeid(seen)), "Kob::Entity");
}

/// Type information under a name of its own.
class NamedType : public std::type_info {
 public:
  explicit NamedType(const char* name) : type_info(name) {}
};

TEST(TypeName, IsTheRawNameWhereThatIsNoMangledOne) {
  EXPECT_EQ(typeName(NamedType("no mangled name")), "no mangled name");
}

}  // namespace
}  // namespace KobTest
