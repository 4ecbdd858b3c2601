// SPDX-License-Identifier: Apache-2.0
// What the library of a backend defines, libkwwan_modem_NAME.so.0 for the modem NAME.
#pragma once

#include "common/export.h"
#include "port/modem_port.h"

extern "C" {

// The process's modem of this kind. `argument`: what stands behind "NAME:" in KWWAN_MODEM, empty without one. Called
// once. Never null: throws std::exception with a sentence when there can be none.
KOR_EXPORT kor::modem::ModemPort* kwwan_modem_open(const char* argument);
}
