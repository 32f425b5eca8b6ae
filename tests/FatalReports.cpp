// Loaded into a test program before all else, by scripts/fatals.py: takes the place of the C
// library's assertion failure routine. Tells on standard output which report was due, and writes it
// as that routine does, or with a mark in one of its parts, which a test that knows the whole
// report must notice.

#include <dlfcn.h>
#include <unistd.h>

#include <cassert>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

/// How many pieces of a report's detail the stream has written, its opening "Failed(" the first.
unsigned pieces = 0;

void write(int descriptor, const std::string& text) {
  if (::write(descriptor, text.data(), text.size()) < 0) std::_Exit(1);
}

/// The mark, where the part that FATAL_REPORTS_MARK names is this one.
std::string markOf(std::string_view part) {
  const char* const marked = std::getenv("FATAL_REPORTS_MARK");
  if (marked == nullptr || part != marked) return "";
  return "~" + std::to_string(::getpid()) + "~: ";  // a program's name has no colon
}

}  // namespace

/// What streams write with: behind each piece of a detail there may be a mark.
extern "C" [[gnu::visibility("default")]] std::size_t fwrite(const void* data, std::size_t size,
                                                             std::size_t count, FILE* stream) {
  using Write = std::size_t (*)(const void*, std::size_t, std::size_t, FILE*);
  static const auto next = reinterpret_cast<Write>(::dlsym(RTLD_NEXT, "fwrite"));
  const std::size_t written = next(data, size, count, stream);
  if (stream != stderr) return written;
  const std::string_view text(static_cast<const char*>(data), size * count);
  if (pieces > 0 || text == "Failed(") {
    ++pieces;
    write(STDERR_FILENO, markOf("piece " + std::to_string(pieces)));
  }
  return written;
}

extern "C" [[gnu::visibility("default")]] void __assert_fail(const char* expression,
                                                             const char* file, unsigned line,
                                                             const char* function) noexcept {
  const std::string number = std::to_string(line);
  write(STDOUT_FILENO, "\nFATAL\t" + std::to_string(::getpid()) + "\t" + file + "\t" + number +
                           "\t" + function + "\t" + expression + "\t" + std::to_string(pieces) +
                           "\n");
  write(STDERR_FILENO, markOf("begin") + program_invocation_short_name + ": " + file +
                           markOf("file") + ":" + number + ": " + function + markOf("function") +
                           ": Assertion `" + expression + markOf("expression") + "' failed.\n" +
                           markOf("end"));
  std::abort();
}
