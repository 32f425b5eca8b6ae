#pragma once

// Attributes of live objects, found by path and operated through the generic interface, which does
// all the refusing.
//
// A value that is read out of a collection is a copy. Who changes a member of such a copy means the
// original: what is changed here is written back under its key.

#include <string>
#include <vector>

#include "Kob/GenericIf.h"
#include "Kob/Type.h"
#include "agent/AttributePath.h"

namespace Agent {

/// An object at which paths begin.
struct Root {
  std::string name;
  Kob::Ptr<Kob::PtrInterface> object;
};
using Roots = std::vector<Root>;

/// An attribute of an object or of a value, or one entry of it.
struct LiveAttribute {
  Kob::Ptr<Kob::GenericIf> owner;
  const Kob::KobAttr* attr;
  /// Null where no entry is meant.
  Kob::Ptr<const Kob::GenericIf> key;

  /// As GenericIf::attributeOp, for attributes without an id as well.
  Kob::Ptr<Kob::GenericIf> operate(  // NOLINT(modernize-use-nodiscard): a write answers nothing
      unsigned operation, const Kob::Ptr<Kob::GenericIf>& value = nullptr) const;
  [[nodiscard]] bool isFunction() const { return attr->kindCode() == Kob::KobAttr::functionKind; }
  [[nodiscard]] bool isCollection() const { return attr->keyType() != nullptr; }
};

/// What a path leads to. Every operation throws CommandError, which begins with the path, where the
/// generic interface refuses.
class Place {
 public:
  /// Follows the path. Throws CommandError where it leads nowhere: at an unknown root, an unknown
  /// attribute, a key that is none, or behind a null.
  Place(const AttributePath& path, const Roots& roots);

  [[nodiscard]] const std::string& text() const { return text_; }
  /// The value, or the object at which the path ends; null for null.
  [[nodiscard]] Kob::Ptr<Kob::GenericIf> read() const;
  [[nodiscard]] Kob::Ptr<Kob::GenericIf> count() const;
  /// The entries of the collection, in its order.
  [[nodiscard]] Kob::GenericIf::AttributeIteratorConst entries() const;
  [[nodiscard]] Kob::Ptr<Kob::GenericIf> call(const Kob::Ptr<Kob::GenericIf>& list) const;
  void write(const Kob::Ptr<Kob::GenericIf>& value) const;
  void del() const;

  /// The attribute. Throws where the path is but a root.
  [[nodiscard]] const LiveAttribute& attribute() const;
  /// Throws what a write is refused with, whatever the value.
  void refuseUnlessWritable() const;

 private:
  void follow(const PathStep& step, const std::string& owner);
  /// Does what may be refused.
  template <class Action>
  auto doing(const Action& action) const;
  void writeBack() const;

  std::string text_;
  Kob::Ptr<Kob::GenericIf> root_;
  /// From the root to where the path ends.
  std::vector<LiveAttribute> links_;
};

/// Whether it is a value, not an object.
[[nodiscard]] bool isValue(const Kob::GenericIf& interface);

}  // namespace Agent
