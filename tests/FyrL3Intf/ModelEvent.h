#pragma once

// An event of a sequence: an operation with its arguments, which can be carried out on the model
// and on the library, and printed as the code that makes it.
//
//   const Event routed = EVENT(port, 0, "Ethernet1", Model::routed, 100);

#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "tests/FyrL3Intf/Model.h"
#include "tests/FyrL3Intf/ModelLibrary.h"

namespace FyrL3Intf::Tests {

class Event {
 public:
  /// The operation of this name, on both sides. Interfaces may be given by name.
  template <class... Arguments, class... Given>
  Event(const char* name, void (Model::*onModel)(Arguments...),
        void (Library::*onLibrary)(Arguments...), const Given&... given)
      : action_(std::make_shared<const ActionOf<Arguments...>>(
            name, onModel, onLibrary, std::tuple<Arguments...>(as<Arguments>(given)...))) {}

  void carryOut(Model& model) const { action_->on(model); }
  void carryOut(Library& library) const { action_->on(library); }
  /// The code that makes the event.
  [[nodiscard]] std::string code() const { return action_->code(); }

 private:
  struct Action {
    virtual void on(Model& model) const = 0;
    virtual void on(Library& library) const = 0;
    [[nodiscard]] virtual std::string code() const = 0;

    Action() = default;
    Action(const Action&) = delete;
    Action& operator=(const Action&) = delete;
    virtual ~Action() = default;
  };

  template <class... Arguments>
  struct ActionOf final : Action {
    using OnModel = void (Model::*)(Arguments...);
    using OnLibrary = void (Library::*)(Arguments...);

    ActionOf(const char* operationName, OnModel modelOperation, OnLibrary libraryOperation,
             std::tuple<Arguments...> operationArguments)
        : name(operationName),
          onModel(modelOperation),
          onLibrary(libraryOperation),
          arguments(std::move(operationArguments)) {}

    void on(Model& model) const override {
      std::apply([&](auto... each) { (model.*onModel)(each...); }, arguments);
    }
    void on(Library& library) const override {
      std::apply([&](auto... each) { (library.*onLibrary)(each...); }, arguments);
    }
    [[nodiscard]] std::string code() const override {
      std::string text = std::string("EVENT(") + name;
      std::apply([&](auto... each) { ((text += ", " + textOf(each)), ...); }, arguments);
      return text + ")";
    }

    const char* name;
    OnModel onModel;
    OnLibrary onLibrary;
    std::tuple<Arguments...> arguments;
  };

  template <class Argument, class Given>
  static Argument as(const Given& given) {
    if constexpr (std::is_same_v<Argument, Given>) {
      return given;
    } else {
      return static_cast<Argument>(given);
    }
  }

  static std::string textOf(bool value) { return value ? "true" : "false"; }
  static std::string textOf(Plexo::IntfId intf) {
    return std::string("\"") + intf.name().charPtr() + "\"";
  }
  template <class Number>
  static std::string textOf(Number number) {
    return std::to_string(number);
  }

  std::shared_ptr<const Action> action_;
};

}  // namespace FyrL3Intf::Tests

/// The event of this operation of the model, with its arguments.
#define EVENT(operation, ...)                                                  \
  ::FyrL3Intf::Tests::Event(#operation, &::FyrL3Intf::Tests::Model::operation, \
                            &::FyrL3Intf::Tests::Library::operation __VA_OPT__(, ) __VA_ARGS__)
