// SPDX-License-Identifier: Apache-2.0
// Which sanitizer this is built with: g++ says so by a macro of its own, clang by a feature.
#pragma once

#ifndef __has_feature
#define __has_feature(feature) 0
#endif

#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
#define KWWAN_UNDER_TSAN
#endif
#if defined(KWWAN_UNDER_TSAN) || defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
#define KWWAN_UNDER_SANITIZER
#endif
