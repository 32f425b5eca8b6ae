#include "Kob/Exception.h"

#include <utility>

#include "Kob/Assert.h"

namespace Kob {

namespace {

Exception::IdBitArray with(Exception::IdBitArray ids, Exception::Id id) {
  ids.add(id);
  return ids;
}

}  // namespace

const Expect* Expect::innermost_ = nullptr;

void Exception::IdBitArray::add(Id id) {
  KOB_ASSERT(id < 64, "id < 64", "void Kob::Exception::IdBitArray::add(Kob::Exception::Id)");
  bits_ |= std::uint64_t{1} << id;
}

bool Exception::IdBitArray::contains(Id id) const noexcept {
  return id < 64 && ((bits_ >> id) & 1U) != 0;
}

// NOLINTBEGIN(bugprone-throw-keyword-missing): sets of ids are passed on, no exception is made
Exception::Exception(String8 message, IdBitArray ids, bool expectable)
    : message_(std::move(message)), ids_(ids), expectable_(expectable) {}

Exception::~Exception() = default;

RangeException::RangeException(String8 message, IdBitArray ids)
    : Exception(std::move(message), with(ids, rangeError), true) {}

RangeException::~RangeException() = default;

NameInUseException::NameInUseException(String8 message, IdBitArray ids)
    : Exception(std::move(message), with(ids, nameInUse), true) {}
// NOLINTEND(bugprone-throw-keyword-missing)

NameInUseException::~NameInUseException() = default;

void throwRangeException(const char* message) { throw RangeException(message); }

void throwNameInUseException(const String8& message) { throw NameInUseException(message); }

}  // namespace Kob
