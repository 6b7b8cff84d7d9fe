/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * What is guarded by which lock, said to clang, whose -Wthread-safety compares it with the code. For other compilers, and for C of the
 * kernel, these are nothing.
 */
#ifndef FLASH_MNG_KERNEL_THREAD_SAFETY_H
#define FLASH_MNG_KERNEL_THREAD_SAFETY_H

#if defined(__clang__) && defined(__cplusplus)
#define THREAD_SAFETY(...) __attribute__((__VA_ARGS__))
#else
#define THREAD_SAFETY(...)
#endif

/* a type that is a lock; a type that holds one for its own life */
#define LOCK_TYPE(name)		THREAD_SAFETY(capability(name))
#define LOCK_HOLDER		THREAD_SAFETY(scoped_lockable)

/* a variable or a member that is used with the lock held only */
#define GUARDED_BY(lock)	THREAD_SAFETY(guarded_by(lock))

/* a function that takes a lock, gives it back, wants it held, or not held */
#define TAKES(...)		THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define GIVES_BACK(...)		THREAD_SAFETY(release_capability(__VA_ARGS__))
#define WANTS(...)		THREAD_SAFETY(requires_capability(__VA_ARGS__))
#define WANTS_FREE(...)		THREAD_SAFETY(locks_excluded(__VA_ARGS__))

/* a function that uses what is guarded while nobody else can; it says why */
#define NOT_SHARED		THREAD_SAFETY(no_thread_safety_analysis)

#endif
