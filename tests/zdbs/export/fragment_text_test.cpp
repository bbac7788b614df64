#include <gtest/gtest.h>

#include "tests/zdbs/export/by_node.h"
#include "tests/zdbs/support/xml_text.h"
#include "zdbs/embedded/fragments/node_paths.h"

namespace zdbs {

using namespace embedded;
namespace {

using testing::fragmentText;
using testing::MemoryNodeTable;
using testing::tableFromXml;
using testing::wellFormednessError;

/** The first node of that local name (of an attribute "@name"), or of that value. */
NodeId find(const NodeTable &nodes, std::string_view wanted) {
    const DocumentRange &range = nodes.documents().front();
    for (NodeId node = range.first; node <= range.last; ++node) {
        if (nodes.name(node).local == wanted || nodes.value(node) == wanted) return node;
    }
    ADD_FAILURE() << "no node " << wanted;
    return range.first;
}

std::string fragment(const MemoryNodeTable &nodes, std::string_view wanted) {
    return fragmentText(nodes, find(nodes, wanted));
}

struct FragmentFact {
    const char *source;
    const char *wanted;
    const char *text;
};

constexpr FragmentFact facts[] = {
    {"<a><b>x</b>tail</a>", "b", "<b>x</b>"},
    {"<a><b/></a>", "a", "<a><b/></a>"},
    {"<a>x&amp;y</a>", "x&y", "x&amp;y"},
    {"<a><!--note--></a>", "note", "<!--note-->"},
    {"<a><?go now?></a>", "go", "<?go now?>"},
    // The declarations of the ancestors come along, the nearest of each prefix.
    {"<a xmlns:p='u' xmlns='d'><b/></a>", "b", "<b xmlns:p=\"u\" xmlns=\"d\"/>"},
    {"<a xmlns:p='u'><b xmlns:p='v'><c/></b></a>", "c", "<c xmlns:p=\"v\"/>"},
    {"<a xmlns:p='u'><b xmlns:q='v'><p:c q:x='1'/></b></a>", "c",
     "<p:c xmlns:q=\"v\" xmlns:p=\"u\" q:x=\"1\"/>"},
    {"<a xmlns:p='u'><b t='p:qname'/></a>", "b", "<b xmlns:p=\"u\" t=\"p:qname\"/>"},
    {"<a xmlns:p='u'><b xmlns:q='v'/></a>", "b", "<b xmlns:q=\"v\" xmlns:p=\"u\"/>"},
    // Undeclared above: nothing to undeclare in the fragment.
    {"<a xmlns='d'><b xmlns=''><c/></b></a>", "c", "<c/>"},
    {"<a xmlns='d'><b xmlns=''><c/></b></a>", "b", "<b><c/></b>"},
    // Undeclared inside: it stays.
    {"<a xmlns='d'><b xmlns=''><c/></b></a>", "a", "<a xmlns=\"d\"><b xmlns=\"\"><c/></b></a>"},
    {"<a xml:lang='en'><b xml:space='preserve'/></a>", "b", "<b xml:space=\"preserve\"/>"},
};

TEST(Fragment, CarriesTheNamespacesThatAreInScope) {
    for (const FragmentFact &fact : facts)
        EXPECT_EQ(fragment(tableFromXml(fact.source), fact.wanted), fact.text) << fact.source;
}

TEST(Fragment, OfEveryElementIsNamespaceWellFormedByItself) {
    for (const FragmentFact &fact : facts) {
        const MemoryNodeTable nodes = tableFromXml(fact.source);
        const DocumentRange &range = nodes.documents().front();
        for (NodeId node = range.first; node <= range.last; ++node) {
            if (nodes.kind(node) != NodeKind::element) continue;
            const std::string text = fragmentText(nodes, node);
            EXPECT_EQ(wellFormednessError(text), "") << text;
        }
    }
}

TEST(Fragment, NamespacesInScopeNamesEachPrefixOnceNearestFirst) {
    const MemoryNodeTable nodes =
        tableFromXml("<a xmlns='1' xmlns:p='2'><b xmlns:q='3'><c xmlns:p='4' xmlns=''/></b></a>");
    std::string found;
    for (const NamespaceDeclaration &one : namespacesInScope(nodes, find(nodes, "c")))
        found += std::string(one.prefix) + "=" + std::string(one.uri) + ";";
    EXPECT_EQ(found, "p=4;=;q=3;");
}

TEST(Fragment, TheValueOfAnAttributeIsWrittenAsCharacterData) {
    EXPECT_EQ(fragment(tableFromXml("<a b='x &lt; &quot;y&quot;&#10;z'/>"), "b"),
              "<h:attribute name=\"b\">x &lt; \"y\"\nz</h:attribute>");
}

}  // namespace
}  // namespace zdbs
