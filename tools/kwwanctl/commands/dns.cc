// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/commands.h"
#include "kwwanctl/screens.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {

void AddDns(CLI::App& app, Context& context) {
  AddObject(app, context, "dns", "The DNS service: the forwarder on 127.0.0.1 and its servers.",
            {{"show", "The service and its servers.", {}, {}, "dns.show", DnsText},
             {"start", "Starts it.", {}, {}, "dns.start", DnsText},
             {"stop", "Stops it. Calls that come up meanwhile wait for it in vain.", {}, {}, "dns.stop", DnsText}});
}

}  // namespace kor::ctl
