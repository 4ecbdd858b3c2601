// SPDX-License-Identifier: Apache-2.0
#include "simulator/faults.h"

#include <iterator>
#include <utility>

namespace kor::modem {

using kor::util::MutexLock;

const char kOperationNames[] =
    "GetModelId SetSoftwareReady StartCall StopCall GetCalls GetCallConfig GetProfile GetProfiles RegisterAtNames "
    "AnswerAtCommand ShowAtText SetPinLock ChangePin VerifyPin UnblockPin GetPinStatus SetSimPower GetSmsRoutes "
    "SetSmsRoutes ModifySmsTags AcknowledgeSms StartScan GetSignalInfo GetErrorRate GetCellLocation GetSystemInfo";

bool IsOperation(const std::string& name) {
  const std::string all = std::string(" ") + kOperationNames + " ";
  return !name.empty() && name.find(' ') == std::string::npos && all.find(" " + name + " ") != std::string::npos;
}

bool Faults::FailNext(const std::string& name, int count, kor::Result result, int good) {
  if (!IsOperation(name)) return false;
  MutexLock lock(mutex_);
  if (count > 0) {
    failures_[name] = {count, result, good};
    ordered_ = true;
  } else {
    failures_.erase(name);
  }
  return true;
}

kor::Result Faults::TakeFailure(const std::string& name) {
  MutexLock lock(mutex_);
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

bool Faults::SetDelay(const std::string& name, Milliseconds delay) {
  if (!IsOperation(name)) return false;
  MutexLock lock(mutex_);
  delays_[name] = delay;
  ordered_ = true;
  return true;
}

void Faults::SetDelay(Milliseconds delay) {
  MutexLock lock(mutex_);
  delay_ = delay;
  ordered_ = true;
}

Faults::Milliseconds Faults::DelayOf(const std::string& name) {
  MutexLock lock(mutex_);
  const auto own = delays_.find(name);
  return own == delays_.end() ? delay_ : own->second;
}

void Faults::Set(Kind kind, int count) {
  MutexLock lock(mutex_);
  counts_[kind] = count;
}

bool Faults::Take(Kind kind) {
  MutexLock lock(mutex_);
  if (counts_[kind] <= 0) return false;
  --counts_[kind];
  return true;
}

void Faults::SetRecording(bool on) { recording_ = on; }

void Faults::Note(std::string operation) {
  MutexLock lock(mutex_);
  record_.push_back(std::move(operation));
  if (record_.size() > kMaxRecord) record_.pop_front();
}

std::vector<std::string> Faults::TakeRecord() {
  MutexLock lock(mutex_);
  std::vector<std::string> record(std::make_move_iterator(record_.begin()), std::make_move_iterator(record_.end()));
  record_.clear();
  return record;
}

}  // namespace kor::modem
