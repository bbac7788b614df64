#include "tests/engine_conformance/event_text.h"

namespace zdbs::conformance {
namespace {

std::string withHits(std::string_view value, std::span<const HitRange> hits) {
    std::string text;
    std::size_t done = 0;
    for (const HitRange &hit : hits) {
        text.append(value.substr(done, hit.offset - done)) += "[";
        text.append(value.substr(hit.offset, hit.length)) += "]";
        done = hit.offset + hit.length;
    }
    return text.append(value.substr(done));
}

}  // namespace

void EventText::startElement(const NumberedName &name) {
    closeTag();
    text_ += "<" + written(name);
    isTagOpen_ = true;
}

void EventText::namespaceDeclaration(std::string_view prefix, std::string_view uri) {
    text_ += isTagOpen_ ? " xmlns" : "!declared outside of a tag";
    if (!prefix.empty()) text_.append(":").append(prefix);
    text_.append("=").append(uri);
}

void EventText::attribute(const NumberedName &name, std::string_view value,
                          std::span<const HitRange> hits) {
    text_ += " " + written(name) + "=" + withHits(value, hits);
}

void EventText::text(std::string_view value, std::span<const HitRange> hits) {
    closeTag();
    text_ += withHits(value, hits);
}

void EventText::comment(std::string_view value) {
    closeTag();
    text_.append("<!--").append(value).append("-->");
}

void EventText::processingInstruction(std::string_view target, std::string_view value) {
    closeTag();
    text_.append("<?").append(target).append(" ").append(value).append("?>");
}

void EventText::endElement() {
    closeTag();
    text_ += "</>";
}

NodeEvents &EventText::beginFragment(RecordId record, std::string_view document,
                                     std::string_view path) {
    text_ += std::to_string(placeOf_(record)) + " ";
    text_.append(document).append(" ").append(path) += ": ";
    return *this;
}

void EventText::endFragment() {
    closeTag();
    text_ += "\n";
}

void EventText::closeTag() {
    if (isTagOpen_) text_ += ">";
    isTagOpen_ = false;
}

std::string EventText::written(const NumberedName &name) {
    std::string text(name.name.prefix);
    if (!text.empty()) text += ":";
    text.append(name.name.local);
    if (!name.name.uri.empty()) text.append("{").append(name.name.uri) += "}";
    const std::string &known = names_.emplace(name.number, text).first->second;
    return known == text ? text : "!the number of " + known + ": " + text;
}

}  // namespace zdbs::conformance
