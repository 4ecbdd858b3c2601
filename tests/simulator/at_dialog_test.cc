// SPDX-License-Identifier: Apache-2.0
// What is said at a terminal, apart from any I/O.
#include "at/at_dialog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace kor::test {
namespace {

using kor::modem::AtCommand;
using kor::modem::AtDialog;
using kor::modem::AtEditor;
using kor::modem::AtReply;

class AtDialogTest : public testing::Test {
 protected:
  AtDialogTest() { dialog.settings().echo = 0; }

  // What the terminal shows, with "<" for CR, "/" for LF and "^" for BS; all of it is taken.
  std::string Shown() {
    std::string shown;
    while (!dialog.output().empty()) {
      for (const char c : dialog.output()) shown += c == '\r' ? '<' : c == '\n' ? '/' : c == '\b' ? '^' : c;
      dialog.Shown(dialog.output().size());
    }
    return shown;
  }
  std::string Type(std::string_view text) {
    dialog.Type(text);
    return Shown();
  }
  std::string Answer(bool ok, const std::string& text) {
    dialog.Answer(ok, text);
    return Shown();
  }
  std::string Notify(const std::string& text) {
    dialog.Notify(text);
    return Shown();
  }
  void HangUp() {
    dialog.HangUp();
    dialog.settings().echo = 0;
  }

  // The modem behind it: what is registered is forwarded, even names of the terminal's own.
  bool Forward(const AtCommand& command) {
    if (command.name != "+KW" && command.name != "+CGMM" && command.name != "+CMEE") return false;
    forwarded.push_back(command);
    return true;
  }
  static AtReply Ask(const AtCommand& command) {
    if (command.name == "I") return {"kwwan\nsimulated modem", std::nullopt};
    if (command.name == "+CSQ") return {"+CSQ: 7,99", std::nullopt};
    if (command.name == "+CPIN") return {"", kor::modem::AtError{10, "SIM not inserted"}};
    return {"", kor::modem::kAtNotSupported};
  }

  std::vector<AtCommand> forwarded;
  AtDialog dialog{{[this](const AtCommand& command) { return Forward(command); }, Ask}};
};

TEST_F(AtDialogTest, ATerminalIsSetByItsCommands) {
  EXPECT_EQ("</OK</", Type("a/"));  // The line before the first one is empty.
  EXPECT_EQ("</kwwan</simulated modem</</+CSQ: 7,99</</OK</", Type("ati+CSQ\r"));
  EXPECT_EQ("</+CMEE: (0-2)</</+CMEE: 1</</OK</", Type("AT+CMEE=?;+CMEE=1;+CMEE?\r"));
  // The line stops where it fails; a mode that is not there changes nothing.
  EXPECT_EQ("</+CME ERROR: 4</", Type("AT+CMEE=2;+CMEE=1;+CMEE=3;I\r"));
  EXPECT_EQ("</+CME ERROR: operation not supported</", Type("AT+CMEE=2;+NOSUCH;I\r"));
  EXPECT_EQ("</kwwan</simulated modem</</ERROR</", Type("ATZE0I;+CMEE=\r"));
  // Result codes as numbers, or none; other line ends; the last line again.
  EXPECT_EQ("0<", Type("ATV0\r"));
  EXPECT_EQ("4<", Type("ATX9\r"));
  EXPECT_EQ("013</0<", Type("ATS3?\r"));
  EXPECT_EQ("+CME ERROR: SIM not inserted<", Type("AT+CMEE=2;+CPIN?\r"));
  EXPECT_EQ("+CME ERROR: 10<", Type("AT+CMEE=1;+CPIN?\r"));
  EXPECT_EQ("ring<", Notify("ring"));
  EXPECT_EQ("0<", Type("AT+CMEE=0\r"));
  EXPECT_EQ("", Type("ATQ1V1\r"));
  dialog.Type("AT+KW");
  EXPECT_EQ("", Notify("ring 1"));
  EXPECT_EQ("", Notify("ring 2"));
  EXPECT_EQ("", Type("X\r"));
  EXPECT_EQ("</+CSQ: 7,99</", Type("AT+CSQ\r"));  // Information is no result code.
  EXPECT_EQ("|*OK|*", Type("ATQ0S3=124S4=42\r"));
  EXPECT_EQ("</013</</OK</", Type("AT&FS3?|"));
}

TEST_F(AtDialogTest, InitialisationStringsAreTakenWithinTheirRanges) {
  for (const char* line :
       {"ATQ0 V1 X4 &C1 &D2 S0=0", "AT S7=45 S0=0 L1 V1 X4 &c1 Q0", "ATX&C&DH", "ATH0M2L3S0=255S7=1"}) {
    EXPECT_EQ("</OK</", Type(line + std::string("\r"))) << line;
  }
  EXPECT_EQ("</255</</001</</013</</010</</008</</OK</", Type("ATS0?S7?S3?S4?S5?\r"));
  for (const char* line : {"ATX5", "AT&C2", "AT&D3", "ATS0=256", "ATS7=0", "ATS3=128", "ATS4=128", "ATS5=128", "ATH1",
                           "ATM3", "ATL4", "ATE2", "ATV2", "ATQ2", "ATZ1", "AT&F1", "ATS1?"}) {
    EXPECT_EQ("</ERROR</", Type(line + std::string("\r"))) << line;
  }
  EXPECT_EQ("</255</</001</</013</</010</</008</</OK</", Type("ATS0?S7?S3?S4?S5?\r"));
}

TEST_F(AtDialogTest, RegisteredNamesAreForwardedFirstOfAll) {
  // In either case, with the terminal's error mode, and before the modem's own.
  EXPECT_EQ("", Type("AT+CMEE=2;+kw=1,\"a,b\";+CGMM;I\r"));
  ASSERT_EQ(1u, forwarded.size());
  EXPECT_EQ("+KW", forwarded[0].name);
  EXPECT_EQ(3, forwarded[0].op);
  EXPECT_EQ((std::vector<std::string>{"1", "a,b"}), forwarded[0].params);
  EXPECT_EQ(2, forwarded[0].cmee);
  // What is typed meanwhile waits for the end of the line; text of several lines is framed as one answer.
  EXPECT_EQ("", Type("AT+CSQ\rAT+KW\r"));
  EXPECT_EQ("</one</two</</three</", Answer(true, "one\r\ntwo\n\nthree\r\n"));
  EXPECT_EQ(2u, forwarded.size());
  EXPECT_EQ("</kwwan</simulated modem</</OK</</+CSQ: 7,99</</OK</", Answer(true, ""));
  EXPECT_EQ(3u, forwarded.size());
  // A failure is the final result, in its own words or as ERROR; the rest of the line is left out.
  EXPECT_EQ("</+CME ERROR: 3</", Answer(false, "+CME ERROR: 3\n"));
  EXPECT_EQ("", Type("AT+KW;I\r"));
  EXPECT_EQ("</ERROR</", Answer(false, ""));
  EXPECT_EQ("", Type("A/"));
  EXPECT_EQ("</kwwan</simulated modem</</OK</", Answer(true, ""));
}

TEST_F(AtDialogTest, UnsolicitedTextsWaitForTheirMoment) {
  // While a line is being typed and executed they wait; typing that is no command line holds nothing up.
  dialog.settings().echo = 1;
  EXPECT_EQ("hAT+K", Type("hAT+K"));
  dialog.Notify("ring 1");
  EXPECT_EQ("", Notify("ring 2\r\nand\rmore\r\n"));
  EXPECT_EQ("W<", Type("W\r"));
  EXPECT_EQ("</+KW: 1</</OK</</ring 1</</ring 2</and</more</", Answer(true, "+KW: 1\n"));
  EXPECT_EQ("a^ ^", Type("a\b"));
  EXPECT_EQ("</ring 3</", Notify("ring 3"));
  // A line that takes too long is interrupted for what it holds, and goes on.
  EXPECT_EQ("AT+K", Type("AT+K"));
  EXPECT_EQ("", Notify("ring 4"));
  EXPECT_EQ("", Notify("ring 5"));
  EXPECT_TRUE(dialog.holds_back());
  dialog.ShowHeld();
  EXPECT_EQ("</ring 4</</ring 5</", Shown());
  EXPECT_EQ("", Notify("ring 6"));
  EXPECT_EQ("W<", Type("W\r"));
  EXPECT_EQ("</OK</</ring 6</", Answer(true, ""));
  EXPECT_FALSE(dialog.holds_back());

  // A terminal that takes nothing costs no more than the latest texts, and its typing waits.
  for (int i = 0; i < 5000; ++i) dialog.Notify(std::to_string(i));
  EXPECT_FALSE(dialog.wants_input());
  const std::string shown = Shown();
  EXPECT_EQ(0u, shown.find("</0</</4900</</4901</"));
  EXPECT_EQ(1 + AtDialog::kMaxNotices, static_cast<size_t>(std::count(shown.begin(), shown.end(), '<') / 2));
  dialog.Type("AT+KW\r");
  dialog.Notify("old");
  dialog.Notify(std::string(AtDialog::kMaxNoticeBytes, 'x'));
  (void)Shown();
  EXPECT_EQ(std::string::npos, Answer(true, "").find("old"));
}

TEST_F(AtDialogTest, HostileInputLosesNothingOfTheNextLine) {
  const std::string kOk = "</OK</";
  // Rubbish before the prefix, control characters, corrections.
  EXPECT_EQ(kOk, Type(std::string("\xff\0\x1b[A?T+CSQ hello AT\r\n", 22)));
  EXPECT_EQ(kOk, Type("AT+NOX\b\b\x7f\b\b\b\b\b\bAT\r"));
  EXPECT_EQ(kOk, Type("\r\rA\raAt\r"));
  EXPECT_EQ(kOk, Type("A\nT\x01"
                      "E0\r"));
  // A line as long as there is room, one that is longer, and ten times as long.
  const std::string room(AtEditor::kMaxLine - 2, ' ');
  EXPECT_EQ(kOk, Type("AT" + room + "\r"));
  for (const size_t size : {AtEditor::kMaxLine - 1, 10 * AtEditor::kMaxLine}) {
    EXPECT_EQ("</ERROR</", Type("AT" + std::string(size, ' ') + "\r"));
    EXPECT_EQ("</ERROR</", Type("A/"));
    EXPECT_EQ(kOk, Type("AT\r"));
  }
  // A hang-up in the middle of a line, and of an answer.
  EXPECT_EQ("", Type("AT+NOSUCH=\"half"));
  HangUp();
  EXPECT_EQ("", Type("AT+KW;I\rAT+CSQ\rAT"));
  HangUp();
  EXPECT_FALSE(dialog.waiting());
  EXPECT_EQ(kOk, Type("A/"));
  // One that has set the line's end to what no program sends: the next program has the stored defaults.
  EXPECT_EQ("\a/OK\a/", Type("ATS3=7V1S0=9\r"));
  HangUp();
  EXPECT_EQ("</000</" + kOk, Type("ATS0?\r"));
  // Many commands of one line that say much, at a terminal that takes it bit by bit.
  dialog.Type("AT" + std::string(1000, 'I') + "\r");
  EXPECT_LT(dialog.output().size(), 5000u);
  EXPECT_EQ(1000 * 26 + kOk.size(), Shown().size());
}

}  // namespace
}  // namespace kor::test
