#include "tests/engine_conformance/collection.h"

#include "zdbs/load/input.h"
#include "zdbs/load/loader.h"

namespace zdbs::conformance {

Collection::Collection(const EngineUnderTest &engine) {
    engine.makeLocation(location());
    administration_ = engine.administer(location());
    engine_ = engine.open(location());
    administration_->createDatabase("db");
    administration_->addUser("reader", "secret");
    administration_->grant("reader", "db");
}

void Collection::load(const std::vector<NamedDocument> &documents, const std::string &database) {
    const auto load = administration_->load(database, {});
    for (const NamedDocument &document : documents)
        tellXml(*load, document);
    load->commit();
}

void Collection::startOver() {
    administration_->dropDatabase("db", {});
    administration_->createDatabase("db");
    administration_->grant("reader", "db");
}

void Collection::remove(const std::vector<std::string> &documents) {
    const auto load = administration_->load("db", {});
    for (const std::string &document : documents)
        load->removeDocument(document);
    load->commit();
}

void tellXml(Load &load, const NamedDocument &document) {
    const auto input = openText(document.xml);
    Loader(load).load(*input, document.name, document.name);
}

}  // namespace zdbs::conformance
