#include <malloc.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/interruption.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/request_text.h"
#include "zdbs/admin/visible_text.h"
#include "zdbs/answers/request_notes.h"
#include "zdbs/answers/xpath_explanation.h"
#include "zdbs/answers/xpath_notes.h"
#include "zdbs/base/status.h"
#include "zdbs/xpath/characters.h"
#include "zdbs/xpath/evaluator.h"
#include "zdbs/xpath/grammar.h"
#include "zdbs/xpath/request_error.h"

namespace zdbs::admin {

namespace {

using Clock = std::chrono::steady_clock;
struct Pair {
    std::string name;
    std::string text;
};

/** "name=text", as options have it. */
Pair pairOf(const std::string &argument, std::string_view option, std::string_view form) {
    const std::size_t sign = argument.find('=');
    Pair pair{argument.substr(0, sign), {}};
    if (sign != std::string::npos) pair.text = argument.substr(sign + 1);
    // Only the name of a variable can have a type behind it.
    const std::string bare =
        pair.name.substr(0, option == "--variable" ? pair.name.find(':') : std::string::npos);
    const bool isName = !bare.empty() && xpath::nameLength(bare) == bare.size();
    if (sign == std::string::npos || !isName)
        throw UsageError(std::string(option) + " takes " + std::string(form) + ", not " +
                         visibleText(argument) + ".");
    return pair;
}

/** The text of a variable as the type that stands behind its name. */
xpath::Scalar valueOf(const Pair &pair, std::string_view type) {
    if (type.empty() || type == "string") return pair.text;
    if (type == "number") {
        const double number = xpath::toNumber(std::string_view(pair.text));
        if (!std::isnan(number) || pair.text == "NaN") return number;
        throw UsageError("The variable " + pair.name + " is no number: " + visibleText(pair.text) +
                         ".");
    }
    if (type == "boolean") {
        if (pair.text == "true" || pair.text == "false") return pair.text == "true";
        throw UsageError("The variable " + pair.name + " is true or false, not " +
                         visibleText(pair.text) + ".");
    }
    throw UsageError("A variable is a string, a number or a boolean, not " + visibleText(type) +
                     ".");
}

xpath::Surroundings surroundingsOf(const XPathRequest &request) {
    xpath::Surroundings surroundings;
    for (const std::string &argument : request.namespaces) {
        Pair pair = pairOf(argument, "--namespace", "a prefix, = and a URI");
        if (pair.name == "xml") throw UsageError("The prefix xml has its namespace already.");
        surroundings.namespaces[pair.name] = std::move(pair.text);
    }
    for (const std::string &argument : request.variables) {
        const Pair pair =
            pairOf(argument, "--variable", "a name, perhaps with : and a type, = and a value");
        const std::size_t colon = pair.name.find(':');
        const std::string type = colon == std::string::npos ? "" : pair.name.substr(colon + 1);
        surroundings.variables[pair.name.substr(0, colon)] = valueOf(pair, type);
    }
    return surroundings;
}

std::string tableOf(const XPathExplanation &explanation) {
    std::string text =
        std::string(explanation.type) + ": " + visibleText(explanation.expression) + '\n';
    if (explanation.parts.empty()) return text;
    using Align = TextTable::Align;
    TextTable table({Align::right, Align::right, Align::left, Align::left});
    table.add({"NODES", "TIME", "FOUND BY", "PART"});
    for (const xpath::PartFound &part : explanation.parts) {
        std::array<char, 32> time{};
        const auto taken = std::chrono::duration<double, std::milli>(part.time).count();
        std::snprintf(time.data(), time.size(), "%.3f ms", taken);
        table.add({std::to_string(part.nodes), time.data(), std::string(part.way),
                   visibleText(part.part)});
    }
    return text + table.text();
}

/** One run of `zdbs xpath`. */
class XPathRun {
public:
    XPathRun(const OpenDatabase &database, const XPathRequest &request)
        : database_(database),
          collection_(database),
          surroundings_(surroundingsOf(request)),
          explains_(request.explains),
          asJson_(request.forms.asJson),
          notes_([this](const auto &text, const auto &error) { return notesOn(text, error); },
                 request.forms.asJson, request.withoutNotes),
          output_(request.forms, &notes_) {}

    /** Hands its answer on before the next one, for those who wait at the other end of a pipe. */
    void answer(const std::string &text) {
        const Interruption interruption;
        std::string error;
        try {
            answerOrThrow(text);
        } catch (const xpath::RequestError &wrong) {
            error = wrong.what();
            fail(text, wrong, wrong.excerpt());
        } catch (const Failure &failure) {
            Interruption::endIfRequested(text);
            if (failure.status() == Status::writeFailed) throw;
            error = failure.what();
            fail(text, failure, {});
        } catch (const std::bad_alloc &) {
            // What the expression held is free again; the next one may need less.
            const Failure failure(Status::outOfMemory);
            error = failure.what();
            fail(text, failure, {});
        }
        finishOutput();
        notes_.show(text, error);
        Interruption::endIfRequested(text);
    }

    bool allRan() const { return allRan_; }

private:
    std::vector<notes::Note> notesOn(const std::string &text, const std::string &error) const {
        if (!error.empty()) return {};
        return notesOnNames(*xpath::parse(text, surroundings_), collection_);
    }

    void answerOrThrow(const std::string &text) {
        if (text.size() > longestRequest)
            throw Failure(Status::requestFailed, {"it is longer than a request can be"});
        const Clock::time_point begin = Clock::now();
        const xpath::ExpressionPtr expression = xpath::parse(text, surroundings_);
        if (explains_) return explain(text, *expression);
        xpath::Evaluator evaluator(collection_);
        const xpath::Value value = evaluator.evaluate(*expression);
        if (value.type() == xpath::ValueType::nodeSet)
            return writeNodes(text, value.nodes(), begin);
        const xpath::Value printed = value.asTexts();
        output_.writeValue(text, typeName(value.type()), printed.text(0), Clock::now() - begin);
    }

    /** The expression as it is understood, and how its sets were found. */
    void explain(const std::string &text, const xpath::Expression &expression) const {
        const XPathExplanation explanation = explainExpression(collection_, text, expression);
        writeOutput(asJson_ ? jsonOf(explanation) : tableOf(explanation));
    }

    /** The root of a document is a node, but no record: only its count can be told. */
    void writeNodes(const std::string &text, const xpath::NodeColumn &nodes,
                    Clock::time_point begin) {
        const xpath::NodeSet set = nodes.whole();
        if (!set.roots.empty() && output_.listsCountsOnly()) {
            const std::string count = std::to_string(collection_.sizeOf(set));
            return output_.writeValue(text, "nodes", count, Clock::now() - begin);
        }
        const ResultSetPtr &records = xpath::recordsOf(set);
        records->size();  // found when it is asked for, and that belongs to the time
        output_.write(text, {database_, records, {}}, Clock::now() - begin);
    }

    void fail(const std::string &text, const Failure &failure, std::string_view where) {
        allRan_ = false;
        output_.fail(text, failure, where);
    }

    const OpenDatabase &database_;
    const xpath::Collection collection_;
    const xpath::Surroundings surroundings_;
    const bool explains_;
    const bool asJson_;
    RequestNotes notes_;
    AnswerOutput output_;
    bool allRan_ = true;
};

/** Lists of nodes come and go by the megabyte, and the system would clear each anew. */
void keepFreeMemory() {
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 512 << 20);
}

}  // namespace

bool answerXPath(const HomeChoice &home, const XPathRequest &request) {
    checkForms(request.forms);
    keepFreeMemory();
    const auto database = home.open()->open(request.database);
    XPathRun run(*database, request);
    forEachRequest(request.requests, [&](const std::string &text) { run.answer(text); });
    return run.allRan();
}

}  // namespace zdbs::admin
