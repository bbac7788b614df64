/** The entities that a document declares, and what they refer to. */
#ifndef ZDBS_LOAD_ENTITY_TABLE_H
#define ZDBS_LOAD_ENTITY_TABLE_H

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zdbs {

/**
 * Expat expands entities by recursion and, once a part of the DTD was not read,
 * drops references to undeclared entities in attribute values without a word.
 * This table knows both beforehand.
 *
 * It looks for `&name;` in the text of entities without parsing it, so that a
 * reference in a CDATA section counts as one.
 */
class EntityTable {
public:
    enum class Kind { general, parameter };

    explicit EntityTable(std::size_t maxNesting) : maxNesting_(maxNesting) {}

    /**
     * A declaration; without text the entity is external. The first one of a name
     * holds. Answers false when entities are now nested deeper than the limit.
     */
    bool declare(Kind kind, std::string_view name, std::optional<std::string_view> text);

    /**
     * The first entity that cannot be expanded among a general entity and those
     * that its text refers to; nothing when all can be.
     */
    std::optional<std::string> firstUnexpandable(std::string_view name) const;

    /** The same for all references in a piece of text. */
    std::optional<std::string> firstUnexpandableIn(std::string_view text) const;

private:
    struct Entity {
        std::string name;  ///< with the `&` or `%` of its references in front
        bool isDeclared = false;
        bool isInternal = false;
        std::size_t nesting = 1;  ///< of its text; counts no further than maxNesting_ + 1
        std::vector<std::size_t> references;
        std::vector<std::size_t> referencedBy;
    };

    std::size_t indexOf(const std::string &name);
    bool raiseNesting(std::size_t changed);
    bool canNestDeeper(std::size_t entity) const;

    std::size_t maxNesting_;
    std::map<std::string, std::size_t, std::less<>> indices_;
    std::vector<Entity> entities_;
};

}  // namespace zdbs

#endif
