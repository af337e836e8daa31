#pragma once

/// @file
/// Lock annotations, checked by Clang's thread-safety analysis and empty elsewhere.

#if defined(__clang__)
/// An attribute of Clang, by its name; nothing elsewhere.
#define CB_THREAD_ANNOTATION(x) __attribute__((x))
#else
/// An attribute of Clang, by its name; nothing elsewhere.
#define CB_THREAD_ANNOTATION(x)
#endif

/// Marks a class whose objects are locks.
#define CB_CAPABILITY(name) CB_THREAD_ANNOTATION(capability(name))
/// Marks a class that holds a lock from construction to destruction.
#define CB_SCOPED_CAPABILITY CB_THREAD_ANNOTATION(scoped_lockable)
/// Names the lock that guards a member.
#define CB_GUARDED_BY(lock) CB_THREAD_ANNOTATION(guarded_by(lock))
/// Names the lock that the caller of a function holds.
#define CB_REQUIRES(...) CB_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// Names the lock that a function enters and keeps.
#define CB_ACQUIRE(...) CB_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
/// Names the lock that a function leaves.
#define CB_RELEASE(...) CB_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
/// Names the lock that a function enters if it returns the given value.
#define CB_TRY_ACQUIRE(...) CB_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
/// Declares the lock that a function returns.
#define CB_RETURN_CAPABILITY(lock) CB_THREAD_ANNOTATION(lock_returned(lock))
/// Turns the analysis off where it can't follow.
#define CB_NO_THREAD_SAFETY_ANALYSIS CB_THREAD_ANNOTATION(no_thread_safety_analysis)
