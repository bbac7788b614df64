/** The interrupt key as a stop. */
#ifndef ZDBS_BOUNDARY_HELD_INTERRUPT_H
#define ZDBS_BOUNDARY_HELD_INTERRUPT_H

#include "zdbs/base/stop.h"

namespace zdbs {

/**
 * While it lives, a SIGINT that waits because the calling thread holds it back stops what that
 * thread does: the boundary has no call for stopping one. The signal goes on waiting; whoever holds
 * it back takes it. A thread that does not is left alone, and is looked at once more when the
 * coarse clock has moved on, some milliseconds later: a call of the system costs what a command
 * may.
 */
class HeldInterrupt {
private:
    class Waiting : public Stop {
    public:
        bool isRequested() const noexcept override;
        bool allowsHelp() const noexcept override { return true; }
    };

    Waiting stop_;
    StopScope scope_{stop_};
};

}  // namespace zdbs

#endif
