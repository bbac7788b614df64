#include "foundation/thread_storage.h"

int ZfxCreateTLS(ZfxTLSKey *key, ZfxTLSDestructor destructor) {
    return pthread_key_create(key, destructor != nullptr ? destructor : ZfxGlobalTLSDestructor);
}

void *ZfxGetTLSValue(ZfxTLSKey key) {
    return pthread_getspecific(key);
}

int ZfxSetTLSValue(ZfxTLSKey key, void *value) {
    return pthread_setspecific(key, value);
}

int ZfxDeleteTLS(ZfxTLSKey key) {
    return pthread_key_delete(key);
}

void ZfxGlobalTLSDestructor(void *) {}
