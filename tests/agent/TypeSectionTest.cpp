#include "agent/TypeSection.h"

#include <elf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "agent/Document.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using Names = std::vector<std::string>;

constexpr char sectionNames[] = "\0.kob.type\0.shstrtab";

/// An ELF file of three sections: none, the types, and the names of the sections. It can be spoilt
/// before it is written.
template <class Header, class Section>
struct ElfFile {
  explicit ElfFile(unsigned char elfClass, std::string typeNames) : types(std::move(typeNames)) {
    std::memcpy(header.e_ident, ELFMAG, SELFMAG);
    header.e_ident[EI_CLASS] = elfClass;
    header.e_ident[EI_DATA] = ELFDATA2LSB;
    header.e_shoff = sizeof(Header);
    header.e_shentsize = sizeof(Section);
    header.e_shnum = 3;
    header.e_shstrndx = 2;
    const std::size_t content = sizeof(Header) + sizeof sections;
    sections[1].sh_name = 1;
    sections[1].sh_type = SHT_PROGBITS;
    sections[1].sh_offset = static_cast<decltype(Section::sh_offset)>(content);
    sections[1].sh_size = static_cast<decltype(Section::sh_size)>(types.size());
    sections[2].sh_name = 11;
    sections[2].sh_type = SHT_STRTAB;
    sections[2].sh_offset = static_cast<decltype(Section::sh_offset)>(content + types.size());
    sections[2].sh_size = sizeof sectionNames;
  }

  [[nodiscard]] std::string bytes() const {
    std::string text(sizeof header + sizeof sections, '\0');
    std::memcpy(text.data(), &header, sizeof header);
    std::memcpy(text.data() + sizeof header, sections, sizeof sections);
    return text + types + std::string(sectionNames, sizeof sectionNames);
  }

  Header header{};
  Section sections[3]{};
  std::string types;
};

using Elf64 = ElfFile<Elf64_Ehdr, Elf64_Shdr>;
using Elf32 = ElfFile<Elf32_Ehdr, Elf32_Shdr>;

Elf64 goodFile() { return Elf64(ELFCLASS64, std::string("A::B\0C\0", 7)); }

class TypeSectionTest : public testing::Test {
 protected:
  void TearDown() override { std::filesystem::remove(path_); }

  void write(const std::string& bytes) const { std::ofstream(path_, std::ios::binary) << bytes; }
  [[nodiscard]] Names namesIn(const std::string& bytes) const {
    write(bytes);
    return typesProvidedBy(path_);
  }
  /// What the file is refused with, without its name.
  [[nodiscard]] std::string refusalOf(const std::string& bytes) const {
    write(bytes);
    return refusalOfFile(path_);
  }
  [[nodiscard]] static std::string refusalOfFile(const std::string& path) {
    try {
      (void)typesProvidedBy(path);
    } catch (const UnreadableInput& refusal) {
      return std::string(refusal.what()).substr(path.size() + 2);
    }
    return "";
  }

  const std::string path_ = testing::TempDir() + "typeSection-" + std::to_string(getpid());
};

TEST_F(TypeSectionTest, GivesTheNamesInTheirOrder) {
  EXPECT_THAT(namesIn(goodFile().bytes()), ElementsAre("A::B", "C"));
  EXPECT_THAT(namesIn(Elf32(ELFCLASS32, std::string("A::B\0C\0", 7)).bytes()),
              ElementsAre("A::B", "C"));
}

TEST_F(TypeSectionTest, PassesOverPadding) {
  EXPECT_THAT(namesIn(Elf64(ELFCLASS64, std::string("\0\0A\0\0\0C\0\0", 9)).bytes()),
              ElementsAre("A", "C"));
}

TEST_F(TypeSectionTest, GivesNothingWhereThereIsNone) {
  Elf64 renamed = goodFile();
  renamed.sections[1].sh_name = 2;
  EXPECT_THAT(namesIn(renamed.bytes()), IsEmpty());
  Elf64 bare = goodFile();
  bare.header.e_shoff = 0;
  EXPECT_THAT(namesIn(bare.bytes()), IsEmpty());
  Elf64 without = goodFile();
  without.sections[1].sh_type = SHT_NOBITS;
  without.sections[1].sh_size = UINT64_MAX;
  EXPECT_THAT(namesIn(without.bytes()), IsEmpty());
}

TEST_F(TypeSectionTest, FindsNumbersThatDoNotFitIntoTheHeader) {
  Elf64 file = goodFile();
  file.header.e_shnum = 0;
  file.sections[0].sh_size = 3;
  file.header.e_shstrndx = SHN_XINDEX;
  file.sections[0].sh_link = 2;
  EXPECT_THAT(namesIn(file.bytes()), ElementsAre("A::B", "C"));
}

TEST_F(TypeSectionTest, RefusesWhatIsNoElfFile) {
  constexpr const char* noElf = "is no ELF file; give a shared library";
  EXPECT_EQ(refusalOf(""), noElf);
  EXPECT_EQ(refusalOf("\x7f"
                      "ELF"),
            noElf);
  EXPECT_EQ(refusalOf(std::string(1000, 'x')), noElf);
  EXPECT_EQ(refusalOfFile("examples"), "is no regular file; give a shared library");
  EXPECT_EQ(refusalOfFile("/dev/zero"), "is no regular file; give a shared library");
  EXPECT_EQ(refusalOfFile("/no/such/file"), "cannot be read: No such file or directory");
}

TEST_F(TypeSectionTest, RefusesAForeignByteOrderAndClass) {
  Elf64 file = goodFile();
  file.header.e_ident[EI_DATA] = ELFDATA2MSB;
  EXPECT_EQ(refusalOf(file.bytes()), "is of another byte order than this machine");
  file = goodFile();
  file.header.e_ident[EI_CLASS] = 3;
  EXPECT_EQ(refusalOf(file.bytes()), "is damaged: it is neither of 32 nor of 64 bits");
}

/// One way to spoil a file, and what it is refused with.
struct Damage {
  void (*spoil)(Elf64& file);
  const char* refusal;
};

TEST_F(TypeSectionTest, RefusesWhatPointsOutOfTheFile) {
  constexpr const char* header = "is damaged: a section header is not within the file";
  constexpr const char* section = "is damaged: a section is not within the file";
  const Damage damages[] = {
      {[](Elf64& file) { file.header.e_shoff = 1'000'000; }, header},
      {[](Elf64& file) { file.header.e_shoff = UINT64_MAX - 10; }, header},
      {[](Elf64& file) { file.header.e_shoff = UINT64_MAX - 63; }, header},
      {[](Elf64& file) { file.header.e_shnum = 60'000; }, header},
      {[](Elf64& file) { file.header.e_shentsize = 7; },
       "is damaged: its section headers have a size of their own"},
      {[](Elf64& file) { file.header.e_shstrndx = 3; }, "is damaged: its sections have no names"},
      {[](Elf64& file) {
         file.header.e_shnum = 0;
         file.sections[0].sh_size = UINT64_MAX;
       },
       "is damaged: it has too many sections"},
      {[](Elf64& file) { file.sections[1].sh_offset = UINT64_MAX; }, section},
      {[](Elf64& file) { file.sections[1].sh_size = UINT64_MAX; }, section},
      {[](Elf64& file) { file.sections[2].sh_size = 1'000'000; }, section},
      {[](Elf64& file) { file.types.back() = 'x'; },
       "is damaged: the last name in .kob.type has no end"},
  };
  for (const auto& [spoil, refusal] : damages) {
    Elf64 file = goodFile();
    spoil(file);
    EXPECT_EQ(refusalOf(file.bytes()), refusal);
  }
}

TEST_F(TypeSectionTest, TakesNamesOfSectionsThatAreOutOfPlaceForNone) {
  Elf64 file = goodFile();
  file.sections[1].sh_name = UINT32_MAX;
  EXPECT_THAT(namesIn(file.bytes()), IsEmpty());
}

TEST_F(TypeSectionTest, SurvivesEveryTruncationAndEveryFlippedByte) {
  const std::string whole = goodFile().bytes();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_NE(refusalOf(whole.substr(0, length)), "") << length;
  }
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char mask : {'\x01', '\xff'}) {
      std::string spoilt = whole;
      spoilt[at] = static_cast<char>(spoilt[at] ^ mask);
      (void)refusalOf(spoilt);
    }
  }
}

TEST_F(TypeSectionTest, ReadsTheLibraryItself) {
  const auto library =
      std::filesystem::path(FYRL3_PROGRAM).parent_path().parent_path() / "lib" / "libFyrL3Intf.so";
  EXPECT_THAT(typesProvidedBy(library),
              ElementsAre("FyrL3Intf::ConfigSm", "FyrL3Intf::SwitchIntfConfigSm",
                          "FyrL3Intf::ConfigSm::IntfSet", "FyrL3Intf::Table"));
}

}  // namespace
}  // namespace Agent
