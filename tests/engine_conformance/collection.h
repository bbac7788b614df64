/** A location of an engine under test, and databases in it. */
#ifndef TESTS_ENGINE_CONFORMANCE_COLLECTION_H
#define TESTS_ENGINE_CONFORMANCE_COLLECTION_H

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/engine_conformance/engine_under_test.h"
#include "tests/support/temporary_directory.h"
#include "zdbs/base/status.h"

namespace zdbs::conformance {

struct NamedDocument {
    std::string name;
    std::string xml;
};

/** A fresh location with one database, "db", that the user "reader" may read by "secret". */
class Collection {
public:
    explicit Collection(const EngineUnderTest &engine);

    /** Loads documents as one transaction. */
    void load(const std::vector<NamedDocument> &documents, const std::string &database = "db");

    /** Puts an empty database in the place of the one that there is. */
    void startOver();

    /** Removes documents as one transaction. */
    void remove(const std::vector<std::string> &documents);

    Administration &administration() { return *administration_; }
    const Engine &engine() const { return *engine_; }
    const std::shared_ptr<const Engine> &shared() const { return engine_; }
    std::string location() const { return directory_ / "location"; }

    /** For the reader. */
    std::unique_ptr<OpenDatabase> open() const { return engine_->open("reader", "db"); }

private:
    support::TemporaryDirectory directory_;
    std::unique_ptr<Administration> administration_;
    std::shared_ptr<const Engine> engine_;
};

/** Tells a document of XML text to a load. */
void tellXml(Load &load, const NamedDocument &document);

/** What a call fails with; ok when it does not. */
template <typename Call>
Status statusOf(Call call) {
    try {
        call();
    } catch (const Failure &failure) {
        return failure.status();
    }
    return Status::ok;
}

/** A test of one engine. */
class OfEngine : public ::testing::TestWithParam<EngineUnderTest> {
protected:
    Administration &administration() { return collection.administration(); }

    Collection collection{GetParam()};
};

inline std::string nameOfEngine(const ::testing::TestParamInfo<EngineUnderTest> &one) {
    return one.param.name;
}

}  // namespace zdbs::conformance

#endif
