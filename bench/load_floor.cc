// SPDX-License-Identifier: Apache-2.0
// The least that a C++ library can be: what load_probe compares with.
#include <string>

#include "common/export.h"

namespace kor::bench {

class KOR_EXPORT Floor {
 public:
  explicit Floor(const std::string& text);
  const std::string& text() const;

 private:
  std::string text_;
};

Floor::Floor(const std::string& text) : text_(text) {}
const std::string& Floor::text() const { return text_; }

}  // namespace kor::bench
