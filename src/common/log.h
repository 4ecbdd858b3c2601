// SPDX-License-Identifier: Apache-2.0
// The library's log lines: syslog, "<signature of the enclosing function> <source line>: <message>".
//
// The host owns openlog() and setlogmask(). A line costs a few microseconds, six nanoseconds when masked; nothing is
// logged under a queue's lock.
#pragma once

#include <syslog.h>

#define KOR_LOG(priority, format, ...) KOR_LOG_AS(__PRETTY_FUNCTION__, priority, format, ##__VA_ARGS__)

// The same under a given signature, where a compiler spells the enclosing function otherwise than the field's log
// filters expect: g++ leaves out the scope of a nested parameter type and writes `static` before a static member, clang
// sets a blank before `&` and `*`. A helper that logs for a public operation passes that operation's.
#define KOR_LOG_AS(signature, priority, format, ...) \
  syslog(priority, "%s %d: " format, signature, __LINE__, ##__VA_ARGS__)
