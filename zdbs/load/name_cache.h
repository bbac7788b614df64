/** Names as the parser hands them over, with their numbers in the database. */
#ifndef ZDBS_LOAD_NAME_CACHE_H
#define ZDBS_LOAD_NAME_CACHE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <unordered_map>
#include <utility>

namespace zdbs {

/**
 * The parser keeps most names in one place for as long as it lives, so that the address
 * tells which one it is; but not all of them, so that the text has the last word.
 */
class NameCache {
public:
    struct Known {
        std::uint32_t number;
        bool isSpace;  ///< xml:space
    };

    /** What is known of a name; of a new one what `make` answers, which may throw. */
    template <typename Make>
    const Known &find(const char *text, const Make &make) {
        Recent &recent = recent_[reinterpret_cast<std::uintptr_t>(text) % recent_.size()];
        if (recent.name && std::strcmp(recent.name->first.c_str(), text) == 0)
            return recent.name->second;
        auto found = names_.find(text);
        if (found == names_.end()) found = names_.emplace(text, make(text)).first;
        recent.name = &*found;
        return found->second;
    }

private:
    using Names = std::unordered_map<std::string, Known>;
    struct Recent {
        const Names::value_type *name = nullptr;
    };

    Names names_;
    std::array<Recent, 2048> recent_{};
};

}  // namespace zdbs

#endif
