#pragma once

// An observer of descriptions that writes down what it hears, and a guard that takes it away again:
// there is one place in the process where observers are set.

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Kob/Introspection.h"

namespace KobTest {

/// What was heard, one line for each call.
using Heard = std::vector<std::string>;

/// Writes down each call: "namespace Shop", "type Shop::Part : Kob::Entity", "plain Part.weight",
/// "attr Part.weigh", "attr end", "end".
class WritingObserver final : public Kob::IntrospectionObserver {
 public:
  void handleNameSpace(const Kob::Name& name) override {
    hears(std::string("namespace ") + name.charPtr());
  }
  void handleType(Kob::KobType* type, Kob::KobType* base) override {
    std::string line = std::string("type ") + type->qualifiedName().charPtr();
    if (base != nullptr) line += std::string(" : ") + base->qualifiedName().charPtr();
    hears(std::move(line));
  }
  void defNoninstantiatingAttr(Kob::KobType* type, Kob::KobAttr* attr) override {
    hears("plain " + path(*type, *attr));
  }
  void handleAttr(Kob::KobType* type, Kob::KobAttr* attr) override {
    hears("attr " + path(*type, *attr));
  }
  void handleAttrContextExit() override { hears("attr end"); }
  void handleScopeExit() override { hears("end"); }

  /// Forgets what was heard so far and returns it.
  Heard taken() { return std::exchange(heard, {}); }

  Heard heard;
  /// Runs after each line was written down.
  std::function<void(const std::string& line)> whenHeard = [](const std::string&) {};

 private:
  static std::string path(const Kob::KobType& type, const Kob::KobAttr& attr) {
    return std::string(type.name().charPtr()) + "." + attr.name().charPtr();
  }
  void hears(std::string line) {
    heard.push_back(line);
    // A copy, because the script may replace itself.
    const auto script = whenHeard;
    script(line);
  }
};

/// The last `count` lines.
inline Heard lastOf(const Heard& heard, std::size_t count) {
  return {heard.end() - static_cast<std::ptrdiff_t>(std::min(count, heard.size())), heard.end()};
}

/// Leaves no observer behind, and introspection active.
class IntrospectionGuard {
 public:
  IntrospectionGuard() = default;
  IntrospectionGuard(const IntrospectionGuard&) = delete;
  IntrospectionGuard& operator=(const IntrospectionGuard&) = delete;
  ~IntrospectionGuard() {
    reactor->observerIs(nullptr);
    reactor->activeIs(true);
  }

  Kob::Ptr<Kob::IntrospectionReactor> reactor = Kob::IntrospectionReactor::global();
};

}  // namespace KobTest
