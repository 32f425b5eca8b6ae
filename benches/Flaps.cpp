#include "benches/Flaps.h"

#include <random>

namespace Benches {

std::vector<std::uint32_t> flapOrder(std::size_t ports) {
  std::vector<std::uint32_t> order(16 * blockLength);
  std::mt19937_64 random(5);
  std::uniform_int_distribution<std::uint32_t> pick(0, static_cast<std::uint32_t>(ports - 1));
  std::generate(order.begin(), order.end(), [&] { return pick(random); });
  return order;
}

}  // namespace Benches
