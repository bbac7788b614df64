#include "zdbs/load/document_reader.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <new>
#include <span>
#include <utility>

#include "zdbs/base/status.h"
#include "zdbs/base/xml_namespace.h"
#include "zdbs/load/utf8_input.h"

namespace zdbs {

namespace {

constexpr std::size_t chunkSize = std::size_t{256} * 1024;
constexpr std::size_t largestChunk = std::size_t{1} << 28;

/** From how many bytes on of what is expanded it is compared with the document. */
constexpr std::uint64_t fewExpanded = std::uint64_t{8} << 20;

// Between the parts of a name as expat hands it over; no character of XML.
constexpr char nameSeparator = '\1';

constexpr std::string_view whiteSpace = " \t\r\n";

std::string_view orEmpty(const char *text) {
    return text ? text : std::string_view();
}

DocumentReader &readerOf(void *self) {
    return *static_cast<DocumentReader *>(self);
}

// The literal with its quotes that a piece of markup begins with; empty when there is none.
std::string_view quotedLiteral(std::string_view markup) {
    if (markup.empty() || (markup[0] != '"' && markup[0] != '\'')) return {};
    const std::size_t close = markup.find(markup[0], 1);
    return close == std::string_view::npos ? std::string_view() : markup.substr(0, close + 1);
}

}  // namespace

DocumentReader::DocumentReader(Load &target, const LoadOptions &options, std::string_view file)
    : target_(target),
      options_(options),
      file_(file),
      parser_(XML_ParserCreateNS(nullptr, nameSeparator)),
      entities_(options.maxEntityNesting) {
    if (!parser_) throw std::bad_alloc();
    setHandlers();
    if (options_.entities) setDefinitions();
}

template <typename Event>
void DocumentReader::handle(void *self, const Event &event) {
    DocumentReader &reader = readerOf(self);
    reader.withoutEvent_ = 0;
    if (reader.failure_) return;  // a stopped parser still finishes the tag it is at
    try {
        event(reader);
    } catch (...) {
        reader.failure_ = std::current_exception();
        XML_StopParser(reader.parser_.get(), XML_FALSE);
    }
}

// No handler for external entities: nothing outside the input is read. Internal parameter
// entities are expanded, since what they declare belongs to the internal subset.
void DocumentReader::setHandlers() {
    XML_Parser parser = parser_.get();
    XML_SetUserData(parser, this);
    XML_SetReturnNSTriplet(parser, XML_TRUE);
    XML_SetParamEntityParsing(parser, XML_PARAM_ENTITY_PARSING_ALWAYS);
    XML_SetBillionLaughsAttackProtectionMaximumAmplification(
        parser, static_cast<float>(options_.maxExpansion));
    XML_SetBillionLaughsAttackProtectionActivationThreshold(parser, fewExpanded);
    XML_SetElementHandler(
        parser,
        [](void *self, const char *name, const char **attributes) {
            handle(self, [&](auto &reader) { reader.startElement(name, attributes); });
        },
        [](void *self, const char *) { handle(self, [](auto &reader) { reader.endElement(); }); });
    XML_SetCharacterDataHandler(parser, [](void *self, const char *text, int length) {
        handle(self, [&](auto &reader) {
            reader.characters({text, static_cast<std::size_t>(length)});
        });
    });
    XML_SetCommentHandler(parser, [](void *self, const char *text) {
        handle(self, [&](auto &reader) { reader.comment(text); });
    });
    XML_SetProcessingInstructionHandler(
        parser, [](void *self, const char *target, const char *text) {
            handle(self, [&](auto &reader) { reader.instruction(target, text); });
        });
    XML_SetStartNamespaceDeclHandler(parser, [](void *self, const char *prefix, const char *uri) {
        handle(self, [&](auto &reader) {
            reader.declarations_.emplace_back(orEmpty(prefix), orEmpty(uri));
        });
    });
    setPrologHandlers();
}

void DocumentReader::setPrologHandlers() {
    XML_Parser parser = parser_.get();
    XML_SetDoctypeDeclHandler(
        parser,
        [](void *self, const char *, const char *, const char *, int) {
            readerOf(self).inDoctype_ = readerOf(self).hasDoctype_ = true;
        },
        [](void *self) { readerOf(self).inDoctype_ = false; });
    XML_SetEntityDeclHandler(
        parser, [](void *self, const char *name, int isParameter, const char *text, int length,
                   const char *, const char *, const char *, const char *) {
            handle(self, [&](auto &reader) {
                reader.declareEntity(
                    isParameter != 0, name,
                    text ? std::optional<std::string_view>({text, static_cast<std::size_t>(length)})
                         : std::nullopt);
            });
        });
    XML_SetAttlistDeclHandler(
        parser, [](void *self, const char *, const char *, const char *, const char *value, int) {
            if (value) handle(self, [](auto &reader) { reader.checkDefault(); });
        });
    XML_SetSkippedEntityHandler(parser, [](void *self, const char *name, int isParameter) {
        if (isParameter) return;
        handle(self, [&](auto &reader) { reader.throwUnexpandable(name); });
    });
    XML_SetDefaultHandlerExpand(parser, [](void *self, const char *text, int length) {
        handle(self, [&](auto &reader) {
            reader.unhandled({text, static_cast<std::size_t>(length)});
        });
    });
}

// The definitions stand in the place of the external subset, which is not read: what the internal
// one declares comes first and holds.
void DocumentReader::setDefinitions() {
    hasDoctype_ = true;
    XML_UseForeignDTD(parser_.get(), XML_TRUE);
    XML_SetExternalEntityRefHandler(parser_.get(), [](XML_Parser parser, const char *context,
                                                      const char *, const char *, const char *) {
        DocumentReader &reader = readerOf(XML_GetUserData(parser));
        bool isDone = false;
        handle(&reader, [&](auto &) { isDone = reader.define(parser, context); });
        return isDone ? static_cast<int>(XML_STATUS_OK) : static_cast<int>(XML_STATUS_ERROR);
    });
}

/** A context is that of an entity in the content, whose text is elsewhere. */
bool DocumentReader::define(XML_Parser parser, const char *context) {
    if (context) throwUnexpandable(entityAtError());
    // What the definitions refer to is elsewhere, too, and nothing is read in its place.
    const std::string_view text = isDefining_ ? " " : std::string_view(*options_.entities);
    const ParserOwner subset(XML_ExternalEntityParserCreate(parser, context, nullptr));
    if (!subset) throw std::bad_alloc();
    const bool before = std::exchange(isDefining_, true);
    const XML_Status status =
        XML_Parse(subset.get(), text.data(), static_cast<int>(text.size()), XML_TRUE);
    isDefining_ = before;
    return status == XML_STATUS_OK;
}

DocumentSize DocumentReader::read(Input &input, const std::function<void(const Input &)> &report) {
    Utf8Input text(input, file_);
    // Whatever the declaration says, which is about the bytes before they were converted.
    XML_SetEncoding(parser_.get(), "UTF-8");
    for (bool atEnd = false; !atEnd;) {
        const std::span<char> buffer = room();
        const std::size_t wanted = withoutEvent_ < chunkSize ? 1 : buffer.size();
        std::size_t size = 0;
        while (!atEnd && size < wanted) {
            const std::size_t more = text.read(buffer.subspan(size));
            atEnd = more == 0;
            size += more;
            if (report) report(input);
        }
        parse(buffer.first(size), atEnd);
    }
    return {text.size(), nodes_};
}

// Expat begins a comment, an instruction or a tag that has not ended anew with each piece. Pieces
// grow with what it has seen of one, so that it sees a byte of it about twice.
std::span<char> DocumentReader::room() {
    const std::size_t left = longestMarkup() + 1 - std::min(withoutEvent_, longestMarkup());
    const std::size_t size = std::clamp(std::min(withoutEvent_, left), chunkSize, largestChunk);
    void *buffer = XML_GetBuffer(parser_.get(), static_cast<int>(size));
    if (!buffer) throwParserError();
    return {static_cast<char *>(buffer), size};
}

// Expat keeps a comment, an instruction or a tag until it has seen the end of it, and that end may
// never come. What was read without an event is the least that it has of it.
void DocumentReader::parse(std::span<const char> piece, bool isLast) {
    withoutEvent_ += piece.size();
    given_ += piece.size();
    openTags_.beginPiece({piece.data(), piece.size()});
    const XML_Status status = XML_ParseBuffer(parser_.get(), static_cast<int>(piece.size()),
                                              isLast ? XML_TRUE : XML_FALSE);
    if (failure_) rethrowWithPosition(failure_);
    if (status != XML_STATUS_OK) throwParserError();
    openTags_.passPiece();
    if (withoutEvent_ > longestMarkup()) throwTooLong(longestMarkup());
}

// An engine knows no positions; its own limits get theirs here.
void DocumentReader::rethrowWithPosition(const std::exception_ptr &failure) const {
    try {
        std::rethrow_exception(failure);
    } catch (const Failure &error) {
        if (error.status() != Status::tooManyNodes) throw;
        throw Failure(Status::tooManyNodes, {position(), std::to_string(target_.maxNodes())});
    }
}

void DocumentReader::startElement(const char *name, const char **attributes) {
    finishText();
    if (hasDoctype_) checkReferences();
    if (keepSpace_.size() >= options_.maxDepth)
        throw Failure(Status::tooDeep, {position(), std::to_string(options_.maxDepth)});
    if (static_cast<std::size_t>(XML_GetCurrentByteCount(parser_.get())) > longestMarkup())
        throwTooLong(longestMarkup());
    std::size_t attributeCount = 0;
    while (attributes[2 * attributeCount])
        ++attributeCount;
    if (attributeCount + declarations_.size() > options_.maxAttributes)
        throw Failure(Status::tooManyAttributes,
                      {position(), std::to_string(options_.maxAttributes)});
    keepSpace_.push_back(keepsSpace());
    const NumberedName &element = known(name).name;
    openTags_.open(static_cast<std::uint64_t>(XML_GetCurrentByteIndex(parser_.get())),
                   element.name);
    target_.startElement(element);
    nodes_ += 1 + attributeCount;
    addDeclarations();
    addAttributes(attributes, attributeCount);
}

void DocumentReader::addDeclarations() {
    for (const auto &[prefix, uri] : declarations_) {
        checkName({}, prefix);
        checkName({}, uri);
        count(prefix.size() + uri.size());
        target_.namespaceDeclaration(prefix, uri);
    }
    declarations_.clear();
}

void DocumentReader::addAttributes(const char **attributes, std::size_t attributeCount) {
    for (std::size_t i = 0; i < attributeCount; ++i) {
        const NameCache::Known &name = known(attributes[2 * i]);
        const std::string_view value = attributes[2 * i + 1];
        checkLength(value);
        count(name.name.name.local.size() + value.size());
        target_.attribute(name.name, value, unmarked);
        if (name.isSpace) keepSpace_.back() = value == "preserve";
    }
}

void DocumentReader::endElement() {
    finishText();
    keepSpace_.pop_back();
    openTags_.close();
    target_.endElement();
}

void DocumentReader::characters(std::string_view text) {
    if (text_.size() + text.size() > options_.maxValueLength) throwTooLong(options_.maxValueLength);
    text_.append(text);
}

void DocumentReader::comment(std::string_view text) {
    if (inDoctype_) return;
    finishText();
    checkLength(text);
    target_.comment(text);
    ++nodes_;
}

void DocumentReader::instruction(std::string_view target, std::string_view text) {
    if (inDoctype_) return;
    finishText();
    checkName(target, {});
    checkLength(text);
    target_.processingInstruction(target, text);
    ++nodes_;
}

// In content only two things reach this: the marks of CDATA sections, and references to
// external entities, which expat would pass over in silence.
void DocumentReader::unhandled(std::string_view text) {
    if (inDoctype_ || !text.starts_with('&')) return;
    throwUnexpandable(text.substr(1, text.find(';') - 1));
}

void DocumentReader::declareEntity(bool isParameter, std::string_view name,
                                   std::optional<std::string_view> text) {
    const auto kind = isParameter ? EntityTable::Kind::parameter : EntityTable::Kind::general;
    if (!entities_.declare(kind, name, text))
        throw Failure(Status::entitiesTooDeep,
                      {position(), std::to_string(options_.maxEntityNesting)});
}

void DocumentReader::finishText() {
    if (text_.empty()) return;
    const bool isSpace = text_.find_first_not_of(whiteSpace) == std::string::npos;
    if (!isSpace || !options_.stripSpace || keepsSpace()) {
        target_.text(text_, unmarked);
        ++nodes_;
    }
    text_.clear();
}

bool DocumentReader::keepsSpace() const {
    return !keepSpace_.empty() && keepSpace_.back();
}

// Expat drops references in attribute values to entities that it knows nothing of when a part
// of the DTD was not read. So the tag is looked at as it stands in the document; inside an
// entity, where it does not stand, all of the entity is looked at.
void DocumentReader::checkReferences() {
    const int length = XML_GetCurrentByteCount(parser_.get());
    const std::string_view raw = rawRest().substr(0, static_cast<std::size_t>(length));
    if (raw.find('&') == std::string_view::npos) return;
    const std::string markup(raw);
    if (expandable_.contains(markup)) return;
    if (const auto entity = entities_.firstUnexpandableIn(markup)) throwUnexpandable(*entity);
    if (markup.front() == '&') expandable_.insert(markup);
}

// The same for the default of an attribute. One in a parameter entity does not stand in the
// document either and is left to expat.
void DocumentReader::checkDefault() const {
    const std::string_view literal = quotedLiteral(rawRest());
    if (const auto entity = entities_.firstUnexpandableIn(literal)) throwUnexpandable(*entity);
}

// Of a tag, comment, instruction or declaration as it stands in the document. Many short
// attributes are fine in one tag, however short they have to be.
std::size_t DocumentReader::longestMarkup() const {
    constexpr std::size_t alwaysFine = std::size_t{16} * 1024 * 1024;
    constexpr std::size_t markAndName = std::size_t{64} * 1024;
    return std::max(options_.maxValueLength, alwaysFine) + markAndName;
}

void DocumentReader::checkLength(std::string_view value) const {
    if (value.size() > options_.maxValueLength) throwTooLong(options_.maxValueLength);
}

// Entities multiply within entities, which expat counts, and so do defaults: an empty tag may have
// thousands of long ones.
void DocumentReader::count(std::size_t bytes) {
    constexpr std::size_t marks = 4;  // of an attribute, ` =""`
    told_ += bytes + marks;
    if (told_ > fewExpanded && told_ / options_.maxExpansion > given_) throwExpandsTooMuch();
}

void DocumentReader::checkName(std::string_view local, std::string_view prefix) const {
    const std::size_t colon = prefix.empty() || local.empty() ? 0 : 1;
    if (local.size() + colon + prefix.size() > options_.maxNameLength)
        throw Failure(Status::nameTooLong, {position(), std::to_string(options_.maxNameLength)});
}

const NameCache::Known &DocumentReader::known(const char *text) {
    return names_.find(text, [&](std::string_view unknown) {
        const NodeName name = splitName(unknown);
        const bool isSpace = name.local == "space" && name.uri == xmlNamespace;
        return NameCache::Known{{0, name}, isSpace};
    });
}

// Expat writes names as "local", "uri|local" or "uri|local|prefix".
NodeName DocumentReader::splitName(std::string_view text) const {
    NodeName name;
    const std::size_t first = text.find(nameSeparator);
    if (first == std::string_view::npos) {
        name.local = text;
    } else {
        const std::size_t second = text.find(nameSeparator, first + 1);
        name.uri = text.substr(0, first);
        name.local = text.substr(first + 1, second - first - 1);
        if (second != std::string_view::npos) name.prefix = text.substr(second + 1);
    }
    checkName(name.local, name.prefix);
    return name;
}

// The document from the beginning of this event on, as far as it has been read.
std::string_view DocumentReader::rawRest() const {
    int offset = 0;
    int size = 0;
    const char *context = XML_GetInputContext(parser_.get(), &offset, &size);
    if (!context || offset >= size) return {};
    return {context + offset, static_cast<std::size_t>(size - offset)};
}

// Where an error is about a reference, by itself or in a tag: the entity that is in the way.
std::string DocumentReader::entityAtError() const {
    const std::string_view markup = rawRest();
    if (const auto entity = entities_.firstUnexpandableIn(markup)) return *entity;
    return std::string(markup.starts_with('&') ? markup.substr(1, markup.find(';') - 1) : "");
}

void DocumentReader::throwParserError() const {
    const XML_Error error = XML_GetErrorCode(parser_.get());
    switch (static_cast<int>(error)) {  // of many codes
        case XML_ERROR_NO_MEMORY:
            throw std::bad_alloc();
        case XML_ERROR_AMPLIFICATION_LIMIT_BREACH:
            throwExpandsTooMuch();
        case XML_ERROR_UNDEFINED_ENTITY:
        case XML_ERROR_BINARY_ENTITY_REF:
        case XML_ERROR_ATTRIBUTE_EXTERNAL_ENTITY_REF:
        case XML_ERROR_ENTITY_DECLARED_IN_PE:
            throwUnexpandable(entityAtError());
        default:
            throwMalformed(error);
    }
}

// Of an error with tags the tags are told, where they stand in the document and not in an entity.
void DocumentReader::throwMalformed(XML_Error error) const {
    const std::string_view rest = rawRest();
    if (error == XML_ERROR_TAG_MISMATCH && !rest.starts_with('&'))
        throwMismatch(rest.substr(0, rest.find_first_of("> \t\r\n")));
    if (error == XML_ERROR_NO_ELEMENTS && !openTags_.empty())
        throw Failure(Status::malformed, {position(), openTags_.innermost() + " does not end"});
    throw Failure(Status::malformed, {position(), XML_ErrorString(error)});
}

void DocumentReader::throwMismatch(std::string_view endTag) const {
    // Expat is at the name, behind the mark.
    const std::string place = lineAndColumn(2);
    const std::string tags = "</" + std::string(endTag) + "> at " + place + " closes ";
    throw Failure(Status::malformed, {file_ + ':' + place, tags + openTags_.innermost()});
}

void DocumentReader::throwUnexpandable(std::string_view entity) const {
    throw Failure(Status::unknownEntity, {position(), entity});
}

void DocumentReader::throwExpandsTooMuch() const {
    throw Failure(Status::entityLimit, {position(), std::to_string(options_.maxExpansion)});
}

void DocumentReader::throwTooLong(std::size_t limit) const {
    throw Failure(Status::valueTooLong, {position(), std::to_string(limit)});
}

std::string DocumentReader::lineAndColumn(std::uint64_t columnsBefore) const {
    const auto line = XML_GetCurrentLineNumber(parser_.get());
    const auto column = XML_GetCurrentColumnNumber(parser_.get()) + 1;  // expat counts from 0
    return std::to_string(line) + ':' + std::to_string(column - columnsBefore);
}

}  // namespace zdbs
