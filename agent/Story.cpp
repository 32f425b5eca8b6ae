#include "agent/Story.h"

#include <algorithm>

#include "agent/InterfaceName.h"
#include "agent/Report.h"
#include "agent/Text.h"

namespace Agent {
namespace {

using Plexo::IntfId;

/// What is not announced, and so has no event, was written by hand.
std::string since(const InputEventPtr& event) {
  return event ? "since " + textOf(*event) : "by a change that was made by hand";
}

std::string listOf(const std::vector<IntfId>& ids) {
  std::string text;
  for (const IntfId id : ids) {
    text += (text.empty() ? "" : ", ") + nameOf(id);
  }
  return text;
}

/// Tells the story of one L3 interface.
class Teller {
 public:
  Teller(const InterfaceEntry& entry, const Session& session)
      : entry_(entry), session_(session), name_(nameOf(entry.id)) {}

  [[nodiscard]] Story story() const;

 private:
  [[nodiscard]] Story ofIndex() const;
  [[nodiscard]] Story ofNoIndex() const;
  [[nodiscard]] Story ofHolder() const;
  [[nodiscard]] Story ofOneWithoutWish() const;
  [[nodiscard]] Story ofOneWhoWaits() const;
  [[nodiscard]] Story ofNoWish() const;
  [[nodiscard]] Story ofPortWithoutVlan() const;

  [[nodiscard]] std::string wish() const;
  [[nodiscard]] std::string remedyOfWaiting(const std::vector<IntfId>& queue) const;
  [[nodiscard]] std::string endOf(IntfId id) const;
  [[nodiscard]] Bridging::VlanId vlan() const { return Bridging::VlanId(entry_.wish); }
  [[nodiscard]] std::string vlanText() const {
    return "VLAN " + std::to_string(entry_.wish.value());
  }

  const InterfaceEntry& entry_;
  const Session& session_;
  const std::string name_;
};

Story Teller::story() const {
  if (!session_.machine().internalVlanNeeded()) return entry_.l3Id ? ofIndex() : ofNoIndex();
  if (entry_.l3Id) return entry_.wish ? ofHolder() : ofOneWithoutWish();
  return entry_.wish ? ofOneWhoWaits() : ofNoWish();
}

Story Teller::ofIndex() const {
  return {name_ + " has L3 id " + std::to_string(entry_.l3Id.value()) + ", its L3 index.",
          "It has it " + since(session_.journal().l3IdSince(entry_.id)) + ".",
          "It loses it when its entry leaves the L3 index directory."};
}

Story Teller::ofNoIndex() const {
  if (session_.l3IndexFile().empty()) {  // Every interface is assigned one.
    return {name_ + " has no L3 id.",
            "Its L3 index was taken out of the table by hand, or is still to be delivered."};
  }
  return {name_ + " has no L3 id.", "Its entry in the L3 index directory is missing.",
          "To change that, " + printable(session_.l3IndexFile()) +
              " has to hold an index for it that no other interface has."};
}

Story Teller::ofHolder() const {
  Story story{name_ + " has L3 id " + std::to_string(entry_.l3Id.value()) + ": it holds internal " +
              vlanText() + "."};
  const InputEventPtr wished = session_.journal().wishSince(entry_.id);
  const InputEventPtr held = session_.journal().l3IdSince(entry_.id);
  if (wished == held) {
    story.push_back("It wishes for it, and holds it, " + since(held) + ".");
  } else {
    story.push_back(wish());
    story.push_back("It holds it " + since(held) + ".");
  }
  const auto queue = queueFor(vlan(), session_.machine());
  if (!queue.empty()) {
    story.push_back("After it, in the order of hand-over, come: " + listOf(queue) + ".");
  }
  story.push_back("It loses it only when " + endOf(entry_.id) + ".");
  return story;
}

/// Only a change by hand, or one that is still to be delivered, makes such a state.
Story Teller::ofOneWithoutWish() const {
  return {name_ + " has L3 id " + std::to_string(entry_.l3Id.value()) +
              ", though it wishes for no VLAN.",
          "It has it " + since(session_.journal().l3IdSince(entry_.id)) + ".",
          "It keeps it until somebody takes it away by hand, or pending changes are delivered."};
}

Story Teller::ofOneWhoWaits() const {
  if (!entry_.holder) {
    return {name_ + " has no L3 id: it waits for internal " + vlanText() + ".", wish(),
            "Nobody holds it: the state was changed by hand, or changes are pending."};
  }
  const auto queue = queueFor(vlan(), session_.machine());
  const auto place = std::find(queue.begin(), queue.end(), entry_.id) - queue.begin() + 1;
  return {name_ + " has no L3 id: it waits for internal " + vlanText() + ".", wish(),
          nameOf(entry_.holder) + " holds it " +
              since(session_.journal().l3IdSince(entry_.holder)) + ".",
          "In the order of hand-over " + name_ + " is number " + std::to_string(place) + " of " +
              std::to_string(queue.size()) + ": " + listOf(queue) + ".",
          remedyOfWaiting(queue)};
}

/// All who stand before it in the queue have to go as well.
std::string Teller::remedyOfWaiting(const std::vector<IntfId>& queue) const {
  std::string text = "It gets " + vlanText() + " when " + endOf(entry_.holder);
  for (const IntfId id : queue) {
    if (id == entry_.id) break;
    text += ", and " + endOf(id);
  }
  if (entry_.kind != InterfaceKind::vlan) {
    text += "; or it gets another one, with --internal-vlan " + name_ + "=VLAN";
  }
  return text + ".";
}

Story Teller::ofNoWish() const {
  if (entry_.kind == InterfaceKind::subInterface) {
    return {name_ + " has no L3 id: sub-interfaces wish for no VLAN.",
            "To change that, L3 ids have to come from L3 indexes, without --internal-vlans."};
  }
  if (entry_.kind != InterfaceKind::vlan) return ofPortWithoutVlan();
  const auto number = session_.theSwitch().vlanInterfaces.at(entry_.id).value();
  return {name_ + " has no L3 id: it wishes for no VLAN.",
          "Its entry in the VLAN interface status directory is missing, because its name does not "
          "tell its number.",
          "To change that, name it Vlan" + std::to_string(number) + "."};
}

Story Teller::ofPortWithoutVlan() const {
  return {name_ + " has no L3 id: it wishes for no VLAN.",
          "Its entry in the bridging configuration has no native VLAN, because the range " +
              textOf(session_.reservedRange()) + " is exhausted.",
          "To change that, give a wider range (--internal-vlans=LOW-HIGH) or a VLAN for it alone "
          "(--internal-vlan " +
              name_ + "=VLAN), or free a VLAN of the range."};
}

std::string Teller::wish() const {
  return "It wishes for " + vlanText() + " " + since(session_.journal().wishSince(entry_.id)) + ".";
}

/// What ends an interface's wish.
std::string Teller::endOf(IntfId id) const {
  return session_.theSwitch().vlanInterfaces.contains(id)
             ? nameOf(id) + " is removed from the VLAN interfaces"
             : nameOf(id) + " is no longer routed";
}

}  // namespace

Story storyOf(IntfId id, const Session& session) {
  const Switch& theSwitch = session.theSwitch();
  const std::string name = nameOf(id);
  if (const auto found = theSwitch.l3Interfaces.find(id); found != theSwitch.l3Interfaces.end()) {
    return Teller(entryOf(id, found->second, session.machine()), session).story();
  }
  if (const auto member = theSwitch.channelOf.find(id); member != theSwitch.channelOf.end()) {
    const std::string channel = nameOf(member->second);
    return {name + " has no L3 id: it is a member of " + channel + ", which is the interface.",
            "To change that, the configuration has to take it out of " + channel +
                " and make it an L3 interface."};
  }
  if (theSwitch.ports.contains(id)) {
    return {name + " has no L3 id: it is a port that is not routed.",
            "To change that, the configuration has to make it an L3 interface."};
  }
  if (theSwitch.loopbacks.contains(id)) {
    return {name + " has no L3 id: it is a loopback, which never has one."};
  }
  return {};
}

std::vector<IntfId> queueFor(Bridging::VlanId vlan, const FyrL3Intf::ConfigSm& machine) {
  const auto holder = machine.fyrL3IntfTable()->routedPortName(FyrL3Intf::L3Id(vlan.value()));
  const auto wishers = machine.desiredRoutedPortName(vlan);
  std::vector<IntfId> queue;
  for (auto it = wishers.memberIteratorConst(); it; ++it) {
    if (it.key() != holder) queue.push_back(it.key());
  }
  return queue;
}

}  // namespace Agent
