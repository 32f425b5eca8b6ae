// The built library as others meet it without running it, or before they want to know of its types:
// the section that lists the names of its types, and the types of a library that was loaded while
// introspection was off.

#include <elf.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace FyrL3Intf::Tests {
namespace {

// ---------------------------------------------------------------------------------------------
// The section .kob.type

/// A library as a file.
class ElfFile {
 public:
  explicit ElfFile(const char* path) {
    std::ifstream file(path, std::ios::binary);
    bytes_.assign(std::istreambuf_iterator<char>(file), {});
  }

  [[nodiscard]] bool isElf64() const {
    return bytes_.size() > sizeof(Elf64_Ehdr) && bytes_.starts_with(ELFMAG) &&
           bytes_[EI_CLASS] == ELFCLASS64;
  }
  /// How many sections there are of this name; the last of them goes into `section`.
  [[nodiscard]] int sectionsOf(std::string_view name, Elf64_Shdr& section) const {
    const auto header = at<Elf64_Ehdr>(0);
    const auto names = sectionAt(header, header.e_shstrndx);
    int found = 0;
    for (std::size_t index = 0; index < header.e_shnum; ++index) {
      const auto candidate = sectionAt(header, index);
      if (bytes_.c_str() + names.sh_offset + candidate.sh_name != name) continue;
      section = candidate;
      ++found;
    }
    return found;
  }
  [[nodiscard]] std::string contentOf(const Elf64_Shdr& section) const {
    return bytes_.substr(section.sh_offset, section.sh_size);
  }

 private:
  template <class T>
  [[nodiscard]] T at(std::size_t offset) const {
    T value;
    std::memcpy(&value, bytes_.data() + offset, sizeof value);
    return value;
  }
  [[nodiscard]] Elf64_Shdr sectionAt(const Elf64_Ehdr& header, std::size_t index) const {
    return at<Elf64_Shdr>(header.e_shoff + index * header.e_shentsize);
  }

  std::string bytes_;
};

TEST(LibraryFile, ListsTheNamesOfItsTypesInASectionThatIsLoadedReadOnly) {
  const ElfFile library(FYRL3INTF_LIBRARY);
  ASSERT_TRUE(library.isElf64()) << FYRL3INTF_LIBRARY;
  Elf64_Shdr section{};
  ASSERT_EQ(library.sectionsOf(".kob.type", section), 1);
  EXPECT_EQ(section.sh_type, Elf64_Word{SHT_PROGBITS});
  EXPECT_TRUE((section.sh_flags & SHF_ALLOC) != 0);
  EXPECT_TRUE((section.sh_flags & (SHF_WRITE | SHF_EXECINSTR)) == 0);
  constexpr char names[] =
      "FyrL3Intf::ConfigSm\0"
      "FyrL3Intf::SwitchIntfConfigSm\0"
      "FyrL3Intf::ConfigSm::IntfSet\0"
      "FyrL3Intf::Table";
  EXPECT_EQ(section.sh_size, 96U);
  EXPECT_EQ(library.contentOf(section), std::string(names, sizeof names));
}

// ---------------------------------------------------------------------------------------------
// Loading while introspection is off

TEST(LibraryFile, LoadedWhileIntrospectionIsOffIsDescribedOnALaterCall) {
  std::FILE* const program =
      popen("'" LATE_DESCRIPTION_PROGRAM "' '" FYRL3INTF_LIBRARY "' 2>&1", "r");
  ASSERT_NE(program, nullptr);
  std::string output;
  char buffer[4096];
  while (const std::size_t length = std::fread(buffer, 1, sizeof buffer, program)) {
    output.append(buffer, length);
  }
  const int status = pclose(program);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(output, "");
}

}  // namespace
}  // namespace FyrL3Intf::Tests
