#include <charconv>
#include <chrono>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/json.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/request_text.h"
#include "zdbs/admin/visible_text.h"
#include "zdbs/base/status.h"
#include "zdbs/export/export_document.h"
#include "zdbs/session/nested_request.h"
#include "zdbs/session/session.h"

namespace zdbs::admin {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::string_view standardInput = "-";

/** Numbers with something behind each but the last. */
void writeNumbers(std::span<const NodeId> numbers, std::string_view separator) {
    constexpr std::size_t chunkSize = 64 * 1024;
    std::string chunk;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (i > 0) chunk += separator;
        chunk += std::to_string(numbers[i]);
        if (chunk.size() < chunkSize) continue;
        writeOutput(chunk);
        chunk.clear();
    }
    writeOutput(chunk);
}

/** One run of `zdbs query`. */
class QueryRun {
public:
    QueryRun(Session &session, const QueryRequest &request) : session_(session), request_(request) {
        for (const std::string &specs : request.fragments)
            fragments_ += specs + ' ';
    }

    void answerInput() {
        RequestLines lines(stdin);
        while (const auto line = lines.next())
            answer(*line);
    }

    /** Hands its answer on before the next one, for those who wait at the other end of a pipe. */
    void answer(const std::string &text) {
        try {
            requireRequest(text);
            const Clock::time_point begin = Clock::now();
            const NestedRequest found(session_, text);
            write(text, found, Clock::now() - begin);
        } catch (const Failure &failure) {
            if (failure.status() == Status::writeFailed) throw;
            fail(text, failure);
        }
        finishOutput();
    }

    bool allRan() const { return allRan_; }

private:
    bool printsCounts() const {
        return !request_.asJson && !request_.listsIds && fragments_.empty();
    }

    void write(const std::string &text, const NestedRequest &found, Clock::duration time) const {
        if (request_.asJson) {
            writeObject(text, found, time);
        } else if (!fragments_.empty()) {
            writeFragments(found, writeOutput);
        } else if (request_.listsIds) {
            writeIds(found);
        } else {
            writeOutput(std::to_string(found.records()) + '\n');
        }
    }

    void fail(const std::string &text, const Failure &failure) {
        allRan_ = false;
        if (request_.asJson) {
            JsonWriter json;
            json.beginObject().key("request").value(text).key("error").value(failure.what());
            writeOutput(json.endObject().text() + '\n');
        } else if (printsCounts()) {
            // Whoever waits for a line for each request gets one.
            writeOutput("-\n");
        }
        finishOutput();
        writeMessage(nameOf(text) + ": " + visibleText(failure.what()));
    }

    static void writeIds(const NestedRequest &found) {
        if (found.records() == 0) return;
        writeNumbers(found.matches(), "\n");
        writeOutput("\n");
    }

    void writeFragments(const NestedRequest &found, ChunkSink::Consumer consumer) const {
        ChunkSink sink(std::move(consumer));
        writeExportDocument(found.answer(), fragments_, request_.highlights, sink);
        sink.flush();
    }

    /** Not built as a whole: lists and documents can be larger than what memory holds. */
    void writeObject(const std::string &text, const NestedRequest &found,
                     Clock::duration time) const {
        JsonWriter json;
        json.beginObject().key("request").value(text);
        json.key("records").value(static_cast<std::uint64_t>(found.records()));
        json.key("hits").value(static_cast<std::uint64_t>(found.hits()));
        json.key("milliseconds").value(time);
        writeOutput(json.text());
        if (request_.listsIds) {
            writeOutput(",\"ids\":[");
            writeNumbers(found.matches(), ",");
            writeOutput("]");
        }
        if (!fragments_.empty()) {
            writeOutput(",\"fragments\":\"");
            writeFragments(found, [](std::string_view piece) { writeOutput(jsonPiece(piece)); });
            writeOutput("\"");
        }
        writeOutput("}\n");
    }

    Session &session_;
    const QueryRequest &request_;
    std::string fragments_;
    bool allRan_ = true;
};

/** What can be known to be wrong before anything is begun. */
void check(const QueryRequest &request) {
    if (request.listsIds && !request.fragments.empty() && !request.asJson)
        throw UsageError("--ids and --fragments together need --json.");
    try {
        for (const std::string &specs : request.fragments) {
            checkFragmentSpecs(specs);
            if (specs.find_first_not_of(" \t\r\n") == std::string::npos)
                throw UsageError("--fragments is given no specification.");
        }
    } catch (const Failure &failure) {
        throw UsageError(visibleText(failure.what()));
    }
}

}  // namespace

bool query(const HomeChoice &home, const QueryRequest &request) {
    check(request);
    const auto session = Session::ofOwner(home.open()->open(request.database));
    const NestedScope oneState(*session);
    QueryRun run(*session, request);
    if (request.requests.empty()) run.answerInput();
    for (const std::string &text : request.requests) {
        if (text == standardInput)
            run.answerInput();
        else
            run.answer(text);
    }
    return run.allRan();
}

}  // namespace zdbs::admin
