/** What is answered to whom: the routes below /v1 and what stands beside them. */
#ifndef ZDBS_SERVE_SERVICE_H
#define ZDBS_SERVE_SERVICE_H

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/engine/administration.h"
#include "zdbs/serve/kept_answers.h"
#include "zdbs/serve/media_type.h"
#include "zdbs/serve/metrics.h"
#include "zdbs/serve/proofs.h"
#include "zdbs/serve/reply.h"
#include "zdbs/serve/request.h"
#include "zdbs/serve/session_pool.h"
#include "zdbs/serve/settings.h"

namespace zdbs::serve {

/** Everything that answers are made of. Outlives whatever works with it; any thread may use it. */
struct Service {
    const Engine &engine;
    Administration &home;
    SessionPool &sessions;
    KeptAnswers &kept;
    Proofs &proofs;
    Metrics &metrics;
    std::function<Gauges()> gauges;
    std::function<std::shared_ptr<const Limits>()> limits;

    std::string location;  ///< of the home

    /** Room for one more session, which keeps the share of its user. Throws Problem(503). */
    std::function<std::shared_ptr<void>(std::shared_ptr<void> share)> roomForKernel;
};

/** A parameter of a route, as the description tells it. */
struct Parameter {
    const char *name;
    const char *type;  ///< of JSON Schema
    bool isRequired;
    const char *description;
};

struct Call;

/** Who may take a route. */
enum class Access : std::uint8_t { everybody, users, readers, writers };

/** A method of a place. */
struct Route {
    Method method;
    const char *path;  ///< steps in braces are any text, {document} all that follow
    Access access;
    std::vector<Form> forms;  ///< that it is answered in, the usual one first; none: it has its own
    std::vector<Parameter> parameters;
    const char *bodyType;  ///< what has to be sent; null: nothing may be
    const char *summary;
    const char *schema;  ///< of the answer in JSON; null where there is none
    void (*answer)(const Call &);
};

/** All of them. */
std::span<const Route> routes();

/** A request at its route. */
struct Call {
    const Service &service;
    Request &request;
    Reply &reply;
    const Route &route;
    const std::string &database;  ///< empty where the route has none
    const std::string &document;  ///< or the file of the page
    Form form = Form::json;
    mutable bool isOfState = false;  ///< whether all of the answer is told by state and target

    const std::string *parameter(std::string_view name) const {
        return request.target.parameter(name);
    }
    std::string required(std::string_view name) const;

    /** Throws Problem where it is none. */
    std::uint64_t number(std::string_view name, std::uint64_t otherwise) const;
    bool flag(std::string_view name) const;

    /** The head of an answer from a state: its ETag, and that it may be kept and asked for again.
     */
    ReplyHead headFor(std::uint64_t state) const;

    /** Throws Problem(412) where If-Match names another state. */
    void requireState(std::uint64_t state) const;

    /**
     * The same; and true where 304 was sent, for If-None-Match says that the client has it. What is
     * answered otherwise may be kept: it has to come from target, form and state alone.
     */
    bool isKnown(std::uint64_t state) const;

    /** The same for a head whose first field is the ETag; If-Match is of no account. */
    bool isKnown(ReplyHead head) const;
};

/** What a request with this method and target is for. Its target is empty where it is malformed. */
Place placeOf(Method method, const Target &target);

/**
 * Whether it can be answered, and to this user: to be asked before a body is read. Throws Problem:
 * 400, 403, 404, 405, 406, 415; what the user may not read is not there.
 */
void admit(const Service &service, const Request &request);

/** Whether the place of a target may be asked by somebody who has not said who it is. */
bool isPublic(const Request &request);

/** The path of the route, for logs: without names of documents. Empty where there is none. */
std::string loggedPath(const Request &request);

/**
 * The answer where it is kept from an earlier request and the user may have it; null otherwise.
 * Takes microseconds. Throws Failure.
 */
std::shared_ptr<const KeptAnswer> keptAnswer(const Service &service, const Request &request);

/** Throws Problem and Failure. */
void answer(const Service &service, Request &request, Reply &reply);

}  // namespace zdbs::serve

#endif
