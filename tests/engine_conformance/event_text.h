/** Events as text. */
#ifndef TESTS_ENGINE_CONFORMANCE_EVENT_TEXT_H
#define TESTS_ENGINE_CONFORMANCE_EVENT_TEXT_H

#include <functional>
#include <map>
#include <string>

#include "zdbs/engine/events.h"

namespace zdbs::conformance {

/**
 * Writes what it is told, all of it, so that texts are equal where the telling is:
 *
 *   <p:a{urn:p} xmlns:p=urn:p i=v>text<!--comment--><?target value?></>
 *
 * with hits in square brackets, and before a fragment "3 first /a[1]: ", a line each. A number
 * that stands for two names is written down, too.
 */
class EventText : public NodeEvents, public FragmentVisitor {
public:
    /** @param placeOf how records are named */
    explicit EventText(std::function<std::size_t(RecordId)> placeOf = {})
        : placeOf_(std::move(placeOf)) {}

    const std::string &text() const { return text_; }

    void startElement(const NumberedName &name) override;
    void namespaceDeclaration(std::string_view prefix, std::string_view uri) override;
    void attribute(const NumberedName &name, std::string_view value,
                   std::span<const HitRange> hits) override;
    void text(std::string_view value, std::span<const HitRange> hits) override;
    void comment(std::string_view value) override;
    void processingInstruction(std::string_view target, std::string_view value) override;
    void endElement() override;

    NodeEvents &beginFragment(RecordId record, std::string_view document,
                              std::string_view path) override;
    void endFragment() override;

private:
    void closeTag();
    std::string written(const NumberedName &name);

    std::function<std::size_t(RecordId)> placeOf_;
    std::string text_;
    bool isTagOpen_ = false;
    std::map<std::uint32_t, std::string> names_;
};

}  // namespace zdbs::conformance

#endif
