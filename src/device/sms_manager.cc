// SPDX-License-Identifier: Apache-2.0
#include "wwan/sms_manager.h"

#include <utility>

#include "common/vendor/wms_qmi_client.h"

namespace kor::wwan {

SmsManager::SmsManager() : wms_(kor::vendor::qcom::qmi::WmsQmiClient::GetInstance()) {}

SmsManager::~SmsManager() {}  // The subscription stays: ending it is the client's.

kor::Result SmsManager::GetRouteList(std::list<RouteInfo>& routes) { return wms_->GetRouteList(routes); }

kor::Result SmsManager::SetRouteList(std::list<RouteInfo>& routes) { return wms_->SetRouteList(routes); }

kor::Result SmsManager::GetStorageStatus(MessageStorage /*storage*/, MessageMode /*mode*/,
                                         MessageStorageStatus& /*status*/) {
  return kor::Result::kNotSupported;  // The client has no operation for it.
}

kor::Result SmsManager::ModifyTagAsync() { return wms_->ModifyTagAsync(); }

void SmsManager::SetEventCb(std::function<void(kor::util::EventDic&)> cb) { wms_->event_cbs.Add(this, std::move(cb)); }

void SmsManager::UnsetEventCb() { wms_->event_cbs.Remove(this); }

}  // namespace kor::wwan
