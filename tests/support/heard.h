// SPDX-License-Identifier: Apache-2.0
#pragma once

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

}  // namespace kor::test
