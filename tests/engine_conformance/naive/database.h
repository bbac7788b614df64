/** A database as one session sees it. */
#ifndef TESTS_ENGINE_CONFORMANCE_NAIVE_DATABASE_H
#define TESTS_ENGINE_CONFORMANCE_NAIVE_DATABASE_H

#include <functional>
#include <memory>
#include <string>

#include "tests/engine_conformance/naive/forest.h"
#include "zdbs/engine/engine.h"

namespace zdbs::naive {

/** The newest state; the same while nothing was committed. Throws Failure(unknownDatabase). */
using NewestState = std::function<ForestPtr()>;

std::unique_ptr<OpenDatabase> openDatabase(std::string name, NewestState newest);

}  // namespace zdbs::naive

#endif
