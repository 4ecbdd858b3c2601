// SPDX-License-Identifier: Apache-2.0
// Names for clang's thread-safety attributes (-Wthread-safety); empty under other compilers.
#pragma once

#if defined(__clang__)
#define KOR_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define KOR_THREAD_ATTRIBUTE(x)
#endif

#define KOR_CAPABILITY(name) KOR_THREAD_ATTRIBUTE(capability(name))
#define KOR_SCOPED_CAPABILITY KOR_THREAD_ATTRIBUTE(scoped_lockable)
#define KOR_GUARDED_BY(mutex) KOR_THREAD_ATTRIBUTE(guarded_by(mutex))
#define KOR_ACQUIRE(...) KOR_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define KOR_RELEASE(...) KOR_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define KOR_REQUIRES(...) KOR_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define KOR_EXCLUDES(...) KOR_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
