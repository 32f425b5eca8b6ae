// A program that loads the system's library while introspection is switched off, and has it
// described afterwards. It knows the library by the names of its functions alone, as a tool does
// that was not built against it.
//
//   LateDescription LIBRARY
//
// Says what is not as it should be, one line for each, and exits with 1; exits with 0 otherwise.

#include <dlfcn.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "Kob/Introspection.h"
#include "Kob/Type.h"

namespace {

using Kob::KobAttr;
using Kob::KobType;

int faults = 0;

void expect(bool condition, const std::string& expectation) {
  if (condition) return;
  std::cout << "not so: " << expectation << '\n';
  ++faults;
}

/// The function of this mangled name. Ends the program when there is none.
template <class Function>
Function* functionOf(void* library, const char* name) {
  void* const address = dlsym(library, name);
  if (address == nullptr) {
    std::cout << dlerror() << '\n';
    std::exit(1);
  }
  return reinterpret_cast<Function*>(address);
}

using TypeFunction = KobType*();
using InitFunction = void();
using HandlesFunction = std::span<KobAttr* const>();

/// A published type of the library.
struct Published {
  const char* name;
  const char* typeFunction;
  /// Null for the type that keeps no handles.
  const char* handlesFunction;
  std::size_t attributes;
};

constexpr Published publishedTypes[] = {
    {"FyrL3Intf::ConfigSm", "_ZN9FyrL3Intf8ConfigSm8_fwkTypeEv",
     "_ZN9FyrL3Intf8ConfigSm5_Type16attributeHandlesEv", 18},
    {"FyrL3Intf::SwitchIntfConfigSm", "_ZN9FyrL3Intf18SwitchIntfConfigSm8_fwkTypeEv",
     "_ZN9FyrL3Intf18SwitchIntfConfigSm5_Type16attributeHandlesEv", 9},
    {"FyrL3Intf::ConfigSm::IntfSet", "_ZN9FyrL3Intf8ConfigSm7IntfSet8_fwkTypeEv", nullptr, 1},
    {"FyrL3Intf::Table", "_ZN9FyrL3Intf5Table8_fwkTypeEv",
     "_ZN9FyrL3Intf5Table5_Type16attributeHandlesEv", 5},
};

/// Types of the inputs' models, and how many attributes each has.
constexpr std::pair<const char*, std::size_t> modelTypes[] = {
    {"Bridging::Config", 1},      {"Bridging::SwitchIntfConfig", 3},
    {"Interface::IntfStatus", 1}, {"Interface::VlanIntfStatusDir", 1},
    {"FyrL3Intf::L3Index", 2},    {"FyrL3Intf::L3IndexDir", 1},
};

/// Counts which of the published types are described.
class Counter final : public Kob::IntrospectionObserver {
 public:
  void handleType(KobType* type, KobType* /*base*/) override {
    types += static_cast<int>(std::ranges::count(
        publishedTypes, type->qualifiedName().view(),
        [](const Published& published) { return std::string_view(published.name); }));
  }

  int types = 0;
};

std::size_t filledHandles(void* library, const Published& published) {
  if (published.handlesFunction == nullptr) return published.attributes;
  std::size_t filled = 0;
  for (const auto* const handle :
       functionOf<HandlesFunction>(library, published.handlesFunction)()) {
    if (handle != nullptr) ++filled;
  }
  return filled;
}

void checkUndescribed(void* library) {
  for (const Published& published : publishedTypes) {
    const std::string name = published.name;
    KobType* const type = functionOf<TypeFunction>(library, published.typeFunction)();
    expect(type != nullptr, name + " has a type object");
    if (type == nullptr) continue;
    expect(type->qualifiedName() == published.name, name + " has its qualified name");
    expect(KobType::typeNode(published.name) == type, name + " is registered under its name");
    expect(type->attrs().empty(), name + " has no attributes yet");
    expect(type->instanceSize() == 0, name + " has no instance size yet");
    expect(published.handlesFunction == nullptr || filledHandles(library, published) == 0,
           name + " has no handles yet");
  }
}

void checkDescribed(void* library) {
  for (const Published& published : publishedTypes) {
    const std::string name = published.name;
    const KobType* const type = functionOf<TypeFunction>(library, published.typeFunction)();
    expect(KobType::typeNode(published.name) == type, name + " is the same type object");
    expect(type->attrs().size() == published.attributes, name + " has its attributes");
    expect(type->instanceSize() != 0, name + " has its instance size");
    expect(filledHandles(library, published) == published.attributes, name + " has its handles");
  }
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  const auto reactor = Kob::IntrospectionReactor::global();
  reactor->activeIs(false);
  void* const library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::cout << dlerror() << '\n';
    return 1;
  }
  auto* const initSm = functionOf<InitFunction>(library, "_ZN9FyrL3Intf18kobInitFyrL3IntfSmEv");
  auto* const initTable =
      functionOf<InitFunction>(library, "_ZN9FyrL3Intf21kobInitFyrL3IntfTableEv");
  checkUndescribed(library);
  initSm();
  initTable();
  checkUndescribed(library);

  const Kob::Ptr<Counter> counter(new Counter);
  reactor->observerIs(counter);
  expect(counter->types == 0, "nothing was described while introspection was off");
  reactor->activeIs(true);
  initSm();
  expect(counter->types == 3, "the machines' source describes its three types");
  for (const auto& [name, attributes] : modelTypes) {
    expect(KobType::typeNode(name)->attrs().size() == attributes,
           std::string(name) + " is described with the machines that read it");
  }
  initTable();
  expect(counter->types == 4, "the table's source describes the table");
  checkDescribed(library);
  initSm();
  initTable();
  expect(counter->types == 4, "nothing is described twice");
  reactor->observerIs(nullptr);
  return faults == 0 ? 0 : 1;
}
