/** Loads texts into a database of its own and shows what is stored. */
#ifndef TESTS_ZDBS_LOAD_LOAD_FIXTURE_H
#define TESTS_ZDBS_LOAD_LOAD_FIXTURE_H

#include <memory>
#include <string>
#include <string_view>

#include "tests/zdbs/embedded/store/test_home.h"
#include "tests/zdbs/embedded/store/tree_text.h"
#include "zdbs/embedded/store/snapshot.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/load/loader.h"

namespace zdbs {

using namespace embedded;

class LoadFixture {
public:
    /** Loads and commits one document, called `name`; messages call the file "f". */
    void load(std::string_view xml, const std::string &name, const LoadOptions &options = {}) {
        const auto writer = home().write("db");
        const auto input = openText(xml);
        Loader(*writer, options).load(*input, "f", name);
        writer->commit();
    }

    /** The tree of the document, or the sentence of the failure. */
    std::string tree(std::string_view xml, const LoadOptions &options = {}) {
        const std::string name = std::to_string(++documents_);
        try {
            load(xml, name, options);
        } catch (const Failure &failure) {
            return failure.what();
        }
        const auto snapshot = snapshotOf(home());
        const std::string faults = numberingFaults(*snapshot);
        return faults.empty() ? treeText(*snapshot, *snapshot->findDocument(name)) : faults;
    }

    /** The status of loading, and what is said, when asked for. */
    Status status(std::string_view xml, std::string *sentence = nullptr,
                  const LoadOptions &options = {}) {
        return statusOf([&] { load(xml, std::to_string(++documents_), options); }, sentence);
    }

    Home &home() { return *test_.home; }
    std::shared_ptr<const Snapshot> snapshot() { return snapshotOf(home()); }
    const support::TemporaryDirectory &directory() const { return test_.directory; }

private:
    TestHome test_;
    int documents_ = 0;
};

}  // namespace zdbs

#endif
