// SPDX-License-Identifier: Apache-2.0
// The smallest of the utility library: an event's parameters, a number's text, a thread that is joined.
#include <charconv>
#include <system_error>
#include <utility>

#include "common/event_dic.h"
#include "common/lock_order.h"
#include "common/util/misc.h"
#include "common/util/thread.h"

namespace kor::util {

std::string EventDic::GetParam(Param key) {
  const auto it = params.find(key);
  return it == params.end() ? std::string() : it->second;
}

int Misc::StoiWithException(std::string text, bool& error) {
  int value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, code] = std::from_chars(text.data(), end, value);
  error = code != std::errc() || stop != end;
  return error ? 0 : value;
}

Thread& Thread::operator=(std::thread&& thread) {
  thread_ = std::move(thread);
  return *this;
}

void Thread::Join() {
  if (thread_.get_id() == std::this_thread::get_id()) lock_order::Refuse("a thread joins itself: do it on another one");
  if (thread_.joinable()) thread_.join();
}

}  // namespace kor::util
