// SPDX-License-Identifier: Apache-2.0
// Every enumeration of the library as the words of the JSON interface, and its results as clauses.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "common/ip_family.h"
#include "common/result.h"
#include "wwan/data_manager.h"
#include "wwan/mobileap_manager.h"
#include "wwan/network_manager.h"
#include "wwan/sms_manager.h"

namespace kor::host {

template <typename E>
struct Word {
  E value;
  std::string_view text;
};

// The word for a value; "unknown" for one that has none.
template <typename E, size_t kCount>
std::string TextOf(const Word<E> (&words)[kCount], E value) {
  for (const Word<E>& word : words) {
    if (word.value == value) return std::string(word.text);
  }
  return "unknown";
}

using kor::util::IPFamily;
using ConnectStatus = kor::wwan::DataManager::ConnectStatus;
using ProfileType = kor::wwan::DataManager::ProfileType;
using PdpType = kor::wwan::DataManager::PdpType;
using Authentication = kor::wwan::DataManager::Authentication;
using RadioInterface = kor::wwan::NetworkManager::RadioInterface;
using NetworkStatus = kor::wwan::NetworkManager::NetworkStatus;
using Registration = kor::wwan::NetworkManager::Registration;
using LanInterface = kor::wwan::MobileapManager::LanInterface;
using PassthroughMode = kor::wwan::MobileapManager::IpPassthroughMode;
using MessageClass = kor::wwan::SmsManager::MessageClass;
using MessageStorage = kor::wwan::SmsManager::MessageStorage;
using ReceiptAction = kor::wwan::SmsManager::ReceiptAction;

inline constexpr Word<IPFamily> kCallFamilies[] = {{IPFamily::kIpv4, "ipv4"}, {IPFamily::kIpv6, "ipv6"}};

inline constexpr Word<IPFamily> kFamilies[] = {
    {IPFamily::kIpv4, "ipv4"}, {IPFamily::kIpv6, "ipv6"}, {IPFamily::kBoth, "ipv4v6"}};

inline constexpr Word<ConnectStatus> kStates[] = {{ConnectStatus::kNone, "waiting"},
                                                  {ConnectStatus::kConnecting, "connecting"},
                                                  {ConnectStatus::kConnected, "connected"},
                                                  {ConnectStatus::kDisconnecting, "disconnecting"},
                                                  {ConnectStatus::kDisconnected, "disconnected"}};

inline constexpr Word<ProfileType> kProfileTypes[] = {
    {ProfileType::k3gpp, "3gpp"}, {ProfileType::k3gpp2, "3gpp2"}, {ProfileType::kEpc, "epc"}};

inline constexpr Word<PdpType> kPdpTypes[] = {
    {PdpType::kIpv4, "ipv4"}, {PdpType::kPpp, "ppp"}, {PdpType::kIpv6, "ipv6"}, {PdpType::kIpv4v6, "ipv4v6"}};

inline constexpr Word<Authentication> kAuthentications[] = {{Authentication::kNone, "none"},
                                                            {Authentication::kPap, "pap"},
                                                            {Authentication::kChap, "chap"},
                                                            {Authentication::kPapOrChap, "pap-or-chap"}};

inline constexpr Word<RadioInterface> kRadios[] = {{RadioInterface::kNone, "none"},
                                                   {RadioInterface::kGsm, "gsm"},
                                                   {RadioInterface::kUmts, "umts"},
                                                   {RadioInterface::kLte, "lte"},
                                                   {RadioInterface::kNr5g, "nr5g"}};

inline constexpr Word<NetworkStatus> kNetworkStatuses[] = {{NetworkStatus::kUnknown, "unknown"},
                                                           {NetworkStatus::kAvailable, "available"},
                                                           {NetworkStatus::kCurrent, "current"},
                                                           {NetworkStatus::kForbidden, "forbidden"}};

inline constexpr Word<Registration> kRegistrations[] = {{Registration::kNotRegistered, "not registered"},
                                                        {Registration::kRegistered, "registered"},
                                                        {Registration::kSearching, "searching"},
                                                        {Registration::kDenied, "denied"},
                                                        {Registration::kUnknown, "unknown"}};

inline constexpr Word<LanInterface> kLanInterfaces[] = {
    {LanInterface::kEthernet, "ethernet"}, {LanInterface::kUsb, "usb"}, {LanInterface::kWlan, "wlan"}};

inline constexpr Word<PassthroughMode> kPassthroughModes[] = {{PassthroughMode::kFirstClient, "first-client"},
                                                              {PassthroughMode::kMacAddress, "mac-address"},
                                                              {PassthroughMode::kHostName, "host-name"}};

inline constexpr Word<MessageClass> kMessageClasses[] = {
    {MessageClass::kClass0, "class 0"}, {MessageClass::kClass1, "class 1"}, {MessageClass::kClass2, "class 2"},
    {MessageClass::kClass3, "class 3"}, {MessageClass::kNone, "none"},      {MessageClass::kCdma, "cdma"}};

inline constexpr Word<MessageStorage> kMessageStorages[] = {
    {MessageStorage::kSim, "sim"}, {MessageStorage::kDevice, "device"}, {MessageStorage::kNone, "none"}};

inline constexpr Word<ReceiptAction> kReceiptActions[] = {{ReceiptAction::kDiscard, "discard"},
                                                          {ReceiptAction::kStoreAndNotify, "store-and-notify"},
                                                          {ReceiptAction::kTransferOnly, "transfer-only"},
                                                          {ReceiptAction::kTransferAndAck, "transfer-and-ack"}};

// A set of technologies: "any", "umts", "lte", "nr5g", or some of the last three joined with '+'.
std::string TechnologyText(kor::wwan::Tech technology);
std::optional<kor::wwan::Tech> ParseTechnology(std::string_view text);

// What a result of the library means, as a clause: "the PIN is wrong".
std::string ResultText(kor::Result result);

// Throws RequestError with the result's code unless it is kSuccess: "WHAT: the PIN is wrong", or the clause alone when
// `what` is empty.
void Check(kor::Result result, const std::string& what);

// The same for operations that only tell whether they were done (kFailure).
void Check(bool done, const std::string& what);

}  // namespace kor::host
