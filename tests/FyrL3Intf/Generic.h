#pragma once

// What the tests of the generic interfaces share: boxes and lists, what an operation comes to as
// one line of text, and a generic listener.

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "FyrL3Intf/FyrL3IntfSm.h"
#include "FyrL3Intf/FyrL3IntfTable.h"
#include "Kob/GenericIf.h"
#include "Kob/GenericIfException.h"
#include "Kob/GenericValue.h"
#include "tests/FyrL3Intf/World.h"

namespace FyrL3Intf::Tests {

using Wrapper = Kob::Ptr<Kob::GenericIf>;

/// The operation codes.
constexpr unsigned readOp = 0;
constexpr unsigned callOp = 0;
constexpr unsigned countOp = 1;
constexpr unsigned firstKeyOp = 2;
constexpr unsigned nextKeyOp = 3;
constexpr unsigned writeOp = 128;
constexpr unsigned deleteOp = 129;

/// A boxed value, or a wrapped object.
template <class T>
Wrapper boxed(const T& value) {
  return Kob::generic(value);
}
inline Wrapper boxedIntf(const char* intf) { return boxed(Plexo::IntfId(intf)); }

/// A generic list of these elements.
inline Wrapper arguments(std::initializer_list<Wrapper> elements = {}) {
  return {new Kob::GenericIf::List_(elements)};
}

/// A read-only wrapper of the object.
template <class T>
Wrapper readOnlyOf(const Kob::Ptr<T>& object) {
  return Kob::generic(Kob::Ptr<const T>(object));
}

inline std::string stdText(const Kob::String8& text) { return std::string(text.view()); }

/// An answer as its type and text: "bool true", "FyrL3Intf::L3Id 10"; wrapped objects, which print
/// their addresses, as their type alone, and no answer as "nothing".
inline std::string answerText(const Kob::GenericIf* answer) {
  if (answer == nullptr) return "nothing";
  const std::string type = stdText(answer->type()->qualifiedName());
  if (dynamic_cast<const Kob::GenericIfPtrInterface*>(answer) != nullptr) return type;
  return type + " " + stdText(answer->strRep());
}

/// What the call comes to: its answer, or the exception that it throws. A refusal shows as the name
/// of its class, its message, and the code or the id that it carries.
inline std::string outcomeOf(const std::function<Wrapper()>& call) {
  const auto text = [](const char* name, const Kob::Exception& thrown) {
    return std::string(name) + " " + stdText(thrown.message());
  };
  try {
    return answerText(call().get());
  } catch (const Kob::ConstException& thrown) {
    return text("ConstException", thrown);
  } catch (const Kob::TypeException& thrown) {
    return text("TypeException", thrown);
  } catch (const Kob::UnknownArgumentException& thrown) {
    return text("UnknownArgumentException", thrown);
  } catch (const Kob::BadIndexException& thrown) {
    return text("BadIndexException", thrown);
  } catch (const Kob::OperationNotSupportedException& thrown) {
    return text("OperationNotSupportedException", thrown) + " " +
           std::to_string(thrown.operation());
  } catch (const Kob::UnknownAttributeException& thrown) {
    return text("UnknownAttributeException", thrown) + " " + std::to_string(thrown.attributeId());
  } catch (const Kob::NameInUseException& thrown) {
    return text("NameInUseException", thrown);
  } catch (const Kob::RangeException& thrown) {
    return text("RangeException", thrown);
  }
}

/// What the operation comes to.
inline std::string outcome(const Wrapper& wrapper, Kob::AttributeId id, unsigned operation,
                           const Wrapper& arg = nullptr, const Wrapper& value = nullptr) {
  return outcomeOf([&] { return wrapper->attributeOp({id, operation}, arg, value); });
}

inline const std::string constRefusal = "ConstException attempting to modify a const instance";
inline std::string notSupported(const std::string& name, unsigned operation) {
  return "OperationNotSupportedException " + name + " " + std::to_string(operation);
}
inline std::string unknownAttribute(const std::string& type, Kob::AttributeId id) {
  return "UnknownAttributeException " + type + " " + std::to_string(id);
}

/// The object in a wrapper that is not read-only.
inline Kob::PtrInterface* objectIn(const Wrapper& wrapper) {
  auto* const typed = dynamic_cast<Kob::GenericIfPtrInterface*>(wrapper.get());
  return typed != nullptr ? typed->obj().get() : nullptr;
}
/// The object in any wrapper.
inline const Kob::PtrInterface* constObjectIn(const Kob::Ptr<const Kob::GenericIf>& wrapper) {
  const auto* const typed = dynamic_cast<const Kob::GenericIfPtrInterface*>(wrapper.get());
  return typed != nullptr ? typed->obj().get() : nullptr;
}

/// Everything that can be seen of a table: maps, counters, flag, the number of its notifiees.
inline std::string wholeState(const Table& table) {
  return textOf(table) + "reads " + std::to_string(table.readCount()) + " needed " +
         std::to_string(static_cast<int>(table.internalVlanNeeded())) + " notifiees " +
         std::to_string(table.kobNotifiees().members()) + '\n';
}
/// Everything that can be seen of a machine: wishes, interface machines, switches, and its table.
inline std::string wholeState(const ConfigSm& machine) {
  std::string text = textOf(machine);
  for (const auto& name : namesOf(machine.switchIntfConfigSmIteratorConst())) text += name + ' ';
  text += machine.hasNotificationActive() ? "active " : "inactive ";
  text += machine.kobMarkedForDeletion() ? "zombie\n" : "alive\n";
  const auto table = machine.fyrL3IntfTable();
  return table ? text + wholeState(*table) : text;
}

/// The keys, as text, over which the iterator goes.
inline Log keysOf(Kob::GenericIf::AttributeIteratorConst it) {
  Log keys;
  for (; it; ++it) keys.push_back(stdText(it.key()->strRep()));
  return keys;
}
/// The same, each with its value: "Ethernet1 FyrL3Intf::L3Id 10".
inline Log entriesOf(Kob::GenericIf::AttributeIteratorConst it) {
  Log entries;
  for (; it; ++it) {
    entries.push_back(stdText(it.key()->strRep()) + " " + answerText(it.value().get()));
  }
  return entries;
}

/// The keys, as text, that a walk with the operations for the first and the next key answers. Ends
/// where the walk does not.
inline Log walkedKeys(const Wrapper& wrapper, Kob::AttributeId id) {
  constexpr std::size_t endless = 100;
  Log keys;
  Wrapper key = wrapper->attributeOp({id, firstKeyOp}, nullptr, nullptr);
  while (key && keys.size() < endless) {
    keys.push_back(stdText(key->strRep()));
    key = wrapper->attributeOp({id, nextKeyOp}, key, nullptr);
  }
  return keys;
}

/// Hears of what a wrapper passes on: "260 Ethernet1", "260" without a key, "exception 260".
class GenericListener : public Kob::GenericIf::NotifieeConst {
 public:
  GenericListener() = default;
  GenericListener(std::string name, Log& log) : name_(std::move(name)), log_(&log) {}

  Log heard;
  /// Run after what was heard was kept.
  std::function<void()> onHeard = [] {};

  using Kob::GenericIf::NotifieeConst::onAttribute;
  using Kob::GenericIf::NotifieeConst::onNotificationException;
  void onAttribute(Kob::AttributeId id, const Kob::Ptr<const Kob::GenericIf>& key) override {
    const std::string attribute = std::to_string(id);
    hears(key ? attribute + ' ' + stdText(key->strRep()) : attribute);
    onHeard();
  }
  void onNotificationException(Kob::AttributeId id) override {
    hears("exception " + std::to_string(id));
  }
  void onZeroReferences() override { hears("zero references"); }

 private:
  void hears(const std::string& what) {
    heard.push_back(what);
    if (log_ != nullptr) log_->push_back(name_ + " " + what);
  }

  std::string name_;
  Log* log_ = nullptr;
};

/// Points the listener at the wrapper and registers it.
inline Kob::Ptr<GenericListener> joined(const Kob::Ptr<GenericListener>& listener,
                                        const Wrapper& wrapper) {
  listener->notifierIs(wrapper);
  listener->isRegisteredNotifieeIs(true);
  return listener;
}
inline Kob::Ptr<GenericListener> genericListenerOf(const Wrapper& wrapper) {
  return joined(Kob::Ptr(new GenericListener), wrapper);
}
inline Kob::Ptr<GenericListener> genericListenerOf(const Wrapper& wrapper, std::string name,
                                                   Log& log) {
  return joined(Kob::Ptr(new GenericListener(std::move(name), log)), wrapper);
}

}  // namespace FyrL3Intf::Tests
