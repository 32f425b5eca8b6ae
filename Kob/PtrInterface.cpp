#include "Kob/PtrInterface.h"

#include <string>
#include <unordered_set>

#include "Kob/TypeName.h"
#include "Kob/WeakHolds.h"

namespace Kob {

bool ReferenceWord::threadSafe = false;

bool VFPtrInterface::hasNotificationActiveIs(bool active) {
  kobNotificationActiveIs(active);
  return active;
}

unsigned VFPtrInterface::kobAuditErrors(unsigned) const { return 0; }
unsigned VFPtrInterface::auditErrors(unsigned) const { return 0; }
void VFPtrInterface::zeroReferencesIs(bool) {}
KobType* VFPtrInterface::fwkType() const { return nullptr; }

void VFPtrInterface::forget() noexcept {
  if (heldWeakly_) WeakHolds::notifierDel(this);
  if (PtrTrack::ptrifs() != 0) PtrTrack::ptrifDel(this);
}

void VFPtrInterface::referencesLeak() const noexcept {
  references_.inc();
  if (PtrTrack::ptrifs() != 0) PtrTrack::ptrifDel(this);
}

void VFPtrInterface::handleZeroRef() const noexcept {
  // Whoever hears of the last release may take a reference and drop it, or keep it. Ours stands
  // against the first, and the second shows when ours goes.
  references_.inc();
  auto* const object = const_cast<VFPtrInterface*>(this);
  object->zeroReferencesIs(true);
  if (references_.dec()) release(object);
}

bool ptrifTrackOn_ = false;

namespace {

std::unordered_set<const VFPtrInterface*>& tracked() {
  // Never destroyed: objects with static storage may go later.
  static auto& objects = *new std::unordered_set<const VFPtrInterface*>;
  return objects;
}

}  // namespace

std::size_t PtrTrack::ptrifs_ = 0;

void PtrTrack::ptrifIs(const VFPtrInterface* object) {
  tracked().insert(object);
  ptrifs_ = tracked().size();
}

void PtrTrack::ptrifDel(const VFPtrInterface* object) noexcept {
  tracked().erase(object);
  ptrifs_ = tracked().size();
}

void nullDereference(const std::type_info& type) noexcept {
  const std::string function = "Kob::Ptr<" + typeName(type) + ">::operator->() const";
  assertFail("ptr != 0", "Kob/PtrInterface.h", __LINE__, function.c_str());
}

}  // namespace Kob
