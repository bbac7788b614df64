/** The engine of the tests where programs look for one. */
#include "zdbs/engine/registry.h"

#include "tests/engine_conformance/naive/location.h"
#include "zdbs/base/status.h"

namespace zdbs {

std::shared_ptr<const Engine> openEngine(const std::string &location) {
    return naive::openEngine(naive::locate(location));
}

std::unique_ptr<Administration> administer(const std::string &location) {
    return naive::administer(naive::locate(location));
}

void makeLocation(const std::string &location) {
    naive::makeLocation(location);
}

void restoreLocation(const std::string &, const ByteSource &) {
    throw Failure(Status::unsupported, {"restore"});
}

}  // namespace zdbs
