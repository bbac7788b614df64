#include "foundation/keyword.h"
#include "zdbs/remote/message.h"
#include "zdbs/serve/pages.h"
#include "zdbs/serve/problem.h"

namespace zdbs::serve {

/** Who asks in another way is told how to (RFC 9110, 15.5.22). */
void openKernelSession(const Call &call) {
    const Request &request = call.request;
    const std::string protocol(remote::protocol);
    if (request.method == Method::get && equalsNoCase(request.fields.upgrade, protocol))
        return call.reply.send({101, "", {{"Upgrade", protocol}}}, "");
    const Problem problem(426, "Here the connection goes over to " + protocol + ".");
    call.reply.send({problem.http(), std::string(problemType), {{"Upgrade", protocol}}},
                    problem.json());
}

}  // namespace zdbs::serve
