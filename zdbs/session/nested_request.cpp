#include "zdbs/session/nested_request.h"

#include <array>
#include <memory>
#include <string>

#include "prg/xml/xpath/parser/xpath_exception.h"
#include "prg/xml/xpath/processor/search_set.h"
#include "prg/xml/xpath/processor/zx_processor_main.h"
#include "zdbs/session/active_session.h"
#include "zdbs/session/nested_scope.h"
#include "zdbs/session/session.h"
#include "zdbs/status/status.h"
#include "zdbs/values/utf8.h"

namespace zdbs {
namespace {

std::string messageOf(XPathException &exception) {
    std::array<char, 4096> buffer{};
    exception.GetErrorMessage(buffer.data(), static_cast<int>(buffer.size()));
    std::string message(buffer.data());
    while (message.ends_with('.') || message.ends_with('\n'))
        message.pop_back();
    return message;
}

/**
 * Number of the set that answers a request. The processor's "universal" set has no
 * number, for it stands for set 0: it is turned into a set here.
 */
std::int32_t runRequest(Session &session, const std::string &request) {
    ZXProcessorMain processor(nullptr);
    processor.Begin();
    SearchSet *last = processor.Query(request.c_str());
    if (last == nullptr) throw Failure(Status::requestFailed, {"it selects no nodes"});
    processor.End();
    if (last->GetNumber() > 0) return last->GetNumber();
    session.execute("FIND XPATH(self,0,0,1)");
    return session.lastSearch().number;
}

/** The translation throws objects on the heap, for the catcher to delete. */
std::int32_t runTranslated(Session &session, const std::string &request) {
    try {
        return runRequest(session, request);
    } catch (XPathException *raised) {
        std::unique_ptr<XPathException> exception(raised);
        throw Failure(Status::requestFailed, {messageOf(*exception)});
    }
}

}  // namespace

RequestAnswer runNestedRequest(Session &session, std::string_view request) {
    NestedScope scope(session);
    ActiveSession active(&session);
    std::int32_t number = runTranslated(session, std::string(request));
    const OpenDatabase &database = scope.database();
    return {database.nodes(), database.records(*scope.set(number)),
            database.hitRanges(scope.made())};
}

}  // namespace zdbs
