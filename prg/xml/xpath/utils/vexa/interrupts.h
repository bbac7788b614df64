#ifndef PRG_XML_XPATH_UTILS_VEXA_INTERRUPTS_H
#define PRG_XML_XPATH_UTILS_VEXA_INTERRUPTS_H

#include <string>
#include <thread>

/**
 * The interrupt key where lines are edited: held back instead of ending the program, so that the
 * prompt, a request and the output of a document can each take it for an end of their own.
 */

/** From now on the interrupt signal waits, unless the parent process had it ignored. */
void holdInterrupts();

/** Readable while one waits; -1 when they are not held. */
int interruptDescriptor();

/** Whether one waited; it does no longer. */
bool takeInterrupt();

/**
 * Watches while the kernel works; nothing where interrupts are not held. The first interrupt stays
 * waiting for the thread that made this object, whose kernel may look for it; a second one ends the
 * program. After a second it is shown how long the work takes, and after an interrupt what another
 * one does, on a line that vanishes with this object.
 */
class WorkWatch {
public:
    /** @param showsTime says how long it takes */
    explicit WorkWatch(bool showsTime);
    ~WorkWatch();
    WorkWatch(const WorkWatch &) = delete;
    WorkWatch &operator=(const WorkWatch &) = delete;

private:
    void watch(pthread_t worker);
    void takeSignal(pthread_t worker);
    void showTime();
    void show(const std::string &text);

    int ended_ = -1;  // readable when the work is done
    bool showsTime_;
    int seconds_ = 0;
    bool hasLine_ = false;
    bool isInterrupted_ = false;
    std::thread thread_;
};

#endif
