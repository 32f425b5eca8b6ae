#pragma once

// What happened to the library's inputs: one event for each entry that came, changed or went, and
// for each interface the event since which its wish and its L3 id stand.

#include <memory>
#include <string>
#include <unordered_map>

#include "platform/IntfId.h"

namespace Agent {

/// One change of one entry of an input.
struct InputEvent {
  /// Counted from 1, over the life of the journal.
  unsigned number;
  /// What brought it: "loading", or the name of a patch.
  std::string origin;
  /// For example "Vlan10 enters the VLAN interface status directory".
  std::string text;
};

/// Events live as long as somebody refers to them.
using InputEventPtr = std::shared_ptr<const InputEvent>;

/// "event 7, loading: Vlan10 enters the VLAN interface status directory"; nothing in it but
/// printable ASCII.
[[nodiscard]] std::string textOf(const InputEvent& event);

class Journal {
 public:
  /// What the next events come from.
  void originIs(std::string origin) { origin_ = std::move(origin); }
  /// Another event begins: what changes from here on comes of it.
  void eventIs(std::string text);
  /// The event that is under way, or was the last; null before the first.
  [[nodiscard]] const InputEventPtr& event() const { return event_; }

  /// The interface's wish, its L3 id, just changed.
  void wishChanged(Plexo::IntfId id) { wishes_[id] = event_; }
  void l3IdChanged(Plexo::IntfId id) { l3Ids_[id] = event_; }
  /// The event that changed the wish, the L3 id, last; null when it never changed.
  [[nodiscard]] InputEventPtr wishSince(Plexo::IntfId id) const { return find(wishes_, id); }
  [[nodiscard]] InputEventPtr l3IdSince(Plexo::IntfId id) const { return find(l3Ids_, id); }

 private:
  using Events = std::unordered_map<Plexo::IntfId, InputEventPtr>;

  static InputEventPtr find(const Events& events, Plexo::IntfId id);

  unsigned events_ = 0;
  std::string origin_;
  InputEventPtr event_;
  Events wishes_;
  Events l3Ids_;
};

}  // namespace Agent
