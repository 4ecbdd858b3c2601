// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <list>

#include "common/event_dic.h"
#include "common/export.h"
#include "common/result.h"

namespace kor::vendor::qcom::qmi {
class WmsQmiClient;
}

namespace kor::wwan {

// Short messages: where the modem puts those that arrive, and its events about them.
//
// Each operation is one request to the modem and blocks until it has answered.
//
// Thread safety: all operations may be called from any thread; SetEventCb and UnsetEventCb not from an event callback.
//
// Callbacks run on the modem's event thread with the publisher's table locked: a callback must not call SetEventCb or
// UnsetEventCb of any object, and should be short.
//
// Ownership: an object owns nothing. Its subscription outlives it: UnsetEventCb is called before it is destroyed.
class KOR_EXPORT SmsManager {
 public:
  // Where messages are kept, as QMI WMS numbers it.
  enum class MessageStorage : uint32_t {
    kSim = 0,     // The SIM card (UIM).
    kDevice = 1,  // The modem's own memory (NV).
    kNone = 255,  // Nowhere.
  };

  // Whose messages, as QMI WMS numbers it.
  enum class MessageMode : uint32_t {
    kCdma = 0,
    kGsmWcdma = 1,  // 3GPP, LTE and 5G included.
  };

  // Message classes (3GPP TS 23.038), as QMI WMS numbers them.
  enum class MessageClass : uint32_t {
    kClass0 = 0,  // For display at once.
    kClass1 = 1,  // For the device.
    kClass2 = 2,  // For the SIM card.
    kClass3 = 3,  // For the terminal equipment.
    kNone = 4,
    kCdma = 5,
  };

  // What the modem does with a message that arrives, as QMI WMS numbers it.
  enum class ReceiptAction : uint32_t {
    kDiscard = 0,
    kStoreAndNotify = 1,  // Keeps it in the route's storage and reports it as an event.
    kTransferOnly = 2,    // Reports it with its text; the client acknowledges it to the network.
    kTransferAndAck = 3,  // Reports it with its text and acknowledges it itself.
    kUnknown = 255,
  };

  // The route of one class of point-to-point messages.
  struct RouteInfo {
    MessageClass message_class = MessageClass::kNone;
    MessageStorage storage = MessageStorage::kNone;
    ReceiptAction action = ReceiptAction::kTransferAndAck;
  };

  // How full a storage is, in messages.
  struct MessageStorageStatus {
    uint32_t capacity = 0;
    uint32_t used = 0;
  };

  // Throws what the vendor's side throws when the modem cannot be reached.
  SmsManager();
  ~SmsManager();
  SmsManager(const SmsManager&) = delete;
  SmsManager& operator=(const SmsManager&) = delete;

  // The modem's routes, one for each class it knows. kSuccess when `routes` is filled.
  [[nodiscard]] kor::Result GetRouteList(std::list<RouteInfo>& routes);

  // Changes the routes of the classes in `routes`; the others stay. The modem takes all of them or, unless the result
  // is kSuccess, none.
  [[nodiscard]] kor::Result SetRouteList(std::list<RouteInfo>& routes);

  // Always kNotSupported, `status` is left alone.
  [[nodiscard]] kor::Result GetStorageStatus(MessageStorage storage, MessageMode mode, MessageStorageStatus& status);

  // Asks the modem to bring the tags (read, unread) of the messages it keeps up to date. kSuccess when it took the
  // request; what comes of it is told by events.
  [[nodiscard]] kor::Result ModifyTagAsync();

  // From now on calls `cb` with every SMS event, in the modem side's own codes and parameters. A second call replaces
  // the callback.
  void SetEventCb(std::function<void(kor::util::EventDic&)> cb);

  // Ends that. Once it has returned, the callback is not running and never runs again. The destructor does not do it.
  void UnsetEventCb();

 private:
  kor::vendor::qcom::qmi::WmsQmiClient* const wms_;  // Not owned.
};

}  // namespace kor::wwan
