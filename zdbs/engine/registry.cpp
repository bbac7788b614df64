#include "zdbs/engine/registry.h"

#include "zdbs/embedded/embedded_engine.h"

namespace zdbs {

std::string configuredLocation() {
    return configuredHome().native();
}

std::shared_ptr<const Engine> openEngine(const std::string &location) {
    return openEmbeddedEngine(location);
}

}  // namespace zdbs
