#pragma once

// What a fuzzer's bytes choose: one byte for each choice, front to back. Values come out of small
// tables, most of them boundaries, so that any few bytes name an interesting case.

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>

namespace Fuzz {

class Choices {
 public:
  Choices(const std::uint8_t* bytes, std::size_t size) : bytes_(bytes, size) {}

  [[nodiscard]] bool isEmpty() const { return bytes_.empty(); }
  /// The next byte; 0 behind the last one.
  unsigned byte() {
    if (bytes_.empty()) return 0;
    const unsigned first = bytes_.front();
    bytes_ = bytes_.subspan(1);
    return first;
  }
  /// A number from 0 to `bound` - 1. REQUIRES: `bound` is from 1 to 256.
  unsigned below(unsigned bound) { return byte() % bound; }
  bool flag() { return below(2) != 0; }

  /// A member of the table. REQUIRES: it has 1 to 256.
  template <class Table>
  const auto& of(const Table& table) {
    return *(std::begin(table) + below(static_cast<unsigned>(std::size(table))));
  }
  template <class T>
  T of(std::initializer_list<T> table) {
    return table.begin()[below(static_cast<unsigned>(table.size()))];
  }

 private:
  std::span<const std::uint8_t> bytes_;
};

}  // namespace Fuzz
