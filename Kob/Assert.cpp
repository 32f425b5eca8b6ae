#include "Kob/Assert.h"

// The routine is declared only where assertions are on, and ours are always on.
#undef NDEBUG
#include <cassert>

namespace Kob {

void assertFail(const char* expression, const char* file, unsigned line,
                const char* function) noexcept {
  __assert_fail(expression, file, line, function);
}

}  // namespace Kob
