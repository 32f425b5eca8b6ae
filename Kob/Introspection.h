#pragma once

// The one place that hears of every type and attribute when they are described, and the observers
// that want to hear of them too.
//
// Descriptions come as a sequence of calls that nest: a namespace, in it types, in a type its
// attributes and nested types; each level is closed by `handleScopeExit`, an attribute that was
// declared with parameters by `handleAttrContextExit`. The sequence is kept, so that an observer
// that comes late first hears all of it, in order.

#include <cstdint>
#include <functional>
#include <vector>

#include "Kob/Export.h"
#include "Kob/PtrInterface.h"
#include "Kob/String8.h"
#include "Kob/Type.h"

namespace Kob {

/// Hears of descriptions. Each operation does nothing unless it is overridden; what one throws
/// passes to whoever described.
class KOB_EXPORT IntrospectionObserver : public PtrInterface {
 public:
  ~IntrospectionObserver() override;

  virtual void handleNameSpace(const Name& name);
  /// A type begins; `base` is null where it has none. Its size, support and parameters are told
  /// after this call, and stand when its scope closes.
  virtual void handleType(KobType* type, KobType* base);
  /// An attribute of `type` was declared plainly, with all that is known of it.
  virtual void defNoninstantiatingAttr(KobType* type, KobAttr* attr);
  /// An attribute of `type` was declared with its parameters.
  virtual void handleAttr(KobType* type, KobAttr* attr);
  virtual void handleAttrContextExit();
  virtual void handleScopeExit();

 protected:
  IntrospectionObserver() = default;
};

class KOB_EXPORT IntrospectionReactor : public PtrInterface {
 public:
  /// The one of this process.
  static Ptr<IntrospectionReactor> global();

  /// Whether libraries describe their types when they are loaded; true at start. While it is false
  /// they leave it, and catch up when they are asked again.
  [[nodiscard]] bool active() const noexcept { return active_; }
  void activeIs(bool active) noexcept { active_ = active; }

  /// The observer, or null. A new one first hears everything that was described so far;
  /// whom it sets itself while it hears that does not stay.
  [[nodiscard]] const Ptr<IntrospectionObserver>& observer() const noexcept { return observer_; }
  void observerIs(const Ptr<IntrospectionObserver>& observer);

  // What a library calls while it describes its types, in this order of nesting.

  void handleNameSpace(const char* name);
  void handleType(KobType* type, KobType* base);
  /// Declares a plain attribute in `type`: its type, its key type (null where it has none), flags,
  /// introspection flag and id. Returns it.
  KobAttr* defNoninstantiatingAttr(KobType* type, const Name& name, KobType* attrType,
                                   KobType* keyType, AttributeFlags flags,
                                   std::uint32_t introspectionFlags, AttributeId id);
  /// Reports an attribute that was declared in `type` with KobAttr::attrIs.
  void handleAttr(KobType* type, KobAttr* attr);
  void handleAttrContextExit();
  void handleScopeExit();

 private:
  /// One call of the sequence: makes it on an observer.
  using Record = std::function<void(IntrospectionObserver& observer)>;

  IntrospectionReactor() = default;

  void recordIs(const Record& record);

  bool active_ = true;
  Ptr<IntrospectionObserver> observer_;
  // Types and attributes are never released.
  std::vector<Record> records_;
};

}  // namespace Kob
