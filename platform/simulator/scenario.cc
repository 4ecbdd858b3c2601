// SPDX-License-Identifier: Apache-2.0
#include "simulator/scenario.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "simulator/scenario_arguments.h"
#include "simulator/scenario_words.h"

namespace kor::modem {

namespace {

// What a command does once all its arguments are known to be right.
using Action = std::function<ScenarioReply(SimModem&)>;

// The action of a command that cannot fail and has nothing to say.
template <typename F>
Action Do(F set) {
  return [set = std::move(set)](SimModem& modem) {
    set(modem);
    return ScenarioReply{true, ""};
  };
}

struct Command {
  const char* name;
  const char* arguments;
  const char* help;
  Action (*parse)(Arguments& args);
};

std::string Join(const std::vector<std::string>& lines) {
  std::string text;
  for (const auto& line : lines) text += text.empty() ? line : "\n" + line;
  return text;
}

Action ParseDns(Arguments& args) {
  const auto family = args.Family("FAMILY");
  const auto dns_1 = args.Server("DNS1", family);
  const auto dns_2 = args.Server("DNS2", family);
  return Do([=](SimModem& modem) { modem.SetDnsServers(family, dns_1, dns_2); });
}

Action ParseCallDns(Arguments& args) {
  const auto handle = args.Handle("HANDLE");
  const auto family = args.Family("FAMILY");
  const auto dns_1 = args.Server("DNS1", family);
  const auto dns_2 = args.Server("DNS2", family);
  return Do([=](SimModem& modem) { modem.SetDnsServers(handle, family, dns_1, dns_2); });
}

Action ParseCarrier(Arguments& args) {
  return [path = args.Path("PATH")](SimModem& modem) {
    if (modem.SetCarrierNamespace(path)) return ScenarioReply{true, ""};
    return ScenarioReply{false, "carrier: PATH takes an absolute path without blanks and quotes, or -"};
  };
}

Action ParseFail(Arguments& args) {
  const auto operation = args.Operation("OPERATION");
  const auto count = args.Count("COUNT");
  const auto result = args.Failure("RESULT");
  const auto good = args.OptionalCount("GOOD");
  return Do([=](SimModem& modem) { modem.FailNext(operation, count, result, good); });
}

Action ParseDrop(Arguments& args) {
  const auto handle = args.Handle("HANDLE");
  const auto family = args.Family("FAMILY");
  return [=](SimModem& modem) {
    if (modem.Drop(handle, family)) return ScenarioReply{true, ""};
    return ScenarioReply{false, "drop: the call is not up"};
  };
}

Action ParseWaitIdle(Arguments& args) {
  return [limit = args.Delay("MS")](SimModem& modem) {
    if (modem.WaitIdle(limit)) return ScenarioReply{true, ""};
    return ScenarioReply{false, "wait-idle: still busy after " + std::to_string(limit.count()) + " ms"};
  };
}

Action ParsePuk(Arguments& args) {
  const int pin_id = args.Number("PIN_ID", "1 or 2", 1, 2);
  const auto puk = args.Line("PUK");
  const auto pin = args.Line("PIN");
  return [=](SimModem& modem) {
    if (modem.EnterPuk(pin_id, puk, pin)) return ScenarioReply{true, ""};
    return ScenarioReply{false, "puk: the card is not ready, or it does not take it"};
  };
}

Action ParseTechnology(Arguments& args) {
  const auto technology = args.Choice<Technology>("TECHNOLOGY", "none gsm umts lte lte+nr5g nr5g");
  return Do([=](SimModem& modem) { modem.SetTechnology(technology); });
}

Action ParseRegistration(Arguments& args) {
  const auto state = args.Choice<kor::wwan::NetworkManager::Registration>("STATE", "none registered searching denied");
  return Do([=](SimModem& modem) { modem.SetRegistration(state); });
}

Action ParseSignal(Arguments& args) {
  const int percent = args.Number("PERCENT", "0 to 100", 0, 100);
  const auto over = args.Delay("MS");
  return Do([=](SimModem& modem) { modem.MoveSignal(percent, over); });
}

Action ParseSms(Arguments& args) {
  const auto message_class = args.Choice<kor::wwan::SmsManager::MessageClass>("CLASS", "0 1 2 3 none");
  const auto sender = args.Line("SENDER");
  const auto text = args.Line("TEXT");
  return [=](SimModem& modem) {
    if (modem.ReceiveSms(message_class, sender, text)) return ScenarioReply{true, ""};
    return ScenarioReply{false, "sms: there is no service"};
  };
}

Action ParseSmsCapacity(Arguments& args) {
  const auto storage = args.Choice<kor::wwan::SmsManager::MessageStorage>("STORAGE", "sim device");
  const auto count = static_cast<uint32_t>(args.Count("COUNT"));
  return Do([=](SimModem& modem) { modem.SetSmsCapacity(storage, count); });
}

Action ParseSmsClear(Arguments&) {
  return Do([](SimModem& modem) { modem.ClearSms(); });
}

Action ParseTerminal(Arguments&) {
  return [](SimModem& modem) {
    const std::string path = modem.OpenTerminal();
    return path.empty() ? ScenarioReply{false, "terminal: there can be no more; the log says why"}
                        : ScenarioReply{true, path};
  };
}

Action ParseType(Arguments& args) {
  return [line = args.Line("LINE")](SimModem& modem) { return ScenarioReply{true, modem.Type(line)}; };
}

Action ParseRecord(Arguments& args) {
  if (args.Left()) return Do([on = args.Switch("SWITCH")](SimModem& modem) { modem.SetRecording(on); });
  return [](SimModem& modem) { return ScenarioReply{true, Join(modem.TakeRecord())}; };
}

Action ParseRoundTrip(Arguments& args) {
  const auto time = args.Delay("MS");
  if (!args.Left()) return Do([=](SimModem& modem) { modem.SetRoundTrip(time); });
  return Do([=, name = args.Operation("OPERATION")](SimModem& modem) { modem.SetRoundTrip(name, time); });
}

Action ParseGone(Arguments&) {
  return [](SimModem& modem) {
    return modem.Leave() ? ScenarioReply{true, ""} : ScenarioReply{false, "gone: there is no modem"};
  };
}

Action ParseBack(Arguments& args) {
  return Do([delay = args.Delay("MS")](SimModem& modem) { modem.Return(delay); });
}

Action ParseRunning(Arguments& args) {
  const auto handle = args.Handle("HANDLE");
  const auto family = args.Family("FAMILY");
  const int profile = args.Number("PROFILE", "1 to 3", 1, 3);
  return [=](SimModem& modem) {
    if (modem.AddRunningCall(handle, family, profile)) return ScenarioReply{true, ""};
    return ScenarioReply{false, "running: the call is there already"};
  };
}

Action ParseHelp(Arguments& args);

// Commands that hand one argument on.
Action ParseConnectDelay(Arguments& args) {
  return Do([delay = args.Delay("MS")](SimModem& modem) { modem.SetConnectDelay(delay); });
}
Action ParseDisconnectDelay(Arguments& args) {
  return Do([delay = args.Delay("MS")](SimModem& modem) { modem.SetDisconnectDelay(delay); });
}
Action ParseNotReady(Arguments& args) {
  return Do([count = args.Count("COUNT")](SimModem& modem) { modem.SetNotReadyQueries(count); });
}
Action ParseLinks(Arguments& args) {
  return Do([on = args.Switch("SWITCH")](SimModem& modem) { modem.SetLinks(on); });
}
Action ParseRoaming(Arguments& args) {
  return Do([on = args.Switch("SWITCH")](SimModem& modem) { modem.SetRoaming(on); });
}
Action ParseFailConnects(Arguments& args) {
  return Do([count = args.Count("COUNT")](SimModem& modem) { modem.FailConnects(count); });
}
Action ParseFailDisconnects(Arguments& args) {
  return Do([count = args.Count("COUNT")](SimModem& modem) { modem.FailDisconnects(count); });
}
Action ParseIgnore(Arguments& args) {
  return Do([count = args.Count("COUNT")](SimModem& modem) { modem.IgnoreRequests(count); });
}
Action ParseLose(Arguments& args) {
  return Do([count = args.Count("COUNT")](SimModem& modem) { modem.LoseReports(count); });
}
Action ParseRefuseNames(Arguments& args) {
  return Do([count = args.Count("COUNT")](SimModem& modem) { modem.FailNext("RegisterAtNames", count); });
}
Action ParseSim(Arguments& args) {
  return Do([present = args.Switch("SWITCH")](SimModem& modem) { modem.SetSimPresent(present); });
}
Action ParseSimDelay(Arguments& args) {
  return Do([delay = args.Delay("MS")](SimModem& modem) { modem.SetSimDelay(delay); });
}
Action ParseRadioDelay(Arguments& args) {
  return Do([delay = args.Delay("MS")](SimModem& modem) { modem.SetAnswerDelay(delay); });
}
Action ParseScanDelay(Arguments& args) {
  return Do([delay = args.Delay("MS")](SimModem& modem) { modem.SetScanDelay(delay); });
}
Action ParseFailAnswers(Arguments& args) {
  return Do([count = args.Count("COUNT")](SimModem& modem) { modem.FailAnswers(count); });
}
Action ParseAnswerLimit(Arguments& args) {
  return Do([limit = args.Delay("MS")](SimModem& modem) { modem.SetAnswerLimit(limit); });
}

constexpr Command kCommands[] = {
    {"connect-delay", "MS", "time from a connect to its outcome", ParseConnectDelay},
    {"disconnect-delay", "MS", "time from a disconnect to its outcome", ParseDisconnectDelay},
    {"not-ready", "COUNT", "queries of a new call's configuration that come too early", ParseNotReady},
    {"dns", "FAMILY DNS1 DNS2", "name servers of new calls of one family (4 or 6); - is none", ParseDns},
    {"call-dns", "HANDLE FAMILY DNS1 DNS2", "the same for one handle's calls", ParseCallDns},
    {"links", "SWITCH", "network interfaces for new calls, on or off", ParseLinks},
    {"carrier", "PATH", "network namespace of the interfaces' far ends; - is our own", ParseCarrier},
    {"roaming", "SWITCH", "the modem is in a visited network, on or off", ParseRoaming},
    {"fail", "OPERATION COUNT [RESULT [GOOD]]", "operations fail with RESULT (1), after GOOD (0) good ones", ParseFail},
    {"fail-connects", "COUNT", "the next connects are accepted and fail", ParseFailConnects},
    {"fail-disconnects", "COUNT", "the next disconnects are accepted and fail", ParseFailDisconnects},
    {"ignore", "COUNT", "the next connects or disconnects are never answered", ParseIgnore},
    {"lose", "COUNT", "the next reports of calls are lost", ParseLose},
    {"drop", "HANDLE FAMILY", "the network takes an up call down", ParseDrop},
    {"sim", "SWITCH", "a card is in the SIM slot, on or off", ParseSim},
    {"sim-delay", "MS", "time that a card takes to be ready", ParseSimDelay},
    {"puk", "PIN_ID PUK PIN", "the PUK of PIN 1 or 2 is typed, with a new PIN", ParsePuk},
    {"technology", "TECHNOLOGY", "none, gsm, umts, lte, lte+nr5g or nr5g", ParseTechnology},
    {"registration", "STATE", "none, registered, searching or denied", ParseRegistration},
    {"signal", "PERCENT MS", "the signal moves there within that time", ParseSignal},
    {"radio-delay", "MS", "time from a radio query to its answer", ParseRadioDelay},
    {"scan-delay", "MS", "time from a scan to its result", ParseScanDelay},
    {"fail-answers", "COUNT", "the next radio queries are taken and not answered well", ParseFailAnswers},
    {"sms", "CLASS SENDER TEXT", "a message of class 0 to 3 or none arrives", ParseSms},
    {"sms-capacity", "STORAGE COUNT", "messages that sim or device takes", ParseSmsCapacity},
    {"sms-clear", "", "all stored messages are deleted", ParseSmsClear},
    {"terminal", "", "opens a terminal: the path of its pty", ParseTerminal},
    {"type", "LINE", "types an AT line, such as AT+CSQ, and tells what is answered", ParseType},
    {"refuse-names", "COUNT", "the next requests for AT names are refused", ParseRefuseNames},
    {"answer-limit", "MS", "time after which a forwarded AT command fails", ParseAnswerLimit},
    {"round-trip", "MS [OPERATION]", "time that the modem takes to answer an operation, or all", ParseRoundTrip},
    {"gone", "", "the modem is gone, and its calls with it", ParseGone},
    {"back", "MS", "the modem is back, and ready after that time", ParseBack},
    {"running", "HANDLE FAMILY PROFILE", "the modem has a call that nobody asked for", ParseRunning},
    {"record", "[SWITCH]", "operations are recorded, on or off; those since the last time", ParseRecord},
    {"wait-idle", "MS", "wait until nothing is pending", ParseWaitIdle},
    {"help", "", "this list", ParseHelp},
};

std::string HelpLine(const Command& command) {
  constexpr size_t kColumn = 40;
  std::string line = std::string(command.name) + " " + command.arguments;
  line.resize(kColumn, ' ');
  return line + command.help;
}

Action ParseHelp(Arguments&) {
  return [](SimModem&) {
    std::vector<std::string> lines;
    for (const Command& command : kCommands) lines.push_back(HelpLine(command));
    return ScenarioReply{true, Join(lines)};
  };
}

const Command* FindCommand(const std::string& name) {
  for (const Command& command : kCommands) {
    if (name == command.name) return &command;
  }
  return nullptr;
}

struct CloseFile {
  void operator()(FILE* file) const { fclose(file); }
};

// One line without its end. False at the end of the file or on a read error.
bool ReadLine(FILE* file, std::string& line) {
  line.clear();
  for (int c = fgetc(file); c != EOF; c = fgetc(file)) {
    if (c == '\n') return true;
    line += static_cast<char>(c);
  }
  return !line.empty();
}

}  // namespace

ScenarioReply RunScenarioLine(SimModem& modem, std::string_view line) {
  const auto words = SplitWords(line);
  if (!words) return {false, "a quote is not closed"};
  if (words->empty()) return {true, ""};
  const Command* const command = FindCommand(words->front());
  if (command == nullptr) return {false, "\"" + words->front() + "\" is no command; help lists them"};
  Arguments args(*words);
  const Action action = command->parse(args);
  args.End();
  if (!args.error().empty()) return {false, args.error()};
  return action(modem);
}

bool RunScenarioFile(SimModem& modem, const std::string& path, std::string& error) {
  const std::unique_ptr<FILE, CloseFile> file(fopen(path.c_str(), "re"));
  std::string line;
  for (int number = 1; file != nullptr && ReadLine(file.get(), line); ++number) {
    const ScenarioReply reply = RunScenarioLine(modem, line);
    if (reply.ok) continue;
    error = path + ":" + std::to_string(number) + ": " + reply.text;
    return false;
  }
  if (file != nullptr && ferror(file.get()) == 0) return true;
  error = path + ": " + strerror(errno);
  return false;
}

}  // namespace kor::modem

bool kwwan_modem_command(const char* line, std::string& reply) {
  kor::modem::ScenarioReply result = kor::modem::RunScenarioLine(kor::modem::SimModem::Get(), line);
  reply = std::move(result.text);
  return result.ok;
}

bool kwwan_modem_scenario(const char* path, std::string& error) {
  return kor::modem::RunScenarioFile(kor::modem::SimModem::Get(), path, error);
}
