#pragma once

// The straightforward program of the same job: which port holds which internal VLAN. Ports wish for
// VLANs; a VLAN is granted when it is free, passes to a waiting port when its holder lets go, and
// everybody who listens is told of each change of the table.
//
// It is written for speed as one would write it on a good library: no input model, no counters, no
// traces, no self-check, and the waiting port that comes next is whichever the library's set names
// first. A port without a wish, and a VLAN for which nobody wishes any more, keep their entries, so
// that these need not be made again.

#include <cstdint>
#include <utility>

#include "benches/Maps.h"
#include "platform/BridgingConfig.h"

namespace Benches {

template <class Library, class Broadcast>
class Rival {
 public:
  using IntfId = Plexo::IntfId;
  using L3Id = FyrL3Intf::L3Id;
  using Mode = Bridging::SwitchportMode;
  static constexpr std::uint16_t none = 0;

  [[nodiscard]] Broadcast& changed() noexcept { return changed_; }

  /// The configuration of the port changed.
  void configure(IntfId port, Mode mode, std::uint16_t nativeVlan) {
    wish(port, mode == Mode::routed ? nativeVlan : none);
  }

  /// The port wishes for the VLAN, or for none.
  void wish(IntfId port, std::uint16_t vlan) {
    const auto old = std::exchange(wishes_[port], vlan);
    if (old == vlan) return;
    if (old != none) wishers_.find(old)->second.erase(port);
    if (vlan != none) wishers_[vlan].insert(port);
    if (vlan == none || !take(port, vlan)) release(port);
    if (old != none) handOver(old);
  }

 private:
  /// The port holds the VLAN, unless another holds it.
  bool take(IntfId port, std::uint16_t vlan) {
    if (!holders_.try_emplace(L3Id(vlan), port).second) return false;
    const auto [held, isNew] = ids_.try_emplace(port, L3Id(vlan));
    if (!isNew) {
      holders_.erase(held->second);
      held->second = L3Id(vlan);
    }
    changed_(port);
    return true;
  }

  void release(IntfId port) {
    const auto held = ids_.find(port);
    if (held == ids_.end()) return;
    holders_.erase(held->second);
    ids_.erase(held);
    changed_(port);
  }

  void handOver(std::uint16_t vlan) {
    const auto& waiting = wishers_.find(vlan)->second;
    if (!waiting.empty()) take(*waiting.begin(), vlan);
  }

  typename Library::template Map<IntfId, std::uint16_t> wishes_;
  typename Library::template Map<std::uint16_t, typename Library::template Set<IntfId>> wishers_;
  typename Library::template Map<IntfId, L3Id> ids_;
  typename Library::template Map<L3Id, IntfId> holders_;
  Broadcast changed_;
};

}  // namespace Benches
