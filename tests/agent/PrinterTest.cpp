#include "agent/Printer.h"

#include <gtest/gtest.h>

#include "tests/agent/Reading.h"
#include "tests/platform/Intf.h"

namespace Agent {
namespace {

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;
using Tests::operator""_intf;

Problem problem(const char* key) { return {ProblemKind::badName, "f", "T", key, "found", "done"}; }

TableChange change() {
  return {"Ethernet0"_intf, FyrL3Intf::L3Id(), FyrL3Intf::L3Id(7),
          std::make_shared<const InputEvent>(InputEvent{3, "p.json", "something comes"})};
}

TEST(Printer, TellsAProblemAgainOnlyWhenItHadGone) {
  Printer printer(false);
  EXPECT_FALSE(printer.hasToldProblems());
  CaptureStderr();
  printer.tellProblems({problem("a"), problem("b")});
  printer.tellProblems({problem("a"), problem("c")});
  printer.tellProblems({problem("a"), problem("b"), problem("c")});
  EXPECT_EQ(GetCapturedStderr(),
            "problem: f: T a: found; done\n"
            "problem: f: T b: found; done\n"
            "problem: f: T c: found; done\n"
            "problem: f: T b: found; done\n");
  EXPECT_TRUE(printer.hasToldProblems());
}

TEST(Printer, PrintsAtOnceAsText) {
  Printer printer(false);
  CaptureStdout();
  printer.tellChange(change());
  printer.answer("answer\n");
  printer.finish();
  EXPECT_EQ(GetCapturedStdout(),
            "+ Ethernet0: - -> 7 (event 3, p.json: something comes)\n"
            "answer\n");
}

TEST(Printer, PrintsOneDocumentAtTheEndAsJson) {
  Printer printer(true);
  CaptureStdout();
  CaptureStderr();
  printer.expectChanges();
  printer.tellChange(change());
  printer.tellProblems({problem("\x1b\xff")});
  printer.answer("first", 1);
  printer.append("second", 2);
  printer.append("second", 3);
  EXPECT_EQ(GetCapturedStdout(), "");
  CaptureStdout();
  printer.finish();
  EXPECT_EQ(GetCapturedStdout(), R"({
  "first": 1,
  "second": [
    2,
    3
  ],
  "changes": [
    {
      "change": "+",
      "interface": "Ethernet0",
      "oldL3Id": null,
      "newL3Id": 7,
      "event": {
        "number": 3,
        "origin": "p.json",
        "text": "something comes"
      }
    }
  ],
  "problems": [
    {
      "kind": "badName",
      "file": "f",
      "table": "T",
      "key": "\u001b\ufffd",
      "found": "found",
      "done": "done"
    }
  ]
}
)");
  EXPECT_EQ(GetCapturedStderr(), "");
}

TEST(Printer, ListsChangesInJsonOnlyWhereTheyAreExpected) {
  Printer without(true);
  CaptureStdout();
  without.finish();
  EXPECT_EQ(GetCapturedStdout(), "{\n  \"problems\": []\n}\n");
  Printer with(true);
  with.expectChanges();
  CaptureStdout();
  with.finish();
  EXPECT_EQ(GetCapturedStdout(), "{\n  \"changes\": [],\n  \"problems\": []\n}\n");
}

TEST(Printer, PrintsALineForEachAnswerAsJson) {
  Printer printer(true);
  printer.tellProblems({problem("a")});
  printer.tellChange(change());
  printer.answer("first", 1);
  CaptureStdout();
  printer.finishLine();
  printer.tellProblems({problem("a")});
  printer.answer("second", 2);
  printer.finishLine();
  printer.finishLine();
  const std::string lines = GetCapturedStdout();
  EXPECT_EQ(lines.substr(lines.find('\n') + 1), "{\"second\":2}\n{}\n");
  const auto first = nlohmann::json::parse(lines.substr(0, lines.find('\n')));
  EXPECT_EQ(first["first"], 1);
  EXPECT_EQ(first["changes"].size(), 1U);
  EXPECT_EQ(first["problems"].size(), 1U);
  EXPECT_TRUE(printer.hasToldProblems());
}

TEST(Printer, PrintsNoLineAsText) {
  Printer printer(false);
  CaptureStdout();
  printer.finishLine();
  printer.finishAnswer();
  EXPECT_EQ(GetCapturedStdout(), "");
}

}  // namespace
}  // namespace Agent
