// SPDX-License-Identifier: Apache-2.0
#include "device_story.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <future>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "modem/sim_modem.h"
#include "observe.h"
#include "require.h"
#include "wwan/data_manager.h"
#include "wwan/device_manager.h"
#include "wwan/mobileap_manager.h"
#include "wwan/network_manager.h"
#include "wwan/sim_manager.h"
#include "wwan/sms_manager.h"

namespace kor::demo {

namespace {

using kor::modem::SimModem;
using kor::util::EventDic;
using kor::wwan::DataManager;
using kor::wwan::DeviceManager;
using kor::wwan::MobileapManager;
using kor::wwan::NetworkManager;
using kor::wwan::SimManager;
using kor::wwan::SmsManager;

constexpr std::chrono::seconds kAnswerLimit{5};
constexpr char kGateway[] = "192.168.2.1";
constexpr char kPoolStart[] = "192.168.2.100";
constexpr char kPoolEnd[] = "192.168.2.199";
constexpr int32_t kVlan = 20;
constexpr int32_t kVlanPdn = 1;  // The index of the second policy.
constexpr int kSlot = 1;
constexpr int kPin1 = 1;
constexpr char kRightPin[] = "1234";
constexpr char kWrongPin[] = "0000";

std::string Hex(kor::Result result) {
  char text[16];
  snprintf(text, sizeof(text), "0x%x", static_cast<unsigned>(result));
  return text;
}

const char* Name(NetworkManager::RadioInterface radio) {
  switch (radio) {
    case NetworkManager::RadioInterface::kNone:
      return "none";
    case NetworkManager::RadioInterface::kGsm:
      return "GSM";
    case NetworkManager::RadioInterface::kUmts:
      return "UMTS";
    case NetworkManager::RadioInterface::kLte:
      return "LTE";
    case NetworkManager::RadioInterface::kNr5g:
      return "5G";
  }
  return "?";
}

const char* Name(NetworkManager::NetworkStatus status) {
  switch (status) {
    case NetworkManager::NetworkStatus::kUnknown:
      return "unknown";
    case NetworkManager::NetworkStatus::kAvailable:
      return "available";
    case NetworkManager::NetworkStatus::kCurrent:
      return "current";
    case NetworkManager::NetworkStatus::kForbidden:
      return "forbidden";
  }
  return "?";
}

const char* Name(SmsManager::MessageStorage storage) {
  switch (storage) {
    case SmsManager::MessageStorage::kSim:
      return "SIM";
    case SmsManager::MessageStorage::kDevice:
      return "device";
    case SmsManager::MessageStorage::kNone:
      return "nowhere";
  }
  return "?";
}

std::string TableLine(const NetworkManager::ScanEntry& entry) {
  char line[80];
  snprintf(line, sizeof(line), "\n%-3s %-3s  %-14s  %-4s  %s", entry.mcc.c_str(), entry.mnc.c_str(), entry.name.c_str(),
           Name(entry.radio), Name(entry.status));
  return line;
}

// What comes of `future` in time.
template <typename Value>
Value Await(std::future<Value> future, const char* what) {
  Require(future.wait_for(kAnswerLimit) == std::future_status::ready, std::string("no ") + what + " within 5 s");
  return future.get();
}

class DeviceStory {
 public:
  explicit DeviceStory(Narrator& story) : story_(story) {}

  void TellLan() {
    SetGateway();
    SetPool();
    MapVlan();
    RemoveVlan();
  }

  void TellModem() {
    Scan();
    ShowSignal();
    LockSim();
    RestartSim();
    UnlockSim();
    RouteMessages();
  }

 private:
  // The same LAN with another address and a pool in it: the gateway's setter leaves the pool alone.
  void SetGateway() {
    story_.Begin("LAN, out of the box");
    const MobileapManager::LanConfig before = lan_.GetLanConfig();
    Require(before.valid, "the LAN cannot be read");
    story_.Done(before.gw + ", " + before.nm);
    story_.Begin("SetGatewayIp(192.168.2.300)");
    Require(!lan_.SetGatewayIp("192.168.2.300"), "it was taken");
    story_.Done("refused");
    story_.Begin(std::string("SetGatewayIp(") + kGateway + ")");
    Require(lan_.SetGatewayIp(kGateway), "it returned false");
    const MobileapManager::LanConfig after = lan_.GetLanConfig();
    Require(after.valid && after.gw == kGateway && after.nm == before.nm, "read back: " + after.gw + ", " + after.nm);
    story_.Done("read back " + after.gw);
  }

  void SetPool() {
    story_.Begin("DHCP pool 10.0.0.2-9");
    Require(!lan_.SetDhcpServerIpRange("10.0.0.2", "10.0.0.9"), "a pool outside the subnet was taken");
    story_.Done("refused");
    story_.Begin("DHCP pool 192.168.2.100-199");
    Require(lan_.SetDhcpServerIpRange(kPoolStart, kPoolEnd), "it was refused");
    const MobileapManager::LanConfig read = lan_.GetLanConfig();
    const std::string pool = read.dhcp_start_ip + "-" + read.dhcp_end_ip;
    Require(read.valid && pool == std::string(kPoolStart) + "-" + kPoolEnd, "read back: " + pool);
    story_.Done("read back " + pool);
    story_.Begin("modem: LAN in force");
    const std::string in_force = SimModem::Get().LanInForce();
    Require(in_force.rfind(std::string(kGateway) + " " + read.nm + " " + pool, 0) == 0, "it has: " + in_force);
    story_.Done("the same");
  }

  void MapVlan() {
    const std::string vlan = "VLAN " + std::to_string(kVlan);
    MobileapManager::VlanConfig config{MobileapManager::LanInterface::kEthernet, kVlan, 0};
    story_.Begin(vlan + " to PDN 0, the default");
    Require(!lan_.SetVlanConfig(true, config), "it was taken");
    story_.Done("refused");
    story_.Begin(vlan + " to a new PDN");
    Require(data_.CreatePdn(kor::wwan::Tech::kAny, kor::util::IPFamily::kBoth, 2, 2), "there can be no second PDN");
    config.pdn = kVlanPdn;
    Require(lan_.SetVlanConfig(true, config), "it was refused");
    const std::vector<MobileapManager::VlanConfig> read = Vlans();
    Require(read.size() == 1 && read[0].vlan_id == kVlan && read[0].pdn == kVlanPdn, "it is not what is read back");
    story_.Done("read back " + vlan + " on PDN " + std::to_string(read[0].pdn));
  }

  void RemoveVlan() {
    MobileapManager::VlanConfig config{MobileapManager::LanInterface::kEthernet, kVlan, kVlanPdn};
    story_.Begin("VLAN and PDN removed");
    Require(lan_.SetVlanConfig(false, config) && data_.DeletePdn(kVlanPdn), "it was refused");
    Require(Vlans().empty(), "the VLAN is still there");
    story_.Done("none left");
  }

  std::vector<MobileapManager::VlanConfig> Vlans() {
    std::vector<MobileapManager::VlanConfig> vlans;
    Require(lan_.GetVlanConfigs(vlans), "the VLANs cannot be read");
    return vlans;
  }

  // The record that answers an asynchronous query. A late answer still finds its promise.
  template <typename Record>
  Record Ask(bool (NetworkManager::*query)(std::function<void(Record&, void*)>, void*)) {
    const auto promise = std::make_shared<std::promise<Record>>();
    Require((radio_.*query)([promise](Record& record, void*) { promise->set_value(record); }, nullptr),
            "the modem did not take the request");
    Record record = Await(promise->get_future(), "answer");
    Require(record.result == kor::Result::kSuccess, "the modem answers " + Hex(record.result));
    return record;
  }

  void Scan() {
    story_.Begin("StartScanAsync()");
    const NetworkManager::ScanResult scan = Ask(&NetworkManager::StartScanAsync);
    std::string table = std::to_string(scan.networks.size()) + " networks heard";
    for (const auto& entry : scan.networks) table += TableLine(entry);
    const bool served = std::any_of(scan.networks.begin(), scan.networks.end(), [](const auto& entry) {
      return entry.status == NetworkManager::NetworkStatus::kCurrent;
    });
    Require(served, "none of them is the current one");
    story_.Done(table);
  }

  void ShowSignal() {
    story_.Begin("GetSignalInfoAsync()");
    const NetworkManager::SignalInfo signal = Ask(&NetworkManager::GetSignalInfoAsync);
    Require(signal.lte.has_value(), "there is no LTE");
    const NetworkManager::LteSignal& lte = *signal.lte;
    Require(lte.rsrp < 0 && lte.rsrp < lte.rssi, "RSRP " + std::to_string(lte.rsrp) + " dBm is none");
    char text[80];
    snprintf(text, sizeof(text), "LTE: RSRP %d dBm, RSRQ %d dB\nRSSI %d dBm, SNR %.1f dB", lte.rsrp, lte.rsrq, lte.rssi,
             lte.snr / 10.0);
    story_.Done(text);
  }

  void SetLock(const char* what, bool enable, const char* pin, kor::Result expected, const char* outcome) {
    story_.Begin(what);
    const kor::Result result = device_.SetPinLock(kPin1, enable, pin);
    Require(result == expected, "result " + Hex(result) + " instead of " + Hex(expected));
    story_.Done(outcome);
  }

  void CheckPin(kor::Result expected, const char* meaning) {
    story_.Begin("  PIN status");
    const kor::Result status = device_.GetPinStatus();
    Require(status == expected, Hex(status) + " instead of " + Hex(expected));
    story_.Done(std::string(meaning) + " (" + Hex(status) + ")");
  }

  void LockSim() {
    CheckPin(DeviceManager::kPinDisabled, "lock off");
    SetLock("PIN lock on", true, kRightPin, kor::Result::kSuccess, "done");
    CheckPin(DeviceManager::kPinVerified, "lock on, PIN given");
  }

  void RestartSim() {
    story_.Begin("SIM power off and on");
    Require(sim_.TurnOffPower(kSlot) == kor::Result::kSuccess, "the power stays on");
    Require(device_.GetPinStatus() == DeviceManager::kSimNotReady, "the card answers without power");
    Require(sim_.TurnOnPower(kSlot) == kor::Result::kSuccess, "the power stays off");
    Require(Eventually([&] { return device_.GetPinStatus() != DeviceManager::kSimNotReady; }),
            "the card did not start");
    story_.Done("ready again");
    CheckPin(DeviceManager::kPinNotVerified, "PIN wanted");
  }

  void UnlockSim() {
    SetLock("wrong PIN", true, kWrongPin, DeviceManager::kPinIncorrect, "refused (0x10c)");
    CheckPin(DeviceManager::kPinNotVerified, "PIN wanted");
    SetLock("right PIN", true, kRightPin, kor::Result::kSuccess, "taken");
    CheckPin(DeviceManager::kPinVerified, "lock on, PIN given");
    SetLock("PIN lock off", false, kRightPin, kor::Result::kSuccess, "done");
    CheckPin(DeviceManager::kPinDisabled, "lock off");
  }

  // Where messages for the SIM card (class 2) are kept.
  SmsManager::MessageStorage StorageOfClass2() {
    std::list<SmsManager::RouteInfo> routes;
    const kor::Result result = sms_.GetRouteList(routes);
    Require(result == kor::Result::kSuccess, "result " + Hex(result));
    const auto route = std::find_if(routes.begin(), routes.end(), [](const SmsManager::RouteInfo& info) {
      return info.message_class == SmsManager::MessageClass::kClass2;
    });
    Require(route != routes.end(), "class 2 has no route");
    return route->storage;
  }

  void RouteMessages() {
    story_.Begin("SMS route of class 2");
    const SmsManager::MessageStorage before = StorageOfClass2();
    Require(before == SmsManager::MessageStorage::kSim, std::string("it leads to: ") + Name(before));
    story_.Done(Name(before));
    std::list<SmsManager::RouteInfo> routes{{SmsManager::MessageClass::kClass2, SmsManager::MessageStorage::kDevice,
                                             SmsManager::ReceiptAction::kStoreAndNotify}};
    story_.Begin("SetRouteList(class 2: device)");
    const kor::Result result = sms_.SetRouteList(routes);
    Require(result == kor::Result::kSuccess, "result " + Hex(result));
    const SmsManager::MessageStorage after = StorageOfClass2();
    Require(after == SmsManager::MessageStorage::kDevice, std::string("read back: ") + Name(after));
    story_.Done(std::string("read back ") + Name(after));
    ReceiveMessage();
  }

  void ReceiveMessage() {
    const auto stored = std::make_shared<std::promise<EventDic>>();
    sms_.SetEventCb([stored](EventDic& event) { stored->set_value(event); });
    story_.Begin("a message of class 2 arrives");
    Require(SimModem::Get().ReceiveSms(SmsManager::MessageClass::kClass2, "+15550100", "hello"), "no service");
    EventDic event = Await(stored->get_future(), "event");
    sms_.UnsetEventCb();
    Require(event.event == kor::modem::kEvtSmsStored && event.params[kor::modem::kParamSmsStorage] == "1",
            "it was not stored in the device");
    story_.Done("stored in the device (0x511)");
  }

  Narrator& story_;
  DataManager data_;
  MobileapManager lan_;
  NetworkManager radio_;
  DeviceManager device_;
  SimManager sim_;
  SmsManager sms_;
};

}  // namespace

void TellDevice(Narrator& story) {
  DeviceStory device(story);
  story.Chapter("The LAN: its address, its pool, a VLAN on a PDN of its own");
  device.TellLan();
  story.Chapter("The modem: what it hears, the SIM's lock, short messages");
  device.TellModem();
}

}  // namespace kor::demo
