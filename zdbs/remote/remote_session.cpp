#include "zdbs/remote/remote_session.h"

namespace zdbs::remote {

void RemoteSession::fail(std::string_view content) {
    MessageReader reader(content);
    state_ = readState(reader);
    throwTold(reader);
}

Channel::Received RemoteSession::call(MessageWriter &message, Kind wanted, bool heedsStop) {
    channel_.send(message.bytes());
    try {
        Channel::Received received = channel_.receive(heedsStop);
        if (received.kind == Kind::failed) fail(received.content);
        if (received.kind != wanted) throw MessageReader::Malformed();
        return received;
    } catch (const MessageReader::Malformed &) {
        channel_.endMalformed();
    }
}

template <typename Read>
void RemoteSession::call(MessageWriter &message, bool heedsStop, Read read) {
    const Channel::Received received = call(message, Kind::done, heedsStop);
    try {
        MessageReader reader(received.content);
        state_ = readState(reader);
        read(reader);
        reader.end();
    } catch (const MessageReader::Malformed &) {
        channel_.endMalformed();
    }
}

void RemoteSession::call(MessageWriter &message, bool heedsStop) {
    call(message, heedsStop, [](MessageReader &) {});
}

void RemoteSession::execute(std::string_view command) {
    MessageWriter message(Kind::execute);
    call(message.text(command), true);
}

LastSearch RemoteSession::lastSearch() const {
    channel_.requireOpen();
    if (!state_.search) throw Failure(Status::noSet);
    return *state_.search;
}

void RemoteSession::saveStatus() {
    MessageWriter message(Kind::saveStatus);
    call(message);
}

void RemoteSession::loadStatus() {
    MessageWriter message(Kind::loadStatus);
    call(message);
}

bool RemoteSession::hasDatabase(std::string_view database) {
    MessageWriter message(Kind::hasDatabase);
    bool isThere = false;
    try {
        call(message.text(database), false,
             [&](MessageReader &reader) { isThere = reader.number() != 0; });
    } catch (const Failure &failure) {
        // Callers say that there is no such database. Nobody knows; opening it tells why.
        if (failure.status() != Status::serverLost) throw;
        return true;
    }
    return isThere;
}

PlacedRecord RemoteSession::record(std::int32_t set, std::int32_t ordinal) {
    MessageWriter message(Kind::record);
    PlacedRecord record;
    call(message.number(set).number(ordinal), false,
         [&](MessageReader &reader) { record = readRecord(reader); });
    return record;
}

DocumentBlock RemoteSession::exportText(ExportFilter filter, std::string_view arguments,
                                        bool highlight) {
    MessageWriter message(Kind::exportText);
    message.number(static_cast<std::int32_t>(filter)).number(highlight ? 1 : 0).text(arguments);
    Channel::Received received = call(message, Kind::document, true);
    state_ = received.state;
    return std::move(received.document);
}

}  // namespace zdbs::remote
