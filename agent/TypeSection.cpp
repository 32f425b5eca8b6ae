#include "agent/TypeSection.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "agent/Document.h"

namespace Agent {
namespace {

constexpr unsigned char nativeOrder =
    std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;

struct Elf32 {
  using Header = Elf32_Ehdr;
  using Section = Elf32_Shdr;
};
struct Elf64 {
  using Header = Elf64_Ehdr;
  using Section = Elf64_Shdr;
};

/// Closes what it holds.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() { ::close(number_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  [[nodiscard]] int number() const { return number_; }

 private:
  int number_;
};

/// A file whose parts are read when they are asked for, and only within its size.
class BinaryFile {
 public:
  explicit BinaryFile(std::string path);

  [[noreturn]] void refuse(const std::string& what) const { throw UnreadableInput(path_, what); }
  /// `what` is named when these bytes are not all within the file.
  [[nodiscard]] std::string bytes(std::uint64_t offset, std::uint64_t length,
                                  const char* what) const;
  /// Its first bytes; fewer where it has no more.
  [[nodiscard]] std::string front(std::uint64_t length) const {
    return bytes(0, std::min(length, size_), "its beginning");
  }
  /// A structure of the file's headers.
  template <class T>
  [[nodiscard]] T structure(std::uint64_t offset, const char* what) const {
    T read;
    std::memcpy(&read, bytes(offset, sizeof read, what).data(), sizeof read);
    return read;
  }

 private:
  std::string path_;
  Descriptor descriptor_;
  std::uint64_t size_ = 0;
};

BinaryFile::BinaryFile(std::string path)
    : path_(std::move(path)),
      // A pipe that nobody writes to must not hold the program up.
      descriptor_(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
  struct stat status{};
  if (descriptor_.number() < 0 || ::fstat(descriptor_.number(), &status) != 0) {
    refuse(std::string("cannot be read: ") + std::strerror(errno));
  }
  if (!S_ISREG(status.st_mode)) refuse("is no regular file; give a shared library");
  size_ = static_cast<std::uint64_t>(status.st_size);
}

std::string BinaryFile::bytes(std::uint64_t offset, std::uint64_t length, const char* what) const {
  if (offset > size_ || length > size_ - offset) {
    refuse(std::string("is damaged: ") + what + " is not within the file");
  }
  std::string text(length, '\0');
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = ::pread(descriptor_.number(), text.data() + done, text.size() - done,
                                  static_cast<off_t>(offset + done));
    if (count == 0) refuse("was cut short while it was read");
    if (count < 0 && errno != EINTR) refuse(std::string("cannot be read: ") + std::strerror(errno));
    if (count > 0) done += static_cast<std::size_t>(count);
  }
  return text;
}

/// The sections of a file of one class.
template <class Elf>
class Sections {
 public:
  explicit Sections(const BinaryFile& file);

  /// The bytes of all sections of this name, one after the other.
  [[nodiscard]] std::string named(std::string_view name) const;

 private:
  using Section = typename Elf::Section;

  /// REQUIRES: index <= UINT32_MAX.
  [[nodiscard]] Section section(std::uint64_t index) const {
    const std::uint64_t within = index * sizeof(Section);
    if (within > UINT64_MAX - header_.e_shoff) file_.refuse("is damaged: its sections have no end");
    return file_.structure<Section>(header_.e_shoff + within, "a section header");
  }
  [[nodiscard]] std::string content(const Section& section) const;

  const BinaryFile& file_;
  typename Elf::Header header_;
  std::uint64_t sections_ = 0;
  std::string names_;
};

template <class Elf>
Sections<Elf>::Sections(const BinaryFile& file)
    : file_(file), header_(file.structure<typename Elf::Header>(0, "its header")) {
  if (header_.e_shoff == 0) return;
  if (header_.e_shentsize != sizeof(Section)) {
    file.refuse("is damaged: its section headers have a size of their own");
  }
  // What does not fit into the header stands in the first section's.
  const Section first = section(0);
  sections_ = header_.e_shnum != 0 ? header_.e_shnum : std::uint64_t{first.sh_size};
  // Reading the last one shows that all are within the file; a number too great must not wrap.
  if (sections_ > UINT32_MAX) file.refuse("is damaged: it has too many sections");
  if (sections_ > 0) (void)section(sections_ - 1);
  const std::uint64_t names =
      header_.e_shstrndx != SHN_XINDEX ? header_.e_shstrndx : std::uint64_t{first.sh_link};
  if (names >= sections_) file.refuse("is damaged: its sections have no names");
  names_ = content(section(names));
}

template <class Elf>
std::string Sections<Elf>::named(std::string_view name) const {
  std::string found;
  for (std::uint64_t index = 0; index < sections_; ++index) {
    const Section candidate = section(index);
    const std::size_t end = names_.find('\0', candidate.sh_name);
    if (end == std::string::npos) continue;
    if (std::string_view(names_).substr(candidate.sh_name, end - candidate.sh_name) != name) {
      continue;
    }
    found += content(candidate);
  }
  return found;
}

template <class Elf>
std::string Sections<Elf>::content(const Section& section) const {
  if (section.sh_type == SHT_NOBITS) return "";
  return file_.bytes(section.sh_offset, section.sh_size, "a section");
}

std::string typeSection(const BinaryFile& file) {
  const std::string identity = file.front(EI_NIDENT);
  if (identity.size() < EI_NIDENT || !identity.starts_with(ELFMAG)) {
    file.refuse("is no ELF file; give a shared library");
  }
  if (static_cast<unsigned char>(identity[EI_DATA]) != nativeOrder) {
    file.refuse("is of another byte order than this machine");
  }
  switch (identity[EI_CLASS]) {
    case ELFCLASS32:
      return Sections<Elf32>(file).named(typeSectionName);
    case ELFCLASS64:
      return Sections<Elf64>(file).named(typeSectionName);
    default:
      file.refuse("is damaged: it is neither of 32 nor of 64 bits");
  }
}

}  // namespace

std::vector<std::string> typesProvidedBy(const std::string& path) {
  const BinaryFile file(path);
  const std::string section = typeSection(file);
  if (!section.empty() && section.back() != '\0') {
    file.refuse("is damaged: the last name in .kob.type has no end");
  }
  std::vector<std::string> names;
  for (std::size_t at = 0; at < section.size();) {
    const std::size_t end = section.find('\0', at);
    // Sections of several sources may be padded where they meet.
    if (end > at) names.push_back(section.substr(at, end - at));
    at = end + 1;
  }
  return names;
}

}  // namespace Agent
