#include "tests/zdbs/export/by_node.h"

#include "tests/zdbs/support/nodes_of.h"
#include "tests/zdbs/support/one_part.h"
#include "zdbs/base/sink.h"
#include "zdbs/embedded/embedded_database.h"
#include "zdbs/embedded/fragments/fragment_teller.h"
#include "zdbs/embedded/fragments/node_paths.h"
#include "zdbs/export/spec_compiler.h"
#include "zdbs/export/spec_filters.h"
#include "zdbs/export/xml_writer.h"

namespace zdbs::testing {

using namespace embedded;
namespace {

/** Tells the nodes of one tree; names get the numbers of the nodes that have them. */
class NodeTeller {
public:
    NodeTeller(const NodeTable &nodes, const HitRanges *hits, NodeEvents &events)
        : nodes_(nodes), hits_(hits), events_(events) {}

    void tell(NodeId node, const std::vector<NamespaceDeclaration> &declarations) {
        const std::vector<HitRange> hits =
            hits_ != nullptr ? hits_->find(node) : std::vector<HitRange>();
        switch (nodes_.kind(node)) {
            case NodeKind::element:
                events_.startElement({node, nodes_.name(node)});
                for (const NamespaceDeclaration &one : declarations)
                    events_.namespaceDeclaration(one.prefix, one.uri);
                return;
            case NodeKind::attribute:
                return events_.attribute({node, nodes_.name(node)}, nodes_.value(node), hits);
            case NodeKind::text:
                return events_.text(nodes_.value(node), hits);
            case NodeKind::comment:
                return events_.comment(nodes_.value(node));
            case NodeKind::processingInstruction:
                return events_.processingInstruction(nodes_.name(node).local, nodes_.value(node));
        }
    }

private:
    const NodeTable &nodes_;
    const HitRanges *hits_;
    NodeEvents &events_;
};

/** Notes which records are told, and their texts. */
class RecordsTold final : public FragmentVisitor {
public:
    NodeEvents &beginFragment(RecordId record, std::string_view, std::string_view) override {
        records.push_back(record);
        return writer_;
    }
    void endFragment() override {
        texts.push_back(text_);
        text_.clear();
    }

    std::vector<RecordId> records;
    std::vector<std::string> texts;

private:
    std::string text_;
    StringSink sink_{text_};
    XmlWriter writer_{sink_, {"h", "urn:h"}};
};

}  // namespace

void tellByNode(const NodeTable &nodes, NodeId top,
                const std::vector<NamespaceDeclaration> &declarations, const HitRanges *hits,
                NodeEvents &events) {
    NodeTeller teller(nodes, hits, events);
    NodeIds open;
    for (NodeId node = top; node <= nodes.lastBelow(top); ++node) {
        for (; !open.empty() && nodes.lastBelow(open.back()) < node; open.pop_back())
            events.endElement();
        teller.tell(node, node == top ? declarations : nodes.namespaces(node));
        if (nodes.kind(node) == NodeKind::element) open.push_back(node);
    }
    for (; !open.empty(); open.pop_back())
        events.endElement();
}

std::string documentByNode(const NodeTable &nodes, const DocumentRange &document) {
    std::string text;
    StringSink sink(text);
    XmlWriter writer(sink);
    for (NodeId node = document.first; node <= document.last; node = nodes.lastBelow(node) + 1)
        tellByNode(nodes, node, nodes.namespaces(node), nullptr, writer);
    return text;
}

std::string fragmentText(const MemoryNodeTable &nodes, NodeId node, const HitRanges *hits) {
    const MemoryPathTable table(nodes);
    RecordsTold told;
    const std::vector<FragmentSpec> itself{FragmentSpec(1)};
    FragmentTeller(table, {}, hits, told).tell(std::span(&node, 1), itself);
    return told.texts.front();
}

ByNodeDatabase::ByNodeDatabase(const NodeTable &nodes, const HitRanges *hits)
    : nodes_(nodes),
      hits_(hits),
      inner_(makeEmbeddedDatabase("test", onePart([&nodes] {
                                      return std::shared_ptr<const NodeTable>(
                                          std::shared_ptr<void>(), &nodes);
                                  }))) {}

void ByNodeDatabase::fragments(const ResultSet &matches, std::span<const FragmentSpec> specs,
                               std::span<const ResultSetPtr> marked,
                               FragmentVisitor &visitor) const {
    FragmentEvaluator evaluator(nodes_, [this](const ResultSet &set) { return nodesOf(set); });
    NodePaths paths(nodes_);
    DocumentFinder finder(nodes_);
    for (const NodeId match : nodesOf(matches)) {
        for (const FragmentSpec &spec : specs) {
            for (const NodeId node : evaluator.select(spec, match)) {
                NodeEvents &events =
                    visitor.beginFragment(node, finder.documentOf(node).name, paths.of(node));
                auto scope = namespacesInScope(nodes_, node);
                std::erase_if(scope, [](const auto &one) { return one.uri.empty(); });
                tellByNode(nodes_, node, scope, marked.empty() ? nullptr : hits_, events);
                visitor.endFragment();
            }
        }
    }
}

NodeIds ByNodeDatabase::select(const std::string &spec, NodeId from) const {
    const ResultSetPtr match = setOf(*inner_, std::span(&from, 1));
    FragmentEvaluator evaluator(nodes_, [this](const ResultSet &set) { return nodesOf(set); });
    return evaluator.select(specsOf(*inner_, match, spec).front(), from);
}

NodeIds ByNodeDatabase::nodesOf(const ResultSet &set) const {
    return testing::nodesOf(*inner_, set);
}

Answered::Answered(MemoryNodeTable nodes, const std::string &condition, const std::string &marked,
                   const PathTableOptions &options)
    : database_(makeEmbeddedDatabase(
          "test", onePart([table = byPath(std::move(nodes), options)] { return table; }))),
      answer_{*database_, found(*database_, condition), {}} {
    if (!marked.empty()) answer_.made.push_back(found(*database_, marked));
}

std::vector<FragmentSpec> specsOf(const OpenDatabase &database, const ResultSetPtr &matches,
                                  const std::string &spec) {
    const SpecPlan plan = compileSpec(spec);
    return fragmentSpecs(database, matches, std::span(&plan, 1));
}

std::vector<RecordId> selected(const OpenDatabase &database, const ResultSetPtr &matches,
                               std::span<const FragmentSpec> specs) {
    RecordsTold told;
    database.fragments(*matches, specs, {}, told);
    return told.records;
}

}  // namespace zdbs::testing
