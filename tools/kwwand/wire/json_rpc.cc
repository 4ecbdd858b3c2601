// SPDX-License-Identifier: Apache-2.0
#include "kwwand/wire/json_rpc.h"

#include <algorithm>

#include "shared/suggestions.h"

namespace kor::host {

namespace {

constexpr int kMaxDepth = 16;
constexpr int kMaxMembers = 256;
constexpr size_t kMaxIdSize = 256;  // An id comes back in the answer and in each progress line.

using Event = Json::parse_event_t;

// Parses with bounded work and depth. Throws RequestError.
Json ParseBounded(std::string_view line) {
  int members = 0;
  bool too_much = false;
  const auto keep = [&](int depth, Event event, const Json&) {
    const bool is_member = event == Event::key || event == Event::value;
    if (depth > kMaxDepth || (is_member && ++members > kMaxMembers)) too_much = true;
    return !too_much;
  };
  Json json;
  try {
    json = Json::parse(line, keep);
  } catch (const Json::exception& e) {
    const std::string what = e.what();  // "[json.exception.parse_error.101] parse error at line 1, column 3: ..."
    const size_t column = what.find("column ");
    throw RequestError(kParseError, "invalid JSON: " + (column == std::string::npos ? what : what.substr(column)));
  }
  if (too_much) throw RequestError(kInvalidRequest, "nested too deeply, or too many members");
  return json;
}

bool IsId(const Json& json) {
  return json.is_number_integer() || (json.is_string() && json.get_ref<const std::string&>().size() <= kMaxIdSize);
}

void TakeId(const Json& json, RpcRequest& request) {
  if (!json.is_object()) {
    throw RequestError(kInvalidRequest, json.is_array() ? "one object per line: batches are not supported"
                                                        : "a request is an object with id, method and params");
  }
  const auto id = json.find("id");
  if (id == json.end() || !IsId(*id)) {
    throw RequestError(kInvalidRequest, "id: must be an integer or a string of at most 256 bytes");
  }
  request.id = *id;
}

void CheckMembers(const Json& json) {
  static const std::vector<std::string> kMembers = {"jsonrpc", "id", "method", "params"};
  for (const auto& member : json.items()) {
    if (std::find(kMembers.begin(), kMembers.end(), member.key()) != kMembers.end()) continue;
    throw NotKnown(kInvalidRequest, "member", member.key(), kor::tools::Nearest(member.key(), kMembers));
  }
  const auto version = json.find("jsonrpc");
  if (version != json.end() && *version != "2.0") throw RequestError(kInvalidRequest, "jsonrpc: takes \"2.0\"");
}

void TakeCall(const Json& json, RpcRequest& request) {
  const auto method = json.find("method");
  if (method == json.end() || !method->is_string()) {
    throw RequestError(kInvalidRequest, "method: must be the name of a method");
  }
  request.method = *method;
  const auto params = json.find("params");
  if (params == json.end()) return;
  if (!params->is_object()) throw RequestError(kInvalidParams, "params: takes an object");
  request.params = *params;
}

std::string Line(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n'; }

}  // namespace

RpcRequest ParseRequest(std::string_view line) {
  RpcRequest request;
  try {
    const Json json = ParseBounded(line);
    TakeId(json, request);
    CheckMembers(json);
    TakeCall(json, request);
  } catch (const RequestError& error) {
    request.error = error;
  }
  return request;
}

std::string FormatResult(const Json& id, const Json& result) {
  return Line({{"jsonrpc", "2.0"}, {"id", id}, {"result", result}});
}

std::string FormatError(const Json& id, const RequestError& error) {
  Json body = {{"code", error.code()}, {"message", error.what()}};
  if (!error.data().is_null()) body["data"] = error.data();
  return Line({{"jsonrpc", "2.0"}, {"id", id}, {"error", body}});
}

std::string FormatNotification(const char* method, const Json& params) {
  return Line({{"jsonrpc", "2.0"}, {"method", method}, {"params", params}});
}

RequestError NotKnown(int code, const std::string& what, const std::string& word,
                      const std::optional<std::string>& nearest) {
  constexpr size_t kShown = 64;  // Of a word that may be a line long.
  std::string message = "unknown " + what + " \"" + word.substr(0, kShown) + (word.size() > kShown ? "..." : "") + "\"";
  if (!nearest) return RequestError(code, message);
  return RequestError(code, message + "; did you mean " + *nearest + "?", {{"nearest", *nearest}});
}

}  // namespace kor::host
