/** Names for events, numbered by the tests. */
#ifndef TESTS_ZDBS_SUPPORT_NUMBERED_H
#define TESTS_ZDBS_SUPPORT_NUMBERED_H

#include <map>
#include <mutex>
#include <string>
#include <tuple>

#include "zdbs/engine/events.h"

namespace zdbs {

/** A name with a number that no other name of the process gets. */
inline NumberedName numbered(const NodeName &name) {
    using Key = std::tuple<std::string, std::string, std::string>;
    static std::mutex mutex;
    static std::map<Key, std::uint32_t> numbers;
    const std::lock_guard lock(mutex);
    const auto next = static_cast<std::uint32_t>(numbers.size());
    const auto known = numbers.try_emplace(Key(name.local, name.prefix, name.uri), next).first;
    return {known->second, name};
}

}  // namespace zdbs

#endif
