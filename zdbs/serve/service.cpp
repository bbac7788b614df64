#include "zdbs/serve/service.h"

#include <algorithm>
#include <charconv>
#include <optional>

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

/** A path as it fits the steps of a target. */
struct Fit {
    std::string database;
    std::string document;
};

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

std::optional<Fit> fitOf(const std::vector<std::string_view> &wanted,
                         const std::vector<std::string> &steps) {
    const bool takesRest = !wanted.empty() && wanted.back() == "{document}";
    if (takesRest ? steps.size() < wanted.size() : steps.size() != wanted.size())
        return std::nullopt;
    Fit fit;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        if (wanted[i] == "{database}")
            fit.database = steps[i];
        else if (wanted[i] == "{file}")
            fit.document = steps[i];
        else if (wanted[i] != "{document}" && wanted[i] != steps[i])
            return std::nullopt;
    }
    for (std::size_t i = wanted.size() - 1; takesRest && i < steps.size(); ++i)
        fit.document += (fit.document.empty() ? "" : "/") + steps[i];
    return fit;
}

bool isMethodOf(const Route &route, Method method) {
    return route.method == method || (route.method == Method::get && method == Method::head);
}

struct Found {
    const Route *route = nullptr;  ///< null: there is none with this method
    Fit fit;
    bool isPlace = false;
};

Found find(const Request &request) {
    Found found;
    for (const auto &[route, steps] : patterns()) {
        auto fit = fitOf(steps, request.target.steps);
        if (!fit) continue;
        found.isPlace = true;
        if (!isMethodOf(*route, request.method)) continue;
        found.route = route;
        found.fit = std::move(*fit);
        break;
    }
    return found;
}

Form formOf(const Request &request, const Found &found) {
    return preferredForm(request.fields.accept, found.route->forms).value_or(Form::json);
}

/** Whether its answer may be one for everybody who may ask. */
bool mayBeKept(const Service &service, const Request &request, const Found &found) {
    return service.kept.keepsAny() && found.route->access == Access::readers &&
           request.method == Method::get && request.fields.ifMatch.empty() &&
           request.fields.ifNoneMatch.empty();
}

/** What an answer is kept by: the database has to be in the target. */
std::string questionOf(const Request &request, const Found &found) {
    return std::string(tagSuffix(formOf(request, found))) + ' ' + request.rawTarget;
}

[[noreturn]] void failUnknown(const std::string &database) {
    throw Problem(Failure(Status::unknownDatabase, {database}));
}

void requireAccess(const Service &service, const Request &request, const Found &found) {
    const Access access = found.route->access;
    const std::string &database = found.fit.database;
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

bool isPublic(const Request &request) {
    const Found found = find(request);
    return found.route != nullptr && found.route->access == Access::everybody;
}

std::string placeOf(const Request &request) {
    const Found found = find(request);
    if (found.route == nullptr) return {};
    std::string path = found.route->path;
    const std::size_t place = path.find("{database}");
    constexpr std::string_view braces = "{database}";
    if (place != std::string::npos) path.replace(place, braces.size(), found.fit.database);
    return path;
}

void admit(const Service &service, const Request &request) {
    const Found found = find(request);
    if (!found.isPlace) throw Problem(404, "There is nothing at this place.");
    if (found.route == nullptr) {
        // What is not granted is not there, whatever somebody wants to do with it.
        for (const Pattern &pattern : patterns()) {
            const auto fit = fitOf(pattern.steps, request.target.steps);
            if (fit && !fit->database.empty() &&
                !service.engine.hasDatabase(request.user, fit->database))
                failUnknown(fit->database);
        }
        throw Problem(405, "The method is not for this place.");
    }
    requireAccess(service, request, found);
    requireSameOrigin(request);
    requireBodyType(*found.route, request);
    const std::vector<Form> &forms = found.route->forms;
    if (!forms.empty() && !preferredForm(request.fields.accept, forms))
        throw Problem(406, "The answer does not come in the forms of the field Accept.");
}

bool answerKept(const Service &service, const Request &request, Reply &reply) {
    const Found found = find(request);
    if (!mayBeKept(service, request, found)) return false;
    const auto state = service.sessions.newest(found.fit.database);
    if (!state) return false;
    const auto answer = service.kept.find(questionOf(request, found), state);
    if (!answer) return false;
    reply.send(answer->head, answer->text);
    ++service.metrics.keptAnswers;
    return true;
}

void answer(const Service &service, Request &request, Reply &reply) {
    admit(service, request);
    const Found found = find(request);
    const bool mayKeep = mayBeKept(service, request, found);
    const auto before = mayKeep ? service.sessions.newest(found.fit.database) : nullptr;
    KeepingReply keeping(reply);
    Reply &to = before ? keeping : reply;
    const Call call{service,
                    request,
                    to,
                    *found.route,
                    found.fit.database,
                    found.fit.document,
                    formOf(request, found)};
    found.route->answer(call);
    // Where the same state is the newest before and behind it, the answer is of that one.
    if (!before || !call.isOfState || service.sessions.newest(found.fit.database) != before) return;
    if (auto answer = keeping.taken())
        service.kept.add(questionOf(request, found), before, std::move(*answer));
}

}  // namespace zdbs::serve
