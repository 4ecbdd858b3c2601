// SPDX-License-Identifier: Apache-2.0
// Symbols are hidden by default; KOR_EXPORT puts a class on a library's boundary, and KOR_HIDDEN keeps a helper that
// its header has to name behind it.
#pragma once

#define KOR_EXPORT __attribute__((visibility("default")))
#define KOR_HIDDEN __attribute__((visibility("hidden")))
