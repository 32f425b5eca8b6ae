#pragma once

// What the framework throws: a message and a set of numeric ids that say of which kinds the
// exception is. Range checks, name clashes and refusals of the generic interface are exceptions;
// broken invariants are not, they are fatal.

#include <cstdint>
#include <exception>

#include "Kob/Export.h"
#include "Kob/String8.h"

namespace Kob {

class KOB_EXPORT Exception : public std::exception {
 public:
  /// A kind of exception: 0 to 63.
  using Id = unsigned;

  static constexpr Id rangeError = 12;
  static constexpr Id nameInUse = 13;
  // The refusals of the generic interface (Kob/GenericIfException.h).
  static constexpr Id constInstance = 14;
  static constexpr Id typeMismatch = 15;
  static constexpr Id unknownArgument = 16;
  static constexpr Id badIndex = 17;
  static constexpr Id operationNotSupported = 18;
  static constexpr Id unknownAttribute = 19;

  /// A set of kinds, empty when constructed.
  class KOB_EXPORT IdBitArray {
   public:
    /// Adds `id`. REQUIRES: id < 64; anything else is fatal.
    void add(Id id);
    [[nodiscard]] bool contains(Id id) const noexcept;

   private:
    std::uint64_t bits_ = 0;
  };

  /// `expectable` tells whether an `Expect` scope may foresee the exception. The framework treats
  /// both alike; whoever catches it may ask.
  Exception(String8 message, IdBitArray ids, bool expectable);
  Exception(const Exception&) noexcept = default;
  Exception& operator=(const Exception&) noexcept = default;
  ~Exception() override;

  /// The message as it was given.
  [[nodiscard]] String8 message() const noexcept { return message_; }
  [[nodiscard]] IdBitArray ids() const noexcept { return ids_; }
  [[nodiscard]] bool expectable() const noexcept { return expectable_; }
  [[nodiscard]] const char* what() const noexcept override { return message_.charPtr(); }

 private:
  String8 message_;
  IdBitArray ids_;
  bool expectable_;
};

/// A value that its type does not allow. Carries the id 12 besides the given ones.
class KOB_EXPORT RangeException : public Exception {
 public:
  explicit RangeException(String8 message, IdBitArray ids = {});
  RangeException(const RangeException&) noexcept = default;
  RangeException& operator=(const RangeException&) noexcept = default;
  ~RangeException() override;
};

/// A second, different object under a name or key that is taken. Carries the id 13.
class KOB_EXPORT NameInUseException : public Exception {
 public:
  explicit NameInUseException(String8 message, IdBitArray ids = {});
  NameInUseException(const NameInUseException&) noexcept = default;
  NameInUseException& operator=(const NameInUseException&) noexcept = default;
  ~NameInUseException() override;
};

/// Throws a RangeException with exactly this message.
[[noreturn]] KOB_EXPORT void throwRangeException(const char* message);
/// Throws a NameInUseException with exactly this message.
[[noreturn]] KOB_EXPORT void throwNameInUseException(const String8& message);

/// A scope within which an exception of kind `id` is expected; 0 stands for any kind. One is open
/// around each call of a notifiee. Scopes nest, and belong to the framework's thread.
class KOB_EXPORT Expect {
 public:
  explicit Expect(Exception::Id id) noexcept : Expect(id, innermost_) {}
  /// The same for who opens one scope after the other, and so knows that `outer` is the innermost:
  /// to load that anew would wait for the store by which the scope before was closed.
  Expect(Exception::Id id, const Expect* outer) noexcept : id_(id), outer_(outer) {
    innermost_ = this;
  }
  Expect(const Expect&) = delete;
  Expect& operator=(const Expect&) = delete;
  ~Expect() { innermost_ = outer_; }

  [[nodiscard]] Exception::Id id() const noexcept { return id_; }
  [[nodiscard]] const Expect* outer() const noexcept { return outer_; }
  /// The scope that was opened last and is still open, or null.
  [[nodiscard]] static const Expect* innermost() noexcept { return innermost_; }

 private:
  static const Expect* innermost_;

  Exception::Id id_;
  const Expect* outer_;
};

}  // namespace Kob
