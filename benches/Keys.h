#pragma once

// What the benchmarks look up: keys as a switch has them, and the orders in which they are asked
// for. Everything is a function of the arguments alone, so that runs can be compared.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/IntfId.h"
#include "platform/L3Id.h"

namespace Benches {

/// A number of entries, and how names of benchmarks spell it.
struct Size {
  const char* label;
  std::size_t entries;
};
/// The sizes of a table: a small switch, a large one, a chassis; a cache that is too small, two
/// that are far too small.
inline constexpr std::array<Size, 5> sizes = {
    {{"64", 64}, {"1k", 1U << 10U}, {"16k", 1U << 14U}, {"256k", 1U << 18U}, {"1M", 1U << 20U}}};
/// Those whose entries stay in the caches of one core.
inline constexpr std::span<const Size> cachedSizes = std::span(sizes).first<3>();

/// The first `count` keys: identifiers made from port names (Ethernet3/7, Ethernet3/7.2), or L3 ids
/// as a platform gives them out, the kind of object in the high word and ascending numbers in the
/// low one. Valid until more keys are asked for.
template <class Key>
[[nodiscard]] std::span<const Key> keys(std::size_t count);
template <>
[[nodiscard]] std::span<const Plexo::IntfId> keys<Plexo::IntfId>(std::size_t count);
template <>
[[nodiscard]] std::span<const FyrL3Intf::L3Id> keys<FyrL3Intf::L3Id>(std::size_t count);

/// The keys in a random order.
template <class Key>
[[nodiscard]] std::vector<Key> shuffled(std::span<const Key> of);

/// How many probes a benchmark makes between two looks at the clock.
inline constexpr std::size_t blockLength = 4096;

/// Keys picked at random from `from`, again and again: whole blocks, and so many that no branch
/// predictor learns the order.
template <class Key>
[[nodiscard]] std::vector<Key> probesInto(std::span<const Key> from);

extern template std::vector<Plexo::IntfId> shuffled(std::span<const Plexo::IntfId>);
extern template std::vector<FyrL3Intf::L3Id> shuffled(std::span<const FyrL3Intf::L3Id>);
extern template std::vector<Plexo::IntfId> probesInto(std::span<const Plexo::IntfId>);
extern template std::vector<FyrL3Intf::L3Id> probesInto(std::span<const FyrL3Intf::L3Id>);

/// The blocks of a probe order, one after the other, from the beginning again after the last.
template <class Key>
class Blocks {
 public:
  explicit Blocks(std::span<const Key> probes) : probes_(probes) {}

  [[nodiscard]] std::span<const Key> next() {
    const auto block = probes_.subspan(at_, blockLength);
    at_ += blockLength;
    if (at_ == probes_.size()) at_ = 0;
    return block;
  }

 private:
  std::span<const Key> probes_;
  std::size_t at_ = 0;
};

}  // namespace Benches
