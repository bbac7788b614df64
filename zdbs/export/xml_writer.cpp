#include "zdbs/export/xml_writer.h"

#include <algorithm>
#include <cassert>

#include "zdbs/base/escape.h"

namespace zdbs {
namespace {

std::string writtenName(const NodeName &name) {
    std::string text(name.prefix);
    if (!text.empty()) text += ':';
    return text.append(name.local);
}

std::size_t characters(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
    }));
}

std::string doubledDots(std::string_view name) {
    std::string result;
    for (const char c : name)
        result.append(c == '.' ? 2 : 1, c);
    return result;
}

/** "start,length start,length", in characters. */
std::string placesOf(std::string_view value, std::span<const HitRange> hits) {
    std::string places;
    std::size_t counted = 0;
    std::size_t start = 1;
    for (const HitRange &hit : hits) {
        start += characters(value.substr(counted, hit.offset - counted));
        counted = hit.offset;
        if (!places.empty()) places += ' ';
        places += std::to_string(start) + ',' +
                  std::to_string(characters(value.substr(hit.offset, hit.length)));
    }
    return places;
}

}  // namespace

std::string markerName(const NodeName &attribute) {
    std::string result = "hit-";
    if (!attribute.prefix.empty()) result += doubledDots(attribute.prefix) + ".";
    return result + doubledDots(attribute.local);
}

void XmlWriter::startElement(const NumberedName &name) {
    beginContent();
    const Tags &tags = tagsOf(name);
    sink_.write(tags.start);
    open_.push_back(&tags);
    inStartTag_ = true;
    markers_.clear();
}

void XmlWriter::namespaceDeclaration(std::string_view prefix, std::string_view uri) {
    writeDeclaration(sink_, prefix, uri);
    if (hasMarkup() && prefix.starts_with(markup_.prefix))
        bindings_.push_back({open_.size(), std::string(prefix), std::string(uri)});
}

void XmlWriter::attribute(const NumberedName &name, std::string_view value,
                          std::span<const HitRange> hits) {
    if (open_.empty()) return writeLoneAttribute(name.name, value, hits);
    assert(inStartTag_);
    out_->write(tagsOf(name).attribute);
    writeEscapedAttribute(*out_, value);
    out_->write("\"");
    if (!hasMarkup()) return;
    if (name.name.uri == markup_.uri) markers_.emplace_back(name.name.local);
    if (!hits.empty()) addMarker(name.name, value, hits);
}

void XmlWriter::text(std::string_view value, std::span<const HitRange> hits) {
    beginContent();
    if (hits.empty())
        writeEscapedText(sink_, value);
    else
        writeMarked(value, hits);
    endTop();
}

void XmlWriter::comment(std::string_view value) {
    beginContent();
    sink_.write("<!--");
    sink_.write(value);
    sink_.write("-->");
    endTop();
}

void XmlWriter::processingInstruction(std::string_view target, std::string_view value) {
    beginContent();
    sink_.write("<?");
    sink_.write(target);
    if (!value.empty()) {
        sink_.write(" ");
        sink_.write(value);
    }
    sink_.write("?>");
    endTop();
}

void XmlWriter::endElement() {
    if (inStartTag_)
        endStartTag("/>");
    else
        sink_.write(open_.back()->end);
    while (!bindings_.empty() && bindings_.back().depth == open_.size())
        bindings_.pop_back();
    open_.pop_back();
    endTop();
}

const XmlWriter::Tags &XmlWriter::makeTags(const NumberedName &name) {
    const std::string text = writtenName(name.name);
    if (name.number >= tags_.size()) tags_.resize(name.number + std::size_t{1});
    const Tags &tags = made_.emplace_back(Tags{"<" + text, "</" + text + ">", " " + text + "=\""});
    return *(tags_[name.number] = &tags);
}

void XmlWriter::endStartTag(std::string_view end) {
    inStartTag_ = false;
    if (!added_.empty()) writeWaiting();
    sink_.write(end);
}

void XmlWriter::writeDeclaration(XmlSink &sink, std::string_view prefix,
                                 std::string_view uri) const {
    sink.write(prefix.empty() ? " xmlns" : " xmlns:");
    sink.write(prefix);
    sink.write("=\"");
    writeEscapedAttribute(sink, uri);
    sink.write("\"");
}

void XmlWriter::writeLoneAttribute(const NodeName &name, std::string_view value,
                                   std::span<const HitRange> hits) {
    sink_.write("<" + markup_.prefix + ":attribute name=\"" + writtenName(name));
    if (!name.uri.empty()) {
        sink_.write("\" namespace=\"");
        writeEscapedAttribute(sink_, name.uri);
    }
    sink_.write("\">");
    writeMarked(value, hits);
    sink_.write("</" + markup_.prefix + ":attribute>");
}

void XmlWriter::writeMarked(std::string_view value, std::span<const HitRange> hits) {
    std::size_t written = 0;
    for (const HitRange &hit : hits) {
        assert(hit.offset >= written && hit.offset + hit.length <= value.size());
        if (!hasMarkup()) break;
        writeEscapedText(sink_, value.substr(written, hit.offset - written));
        writeHit(value.substr(hit.offset, hit.length));
        written = hit.offset + hit.length;
    }
    writeEscapedText(sink_, value.substr(written));
}

void XmlWriter::writeHit(std::string_view text) {
    sink_.write("<" + markup_.prefix + ":hit");
    // The declaration reaches over the hit's text only, so it disturbs no other name.
    if (isMarkupShadowed()) writeDeclaration(sink_, markup_.prefix, markup_.uri);
    sink_.write(">");
    writeEscapedText(sink_, text);
    sink_.write("</" + markup_.prefix + ":hit>");
}

/** From here on the start tag waits: an attribute that follows may be the marker itself. */
void XmlWriter::addMarker(const NodeName &attribute, std::string_view value,
                          std::span<const HitRange> hits) {
    if (added_.empty()) out_ = &waitingSink_;
    added_.push_back({waiting_.size(), markerName(attribute), placesOf(value, hits)});
}

/**
 * A stored export document can hold markers of its own; a second one of the same
 * name would be malformed.
 */
void XmlWriter::writeWaiting() {
    std::string prefix;
    std::size_t written = 0;
    for (const Marker &marker : added_) {
        sink_.write(std::string_view(waiting_).substr(written, marker.place - written));
        written = marker.place;
        if (std::find(markers_.begin(), markers_.end(), marker.name) != markers_.end()) continue;
        if (prefix.empty()) prefix = markerPrefix();
        sink_.write(" " + prefix + ":" + marker.name + "=\"" + marker.places + "\"");
    }
    sink_.write(std::string_view(waiting_).substr(written));
    added_.clear();
    waiting_.clear();
    out_ = &sink_;
}

/** The markup's prefix, or, where it is shadowed, another one declared on the spot. */
std::string XmlWriter::markerPrefix() {
    if (!isMarkupShadowed()) return markup_.prefix;
    std::string prefix = unboundPrefix();
    writeDeclaration(sink_, prefix, markup_.uri);
    return prefix;
}

const XmlWriter::Binding *XmlWriter::binding(std::string_view prefix) const {
    const auto found =
        std::find_if(bindings_.rbegin(), bindings_.rend(),
                     [prefix](const Binding &candidate) { return candidate.prefix == prefix; });
    return found == bindings_.rend() ? nullptr : &*found;
}

bool XmlWriter::isMarkupShadowed() const {
    const Binding *const bound = binding(markup_.prefix);
    return bound != nullptr && bound->uri != markup_.uri;
}

std::string XmlWriter::unboundPrefix() const {
    for (unsigned number = 2;; ++number) {
        std::string candidate = markup_.prefix + std::to_string(number);
        if (binding(candidate) == nullptr) return candidate;
    }
}

}  // namespace zdbs
