#include "Kob/Description.h"

#include <algorithm>

#include "Kob/Described.h"

namespace Kob {

// Operating

const AttributeRow* Description::row(AttributeId id) const noexcept {
  const auto found = std::ranges::find_if(
      rows, [id](const AttributeRow& row) { return row.operate != nullptr && row.id == id; });
  return found == rows.end() ? nullptr : &*found;
}

const char* Description::attributeName(AttributeId id) const noexcept {
  const AttributeRow* const named = row(id);
  return named != nullptr ? named->name : nullptr;
}

bool Description::operate(void* object, bool readOnly, const GenericIf::AttributeOp& op,
                          const Ptr<const GenericIf>& arg, const Ptr<GenericIf>& value,
                          Ptr<GenericIf>& result) const {
  if (readOnly && op.operation >= GenericIf::firstModifyingOperation) throw ConstException();
  const AttributeRow* const operated = row(op.attributeId);
  if (operated == nullptr) return false;
  result = operated->operate(
      AttributeCall(*this, *operated, object, readOnly, op.operation, arg, value));
  return true;
}

std::unique_ptr<GenericIf::IteratorState> Description::iterate(AttributeId id, const void* object,
                                                               const GenericIf* key) const {
  const AttributeRow* const iterated = row(id);
  if (iterated == nullptr || iterated->iterate == nullptr) return nullptr;
  return iterated->iterate(object, key);
}

// Refusing

const GenericIf::List_& listOf(const GenericIf* arg, const ListRefusal& refusal) {
  if (arg == nullptr) throw TypeException(refusal.missing);
  const auto* const list = dynamic_cast<const GenericIf::List_*>(arg);
  if (list == nullptr) throw TypeException(refusal.other);
  return *list;
}

void requireListEnd(const GenericIf::List_& list, std::size_t parameters, const char* name) {
  if (list.elements().size() > parameters) throw UnknownArgumentException(name);
}

void AttributeCall::requireNoIndex() const {
  if (arg_) throw BadIndexException(row_.name);
}

void AttributeCall::requireOperation(bool supported) const {
  if (!supported) throw OperationNotSupportedException(row_.name, operation_);
}

const GenericIf::List_& AttributeCall::list() const {
  return listOf(arg_.get(), description_.callRefusal);
}

void AttributeCall::refuseKey() const {
  if (arg_ && row_.kindCode == KobAttr::instantiatingKind) throw BadIndexException(row_.name);
  throw TypeException("kob_index");
}

void AttributeCall::refuseValue() const { throw TypeException(row_.name); }

// Describing

namespace {

void makeTypes(const ParameterRows& parameters) {
  for (const ParameterRow& parameter : parameters) {
    if (parameter.type != nullptr) parameter.type();
  }
}

/// Makes the type object of everything that the description names.
void makeTypes(const Description& description) {
  description.type();
  makeTypes(description.constructorParameters);
  for (const AttributeRow& row : description.rows) {
    if (row.type != nullptr) row.type();
    if (row.keyType != nullptr) row.keyType();
    makeTypes(row.parameters);
    if (row.nestedType != nullptr) makeTypes(*row.nestedType);
  }
}

void addParameters(KobAttr& node, const ParameterRows& parameters) {
  for (const ParameterRow& parameter : parameters) {
    if (parameter.name != nullptr) node.parameterIs(parameter.name, parameter.typeName);
  }
}

void describeRow(IntrospectionReactor& reactor, KobType* type, const AttributeRow& row) {
  KobType* const keyType = row.keyType != nullptr ? row.keyType() : nullptr;
  if (!row.declaredAlone) {
    reactor.defNoninstantiatingAttr(type, row.name, row.type(), keyType, row.flags, row.kindCode,
                                    row.id);
    return;
  }
  type->attrDel(row.name);
  KobAttr* const attr = type->attrIs(row.name, row.type(), row.flags, row.id);
  attr->keyTypeIs(keyType);
  addParameters(*attr, row.parameters);
  attr->kindCodeIs(row.kindCode);
  reactor.handleAttr(type, attr);
  reactor.handleAttrContextExit();
}

void describeType(IntrospectionReactor& reactor, const Description& description) {
  KobType* const type = description.type();
  reactor.handleType(type, type->base());
  type->instanceSizeIs(description.instanceSize);
  if (description.announcesGenericIf) type->hasGenericIfSupportIs(true);
  addParameters(*type, description.constructorParameters);
  if (description.keyType != nullptr) type->keyTypeIs(description.keyType());
  for (const AttributeRow& row : description.rows) {
    if (row.nestedType != nullptr) {
      describeType(reactor, *row.nestedType);
    } else {
      describeRow(reactor, type, row);
    }
  }
  reactor.handleScopeExit();
}

void findHandles(const Description& description) {
  if (description.handles.empty()) return;
  const KobType* const type = description.type();
  std::ranges::transform(description.rows, description.handles.begin(), [type](const auto& row) {
    return row.name != nullptr ? type->attr(row.name) : nullptr;
  });
}

}  // namespace

void TypeInitialiser::describe() {
  if (done_) return;
  const Ptr<IntrospectionReactor> reactor = IntrospectionReactor::global();
  if (!reactor->active()) return;
  done_ = true;
  for (const Description* type : types_) makeTypes(*type);
  reactor->handleNameSpace(nameSpace_);
  for (const Description* type : types_) describeType(*reactor, *type);
  reactor->handleScopeExit();
  for (const Description* type : types_) findHandles(*type);
}

bool TypeInitialiser::load(std::span<const Description* const> nodes) {
  for (const Description* node : nodes) {
    KobType::typeNodeIs(node->type(), node->qualifiedName);
    findHandles(*node);
  }
  describe();
  return true;
}

}  // namespace Kob
