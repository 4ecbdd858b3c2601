// SPDX-License-Identifier: Apache-2.0
// A line of the host's socket, whatever it holds: it is a request, or an error that can be answered.
#include <cstdint>
#include <string>

#include "kwwand/wire/json_rpc.h"
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

// One line, as "lines" has seen to it that it comes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const kor::host::RpcRequest request = kor::host::ParseRequest({reinterpret_cast<const char*>(bytes), size});
  Require(request.params.is_object(), "parameters are an object");
  Require(request.id.is_null() || request.id.is_number_integer() || request.id.is_string(), "an id that is one");
  Require(request.error || !request.id.is_null(), "a request has an id");
  CheckAnswer(request.error ? kor::host::FormatError(request.id, *request.error)
                            : kor::host::FormatResult(request.id, request.params),
              request.id);
  return 0;
}
