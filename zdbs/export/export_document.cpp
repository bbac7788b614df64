#include "zdbs/export/export_document.h"

#include <vector>

#include "zdbs/export/fragment_compiler.h"
#include "zdbs/export/fragment_evaluator.h"
#include "zdbs/export/node_paths.h"
#include "zdbs/export/readable_text.h"
#include "zdbs/export/spec_list.h"
#include "zdbs/status/status.h"
#include "zdbs/xml/escape.h"
#include "zdbs/xml/serializer.h"

namespace zdbs {
namespace {

/** A string that must stay shorter than a limit. */
class LimitedSink final : public XmlSink {
public:
    explicit LimitedSink(std::size_t limit) : limit_(limit) {}

    void write(std::string_view piece) override {
        if (piece.size() >= limit_ - text_.size()) throw Failure(Status::documentTooLarge);
        text_.append(piece);
    }

    std::string take() { return std::move(text_); }

private:
    std::size_t limit_;
    std::string text_;
};

/** Writes one export document, fragment by fragment. */
class ExportWriter {
public:
    ExportWriter(const RequestAnswer &answer, const HitRanges *hits, XmlSink &sink)
        : answer_(answer),
          nodes_(*answer.nodes),
          sink_(sink),
          serializer_(nodes_, sink,
                      {hits, std::string(exportPrefix), std::string(exportNamespace)}),
          evaluator_(nodes_),
          paths_(nodes_),
          finder_(nodes_) {}

    void write(const std::vector<FragmentSpec> &specs) {
        sink_.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<vexa:export xmlns:vexa=\"");
        sink_.write(exportNamespace);
        sink_.write("\" matches=\"" + std::to_string(answer_.matches.size()) + "\">\n");
        for (const NodeId match : answer_.matches) {
            for (const FragmentSpec &spec : specs)
                writeFragments(spec, match);
        }
        sink_.write("</vexa:export>\n");
    }

private:
    void writeFragments(const FragmentSpec &spec, NodeId match) {
        for (const NodeId node : evaluator_.select(spec, match))
            writeFragment(node);
    }

    void writeFragment(NodeId node) {
        sink_.write("<fragment document=\"");
        writeEscapedAttribute(sink_, readableText(finder_.documentOf(node).name));
        sink_.write("\" path=\"");
        writeEscapedAttribute(sink_, paths_.of(node));
        sink_.write("\">");
        if (nodes_.kind(node) == NodeKind::attribute) {
            writeAttribute(node);
        } else {
            serializer_.writeFragment(node);
        }
        sink_.write("</fragment>\n");
    }

    /** An attribute cannot stand alone in XML: an element stands for it, its value as text. */
    void writeAttribute(NodeId attribute) {
        const NodeName name = nodes_.name(attribute);
        sink_.write("<vexa:attribute name=\"");
        if (!name.prefix.empty()) {
            sink_.write(name.prefix);
            sink_.write(":");
        }
        sink_.write(name.local);
        if (!name.uri.empty()) {
            sink_.write("\" namespace=\"");
            writeEscapedAttribute(sink_, name.uri);
        }
        sink_.write("\">");
        serializer_.writeValue(attribute);
        sink_.write("</vexa:attribute>");
    }

    const RequestAnswer &answer_;
    const NodeTable &nodes_;
    XmlSink &sink_;
    XmlSerializer serializer_;
    FragmentEvaluator evaluator_;
    NodePaths paths_;
    DocumentFinder finder_;
};

std::vector<FragmentSpec> compileAll(std::string_view text) {
    std::vector<FragmentSpec> specs;
    for (const std::string &spec : splitSpecs(text))
        specs.push_back(compileFragmentSpec(spec));
    return specs;
}

}  // namespace

void checkFragmentSpecs(std::string_view fragments) {
    compileAll(fragments);
}

void writeExportDocument(const RequestAnswer &answer, std::string_view fragments, bool highlight,
                         XmlSink &sink) {
    const std::vector<FragmentSpec> specs = compileAll(fragments);
    ExportWriter(answer, highlight ? answer.hits.get() : nullptr, sink).write(specs);
}

std::string limitedExportDocument(const RequestAnswer &answer, const ExportArguments &arguments,
                                  bool highlight, std::size_t limit) {
    LimitedSink sink(limit);
    writeExportDocument(answer, arguments.fragments, highlight, sink);
    return sink.take();
}

std::string exportDocument(const RequestAnswer &answer, const ExportArguments &arguments,
                           bool highlight) {
    return limitedExportDocument(answer, arguments, highlight, maxExportLength);
}

}  // namespace zdbs
