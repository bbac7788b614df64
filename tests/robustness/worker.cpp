/**
 * Changes the database "db" of a home through the store's own interface:
 *
 *   worker load HOME FILE...   one transaction, in many small segments
 *   worker serve HOME          "generation N" on standard input becomes the database's next
 *                              state (see generations.h), and "done" is the answer
 */
#include <filesystem>
#include <functional>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/robustness/generations.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/load/loader.h"

namespace {

using zdbs::embedded::Home;
using zdbs::embedded::Writer;

void load(const std::string &directory, const std::vector<std::string> &files) {
    const zdbs::embedded::SegmentLimits small{500, 10000};
    const auto home = Home::open(directory);
    Writer writer(zdbs::embedded::Environment::open(home->databasePath("db")), {}, small);
    zdbs::Loader loader(writer);
    for (const std::string &file : files)
        loader.load(*zdbs::openFile(file), file, std::filesystem::path(file).filename().native());
    writer.commit();
}

void put(Writer &writer, const std::string &document, const std::string &xml) {
    if (writer.hasDocument(document)) writer.removeDocument(document);
    zdbs::Loader(writer).load(*zdbs::openText(xml), document, document);
}

void makeGeneration(Home &home, std::int32_t generation) {
    const auto writer = home.write("db");
    const std::int32_t count = robustness::elementsOf(generation);
    const std::int32_t others = robustness::othersOf(generation);
    put(*writer, "left.xml", robustness::elementsXml("left", "a", count));
    put(*writer, "generation.xml", robustness::generationXml(generation));
    put(*writer, "right.xml", robustness::elementsXml("right", "b", count));
    if (others != 0)
        put(*writer, "other.xml", robustness::elementsXml("other", "c", others));
    else if (writer->hasDocument("other.xml"))
        writer->removeDocument("other.xml");
    writer->commit();
}

void serve(const std::string &directory) {
    const auto home = Home::open(directory);
    std::string word;
    for (std::int32_t number = 0; std::cin >> word >> number;) {
        makeGeneration(*home, number);
        std::cout << "done " << number << std::endl;
    }
}

}  // namespace

int main(int count, char **arguments) {
    const std::vector<std::string> words(arguments + 1, arguments + count);
    try {
        if (words.size() > 2 && words[0] == "load")
            load(words[1], {words.begin() + 2, words.end()});
        else if (words.size() == 2 && words[0] == "serve")
            serve(words[1]);
        else
            return 2;
        return 0;
    } catch (const std::exception &error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
