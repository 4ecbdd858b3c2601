// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/export.h"

namespace kor::vendor::qcom::qcmap {
class QcmapWrapper;
}

namespace kor::wwan {

// The mobile access point's LAN: the device's own address (the gateway of its clients), the DHCP server, VLANs and
// their PDNs, IP passthrough.
//
// The configuration lives in the modem's mobile-AP side; an object keeps no copy. The setters of single values read the
// whole LAN configuration, change their fields, write all of it back and activate it. A setter that fails half-way does
// not roll back: what was written stays recorded, not in force, until the next activation.
//
// Thread safety: every operation may be called from any thread and runs on it. Operations that change the LAN must not
// overlap, whatever objects of the process they are called on: each reads and later writes the whole configuration.
//
// Blocking: each operation makes up to three requests to the mobile-AP side and returns with their answers. Not from a
// callback of any manager. No operation throws, but for memory that runs out.
//
// Ownership: an object owns nothing; it holds no subscription. Objects may be created and destroyed on several threads.
//
// All addresses and masks are dotted IPv4 text.
//
//   kor::wwan::MobileapManager lan;
//   lan.SetGatewayIp("192.168.2.1");
//   lan.SetDhcpServerIpRange("192.168.2.100", "192.168.2.199");
class KOR_EXPORT MobileapManager {
 public:
  // The LAN as a whole.
  struct LanConfig {
    bool valid = false;         // Whether GetLanConfig() could read it; the rest means nothing when it could not.
    std::string gw;             // The device's own address on the LAN.
    std::string nm;             // Netmask of the LAN.
    bool enable_dhcp = false;   // Whether the DHCP server runs.
    std::string dhcp_start_ip;  // First and last address of its pool.
    std::string dhcp_end_ip;
    int32_t dhcp_lease_time = 0;  // In seconds. Passed through as 32 bits: the mobile-AP side reads them as unsigned.
  };

  // Where the frames of a VLAN travel. Numbered by this interface.
  enum class LanInterface : uint32_t {
    kEthernet = 0,
    kUsb = 1,  // Tethered host.
    kWlan = 2,
  };

  // One VLAN (IEEE 802.1Q) of the LAN.
  struct VlanConfig {
    LanInterface interface = LanInterface::kEthernet;  // Carried to and from the mobile-AP side; not looked at here.
    int32_t vlan_id = 0;                               // 1 to 4094.
    int32_t pdn = -1;  // Its PDN: the index of a policy (DataManager), 0 the default PDN's; negative: none.
  };

  // Which PDN serves a VLAN.
  struct VlanMapping {
    int32_t vlan_id = 0;
    int32_t pdn = 0;  // As in VlanConfig.
  };

  // How the LAN client that gets the WAN address itself is chosen. Numbered by this interface.
  enum class IpPassthroughMode : uint32_t {
    kFirstClient = 0,  // The first that asks for an address by DHCP; `target` is empty.
    kMacAddress = 1,   // The one of the MAC address in `target`, "02:00:5e:10:00:01".
    kHostName = 2,     // The one whose DHCP host name (option 12, RFC 2132) is `target`.
  };

  // IP passthrough: one client of the LAN has the default PDN's address instead of one of the LAN's.
  struct IpPassthroughConfig {
    IpPassthroughMode mode = IpPassthroughMode::kFirstClient;
    std::string target;
  };

  // Throws what the vendor's side throws when the modem cannot be reached.
  MobileapManager();
  ~MobileapManager();
  MobileapManager(const MobileapManager&) = delete;
  MobileapManager& operator=(const MobileapManager&) = delete;

  // -- The LAN: true when written and, where it is asked for or not said otherwise, in force -------------------------

  // What is recorded. It is in force once an activation has succeeded after it was written. `valid` is false when the
  // mobile-AP side does not answer.
  LanConfig GetLanConfig();

  // Writes everything at once; with `activate`, puts it into force. No value is checked here. False when the write is
  // refused (nothing is activated then) or the activation fails.
  bool SetLanConfig(std::string gw, std::string nm, bool enable_dhcp, std::string dhcp_start_ip,
                    std::string dhcp_end_ip, uint32_t dhcp_lease_time, bool activate);

  // The same from a record, whatever its `valid` says.
  bool SetLanConfig(LanConfig& config, bool activate);

  // Puts what is recorded into force.
  bool ActivateLan();

  // Changes the device's own address, and nothing else: netmask and pool stay, even where they no longer fit. False,
  // with nothing read or written, when `gw` is not an IPv4 address.
  bool SetGatewayIp(std::string gw);

  // -- The DHCP server: as above; false, with nothing written, when the LAN cannot be read or the pool is invalid -----

  // A pool is valid when it lies in the LAN's subnet (which is not smaller than a /30), its first address is not above
  // its last, and neither the subnet's own, its broadcast nor the gateway's address is in it.
  bool SetDhcpServerStartIp(std::string start);
  bool SetDhcpServerEndIp(std::string end);
  bool SetDhcpServerIpRange(std::string start, std::string end);

  // These check nothing.
  bool SetDhcpServerEnable(bool enable);
  bool SetDhcpServerLeaseTime(int lease_time);  // In seconds; see LanConfig.
  bool SetDhcpServerConfig(bool enable, std::string start, std::string end, int lease_time);

  // -- VLANs: true when every request was accepted -------------------------------------------------------------------

  // `enable`: creates or changes the VLAN, and maps it when its PDN is positive. A VLAN that was created stays when its
  // mapping is refused. The default PDN (0) cannot be mapped: an error in the log, false, and nothing is asked.
  // Otherwise removes the VLAN; its PDN is not looked at. The mobile-AP side may change `config`.
  bool SetVlanConfig(bool enable, VlanConfig& config);

  // All VLANs, each with the PDN it is mapped to. On false `configs` holds what the mobile-AP side left in it.
  bool GetVlanConfigs(std::vector<VlanConfig>& configs);

  // Maps a VLAN that exists, or ends its mapping. No check: the default PDN is for the mobile-AP side to refuse.
  bool SetPdnToVlanMapping(bool enable, VlanConfig& config);

  // -- IP passthrough: one request each ------------------------------------------------------------------------------

  // Switches it with these settings.
  bool SetIpPassthrough(bool enable, IpPassthroughConfig& config);
  bool GetIpPassthrough(bool& enabled, IpPassthroughConfig& config);

 private:
  KOR_HIDDEN bool WriteDhcpPool(LanConfig& config, const std::string& start, const std::string& end);

  kor::vendor::qcom::qcmap::QcmapWrapper* const qcmap_;  // Not owned.
};

}  // namespace kor::wwan
