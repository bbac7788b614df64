#include "zdbs/engine/registry.h"

#include "zdbs/embedded/embedded_administration.h"
#include "zdbs/embedded/embedded_engine.h"

namespace zdbs {

std::shared_ptr<const Engine> openEngine(const std::string &location) {
    return embedded::openEmbeddedEngine(location);
}

std::unique_ptr<Administration> administer(const std::string &location) {
    return embedded::administerHome(location);
}

void makeLocation(const std::string &location) {
    embedded::makeHome(location);
}

void restoreLocation(const std::string &location, const ByteSource &source) {
    embedded::restoreHome(location, source);
}

}  // namespace zdbs
