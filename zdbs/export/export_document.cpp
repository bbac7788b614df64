#include "zdbs/export/export_document.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <vector>

#include "zdbs/base/escape.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/fragments/fragment_compiler.h"
#include "zdbs/embedded/fragments/fragment_evaluator.h"
#include "zdbs/embedded/fragments/node_paths.h"
#include "zdbs/embedded/fragments/path_fragments.h"
#include "zdbs/embedded/fragments/path_serializer.h"
#include "zdbs/embedded/fragments/row_places.h"
#include "zdbs/embedded/fragments/serializer.h"
#include "zdbs/embedded/paths/reader_table.h"
#include "zdbs/export/readable_text.h"
#include "zdbs/export/spec_list.h"

namespace zdbs {
namespace {

/** Reads an answer by path, where its nodes are stored so. */
struct ByPath {
    ByPath(const NodeTable &nodes, const PathTable &paths, XmlSink &sink)
        : reader(paths), places(nodes, reader), serializer(nodes, reader, sink) {}

    NodeReader reader;
    RowPlaces places;
    PathSerializer serializer;
};

/**
 * Writes one export document, fragment by fragment. What is asked and written by path comes
 * out the same as node by node, which is the way for all that paths do not tell.
 */
class ExportWriter {
public:
    ExportWriter(const RequestAnswer &answer, const HitRanges *hits, XmlSink &sink)
        : answer_(answer),
          nearby_(nearbyOf(*answer.nodes)),
          nodes_(nearby_ ? *nearby_ : *answer.nodes),
          hits_(hits),
          sink_(sink),
          serializer_(nodes_, sink,
                      {hits, std::string(exportPrefix), std::string(exportNamespace)}),
          evaluator_(nodes_),
          paths_(nodes_),
          finder_(nodes_) {
        if (const PathTable *const paths = answer.nodes->paths())
            byPath_.emplace(*answer.nodes, *paths, sink);
    }

    void write(const std::vector<FragmentSpec> &specs) {
        sink_.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<vexa:export xmlns:vexa=\"");
        sink_.write(exportNamespace);
        sink_.write("\" matches=\"" + std::to_string(answer_.matches.size()) + "\">\n");
        if (byPath_) {
            writeByPath(specs);
        } else {
            for (const NodeId match : answer_.matches) {
                for (const FragmentSpec &spec : specs)
                    writeNodes(spec, match);
            }
        }
        sink_.write("</vexa:export>\n");
    }

private:
    static std::unique_ptr<const NodeTable> nearbyOf(const NodeTable &nodes) {
        if (nodes.paths() == nullptr) return nullptr;
        return std::make_unique<ReaderTable>(nodes, *nodes.paths());
    }

    void writeByPath(const std::vector<FragmentSpec> &specs) {
        std::vector<PathFragments> selections;
        for (const FragmentSpec &spec : specs)
            selections.emplace_back(spec, byPath_->reader);
        const auto take = [this](NodeId node, PathId path) { writeRow(node, path); };
        for (const NodeId node : answer_.matches) {
            const PathMatch match(byPath_->reader, node);
            for (std::size_t i = 0; i < specs.size(); ++i) {
                if (!selections[i].select(match, take)) writeNodes(specs[i], node);
            }
        }
    }

    void writeNodes(const FragmentSpec &spec, NodeId match) {
        for (const NodeId node : evaluator_.select(spec, match)) {
            if (byPath_) {
                writeRow(node, byPath_->reader.pathOf(node));
            } else {
                writeNode(node);
            }
        }
    }

    void writeRow(NodeId node, PathId path) {
        const NodePlace *const place = byPath_->places.of(path, node);
        if (place == nullptr) return writeNode(node);
        const NodeKind kind = byPath_->reader.summary()[path].kind;
        const NodeId last =
            kind == NodeKind::element ? byPath_->reader.lastBelow(path, node) : node;
        const bool isMarked = hits_ != nullptr && hits_->next(node) <= last;
        beginFragment(node, place->escapedPath);
        if (isMarked) {
            writeContent(node, kind);
        } else if (kind == NodeKind::attribute) {
            writeAttribute(node, path);
        } else {
            writeTree(node, path, last, place->scope);
        }
        sink_.write("</fragment>\n");
    }

    void writeAttribute(NodeId node, PathId path) {
        const PathTable &paths = byPath_->reader.table();
        beginAttribute(paths.nameOf(paths.summary()[path].name));
        writeEscapedText(sink_, byPath_->reader.at(path, node).value());
        sink_.write("</vexa:attribute>");
    }

    void writeTree(NodeId node, PathId path, NodeId last,
                   const std::vector<NamespaceDeclaration> &scope) {
        declarations_.clear();
        // Nothing to undeclare where the fragment goes.
        std::copy_if(scope.begin(), scope.end(), std::back_inserter(declarations_),
                     [](const NamespaceDeclaration &one) { return !one.uri.empty(); });
        byPath_->serializer.writeTree(node, path, last, declarations_);
    }

    void writeNode(NodeId node) {
        beginFragment(node, escapedAttribute(paths_.of(node)));
        writeContent(node, nodes_.kind(node));
        sink_.write("</fragment>\n");
    }

    void beginFragment(NodeId node, std::string_view escapedPath) {
        const DocumentIndex document = finder_.indexOf(node);
        if (document != beginningOf_ || beginning_.empty()) {
            const std::string name = readableText(finder_.document(document).name);
            beginning_ = "<fragment document=\"" + escapedAttribute(name) + "\" path=\"";
            beginningOf_ = document;
        }
        sink_.write(beginning_);
        sink_.write(escapedPath);
        sink_.write("\">");
    }

    void writeContent(NodeId node, NodeKind kind) {
        if (kind != NodeKind::attribute) return serializer_.writeFragment(node);
        beginAttribute(nodes_.name(node));
        serializer_.writeValue(node);
        sink_.write("</vexa:attribute>");
    }

    /** An attribute cannot stand alone in XML: an element stands for it, its value as text. */
    void beginAttribute(const NodeName &name) {
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
    }

    const RequestAnswer &answer_;
    std::unique_ptr<const NodeTable> nearby_;  ///< null where there are no paths
    const NodeTable &nodes_;                   ///< for what goes node by node
    const HitRanges *hits_;
    XmlSink &sink_;
    XmlSerializer serializer_;
    FragmentEvaluator evaluator_;
    NodePaths paths_;
    DocumentFinder finder_;
    std::optional<ByPath> byPath_;
    std::vector<NamespaceDeclaration> declarations_;  ///< scratch
    std::string beginning_;                           ///< of the fragments of a document
    DocumentIndex beginningOf_ = 0;
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
