// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "common/event_dic.h"

namespace kor::test {

// Who hears the events of a client: callbacks that leave their letter.
class Heard {
 public:
  auto By(char letter) {
    return [this, letter](kor::util::EventDic&) { letters_ += letter; };
  }

  // Publishes an event of the client's and returns the letters of those who heard it, sorted.
  template <typename Client>
  std::string Of() {
    letters_.clear();
    kor::util::EventDic ev;
    Client::GetInstance()->event_cbs.Notify(ev);
    std::sort(letters_.begin(), letters_.end());
    return letters_;
  }

 private:
  std::string letters_;
};

// A manager's latest callback hears the events of each of its one or two clients until it is taken back or the manager
// goes.
template <typename Manager, typename... Clients>
void ExpectEventsUntilUnset() {
  Heard heard;
  const auto publish = [&] { return (heard.Of<Clients>() + ...); };
  const std::string both = sizeof...(Clients) == 1 ? "ab" : "abab";
  Manager manager;
  manager.UnsetEventCb();  // Without a subscription it changes nothing.
  manager.SetEventCb(heard.By('x'));
  manager.SetEventCb(heard.By('a'));
  {
    Manager other;
    other.SetEventCb(heard.By('b'));
    EXPECT_EQ(both, publish());
  }
  EXPECT_EQ(std::string(sizeof...(Clients), 'a'), publish());
  manager.UnsetEventCb();
  EXPECT_EQ("", publish());
}

}  // namespace kor::test
