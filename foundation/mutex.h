// Mutexes for the logger and its like.
#ifndef FOUNDATION_MUTEX_H
#define FOUNDATION_MUTEX_H

#include <pthread.h>

// A mutex record. The mutex has default attributes: a thread must not lock it twice.
struct ZfxMutex {
    pthread_mutex_t mutex;
    pthread_mutexattr_t attributes;
    int held;  // 1 from a blocking lock to its unlock; a lock got at the first try leaves it
};

// A new, unlocked mutex, to be released with ZfxDestroyMutex.
ZfxMutex *ZfxCreateMutex();

// Locks the mutex. With wait = 0 it is tried first: returns 0 when that succeeds. Otherwise, and
// with any other `wait`, blocks until it is locked and returns 1. -1 for null.
int ZfxLockMutex(ZfxMutex *mutex, int wait);

// Unlocks the mutex; null is ignored. REQUIRES: the calling thread has locked it.
void ZfxUnlockMutex(ZfxMutex *mutex);

// Releases the mutex; null is ignored. REQUIRES: nobody holds it.
void ZfxDestroyMutex(ZfxMutex *mutex);

#endif
