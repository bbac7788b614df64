#include "zdbs/session/nested_request.h"

#include <array>
#include <memory>
#include <string>

#include "prg/xml/xpath/parser/xpath_exception.h"
#include "prg/xml/xpath/processor/search_set.h"
#include "prg/xml/xpath/processor/zx_processor_main.h"
#include "zdbs/base/status.h"
#include "zdbs/base/utf8.h"
#include "zdbs/session/active_session.h"
#include "zdbs/session/session.h"

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
 * The processor's "universal" set has no number, for it stands for set 0: it is turned
 * into a set here.
 */
RequestSet translate(Session &session, const std::string &request) {
    ZXProcessorMain processor(nullptr);
    processor.Begin();
    SearchSet *last = processor.Query(request.c_str());
    if (last == nullptr) throw Failure(Status::requestFailed, {"it selects no nodes"});
    const std::int32_t foundAs = last->GetNumber();
    processor.End();
    if (foundAs > 0) return {foundAs, last->GetNumber()};
    session.execute("FIND XPATH(self,0,0,1)");
    const std::int32_t number = session.lastSearch().number;
    return {number, number};
}

}  // namespace

/** The translation throws objects on the heap, for the catcher to delete. */
RequestSet runRequest(Session &session, std::string_view request) {
    // The processor would take what stands in front of it for the request.
    if (request.find('\0') != std::string_view::npos)
        throw Failure(Status::requestFailed, {"it holds a NUL character"});
    ActiveSession active(&session);
    try {
        return translate(session, std::string(request));
    } catch (XPathException *raised) {
        std::unique_ptr<XPathException> exception(raised);
        throw Failure(Status::requestFailed, {messageOf(*exception)});
    }
}

NestedRequest::NestedRequest(Session &session, std::string_view request)
    : session_(session), scope_(session), set_(scope_.set(runRequest(session, request).number)) {}

RequestAnswer runNestedRequest(Session &session, std::string_view request) {
    return NestedRequest(session, request).answer();
}

}  // namespace zdbs
