#include "Kob/TypeName.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

namespace Kob {

std::string typeName(const std::type_info& type) {
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, nullptr), &std::free);
  return name ? name.get() : type.name();
}

}  // namespace Kob
