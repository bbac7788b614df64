#include "zdbs/serve/problem.h"

#include "zdbs/answers/json.h"

namespace zdbs::serve {

namespace {

unsigned httpOf(Status status) {
    switch (status) {
        case Status::loginFailed:
            return 401;
        case Status::notGranted:
            return 403;
        case Status::unknownDatabase:
        case Status::unknownDocument:
            return 404;
        case Status::documentExists:
            return 409;
        case Status::unsupported:
            return 501;
        case Status::databaseLost:
        case Status::databaseSlow:
        case Status::stopped:
        case Status::serverRefused:
            return 503;
        case Status::diskFull:
        case Status::outOfMemory:
            return 507;
        case Status::ok:
        case Status::internalError:
        case Status::nullArgument:
        case Status::shortBuffer:
        case Status::unknownHandle:
        case Status::noSession:
        case Status::sessionOpen:
        case Status::noDatabase:
        case Status::homeMissing:
        case Status::homeExists:
        case Status::homeUnreadable:
        case Status::homeVersion:
        case Status::homeDamaged:
        case Status::homeReadOnly:
        case Status::storeFailed:
        case Status::serverUnreachable:
        case Status::serverUntrusted:
        case Status::serverLost:
        case Status::servedHome:
        case Status::fileUnreadable:
        case Status::writeFailed:
        case Status::backupDamaged:
            return 500;
        case Status::unknownSymbol:
        case Status::unknownItem:
        case Status::noSavedStatus:
        case Status::noSet:
        case Status::noMoreHits:
        case Status::noSuchRecord:
        case Status::recordTooLarge:
        case Status::emptyCommand:
        case Status::unknownCommand:
        case Status::syntaxError:
        case Status::unknownField:
        case Status::unknownAxis:
        case Status::unknownOperator:
        case Status::unknownSet:
        case Status::badNumber:
        case Status::unterminatedText:
        case Status::badRelation:
        case Status::trailingText:
        case Status::noHits:
        case Status::badSetting:
        case Status::nestedTooDeep:
        case Status::positionOfTwoSets:
        case Status::positionWithOthers:
        case Status::unknownFilter:
        case Status::missingArgument:
        case Status::badFragmentSpec:
        case Status::requestFailed:
        case Status::documentTooLarge:
        case Status::repeatedArgument:
        case Status::badName:
        case Status::userExists:
        case Status::unknownUser:
        case Status::badPassword:
        case Status::databaseExists:
        case Status::badDocumentName:
        case Status::malformed:
        case Status::tooDeep:
        case Status::tooManyNodes:
        case Status::tooManyAttributes:
        case Status::nameTooLong:
        case Status::entityLimit:
        case Status::unknownEntity:
        case Status::unknownEncoding:
        case Status::compressedDamaged:
        case Status::valueTooLong:
        case Status::entitiesTooDeep:
            return 400;
    }
    return 500;
}

/** Where things are in the files of the machine is nothing for its clients. */
std::string detailOf(const Failure &failure) {
    return httpOf(failure.status()) == 500
               ? sentenceFor(static_cast<std::int32_t>(failure.status()))
               : failure.what();
}

}  // namespace

Problem problemOf(StopReason reason) {
    switch (reason) {
        case StopReason::time:
            return {503, "The request took longer than requests may.", Status::stopped};
        case StopReason::memory:
            return {507, "The request needs more memory than requests may.", Status::outOfMemory};
        case StopReason::shutdown:
            return {503, "The server is ending.", Status::stopped};
        case StopReason::asked:
        case StopReason::none:
        case StopReason::clientGone:
        case StopReason::slowClient:
            break;
    }
    return {503, "Nobody waits for the answer.", Status::stopped};
}

Problem::Problem(const Failure &failure)
    : Problem(httpOf(failure.status()), detailOf(failure), failure.status()) {}

std::string Problem::json() const {
    JsonWriter json;
    json.beginObject().key("type").value("about:blank").key("title").value(reasonOf(http_));
    json.key("status").value(std::uint64_t{http_}).key("detail").value(what());
    if (kernel_ != Status::ok) {
        json.key("kernel").beginObject();
        json.key("number").value(static_cast<std::uint64_t>(kernel_));
        json.key("name").value(rowOf(kernel_)->name).endObject();
    }
    return json.endObject().text() + '\n';
}

std::string_view reasonOf(unsigned http) {
    switch (http) {
        case 400:
            return "Bad Request";
        case 401:
            return "Unauthorized";
        case 403:
            return "Forbidden";
        case 404:
            return "Not Found";
        case 405:
            return "Method Not Allowed";
        case 406:
            return "Not Acceptable";
        case 409:
            return "Conflict";
        case 412:
            return "Precondition Failed";
        case 413:
            return "Content Too Large";
        case 415:
            return "Unsupported Media Type";
        case 426:
            return "Upgrade Required";
        case 429:
            return "Too Many Requests";
        case 500:
            return "Internal Server Error";
        case 501:
            return "Not Implemented";
        case 503:
            return "Service Unavailable";
        case 507:
            return "Insufficient Storage";
        default:
            return {};
    }
}

}  // namespace zdbs::serve
