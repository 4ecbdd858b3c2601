// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kor::host {

// Where the process's log lines go, the libraries' too: the system's log and, when wanted, standard error. There, what
// a modem, a terminal or a file has put into a line is shown escaped: it can neither move the cursor nor look like a
// line of its own. The system's log gets each line as it is. Requires: no other thread yet.
void OpenLog(int level, bool to_stderr);

}  // namespace kor::host
