#pragma once

// A published class with an attribute of each sort: a value, a pointer, collections of values, of
// sets, that make their entries, that can only be looked into, functions, and a nested type.

#include <ostream>
#include <tuple>
#include <utility>

#include "Kob/AccessorFamily.h"
#include "Kob/Activity.h"
#include "Kob/Described.h"
#include "Kob/Entity.h"

namespace KobTest {

class Clerk final : public Kob::Entity {
 public:
  using Entity::Entity;
  static constexpr const char* kobTypeName = "KobTest::Clerk";
  static Kob::KobType* _fwkType() {
    static constinit Kob::TypePointer pointer;
    return pointer.get([] {},
                       [] {
                         using Type = Kob::ObjectType<Clerk, Kob::GenericIfEntity>;
                         return Kob::newType<Type>(kobTypeName, Kob::Entity::_fwkType());
                       });
  }
  Kob::KobType* fwkType() const override { return _fwkType(); }
};

class Shop : public Kob::Entity {
 public:
  class GenericIf_;
  class _Type;

  /// A set of names. Its text form is empty.
  class Shelf {
   public:
    class GenericIf_;
    class _Type;

    static constexpr const char* kobTypeName = "KobTest::Shop::Shelf";
    static Kob::KobType* _fwkType();

    class KobMember final : public Kob::HashMapEntry<KobMember, Kob::Name, bool> {
     public:
      using HashMapEntry::HashMapEntry;
    };
    using MemberCollection = Kob::HashMap<KobMember, Kob::Name, bool>;

    Shelf() = default;
    Shelf(Kob::String8::IteratorConst& /*position*/, const Kob::String8::IteratorConst& /*end*/) {}
    friend std::ostream& operator<<(std::ostream& stream, const Shelf& /*shelf*/) { return stream; }

    [[nodiscard]] bool holds(const Kob::Name& name) const { return Kob::valueAt(member_, name); }
    void put(const Kob::Name& name) { member_.newMember(new KobMember(name, true)); }
    [[nodiscard]] const MemberCollection& memberCollection() const noexcept { return member_; }

   private:
    MemberCollection member_;
  };

  static constexpr const char* kobTypeName = "KobTest::Shop";
  static Kob::KobType* _fwkType();
  Kob::KobType* fwkType() const override { return _fwkType(); }

  Shop(Kob::Name name, unsigned size) : Entity(std::move(name)), size_(size) {}

  [[nodiscard]] unsigned size() const noexcept { return size_; }
  [[nodiscard]] Kob::Ptr<Clerk> clerk() const { return clerk_; }
  KOB_VALUE_COLLECTION(price, Price, Kob::Name, unsigned, ::Kob::IfDifferent);
  KOB_VALUE_COLLECTION(shelf, Shelf, unsigned, Shelf, ::Kob::Always);

  [[nodiscard]] unsigned cost(const Kob::Name& good, unsigned pieces) const {
    return price(good) * pieces;
  }
  void hire(const Kob::Ptr<Clerk>& clerk) { clerk_ = clerk; }
  [[nodiscard]] bool employs(const Kob::Ptr<const Clerk>& clerk) const { return clerk_ == clerk; }
  void close() { clerk_ = nullptr; }

 private:
  unsigned size_;
  Kob::Ptr<Clerk> clerk_;
  PriceCollection price_;
  ShelfCollection shelf_;
};

inline void Shop::priceNotify(const Kob::Name&) {}
inline void Shop::shelfNotify(unsigned) {}

// What it publishes.

KOB_COLLECTION_ACCESS(Prices, Shop, price);
KOB_COLLECTION_ACCESS(Shelves, Shop, shelf);
KOB_COLLECTION_LOOKUP(PriceList, Shop, price);

/// Prices that are made from a list of the amount.
struct Offers : PriceList {
  static void write(Shop& shop, const Kob::Name& good, const Kob::AttributeCall& call) {
    const auto& list = Kob::listOf(call.value().get(), {.missing = call.name()});
    Kob::applyList<std::tuple<unsigned>>(list, call.parameters(), call.name(),
                                         [&](unsigned amount) { shop.priceIs(good, amount); });
  }
  static void del(Shop& shop, const Kob::Name& good) { shop.priceDel(good); }
};

/// A set does not answer its keys one after the other.
struct ShelfMembers {
  using Object = Shop::Shelf;
  static constexpr bool walks = false;
  static const auto& map(const Object& shelf) { return shelf.memberCollection(); }
  static bool read(const Object& shelf, const Kob::Name& name) { return shelf.holds(name); }
};

inline constexpr Kob::AttributeRow shelfRows[] = {
    Kob::collection<ShelfMembers>("member", 2, {0x107, 0x400}, 2),
};
inline constexpr Kob::Description shelfDescription = {
    .qualifiedName = Shop::Shelf::kobTypeName,
    .type = Shop::Shelf::_fwkType,
    .instanceSize = sizeof(Shop::Shelf),
    .announcesGenericIf = true,
    .keyType = Kob::TypeOf<Kob::Name>::type,
    .rows = shelfRows,
};

inline constexpr Kob::AttributeRow shopRows[] = {
    Kob::described<Kob::ActivityConfig>("kobFwkActivity", {0x10F, 0x400}, 2),
    Kob::readable<&Shop::size>("size", 258, {0x109, 0x401}, 2),
    Kob::readable<&Shop::clerk>("clerk", 259, {0x109, 0x402}, 0),
    Kob::nestedType(shelfDescription),
    Kob::collection<Prices>("price", 260, {0x143, 0x403}, 2),
    Kob::collection<Shelves>("shelf", 261, {0x103, 0x404}, 2),
    Kob::collection<PriceList>("priceList", 262, {0x103, 0x405}, 2),
    Kob::instantiatingCollection<Offers, unsigned, Kob::Name>("offer", 263, {0x103, 0x406},
                                                              {"amount", "good"}),
    Kob::function<&Shop::cost>("cost", 264, {1, 0x400}, {"good", "pieces"}),
    Kob::function<&Shop::hire>("hire", 265, {1, 0x400}, {"clerk"}),
    Kob::function<&Shop::employs>("employs", 266, {1, 0x400}, {"clerk"}),
    Kob::function<&Shop::close>("close", 267, {1, 0x400}),
    Kob::describedFunction<bool>("hasNotificationActiveIs", {1, 0x400}, "active"),
};
inline constinit Kob::KobAttr* shopHandles[std::size(shopRows)] = {};

inline Kob::Ptr<Shop> newShop(const Kob::Name& name, unsigned size) { return new Shop(name, size); }

inline constexpr Kob::Description shopDescription = {
    .qualifiedName = Shop::kobTypeName,
    .type = Shop::_fwkType,
    .instanceSize = sizeof(Shop),
    .constructorParameters = Kob::Signature<decltype(&newShop)>::parameters({"name", "size"}),
    .rows = shopRows,
    .callRefusal = {.missing = "no list", .other = "other"},
    .constructorRefusal = {.missing = "no arguments", .other = "other arguments"},
    .handles = shopHandles,
};

inline constexpr const Kob::Description* shopTypes[] = {&shopDescription};
inline constinit Kob::TypeInitialiser shopInitialiser("KobTest", shopTypes);

class Shop::GenericIf_ final : public Kob::Described<Shop::GenericIf_, Kob::GenericIfEntity, Shop> {
 public:
  GenericIf_(const Kob::Ptr<Shop>& shop, bool readOnly) : Described(shop, readOnly) {}
  using Described::modified;

  static const Kob::Description& description() { return shopDescription; }
  static Kob::Ptr<GenericIf> genericIfListConstructor(const Kob::Ptr<const GenericIf>& list) {
    return {new GenericIf_(Kob::constructFromList<&newShop>(list, shopDescription), false)};
  }
};
class Shop::_Type final : public Kob::DescribedObjectType<Shop> {
 public:
  _Type() : DescribedObjectType(Kob::Entity::_fwkType()) {}
};

class Shop::Shelf::GenericIf_ final
    : public Kob::Described<Shop::Shelf::GenericIf_, Kob::GenericValue<Shop::Shelf>, Shop::Shelf> {
 public:
  explicit GenericIf_(const Shelf& shelf, bool readOnly = false) : Described(shelf, readOnly) {}
  static const Kob::Description& description() { return shelfDescription; }
};
class Shop::Shelf::_Type final : public Kob::ValueType<Shop::Shelf> {
 public:
  _Type() : ValueType(Shelf::kobTypeName) {}
};

inline Kob::KobType* Shop::_fwkType() {
  static constinit Kob::TypePointer pointer;
  return pointer.get([] { shopInitialiser.describe(); }, [] { return new _Type; });
}
inline Kob::KobType* Shop::Shelf::_fwkType() {
  static constinit Kob::TypePointer pointer;
  return pointer.get([] { shopInitialiser.describe(); }, [] { return new _Type; });
}

}  // namespace KobTest
