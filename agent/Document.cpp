#include "agent/Document.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include "agent/Progress.h"
#include "agent/Text.h"

namespace Agent {
namespace {

using nlohmann::json;

/// "line 3, column 14" of the byte with this number, counted from 1.
std::string placeOf(std::string_view text, std::size_t byte) {
  const std::string_view before = text.substr(0, byte == 0 ? 0 : byte - 1);
  const auto lines = std::count(before.begin(), before.end(), '\n');
  const std::size_t lineBreak = before.rfind('\n');
  const std::size_t column =
      lineBreak == std::string_view::npos ? before.size() : before.size() - lineBreak - 1;
  return "line " + std::to_string(lines + 1) + ", column " + std::to_string(column + 1);
}

/// The part of the parser's message that tells what is wrong.
std::string complaintOf(const json::exception& error) {
  std::string_view message = error.what();
  if (const auto end = message.find("] "); end != std::string_view::npos) {
    message.remove_prefix(end + 2);
  }
  if (message.starts_with("parse error at line")) message.remove_prefix(message.find(": ") + 2);
  return printable(message);
}

/// Builds the document from the parser's events, without recursion.
class Builder : public json::json_sax_t {
 public:
  Builder(const std::string& name, std::string_view text, Problems& repeatedKeys)
      : name_(name),
        text_(text),
        repeatedKeys_(repeatedKeys),
        progress_("parsing " + printable(name)) {}

  /// What was built; once.
  [[nodiscard]] json takeRoot() { return std::move(root_); }

  bool null() override { return isAdded(nullptr); }
  bool boolean(bool value) override { return isAdded(value); }
  bool number_integer(number_integer_t value) override { return isAdded(value); }
  bool number_unsigned(number_unsigned_t value) override { return isAdded(value); }
  bool number_float(number_float_t value, const string_t& /*text*/) override {
    return isAdded(value);
  }
  bool string(string_t& value) override { return isAdded(std::move(value)); }
  bool binary(binary_t& value) override { return isAdded(std::move(value)); }
  bool start_object(std::size_t /*size*/) override { return isOpened(json::object()); }
  bool start_array(std::size_t /*size*/) override { return isOpened(json::array()); }
  bool end_object() override { return isClosed(); }
  bool end_array() override { return isClosed(); }
  bool key(string_t& key) override;
  bool parse_error(std::size_t byte, const std::string& lastToken,
                   const json::exception& error) override;

 private:
  /// An object or array that is not closed yet, and in an object the member being read.
  struct Open {
    json* value;
    json::iterator member;

    /// The member's key; empty in an array.
    [[nodiscard]] std::string_view key() const {
      return value->is_object() ? std::string_view(member.key()) : std::string_view();
    }
  };

  json& add(json&& value);
  bool isAdded(json&& value);
  bool isOpened(json&& value);
  bool isClosed();
  void reportRepeated();

  const std::string& name_;
  std::string_view text_;
  Problems& repeatedKeys_;
  json root_;
  std::vector<Open> open_;
  Progress progress_;
};

json& Builder::add(json&& value) {
  if (open_.empty()) return root_ = std::move(value);
  json& parent = *open_.back().value;
  if (parent.is_object()) return *open_.back().member = std::move(value);
  return parent.emplace_back(std::move(value));
}

bool Builder::isAdded(json&& value) {
  add(std::move(value));
  return true;
}

bool Builder::isOpened(json&& value) {
  if (open_.size() == Document::deepest) {
    throw UnreadableInput(name_, "more than " + std::to_string(Document::deepest) +
                                     " objects and arrays within each other; no configuration "
                                     "nests that deep, check what wrote the file");
  }
  open_.push_back({&add(std::move(value)), {}});
  return true;
}

bool Builder::isClosed() {
  open_.pop_back();
  return true;
}

bool Builder::key(string_t& key) {
  progress_.step();
  const auto [member, isFirst] = open_.back().value->emplace(std::move(key), nullptr);
  open_.back().member = member;
  if (!isFirst) reportRepeated();
  return true;
}

void Builder::reportRepeated() {
  std::string path;
  for (std::size_t i = 1; i < open_.size() && path.size() <= Problem::longestText; ++i) {
    const std::string_view key = open_[i].key();
    if (key.empty()) continue;
    if (!path.empty()) path += '/';
    path += key.substr(0, Problem::longestText + 1);
  }
  const std::string_view table = open_.front().key().substr(0, Problem::longestText + 1);
  addProblem(repeatedKeys_, {ProblemKind::repeatedKey, name_, std::string(table), std::move(path),
                             "the key stands there twice", "the last one counts"});
}

bool Builder::parse_error(std::size_t byte, const std::string& /*lastToken*/,
                          const json::exception& error) {
  throw UnreadableInput(name_, placeOf(text_, byte) + ": not JSON: " + complaintOf(error));
}

/// A file that is open for reading; standard input stays open.
class InputFile {
 public:
  explicit InputFile(const std::string& path)
      : descriptor_(path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~InputFile() {
    if (descriptor_ > STDIN_FILENO) ::close(descriptor_);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
  /// Appends what is read next to `text`; the number of bytes, 0 at the end, -1 with errno.
  [[nodiscard]] ssize_t append(std::string& text) const {
    char buffer[1U << 16U];
    const ssize_t length = ::read(descriptor_, buffer, sizeof buffer);
    if (length > 0) text.append(buffer, static_cast<std::size_t>(length));
    return length;
  }

 private:
  int descriptor_;
};

[[noreturn]] void refuse(const std::string& name, int error) {
  throw UnreadableInput(name, std::string("cannot be read: ") + std::strerror(error));
}

std::string contentOf(const std::string& path, const std::string& name) {
  const InputFile file(path);
  if (!file.isOpen()) refuse(name, errno);
  std::string text;
  Progress progress("reading " + printable(name));
  while (true) {
    progress.step();
    const ssize_t length = file.append(text);
    if (length == 0) return text;
    if (length < 0 && errno != EINTR) refuse(name, errno);
    if (text.size() > Document::longest) {
      throw UnreadableInput(name, "longer than " + std::to_string(Document::longest >> 20U) +
                                      " MiB; no configuration is that long, check the name");
    }
  }
}

}  // namespace

UnreadableInput::UnreadableInput(std::string_view file, const std::string& what)
    : std::runtime_error(printable(file) + ": " + what) {}

Document Document::read(const std::string& path) {
  const std::string name = path == "-" ? "standard input" : path;
  return {name, contentOf(path, name)};
}

Document Document::of(std::string name, json root) {
  Document document;
  document.name_ = std::move(name);
  document.root_ = std::move(root);
  return document;
}

Document::Document(std::string name, std::string_view text) : name_(std::move(name)) {
  if (text.find_first_not_of(" \t\r\n") == std::string_view::npos) {
    throw UnreadableInput(name_, "empty; give a JSON document");
  }
  // The parser would take it for the end of the text.
  if (const std::size_t zero = text.find('\0'); zero != std::string_view::npos) {
    throw UnreadableInput(name_, placeOf(text, zero + 1) +
                                     ": not JSON: a zero byte; JSON is text, check what wrote the "
                                     "file");
  }
  Builder builder(name_, text, repeatedKeys_);
  json::sax_parse(text, &builder);
  root_ = builder.takeRoot();
}

}  // namespace Agent
