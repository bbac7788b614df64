/** What is done for each part of a database, on all cores. */
#ifndef ZDBS_EMBEDDED_PART_WORK_H
#define ZDBS_EMBEDDED_PART_WORK_H

#include <cstddef>
#include <functional>

namespace zdbs::embedded {

/**
 * Calls `work` with each number below `count`, each once, and returns when all have returned.
 * This thread does one after the other and others help, as many as there are cores: where there
 * is more than one, where the stop of this thread allows help, and where threads are to be had.
 * The stop is heeded on all of them.
 *
 * When one throws, those that run are stopped, none is begun any more, and what was thrown first
 * is thrown once more.
 */
void forEachPart(std::size_t count, const std::function<void(std::size_t)> &work);

}  // namespace zdbs::embedded

#endif
