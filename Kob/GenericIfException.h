#pragma once

// How a generic interface refuses: one exception for each kind of refusal. Each carries, as its
// message, the name of what was refused (an attribute, a parameter or a type), and says in words
// what was wrong with it. Nothing has been changed when one is thrown.

#include "Kob/Exception.h"
#include "Kob/Export.h"
#include "Kob/PtrInterface.h"
#include "Kob/String8.h"

namespace Kob {

/// What all refusals have in common.
class KOB_EXPORT GenericIfException : public Exception {
 public:
  ~GenericIfException() override;

  /// The refusal as a sentence for people, without a full stop.
  [[nodiscard]] virtual String8 explanation() const = 0;

 protected:
  GenericIfException(const String8& message, Id id);
};

/// A write through a read-only wrapper. Its message is "attempting to modify a const instance".
class KOB_EXPORT ConstException : public GenericIfException {
 public:
  ConstException();
  ~ConstException() override;
  [[nodiscard]] String8 explanation() const override;
};

/// A value that is missing or of another type than the named parameter, attribute or key has.
class KOB_EXPORT TypeException : public GenericIfException {
 public:
  explicit TypeException(const String8& name);
  ~TypeException() override;
  [[nodiscard]] String8 explanation() const override;
};

/// An argument too many for the named function, constructor or collection.
class KOB_EXPORT UnknownArgumentException : public GenericIfException {
 public:
  explicit UnknownArgumentException(const String8& name);
  ~UnknownArgumentException() override;
  [[nodiscard]] String8 explanation() const override;
};

/// An index where the named attribute takes none, or one that cannot be an index of it.
class KOB_EXPORT BadIndexException : public GenericIfException {
 public:
  explicit BadIndexException(const String8& name);
  ~BadIndexException() override;
  [[nodiscard]] String8 explanation() const override;
};

/// An operation that the named attribute does not have.
class KOB_EXPORT OperationNotSupportedException : public GenericIfException {
 public:
  OperationNotSupportedException(const String8& name, unsigned operation);
  ~OperationNotSupportedException() override;
  [[nodiscard]] String8 explanation() const override;
  /// The operation's code.
  [[nodiscard]] unsigned operation() const noexcept { return operation_; }

 private:
  unsigned operation_;
};

/// An attribute id that the named type does not know.
class KOB_EXPORT UnknownAttributeException : public GenericIfException {
 public:
  UnknownAttributeException(const String8& typeName, AttributeId id);
  ~UnknownAttributeException() override;
  [[nodiscard]] String8 explanation() const override;
  [[nodiscard]] AttributeId attributeId() const noexcept { return id_; }

 private:
  AttributeId id_;
};

}  // namespace Kob
