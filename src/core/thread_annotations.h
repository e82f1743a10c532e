// SPDX-License-Identifier: GPL-3.0-or-later
// Names for Clang's thread-safety attributes, so that a Clang build proves which mutex guards which
// field. Under other compilers they vanish. See CSync for the classes that carry them.
#pragma once

#if defined(__clang__)
#define QM_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define QM_THREAD_ATTRIBUTE(x)
#endif

#define CAPABILITY(x) QM_THREAD_ATTRIBUTE(capability(x))
#define SCOPED_CAPABILITY QM_THREAD_ATTRIBUTE(scoped_lockable)
#define GUARDED_BY(x) QM_THREAD_ATTRIBUTE(guarded_by(x))
#define PT_GUARDED_BY(x) QM_THREAD_ATTRIBUTE(pt_guarded_by(x))
#define REQUIRES(...) QM_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define REQUIRES_SHARED(...) QM_THREAD_ATTRIBUTE(requires_shared_capability(__VA_ARGS__))
#define ACQUIRE(...) QM_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define ACQUIRE_SHARED(...) QM_THREAD_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define TRY_ACQUIRE(...) QM_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define RELEASE(...) QM_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define RELEASE_SHARED(...) QM_THREAD_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define RELEASE_GENERIC(...) QM_THREAD_ATTRIBUTE(release_generic_capability(__VA_ARGS__))
#define EXCLUDES(...) QM_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS QM_THREAD_ATTRIBUTE(no_thread_safety_analysis)
