#include "tests/engine_conformance/engine_under_test.h"

#include <cstdlib>
#include <ostream>

#include "tests/engine_conformance/naive/location.h"
#include "zdbs/engine/registry.h"
#ifdef VEXA_SQL_ENGINE
#include "tests/support/database_server.h"
#endif

namespace zdbs::conformance {
namespace {

void makeNaive(const std::string &location) {
    naive::makeLocation(location);
}

void makeFarNaive(const std::string &location) {
    naive::makeLocation(location, farRecord);
}

std::unique_ptr<Administration> administerNaive(const std::string &location) {
    return naive::administer(naive::locate(location));
}

std::shared_ptr<const Engine> openNaive(const std::string &location) {
    return naive::openEngine(naive::locate(location));
}

#ifdef VEXA_SQL_ENGINE
/** A location is a database of its own on the server of this process. */
std::string onServer(const std::string &location) {
    return support::DatabaseServer::ofProcess().urlOf(location);
}

std::size_t shardCount() {
    const char *setting = std::getenv("VEXA_SHARDS");
    return setting == nullptr ? 0 : std::stoul(setting);
}

void makeOnServer(const std::string &location) {
    support::DatabaseServer::ofProcess().createDatabase(location);
    std::string shards;
    for (std::size_t number = 0; number < shardCount(); ++number) {
        auto &server = support::DatabaseServer::shardOfProcess(number);
        const std::string own = shardLocation(location, number);
        server.createDatabase(own);
        shards += server.urlOf(own) + " ";
    }
    ::setenv("ZDBS_SHARDS", shards.c_str(), 1);
    makeLocation(onServer(location));
    ::unsetenv("ZDBS_SHARDS");
}

std::unique_ptr<Administration> administerOnServer(const std::string &location) {
    return administer(onServer(location));
}

std::shared_ptr<const Engine> openOnServer(const std::string &location) {
    return openEngine(onServer(location));
}
#endif

}  // namespace

void PrintTo(const EngineUnderTest &engine, std::ostream *out) {
    *out << engine.name;
}

const EngineUnderTest &embeddedEngine() {
    static const EngineUnderTest engine{"embedded", makeLocation, administer, openEngine};
    return engine;
}

const EngineUnderTest &naiveEngine() {
    static const EngineUnderTest engine{"naive", makeNaive, administerNaive, openNaive};
    return engine;
}

const EngineUnderTest &farNaiveEngine() {
    static const EngineUnderTest engine{"naiveFarNumbers", makeFarNaive, administerNaive,
                                        openNaive};
    return engine;
}

std::vector<EngineUnderTest> serverEngines() {
#ifdef VEXA_SQL_ENGINE
    const bool canStart = shardCount() == 0 ? support::DatabaseServer::canStart()
                                            : support::DatabaseServer::canHaveShards();
    if (canStart) return {{"sql", makeOnServer, administerOnServer, openOnServer}};
#endif
    return {};
}

std::string shardLocation(const std::string &location, std::size_t number) {
    return location + "#" + std::to_string(number);
}

std::vector<EngineUnderTest> folderEngines() {
    return {embeddedEngine(), naiveEngine(), farNaiveEngine()};
}

std::vector<EngineUnderTest> allEngines() {
    std::vector<EngineUnderTest> engines = folderEngines();
    for (const EngineUnderTest &each : serverEngines())
        engines.push_back(each);
    return engines;
}

}  // namespace zdbs::conformance
