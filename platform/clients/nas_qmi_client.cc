// SPDX-License-Identifier: Apache-2.0
#include "common/vendor/nas_qmi_client.h"

#include <chrono>
#include <memory>
#include <utility>

#include "clients/over_port.h"
#include "common/catch_all.h"
#include "common/condition.h"
#include "common/log.h"
#include "common/mutex.h"
#include "common/vendor/lock_ranks.h"

namespace kor::vendor::qcom::qmi {

namespace {

using kor::modem::ModemPort;

void Begin(NasQmiClient& client, ModemPort& port) {
  port.SetRadioReport([&client](kor::util::EventDic& ev) { client.event_cbs.Notify(ev); });
}

template <typename Record>
using Callback = std::function<void(Record&, void*)>;

// On the modem's thread, which a callback that throws does not end.
template <typename Record>
void CallBack(const char* query, const Callback<Record>& callback, Record& record, void* user_data) {
  if (!callback) return;
  kor::util::CatchAll([&] { callback(record, user_data); },
                      [&](const char* text) { KOR_LOG(LOG_ERR, "the callback of %s threw: %s\n", query, text); });
}

template <typename Record>
bool Query(ModemPort& port, const char* name, kor::Result (ModemPort::*ask)(ModemPort::Answer<Record>),
           Callback<Record> callback, void* user_data) {
  const auto answer = [name, callback = std::move(callback), user_data](Record& record) {
    CallBack(name, callback, record, user_data);
  };
  return (port.*ask)(answer) == kor::Result::kSuccess;
}

// Where a caller waits for its answer; both sides hold it, so that either may leave first.
class Waiter {
 public:
  void Put(const NasQmiClient::CellLocationInfo& info) KOR_EXCLUDES(mutex_) {
    kor::util::MutexLock lock(mutex_);
    info_ = info;
    answered_ = true;
    cond_.Signal();
  }

  // False when none comes, or one without figures.
  bool Take(NasQmiClient::CellLocationInfo& info) KOR_EXCLUDES(mutex_) {
    // The port answers in time; an answer that is lost hangs nobody.
    constexpr int64_t kLimitUs = std::chrono::microseconds(ModemPort::kRoundTripLimit).count();
    kor::util::MutexLock lock(mutex_);
    while (!answered_) {
      if (cond_.WaitUntil(mutex_, kLimitUs) == kor::Result::kTimeout) return false;
    }
    if (info_.result != kor::Result::kSuccess) return false;
    info = std::move(info_);
    return true;
  }

 private:
  kor::util::Mutex mutex_{rank::kQueryAnswer};
  kor::util::Condition cond_;  // Signalled with the answer; there is one waiter.
  bool answered_ KOR_GUARDED_BY(mutex_) = false;
  NasQmiClient::CellLocationInfo info_ KOR_GUARDED_BY(mutex_);
};

}  // namespace

NasQmiClient* NasQmiClient::GetInstance() { return OnlyClient<NasQmiClient>(Begin); }

bool NasQmiClient::StartScanAsync(std::function<void(ScanResult&, void*)> callback, void* user_data) {
  return Query(PortOf(this), "StartScanAsync", &ModemPort::StartScan, std::move(callback), user_data);
}

bool NasQmiClient::GetSignalInfoAsync(std::function<void(SignalInfo&, void*)> callback, void* user_data) {
  return Query(PortOf(this), "GetSignalInfoAsync", &ModemPort::GetSignalInfo, std::move(callback), user_data);
}

bool NasQmiClient::GetErrorRateAsync(std::function<void(ErrorRate&, void*)> callback, void* user_data) {
  return Query(PortOf(this), "GetErrorRateAsync", &ModemPort::GetErrorRate, std::move(callback), user_data);
}

bool NasQmiClient::GetCellLocationAsync(std::function<void(CellLocationInfo&, void*)> callback, void* user_data) {
  return Query(PortOf(this), "GetCellLocationAsync", &ModemPort::GetCellLocation, std::move(callback), user_data);
}

bool NasQmiClient::GetSystemInfoAsync(std::function<void(SystemInfo&, void*)> callback, void* user_data) {
  return Query(PortOf(this), "GetSystemInfoAsync", &ModemPort::GetSystemInfo, std::move(callback), user_data);
}

bool NasQmiClient::GetCellLocation(CellLocationInfo& info) {
  const auto waiter = std::make_shared<Waiter>();
  const auto put = [waiter](CellLocationInfo& answer) { waiter->Put(answer); };
  return PortOf(this).GetCellLocation(put) == kor::Result::kSuccess && waiter->Take(info);
}

}  // namespace kor::vendor::qcom::qmi
