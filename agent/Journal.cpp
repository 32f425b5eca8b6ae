#include "agent/Journal.h"

#include <utility>

#include "agent/Text.h"

namespace Agent {

std::string textOf(const InputEvent& event) {
  return "event " + std::to_string(event.number) + ", " + printable(event.origin) + ": " +
         event.text;
}

void Journal::eventIs(std::string text) {
  event_ = std::make_shared<const InputEvent>(InputEvent{++events_, origin_, std::move(text)});
}

InputEventPtr Journal::find(const Events& events, Plexo::IntfId id) {
  const auto found = events.find(id);
  return found == events.end() ? nullptr : found->second;
}

}  // namespace Agent
