#include "agent/Options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace Agent {
namespace {

using testing::HasSubstr;

Options parsed(std::vector<const char*> arguments) {
  Options options;
  arguments.insert(arguments.begin(), "fyrl3");
  EXPECT_FALSE(parseOptions(static_cast<int>(arguments.size()), arguments.data(), options));
  return options;
}

std::string helpOf(std::vector<const char*> arguments) {
  Options options;
  arguments.insert(arguments.begin(), "fyrl3");
  const auto help = parseOptions(static_cast<int>(arguments.size()), arguments.data(), options);
  return help ? help->text : "";
}

std::string refusalOf(const std::vector<const char*>& arguments) {
  try {
    parsed(arguments);
  } catch (const UsageError& error) {
    return error.what();
  }
  return "";
}

TEST(Options, OfShowHaveTheirDefaults) {
  const Options options = parsed({"show", "--config", "f.json"});
  EXPECT_EQ(options.command, Command::show);
  EXPECT_EQ(options.configFile, "f.json");
  EXPECT_EQ(options.l3IndexFile, "");
  EXPECT_FALSE(options.isStrict);
  EXPECT_FALSE(options.isJson);
  EXPECT_EQ(options.traceLevel, std::nullopt);
}

TEST(Options, OfLookupMayFollowTheQuestion) {
  const Options options = parsed({"lookup", "Ethernet0", "--config=-", "--l3-index", "i.json",
                                  "--strict", "--json", "--trace", "7"});
  EXPECT_EQ(options.command, Command::lookup);
  EXPECT_EQ(options.question, "Ethernet0");
  EXPECT_EQ(options.configFile, "-");
  EXPECT_EQ(options.l3IndexFile, "i.json");
  EXPECT_TRUE(options.isStrict);
  EXPECT_TRUE(options.isJson);
  EXPECT_EQ(options.traceLevel, 7U);
}

TEST(Options, AreRefusedWithAReason) {
  EXPECT_EQ(refusalOf({}), "no command is given; give show, lookup, verify, why, shell or types");
  EXPECT_EQ(refusalOf({"show"}), "--config is required");
  EXPECT_EQ(refusalOf({"lookup", "--config", "f"}), "NAME|ID is required");
  EXPECT_EQ(refusalOf({"show", "--config", ""}), "--config: the name of the file is empty");
  EXPECT_EQ(refusalOf({"show", "--config", "f", "--l3-index", ""}),
            "--l3-index: the name of the file is empty");
  EXPECT_EQ(refusalOf({"show", "--config", "-", "--l3-index", "-"}),
            "--config and --l3-index cannot both be standard input");
  for (const char* level : {"10", "-1", "x", ""}) {
    EXPECT_NE(refusalOf({"show", "--config", "f", "--trace", level}), "") << level;
  }
  EXPECT_NE(refusalOf({"show", "--config", "f", "--config", "g"}), "");
  EXPECT_NE(refusalOf({"show", "--config", "f", "--strict=false"}), "");
  EXPECT_NE(refusalOf({"show", "lookup"}), "");
  EXPECT_EQ(refusalOf({"frob\x1b", "--config", "f"}),
            "there is no command \"frob\\x1b\"; give show, lookup, verify, why, shell or types");
  EXPECT_EQ(refusalOf({"show", "--conf", "f"}), "not understood: --conf f");
  EXPECT_EQ(refusalOf({"show", "--config", "f", "g"}), "not understood: g");
  EXPECT_EQ(refusalOf({"--json", "show", "--config", "f"}), "not understood: --json");
}

TEST(Options, AreHelpedWithInTheWordsOfTheManual) {
  EXPECT_THAT(helpOf({"--help"}), HasSubstr("Usage: fyrl3 [OPTIONS] COMMAND\n"));
  EXPECT_THAT(helpOf({"--help"}), HasSubstr("\nCommands:\n  show  "));
}

TEST(Options, AskForInternalVlans) {
  const Options plain = parsed({"show", "--config", "f", "--internal-vlans"});
  ASSERT_TRUE(plain.internalVlans);
  EXPECT_EQ(textOf(plain.internalVlans->range), "3968-4094");
  EXPECT_EQ(plain.internalVlans->policy, ReservationPolicy::ascending);
  EXPECT_TRUE(plain.internalVlans->pins.empty());
  EXPECT_FALSE(parsed({"show", "--config", "f"}).internalVlans);
  const Options full =
      parsed({"show", "--internal-vlans=1-4094", "--policy", "descending", "--internal-vlan",
              "Ethernet0=7", "--internal-vlan", "a=b=8", "--config", "f"});
  EXPECT_EQ(textOf(full.internalVlans->range), "1-4094");
  EXPECT_EQ(full.internalVlans->policy, ReservationPolicy::descending);
  EXPECT_EQ(full.internalVlans->pins,
            (std::map<Plexo::IntfId, Bridging::VlanId>{{Plexo::IntfId("Ethernet0"), 7},
                                                       {Plexo::IntfId("a=b"), 8}}));
}

TEST(Options, OfInternalVlansAreRefusedWithAReason) {
  for (const char* range : {"", "1", "0-5", "1-4095", "9-5", "a-b", "-", "1-2-3", " 1-2", "true"}) {
    const std::string option = "--internal-vlans=" + std::string(range);
    EXPECT_EQ(refusalOf({"show", "--config", "f", option.c_str()}),
              "--internal-vlans: \"" + std::string(range) +
                  "\" is not a range LOW-HIGH of VLANs from 1 to 4094");
  }
  for (const char* pin : {"Ethernet0", "Ethernet0=", "=7", "a b=7", "a=0", "a=4095", "a=x"}) {
    EXPECT_EQ(refusalOf({"show", "--config", "f", "--internal-vlans", "--internal-vlan", pin}),
              "--internal-vlan: \"" + std::string(pin) +
                  "\" is not an interface's name, = and a VLAN from 1 to 4094");
  }
  EXPECT_EQ(refusalOf({"show", "--config", "f", "--internal-vlans", "--internal-vlan", "a=7",
                       "--internal-vlan", "a=7"}),
            "--internal-vlan: a is given twice");
  EXPECT_EQ(refusalOf({"show", "--config", "f", "--policy", "ascending"}),
            "--policy goes with --internal-vlans");
  EXPECT_EQ(refusalOf({"show", "--config", "f", "--internal-vlan", "a=7"}),
            "--internal-vlan goes with --internal-vlans");
  EXPECT_EQ(refusalOf({"show", "--config", "f", "--internal-vlans", "--l3-index", "g"}),
            "--l3-index and --internal-vlans are alternatives; give one of the two");
  EXPECT_NE(refusalOf({"show", "--config", "f", "--internal-vlans", "--policy", "random"}), "");
  EXPECT_NE(refusalOf({"show", "--config", "f", "--internal-vlans", "--internal-vlans"}), "");
  EXPECT_NE(refusalOf({"show", "--config", "f", "--internal-vlans", "1-2"}), "");
}

TEST(Options, TakePatchesInTheirOrder) {
  const Options options = parsed({"verify", "--apply", "a", "--config", "f", "--apply", "-"});
  EXPECT_EQ(options.command, Command::verify);
  EXPECT_EQ(options.patchFiles, (std::vector<std::string>{"a", "-"}));
  EXPECT_EQ(refusalOf({"verify", "--config", "f", "--apply", ""}),
            "--apply: the name of the file is empty");
  EXPECT_EQ(refusalOf({"verify", "--config", "-", "--apply", "-"}),
            "--config and --apply cannot both be standard input");
  EXPECT_EQ(refusalOf({"verify", "--config", "f", "--apply", "-", "--apply", "-"}),
            "--apply and --apply cannot both be standard input");
}

TEST(Options, OfWhyTakeNamesApartFromValues) {
  const Options options =
      parsed({"why", "--internal-vlans", "Ethernet0", "--apply", "p", "Ethernet4",
              "--internal-vlan", "a=7", "Vlan10", "--config", "f"});
  EXPECT_EQ(options.command, Command::why);
  EXPECT_EQ(options.names, (std::vector<std::string>{"Ethernet0", "Ethernet4", "Vlan10"}));
  EXPECT_EQ(refusalOf({"why", "--config", "f"}), "NAME is required");
}

TEST(Options, NeverRepeatControlCharacters) {
  EXPECT_THAT(refusalOf({"show", "--config", "f", "\x1b[31m"}), HasSubstr("\\x1b[31m"));
}

TEST(Options, TellHelpWithExamplesAndExitCodes) {
  EXPECT_THAT(helpOf({"--help"}), HasSubstr("fyrl3 lookup Ethernet48 --config"));
  EXPECT_THAT(helpOf({"--help"}), HasSubstr("130 interrupted"));
  EXPECT_THAT(helpOf({"show", "--help"}), HasSubstr("Usage: fyrl3 show [OPTIONS]"));
  EXPECT_THAT(helpOf({"show", "--help"}), HasSubstr("fyrl3 show --config"));
  EXPECT_THAT(helpOf({"verify", "-h"}), HasSubstr("fyrl3 verify --config"));
  EXPECT_THAT(helpOf({"why", "-h"}), HasSubstr("fyrl3 why Ethernet48"));
  EXPECT_THAT(helpOf({"why", "-h"}), HasSubstr("\n  --internal-vlans[=LOW-HIGH]\n"));
  EXPECT_THAT(helpOf({"lookup", "-h"}), HasSubstr("fyrl3 lookup 0xc7c --config"));
}

TEST(Options, TellTheVersion) {
  EXPECT_THAT(helpOf({"--version"}), testing::MatchesRegex("fyrl3 [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(Options, OfTheShellHoldItsCommands) {
  const Options options =
      parsed({"shell", "--exec", "get table", "--config", "f.json", "--exec", "show"});
  EXPECT_EQ(options.command, Command::shell);
  EXPECT_EQ(options.shell.commands.front(), "get table");
  EXPECT_FALSE(options.shell.keepsGoing);
  EXPECT_TRUE(parsed({"shell", "--keep-going", "--config", "f.json"}).shell.keepsGoing);
  EXPECT_EQ(refusalOf({"shell", "--config", "-"}),
            "the commands of the shell and --config cannot both be standard input");
  EXPECT_EQ(refusalOf({"shell", "--config", "-", "--exec", "show"}), "");
}

TEST(Options, OfTypesNeedNoConfiguration) {
  const Options options = parsed({"types", "FyrL3Intf::Table", "--json"});
  EXPECT_EQ(options.command, Command::types);
  EXPECT_EQ(options.typeName, "FyrL3Intf::Table");
  EXPECT_TRUE(options.isJson);
  EXPECT_EQ(parsed({"types", "--library", "f.so"}).libraryFile, "f.so");
  EXPECT_EQ(refusalOf({"types", "--library", ""}), "--library: the name of the file is empty");
  EXPECT_NE(refusalOf({"types", "T", "--library", "f.so"}), "");
}

}  // namespace
}  // namespace Agent
