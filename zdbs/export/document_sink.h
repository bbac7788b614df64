/** A document in one block of memory, as the caller of the filter gets it. */
#ifndef ZDBS_EXPORT_DOCUMENT_SINK_H
#define ZDBS_EXPORT_DOCUMENT_SINK_H

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "zdbs/base/sink.h"

namespace zdbs {

/** A document with a NUL behind it, in a block that free() releases. */
struct DocumentBlock {
    struct Free {
        void operator()(char *block) const { std::free(block); }
    };

    std::unique_ptr<char, Free> text;
    std::size_t length = 0;

    std::string_view view() const { return {text.get(), length}; }
};

/**
 * Gathers a document that must stay shorter than a limit. Pages of the block are taken only
 * as they are written, and large blocks grow without being copied where the allocator can do
 * that: then the document takes its own length of memory and not more.
 */
class DocumentSink final : public XmlSink {
public:
    explicit DocumentSink(std::size_t limit) : limit_(limit) {}

    /** What was written; the sink is empty again. Throws std::bad_alloc. */
    DocumentBlock take();

private:
    /** Throws Failure(documentTooLarge), std::bad_alloc. */
    void overflow(std::string_view piece) override;
    void resize(std::size_t capacity);
    std::size_t length() const {
        return block_ ? static_cast<std::size_t>(next() - block_.get()) : 0;
    }

    std::size_t limit_;
    std::size_t capacity_ = 0;
    std::unique_ptr<char, DocumentBlock::Free> block_;
};

}  // namespace zdbs

#endif
