#include "zdbs/load/document_reader.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <new>
#include <span>

#include "zdbs/base/status.h"
#include "zdbs/load/utf8_input.h"

namespace zdbs {

namespace {

constexpr int chunkSize = 256 * 1024;

// Between the parts of a name as expat hands it over; no character of XML.
constexpr char nameSeparator = '\1';

constexpr std::string_view xmlNamespace = "http://www.w3.org/XML/1998/namespace";
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

std::uint64_t DocumentReader::read(Input &input, const std::function<void(const Input &)> &report) {
    Utf8Input text(input, file_);
    // Whatever the declaration says, which is about the bytes before they were converted.
    XML_SetEncoding(parser_.get(), "UTF-8");
    for (bool atEnd = false; !atEnd;) {
        void *buffer = XML_GetBuffer(parser_.get(), chunkSize);
        if (!buffer) throwParserError();
        const std::size_t size = text.read({static_cast<char *>(buffer), chunkSize});
        atEnd = size == 0;
        parse(size, atEnd);
        if (report) report(input);
    }
    return text.size();
}

// Expat keeps a comment, an instruction or a tag until it has seen the end of it, and that end may
// never come. What was read without an event is the least that it has of it.
void DocumentReader::parse(std::size_t size, bool isLast) {
    withoutEvent_ += size;
    const XML_Status status =
        XML_ParseBuffer(parser_.get(), static_cast<int>(size), isLast ? XML_TRUE : XML_FALSE);
    if (failure_) rethrowWithPosition(failure_);
    if (status != XML_STATUS_OK) throwParserError();
    if (withoutEvent_ > longestMarkup()) throwTooLong(longestMarkup());
}

// An engine knows no positions; its own limits get theirs here.
void DocumentReader::rethrowWithPosition(const std::exception_ptr &failure) const {
    try {
        std::rethrow_exception(failure);
    } catch (const Failure &error) {
        if (error.status() != Status::tooManyNodes) throw;
        throw Failure(Status::tooManyNodes, {position(), std::to_string(lastNodeId)});
    }
}

void DocumentReader::startElement(const char *name, const char **attributes) {
    finishText();
    if (hasDoctype_) checkReferences();
    if (keepSpace_.size() >= options_.maxDepth)
        throw Failure(Status::tooDeep, {position(), std::to_string(options_.maxDepth)});
    if (static_cast<std::size_t>(XML_GetCurrentByteCount(parser_.get())) > longestMarkup())
        throwTooLong(longestMarkup());
    std::size_t count = 0;
    while (attributes[2 * count])
        ++count;
    if (count + declarations_.size() > options_.maxAttributes)
        throw Failure(Status::tooManyAttributes,
                      {position(), std::to_string(options_.maxAttributes)});
    keepSpace_.push_back(keepsSpace());
    target_.startElement(known(name).number);
    addDeclarations();
    addAttributes(attributes, count);
}

void DocumentReader::addDeclarations() {
    for (const auto &[prefix, uri] : declarations_) {
        checkName({}, prefix);
        checkName({}, uri);
        target_.namespaceDeclaration(prefix, uri);
    }
    declarations_.clear();
}

void DocumentReader::addAttributes(const char **attributes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const NameCache::Known name = known(attributes[2 * i]);
        const std::string_view value = attributes[2 * i + 1];
        checkLength(value);
        target_.attribute(name.number, value);
        if (name.isSpace) keepSpace_.back() = value == "preserve";
    }
}

void DocumentReader::endElement() {
    finishText();
    keepSpace_.pop_back();
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
}

void DocumentReader::instruction(std::string_view target, std::string_view text) {
    if (inDoctype_) return;
    finishText();
    checkName(target, {});
    checkLength(text);
    target_.processingInstruction(target, text);
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
    if (!isSpace || !options_.stripSpace || keepsSpace()) target_.text(text_);
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
    constexpr std::size_t alwaysFine = 16 * 1024 * 1024;
    constexpr std::size_t markAndName = 64 * 1024;
    return std::max(options_.maxValueLength, alwaysFine) + markAndName;
}

void DocumentReader::checkLength(std::string_view value) const {
    if (value.size() > options_.maxValueLength) throwTooLong(options_.maxValueLength);
}

void DocumentReader::checkName(std::string_view local, std::string_view prefix) const {
    const std::size_t colon = prefix.empty() || local.empty() ? 0 : 1;
    if (local.size() + colon + prefix.size() > options_.maxNameLength)
        throw Failure(Status::nameTooLong, {position(), std::to_string(options_.maxNameLength)});
}

const NameCache::Known &DocumentReader::known(const char *text) {
    return names_.find(text, [&](const char *unknown) {
        const NodeName name = splitName(unknown);
        const bool isSpace = name.local == "space" && name.uri == xmlNamespace;
        return NameCache::Known{target_.nameNumber(name), isSpace};
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
            throw Failure(Status::entityLimit, {position()});
        case XML_ERROR_UNDEFINED_ENTITY:
        case XML_ERROR_BINARY_ENTITY_REF:
        case XML_ERROR_ATTRIBUTE_EXTERNAL_ENTITY_REF:
        case XML_ERROR_ENTITY_DECLARED_IN_PE:
            throwUnexpandable(entityAtError());
        default:
            throw Failure(Status::malformed, {position(), XML_ErrorString(error)});
    }
}

void DocumentReader::throwUnexpandable(std::string_view entity) const {
    throw Failure(Status::unknownEntity, {position(), entity});
}

void DocumentReader::throwTooLong(std::size_t limit) const {
    throw Failure(Status::valueTooLong, {position(), std::to_string(limit)});
}

std::string DocumentReader::position() const {
    const auto line = XML_GetCurrentLineNumber(parser_.get());
    const auto column = XML_GetCurrentColumnNumber(parser_.get()) + 1;  // expat counts from 0
    return file_ + ':' + std::to_string(line) + ':' + std::to_string(column);
}

}  // namespace zdbs
