// SPDX-License-Identifier: Apache-2.0
#include "common/event_cb_map.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace kor::util {
namespace {

void* Key(uintptr_t number) { return reinterpret_cast<void*>(number); }

class EventCbMapTest : public testing::Test {
 protected:
  EventCbMap::Callback Note(char name) {
    return [this, name](EventDic& ev) {
      called_ += name;
      last_event_ = ev.event;
    };
  }

  // The subscribers that one event reaches, in order.
  std::string Notify(uint32_t event = 0x1234) {
    called_.clear();
    EventDic ev;
    ev.event = event;
    table_.Notify(ev);
    return called_;
  }

  EventCbMap table_;
  std::string called_;
  uint32_t last_event_ = 0;
};

TEST_F(EventCbMapTest, CallsEachKeysLatestCallbackInKeyOrder) {
  EXPECT_EQ("", Notify());
  table_.Add(Key(0x7000), Note('c'));
  table_.Add(nullptr, Note('a'));
  table_.Add(Key(1), Note('b'));
  EXPECT_EQ("abc", Notify(0xabcd));
  EXPECT_EQ(0xabcdu, last_event_);  // A code that means nothing here passes unchanged.

  // The same key again replaces; an empty callback is kept but not called.
  table_.Add(Key(1), Note('B'));
  EXPECT_EQ("aBc", Notify());
  table_.Add(nullptr, nullptr);
  EXPECT_EQ("Bc", Notify());

  // Unknown keys are no error; removed ones are not called.
  table_.Remove(Key(99));
  table_.Remove(Key(1));
  table_.Remove(Key(1));
  EXPECT_EQ("c", Notify());
}

TEST_F(EventCbMapTest, ACallbackThatThrowsKeepsTheEventFromNobody) {
  table_.Add(Key(1), [](EventDic&) { throw std::runtime_error("subscriber"); });
  table_.Add(Key(2), Note('b'));
  table_.Add(Key(3), [](EventDic&) { throw 3; });
  table_.Add(Key(4), Note('d'));
  EXPECT_EQ("bd", Notify());

  // Nor is the table locked after it.
  table_.Remove(Key(1));
  EXPECT_EQ("bd", Notify());
}

}  // namespace
}  // namespace kor::util
