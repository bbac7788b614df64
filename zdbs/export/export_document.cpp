#include "zdbs/export/export_document.h"

#include <string>
#include <vector>

#include "zdbs/base/escape.h"
#include "zdbs/export/readable_text.h"
#include "zdbs/export/spec_compiler.h"
#include "zdbs/export/spec_filters.h"
#include "zdbs/export/spec_list.h"
#include "zdbs/export/xml_writer.h"

namespace zdbs {
namespace {

/** Writes fragments, a line each. */
class FragmentWriter final : public FragmentVisitor {
public:
    explicit FragmentWriter(XmlSink &sink)
        : sink_(sink), writer_(sink, {std::string(exportPrefix), std::string(exportNamespace)}) {}

    NodeEvents &beginFragment(RecordId /*record*/, std::string_view document,
                              std::string_view path) override {
        if (document != document_ || beginning_.empty()) {
            document_ = document;
            beginning_ =
                "<fragment document=\"" + escapedAttribute(readableText(document)) + "\" path=\"";
        }
        sink_.write(beginning_);
        sink_.write(path);  // of names, which hold nothing that would have to be escaped
        sink_.write("\">");
        return writer_;
    }

    void endFragment() override { sink_.write("</fragment>\n"); }

private:
    XmlSink &sink_;
    XmlWriter writer_;
    std::string document_;   ///< of the last fragment
    std::string beginning_;  ///< of the fragments of that document
};

std::vector<SpecPlan> compileAll(std::string_view text) {
    std::vector<SpecPlan> plans;
    for (const std::string &spec : splitSpecs(text))
        plans.push_back(compileSpec(spec));
    return plans;
}

}  // namespace

void checkFragmentSpecs(std::string_view fragments) {
    compileAll(fragments);
}

void writeExportDocument(const RequestAnswer &answer, std::string_view fragments, bool highlight,
                         XmlSink &sink) {
    const std::vector<SpecPlan> plans = compileAll(fragments);
    const std::vector<FragmentSpec> specs = fragmentSpecs(answer.database, answer.matches, plans);
    sink.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<vexa:export xmlns:vexa=\"");
    sink.write(exportNamespace);
    sink.write("\" matches=\"" + std::to_string(answer.matches->size()) + "\">\n");
    FragmentWriter writer(sink);
    const std::span<const ResultSetPtr> marked(answer.made);
    answer.database.fragments(*answer.matches, specs, highlight ? marked : marked.first(0), writer);
    sink.write("</vexa:export>\n");
}

DocumentBlock exportBlock(const RequestAnswer &answer, const ExportArguments &arguments,
                          bool highlight, std::size_t limit) {
    DocumentSink sink(limit);
    writeExportDocument(answer, arguments.fragments, highlight, sink);
    return sink.take();
}

std::string limitedExportDocument(const RequestAnswer &answer, const ExportArguments &arguments,
                                  bool highlight, std::size_t limit) {
    return std::string(exportBlock(answer, arguments, highlight, limit).view());
}

std::string exportDocument(const RequestAnswer &answer, const ExportArguments &arguments,
                           bool highlight) {
    return limitedExportDocument(answer, arguments, highlight, maxExportLength);
}

}  // namespace zdbs
