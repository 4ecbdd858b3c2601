// SPDX-License-Identifier: Apache-2.0
// The lines of the socket: JSON-RPC 2.0, one object a line. Pure text; nothing here reads or writes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "kwwand/wire/method.h"

namespace kor::host {

// A request as it came, or what is wrong with it.
struct RpcRequest {
  Json id;  // Null when it could not be read.
  std::string method;
  Json params = Json::object();
  std::optional<RequestError> error;
};

// What nests deeper than 16 or has more than 256 members is refused: no method takes it, and to take it apart would
// keep the others waiting.
RpcRequest ParseRequest(std::string_view line);

// Each ends with '\n'. Bytes that are no UTF-8, in a text from a modem, become U+FFFD.
std::string FormatResult(const Json& id, const Json& result);
std::string FormatError(const Json& id, const RequestError& error);
std::string FormatNotification(const char* method, const Json& params);

// "unknown method "call.upp"; did you mean call.up?", with data.nearest when `nearest` is not empty.
RequestError NotKnown(int code, const std::string& what, const std::string& word,
                      const std::optional<std::string>& nearest);

}  // namespace kor::host
