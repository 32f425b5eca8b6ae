#include "platform/IntfId.h"

#include <algorithm>
#include <charconv>
#include <deque>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <unordered_map>

#include "Kob/Assert.h"
#include "Kob/Exception.h"
#include "Kob/GenericValue.h"

namespace Plexo {

namespace {

/// The interned names; index 0 is the empty name.
struct NameTable {
  std::deque<Kob::String8> names{Kob::String8()};
  std::unordered_map<std::string_view, std::uint32_t> indexes;
};

NameTable& nameTable() {
  // Never destroyed: identifiers may be printed while the process exits.
  static auto& table = *new NameTable;
  return table;
}
// Made at load: reading a name, and printing one in a trace, never runs out of memory.
[[maybe_unused]] const NameTable& tableAtLoad = nameTable();

std::uint32_t indexOf(const Kob::String8& name) {
  NameTable& table = nameTable();
  if (const auto known = table.indexes.find(name.view()); known != table.indexes.end()) {
    return known->second;
  }
  KOB_ASSERT_UNTESTABLE(table.names.size() <= UINT32_MAX, "names <= 0xFFFFFFFF",
                        "void Plexo::IntfId::handleInitialized(const Kob::String8&)",
                        "2^32 names take hundreds of gigabytes");
  const auto index = static_cast<std::uint32_t>(table.names.size());
  // The key views the table's own copy, which shares the name's block and never moves.
  table.names.push_back(name);
  try {
    table.indexes.emplace(table.names.back().view(), index);
  } catch (...) {
    table.names.pop_back();
    throw;
  }
  return index;
}

bool isName(std::string_view name) {
  return name.size() <= IntfId::maxNameLength &&
         std::all_of(name.begin(), name.end(), [](char c) { return c >= '!' && c <= '~'; });
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Takes the run of digits at the front of `text`, without its leading zeros.
std::string_view takeNumber(std::string_view& text) {
  std::size_t first = 0;
  while (first < text.size() && text[first] == '0') ++first;
  std::size_t end = first;
  while (end < text.size() && isDigit(text[end])) ++end;
  const std::string_view number = text.substr(first, end - first);
  text.remove_prefix(end);
  return number;
}

/// Natural order: -1, 0 or 1; 0 also for names that differ only in leading zeros.
int naturalOrder(std::string_view a, std::string_view b) {
  while (!a.empty() && !b.empty()) {
    int order = 0;
    if (isDigit(a.front()) && isDigit(b.front())) {
      const std::string_view x = takeNumber(a);
      const std::string_view y = takeNumber(b);
      order = x.size() != y.size() ? (x.size() < y.size() ? -1 : 1) : x.compare(y);
    } else {
      order = a.front() - b.front();
      a.remove_prefix(1);
      b.remove_prefix(1);
    }
    if (order != 0) return order < 0 ? -1 : 1;
  }
  return static_cast<int>(!a.empty()) - static_cast<int>(!b.empty());
}

std::size_t countDigits(std::string_view text) {
  std::size_t count = 0;
  while (count < text.size() && isDigit(text[count])) ++count;
  return count;
}

/// Whether `a` comes before `b`; two names. Most share most of their text, so the first difference
/// is looked for before anything else, and decides unless leading zeros make numbers equal.
bool isBefore(std::string_view a, std::string_view b) {
  const auto length = std::min(a.size(), b.size());
  std::size_t at = 0;
  while (at < length && a[at] == b[at]) ++at;
  std::size_t number = at;  // where the digits begin in which, or right after which, they differ
  while (number > 0 && isDigit(a[number - 1])) --number;
  if (number == length || a[number] == '0' || b[number] == '0') {
    const int order = naturalOrder(a.substr(number), b.substr(number));
    return order != 0 ? order < 0 : a < b;
  }
  const std::size_t digits = countDigits(a.substr(at));
  const std::size_t others = countDigits(b.substr(at));
  const bool areNumbers = number < at || (digits > 0 && others > 0);
  if (areNumbers && digits != others) return digits < others;
  return at == a.size() || (at < b.size() && a[at] < b[at]);
}

/// The number of a VLAN interface's name.
std::optional<std::uint16_t> vlanNumber(std::string_view name) {
  constexpr std::string_view prefixes[] = {"Vlan", "vlan"};
  if (std::none_of(std::begin(prefixes), std::end(prefixes),
                   [name](std::string_view prefix) { return name.starts_with(prefix); })) {
    return std::nullopt;
  }
  const std::string_view digits = name.substr(prefixes[0].size());
  if (digits.size() > 1 && digits.front() == '0') return std::nullopt;
  std::uint16_t number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [last, error] = std::from_chars(digits.data(), end, number);
  if (error != std::errc() || last != end) return std::nullopt;
  return number;
}

}  // namespace

IntfId::IntfId(const Kob::String8& name) { handleInitialized(name); }

IntfId::IntfId(Kob::String8::IteratorConst& position, const Kob::String8::IteratorConst& end) {
  std::string name;
  for (; !(position == end); ++position) name += *position;
  handleInitialized(Kob::String8(name));
}

Kob::KobType* IntfId::_fwkType() { return Kob::valueType<IntfId>(); }

void IntfId::handleInitialized(const Kob::String8& name) {
  if (!isName(name.view())) {
    Kob::throwRangeException("IntfId::name is not 1 to 255 printable characters without blanks");
  }
  index_ = name.empty() ? 0 : indexOf(name);
  reversedHash_ = name.empty() ? 0 : Kob::bitReverse(name.hash());
}

Kob::String8 IntfId::name() const { return nameTable().names[index_]; }

bool operator<(IntfId a, IntfId b) {
  if (a == b) return false;
  const auto& names = nameTable().names;
  const std::string_view x = names[a.index_].view();
  const std::string_view y = names[b.index_].view();
  return isBefore(x, y);
}

std::ostream& operator<<(std::ostream& stream, const IntfId& intfId) {
  return stream << intfId.name();
}

std::size_t intfNames() noexcept { return nameTable().names.size() - 1; }

bool VlanIntfId::isVlanIntfId(IntfId intfId) {
  return vlanNumber(intfId.name().view()).has_value();
}

std::uint16_t VlanIntfId::vlanId(IntfId intfId) {
  const auto number = vlanNumber(intfId.name().view());
  KOB_ASSERT(number.has_value(), "Plexo::VlanIntfId::isVlanIntfId( intfId )",
             "std::uint16_t Plexo::VlanIntfId::vlanId(Plexo::IntfId)");
  return *number;
}

bool InternalIntfId::isInternalIntfId(IntfId intfId) {
  return intfId.name().view().starts_with("Internal");
}

}  // namespace Plexo
