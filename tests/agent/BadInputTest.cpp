// Documents that are cut off, that hold values of the wrong type, keys twice, too many levels,
// bytes that are no text: each ends in one message or in problems that say where, and in nothing
// else.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <functional>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "agent/Configuration.h"
#include "agent/ConfigurationPatch.h"
#include "agent/JsonValue.h"
#include "agent/L3Indexes.h"
#include "agent/Session.h"
#include "tests/agent/BadInput.h"

namespace Agent {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr std::size_t deep = 10'000;

constexpr const char* exampleFiles[] = {"examples/border.openconfig.json",
                                        "examples/contradictions.config_db.json",
                                        "examples/contradictions.counters_db.json",
                                        "examples/leaf32.asic_db.json",
                                        "examples/leaf32.claim.patch.json",
                                        "examples/leaf32.config_db.json",
                                        "examples/leaf32.counters_db.json",
                                        "examples/leaf32.release.patch.json",
                                        "examples/leaf4.appl_db.json"};
constexpr const char* configurations[] = {everyTable, everyRow, everyContainer};

std::string contentOf(const char* path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

json jsonOf(const char* path) { return json::parse(contentOf(path)); }

std::string refusalOfText(std::string_view text) {
  return refusalOf([&] { (void)Document("f.json", text); });
}

std::string refusalOfConfiguration(std::string_view text) {
  return refusalOf([&] { (void)Configured(text); });
}

std::string refusalOfPatch(std::string_view text, const json& root = json::object()) {
  return refusalOf([&] { (void)patched(root, Document("f.json", text)); });
}

/// "f.json: line 3, column 14: " of what stands behind the text.
std::string placeBehind(std::string_view text) {
  const auto lines = std::count(text.begin(), text.end(), '\n');
  const std::size_t lineBreak = text.rfind('\n');  // npos + 1 is 0
  return "f.json: line " + std::to_string(lines + 1) + ", column " +
         std::to_string(text.size() - (lineBreak + 1) + 1) + ": ";
}

std::string_view withoutBlanks(std::string_view text) {
  return text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
}

/// Expects that each beginning of the text is refused, in words that say where it ends.
void expectRefusedWhereverItEnds(std::string_view text) {
  const std::string_view whole = withoutBlanks(text);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const std::string_view part = text.substr(0, length);
    const std::string refusal = refusalOfText(part);
    if (withoutBlanks(part).empty()) {
      ASSERT_EQ(refusal, "f.json: empty; give a JSON document");
    } else {
      ASSERT_THAT(refusal, StartsWith(placeBehind(part) + "not JSON: ")) << length;
    }
    ASSERT_TRUE(isShownAsItIs(refusal)) << length;
  }
  EXPECT_EQ(refusalOfText(whole), "");
}

/// The document without the members that differ from one before in their digits alone.
json withoutLikes(const json& root) {
  if (!root.is_structured()) return root;
  json kept = root.is_object() ? json::object() : json::array();
  std::set<std::string> shapes;
  for (auto part = root.begin(); part != root.end(); ++part) {
    std::string shape = (root.is_object() ? part.key() : "") + part->dump();
    std::erase_if(shape, [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; });
    if (!shapes.insert(shape).second) continue;
    if (root.is_object()) {
      kept[part.key()] = withoutLikes(*part);
    } else {
      kept.push_back(withoutLikes(*part));
    }
  }
  return kept;
}

/// The dump of an ASIC database without the host interfaces that nothing else leads to.
json withoutIdlePorts(const json& root) {
  const std::string text = root.dump();
  json kept = root;
  for (const auto& [key, attributes] : root.items()) {
    if (!attributes.contains("SAI_HOSTIF_ATTR_OBJ_ID")) continue;
    const std::string port = attributes["SAI_HOSTIF_ATTR_OBJ_ID"].dump();
    if (text.find(port) == text.rfind(port)) kept.erase(key);
  }
  return kept;
}

/// Expects that the text is refused where a line of it ends, at ends that are so far from each
/// other.
void expectRefusedAtLineEnds(const std::string& text, std::size_t distance) {
  const std::size_t whole = withoutBlanks(text).size();
  for (std::size_t end = text.find('\n'); end < whole; end = text.find('\n', end + distance)) {
    const std::string_view part = std::string_view(text).substr(0, end);
    ASSERT_THAT(refusalOfText(part), StartsWith(placeBehind(part) + "not JSON: "));
  }
}

/// Where that takes too long, whole examples are cut where lines end, and at each byte what each
/// holds but once.
TEST(TruncatedInput, IsRefusedAtEveryByteOfTheExamples) {
  for (const char* path : exampleFiles) {
    SCOPED_TRACE(path);
    const std::string text = contentOf(path);
    if (isQuick) {
      expectRefusedWhereverItEnds(text);
    } else {
      expectRefusedAtLineEnds(text, 256);
      expectRefusedWhereverItEnds(withoutLikes(json::parse(text)).dump());
    }
  }
}

TEST(TruncatedInput, IsRefusedAtEveryByteOfWhatIsRead) {
  for (const char* text : {everyTable, everyRow, everyContainer, everyOperation}) {
    expectRefusedWhereverItEnds(text);
  }
}

/// A patch, and the configuration that it is for.
struct PatchSubject {
  json configuration;
  json patch;
};

/// The sample, and the examples.
std::vector<PatchSubject> patchSubjects() {
  const json leaf32 = jsonOf("examples/leaf32.config_db.json");
  return {{json::parse(everyTable), json::parse(everyOperation)},
          {leaf32, jsonOf("examples/leaf32.claim.patch.json")},
          {leaf32, jsonOf("examples/leaf32.release.patch.json")}};
}

/// Every value in the document: the path to each.
std::vector<json::json_pointer> pathsIn(const json& root) {
  std::vector<json::json_pointer> paths;
  const json flat = root.flatten();
  for (const auto& [path, value] : flat.items()) {
    for (json::json_pointer at(path); !at.empty(); at.pop_back()) paths.push_back(at);
  }
  std::sort(paths.begin(), paths.end());
  paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
  return paths;
}

/// A value of each type.
const std::vector<json>& valueOfEachType() {
  static const std::vector<json> values{nullptr,       true,          -7, 7U, 2.5, "seven", "",
                                        json::array(), json::object()};
  return values;
}

/// What came of reading a document: a refusal, or all that it says, and problems.
struct Outcome {
  std::string refusal;
  Texts everything;
  Problems problems;

  bool operator==(const Outcome&) const = default;
};

/// What comes of a document.
using Reader = std::function<Outcome(const Document&)>;

Outcome configured(const Document& document) {
  Outcome outcome;
  outcome.refusal = refusalOf(
      [&] { outcome.everything = everythingOf(readConfiguration(document, outcome.problems)); });
  return outcome;
}

/// Reads L3 indexes for the switch of a configuration.
Reader indexesFor(const char* configuration) {
  Problems problems;
  return [theSwitch = readConfiguration(Document::read(configuration), problems)](
             const Document& document) {
    Outcome outcome;
    outcome.refusal = refusalOf([&] {
      outcome.everything = indexes(readL3Indexes(document, theSwitch, outcome.problems));
    });
    return outcome;
  };
}

/// A document, and how it is read.
struct Subject {
  const char* what;
  json root;
  Reader read;
};

/// The samples, and the examples of both formats and of L3 indexes: large ones without what they
/// hold many times.
const std::vector<Subject>& subjects() {
  static const Reader ofLeaf32 = indexesFor("examples/leaf32.config_db.json");
  static const Reader ofContradictions = indexesFor("examples/contradictions.config_db.json");
  static const std::vector<Subject> all{
      {"tables", json::parse(everyTable), configured},
      {"rows", json::parse(everyRow), configured},
      {"containers", json::parse(everyContainer), configured},
      {"border", withoutLikes(jsonOf("examples/border.openconfig.json")), configured},
      {"contradictions", jsonOf("examples/contradictions.config_db.json"), configured},
      {"leaf32", withoutLikes(jsonOf("examples/leaf32.config_db.json")), configured},
      {"leaf4", jsonOf("examples/leaf4.appl_db.json"), configured},
      {"contradictory indexes", jsonOf("examples/contradictions.counters_db.json"),
       ofContradictions},
      {"a map of names", jsonOf("examples/leaf32.counters_db.json"), ofLeaf32},
      {"a dump", withoutIdlePorts(jsonOf("examples/leaf32.asic_db.json")), ofLeaf32}};
  return all;
}

void expectTold(const Outcome& outcome) {
  if (!outcome.refusal.empty()) {
    EXPECT_THAT(outcome.refusal, StartsWith("f.json: "));
    EXPECT_TRUE(isShownAsItIs(outcome.refusal));
  }
  for (const Problem& problem : outcome.problems) {
    EXPECT_EQ(problem.file, "f.json");
    EXPECT_FALSE(problem.table.empty() || problem.found.empty() || problem.done.empty());
  }
}

/// Whether one is told what became of the value that was there: it is refused, or there is another
/// problem, or the switch is the same without it.
bool isTold(const Outcome& before, const Outcome& after) {
  return !after.refusal.empty() || after.problems != before.problems ||
         after.everything == before.everything;
}

/// Whether both are numbers, or ranges of them, as formats may spell them: one says as much as the
/// other.
bool isOtherSpelling(const json& value, const json& other) {
  return unsignedOf(value) && (unsignedOf(other) || vlanRangeOf(other));
}

/// Expects that one is told of each value of another type, wherever it stands.
void expectToldOfEachType(const json& root, const Reader& read) {
  const Outcome before = read(Document::of("f.json", root));
  ASSERT_EQ(before.refusal, "");
  for (const json::json_pointer& path : pathsIn(root)) {
    for (const json& value : valueOfEachType()) {
      if (value.type() == root[path].type() || isOtherSpelling(value, root[path])) continue;
      json changed = root;
      changed[path] = value;
      SCOPED_TRACE(path.to_string() + " becomes " + value.dump());
      const Outcome after = read(Document::of("f.json", std::move(changed)));
      expectTold(after);
      EXPECT_TRUE(isTold(before, after));
    }
  }
}

TEST(MistypedInput, IsToldOfWhereverItStands) {
  for (const auto& [what, root, read] : subjects()) {
    SCOPED_TRACE(what);
    expectToldOfEachType(root, read);
  }
}

TEST(MistypedInput, LeavesTheLibraryConsistent) {
  for (const char* text : configurations) {
    const json root = json::parse(text);
    for (const json::json_pointer& path : pathsIn(root)) {
      json changed = root;
      changed[path] = path.to_string().size() % 2 == 0 ? json(nullptr) : json(4095);
      (void)refusalOf([&] {
        Session session(Document::of("f.json", changed), {ReservationRules(), std::nullopt});
        session.machine().doVerify();
      });
    }
  }
}

/// Whether an operation takes any value there, as all but the tests do.
bool isFreeToChoose(const json& patch, const json::json_pointer& path, std::size_t operation) {
  return path.to_string().starts_with("/" + std::to_string(operation) + "/value") &&
         patch[operation]["op"] != "test";
}

/// Expects that the patch is refused with a value of another type in that place, unless any will
/// do.
void expectRefusedOrAnother(const PatchSubject& subject, const json::json_pointer& path) {
  for (const json& value : valueOfEachType()) {
    if (value.type() == subject.patch[path].type()) continue;
    json changed = subject.patch;
    changed[path] = value;
    SCOPED_TRACE(path.to_string() + " becomes " + value.dump());
    const std::string refusal = refusalOfPatch(changed.dump(), subject.configuration);
    EXPECT_TRUE(isShownAsItIs(refusal));
    const std::size_t operation = std::stoul(path.to_string().substr(1));
    if (isFreeToChoose(subject.patch, path, operation)) {
      EXPECT_EQ(refusal, "");
    } else {
      const std::string number = std::to_string(operation + 1);
      EXPECT_THAT(refusal, MatchesRegex("f\\.json: operation " + number + "( \\(.*\\))?: .+"));
    }
  }
}

TEST(MistypedInput, MakesAPatchThatIsRefusedOrAnotherOne) {
  for (const PatchSubject& subject : patchSubjects()) {
    EXPECT_EQ(refusalOfPatch(subject.patch.dump(), subject.configuration), "");
    for (const json::json_pointer& path : pathsIn(subject.patch)) {
      expectRefusedOrAnother(subject, path);
    }
  }
}

TEST(MistypedInput, IsRefusedAsAWholeDocument) {
  for (const json& value : valueOfEachType()) {
    if (!value.is_object()) {
      EXPECT_THAT(refusalOfConfiguration(value.dump()), StartsWith("test.json: the document is "));
    }
    if (!value.is_array()) {
      EXPECT_THAT(refusalOfPatch(value.dump()),
                  StartsWith("f.json: no JSON Patch: the document is "));
    }
    if (!value.is_object()) {
      EXPECT_THAT(refusalOf([&] {
                    Problems problems;
                    (void)readL3Indexes(Document("f.json", value.dump()), Switch(), problems);
                  }),
                  StartsWith("f.json: no L3 indexes; "));
    }
  }
}

bool isMember(const json& root, const json::json_pointer& path) {
  return root[path.parent_pointer()].is_object();
}

/// Writes the document with the member at the path twice, with one value and then with another.
std::string doubled(json root, const json::json_pointer& path, const json& first,
                    const json& last) {
  root[path] = "@";
  const std::string key = json(path.back()).dump() + ":";
  return filled(root.dump(), key + "\"@\"", key + first.dump() + "," + key + last.dump());
}

/// The problem that the key at the path stands there twice: below its table, the keys alone.
Problem repeatedAt(const json& root, json::json_pointer path) {
  Texts keys;
  for (; !path.empty(); path.pop_back()) {
    if (isMember(root, path)) keys.insert(keys.begin(), path.back());
  }
  std::string key;
  for (std::size_t i = 1; i < keys.size(); ++i) key += (key.empty() ? "" : "/") + keys[i];
  return {ProblemKind::repeatedKey, "f.json", keys.front(), key, "the key stands there twice",
          "the last one counts"};
}

/// Expects that with a key that stands twice all is as it is with the last one alone, but for the
/// problem that says so.
void expectLastCounts(const Subject& subject, const json::json_pointer& path, const json& first,
                      const json& last, Outcome expected) {
  const std::string text = doubled(subject.root, path, first, last);
  SCOPED_TRACE(text);
  const Outcome outcome = subject.read(Document("f.json", text));
  EXPECT_EQ(outcome.refusal, expected.refusal);
  if (!outcome.refusal.empty()) return;
  expected.problems.insert(expected.problems.begin(), repeatedAt(subject.root, path));
  EXPECT_EQ(briefly(outcome.problems), briefly(expected.problems));
  EXPECT_EQ(outcome.everything, expected.everything);
  EXPECT_TRUE(outcome == expected);
}

TEST(RepeatedKey, IsAProblemAndTheLastOneCountsWhereverItStands) {
  for (const Subject& subject : subjects()) {
    SCOPED_TRACE(subject.what);
    const Outcome before = subject.read(Document::of("f.json", subject.root));
    for (const json::json_pointer& path : pathsIn(subject.root)) {
      if (!isMember(subject.root, path)) continue;
      const json& value = subject.root[path];
      for (const json& first : {value, json(nullptr), json("30")}) {
        expectLastCounts(subject, path, first, value, before);
      }
      json changed = subject.root;
      changed[path] = nullptr;
      const Outcome after = subject.read(Document::of("f.json", std::move(changed)));
      expectLastCounts(subject, path, value, nullptr, after);
    }
  }
}

TEST(RepeatedKey, UnderLongOnesIsCut) {
  const std::string text = filled(R"({"@": {"@": {"@": {"a": 1, "a": 2}}}})", "@",
                                  std::string(Problem::longestText, 'K'));
  const Problems problems = Document("f.json", text).repeatedKeys();
  ASSERT_EQ(problems.size(), 1U);
  EXPECT_EQ(problems[0].table, std::string(Problem::longestText, 'K'));
  EXPECT_EQ(problems[0].key, std::string(Problem::longestText, 'K') + "...");
}

TEST(RepeatedKey, IsRefusedInAPatchWhereverItStands) {
  for (const auto& [configuration, patch] : patchSubjects()) {
    for (const json::json_pointer& path : pathsIn(patch)) {
      if (!isMember(patch, path)) continue;
      for (const json& first : {patch[path], json(nullptr)}) {
        EXPECT_THAT(refusalOfPatch(doubled(patch, path, first, patch[path]), configuration),
                    StartsWith("f.json: no JSON Patch: the key \""));
      }
    }
  }
}

TEST(DeepInput, IsRefusedWhateverItNests) {
  const std::string tooDeep = "f.json: more than 64 objects and arrays within each other; ";
  for (const auto& [open, close] : {std::pair{"[", "]"}, std::pair{"{\"a\":", "}"},
                                    std::pair{"[{\"\":", "}]"}, std::pair{"[0,[", "],0]"}}) {
    EXPECT_THAT(refusalOfText(nestedIn(open, "0", close, deep)), StartsWith(tooDeep)) << open;
    EXPECT_THAT(refusalOfText(nestedIn(open, "", "", deep)), StartsWith(tooDeep)) << open;
    for (const char* around :
         {R"({"VLAN": {"Vlan10": @}})", R"({"interfaces": {"interface": [@]}})",
          R"([{"op": "add", "path": "/x", "value": @}])",
          R"({"COUNTERS_RIF_NAME_MAP": {"a": @}})"}) {
      const std::string text = filled(around, "@", nestedIn(open, "0", close, deep));
      EXPECT_THAT(refusalOfText(text), StartsWith(tooDeep)) << around;
    }
  }
}

TEST(DeepInput, IsRefusedAsAPath) {
  const std::string path = nestedIn("/a", "", "", deep);
  for (const char* patch :
       {R"([{"op": "add", "path": "@", "value": 1}])", R"([{"op": "remove", "path": "@"}])",
        R"([{"op": "move", "from": "@", "path": "/x"}])",
        R"([{"op": "copy", "from": "", "path": "@"}])",
        R"([{"op": "test", "path": "@", "value": 1}])"}) {
    const std::string refusal = refusalOfPatch(filled(patch, "@", path));
    EXPECT_THAT(refusal, StartsWith("f.json: operation 1 ("));
    EXPECT_LT(refusal.size(), 1000U);
  }
}

TEST(BytesThatAreNoText, AreRefusedWithTheirPlace) {
  for (const std::string& bytes : invalidUtf8()) {
    for (const char* text : {"@", "{@}", "{\"VLAN@\": {}}", "{\"VLAN\": {\"Vlan10@\": {}}}",
                             "{\"VLAN\": {\"Vlan10\": {\"vlanid\": \"10@\"}}}",
                             "[{\"op\": \"add\", \"path\": \"/@\"}]",
                             "{\"interfaces\": {\"interface\": [{\"name\": \"@\"}]}}"}) {
      const std::string refusal = refusalOfText(filled(text, "@", bytes));
      EXPECT_THAT(refusal, StartsWith("f.json: line 1, column ")) << text;
      EXPECT_THAT(refusal, HasSubstr("not JSON: ")) << text;
      EXPECT_TRUE(isShownAsItIs(refusal)) << text;
    }
  }
}

TEST(BytesThatAreNoText, AreNoNamesEither) {
  for (const char* escape : {R"(\ud800)", R"(\udc00)", R"(\ud800\ud800)", R"(\u12)", R"(\x1b)"}) {
    EXPECT_THAT(refusalOfText(std::string("{\"PORT\": {\"Ethernet0") + escape + "\": {}}}"),
                StartsWith("f.json: line 1, column "));
  }
}

TEST(Problems, AreCutWhereTheirTextsAreLong) {
  const std::string longKey(100'000, 'k');
  const Configured read(R"({"PORT": {")" + longKey + R"(": 7}, "VLAN": {"Vlan1": ")" + longKey +
                        R"("}})");
  ASSERT_EQ(read.problems.size(), 2U);
  EXPECT_EQ(read.problems[0].key, longKey.substr(0, Problem::longestText) + "...");
  EXPECT_EQ(read.problems[1].found.size(), Problem::longestText + 3);
  EXPECT_THAT(read.problems[1].found, StartsWith("the row is \"kkk"));
}

TEST(Problems, AreCutBetweenCharacters) {
  const std::string before(Problem::longestText - 1, 'k');
  Problems problems;
  for (const char* const character : {"\u00e9", "\u20ac", "\U0001f600"}) {
    addProblem(problems, {ProblemKind::badName, "f", "t", before + character, "x", "y"});
    EXPECT_EQ(problems.back().key, before + "...");
  }
}

TEST(Problems, AreNoMoreThanAnybodyReads) {
  Problems problems;
  for (std::size_t i = 0; i < mostProblems; ++i) {
    addProblem(problems, {ProblemKind::badName, "f", "t", std::to_string(i), "x", "y"});
  }
  EXPECT_EQ(problems.back().key, std::to_string(mostProblems - 1));
  addProblem(problems, {ProblemKind::badName, "f", "t", "k", "x", "y"});
  addProblems(problems, {{ProblemKind::badName, "f", "t", "k", "x", "y"}});
  ASSERT_EQ(problems.size(), mostProblems + 1);
  EXPECT_EQ(problems.back(),
            (Problem{ProblemKind::tooManyProblems, "f", "t", "",
                     "there are more than 10000 problems", "the others are not told"}));
}

}  // namespace
}  // namespace Agent
