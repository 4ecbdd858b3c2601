// SPDX-License-Identifier: Apache-2.0
#include <cstdio>

#include "kwwanctl/commands.h"
#include "kwwanctl/screens.h"
#include "kwwanctl/table.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {
namespace {

constexpr std::chrono::minutes kScanLimit{5};

std::string ScanText(const Json& result, const Paint& paint) {
  Table table({"NETWORK", "NAME", "STATUS", "RADIO"});
  for (const Json& network : Member(result, "networks")) {
    const std::string status = ToText(Member(network, "status"));
    const Colour colour = status == "current" ? Colour::kGood : status == "forbidden" ? Colour::kBad : Colour::kNone;
    table.Add({ToText(Member(network, "mcc")) + ToText(Member(network, "mnc")),
               Member(network, "name"),
               {status, colour},
               Member(network, "radio")});
  }
  return table.Text(paint, "No network is heard.");
}

std::string SignalText(const Json& result, const Paint& paint) {
  Table table({"RADIO", "RSSI dBm", "RSRP dBm", "RSRQ dB", "SNR dB", "EC/IO dB"});
  for (const char* radio : {"gsm", "umts", "lte", "nr5g"}) {
    const Json signal = Member(result, radio);
    if (!signal.is_object()) continue;
    table.Add({radio, Member(signal, "rssi"), Member(signal, "rsrp"), Member(signal, "rsrq"), Member(signal, "snr"),
               Member(signal, "ecio")});
  }
  return table.Text(paint, "The modem is not served.");
}

std::string CellText(const Json& result, const Paint& paint) {
  const Json serving = Member(result, "serving");
  std::string text = serving.is_object() ? RecordText(serving, paint) : "No cell serves the modem.\n";
  Table table({"NEIGHBOUR", "CHANNEL", "CELL", "RSRP", "RSRQ"});
  for (const Json& cell : Member(result, "neighbours")) {
    table.Add({Member(cell, "radio"), Member(cell, "channel"), Member(cell, "physical_cell"), Member(cell, "rsrp"),
               Member(cell, "rsrq")});
  }
  return text + '\n' + table.Text(paint, "No other cell is heard.");
}

// Block error rates come in hundredths of a percent.
std::string ErrorsText(const Json& result, const Paint& paint) {
  Fields fields;
  fields.Add("GSM bit error class", Member(result, "gsm_rxqual"));
  for (const auto& [name, key] : {std::pair("UMTS blocks", "umts_bler"), std::pair("LTE blocks", "lte_bler"),
                                  std::pair("5G blocks", "nr5g_bler")}) {
    const Json rate = Member(result, key);
    char text[32] = "-";
    if (rate.is_number()) (void)snprintf(text, sizeof(text), "%.2f %%", rate.get<double>() / 100);
    fields.Add(name, text);
  }
  return fields.Text(paint);
}

Verb Watched(const std::string& name, const std::string& help, const Render& render) {
  Verb verb{name,
            help,
            {},
            {{"radio " + name, "once"}, {"radio " + name + " --watch 5", "every 5 seconds"}},
            "radio." + name,
            render};
  verb.watch = true;
  return verb;
}

}  // namespace

void AddRadio(CLI::App& app, Context& context) {
  Verb scan{"scan",       "Searches for networks. Takes up to minutes; calls may stand still meanwhile.",
            {},           {},
            "radio.scan", ScanText};
  scan.limit = kScanLimit;
  AddObject(app, context, "radio", "The radio network: what the modem hears.",
            {scan, Watched("signal", "How well the modem hears what serves it.", SignalText),
             Watched("cell", "The cell that serves the modem, and its neighbours.", CellText),
             Watched("errors", "Error rates of what is received.", ErrorsText),
             Watched("system", "Registration: the network, roaming, attachment.", RecordText)});
}

}  // namespace kor::ctl
