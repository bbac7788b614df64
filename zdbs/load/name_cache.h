/** Names as the parser hands them over, numbered. */
#ifndef ZDBS_LOAD_NAME_CACHE_H
#define ZDBS_LOAD_NAME_CACHE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <unordered_map>
#include <utility>

#include "zdbs/engine/events.h"

namespace zdbs {

/**
 * The parser keeps most names in one place for as long as it lives, so that the address
 * tells which one it is; but not all of them, so that the text has the last word.
 */
class NameCache {
public:
    struct Known {
        NumberedName name;     ///< lives in the text that is kept here
        bool isSpace = false;  ///< xml:space
    };

    /** What is known of a name; a new one is taken apart by `split`, which may throw. */
    template <typename Split>
    const Known &find(const char *text, const Split &split) {
        Recent &recent = recent_[reinterpret_cast<std::uintptr_t>(text) % recent_.size()];
        if (recent.name && std::strcmp(recent.name->first.c_str(), text) == 0)
            return recent.name->second;
        auto found = names_.find(text);
        if (found == names_.end()) found = add(text, split);
        recent.name = &*found;
        return found->second;
    }

private:
    using Names = std::unordered_map<std::string, Known>;
    struct Recent {
        const Names::value_type *name = nullptr;
    };

    template <typename Split>
    Names::iterator add(const char *text, const Split &split) {
        const auto number = static_cast<std::uint32_t>(names_.size());
        const auto place = names_.try_emplace(text).first;
        try {
            place->second = split(place->first);
        } catch (...) {
            names_.erase(place);
            throw;
        }
        place->second.name.number = number;
        return place;
    }

    Names names_;
    std::array<Recent, 2048> recent_{};
};

}  // namespace zdbs

#endif
