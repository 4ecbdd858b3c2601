// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/event_json.h"

#include <charconv>
#include <cstdio>
#include <ctime>

#include "common/modem_events.h"
#include "common/router_events.h"

namespace kor::host {

namespace {

using kor::util::EventDic;

std::string Hex(uint32_t number) {
  char text[16];
  snprintf(text, sizeof(text), "0x%x", number);
  return text;
}

std::string ParamOf(const EventDic& event, EventDic::Param param) {
  const auto found = event.params.find(param);
  return found == event.params.end() ? std::string() : found->second;
}

std::string NameOf(const SeenEvent& seen) {
  if (seen.source == Source::kNetwork) return "network event";
  if (seen.source == Source::kSms) return "sms event";
  switch (seen.event.event) {
    case kor::util::kEvtWwanConnected:
      return "call connected";
    case kor::util::kEvtWwanConnectFailed:
      return "call connect failed";
    case kor::util::kEvtWwanDisconnected:
      return "call disconnected";
    case kor::util::kEvtWwanDisconnectFailed:
      return "call disconnect failed";
    case kor::util::kEvtDnsUpdated:
      return "dns updated";
    case kor::util::kEvtReconnect:
      return "reconnect";
    case kor::util::kEvtModemState:
      return "modem";
    default:
      return "data event";
  }
}

std::optional<int32_t> NumberOf(const EventDic& event, EventDic::Param param) {
  const std::string text = ParamOf(event, param);
  int32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, number);
  if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
  return number;
}

void AddCall(const EventDic& event, const Policies& policies, Json& json) {
  const auto handle = HandleOf(event);
  const auto family = FamilyOf(event);
  json["handle"] = handle ? Json(*handle) : Json();
  json["index"] = nullptr;
  for (size_t i = 0; i < policies.size(); ++i) {
    if (handle && policies[i].handle == *handle) json["index"] = i;
  }
  json["family"] = family ? Json(TextOf(kCallFamilies, *family)) : Json();
  const std::string reason = ParamOf(event, kor::util::kParamCallEndText);
  if (!reason.empty()) json["reason"] = reason;
}

}  // namespace

std::string TimeText(std::chrono::system_clock::time_point time) {
  const auto since = time.time_since_epoch();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since);
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(since - seconds).count();
  const auto whole = static_cast<time_t>(seconds.count());
  tm parts{};
  gmtime_r(&whole, &parts);
  char date[32];
  char text[48];
  strftime(date, sizeof(date), "%Y-%m-%dT%H:%M:%S", &parts);
  snprintf(text, sizeof(text), "%s.%03dZ", date, static_cast<int>(ms));
  return text;
}

std::optional<int32_t> HandleOf(const EventDic& event) { return NumberOf(event, EventDic::kParamHandle); }

std::optional<IPFamily> FamilyOf(const EventDic& event) {
  const std::string text = ParamOf(event, EventDic::kParamIpFamily);
  if (text == "4") return IPFamily::kIpv4;
  if (text == "6") return IPFamily::kIpv6;
  return std::nullopt;
}

std::optional<Wait> WaitOf(const EventDic& event) {
  const auto attempt = NumberOf(event, kor::util::kParamAttempt);
  const auto left = NumberOf(event, kor::util::kParamWaitMs);
  if (event.event != kor::util::kEvtReconnect || !attempt || !left) return std::nullopt;
  return Wait{*attempt, std::chrono::milliseconds(*left)};
}

bool IsCallEvent(uint32_t event) {
  return event >= kor::util::kEvtWwanConnected && event <= kor::util::kEvtWwanDisconnectFailed;
}

std::string EventCode(uint32_t event) { return Hex(event); }

Json EventJson(const SeenEvent& seen, const Policies& policies) {
  Json json{{"time", TimeText(seen.time)}, {"event", EventCode(seen.event.event)}, {"name", NameOf(seen)}};
  if (seen.source == Source::kData && IsCallEvent(seen.event.event)) {
    AddCall(seen.event, policies, json);
  } else if (const auto wait = WaitOf(seen.event); wait && seen.source == Source::kData) {
    AddCall(seen.event, policies, json);
    json["attempt"] = wait->attempt;
    json["wait_s"] = std::chrono::duration<double>(wait->left).count();
  } else if (seen.source == Source::kData && seen.event.event == kor::util::kEvtModemState) {
    json["state"] = ParamOf(seen.event, kor::util::kParamModemState);
  } else if (seen.source == Source::kDns) {
    json["servers"] = seen.servers;
  } else if (!seen.event.params.empty()) {
    Json& params = json["params"] = Json::object();
    for (const auto& [param, text] : seen.event.params) params[Hex(param)] = text;
  }
  return json;
}

Json OwnEventJson(const std::string& name, const Json& members) {
  Json json{{"time", TimeText(std::chrono::system_clock::now())}, {"event", nullptr}, {"name", name}};
  json.update(members);
  return json;
}

}  // namespace kor::host
