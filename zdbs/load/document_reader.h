/** Expat's events of one document, told to an engine. */
#ifndef ZDBS_LOAD_DOCUMENT_READER_H
#define ZDBS_LOAD_DOCUMENT_READER_H

#include <expat.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "zdbs/load/entity_table.h"
#include "zdbs/load/loader.h"
#include "zdbs/load/name_cache.h"
#include "zdbs/load/open_tags.h"

namespace zdbs {

/**
 * Reads one document into a load that has begun it. Nothing recurses over the
 * tree; expat recurses over entities, whose nesting is limited.
 */
class DocumentReader {
public:
    DocumentReader(Load &target, const LoadOptions &options, std::string_view file);

    /** Once. Throws as Loader::load(). */
    DocumentSize read(Input &input, const std::function<void(const Input &)> &report);

private:
    struct ParserFree {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };
    using ParserOwner = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserFree>;

    std::span<char> room();
    void parse(std::span<const char> piece, bool isLast);
    void setHandlers();
    void setPrologHandlers();
    void setDefinitions();
    bool define(XML_Parser parser, const char *context);

    /** Runs an event; what it throws stops the parser and is thrown by read(). */
    template <typename Event>
    static void handle(void *self, const Event &event);
    [[noreturn]] void rethrowWithPosition(const std::exception_ptr &failure) const;

    void startElement(const char *name, const char **attributes);
    void endElement();
    void characters(std::string_view text);
    void comment(std::string_view text);
    void instruction(std::string_view target, std::string_view text);
    void unhandled(std::string_view text);
    void declareEntity(bool isParameter, std::string_view name,
                       std::optional<std::string_view> text);

    void finishText();
    bool keepsSpace() const;
    void checkReferences();
    void checkDefault() const;
    std::size_t longestMarkup() const;
    void checkLength(std::string_view value) const;
    void count(std::size_t bytes);
    void checkName(std::string_view local, std::string_view prefix) const;
    const NameCache::Known &known(const char *name);
    NodeName splitName(std::string_view name) const;
    void addDeclarations();
    void addAttributes(const char **attributes, std::size_t attributeCount);

    std::string_view rawRest() const;
    std::string entityAtError() const;
    [[noreturn]] void throwParserError() const;
    [[noreturn]] void throwMalformed(XML_Error error) const;
    [[noreturn]] void throwMismatch(std::string_view endTag) const;
    [[noreturn]] void throwUnexpandable(std::string_view entity) const;
    [[noreturn]] void throwExpandsTooMuch() const;
    [[noreturn]] void throwTooLong(std::size_t limit) const;
    std::string position() const { return file_ + ':' + lineAndColumn(0); }
    std::string lineAndColumn(std::uint64_t columnsBefore) const;

    Load &target_;
    LoadOptions options_;
    std::string file_;
    ParserOwner parser_;
    EntityTable entities_;
    bool isDefining_ = false;  ///< the definitions that the document lacks are read
    OpenTags openTags_;
    std::exception_ptr failure_;
    std::size_t withoutEvent_ = 0;  ///< bytes that were read since the last event, at least
    std::uint64_t given_ = 0;       ///< bytes that expat has got
    std::uint64_t told_ = 0;        ///< bytes that they would take with nothing left to expand

    std::uint64_t nodes_ = 0;  ///< that were told
    NameCache names_;
    std::string text_;
    std::vector<bool> keepSpace_;  ///< of each open element: is xml:space "preserve"?
    std::vector<std::pair<std::string, std::string>> declarations_;  ///< of the next element
    bool hasDoctype_ = false;
    bool inDoctype_ = false;
    std::set<std::string, std::less<>> expandable_;  ///< entities that were looked at
};

}  // namespace zdbs

#endif
