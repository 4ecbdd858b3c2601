// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kor::wwan {

// The key of one wait's subscription: a small number, distinct from that of every other wait of the process and, being
// small, from every object's address. The wished number is taken when it is free, else the next one that is.
//
// Thread safety: keys may be made and destroyed on several threads.
class WaitKey {
 public:
  explicit WaitKey(uint32_t wished);
  ~WaitKey();
  WaitKey(const WaitKey&) = delete;
  WaitKey& operator=(const WaitKey&) = delete;

  // The number as the subscription table takes it.
  void* get() const;

 private:
  uint32_t number_;
};

}  // namespace kor::wwan
