/**
 * Makes a home for the tests of the boundary: prepare_home DIRECTORY
 *
 * The user "reader" with the password "secret" may read "plays" and not "hidden".
 * A program of its own, for no process may open a database twice.
 */
#include <iostream>
#include <string>

#include "zdbs/base/status.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/load/loader.h"

namespace {

struct Document {
    const char *database;
    const char *name;
    const char *xml;
};

constexpr Document documents[] = {
    {"plays", "hamlet.xml",
     "<play id='1'><title>Hamlet</title><line>to be or not to be</line></play>"},
    {"plays", "faust.xml", "<play id='2'><title>Faust</title><line>M\xC3\xA4rchen</line></play>"},
    {"hidden", "secret.xml", "<secret/>"},
};

void prepare(const std::string &directory) {
    auto home = zdbs::embedded::Home::create(directory);
    home->createDatabase("plays");
    home->createDatabase("hidden");
    for (const Document &document : documents) {
        auto writer = home->write(document.database);
        auto input = zdbs::openText(document.xml);
        zdbs::Loader(*writer).load(*input, document.name, document.name);
        writer->commit();
    }
    home->addUser("reader", "secret");
    home->grant("reader", "plays");
}

}  // namespace

int main(int count, char **arguments) {
    if (count != 2) return 2;
    try {
        prepare(arguments[1]);
        return 0;
    } catch (const zdbs::Failure &failure) {
        std::cerr << failure.what() << "\n";
        return 1;
    }
}
