/** Rows on their way into the table of nodes. */
#ifndef ZDBS_SQL_ROW_BUFFER_H
#define ZDBS_SQL_ROW_BUFFER_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/sql/connection.h"
#include "zdbs/sql/summary.h"

namespace zdbs::sql {

struct LoadedRow {
    int part = 0;
    int id = 0;
    int document = 0;
    PathNumber path = rootPath;
    int parent = 0;  ///< below 0: none
    int last = 0;
    int ordinal = 1;
    bool hasValue = false;
    bool canBeNumber = false;
};

/** Keeps some megabytes of rows and sends them in the order of paths, so that these lie together.
 */
class RowBuffer {
public:
    /** @param above numbers of rows at the levels from 1 to two above the row's */
    void add(const LoadedRow &row, std::string_view value, std::span<const int> above);

    bool isFull() const { return values_.size() + rows_.size() * sizeof(Kept) > mostBytes; }

    /** None are left. */
    void send(Connection &connection);

    /** Forgets the rows of a document and of those behind it in its part. */
    void dropFrom(int part, int document);

private:
    static constexpr std::size_t mostBytes = std::size_t{64} * 1024 * 1024;

    struct Kept {
        LoadedRow row;
        std::size_t value;
        std::uint32_t valueSize;
        std::uint32_t levels;
        std::size_t above;
    };

    void encode(const Kept &kept, std::uint32_t levels, std::string &out) const;

    std::vector<Kept> rows_;
    std::string values_;
    std::vector<int> above_;
};

}  // namespace zdbs::sql

#endif
