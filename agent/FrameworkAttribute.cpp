#include "agent/FrameworkAttribute.h"

#include <tuple>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "Kob/GenericIfException.h"

namespace Agent {
namespace {

using FyrL3Intf::ConfigSm;
using FyrL3Intf::SwitchIntfConfigSm;
using Kob::GenericIf;
using Kob::Ptr;

constexpr const char* activityName = "kobFwkActivity";
constexpr const char* keyName = "fwkKey";
constexpr const char* activeName = "hasNotificationActiveIs";
constexpr const char* zombieName = "kobDoZombieReactors";

[[noreturn]] void refuse(const GenericIf& owner) {
  throw Kob::UnknownAttributeException(owner.type()->qualifiedName(), 0);
}

/// The wrapped object, if it is a T.
template <class T>
T* objectIn(GenericIf& owner) {
  auto* const wrapper = dynamic_cast<Kob::GenericIfPtrInterface*>(&owner);
  return wrapper != nullptr ? static_cast<T*>(wrapper->voidPtrIs(T::_fwkType())) : nullptr;
}

Ptr<GenericIf> read(GenericIf& owner, const Kob::Name& name) {
  if (auto* const machine = objectIn<ConfigSm>(owner); machine != nullptr && name == activityName) {
    return Kob::generic(machine->kobFwkActivity(), owner.readOnly());
  }
  if (auto* const machine = objectIn<SwitchIntfConfigSm>(owner)) {
    if (name == activityName) return Kob::generic(machine->kobFwkActivity(), owner.readOnly());
    if (name == keyName) return Kob::generic(machine->fwkKey());
  }
  refuse(owner);
}

Ptr<GenericIf> call(GenericIf& owner, const Kob::KobAttr& attr, const Ptr<const GenericIf>& arg) {
  const auto target = [&](bool on) {
    if (attr.name() == activeName) return owner.hasNotificationActiveIs(on);
    if (attr.name() == zombieName) return owner.kobDoZombieReactors(on);
    refuse(owner);
  };
  const Kob::GenericIf::List_& list = Kob::listOf(arg.get(), {});
  Kob::ParameterRows parameters{};
  parameters[0].name = attr.parameters().front().name.charPtr();
  return Kob::generic(
      Kob::applyList<std::tuple<bool>>(list, parameters, attr.name().charPtr(), target));
}

}  // namespace

Ptr<GenericIf> operateFrameworkAttribute(GenericIf& owner, const Kob::KobAttr& attr,
                                         unsigned operation, const Ptr<const GenericIf>& arg) {
  if (owner.readOnly() && operation >= GenericIf::firstModifyingOperation) {
    throw Kob::ConstException();
  }
  const bool isFunction = attr.kindCode() == Kob::KobAttr::functionKind;
  if (!isFunction && arg) throw Kob::BadIndexException(attr.name());
  if (operation != GenericIf::readOperation) {
    throw Kob::OperationNotSupportedException(attr.name(), operation);
  }
  return isFunction ? call(owner, attr, arg) : read(owner, attr.name());
}

}  // namespace Agent
