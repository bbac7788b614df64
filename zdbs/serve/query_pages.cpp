#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "zdbs/answers/excerpts.h"
#include "zdbs/answers/explainer.h"
#include "zdbs/answers/json.h"
#include "zdbs/answers/node_output.h"
#include "zdbs/answers/request_check.h"
#include "zdbs/answers/request_desk.h"
#include "zdbs/answers/request_notes.h"
#include "zdbs/answers/value_counts.h"
#include "zdbs/answers/xpath_explanation.h"
#include "zdbs/answers/xpath_notes.h"
#include "zdbs/base/escape.h"
#include "zdbs/base/stop.h"
#include "zdbs/export/export_document.h"
#include "zdbs/serve/pages.h"
#include "zdbs/serve/problem.h"
#include "zdbs/xpath/characters.h"
#include "zdbs/xpath/evaluator.h"
#include "zdbs/xpath/grammar.h"

namespace zdbs::serve {

namespace {

/** Which columns of nodes, and which of the nodes; throws Problem. */
NodeForms formsOf(const Call &call) {
    constexpr std::array<std::pair<std::string_view, bool NodeForms::*>, 4> names = {
        {{"id", &NodeForms::ids},
         {"document", &NodeForms::documents},
         {"path", &NodeForms::paths},
         {"value", &NodeForms::values}}};
    NodeForms forms;
    const std::string *fields = call.parameter("fields");
    std::string list = fields != nullptr                      ? *fields
                       : call.form == Form::plain             ? "value"
                       : call.parameter("excerpt") != nullptr ? "id,document,path"
                                                              : "id,document,path,value";
    for (std::string_view rest = list; !rest.empty();) {
        const std::size_t end = std::min(rest.find(','), rest.size());
        const auto found = std::find_if(names.begin(), names.end(), [&](const auto &name) {
            return name.first == rest.substr(0, end);
        });
        if (found == names.end())
            throw Problem(400, "The parameter fields takes id, document, path and value.",
                          Status::badSetting);
        forms.*found->second = true;
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    if (forms.columns() == 0)
        throw Problem(400, "The parameter fields is empty.", Status::badSetting);
    if (call.parameter("excerpt") != nullptr && call.form != Form::json)
        throw Problem(400, "The parameter excerpt is for JSON.", Status::badSetting);
    if (call.form == Form::plain && forms.columns() != 1)
        throw Problem(400, "Plain text has one of the fields.", Status::badSetting);
    forms.asCsv = call.form == Form::csv || (call.form == Form::plain && forms.documents);
    forms.limit = call.number("limit", usualLimit);
    forms.offset = call.number("offset", 0);
    return forms;
}

bool wantsNotes(const Call &call) {
    return call.parameter("notes") == nullptr || call.flag("notes");
}

/** What somebody who typed the request may want to know. */
std::vector<std::string> notesFor(const Call &call, const Session &session, const std::string &text,
                                  const std::string &error) {
    return RequestNotes(session, true, !wantsNotes(call)).on(text, error);
}

/** The members that every answer to a request has, up to where its own begin. */
JsonWriter beginAnswer(const Call &call, const std::string &request, std::uint64_t state) {
    JsonWriter json;
    json.beginObject().key("database").value(call.database);
    json.key("state").value(state).key("request").value(request);
    return json;
}

TextConsumer consumerOf(const Call &call) {
    return [&reply = call.reply](std::string_view piece) { reply.write(piece); };
}

/** A failure with the notes that say what may have been meant. */
[[noreturn]] void failWithNotes(const Call &call, const Session &session, const std::string &text,
                                const Failure &failure) {
    heedStop();
    const Problem problem(failure);
    std::string detail = problem.what();
    if (problem.http() == 400) {
        for (const std::string &note : notesFor(call, session, text, failure.what()))
            detail += ' ' + note;
    }
    throw Problem(problem.http(), detail, problem.kernel());
}

RequestAnswer found(const Call &call, const Session &session, RequestDesk &desk,
                    const std::string &text) {
    try {
        return desk.answer(text);
    } catch (const Failure &failure) {
        failWithNotes(call, session, text, failure);
    }
}

/** The beginnings of values, with hits, where they are asked for; nodes are asked for in order. */
NodeOutput::MoreOf excerptsOf(const Call &call, const NodeForms &forms,
                              const RequestAnswer &answer) {
    if (call.parameter("excerpt") == nullptr) return {};
    static constexpr std::uint64_t atOnce = 100;
    return [&answer, most = call.number("excerpt", 0), place = forms.offset, left = forms.limit,
            known = Excerpts()](RecordId node) mutable {
        if (known.count(node) == 0) {
            const ResultSetPtr next = excerpt(answer, place, std::min(left, atOnce));
            known = zdbs::excerptsOf(answer.database, next, answer.made, most);
            place += known.size();
            left -= known.size();
        }
        JsonWriter json;
        json.beginObject();
        addExcerpt(json, known.at(node));
        return ',' + json.text().substr(1);
    };
}

/** Nodes in the form that was chosen. @param json up to where the nodes stand */
void sendNodes(const Call &call, const NodeForms &forms, const RequestAnswer &answer,
               JsonWriter json) {
    Reply &reply = call.reply;
    NodeOutput output(forms, consumerOf(call));
    const NodeOutput::MoreOf excerpts = excerptsOf(call, forms, answer);
    const auto source = [&answer] { return answer.database.records(*answer.matches); };
    reply.begin(call.headFor(answer.database.state()));
    switch (call.form) {
        case Form::json:
            json.key("offset").value(forms.offset).key("limit").value(forms.limit);
            reply.write(json.text() + ",\"nodes\":[");
            output.writeObjects(answer.database, source, excerpts);
            return reply.write("]}\n");
        case Form::xml:
            reply.write("<nodes database=\"" + call.database + "\" state=\"" +
                        std::to_string(answer.database.state()) + "\" records=\"" +
                        std::to_string(answer.matches->size()) + "\">\n");
            output.writeElements(answer.database, source);
            return reply.write("</nodes>\n");
        case Form::csv:
        case Form::plain:
            return output.write(answer.database, source);
    }
}

/** "name=text" parameters. */
std::map<std::string, std::string, std::less<>> pairsOf(const Call &call, std::string_view name) {
    std::map<std::string, std::string, std::less<>> pairs;
    for (const std::string &pair : call.request.target.all(name)) {
        const std::size_t sign = pair.find('=');
        const std::string left = pair.substr(0, sign);
        const bool isName = !left.empty() && xpath::nameLength(left) == left.size();
        if (sign == std::string::npos || !isName)
            throw Problem(400,
                          "The parameter " + std::string(name) + " takes a name, = and a text.",
                          Status::badSetting);
        pairs[left] = pair.substr(sign + 1);
    }
    return pairs;
}

/** @param json up to where the value stands */
void sendValue(const Call &call, std::uint64_t state, std::string_view type, std::string_view value,
               JsonWriter json) {
    json.key("type").value(type).key("value").value(value).endObject();
    std::string text;
    switch (call.form) {
        case Form::json:
            text = json.text() + '\n';
            break;
        case Form::csv:
            text = "value\r\n" + csvField(value) + "\r\n";
            break;
        case Form::plain:
            text = std::string(value) + '\n';
            break;
        case Form::xml:
            text = "<value type=\"" + std::string(type) + "\">" + escapedText(value) + "</value>\n";
            break;
    }
    call.reply.send(call.headFor(state), text);
}

/** An expression as it was sent, with what its names stand for. */
class SentExpression {
public:
    SentExpression(const Call &call, const OpenDatabase &database, const std::string &text)
        : call_(call), collection_(database), text_(text), expression_(parsed(call, text)) {}

    const xpath::Collection &collection() const { return collection_; }
    const xpath::Expression &expression() const { return *expression_; }

    std::vector<std::string> notes() const {
        const auto find = [this](const std::string &, const std::string &) {
            return notesOnNames(*expression_, collection_);
        };
        return RequestNotes(find, true, !wantsNotes(call_)).on(text_, {});
    }

private:
    static xpath::ExpressionPtr parsed(const Call &call, const std::string &text) {
        xpath::Surroundings surroundings{pairsOf(call, "namespace")};
        for (const auto &[name, value] : pairsOf(call, "variable"))
            surroundings.variables[name] = value;
        return xpath::parse(text, surroundings);
    }

    const Call &call_;
    const xpath::Collection collection_;
    const std::string &text_;
    xpath::ExpressionPtr expression_;
};

void answerExpression(const Call &call, const OpenDatabase &database, const std::string &text,
                      const NodeForms &forms) {
    const SentExpression sent(call, database, text);
    xpath::Evaluator evaluator(sent.collection());
    const xpath::Value value = evaluator.evaluate(sent.expression());
    JsonWriter json = beginAnswer(call, text, database.state());
    if (call.form == Form::json) addNotes(json, sent.notes());
    if (value.type() != xpath::ValueType::nodeSet) {
        const xpath::Value printed = value.asTexts();
        return sendValue(call, database.state(), typeName(value.type()), printed.text(0),
                         std::move(json));
    }
    const xpath::NodeColumn &nodes = value.nodes();
    const xpath::NodeSet set = nodes.whole();
    // The root of a document is a node, but no record: only its count can be told.
    if (!set.roots.empty())
        return sendValue(call, database.state(), "nodes",
                         std::to_string(sent.collection().sizeOf(set)), std::move(json));
    json.key("type").value("nodes");
    json.key("records").value(static_cast<std::uint64_t>(set.nodes->size()));
    sendNodes(call, forms, {database, set.nodes, {}}, std::move(json));
}

/** Times differ, so an explanation has no ETag. */
void sendExplanation(const Call &call, std::uint64_t state, const std::string &text) {
    ReplyHead head = call.headFor(state);
    head.fields.front() = {"X-State", std::to_string(state)};
    call.reply.send(std::move(head), text);
}

std::string requestOf(const Call &call) {
    std::string text = call.required("q");
    if (text.size() > longestRequest) throw Problem(400, "The request is too long.");
    return text;
}

std::vector<ValueCount> windowOf(std::vector<ValueCount> counts, const Call &call) {
    const std::uint64_t offset = std::min<std::uint64_t>(call.number("offset", 0), counts.size());
    const std::uint64_t limit = call.number("limit", usualLimit);
    counts.erase(counts.begin(), counts.begin() + static_cast<std::ptrdiff_t>(offset));
    if (limit < counts.size()) counts.resize(limit);
    return counts;
}

}  // namespace

void answerQuery(const Call &call) {
    const std::string text = requestOf(call);
    const NodeForms forms = formsOf(call);
    const SessionPool::Lease lease(call.service.sessions, call.database);
    RequestDesk desk(lease.session());
    if (call.isKnown(desk.database().state())) return;
    const RequestAnswer answer = found(call, lease.session(), desk, text);
    JsonWriter json = beginAnswer(call, text, answer.database.state());
    json.key("records").value(static_cast<std::uint64_t>(answer.matches->size()));
    json.key("hits").value(static_cast<std::uint64_t>(answer.matches->hits()));
    if (call.form == Form::json) addNotes(json, notesFor(call, lease.session(), text, {}));
    sendNodes(call, forms, answer, std::move(json));
}

void answerXPath(const Call &call) {
    const std::string text = requestOf(call);
    const NodeForms forms = formsOf(call);
    const SessionPool::Lease lease(call.service.sessions, call.database);
    const NestedScope oneState(lease.session());
    if (call.isKnown(oneState.database().state())) return;
    answerExpression(call, oneState.database(), text, forms);
}

void exportFragments(const Call &call) {
    const std::string text = requestOf(call);
    std::string specs;
    for (const std::string &spec : call.request.target.all("spec"))
        specs += spec + ' ';
    if (specs.find_first_not_of(" \t\r\n") == std::string::npos)
        throw Problem(400, "The parameter spec is missing.", Status::missingArgument);
    checkFragmentSpecs(specs);
    const std::uint64_t limit = call.number("limit", usualLimit);
    const std::uint64_t offset = call.number("offset", 0);
    const bool highlights = call.flag("highlight");
    const SessionPool::Lease lease(call.service.sessions, call.database);
    RequestDesk desk(lease.session());
    if (call.isKnown(desk.database().state())) return;
    const RequestAnswer answer = found(call, lease.session(), desk, text);
    const RequestAnswer part{answer.database, excerpt(answer, offset, limit), answer.made};
    call.reply.begin(call.headFor(answer.database.state()));
    ChunkSink sink(consumerOf(call));
    writeExportDocument(part, specs, highlights, sink);
    sink.flush();
}

void explainRequest(const Call &call) {
    const std::string text = requestOf(call);
    const SessionPool::Lease lease(call.service.sessions, call.database);
    RequestNotes notes(lease.session(), true, !wantsNotes(call));
    Explainer explainer(lease.session(), notes);
    const std::uint64_t state = explainer.database().state();
    const Explanation explanation = explainer.explain(text);
    if (!explanation.error.empty()) throw Problem(400, explanation.error, Status::requestFailed);
    sendExplanation(call, state, jsonOf(explanation));
}

void explainXPath(const Call &call) {
    const std::string text = requestOf(call);
    const SessionPool::Lease lease(call.service.sessions, call.database);
    const NestedScope oneState(lease.session());
    const SentExpression sent(call, oneState.database(), text);
    const XPathExplanation explanation =
        explainExpression(sent.collection(), text, sent.expression());
    sendExplanation(call, oneState.database().state(), jsonOf(explanation, sent.notes()));
}

void listValues(const Call &call) {
    const std::string text = requestOf(call);
    const std::string *order = call.parameter("order");
    if (order != nullptr && *order != "value" && *order != "count")
        throw Problem(400, "The parameter order takes value or count.", Status::badSetting);
    const SessionPool::Lease lease(call.service.sessions, call.database);
    RequestDesk desk(lease.session());
    const std::uint64_t state = desk.database().state();
    if (call.isKnown(state)) return;
    const RequestAnswer answer = found(call, lease.session(), desk, text);
    std::vector<ValueCount> counts = countValues(answer, order != nullptr && *order == "count");
    JsonWriter json = beginAnswer(call, text, state);
    json.key("records").value(static_cast<std::uint64_t>(answer.matches->size()));
    json.key("distinct").value(std::uint64_t{counts.size()});
    counts = windowOf(std::move(counts), call);
    call.reply.begin(call.headFor(state));
    if (call.form == Form::csv) return call.reply.write(valuesAsCsv(counts));
    std::string list = valuesAsJson(counts);
    list.pop_back();
    call.reply.write(json.text() + ",\"values\":" + list + "}\n");
}

}  // namespace zdbs::serve
