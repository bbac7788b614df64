/** The engines that the suite runs against. */
#ifndef TESTS_ENGINE_CONFORMANCE_ENGINE_UNDER_TEST_H
#define TESTS_ENGINE_CONFORMANCE_ENGINE_UNDER_TEST_H

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "zdbs/engine/administration.h"

namespace zdbs::conformance {

/** How one gets at an engine; all else goes through the line. */
struct EngineUnderTest {
    std::string name;
    void (*makeLocation)(const std::string &location);
    std::unique_ptr<Administration> (*administer)(const std::string &location);
    std::shared_ptr<const Engine> (*open)(const std::string &location);
};

/** For the names of tests. */
void PrintTo(const EngineUnderTest &engine, std::ostream *out);

/** The one that programs use. */
const EngineUnderTest &embeddedEngine();

/** The one that looks at every node. */
const EngineUnderTest &naiveEngine();

/** The same with numbers of records that 32 bits do not hold. */
const EngineUnderTest &farNaiveEngine();

constexpr RecordId farRecord = (RecordId{1} << 32U) + 7;

/**
 * The one that keeps databases on a server, if there is one to be started; with VEXA_SHARDS in the
 * environment on so many others beside it.
 */
std::vector<EngineUnderTest> serverEngines();

/** Where a location of that one has what a shard keeps. */
std::string shardLocation(const std::string &location, std::size_t number);

std::vector<EngineUnderTest> allEngines();

/** Those whose locations are folders. */
std::vector<EngineUnderTest> folderEngines();

}  // namespace zdbs::conformance

#endif
