/** What the program writes, with every error of writing noticed. */
#ifndef ZDBS_ADMIN_OUTPUT_H
#define ZDBS_ADMIN_OUTPUT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zdbs::admin {

/** To standard output. Throws Failure(writeFailed). */
void writeOutput(std::string_view text);

/** Hands on what is still kept back. Throws Failure(writeFailed). */
void finishOutput();

/** Columns of the terminal that standard output is; 0 when it is none. */
std::size_t outputWidth();

/** "zdbs: " and the message, as a line on standard error. */
void writeMessage(std::string_view message);

/** The message of memory that ran out; needs none itself. */
void writeOutOfMemory() noexcept;

/** Says that somebody else is changing the database. */
void tellWaiting(std::string_view database);

/** Rows of cells in columns, two blanks apart; numbers to the right. */
class TextTable {
public:
    enum class Align { left, right };

    explicit TextTable(std::vector<Align> columns) : columns_(std::move(columns)) {}

    void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }

    /** Lines without blanks at their ends. Widths count characters of UTF-8. */
    std::string text() const;

private:
    std::vector<Align> columns_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace zdbs::admin

#endif
