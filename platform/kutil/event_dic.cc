// SPDX-License-Identifier: Apache-2.0
#include "common/event_dic.h"

namespace kor::util {

std::string EventDic::GetParam(Param key) {
  const auto it = params.find(key);
  return it == params.end() ? std::string() : it->second;
}

}  // namespace kor::util
