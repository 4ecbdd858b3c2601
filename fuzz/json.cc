// SPDX-License-Identifier: Apache-2.0
// The bytes of the host's socket: lines are cut out of them, and each is a request or an error that can be answered.
#include <cstdint>
#include <string>

#include "kwwand/json_rpc.h"
#include "kwwand/line_buffer.h"
#include "require.h"

namespace {

using kor::fuzz::Require;
using kor::host::Json;

// An answer is one line, and JSON.
void CheckAnswer(const std::string& answer, const Json& id) {
  Require(answer.find('\n') == answer.size() - 1, "an answer is one line");
  const Json json = Json::parse(answer, nullptr, false);
  Require(json.is_object() && json.contains("id"), "an answer is an object with an id");
  Require(!id.is_number() || json["id"] == id, "the answer finds its request");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  if (size == 0) return 0;
  const size_t piece = 1 + size_t{bytes[0]} * 4;  // The size of one read.
  std::string_view rest(reinterpret_cast<const char*>(bytes) + 1, size - 1);
  kor::host::LineBuffer lines;
  while (!rest.empty()) {
    lines.Append(rest.substr(0, piece));
    rest.remove_prefix(std::min(piece, rest.size()));
    while (const auto line = lines.Next()) {
      const kor::host::RpcRequest request = kor::host::ParseRequest(line->text);
      Require(request.params.is_object(), "parameters are an object");
      Require(request.id.is_null() || request.id.is_number_integer() || request.id.is_string(), "an id that is one");
      Require(request.error || !request.id.is_null(), "a request has an id");
      CheckAnswer(request.error ? kor::host::FormatError(request.id, *request.error)
                                : kor::host::FormatResult(request.id, request.params),
                  request.id);
    }
  }
  return 0;
}
