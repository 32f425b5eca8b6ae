#include "agent/LiveAttribute.h"

#include <algorithm>
#include <utility>

#include "Kob/Exception.h"
#include "Kob/GenericIfException.h"
#include "Kob/GenericValue.h"
#include "agent/CommandError.h"
#include "agent/FrameworkAttribute.h"
#include "agent/Refusal.h"
#include "agent/Text.h"

namespace Agent {
namespace {

using Kob::GenericIf;
using Kob::Ptr;

/// The key, parsed by its type. Where the attribute takes none, the text itself, to be refused.
Ptr<const GenericIf> keyOf(const Kob::KobAttr& attr, const std::string& text) {
  const Kob::String8 key{std::string_view(text)};
  return attr.keyType() != nullptr ? attr.keyType()->genericIf(key, true) : Kob::generic(key);
}

/// Entries are compared by their text: it is all that every type of key has.
bool hasEntry(const LiveAttribute& attribute) {
  if (!attribute.key) return false;
  auto entry = std::as_const(*attribute.owner).attributeIteratorConst(attribute.attr->id());
  while (entry && entry.key()->strRep() != attribute.key->strRep()) ++entry;
  return static_cast<bool>(entry);
}

const Root& rootNamed(const std::string& name, const Roots& roots) {
  const auto found =
      std::find_if(roots.begin(), roots.end(), [&](const Root& root) { return root.name == name; });
  if (found != roots.end()) return *found;
  std::string names;
  for (const Root& root : roots) {
    names += (names.empty() ? "" : " or ") + root.name;
  }
  throw CommandError("a path begins with " + names + ", not with \"" + name + "\"");
}

}  // namespace

bool isValue(const GenericIf& interface) {
  return dynamic_cast<const Kob::GenericIfPtrInterface*>(&interface) == nullptr;
}

Ptr<GenericIf> LiveAttribute::operate(unsigned operation, const Ptr<GenericIf>& value) const {
  if (attr->id() == 0) return operateFrameworkAttribute(*owner, *attr, operation, key);
  return owner->attributeOp({attr->id(), operation}, key, value);
}

template <class Action>
auto Place::doing(const Action& action) const {
  try {
    return action();
  } catch (const Kob::Exception& refusal) {
    throw CommandError(printable(text_) + ": " + printable(wordsOf(refusal)));
  }
}

Place::Place(const AttributePath& path, const Roots& roots)
    : text_(path.root), root_(Kob::generic(rootNamed(path.root, roots).object)) {
  for (const PathStep& step : path.steps) {
    const std::string owner = text_;
    text_ += "." + step.attribute + (step.key ? bracketed(*step.key) : "");
    follow(step, owner);
  }
}

void Place::follow(const PathStep& step, const std::string& owner) {
  const auto object = doing([&] { return links_.empty() ? root_ : links_.back().operate(0); });
  if (!object) throw CommandError(printable(owner) + " is null", exitNotFound);
  Kob::KobType* const type = object->type();
  const Kob::KobAttr* const attr = type->attr(Kob::Name(std::string_view(step.attribute)));
  if (attr == nullptr) {
    throw CommandError(printable(text_) + ": " + type->qualifiedName().charPtr() +
                       " has no attribute \"" + step.attribute + "\"");
  }
  Ptr<const GenericIf> key;
  if (step.key) key = doing([&] { return keyOf(*attr, *step.key); });
  links_.push_back({object, attr, key});
}

const LiveAttribute& Place::attribute() const {
  if (links_.empty()) throw CommandError(text_ + " is an object; give one of its attributes");
  return links_.back();
}

Ptr<GenericIf> Place::read() const {
  if (links_.empty()) return root_;
  return doing([&] { return links_.back().operate(GenericIf::readOperation); });
}

Ptr<GenericIf> Place::count() const {
  const LiveAttribute& counted = attribute();
  return doing([&] { return counted.operate(GenericIf::countOperation); });
}

GenericIf::AttributeIteratorConst Place::entries() const {
  (void)count();
  const LiveAttribute& listed = attribute();
  return std::as_const(*listed.owner).attributeIteratorConst(listed.attr->id());
}

Ptr<GenericIf> Place::call(const Ptr<GenericIf>& list) const {
  LiveAttribute called = attribute();
  if (!called.isFunction()) throw CommandError(printable(text_) + " is no function");
  called.key = list;
  return doing([&] { return called.operate(GenericIf::callOperation); });
}

void Place::write(const Ptr<GenericIf>& value) const {
  const LiveAttribute& written = attribute();
  doing([&] {
    written.operate(GenericIf::writeOperation, value);
    writeBack();
  });
}

/// A copy that has not changed is not written back: that would make an entry where there is none.
void Place::del() const {
  const LiveAttribute& deleted = attribute();
  doing([&] {
    const bool isThere = hasEntry(deleted);
    deleted.operate(GenericIf::deleteOperation);
    if (isThere) writeBack();
  });
}

void Place::refuseUnlessWritable() const {
  const LiveAttribute& written = attribute();
  doing([&] {
    try {
      written.operate(GenericIf::writeOperation);
    } catch (const Kob::TypeException& refusal) {
      // The value is looked at last, and the one that is missing is named after the attribute.
      if (refusal.message() != written.attr->name()) throw;
    }
  });
}

void Place::writeBack() const {
  for (std::size_t i = links_.size() - 1; i > 0 && isValue(*links_[i].owner); --i) {
    links_[i - 1].operate(GenericIf::writeOperation, links_[i].owner);
  }
}

}  // namespace Agent
