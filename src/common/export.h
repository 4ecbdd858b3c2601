// SPDX-License-Identifier: Apache-2.0
// Symbols are hidden by default; KOR_EXPORT puts a class on a library's boundary.
#pragma once

#define KOR_EXPORT __attribute__((visibility("default")))
