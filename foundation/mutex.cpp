#include "foundation/mutex.h"

#include "foundation/memory.h"

ZfxMutex *ZfxCreateMutex() {
    auto *mutex = static_cast<ZfxMutex *>(ZfxMemAlloc(sizeof(ZfxMutex)));
    if (mutex == nullptr) ZfxOutOfMemory();
    pthread_mutexattr_init(&mutex->attributes);
    pthread_mutex_init(&mutex->mutex, &mutex->attributes);
    mutex->held = 0;
    return mutex;
}

int ZfxLockMutex(ZfxMutex *mutex, int wait) {
    if (mutex == nullptr) return -1;
    if (wait == 0 && pthread_mutex_trylock(&mutex->mutex) == 0) return 0;
    pthread_mutex_lock(&mutex->mutex);
    mutex->held = 1;
    return 1;
}

void ZfxUnlockMutex(ZfxMutex *mutex) {
    if (mutex == nullptr) return;
    mutex->held = 0;
    pthread_mutex_unlock(&mutex->mutex);
}

void ZfxDestroyMutex(ZfxMutex *mutex) {
    if (mutex == nullptr) return;
    pthread_mutexattr_destroy(&mutex->attributes);
    pthread_mutex_destroy(&mutex->mutex);
    ZfxMemFree(mutex);
}
