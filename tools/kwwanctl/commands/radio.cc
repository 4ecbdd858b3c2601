// SPDX-License-Identifier: Apache-2.0
// radio, sms
#include <cstdio>

#include "kwwanctl/commands/commands.h"
#include "kwwanctl/table.h"

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
  return table.Text(paint, "No network was found.");
}

std::string SignalText(const Json& result, const Paint& paint) {
  Table table({"RADIO", "RSSI dBm", "RSRP dBm", "RSRQ dB", "SNR dB", "EC/IO dB"});
  for (const char* radio : {"gsm", "umts", "lte", "nr5g"}) {
    const Json signal = Member(result, radio);
    if (!signal.is_object()) continue;
    table.Add({radio, Member(signal, "rssi"), Member(signal, "rsrp"), Member(signal, "rsrq"), Member(signal, "snr"),
               Member(signal, "ecio")});
  }
  return table.Text(paint, "No service.");
}

std::string CellText(const Json& result, const Paint& paint) {
  const Json serving = Member(result, "serving");
  std::string text = serving.is_object() ? RecordText(serving, paint) : "No serving cell.\n";
  Table table({"NEIGHBOUR", "CHANNEL", "CELL", "RSRP", "RSRQ"});
  for (const Json& cell : Member(result, "neighbours")) {
    table.Add({Member(cell, "radio"), Member(cell, "channel"), Member(cell, "physical_cell"), Member(cell, "rsrp"),
               Member(cell, "rsrq")});
  }
  return text + '\n' + table.Text(paint, "No neighbour cell.");
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

ArgType Classes() {
  return Words({{"class-0", "class 0"},
                {"class-1", "class 1"},
                {"class-2", "class 2"},
                {"class-3", "class 3"},
                {"none", "none"},
                {"cdma", "cdma"}});
}

std::string RoutesText(const Json& result, const Paint& paint) {
  Table table({"CLASS", "STORAGE", "ACTION"});
  for (const Json& route : Member(result, "routes")) {
    table.Add({Member(route, "class"), Member(route, "storage"), Member(route, "action")});
  }
  return table.Text(paint, "No routes.");
}

std::string StorageText(const Json& storage, const Paint&) {
  return "Storage " + ToText(Member(storage, "storage")) + ": " + ToText(Member(storage, "used")) + " of " +
         ToText(Member(storage, "capacity")) + " messages\n";
}

int ShowStorage(Context& context, const Json& params) {
  const Json asked{{"storage", params.value("storage", "sim")}};
  return context.Ask("sms.storage", asked, StorageText);
}

}  // namespace

Object RadioCommands() {
  Verb scan{"scan",  "Scans for networks. Takes up to minutes; calls may stall meanwhile.", {}, {}, "radio.scan",
            ScanText};
  scan.limit = kScanLimit;
  return {"radio",
          "The radio network: scan, signal, cells, registration.",
          {scan, Watched("signal", "Signal strength and quality.", SignalText),
           Watched("cell", "The serving cell and its neighbours.", CellText),
           Watched("errors", "Error rates of reception.", ErrorsText),
           Watched("system", "Registration: the network, roaming, attachment.", RecordText)}};
}

Object SmsCommands() {
  const Arg its_class{"CLASS", "class", Classes(), "Class of the messages", "", true};
  const Arg storage{"STORAGE", "storage", OneOf({"sim", "device", "none"}), "Where they are kept", "", true};
  const Arg action{"ACTION",
                   "action",
                   OneOf({"discard", "store-and-notify", "transfer-only", "transfer-and-ack"}),
                   "What becomes of them",
                   "",
                   true};
  Verb show_storage{"storage",
                    "How full a storage is.",
                    {{"STORAGE", "storage", OneOf({"sim", "device"}), "Which one (default sim)"}},
                    {{"sms storage device", ""}},
                    "",
                    nullptr};
  show_storage.action = ShowStorage;
  return {"sms",
          "Routes and storages of short messages.",
          {{"routes", "The route of each class of messages.", {}, {}, "sms.routes", RoutesText},
           {"route",
            "Changes the route of a class of messages.",
            {its_class, storage, action},
            {{"sms route class-1 device store-and-notify", ""}},
            "sms.route",
            RoutesText},
           show_storage}};
}

}  // namespace kor::ctl
