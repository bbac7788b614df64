// Values of which every thread has its own.
#ifndef FOUNDATION_THREAD_STORAGE_H
#define FOUNDATION_THREAD_STORAGE_H

#include <pthread.h>

using ZfxTLSKey = pthread_key_t;
using ZfxTLSDestructor = void (*)(void *value);

// Creates a key whose value is null in every thread. When a thread ends with another value,
// `destructor` is called with it; ZfxGlobalTLSDestructor when none is given. Returns 0, or the
// error number of the system (EAGAIN: no more keys).
int ZfxCreateTLS(ZfxTLSKey *key, ZfxTLSDestructor destructor = nullptr);

// This thread's value.
void *ZfxGetTLSValue(ZfxTLSKey key);

// Sets this thread's value; an earlier one is not released. Returns 0 or an error number.
int ZfxSetTLSValue(ZfxTLSKey key, void *value);

// Deletes the key. No destructor is called: the values left are the caller's to release.
int ZfxDeleteTLS(ZfxTLSKey key);

// The destructor of keys that have none of their own: leaves the value to its owner.
void ZfxGlobalTLSDestructor(void *value);

#endif
