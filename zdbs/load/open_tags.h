/** The start tags of the elements that are open, and where they stand. */
#ifndef ZDBS_LOAD_OPEN_TAGS_H
#define ZDBS_LOAD_OPEN_TAGS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/base/node.h"
#include "zdbs/load/text_place.h"

namespace zdbs {

/**
 * Lines are counted once for each piece of the document, and columns looked at only of tags that
 * are open at its end: what nobody may ever ask for must not cost more.
 */
class OpenTags {
public:
    /** The next piece of the document; it stays where it is until passPiece(). */
    void beginPiece(std::string_view piece);
    void passPiece();

    /**
     * A start tag.
     * @param offset of its first byte in the document: in this piece, or the last tag that began
     *     before it
     * @param name must outlive the element
     */
    void open(std::uint64_t offset, const NodeName &name) { tags_.push_back({offset, &name, {}}); }
    void close();

    bool empty() const { return tags_.empty(); }

    /** "<p:a> of 2:5". REQUIRES !empty(). */
    std::string innermost() const;

private:
    struct Tag {
        std::uint64_t offset;
        const NodeName *name;
        TextPlace place;  ///< of the first placed_ ones
    };

    TextPlace placeOf(std::uint64_t offset) const;

    std::vector<Tag> tags_;
    std::size_t placed_ = 0;
    std::string_view piece_;
    std::uint64_t begin_ = 0;  ///< offset of the piece
    TextPlace place_;          ///< of its beginning
    TextPlace unfinished_;     ///< of the last `<` in front of it
};

}  // namespace zdbs

#endif
