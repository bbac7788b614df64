/** What the C entry points keep between calls. */
#ifndef ZDBS_BOUNDARY_PROCESS_H
#define ZDBS_BOUNDARY_PROCESS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/zdbs.h"
#include "zdbs/base/status.h"
#include "zdbs/engine/engine.h"
#include "zdbs/remote/kernel_session.h"

namespace zdbs {

/** A record control: the hit words of the record that it was put on. */
struct RecordControl {
    std::vector<HitWord> hitWords;
    std::size_t next = 0;
};

/**
 * The state of the process at the boundary: its session, the last failure, the
 * record controls. Handles are numbers that are never given out twice, so that a
 * stale one is recognised and never followed.
 *
 * Requests inside the kernel call the boundary, too, for the session that their thread has made
 * the active one: each thread has a state of its own for them, and none waits for another.
 */
class Process {
public:
    /** That of the active session of this thread, or else that of the process. */
    static Process &instance();

    /** Taken by every entry point; the export enters again through the processor. */
    std::recursive_mutex &mutex() { return mutex_; }

    void open(std::unique_ptr<KernelSession> session);
    void close();

    /** The session that calls act on; null when there is none. */
    KernelSession *openSession() const;

    /** The same; throws Failure(noSession). */
    KernelSession &session() const;

    /** Keeps what a failed call has to say; returns its status. Never throws. */
    std::int32_t fail(Status status, const char *sentence) noexcept;

    /** The sentence of a status: with its details when it is the last failure's. */
    std::string sentence(std::int32_t status) const;

    ZdbHandle createControl();

    /** Throws Failure(unknownHandle). */
    RecordControl &control(ZdbHandle handle);
    void deleteControl(ZdbHandle handle);

private:
    std::recursive_mutex mutex_;
    std::unique_ptr<KernelSession> session_;
    mutable std::optional<LocalSession> active_;  ///< of this thread, when it was asked for last
    Status lastStatus_ = Status::ok;
    std::string lastSentence_;
    std::map<std::uintptr_t, RecordControl> controls_;
    std::uintptr_t lastHandle_ = 0;
};

}  // namespace zdbs

#endif
