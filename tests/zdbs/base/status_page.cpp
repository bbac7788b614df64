/** Prints the page of the kernel's statuses, docs/messages.md, from the table. */
#include <iostream>
#include <string>
#include <string_view>

#include "zdbs/base/status.h"

namespace {

/** Brackets are for the program: on the page the sentence stands with all its details. */
std::string shownSentence(std::string_view sentence) {
    std::string result;
    for (char c : sentence) {
        if (c == '[' || c == ']') continue;
        if (c == '|') result += '\\';
        result += c;
    }
    return result;
}

}  // namespace

int main() {
    std::cout
        << "# Statuses and messages of the kernel\n\n"
           "Every call of the kernel returns a status: odd for success, even for failure.\n"
           "`ZdbMessage` turns it into a sentence. `{0}`, `{1}` and so on stand for details,\n"
           "such as the place in a command; asked about a failure that is not the last one,\n"
           "`ZdbMessage` leaves them out. This page is made from the table in\n"
           "`zdbs/base/status.cpp` by `status_page`; a test checks that it is up to date.\n\n"
           "| status | name | sentence |\n|---:|---|---|\n";
    for (const zdbs::StatusRow &row : zdbs::statusTable()) {
        std::cout << "| " << static_cast<int>(row.status) << " | `" << row.name << "` | "
                  << shownSentence(row.sentence) << " |\n";
    }
}
