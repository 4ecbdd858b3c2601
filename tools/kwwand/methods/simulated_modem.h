// SPDX-License-Identifier: Apache-2.0
// What only a simulated modem can do. It is found at run time in the backend that is loaded, so that the host runs with
// any maker's libraries too.
#pragma once

#include <string>

namespace kor::host {

// Runs one line of the simulated modem's command language and returns what it has to say. Throws RequestError:
// kNotSupported when the modem is not a simulated one, kFailure with what is wrong with the line.
std::string RunModemLine(const std::string& line);

// Runs the lines of a file. Throws std::runtime_error with a sentence.
void RunModemScenario(const std::string& path);

}  // namespace kor::host
