// SPDX-License-Identifier: Apache-2.0
// Command lines, good and hostile, and what is made of them.
#include "at/at_line.h"

#include <gtest/gtest.h>

#include <string>

namespace kor::test {
namespace {

using kor::modem::ParseAtLine;
using kor::wwan::AtManager;

// "+XY=[1][] S3? !": the commands one after the other; "!" is what is none.
std::string Parsed(std::string_view body) {
  std::string text;
  for (const auto& command : ParseAtLine(body)) {
    if (!text.empty()) text += ' ';
    text += command.op == AtManager::kOpNone ? "!" : command.name;
    if (command.op == AtManager::kOpRead) text += '?';
    if (command.op == AtManager::kOpTest) text += "=?";
    if (command.op == AtManager::kOpSet) text += '=';
    for (const auto& param : command.params) text += command.op == AtManager::kOpNone ? "" : "[" + param + "]";
  }
  return text;
}

TEST(AtLineTest, LinesAreTakenApart) {
  const struct {
    std::string body;
    std::string commands;
  } kLines[] = {
      {"", ""},
      // Basic commands follow each other; extended ones need a semicolon.
      {"e0V1 &f", "E=[0] V=[1] &F"},
      {"ZE1+CSQ;+cmee=2;I", "Z E=[1] +CSQ +CMEE=[2] I"},
      {"S3?S4=10 S5=008", "S3? S4=[10] S5=[008]"},
      {"E0;+CSQ;", "E=[0] +CSQ"},
      // The four forms, and every way to give parameters.
      {"+XY;+XY?;+XY=?;+XY=1,2", "+XY +XY? +XY=? +XY=[1][2]"},
      {" + X Y = 1 , 2 ", "+XY=[1][2]"},
      {"+XY=", "+XY="},
      {"+XY=,", "+XY=[][]"},
      {"+XY=1,,-3,", "+XY=[1][][-3][]"},
      {"+XY=?1", "+XY=[?1]"},
      {"+XY=\"\",\"a, b;c\";I", "+XY=[][a, b;c] I"},
      {"+XY=\"a\\22b\\5C\",\"c:\\x\\0\",\"\\\"", "+XY=[a\"b\\][c:\\x\\0][\\]"},
      {"$QA-1.b:/_%!;^Z;*Q;#W;%E;!R=1", "$QA-1.B:/_%! ^Z *Q #W %E !R=[1]"},
      {"+XY=\xc3\xa4", "+XY=[\xc3\xa4]"},
      // What is wrong ends the list; what stands before it counts.
      {"E0;;I", "E=[0] !"},
      {";I", "!"},
      {"+CSQ+CSQ", "!"},
      {"+", "!"},
      {"+1X", "!"},
      {"+XY?1", "!"},
      {"I+XY=\"open", "I !"},
      {"+XY=\"", "!"},
      {"+XY=\"\\4", "!"},
      {"+XY=\"a\"b", "!"},
      {"+XY=a\"b\"", "!"},
      {"S", "!"},
      {"S3=", "!"},
      {"&", "!"},
      {"\xff\xfe", "!"},
      {std::string("I\0I", 3), "I !"},
  };
  for (const auto& line : kLines) {
    EXPECT_EQ(line.commands, Parsed(line.body)) << line.body;
  }
}

}  // namespace
}  // namespace kor::test
