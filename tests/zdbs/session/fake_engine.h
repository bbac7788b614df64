/** An engine over tables in memory, with users and grants that tests change. */
#ifndef TESTS_ZDBS_SESSION_FAKE_ENGINE_H
#define TESTS_ZDBS_SESSION_FAKE_ENGINE_H

#include <map>
#include <memory>
#include <set>
#include <string>

#include "tests/zdbs/support/memory_path_table.h"
#include "tests/zdbs/support/one_part.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/embedded_database.h"
#include "zdbs/engine/engine.h"

namespace zdbs::testing {

using namespace embedded;

class FakeEngine : public Engine {
public:
    /** Puts XML texts into a database in place of what it had. */
    void store(const std::string &database, const std::vector<XmlSource> &documents) {
        store(database, byPath(tableFromXml(documents)));
    }

    void store(const std::string &database, std::shared_ptr<const NodeTable> table) {
        databases_[database] = std::move(table);
    }

    void store(const std::string &database, const std::string &xml) {
        store(database, {{"test.xml", xml}});
    }

    void grant(const std::string &user, const std::string &database) {
        grants_.insert({user, database});
    }

    void revoke(const std::string &user, const std::string &database) {
        grants_.erase({user, database});
    }

    bool authenticate(std::string_view user, std::string_view password) const override {
        return user == "reader" && password == "secret";
    }

    bool hasDatabase(std::string_view user, std::string_view database) const override {
        return databases_.contains(std::string(database)) &&
               grants_.contains({std::string(user), std::string(database)});
    }

    std::unique_ptr<OpenDatabase> open(std::string_view user,
                                       std::string_view database) const override {
        auto newest = [this, user = std::string(user), name = std::string(database)] {
            if (!hasDatabase(user, name)) throw Failure(Status::unknownDatabase, {name});
            return databases_.at(name);
        };
        return makeEmbeddedDatabase(std::string(database), onePart(newest));
    }

private:
    std::map<std::string, std::shared_ptr<const NodeTable>> databases_;
    std::set<std::pair<std::string, std::string>> grants_;
};

}  // namespace zdbs::testing

#endif
