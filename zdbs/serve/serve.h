/** The server as a process: from its sockets to its end. */
#ifndef ZDBS_SERVE_SERVE_H
#define ZDBS_SERVE_SERVE_H

#include <functional>
#include <string>
#include <string_view>

#include "zdbs/serve/settings.h"

namespace zdbs::serve {

/**
 * Serves a location until SIGTERM or SIGINT comes. Requests that run then have the grace of the
 * settings to end, and are stopped after it; a second signal stops them at once. SIGHUP reads
 * certificate, limits and log anew; what cannot be read stays as it was, and the log says so.
 *
 * Takes the process's signals for itself; to be called once, before there are threads.
 * @param ready is told each address that clients can come to
 * Throws Failure: badSetting, fileUnreadable, storeFailed, and those of the location.
 */
void serve(const std::string &location, const Settings &settings,
           const std::function<void(std::string_view address)> &ready);

}  // namespace zdbs::serve

#endif
