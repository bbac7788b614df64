/** Wakes a thread that waits for descriptors. */
#ifndef ZDBS_SERVE_WAKE_UP_H
#define ZDBS_SERVE_WAKE_UP_H

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <system_error>

namespace zdbs::serve {

class WakeUp {
public:
    /** Throws std::system_error. */
    WakeUp() : descriptor_(::eventfd(0, EFD_CLOEXEC)) {
        if (descriptor_ < 0) throw std::system_error(errno, std::generic_category());
    }
    ~WakeUp() { ::close(descriptor_); }
    WakeUp(const WakeUp &) = delete;
    WakeUp &operator=(const WakeUp &) = delete;

    /** Any thread may call. Of several calls before heed() all but the first cost nothing. */
    void wake() {
        if (!isAwake_.exchange(true)) ::eventfd_write(descriptor_, 1);
    }

    /** For the thread that waits: readable once it is woken. */
    int descriptor() const { return descriptor_; }

    /** REQUIRES that the descriptor is readable. What was done before a wake() is seen after it. */
    void heed() {
        eventfd_t times = 0;
        ::eventfd_read(descriptor_, &times);
        isAwake_.exchange(false);
    }

private:
    int descriptor_;
    std::atomic<bool> isAwake_ = false;
};

}  // namespace zdbs::serve

#endif
