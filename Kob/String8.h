#pragma once

// An immutable, reference-counted 8-bit string: copying shares one data block. Names of entities,
// messages of exceptions and the text of generic values are String8.

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string_view>

#include "Kob/Export.h"

namespace Kob {

class KOB_EXPORT String8 {
 public:
  class IteratorConst;

  /// The empty string: all empty strings share one block, which is never released.
  String8() noexcept;
  /// A copy of the NUL-terminated text. REQUIRES: text is not null; null is fatal.
  String8(const char* text);  // NOLINT(google-explicit-constructor): literals are strings
  explicit String8(std::string_view text);
  String8(const String8& other) noexcept;
  String8(String8&& other) noexcept;
  ~String8();

  String8& operator=(const String8& other) noexcept;
  String8& operator=(String8&& other) noexcept;
  String8& operator+=(const String8& tail);
  friend KOB_EXPORT String8 operator+(const String8& head, const String8& tail);

  /// Becomes a copy of the `length` bytes that begin `offset` bytes into `text`. The old content
  /// is kept when memory runs out.
  void init(const char* text, std::size_t offset, std::size_t length);

  /// The bytes, NUL-terminated; valid while some string shares this block.
  [[nodiscard]] const char* charPtr() const noexcept;
  [[nodiscard]] std::size_t length() const noexcept;
  [[nodiscard]] bool empty() const noexcept { return length() == 0; }
  [[nodiscard]] std::string_view view() const noexcept { return {charPtr(), length()}; }

  /// A 32-bit hash of the bytes, the same in every run and process.
  [[nodiscard]] std::uint32_t hash() const noexcept;

  friend bool operator==(const String8& a, const String8& b) noexcept {
    return a.view() == b.view();
  }
  friend auto operator<=>(const String8& a, const String8& b) noexcept {
    return a.view() <=> b.view();
  }

  [[nodiscard]] IteratorConst begin() const noexcept;
  [[nodiscard]] IteratorConst end() const noexcept;

 private:
  struct Data;
  static Data nullStringData_;

  static Data* copyOf(std::string_view head, std::string_view tail);
  static void release(Data* data) noexcept;

  Data* data_;
};

/// A place in a string, from which values parse themselves; shares the string's block.
class KOB_EXPORT String8::IteratorConst {
 public:
  IteratorConst(String8 text, std::size_t position) noexcept;

  /// The byte here, or NUL at the end.
  [[nodiscard]] char operator*() const noexcept { return text_.charPtr()[position_]; }
  IteratorConst& operator++() noexcept;
  /// Bytes from the beginning of the string.
  [[nodiscard]] std::size_t position() const noexcept { return position_; }

  bool operator==(const IteratorConst& other) const noexcept {
    return position_ == other.position_ && text_.data_ == other.text_.data_;
  }

 private:
  String8 text_;
  std::size_t position_;
};

/// The name of an entity, an attribute or a type.
using Name = String8;

KOB_EXPORT std::ostream& operator<<(std::ostream& stream, const String8& text);

}  // namespace Kob
