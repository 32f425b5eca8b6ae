#include "benches/Keys.h"

#include <algorithm>
#include <random>
#include <string>

namespace Benches {

namespace {

constexpr std::size_t subInterfacesPerPort = 8;
constexpr std::size_t portsPerCard = 64;
constexpr std::uint64_t routerInterface = 0x0006'0000'0000'0000;
constexpr std::uint64_t firstNumber = 0x400;
constexpr std::size_t fewestProbes = 16 * blockLength;

/// Ethernet1/1, its sub-interfaces 1 to 7, Ethernet1/2, ...
Plexo::IntfId intfId(std::size_t number) {
  const auto port = number / subInterfacesPerPort;
  std::string name = "Ethernet" + std::to_string(port / portsPerCard + 1) + '/' +
                     std::to_string(port % portsPerCard + 1);
  if (const auto sub = number % subInterfacesPerPort; sub != 0) name += '.' + std::to_string(sub);
  return name.c_str();
}

FyrL3Intf::L3Id l3Id(std::size_t number) {
  return FyrL3Intf::L3Id(routerInterface | (firstNumber + number));
}

template <class Key, class Make>
std::span<const Key> firstOf(std::size_t count, const Make& make) {
  static std::vector<Key> made;
  made.reserve(count);
  while (made.size() < count) made.push_back(make(made.size()));
  return std::span<const Key>(made).first(count);
}

}  // namespace

template <>
std::span<const Plexo::IntfId> keys<Plexo::IntfId>(std::size_t count) {
  return firstOf<Plexo::IntfId>(count, intfId);
}

template <>
std::span<const FyrL3Intf::L3Id> keys<FyrL3Intf::L3Id>(std::size_t count) {
  return firstOf<FyrL3Intf::L3Id>(count, l3Id);
}

template <class Key>
std::vector<Key> shuffled(std::span<const Key> of) {
  std::vector<Key> order(of.begin(), of.end());
  std::shuffle(order.begin(), order.end(), std::mt19937_64(1));
  return order;
}

template <class Key>
std::vector<Key> probesInto(std::span<const Key> from) {
  const auto blocks = std::max(fewestProbes, from.size()) / blockLength;
  std::vector<Key> probes(blocks * blockLength);
  std::mt19937_64 random(2);
  std::uniform_int_distribution<std::size_t> pick(0, from.size() - 1);
  std::generate(probes.begin(), probes.end(), [&] { return from[pick(random)]; });
  return probes;
}

template std::vector<Plexo::IntfId> shuffled(std::span<const Plexo::IntfId>);
template std::vector<FyrL3Intf::L3Id> shuffled(std::span<const FyrL3Intf::L3Id>);
template std::vector<Plexo::IntfId> probesInto(std::span<const Plexo::IntfId>);
template std::vector<FyrL3Intf::L3Id> probesInto(std::span<const FyrL3Intf::L3Id>);

}  // namespace Benches
