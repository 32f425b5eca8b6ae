#include "agent/LineReader.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "agent/Document.h"

namespace Agent {
namespace {

constexpr const char* input = "standard input";

}  // namespace

std::optional<std::string> LineReader::next() {
  std::size_t searched = 0;
  std::size_t end = ahead_.find('\n');
  while (end == std::string::npos) {
    searched = ahead_.size();
    if (!readMore()) break;
    end = ahead_.find('\n', searched);
  }
  if (end == std::string::npos && ahead_.empty()) return std::nullopt;
  ++number_;
  std::string line = ahead_.substr(0, end);
  ahead_.erase(0, end == std::string::npos ? end : end + 1);
  return line;
}

bool LineReader::readMore() {
  std::array<char, 1U << 16U> buffer;
  ssize_t length = -1;
  do {
    length = ::read(STDIN_FILENO, buffer.data(), buffer.size());
  } while (length < 0 && errno == EINTR);
  if (length < 0) {
    throw UnreadableInput(input, std::string("cannot be read: ") + std::strerror(errno));
  }
  ahead_.append(buffer.data(), static_cast<std::size_t>(length));
  if (ahead_.size() > Document::longest) {
    throw UnreadableInput(input, "a line longer than " + std::to_string(Document::longest >> 20U) +
                                     " MiB; give each patch a line of its own");
  }
  return length > 0;
}

}  // namespace Agent
