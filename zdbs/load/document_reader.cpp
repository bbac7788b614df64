#include "zdbs/load/document_reader.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <new>
#include <span>

#include "zdbs/status/status.h"

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

}  // namespace

DocumentReader::DocumentReader(Writer &writer, const LoadOptions &options, std::string_view file)
    : writer_(writer),
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
    XML_SetXmlDeclHandler(parser, [](void *self, const char *, const char *encoding, int) {
        handle(self, [&](auto &reader) { reader.setEncoding(encoding); });
    });
    XML_SetUnknownEncodingHandler(
        parser,
        [](void *self, const char *name, XML_Encoding *encoding) -> int {
            bool known = false;
            handle(self, [&](auto &reader) { known = reader.mapEncoding(name, *encoding); });
            return known ? XML_STATUS_OK : XML_STATUS_ERROR;
        },
        this);
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
    std::uint64_t bytes = 0;
    for (bool atEnd = false; !atEnd;) {
        void *buffer = XML_GetBuffer(parser_.get(), chunkSize);
        if (!buffer) throw std::bad_alloc();
        const std::size_t size = input.read({static_cast<char *>(buffer), chunkSize});
        atEnd = size == 0;
        bytes += size;
        const XML_Status status =
            XML_ParseBuffer(parser_.get(), static_cast<int>(size), atEnd ? XML_TRUE : XML_FALSE);
        if (failure_) rethrowWithPosition(failure_);
        if (status != XML_STATUS_OK) throwParserError();
        if (report) report(input);
    }
    return bytes;
}

// The writer knows no positions; its own limits get theirs here.
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
    std::size_t count = 0;
    while (attributes[2 * count])
        ++count;
    if (count + declarations_.size() > options_.maxAttributes)
        throw Failure(Status::tooManyAttributes,
                      {position(), std::to_string(options_.maxAttributes)});
    keepSpace_.push_back(keepsSpace());
    writer_.startElement(splitName(name));
    addDeclarations();
    addAttributes(attributes, count);
}

void DocumentReader::addDeclarations() {
    for (const auto &[prefix, uri] : declarations_) {
        checkName({}, prefix);
        checkName({}, uri);
        writer_.namespaceDeclaration(prefix, uri);
    }
    declarations_.clear();
}

void DocumentReader::addAttributes(const char **attributes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const NodeName name = splitName(attributes[2 * i]);
        const std::string_view value = attributes[2 * i + 1];
        checkLength(value);
        writer_.attribute(name, value);
        if (name.local == "space" && name.uri == xmlNamespace)
            keepSpace_.back() = value == "preserve";
    }
}

void DocumentReader::endElement() {
    finishText();
    keepSpace_.pop_back();
    writer_.endElement();
}

void DocumentReader::characters(std::string_view text) {
    if (text_.size() + text.size() > options_.maxValueLength) throwTooLong();
    text_.append(text);
}

void DocumentReader::comment(std::string_view text) {
    if (inDoctype_) return;
    finishText();
    checkLength(text);
    writer_.comment(text);
}

void DocumentReader::instruction(std::string_view target, std::string_view text) {
    if (inDoctype_) return;
    finishText();
    checkName(target, {});
    checkLength(text);
    writer_.processingInstruction(target, text);
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

void DocumentReader::setEncoding(const char *name) {
    if (!name) return;
    encodingName_ = name;
    // Expat knows this one itself; the map is for looking into markup.
    std::string upper = encodingName_;
    std::transform(upper.begin(), upper.end(), upper.begin(), [](char letter) {
        return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    });
    if (upper == "ISO-8859-1") byteMap_ = singleByteEncoding("ISO-8859-1");
}

bool DocumentReader::mapEncoding(const char *name, XML_Encoding &encoding) {
    encodingName_ = name;
    byteMap_ = singleByteEncoding(encodingName_);
    if (!byteMap_) return false;
    std::copy(byteMap_->begin(), byteMap_->end(), encoding.map);
    encoding.data = nullptr;
    encoding.convert = nullptr;
    encoding.release = nullptr;
    return true;
}

void DocumentReader::finishText() {
    if (text_.empty()) return;
    const bool isSpace = text_.find_first_not_of(whiteSpace) == std::string::npos;
    if (!isSpace || !options_.stripSpace || keepsSpace()) writer_.text(text_);
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
    const std::string markup = toUtf8(raw);
    if (expandable_.contains(markup)) return;
    if (const auto entity = entities_.firstUnexpandableIn(markup)) throwUnexpandable(*entity);
    if (markup.front() == '&') expandable_.insert(markup);
}

// The same for the default of an attribute. One in a parameter entity does not stand in the
// document either and is left to expat.
void DocumentReader::checkDefault() const {
    const std::string literal = toUtf8(quotedLiteral(rawRest()));
    if (const auto entity = entities_.firstUnexpandableIn(literal)) throwUnexpandable(*entity);
}

void DocumentReader::checkLength(std::string_view value) const {
    if (value.size() > options_.maxValueLength) throwTooLong();
}

void DocumentReader::checkName(std::string_view local, std::string_view prefix) const {
    const std::size_t colon = prefix.empty() || local.empty() ? 0 : 1;
    if (local.size() + colon + prefix.size() > options_.maxNameLength)
        throw Failure(Status::nameTooLong, {position(), std::to_string(options_.maxNameLength)});
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

std::string DocumentReader::toUtf8(std::string_view markup) const {
    return markupToUtf8(markup, byteMap_ ? &*byteMap_ : nullptr);
}

// Where an error is about a reference, by itself or in a tag: the entity that is in the way.
std::string DocumentReader::entityAtError() const {
    const std::string markup = toUtf8(rawRest());
    if (const auto entity = entities_.firstUnexpandableIn(markup)) return *entity;
    return markup.starts_with('&') ? markup.substr(1, markup.find(';') - 1) : "";
}

void DocumentReader::throwParserError() const {
    const XML_Error error = XML_GetErrorCode(parser_.get());
    switch (error) {
        case XML_ERROR_NO_MEMORY:
            throw std::bad_alloc();
        case XML_ERROR_UNKNOWN_ENCODING:
            throw Failure(Status::unknownEncoding, {position(), encodingName_});
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

void DocumentReader::throwTooLong() const {
    throw Failure(Status::valueTooLong, {position(), std::to_string(options_.maxValueLength)});
}

std::string DocumentReader::position() const {
    const auto line = XML_GetCurrentLineNumber(parser_.get());
    const auto column = XML_GetCurrentColumnNumber(parser_.get()) + 1;  // expat counts from 0
    return file_ + ':' + std::to_string(line) + ':' + std::to_string(column);
}

}  // namespace zdbs
