// Access to plain fields that several threads share without a lock.
//
// The fields stay plain members (counters, flags, pointers); every access from
// code that may run beside another thread goes through these functions, so that a
// report may read a stale value but never a torn one, and the compiler never
// caches or splits an access. Relaxed: no order with other fields. Publish/Observe:
// what was written before Publish is seen after Observe has seen the new value.
#pragma once

#include <type_traits>

// Reads `field`; no order with other accesses.
template <typename T> inline std::remove_volatile_t<T> RelaxedLoad(const T &field) {
    return __atomic_load_n(&field, __ATOMIC_RELAXED);
}

// Writes `value` to `field`; no order with other accesses.
template <typename T> inline void RelaxedStore(T &field, std::type_identity_t<std::remove_volatile_t<T>> value) {
    __atomic_store_n(&field, value, __ATOMIC_RELAXED);
}

// Adds `step` to a counter that only the calling thread writes.
template <typename T> inline void RelaxedAdd(T &counter, std::type_identity_t<std::remove_volatile_t<T>> step = 1) {
    RelaxedStore(counter, static_cast<std::remove_volatile_t<T>>(RelaxedLoad(counter) + step));
}

// Raises a maximum that only the calling thread writes to `value` if that is larger.
template <typename T> inline void RelaxedRaise(T &maximum, std::type_identity_t<std::remove_volatile_t<T>> value) {
    if (RelaxedLoad(maximum) < value)
        RelaxedStore(maximum, value);
}

// Writes `value` after everything the caller wrote before.
template <typename T> inline void Publish(T &field, std::type_identity_t<std::remove_volatile_t<T>> value) {
    __atomic_store_n(&field, value, __ATOMIC_RELEASE);
}

// Reads a field written by Publish, before everything the caller reads after.
template <typename T> inline std::remove_volatile_t<T> Observe(const T &field) {
    return __atomic_load_n(&field, __ATOMIC_ACQUIRE);
}
