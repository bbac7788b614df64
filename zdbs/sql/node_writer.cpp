#include "zdbs/sql/node_writer.h"

#include "zdbs/base/status.h"

namespace zdbs::sql {

NodeWriter::NodeWriter(Connection &connection, bool isEmpty) : connection_(connection) {
    if (!isEmpty) return;
    left_ = nodeIndexes(hasTrigrams(connection_));
    for (const NodeIndex &each : left_)
        connection_.run("drop index if exists " + each.name);
}

void NodeWriter::add(const LoadedRow &row, std::string_view value, std::span<const int> above) {
    buffer_.add(row, value, above);
    if (buffer_.isFull()) send();
}

void NodeWriter::drop(int part, int first) {
    buffer_.dropFrom(part, first);
    if (isSent_)
        connection_.run(Statement::of("delete from node where part = $1 and id >= $2",
                                      std::int64_t{part}, std::int64_t{first}));
}

void NodeWriter::send() {
    buffer_.send(connection_);
    isSent_ = true;
}

void NodeWriter::addLevels(int from, int to) {
    std::string text;
    for (int level = from + 1; level <= to; ++level)
        text += (text.empty() ? "" : ", ") + std::string("add column if not exists a") +
                std::to_string(level) + " int";
    connection_.run("alter table node " + text);
}

void NodeWriter::finish() {
    send();
    for (const NodeIndex &each : left_)
        connection_.run(each.create(""));
}

void NodeWriter::tidy() {
    try {
        connection_.run("vacuum (analyze) node");
    } catch (const Failure &) {
        connection_.close();
    }
}

}  // namespace zdbs::sql
