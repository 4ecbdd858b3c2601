// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "common/result.h"

namespace kor::host {

// What a result of the library means, as a clause: "the PIN is wrong".
std::string ResultText(kor::Result result);

// Throws RequestError with the result's code unless it is kSuccess: "WHAT: the PIN is wrong", or the clause alone when
// `what` is empty.
void Check(kor::Result result, const std::string& what);

// The same for operations that only tell whether they were done (kFailure).
void Check(bool done, const std::string& what);

}  // namespace kor::host
