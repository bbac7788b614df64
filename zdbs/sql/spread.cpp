#include "zdbs/sql/spread.h"

#include <algorithm>

namespace zdbs::sql {
namespace {

constexpr std::string_view otherHome = "ZD001";
constexpr std::string_view olderCopy = "ZD002";

std::string quoted(std::string_view text) {
    std::string result = "\"";
    for (const char each : text) {
        if (each == '"' || each == '\\') result += '\\';
        result += each;
    }
    return result + '"';
}

template <typename Values, typename Written>
std::string arrayOf(const Values &values, Written written) {
    std::string text = "{";
    for (const auto &each : values)
        text += (text.size() > 1 ? "," : "") + written(each);
    return text + "}";
}

std::string_view typeName(Statement::Type type) {
    switch (type) {
        case Statement::Type::text:
            return "text";
        case Statement::Type::number:
            return "double precision";
        case Statement::Type::integer:
            return "bigint";
    }
    return {};
}

/** What was bound one by one is elements of one array there. */
std::string withElements(const Statement &statement) {
    const std::string &text = statement.text;
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] != '$') {
            result += text[at++];
            continue;
        }
        const std::size_t end = std::min(text.find_first_not_of("0123456789", at + 1), text.size());
        const std::string number = text.substr(at + 1, end - at - 1);
        result += "(($1)[" + number + "]::";
        result += typeName(statement.types[std::stoul(number) - 1]);
        result += ')';
        at = end;
    }
    return result;
}

std::string arrayOf(const std::vector<std::int64_t> &numbers) {
    return arrayOf(numbers, [](std::int64_t each) { return std::to_string(each); });
}

}  // namespace

Statement Spread::required() const {
    return Statement::of("select zdbs.require($1, $2, $3::bigint[])", std::string_view(home),
                         collection, std::string_view(arrayOf(fences)));
}

/** Where others have become its shards since, none of them knows what it is asked for. */
Statement Spread::onAll(const Statement &statement, std::string_view columns,
                        std::string_view request) const {
    const std::string bound = arrayOf(statement.values, quoted);
    const std::string states = arrayOf(fences);
    return Statement::of(
        "select * from zdbs.ask((select $1 from pg_catalog.pg_foreign_server where srvname = "
        "'zdbs' and srvoptions = $2::text[]), $3, $4::bigint[], $5, $6, $7::text[]) as t (" +
            std::string(columns) + ")",
        std::string_view(home), std::string_view(options), collection, std::string_view(states),
        request, std::string_view(withElements(statement)), std::string_view(bound));
}

std::string placeOf(const Location &location, const std::string &shard) {
    return location.name + ", its shard " + shard;
}

/** "… zdbs.ask(6): [name] REMOTE ERROR: why", or what a function of libpq says instead. */
std::optional<Failure> failureOfShard(const Location &location, std::string_view state,
                                      std::string_view message) {
    constexpr std::string_view function = "zdbs.ask(6): [";
    constexpr std::string_view answered = "REMOTE ERROR: ";
    const std::size_t begin = message.find(function);
    if (begin == std::string_view::npos) return std::nullopt;
    message.remove_prefix(begin + function.size());
    const std::size_t end = std::min(message.find("] "), message.size());
    const std::string place = placeOf(location, std::string(message.substr(0, end)));
    message.remove_prefix(std::min(end + 2, message.size()));
    if (message.starts_with("PQconnect")) {
        message.remove_prefix(std::min(message.find(": "), message.size() - 2) + 2);
        return Failure(Status::serverUnreachable, {place, message});
    }
    if (!message.starts_with(answered)) return Failure(Status::databaseLost, {place, message});
    message.remove_prefix(answered.size());
    if (state == otherHome || state == olderCopy)
        return Failure(Status::homeDamaged, {place, message});
    if (state == "53100") return Failure(Status::diskFull, {place});
    if (state.starts_with("08") || state.starts_with("57P"))
        return Failure(Status::databaseLost, {place, message});
    return Failure(Status::storeFailed, {place, message});
}

}  // namespace zdbs::sql
