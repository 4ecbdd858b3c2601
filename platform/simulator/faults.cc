// SPDX-License-Identifier: Apache-2.0
#include "simulator/faults.h"

#include <iterator>
#include <utility>

namespace kor::modem {

kor::Result Faults::Admit(const std::string& operation) {
  const std::string name = operation.substr(0, operation.find(' '));
  const size_t dot = name.find('.');
  const bool fetches_client = dot != std::string::npos;
  kor::util::MutexLock lock(mutex_);
  kor::Result result = TakeFailureLocked(name);
  if (result == kor::Result::kSuccess && fetches_client) result = TakeFailureLocked(name.substr(dot + 1));
  if (result == kor::Result::kSuccess && fetches_client) return result;
  record_.push_back(operation);
  if (record_.size() > kMaxRecord) record_.pop_front();
  return result;
}

kor::Result Faults::TakeFailureLocked(const std::string& name) {
  const auto found = failures_.find(name);
  if (found == failures_.end()) return kor::Result::kSuccess;
  if (found->second.good > 0) {
    --found->second.good;
    return kor::Result::kSuccess;
  }
  const kor::Result result = found->second.result;
  if (--found->second.count == 0) failures_.erase(found);
  return result;
}

void Faults::FailNext(const std::string& name, int count, kor::Result result, int good) {
  kor::util::MutexLock lock(mutex_);
  if (count > 0) {
    failures_[name] = {count, result, good};
  } else {
    failures_.erase(name);
  }
}

void Faults::Set(Kind kind, int count) {
  kor::util::MutexLock lock(mutex_);
  counts_[kind] = count;
}

bool Faults::Take(Kind kind) {
  kor::util::MutexLock lock(mutex_);
  if (counts_[kind] <= 0) return false;
  --counts_[kind];
  return true;
}

std::vector<std::string> Faults::TakeRecord() {
  kor::util::MutexLock lock(mutex_);
  std::vector<std::string> record(std::make_move_iterator(record_.begin()), std::make_move_iterator(record_.end()));
  record_.clear();
  return record;
}

}  // namespace kor::modem
