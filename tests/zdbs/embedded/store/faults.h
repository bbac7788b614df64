/** Lets the system's calls for files fail, or kills the process in those that change them. */
#ifndef TESTS_ZDBS_EMBEDDED_STORE_FAULTS_H
#define TESTS_ZDBS_EMBEDDED_STORE_FAULTS_H

namespace zdbs::faults {

enum class Call {
    write,
    sync,
    rename,
    remove,
    shortWrite,  ///< writes half of what it should, and says so
    open,
    read,
    map,
    allocate
};

/** The n-th of the calls from now on (from 1) fails with that errno; the later ones do not. */
void failAt(Call call, int n, int error);

/** The process kills itself with SIGKILL in the n-th write, sync, rename or removal from now on. */
void killAt(int n);

/** No more faults; answers how many writes, syncs, renames and removals there were since the last
 * order. */
int disarm();

}  // namespace zdbs::faults

#endif
