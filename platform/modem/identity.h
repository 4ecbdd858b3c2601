// SPDX-License-Identifier: Apache-2.0
// What the simulated modem calls itself.
#pragma once

namespace kor::modem {

constexpr char kMaker[] = "kwwan";
constexpr char kModel[] = "simulated modem";

}  // namespace kor::modem
