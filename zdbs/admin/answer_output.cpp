#include "zdbs/admin/answer_output.h"

#include <utility>

#include "zdbs/admin/output.h"
#include "zdbs/admin/request_text.h"
#include "zdbs/admin/usage_error.h"
#include "zdbs/admin/visible_text.h"
#include "zdbs/answers/json.h"
#include "zdbs/answers/request_desk.h"

namespace zdbs::admin {

namespace {

NodeSource nodesOf(const RequestAnswer &found) {
    return [&found] { return found.database.records(*found.matches); };
}

}  // namespace

void checkForms(const NodeForms &forms, bool asJson, bool hasFragments) {
    const bool isListed = forms.columns() > 0 || forms.asCsv;
    if (forms.asCsv && (asJson || hasFragments))
        throw UsageError("--csv goes neither with --json nor with --fragments.");
    if (forms.columns() + (hasFragments ? 1 : 0) > 1 && !asJson && !forms.asCsv)
        throw UsageError("Several of --ids, --documents, --paths, --values and --fragments need " +
                         std::string(hasFragments ? "--json." : "--json or --csv."));
    if (forms.endsInNul && (forms.columns() == 0 || asJson || forms.asCsv))
        throw UsageError("--null is for --ids, --documents, --paths and --values as lines.");
    if (forms.hasWindow() && !isListed && !hasFragments)
        throw UsageError("--limit and --offset are for what lists nodes, such as --values.");
}

void checkForms(const AnswerForms &forms) {
    checkForms(forms.nodes, forms.asJson, !forms.fragments.empty());
    try {
        for (const std::string &specs : forms.fragments) {
            checkFragmentSpecs(specs);
            if (specs.find_first_not_of(" \t\r\n") == std::string::npos)
                throw UsageError("--fragments is given no specification.");
        }
    } catch (const Failure &failure) {
        throw UsageError(visibleText(failure.what()));
    }
}

AnswerOutput::AnswerOutput(const AnswerForms &forms, RequestNotes *notes)
    : forms_(forms), notes_(notes), nodes_(forms.nodes, writeOutput, outputWidth() > 0) {
    for (const std::string &specs : forms.fragments)
        fragments_ += specs + ' ';
}

void AnswerOutput::write(const std::string &text, const RequestAnswer &found, Time time) {
    if (forms_.asJson) {
        writeObject(text, found, time);
    } else if (hasFragments()) {
        writeFragments(found, writeOutput);
    } else if (listsNodes()) {
        nodes_.write(found.database, nodesOf(found));
    } else {
        writeOutput(std::to_string(found.matches->size()) + '\n');
    }
}

void AnswerOutput::writeValue(const std::string &text, std::string_view type,
                              std::string_view value, Time time) const {
    if (forms_.asJson) {
        JsonWriter json;
        json.beginObject().key("request").value(text);
        json.key("type").value(type).key("value").value(value);
        json.key("milliseconds").value(time);
        addNotesOn(text, {}, json);
        return writeOutput(json.endObject().text() + '\n');
    }
    const std::string shown = outputWidth() > 0 ? visibleText(value) : std::string(value);
    if (forms_.nodes.asCsv) return writeOutput(csvField(value) + "\r\n");
    writeOutput(shown + (forms_.nodes.endsInNul ? '\0' : '\n'));
}

void AnswerOutput::fail(const std::string &text, const Failure &failure,
                        std::string_view where) const {
    if (forms_.asJson) {
        JsonWriter json;
        json.beginObject().key("request").value(text).key("error").value(failure.what());
        addNotesOn(text, failure.what(), json);
        writeOutput(json.endObject().text() + '\n');
    } else if (printsCounts()) {
        // Whoever waits for a line for each request gets one.
        writeOutput("-\n");
    }
    finishOutput();
    std::string message = nameOf(text) + ": " + visibleText(failure.what());
    if (!where.empty()) message += '\n' + std::string(where);
    writeMessage(message);
}

void AnswerOutput::writeFragments(const RequestAnswer &found, ChunkSink::Consumer consumer) const {
    ChunkSink sink(std::move(consumer));
    const RequestAnswer part{found.database,
                             excerpt(found, forms_.nodes.offset, forms_.nodes.limit), found.made};
    writeExportDocument(part, fragments_, forms_.highlights, sink);
    sink.flush();
}

/** Not built as a whole: lists and documents can be larger than what memory holds. */
void AnswerOutput::writeObject(const std::string &text, const RequestAnswer &found,
                               Time time) const {
    JsonWriter json;
    json.beginObject().key("request").value(text);
    json.key("records").value(static_cast<std::uint64_t>(found.matches->size()));
    json.key("hits").value(static_cast<std::uint64_t>(found.matches->hits()));
    json.key("milliseconds").value(time);
    addNotesOn(text, {}, json);
    writeOutput(json.text());
    nodes_.writeMembers(found.database, nodesOf(found));
    if (hasFragments()) {
        writeOutput(",\"fragments\":\"");
        writeFragments(found, [](std::string_view piece) { writeOutput(jsonPiece(piece)); });
        writeOutput("\"");
    }
    writeOutput("}\n");
}

void AnswerOutput::addNotesOn(const std::string &text, const std::string &error,
                              JsonWriter &json) const {
    if (notes_ != nullptr) addNotes(json, notes_->on(text, error));
}

}  // namespace zdbs::admin
