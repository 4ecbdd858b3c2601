// SPDX-License-Identifier: Apache-2.0
// What the simulated modem calls itself.
#pragma once

namespace kor::modem {

constexpr char kMaker[] = "kwwan";
constexpr char kModel[] = "simulated modem";
constexpr char kRevision[] = "1";
constexpr char kSerial[] = "001010012345672";  // An IMEI as test equipment has it: the first two digits are 0.

}  // namespace kor::modem
