#include "zdbs/remote/message.h"

#include <limits>

namespace zdbs::remote {

namespace {

constexpr std::size_t numberSize = 4;
constexpr std::size_t hitWordSize = 6 * numberSize;

std::uint32_t unsignedIn(std::string_view bytes) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < numberSize; ++i)
        value |= std::uint32_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
    return value;
}

void put(std::string &bytes, std::size_t place, std::uint32_t value) {
    for (std::size_t i = 0; i < numberSize; ++i)
        bytes[place + i] = static_cast<char>(value >> (8 * i));
}

}  // namespace

std::optional<Head> headOf(std::string_view bytes) {
    const std::uint32_t length = unsignedIn(bytes);
    if (length == 0) return std::nullopt;
    return Head{length - 1, static_cast<Kind>(bytes[numberSize])};
}

MessageWriter &MessageWriter::number(std::int32_t value) {
    bytes_.resize(bytes_.size() + numberSize);
    put(bytes_, bytes_.size() - numberSize, static_cast<std::uint32_t>(value));
    return *this;
}

MessageWriter &MessageWriter::text(std::string_view value) {
    number(static_cast<std::int32_t>(value.size()));
    bytes_ += value;
    return *this;
}

const std::string &MessageWriter::bytes(std::size_t more) {
    put(bytes_, 0, static_cast<std::uint32_t>(bytes_.size() - numberSize + more));
    return bytes_;
}

std::string_view MessageReader::take(std::size_t size) {
    if (size > rest_.size()) throw Malformed();
    const std::string_view taken = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return taken;
}

std::int32_t MessageReader::number() {
    return static_cast<std::int32_t>(unsignedIn(take(numberSize)));
}

std::string_view MessageReader::text() {
    return take(unsignedIn(take(numberSize)));
}

void MessageReader::end() const {
    if (!isAtEnd()) throw Malformed();
}

void write(MessageWriter &writer, const SessionState &state) {
    const LastSearch search = state.search.value_or(LastSearch());
    writer.number(state.search ? 1 : 0);
    writer.number(search.number).number(search.records).number(search.hits);
}

SessionState readState(MessageReader &reader) {
    const bool isThere = reader.number() != 0;
    LastSearch search;
    search.number = reader.number();
    search.records = reader.number();
    search.hits = reader.number();
    return {isThere ? std::optional(search) : std::nullopt};
}

void write(MessageWriter &writer, const PlacedRecord &record) {
    writer.number(static_cast<std::int32_t>(record.found.record)).text(record.database);
    for (const HitWord &hit : record.found.hitWords) {
        writer.number(hit.part).number(hit.field).number(hit.paragraph);
        writer.number(hit.item).number(hit.word).number(hit.length);
    }
}

PlacedRecord readRecord(MessageReader &reader) {
    PlacedRecord record;
    const std::int32_t number = reader.number();
    if (number < 0) throw MessageReader::Malformed();
    record.found.record = static_cast<RecordId>(number);
    record.database = reader.text();
    const std::string_view rest = reader.rest();
    if (rest.size() % hitWordSize != 0) throw MessageReader::Malformed();
    MessageReader words(rest);
    record.found.hitWords.resize(rest.size() / hitWordSize);
    for (HitWord &hit : record.found.hitWords) {
        for (std::int32_t *value :
             {&hit.part, &hit.field, &hit.paragraph, &hit.item, &hit.word, &hit.length})
            *value = words.number();
    }
    return record;
}

std::string failureText(const SessionState &state, Status status, std::string_view sentence) {
    MessageWriter writer(Kind::failed);
    write(writer, state);
    return writer.number(static_cast<std::int32_t>(status)).text(sentence).bytes();
}

std::string farewellText(const Failure &failure) {
    MessageWriter writer(Kind::farewell);
    return writer.number(static_cast<std::int32_t>(failure.status())).text(failure.what()).bytes();
}

}  // namespace zdbs::remote
