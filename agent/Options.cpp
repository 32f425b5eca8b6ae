#include "agent/Options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <utility>

#include "agent/InterfaceName.h"
#include "agent/JsonValue.h"
#include "agent/Text.h"

namespace Agent {
namespace {

constexpr const char* examples = R"(Examples:
  fyrl3 show --config examples/leaf32.config_db.json
  fyrl3 show --config config_db.json --l3-index asic_db.json --strict
  fyrl3 lookup Ethernet48 --config config_db.json
  fyrl3 verify --internal-vlans --config config_db.json --apply change.patch.json
  fyrl3 why Ethernet48 --internal-vlans=3968-3983 --config config_db.json
  fyrl3 show --json --config - < interfaces.openconfig.json
  fyrl3 shell --internal-vlans --config config_db.json

Exit codes: 0 done, 1 not found, 2 bad usage, unreadable input or a patch that
cannot be applied, 3 contradictions under --strict, 4 the self-check failed,
130 interrupted. The shell, unless it is on a terminal: that of the first command
that failed.)";

constexpr const char* showExamples = R"(Examples:
  fyrl3 show --config examples/leaf32.config_db.json
  fyrl3 show --config config_db.json --l3-index asic_db.json
  fyrl3 show --config config_db.json --internal-vlans=3968-3983 --policy descending
  fyrl3 show --config config_db.json --internal-vlans --internal-vlan Ethernet48=4000
  fyrl3 show --config config_db.json --internal-vlans --apply change.patch.json
  fyrl3 show --config config_db.json --json | jq '.interfaces[] | select(.l3Id == null)'
  fyrl3 show --config config_db.json --trace 8 2> trace.log)";

constexpr const char* lookupExamples = R"(Examples:
  fyrl3 lookup Ethernet48 --config config_db.json
  fyrl3 lookup 3968 --config config_db.json --internal-vlans
  fyrl3 lookup 3196 --config config_db.json --l3-index asic_db.json
  fyrl3 lookup 0xc7c --config config_db.json --l3-index asic_db.json)";

constexpr const char* verifyExamples = R"(Examples:
  fyrl3 verify --config config_db.json
  fyrl3 verify --config config_db.json --internal-vlans --apply change.patch.json
  produce-patches | fyrl3 verify --config config_db.json --apply -)";

constexpr const char* whyExamples = R"(Examples:
  fyrl3 why Ethernet48 Vlan10 --config config_db.json --internal-vlans
  fyrl3 why Ethernet48 --config config_db.json --l3-index asic_db.json
  fyrl3 why Ethernet48 --config config_db.json --internal-vlans --apply change.patch.json)";

constexpr const char* shellExamples = R"(Examples:
  fyrl3 shell --config config_db.json
  fyrl3 shell --config config_db.json --internal-vlans --keep-going < commands
  fyrl3 shell --config config_db.json --exec 'get table.intfL3Index[Ethernet48]'
  fyrl3 shell --config config_db.json --json --exec 'list table.routedPortName' --exec verify
The command help lists the commands of the shell.)";

constexpr const char* typesExamples = R"(Examples:
  fyrl3 types
  fyrl3 types FyrL3Intf::Table
  fyrl3 types --library libFyrL3Intf.so)";

/// Shows a flag that may have a value as `--flag[=LOW-HIGH]`.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() {
    column_width(24);
    label("SUBCOMMAND", "COMMAND");
  }

  std::string make_option_name(const CLI::Option* option, bool isPositional) const override {
    const std::string name = Formatter::make_option_name(option, isPositional);
    const std::size_t value = name.find('{');
    return value == std::string::npos ? name : name.substr(0, value) + "[=LOW-HIGH]";
  }
};

/// What the command line says, as far as it is not an option's value yet.
struct Words {
  std::string range;
  std::string policy;
  std::vector<std::string> pins;
};

void addL3IdOptions(CLI::App& command, Options& options, Words& words) {
  command
      .add_option("--l3-index", options.l3IndexFile,
                  "The L3 indexes: a map of router interface names\n"
                  "or a dump of the ASIC database; without it\n"
                  "1, 2, 3 ... in natural order of the names")
      ->type_name("FILE");
  command
      .add_flag("--internal-vlans{3968-4094}", words.range,
                "Instead of L3 indexes: an internal VLAN for each\n"
                "routed port, reserved out of this range, which\n"
                "is 3968-4094 where it is not given")
      ->multi_option_policy(CLI::MultiOptionPolicy::Throw);
  command
      .add_option("--policy", words.policy,
                  "Reserve VLANs from the low end (ascending, the\n"
                  "default) or from the high end (descending)")
      ->check(CLI::IsMember({"ascending", "descending"}).description(""))
      ->type_name("POLICY");
  command
      .add_option("--internal-vlan", words.pins,
                  "The VLAN of one routed port, in the range or not;\n"
                  "may be given for several ports, and two ports\n"
                  "may share one")
      ->expected(1)
      ->take_all()
      ->allow_extra_args(false)
      ->type_name("NAME=VLAN");
}

void addCommonOptions(CLI::App& command, Options& options, Words& words) {
  command
      .add_option("--config", options.configFile,
                  "The switch's configuration: a configuration database\n"
                  "or OpenConfig interfaces; - for standard input")
      ->required()
      ->type_name("FILE");
  addL3IdOptions(command, options, words);
  command
      .add_option("--apply", options.patchFiles,
                  "After loading, apply a JSON Patch to the\n"
                  "configuration and print each change of the table;\n"
                  "may be given several times; - for standard input,\n"
                  "one patch on each line")
      ->expected(1)
      ->take_all()
      ->allow_extra_args(false)
      ->type_name("FILE");
  command.add_flag("--strict", options.isStrict, "Exit with 3 when the data contradicts itself")
      ->disable_flag_override();
  command.add_flag("--json", options.isJson, "Print JSON")->disable_flag_override();
  command
      .add_option("--trace", options.traceLevel,
                  "Trace the state machine on standard error,\n"
                  "levels 0 to LEVEL (at most 9)")
      ->check(CLI::Range(0, 9).description(""))
      ->type_name("LEVEL");
}

CLI::App* addShow(CLI::App& app) {
  CLI::App* show = app.add_subcommand("show", "Print the L3 interface table in both directions");
  show->footer(showExamples);
  return show;
}

CLI::App* addLookup(CLI::App& app, Options& options) {
  CLI::App* lookup =
      app.add_subcommand("lookup", "Print the L3 id of an interface, or the interface of an L3 id");
  lookup
      ->add_option("NAME|ID", options.question,
                   "An interface's name, or an L3 id in decimal or with 0x")
      ->required()
      ->type_name("");
  lookup->footer(lookupExamples);
  return lookup;
}

CLI::App* addVerify(CLI::App& app) {
  CLI::App* verify = app.add_subcommand(
      "verify", "Check the whole state, after loading and after each patch, and say so");
  verify->footer(verifyExamples);
  return verify;
}

CLI::App* addWhy(CLI::App& app, Options& options) {
  CLI::App* why = app.add_subcommand("why", "Tell why interfaces have an L3 id, or lack one");
  why->add_option("NAME", options.names, "Names of interfaces")->required()->type_name("");
  why->footer(whyExamples);
  return why;
}

CLI::App* addShell(CLI::App& app, Options& options) {
  CLI::App* shell = app.add_subcommand(
      "shell", "Obey commands on a live session: questions, patches, attributes");
  shell
      ->add_option("--exec", options.shell.commands,
                   "Obey this command instead of standard input;\n"
                   "may be given several times")
      ->expected(1)
      ->take_all()
      ->allow_extra_args(false)
      ->type_name("COMMAND");
  shell
      ->add_flag("--keep-going", options.shell.keepsGoing,
                 "Go on behind a command that fails, and exit\n"
                 "with its code at the end")
      ->disable_flag_override();
  shell->footer(shellExamples);
  return shell;
}

/// The only command without a configuration.
CLI::App* addTypes(CLI::App& app, Options& options) {
  CLI::App* types = app.add_subcommand(
      "types", "List the types that the library describes, or one with all it has");
  auto* const name = types->add_option("TYPE", options.typeName, "A type's name")->type_name("");
  types
      ->add_option("--library", options.libraryFile,
                   "List the types that a shared library provides,\n"
                   "without running it")
      ->excludes(name)
      ->type_name("FILE");
  types->add_flag("--json", options.isJson, "Print JSON")->disable_flag_override();
  types->footer(typesExamples);
  types->group("Commands");
  return types;
}

[[noreturn]] void refuse(const std::string& option, const std::string& value,
                         const std::string& wanted) {
  throw UsageError(option + ": \"" + printable(value) + "\" is not " + wanted);
}

/// The two sides of the mark; both empty where there is none.
std::pair<std::string, std::string> splitAt(const std::string& text, char mark) {
  const std::size_t place = text.rfind(mark);
  if (place == std::string::npos) return {};
  return {text.substr(0, place), text.substr(place + 1)};
}

std::optional<Bridging::VlanId> vlanSpelled(const std::string& digits) {
  const auto number = decimal(digits);
  return number ? vlanOf(*number) : std::nullopt;
}

VlanRange rangeOf(const std::string& text) {
  const auto [low, high] = splitAt(text, '-');
  const auto first = vlanSpelled(low);
  const auto last = vlanSpelled(high);
  if (!first || !last || *first > *last) {
    refuse("--internal-vlans", text, "a range LOW-HIGH of VLANs from 1 to 4094");
  }
  return {*first, *last};
}

void addPin(const std::string& text, ReservationRules& rules) {
  const auto [name, number] = splitAt(text, '=');
  const auto id = interfaceNamed(name);
  const auto vlan = vlanSpelled(number);
  if (!id || !vlan) {
    refuse("--internal-vlan", text, "an interface's name, = and a VLAN from 1 to 4094");
  }
  if (!rules.pins.emplace(*id, *vlan).second) {
    throw UsageError("--internal-vlan: " + name + " is given twice");
  }
}

std::optional<ReservationRules> rulesOf(const CLI::App& command, const Words& words) {
  if (command.count("--internal-vlans") == 0) {
    for (const char* option : {"--policy", "--internal-vlan"}) {
      if (command.count(option) > 0) {
        throw UsageError(std::string(option) + " goes with --internal-vlans");
      }
    }
    return std::nullopt;
  }
  if (command.count("--l3-index") > 0) {
    throw UsageError("--l3-index and --internal-vlans are alternatives; give one of the two");
  }
  ReservationRules rules;
  rules.range = rangeOf(words.range);
  if (words.policy == "descending") rules.policy = ReservationPolicy::descending;
  for (const std::string& pin : words.pins) {
    addPin(pin, rules);
  }
  return rules;
}

void checkFiles(const Options& options, const CLI::App& command) {
  std::vector<std::pair<std::string, std::string>> files{{"--config", options.configFile}};
  if (command.count("--l3-index") > 0) files.emplace_back("--l3-index", options.l3IndexFile);
  for (const std::string& patch : options.patchFiles) {
    files.emplace_back("--apply", patch);
  }
  std::string reader;
  if (options.command == Command::shell && options.shell.commands.empty()) {
    reader = "the commands of the shell";
  }
  for (const auto& [option, file] : files) {
    if (file.empty()) throw UsageError(option + ": the name of the file is empty");
    if (file != "-") continue;
    if (!reader.empty()) {
      throw UsageError(reader.append(" and ").append(option) + " cannot both be standard input");
    }
    reader = option;
  }
}

void checkLibrary(const Options& options, const CLI::App& types) {
  if (types.count("--library") > 0 && options.libraryFile.empty()) {
    throw UsageError("--library: the name of the file is empty");
  }
}

/// The parser takes an empty range for one that is not given.
void refuseEmptyRange(int argc, const char* const* argv) {
  constexpr std::string_view emptyRange = "--internal-vlans=";
  if (std::find(argv, argv + argc, emptyRange) != argv + argc) rangeOf("");
}

/// The words that nobody asked for come first: they are often what is missing elsewhere,
/// misspelled.
std::string complaintOf(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> rest = app.remaining(true);
  if (app.get_subcommands().empty()) {
    const auto isWord = [](const std::string& word) { return !word.starts_with('-'); };
    const auto word = std::find_if(rest.begin(), rest.end(), isWord);
    return (word == rest.end() ? "no command is given" : "there is no command \"" + *word + "\"") +
           "; give show, lookup, verify, why, shell or types";
  }
  if (rest.empty()) return error.what();
  std::string complaint = "not understood:";
  for (const std::string& word : rest) {
    complaint += " " + word;
  }
  return complaint;
}

}  // namespace

std::optional<HelpText> parseOptions(int argc, const char* const* argv, Options& options) {
  CLI::App app("Makes a switch's L3 interface table out of its configuration.", "fyrl3");
  app.set_version_flag("--version", "fyrl3 " FYRL3_VERSION);
  app.require_subcommand(1);
  app.footer(examples);
  app.formatter(std::make_shared<HelpFormatter>());
  Words words;
  const std::array commands{
      std::pair{Command::show, addShow(app)}, std::pair{Command::lookup, addLookup(app, options)},
      std::pair{Command::verify, addVerify(app)}, std::pair{Command::why, addWhy(app, options)},
      std::pair{Command::shell, addShell(app, options)}};
  for (const auto& [command, parser] : commands) {
    parser->group("Commands");
    addCommonOptions(*parser, options, words);
  }
  const CLI::App* const types = addTypes(app, options);
  try {
    refuseEmptyRange(argc, argv);
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    const auto chosen = app.get_subcommands();
    return HelpText{chosen.empty() ? app.help() : chosen.front()->help(app.get_name())};
  } catch (const CLI::CallForVersion&) {
    return HelpText{app.version() + "\n"};
  } catch (const CLI::ParseError& error) {
    throw UsageError(printable(complaintOf(app, error)));
  }
  if (types->parsed()) {
    options.command = Command::types;
    checkLibrary(options, *types);
    return std::nullopt;
  }
  const auto chosen = std::find_if(commands.begin(), commands.end(),
                                   [](const auto& item) { return item.second->parsed(); });
  options.command = chosen->first;
  checkFiles(options, *chosen->second);
  options.internalVlans = rulesOf(*chosen->second, words);
  return std::nullopt;
}

}  // namespace Agent
