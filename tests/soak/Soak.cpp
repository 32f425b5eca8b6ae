// Load: random events at full speed over thousands of ports, on the library and on its model side
// by side. They are compared, and the library checks itself, after every so many events; and what
// is allocated must not grow any more once every port has been there.

#include <malloc.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/FyrL3Intf/ModelEvent.h"

namespace FyrL3Intf::Tests {
namespace {

using Plexo::IntfId;

struct Settings {
  std::uint64_t events = 10'000'000;
  std::uint64_t perCheck = 100'000;
  std::size_t ports = 4096;
  std::uint64_t seed = 1;
};

/// Checks in a round: nine on a platform with internal VLANs, one on a platform without. The first
/// round finds out how much memory it takes.
constexpr std::uint64_t checksPerRound = 10;
/// What it may take more from then on: framework objects get their memory by the MiB.
constexpr double slackMiB = 2;

constexpr double MiB = 1024 * 1024;

double allocatedMiB() {
  const struct mallinfo2 heap = mallinfo2();
  return static_cast<double>(heap.uordblks + heap.hblkhd) / MiB;
}

/// Varies with what the heap keeps for itself, and where.
double residentMiB() {
  std::ifstream file("/proc/self/statm");
  double total = 0;
  double resident = 0;
  file >> total >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / MiB;
}

/// Model and library.
class Pair {
 public:
  /// REQUIRES: the event ends no process and throws nothing; the model throws what it would.
  void carryOut(const Event& event) {
    event.carryOut(model_);
    event.carryOut(library_);
  }

  /// The self-check of both, and all that they hold and have announced since the last time; the
  /// difference in words, or nothing.
  std::string difference() {
    carryOut(EVENT(verify));
    carryOut(EVENT(forgetUnused));
    const Snapshot expected = model_.snapshot();
    const Snapshot actual = library_.snapshot();
    if (actual == expected) return {};
    std::ostringstream text;
    text << "model:   " << expected << "library: " << actual;
    return text.str();
  }

 private:
  Model model_;
  Library library_;
};

/// What happens on a switch: everything but what nobody should do.
class Traffic {
 public:
  Traffic(std::size_t ports, std::uint64_t seed) : random_(seed) {
    for (std::size_t port = 1; port <= ports; ++port) {
      ports_.push_back(named("Ethernet", port));
      loopbacks_.push_back(named("Loopback", port));
    }
    for (std::size_t vlan = 1; vlan <= lastVlan; ++vlan) vlanIntfs_.push_back(named("Vlan", vlan));
    hasIndex_.resize(ports);
  }

  /// A life of the machine ends and another begins, with internal VLANs or without.
  void restart(Pair& pair, bool internalVlans) {
    pair.carryOut(EVENT(prepareToDie));
    pair.carryOut(EVENT(release));
    pair.carryOut(EVENT(start, internalVlans, true, 0, internalVlans ? Model::none : 0));
    internalVlans_ = internalVlans;
  }

  void next(Pair& pair) {
    if (deferred_ == 0 && once(1, 200)) {
      deferred_ = 1 + below(50);
      pair.carryOut(EVENT(deferralIs, true));
    } else if (deferred_ != 0 && --deferred_ == 0) {
      pair.carryOut(EVENT(deferralIs, false));
    } else {
      change(pair);
    }
  }
  /// Whatever is pending is delivered.
  void settle(Pair& pair) {
    if (deferred_ != 0) pair.carryOut(EVENT(deferralIs, false));
    deferred_ = 0;
  }

 private:
  static constexpr std::size_t lastVlan = 4094;

  static IntfId named(const std::string& kind, std::size_t number) {
    return {(kind + std::to_string(number)).c_str()};
  }

  std::size_t below(std::size_t bound) { return random_() % bound; }
  bool once(unsigned times, unsigned in) { return below(in) < times; }
  IntfId anyOf(const std::vector<IntfId>& intfs) { return intfs[below(intfs.size())]; }
  // Few VLANs are wished for by many ports, and many by few.
  std::uint16_t vlan() { return static_cast<std::uint16_t>(1 + below(once(1, 4) ? 16 : lastVlan)); }

  void change(Pair& pair) {
    switch (kind()) {
      case 0:
      case 1:
        return pair.carryOut(EVENT(vlanIntf, 0, anyOf(vlanIntfs_)));
      case 2:
        return pair.carryOut(EVENT(vlanIntfDel, 0, anyOf(vlanIntfs_)));
      case 3:
        return pair.carryOut(EVENT(portDel, 0, anyOf(ports_)));
      case 4:
      case 5:
        return index(pair);
      default:
        return pair.carryOut(
            EVENT(port, 0, anyOf(ports_), once(3, 4) ? Model::routed : 0U, vlan()));
    }
  }
  /// Of the sixteen kinds of change one that can be now.
  std::size_t kind() {
    std::size_t drawn = below(16);
    while (!isPossible(drawn)) drawn = below(16);
    return drawn;
  }
  /// What goes while notifications are merged is not noticed, so the self-check would find it; and
  /// there are no indexes with internal VLANs.
  [[nodiscard]] bool isPossible(std::size_t kind) const {
    if (kind < 2 || kind > 5) return true;
    return deferred_ == 0 && (kind < 4 || !internalVlans_);
  }
  /// An L3 index comes or goes; none changes in place.
  void index(Pair& pair) {
    const std::size_t at = below(loopbacks_.size());
    if (hasIndex_[at]) {
      pair.carryOut(EVENT(l3IndexDel, 0, loopbacks_[at]));
    } else {
      pair.carryOut(EVENT(l3Index, 0, loopbacks_[at], lastVlan + 1 + at));
    }
    hasIndex_[at] = !hasIndex_[at];
  }

  std::mt19937_64 random_;
  std::vector<IntfId> ports_;
  std::vector<IntfId> loopbacks_;
  std::vector<IntfId> vlanIntfs_;
  std::vector<bool> hasIndex_;
  bool internalVlans_ = true;
  std::size_t deferred_ = 0;
};

int soak(const Settings& settings) {
  Pair pair;
  Traffic traffic(settings.ports, settings.seed);
  const auto begin = std::chrono::steady_clock::now();
  const std::uint64_t checks = std::max<std::uint64_t>(settings.events / settings.perCheck, 1);
  double limit = 0;
  for (std::uint64_t check = 1; check <= checks; ++check) {
    if (check % checksPerRound <= 1) traffic.restart(pair, check % checksPerRound == 1);
    for (std::uint64_t event = 0; event < settings.perCheck; ++event) traffic.next(pair);
    traffic.settle(pair);
    if (const std::string difference = pair.difference(); !difference.empty()) {
      std::printf("%s", difference.c_str());
      std::printf("differs within the events before %lu, seed %lu\n", check * settings.perCheck,
                  settings.seed);
      return 1;
    }
    const double allocated = allocatedMiB();
    if (check % checksPerRound == 0 || check == checks) {
      const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
      std::printf("%10lu events, %5.1f s, %.1f MiB allocated, %.1f MiB resident\n",
                  check * settings.perCheck, elapsed.count(), allocated, residentMiB());
      std::fflush(stdout);
    }
    if (check <= checksPerRound) limit = std::max(limit, allocated + slackMiB);
    if (allocated > limit) {
      std::printf("memory grew to %.1f MiB after event %lu; the first %lu took at most %.1f MiB\n",
                  allocated, check * settings.perCheck, checksPerRound * settings.perCheck,
                  limit - slackMiB);
      return 1;
    }
  }
  traffic.restart(pair, true);
  return 0;
}

}  // namespace
}  // namespace FyrL3Intf::Tests

int main(int argumentCount, char** arguments) {
  FyrL3Intf::Tests::Settings settings;
  CLI::App app("Random events at full speed on the library and on its model, which are compared.");
  app.add_option("--events", settings.events, "How many events")->capture_default_str();
  app.add_option("--per-check", settings.perCheck, "Compare after so many")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--ports", settings.ports, "Of how many ports")
      ->check(CLI::Range(1, 65535))
      ->capture_default_str();
  app.add_option("--seed", settings.seed, "Which events")->capture_default_str();
  app.footer("Exit codes: 0 no difference and memory flat, 1 otherwise, 2 wrong usage.");
  try {
    app.parse(argumentCount, arguments);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  return FyrL3Intf::Tests::soak(settings);
}
