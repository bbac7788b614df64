#include "zdbs/engine/registry.h"

#include "zdbs/embedded/embedded_administration.h"
#include "zdbs/embedded/embedded_engine.h"

namespace zdbs {

std::string configuredLocation() {
    return configuredHome().native();
}

std::shared_ptr<const Engine> openEngine(const std::string &location) {
    return openEmbeddedEngine(location);
}

std::unique_ptr<Administration> administer(const std::string &location) {
    return administerHome(location);
}

void makeLocation(const std::string &location) {
    makeHome(location);
}

}  // namespace zdbs
