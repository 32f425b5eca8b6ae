#include "Kob/GenericIfException.h"

#include <string>

namespace Kob {

namespace {

Exception::IdBitArray only(Exception::Id id) {
  Exception::IdBitArray ids;
  ids.add(id);
  return ids;
}

String8 sentence(const char* before, const String8& name, const char* after) {
  return String8(before) + name + String8(after);
}

}  // namespace

GenericIfException::GenericIfException(const String8& message, Id id)
    : Exception(message, only(id), true) {}
GenericIfException::~GenericIfException() = default;

ConstException::ConstException()
    : GenericIfException("attempting to modify a const instance", constInstance) {}
ConstException::~ConstException() = default;
String8 ConstException::explanation() const { return message(); }

TypeException::TypeException(const String8& name) : GenericIfException(name, typeMismatch) {}
TypeException::~TypeException() = default;
String8 TypeException::explanation() const {
  return sentence("'", message(), "' is missing or of the wrong type");
}

UnknownArgumentException::UnknownArgumentException(const String8& name)
    : GenericIfException(name, unknownArgument) {}
UnknownArgumentException::~UnknownArgumentException() = default;
String8 UnknownArgumentException::explanation() const {
  return sentence("'", message(), "' was given an argument too many");
}

BadIndexException::BadIndexException(const String8& name) : GenericIfException(name, badIndex) {}
BadIndexException::~BadIndexException() = default;
String8 BadIndexException::explanation() const {
  return sentence("'", message(), "' does not take this index");
}

OperationNotSupportedException::OperationNotSupportedException(const String8& name,
                                                               unsigned operation)
    : GenericIfException(name, operationNotSupported), operation_(operation) {}
OperationNotSupportedException::~OperationNotSupportedException() = default;
String8 OperationNotSupportedException::explanation() const {
  const std::string code = "' does not support operation " + std::to_string(operation_);
  return sentence("'", message(), code.c_str());
}

UnknownAttributeException::UnknownAttributeException(const String8& typeName, AttributeId id)
    : GenericIfException(typeName, unknownAttribute), id_(id) {}
UnknownAttributeException::~UnknownAttributeException() = default;
String8 UnknownAttributeException::explanation() const {
  const std::string id = "' has no attribute with the id " + std::to_string(id_);
  return sentence("'", message(), id.c_str());
}

}  // namespace Kob
