#include "Kob/Introspection.h"

namespace Kob {

IntrospectionObserver::~IntrospectionObserver() = default;
void IntrospectionObserver::handleNameSpace(const Name&) {}
void IntrospectionObserver::handleType(KobType*, KobType*) {}
void IntrospectionObserver::defNoninstantiatingAttr(KobType*, KobAttr*) {}
void IntrospectionObserver::handleAttr(KobType*, KobAttr*) {}
void IntrospectionObserver::handleAttrContextExit() {}
void IntrospectionObserver::handleScopeExit() {}

Ptr<IntrospectionReactor> IntrospectionReactor::global() {
  // Never destroyed: libraries may be loaded while the process ends.
  static IntrospectionReactor* const reactor = [] {
    auto* const made = new IntrospectionReactor;
    made->referencesLeak();
    return made;
  }();
  return {reactor};
}

void IntrospectionReactor::observerIs(const Ptr<IntrospectionObserver>& observer) {
  if (observer == observer_) return;
  observer_ = nullptr;
  if (!observer) return;
  // What the observer itself makes known while it is told comes after the rest, and once.
  for (std::size_t at = 0; at < records_.size(); ++at) {
    const Record record = records_[at];
    record(*observer);
  }
  observer_ = observer;
}

void IntrospectionReactor::handleNameSpace(const char* name) {
  recordIs(
      [name = Name(name)](IntrospectionObserver& observer) { observer.handleNameSpace(name); });
}

void IntrospectionReactor::handleType(KobType* type, KobType* base) {
  recordIs([=](IntrospectionObserver& observer) { observer.handleType(type, base); });
}

KobAttr* IntrospectionReactor::defNoninstantiatingAttr(KobType* type, const Name& name,
                                                       KobType* attrType, KobType* keyType,
                                                       AttributeFlags flags,
                                                       std::uint32_t introspectionFlags,
                                                       AttributeId id) {
  KobAttr* const attr = type->attrIs(name, attrType, flags, id);
  attr->keyTypeIs(keyType);
  attr->kindCodeIs(introspectionFlags);
  recordIs([=](IntrospectionObserver& observer) { observer.defNoninstantiatingAttr(type, attr); });
  return attr;
}

void IntrospectionReactor::handleAttr(KobType* type, KobAttr* attr) {
  recordIs([=](IntrospectionObserver& observer) { observer.handleAttr(type, attr); });
}

void IntrospectionReactor::handleAttrContextExit() {
  recordIs(std::mem_fn(&IntrospectionObserver::handleAttrContextExit));
}

void IntrospectionReactor::handleScopeExit() {
  recordIs(std::mem_fn(&IntrospectionObserver::handleScopeExit));
}

void IntrospectionReactor::recordIs(const Record& record) {
  records_.push_back(record);
  if (const Ptr<IntrospectionObserver> observer = observer_) record(*observer);
}

}  // namespace Kob
