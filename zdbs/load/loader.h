/** XML text into nodes: the XPath 1.0 data model, through expat. */
#ifndef ZDBS_LOAD_LOADER_H
#define ZDBS_LOAD_LOADER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "zdbs/engine/load.h"
#include "zdbs/load/input.h"

namespace zdbs {

struct DocumentSize {
    std::uint64_t xmlBytes = 0;  ///< of its text, not compressed
    std::uint64_t nodes = 0;
};

/** Limits and choices of a load. Lengths in bytes of UTF-8. */
struct LoadOptions {
    bool stripSpace = false;            ///< drop texts of white space only (xml:space is heeded)
    std::size_t maxDepth = 10000;       ///< of open elements
    std::size_t maxAttributes = 10000;  ///< of one element, namespace declarations included
    std::size_t maxNameLength = 4096;   ///< of a name, prefix included; of a namespace name
    std::size_t maxValueLength = 1U << 28;  ///< of one text, attribute, comment or instruction
    std::size_t maxEntityNesting = 256;     ///< of entities in entities
    std::size_t maxExpansion = 100;         ///< of entities and defaults: times the document
    /** Declarations that count where a document has none of its own; null: there are none. */
    std::shared_ptr<const std::string> entities = nullptr;
};

/**
 * Loads one document: adjacent character data and CDATA are one text, white
 * space is kept, entities of the internal subset are expanded, defaults of its
 * attribute lists count, namespace declarations are no attributes. Nothing
 * outside the input is ever read.
 *
 * The encoding is what the mark, the first characters and the declaration say,
 * any that ICU knows; bytes that are no characters of it are an error. A tag, a
 * comment, an instruction or a declaration is limited as a whole too, to the
 * limit of values, or 16 MiB if that is more, and 64 KiB: memory does not grow
 * with one that does not end.
 *
 * `file` stands in front of messages ("file:line:column: …"), `document` is the
 * name that the document gets. When this throws, the document is abandoned and
 * the load is as before the call, unless the failure is the store's own.
 *
 * Expanded entities, and attributes with those that have their default, are limited to
 * maxExpansion times the input, from 8 MiB of them on. A text of white space is one of the four
 * characters that XML calls so.
 *
 * Throws Failure: malformed, tooDeep, tooManyNodes, tooManyAttributes,
 * nameTooLong, valueTooLong, entityLimit, entitiesTooDeep, unknownEntity,
 * unknownEncoding, fileUnreadable, compressedDamaged, badDocumentName,
 * documentExists, and those of Load.
 */
class Loader {
public:
    explicit Loader(Load &target, const LoadOptions &options = {})
        : target_(target), options_(options) {}

    /** Called after each piece of input; what it throws ends the load. */
    void onProgress(std::function<void(const Input &)> report) { report_ = std::move(report); }

    /** Answers how large the document is. */
    DocumentSize load(Input &input, std::string_view file, std::string_view document);

private:
    Load &target_;
    LoadOptions options_;
    std::function<void(const Input &)> report_;
};

}  // namespace zdbs

#endif
