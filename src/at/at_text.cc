// SPDX-License-Identifier: Apache-2.0
#include "at/at_text.h"

namespace kor::wwan {

namespace {

constexpr char kCmeErrorPrefix[] = "+CME ERROR: ";
constexpr int32_t kCmeeNumbers = 1;  // The +CMEE modes that show an error.
constexpr int32_t kCmeeTexts = 2;

std::string ErrorText(int32_t cmee, AtManager::CmeeErrorCode code) {
  if (code == AtManager::CmeeErrorCode::kNone) return {};
  if (cmee == kCmeeNumbers) return kCmeErrorPrefix + std::to_string(static_cast<int32_t>(code)) + '\n';
  if (cmee == kCmeeTexts) return kCmeErrorPrefix + AtManager::GetCmeeErrorString(code) + '\n';
  return {};
}

void AppendParams(std::string& text, const std::vector<std::string>& params) {
  text += '=';
  for (size_t i = 0; i < params.size(); ++i) {
    if (i > 0) text += ',';
    text += params[i];
  }
}

}  // namespace

std::string CommandText(const AtManager::Command& cmd) {
  std::string text = "AT" + cmd.name;
  if (cmd.op == AtManager::kOpSet) AppendParams(text, cmd.params);
  if (cmd.op == AtManager::kOpTest) text += "=?";
  if (cmd.op == AtManager::kOpRead) text += '?';
  return text;
}

std::string ResponseText(const AtManager::Command& cmd, const AtManager::CmdResponse& resp) {
  if (!resp.result) return ErrorText(cmd.cmee, resp.cme_error);
  return resp.response.empty() ? std::string() : resp.response + '\n';
}

std::string AtManager::GetCmeeErrorString(CmeeErrorCode code) {
  switch (code) {
    case CmeeErrorCode::kPhoneFailure:
      return "phone failure";
    case CmeeErrorCode::kNoConnectionToPhone:
      return "no connection to phone";
    case CmeeErrorCode::kPhoneAdaptorLinkReserved:
      return "phone adaptor link reserved";
    case CmeeErrorCode::kOperationNotAllowed:
      return "operation not allowed";
    case CmeeErrorCode::kOperationNotSupported:
      return "operation not supported";
    case CmeeErrorCode::kInvalidIndex:
      return "invalid index";
    case CmeeErrorCode::kNoNetworkService:
      return "no network service";
    case CmeeErrorCode::kCallIndexError:
      return "Call index error";
    case CmeeErrorCode::kCallStateError:
      return "Call state error";
    case CmeeErrorCode::kNone:
      break;
  }
  return {};
}

}  // namespace kor::wwan
