#include "Kob/TypeName.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace KobTest
