#include "zdbs/serve/service.h"

#include <algorithm>
#include <charconv>

#include "zdbs/serve/problem.h"

namespace zdbs::serve {

namespace {

std::vector<std::string_view> stepsOf(std::string_view path) {
    std::vector<std::string_view> steps;
    path.remove_prefix(1);
    for (std::size_t begin = 0; begin < path.size();) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        steps.push_back(path.substr(begin, end - begin));
        begin = end + 1;
    }
    return steps;
}

/** A route, and its path step by step. */
struct Pattern {
    const Route *route;
    std::vector<std::string_view> steps;
};

const std::vector<Pattern> &patterns() {
    static const auto all = [] {
        std::vector<Pattern> made;
        for (const Route &route : routes())
            made.push_back({&route, stepsOf(route.path)});
        return made;
    }();
    return all;
}

bool fits(const std::vector<std::string_view> &wanted, const std::vector<std::string> &steps) {
    const bool takesRest = !wanted.empty() && wanted.back() == "{document}";
    if (takesRest ? steps.size() < wanted.size() : steps.size() != wanted.size()) return false;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        if (!wanted[i].starts_with('{') && wanted[i] != steps[i]) return false;
    }
    return true;
}

/** Takes from the steps of a target what those of a path that they fit have braces for. */
void fill(Place &place, const std::vector<std::string_view> &wanted,
          const std::vector<std::string> &steps) {
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        if (wanted[i] == "{database}")
            place.database = steps[i];
        else if (wanted[i] == "{file}")
            place.document = steps[i];
    }
    if (wanted.empty() || wanted.back() != "{document}") return;
    for (std::size_t i = wanted.size() - 1; i < steps.size(); ++i)
        place.document += (place.document.empty() ? "" : "/") + steps[i];
}

bool isMethodOf(const Route &route, Method method) {
    return route.method == method || (route.method == Method::get && method == Method::head);
}

Form formOf(const Request &request) {
    return preferredForm(request.fields.accept, request.place.route->forms).value_or(Form::json);
}

/** Whether it takes an answer in one of the forms that there are. */
bool takesForm(const Request &request) {
    const std::vector<Form> &forms = request.place.route->forms;
    return forms.empty() || preferredForm(request.fields.accept, forms);
}

/** Whether its answer may be one for everybody who may ask. */
bool mayBeKept(const Service &service, const Request &request) {
    const Route *route = request.place.route;
    return service.kept.keepsAny() && route != nullptr && route->access == Access::readers &&
           request.method == Method::get && request.fields.ifMatch.empty() &&
           request.fields.ifNoneMatch.empty();
}

/** What an answer is kept by: the database has to be in the target. */
std::string questionOf(const Request &request) {
    return std::string(tagSuffix(formOf(request))) + ' ' + request.rawTarget;
}

[[noreturn]] void failUnknown(const std::string &database) {
    throw Problem(Failure(Status::unknownDatabase, {database}));
}

/** The engine is asked once for each state of the users; the database may be gone since. */
bool mayRead(const Service &service, const Request &request) {
    const std::string &database = request.place.database;
    if (service.proofs.reads(request.user, database, request.usersState)) return true;
    if (!service.engine.hasDatabase(request.user, database)) return false;
    service.proofs.addReader(request.user, database, request.usersState);
    return true;
}

void requireAccess(const Service &service, const Request &request) {
    const auto &[isThere, route, database, document] = request.place;
    const Access access = route->access;
    if (access == Access::everybody || access == Access::users) return;
    if (!service.engine.hasDatabase(request.user, database)) failUnknown(database);
    if (access == Access::writers && !service.engine.mayWrite(request.user, database))
        throw Problem(403, "The user may not change this database.", Status::notGranted);
}

/** What pages of others make a browser send is no wish of its user. */
void requireSameOrigin(const Request &request) {
    if (request.method == Method::get || request.method == Method::head) return;
    const std::string &origin = request.fields.origin;
    if (origin.empty()) return;
    const std::size_t host = std::min(origin.find("://"), origin.size());
    if (origin.substr(std::min(host + 3, origin.size())) != request.fields.host)
        throw Problem(403, "The request comes from a page of another origin.");
}

void requireBodyType(const Route &route, const Request &request) {
    if (route.bodyType == nullptr) return;
    const std::string &encoding = request.fields.contentEncoding;
    if (!encoding.empty() && encoding != "identity")
        throw Problem(415, "What is sent must not have a Content-Encoding.");
    std::string_view type = request.fields.contentType;
    type = type.substr(0, type.find(';'));
    const std::string_view wanted = route.bodyType;
    const bool isXml = wanted == "application/xml" && type == "text/xml";
    if (type != wanted && !isXml)
        throw Problem(415, "Content-Type has to be " + std::string(wanted) + ".");
}

std::string tagOf(std::uint64_t state, Form form) {
    return '"' + std::to_string(state) + std::string(tagSuffix(form)) + '"';
}

std::string_view tagsAfter(std::string_view tag) {
    return tag.substr(std::min(tag.find_first_not_of(" \t,"), tag.size()));
}

/** Whether a list of entity tags (RFC 9110, 13.1) has this one, or is "*". */
bool hasTag(std::string_view list, std::string_view tag) {
    list = tagsAfter(list);
    if (list == "*") return true;
    while (!list.empty()) {
        if (list.starts_with("W/")) list.remove_prefix(2);
        const std::size_t end = std::min(list.find(','), list.size());
        std::string_view each = list.substr(0, end);
        each = each.substr(0, each.find_last_not_of(" \t") + 1);
        if (each == tag) return true;
        list = tagsAfter(list.substr(end));
    }
    return false;
}

}  // namespace

std::string Call::required(std::string_view name) const {
    const std::string *value = parameter(name);
    if (value == nullptr)
        throw Problem(400, "The parameter " + std::string(name) + " is missing.",
                      Status::missingArgument);
    return *value;
}

std::uint64_t Call::number(std::string_view name, std::uint64_t otherwise) const {
    const std::string *text = parameter(name);
    if (text == nullptr) return otherwise;
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), value);
    if (error != std::errc() || end != text->data() + text->size())
        throw Problem(400, "The parameter " + std::string(name) + " takes a number.",
                      Status::badNumber);
    return value;
}

bool Call::flag(std::string_view name) const {
    const std::string *value = parameter(name);
    if (value == nullptr || *value == "false") return false;
    if (*value == "true" || value->empty()) return true;
    throw Problem(400, "The parameter " + std::string(name) + " takes true or false.",
                  Status::badSetting);
}

ReplyHead Call::headFor(std::uint64_t state) const {
    return {200,
            std::string(mediaType(form)),
            {{"ETag", tagOf(state, form)},
             {"Cache-Control", "private, no-cache"},
             {"Vary", "Accept, Authorization"}}};
}

/** The tag of whatever form names the state. */
void Call::requireState(std::uint64_t state) const {
    const std::string &wanted = request.fields.ifMatch;
    if (wanted.empty()) return;
    for (const Form each : {Form::json, Form::csv, Form::plain, Form::xml}) {
        if (hasTag(wanted, tagOf(state, each))) return;
    }
    throw Problem(412, "The database is in another state than If-Match names.");
}

bool Call::isKnown(std::uint64_t state) const {
    requireState(state);
    isOfState = true;
    return isKnown(headFor(state));
}

bool Call::isKnown(ReplyHead head) const {
    const std::string &tag = head.fields.front().second;
    if (request.fields.ifNoneMatch.empty() || !hasTag(request.fields.ifNoneMatch, tag))
        return false;
    head.status = 304;
    reply.send(std::move(head), {});
    return true;
}

Place placeOf(Method method, const Target &target) {
    Place place;
    for (const auto &[route, steps] : patterns()) {
        if (!fits(steps, target.steps)) continue;
        const bool isRight = isMethodOf(*route, method);
        if (place.isThere && !isRight) continue;
        place = {true, isRight ? route : nullptr, {}, {}};
        fill(place, steps, target.steps);
        if (isRight) break;
    }
    return place;
}

bool isPublic(const Request &request) {
    const Route *route = request.place.route;
    return route != nullptr && route->access == Access::everybody;
}

std::string loggedPath(const Request &request) {
    if (request.place.route == nullptr) return {};
    std::string path = request.place.route->path;
    constexpr std::string_view braces = "{database}";
    const std::size_t begin = path.find(braces);
    if (begin != std::string::npos) path.replace(begin, braces.size(), request.place.database);
    return path;
}

void admit(const Service &service, const Request &request) {
    const auto &[isThere, route, database, document] = request.place;
    if (!isThere) throw Problem(404, "There is nothing at this place.");
    if (route == nullptr) {
        // What is not granted is not there, whatever somebody wants to do with it.
        if (!database.empty() && !service.engine.hasDatabase(request.user, database))
            failUnknown(database);
        throw Problem(405, "The method is not for this place.");
    }
    requireAccess(service, request);
    requireSameOrigin(request);
    requireBodyType(*route, request);
    if (!takesForm(request))
        throw Problem(406, "The answer does not come in the forms of the field Accept.");
}

std::shared_ptr<const KeptAnswer> keptAnswer(const Service &service, const Request &request) {
    if (!mayBeKept(service, request) || !takesForm(request) || !mayRead(service, request))
        return nullptr;
    // That the database is there still is told by its state.
    const auto state = service.sessions.newest(request.place.database);
    if (!state) return nullptr;
    auto answer = service.kept.find(questionOf(request), state);
    if (answer) ++service.metrics.keptAnswers;
    return answer;
}

void answer(const Service &service, Request &request, Reply &reply) {
    admit(service, request);
    const auto &[isThere, route, database, document] = request.place;
    const bool mayKeep = mayBeKept(service, request);
    const auto before = mayKeep ? service.sessions.newest(database) : nullptr;
    KeepingReply keeping(reply);
    Reply &to = before ? keeping : reply;
    const Call call{service, request, to, *route, database, document, formOf(request)};
    route->answer(call);
    // Where the same state is the newest before and behind it, the answer is of that one.
    if (!before || !call.isOfState || service.sessions.newest(database) != before) return;
    if (auto answer = keeping.taken())
        service.kept.add(questionOf(request), before, std::move(answer));
}

}  // namespace zdbs::serve
