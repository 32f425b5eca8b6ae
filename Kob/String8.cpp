#include "Kob/String8.h"

#include <cstddef>
#include <new>
#include <ostream>
#include <utility>

#include "Kob/ReferenceWord.h"

namespace Kob {

/// The shared block: a header, then the bytes and a NUL, which may run past the declared array.
struct String8::Data {
  ReferenceWord references;
  std::size_t length;
  char text[sizeof(std::size_t)];
};

// Its first reference is never given back.
constinit String8::Data String8::nullStringData_{ReferenceWord{1}, 0, ""};

String8::Data* String8::copyOf(std::string_view head, std::string_view tail) {
  const std::size_t length = head.size() + tail.size();
  if (length == 0) {
    nullStringData_.references.inc();
    return &nullStringData_;
  }
  void* const memory = ::operator new(sizeof(Data) + length);
  char* text = static_cast<char*>(memory) + offsetof(Data, text);
  auto* const data = new (memory) Data{ReferenceWord{1}, length, ""};
  text = std::copy(head.begin(), head.end(), text);
  text = std::copy(tail.begin(), tail.end(), text);
  *text = '\0';
  return data;
}

void String8::release(Data* data) noexcept {
  if (data->references.dec()) ::operator delete(data);
}

String8::String8() noexcept : data_(&nullStringData_) { data_->references.inc(); }

String8::String8(const char* text) : data_(nullptr) {
  KOB_ASSERT(text != nullptr, "text != 0", "Kob::String8::String8(const char*)");
  data_ = copyOf(text, {});
}

String8::String8(std::string_view text) : data_(copyOf(text, {})) {}

String8::String8(const String8& other) noexcept : data_(other.data_) { data_->references.inc(); }

String8::String8(String8&& other) noexcept : String8() { std::swap(data_, other.data_); }

String8::~String8() { release(data_); }

String8& String8::operator=(const String8& other) noexcept {
  String8 copy(other);
  std::swap(data_, copy.data_);
  return *this;
}

String8& String8::operator=(String8&& other) noexcept {
  std::swap(data_, other.data_);
  return *this;
}

String8& String8::operator+=(const String8& tail) {
  release(std::exchange(data_, copyOf(view(), tail.view())));
  return *this;
}

String8 operator+(const String8& head, const String8& tail) {
  String8 sum = head;
  sum += tail;
  return sum;
}

void String8::init(const char* text, std::size_t offset, std::size_t length) {
  release(std::exchange(data_, copyOf({text + offset, length}, {})));
}

const char* String8::charPtr() const noexcept {
  return reinterpret_cast<const char*>(data_) + offsetof(Data, text);
}

std::size_t String8::length() const noexcept { return data_->length; }

// FNV-1a, 32 bits (Fowler, Noll, Vo), and the finaliser of MurmurHash3 (Appleby): names often
// differ in a few digits only, and collections choose buckets by the low bits.
std::uint32_t String8::hash() const noexcept {
  std::uint32_t hash = 2166136261U;
  for (const char byte : view()) hash = (hash ^ static_cast<unsigned char>(byte)) * 16777619U;
  hash = (hash ^ (hash >> 16U)) * 0x85EBCA6BU;
  hash = (hash ^ (hash >> 13U)) * 0xC2B2AE35U;
  return hash ^ (hash >> 16U);
}

String8::IteratorConst String8::begin() const noexcept { return {*this, 0}; }
String8::IteratorConst String8::end() const noexcept { return {*this, length()}; }

String8::IteratorConst::IteratorConst(String8 text, std::size_t position) noexcept
    : text_(std::move(text)), position_(position) {
  KOB_ASSERT(position_ <= text_.length(), "position <= text.length()",
             "Kob::String8::IteratorConst::IteratorConst(Kob::String8, std::size_t)");
}

String8::IteratorConst& String8::IteratorConst::operator++() noexcept {
  KOB_ASSERT(position_ < text_.length(), "position < text.length()",
             "Kob::String8::IteratorConst& Kob::String8::IteratorConst::operator++()");
  ++position_;
  return *this;
}

std::ostream& operator<<(std::ostream& stream, const String8& text) {
  return stream << text.view();
}

}  // namespace Kob
