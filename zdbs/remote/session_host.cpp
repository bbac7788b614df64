#include "zdbs/remote/session_host.h"

namespace zdbs::remote {

SessionState SessionHost::state() const {
    try {
        return {session_.lastSearch()};
    } catch (const Failure &) {
        return {};  // there is no set
    }
}

Answer SessionHost::done() const {
    MessageWriter writer(Kind::done);
    write(writer, state());
    return {writer.bytes(), {}};
}

Answer SessionHost::failed(Status status, std::string_view sentence) const {
    return {failureText(state(), status, sentence), {}};
}

Answer SessionHost::record(MessageReader &reader) {
    const std::int32_t set = reader.number();
    const std::int32_t ordinal = reader.number();
    reader.end();
    const PlacedRecord record = session_.record(set, ordinal);
    MessageWriter writer(Kind::done);
    write(writer, state());
    write(writer, record);
    return {writer.bytes(), {}};
}

Answer SessionHost::exported(MessageReader &reader) {
    const std::int32_t filter = reader.number();
    const bool highlight = reader.number() != 0;
    const std::string_view arguments = reader.text();
    reader.end();
    if (filter < 0 || filter > static_cast<std::int32_t>(ExportFilter::databases))
        throw MessageReader::Malformed();
    DocumentBlock document =
        session_.exportText(static_cast<ExportFilter>(filter), arguments, highlight);
    MessageWriter writer(Kind::document);
    write(writer, state());
    return {writer.bytes(document.length), std::move(document)};
}

Answer SessionHost::answer(Kind kind, std::string_view content) {
    MessageReader reader(content);
    switch (kind) {
        case Kind::execute: {
            const std::string_view command = reader.text();
            reader.end();
            session_.execute(command);
            return done();
        }
        case Kind::saveStatus:
            reader.end();
            session_.saveStatus();
            return done();
        case Kind::loadStatus:
            reader.end();
            session_.loadStatus();
            return done();
        case Kind::hasDatabase: {
            const std::string_view database = reader.text();
            reader.end();
            const bool isThere = session_.hasDatabase(database);
            MessageWriter writer(Kind::done);
            write(writer, state());
            return {writer.number(isThere ? 1 : 0).bytes(), {}};
        }
        case Kind::record:
            return record(reader);
        case Kind::exportText:
            return exported(reader);
        case Kind::stop:
        case Kind::command:
        case Kind::input:
        case Kind::done:
        case Kind::failed:
        case Kind::farewell:
        case Kind::document:
        case Kind::output:
        case Kind::errors:
        case Kind::wanted:
        case Kind::ended:
            break;
    }
    throw MessageReader::Malformed();
}

}  // namespace zdbs::remote
