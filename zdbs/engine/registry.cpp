#include "zdbs/engine/registry.h"

#include "zdbs/base/status.h"
#include "zdbs/embedded/embedded_administration.h"
#include "zdbs/embedded/embedded_engine.h"

namespace zdbs {

namespace {

/** What is a folder of the embedded engine's. */
const std::string &folderIn(const std::string &location) {
    if (isServed(location)) throw Failure(Status::servedHome, {location});
    return location;
}

}  // namespace

std::shared_ptr<const Engine> openEngine(const std::string &location) {
    return embedded::openEmbeddedEngine(folderIn(location));
}

std::unique_ptr<Administration> administer(const std::string &location) {
    return embedded::administerHome(folderIn(location));
}

void makeLocation(const std::string &location) {
    embedded::makeHome(folderIn(location));
}

void restoreLocation(const std::string &location, const ByteSource &source) {
    embedded::restoreHome(folderIn(location), source);
}

}  // namespace zdbs
