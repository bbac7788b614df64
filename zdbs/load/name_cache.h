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

/** The parser hands names over from one place for each depth, so that only the text tells. */
class NameCache {
public:
    struct Known {
        NumberedName name;     ///< lives in the text that is kept here
        bool isSpace = false;  ///< xml:space
    };

    /** What is known of a name; a new one is taken apart by `split`, which may throw. */
    template <typename Split>
    const Known &find(const char *text, const Split &split) {
        Recent &recent = recent_[slotOf(text)];
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
    static constexpr std::size_t slots = 2048;

    static std::size_t slotOf(const char *text) {
        std::uint64_t hash = 0;
        for (; *text != '\0'; ++text)
            hash = hash * 33 + static_cast<unsigned char>(*text);
        return hash % slots;
    }

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
    std::array<Recent, slots> recent_{};
};

}  // namespace zdbs

#endif
