#include "tests/engine_conformance/engine_under_test.h"

#include <ostream>

#include "tests/engine_conformance/naive/location.h"
#include "zdbs/engine/registry.h"

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

std::vector<EngineUnderTest> allEngines() {
    return {embeddedEngine(), naiveEngine(), farNaiveEngine()};
}

}  // namespace zdbs::conformance
