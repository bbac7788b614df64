#include <gtest/gtest.h>

#include "tests/zdbs/export/by_node.h"
#include "tests/zdbs/support/told.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/fragments/node_paths.h"
#include "zdbs/export/spec_compiler.h"

namespace zdbs {

using namespace embedded;
namespace {

using testing::ByNodeDatabase;
using testing::MemoryNodeTable;
using testing::selected;
using testing::setOf;
using testing::specsOf;
using testing::tableFromXml;

NodeId nodeAt(const NodeTable &nodes, std::string_view path) {
    NodePaths paths(nodes);
    for (const DocumentRange &document : nodes.documents()) {
        for (NodeId node = document.first; node <= document.last; ++node) {
            if (paths.of(node) == path) return node;
        }
    }
    ADD_FAILURE() << "no node at " << path;
    return nodes.documents().front().first;
}

/** The paths of what a specification selects from the node at `match`, blank-separated. */
std::string selectedPaths(const MemoryNodeTable &nodes, const std::string &spec,
                          std::string_view match) {
    const ByNodeDatabase database(nodes);
    const NodeId node = nodeAt(nodes, match);
    const ResultSetPtr matches = setOf(database, std::span(&node, 1));
    NodePaths paths(nodes);
    std::string result;
    for (const RecordId record : selected(database, matches, specsOf(database, matches, spec))) {
        if (!result.empty()) result += ' ';
        result += paths.of(static_cast<NodeId>(record));
    }
    return result;
}

constexpr const char *play =
    "<!--head--><play xmlns:p='urn:p' id='7'><act n='1'><scene>to be</scene><scene n='1'>or "
    "<b>not</b> to be</scene></act><act n='2'><p:scene n='2' p:n='20'>5</p:scene><scene>05</scene>"
    "</act><?go on?></play>";

struct SpecFact {
    const char *match;
    const char *spec;
    const char *selected;
};

constexpr SpecFact playFacts[] = {
    {"/play[1]", "/", "/play[1]"},
    {"/play[1]/act[1]", "/", "/play[1]/act[1]"},
    {"/play[1]/@id", "/", "/play[1]/@id"},
    {"/comment()[1]", "/", "/comment()[1]"},
    {"/play[1]/act[1]/scene[1]/text()[1]", "/", "/play[1]/act[1]/scene[1]/text()[1]"},
    {"/play[1]", "/act", "/play[1]/act[1] /play[1]/act[2]"},
    {"/play[1]", "/play", ""},
    {"/play[1]", "/act/scene",
     "/play[1]/act[1]/scene[1] /play[1]/act[1]/scene[2] /play[1]/act[2]/p:scene[1]"
     " /play[1]/act[2]/scene[1]"},
    {"/play[1]", "/act[2]/scene", "/play[1]/act[2]/p:scene[1] /play[1]/act[2]/scene[1]"},
    {"/play[1]", "/act/scene[1]", "/play[1]/act[1]/scene[1] /play[1]/act[2]/p:scene[1]"},
    {"/play[1]", "//scene[2]", "/play[1]/act[1]/scene[2] /play[1]/act[2]/scene[1]"},
    {"/play[1]", "/descendant::scene[2]", "/play[1]/act[1]/scene[2]"},
    {"/play[1]", "//b", "/play[1]/act[1]/scene[2]/b[1]"},
    {"/play[1]/act[2]", "//b", ""},
    {"/play[1]", "/@id", "/play[1]/@id"},
    {"/play[1]", "//@n",
     "/play[1]/act[1]/@n /play[1]/act[1]/scene[2]/@n /play[1]/act[2]/@n"
     " /play[1]/act[2]/p:scene[1]/@n /play[1]/act[2]/p:scene[1]/@p:n"},
    {"/play[1]", "/act/@n", "/play[1]/act[1]/@n /play[1]/act[2]/@n"},
    {"/play[1]", "/@*", "/play[1]/@id"},
    {"/play[1]/act[1]", "/..", "/play[1]"},
    {"/play[1]", "/..", ""},
    {"/play[1]/act[1]/@n", "/..", "/play[1]/act[1]"},
    {"/play[1]/act[1]/@n", "/../scene[1]", "/play[1]/act[1]/scene[1]"},
    {"/play[1]", "/.", "/play[1]"},
    {"/play[1]/act[1]", "/following-sibling::act", "/play[1]/act[2]"},
    {"/play[1]", "/processing-instruction()", "/play[1]/processing-instruction()[1]"},
    {"/play[1]", "/preceding::comment()", "/comment()[1]"},
    {"/play[1]/act[1]/scene[2]", "/text()",
     "/play[1]/act[1]/scene[2]/text()[1] /play[1]/act[1]/scene[2]/text()[2]"},
    // A text has nothing below it.
    {"/play[1]/act[1]/scene[1]/text()[1]", "//text()", ""},
    // Names: local, by prefix, by namespace wildcard.
    {"/play[1]/act[2]", "/p:scene", "/play[1]/act[2]/p:scene[1]"},
    {"/play[1]/act[2]", "/p:*", "/play[1]/act[2]/p:scene[1]"},
    {"/play[1]/act[2]", "/q:scene", ""},
    {"/play[1]/act[2]/p:scene[1]", "/@p:n", "/play[1]/act[2]/p:scene[1]/@p:n"},
    {"/play[1]/act[2]/p:scene[1]", "/@n",
     "/play[1]/act[2]/p:scene[1]/@n /play[1]/act[2]/p:scene[1]/@p:n"},
    // Predicates.
    {"/play[1]", "/act[@n='2']", "/play[1]/act[2]"},
    {"/play[1]", "/act[ @n = \"2\" ]", "/play[1]/act[2]"},
    {"/play[1]", "//scene[contains(., 'be')]", "/play[1]/act[1]/scene[1] /play[1]/act[1]/scene[2]"},
    {"/play[1]", "//scene[b='not']", "/play[1]/act[1]/scene[2]"},
    {"/play[1]", "/act[contains(b/text(),'not')]", "/play[1]/act[1]"},
    {"/play[1]", "//scene[text()=5]", "/play[1]/act[2]/p:scene[1] /play[1]/act[2]/scene[1]"},
    {"/play[1]", "//scene[text()='5']", "/play[1]/act[2]/p:scene[1] /play[1]/act[2]/scene[1]"},
    {"/play[1]", "//scene[text()='05']", "/play[1]/act[2]/scene[1]"},
    {"/play[1]", "//scene[text()='to be']", "/play[1]/act[1]/scene[1]"},
    {"/play[1]", "//scene[position()=last()]", "/play[1]/act[1]/scene[2] /play[1]/act[2]/scene[1]"},
    {"/play[1]", "//scene[LAST()=2]", "/play[1]/act[1]/scene[1] /play[1]/act[2]/p:scene[1]"},
    {"/play[1]", "/act[scene/position()=2]", "/play[1]/act[1] /play[1]/act[2]"},
    {"/play[1]", "/act[/scene/b]", "/play[1]/act[1]"},
    {"/play[1]", "/act[//b]", "/play[1]/act[1]"},
    {"/play[1]", "/act[.='nothing']", "/play[1]/act[1] /play[1]/act[2]"},
    {"/play[1]", "/act[b xyz @n]", ""},
    {"/play[1]", "/act[scene and @n]", "/play[1]/act[1] /play[1]/act[2]"},
    // Unions, in document order and each node once.
    {"/play[1]", "/act[2]|/act|//b",
     "/play[1]/act[1] /play[1]/act[1]/scene[2]/b[1] /play[1]/act[2]"},
};

TEST(FragmentSpec, SelectsFromTheMatchingNode) {
    const MemoryNodeTable nodes = tableFromXml(play);
    for (const SpecFact &fact : playFacts)
        EXPECT_EQ(selectedPaths(nodes, fact.spec, fact.match), fact.selected)
            << fact.spec << " from " << fact.match;
}

TEST(FragmentSpec, NamesMatchByPrefixAsWrittenByNamespaceNameAndTheXmlPrefix) {
    const MemoryNodeTable nodes =
        tableFromXml("<a xmlns='urn' xmlns:u='urn'><b xml:lang='en'/><u:b/><b xmlns=''/></a>");
    EXPECT_EQ(selectedPaths(nodes, "/b", "/a[1]"), "/a[1]/b[1] /a[1]/u:b[1] /a[1]/b[2]");
    EXPECT_EQ(selectedPaths(nodes, "/u:b", "/a[1]"), "/a[1]/u:b[1]");
    EXPECT_EQ(selectedPaths(nodes, "/urn:b", "/a[1]"), "/a[1]/b[1] /a[1]/u:b[1]");
    EXPECT_EQ(selectedPaths(nodes, "//@xml:lang", "/a[1]"), "/a[1]/b[1]/@xml:lang");
}

TEST(FragmentSpec, FollowingOfAnAttributeHoldsWhatIsBelowItsElement) {
    const MemoryNodeTable nodes = tableFromXml("<a><b i='1' j='2'><c/></b><d/></a>");
    EXPECT_EQ(selectedPaths(nodes, "/following::*", "/a[1]/b[1]/@i"), "/a[1]/b[1]/c[1] /a[1]/d[1]");
    EXPECT_EQ(selectedPaths(nodes, "/@*/following::*", "/a[1]/b[1]"), "/a[1]/b[1]/c[1] /a[1]/d[1]");
    EXPECT_EQ(selectedPaths(nodes, "/@*[following::c]", "/a[1]/b[1]"),
              "/a[1]/b[1]/@i /a[1]/b[1]/@j");
    EXPECT_EQ(selectedPaths(nodes, "/following-sibling::node()", "/a[1]/b[1]/@i"), "");
    EXPECT_EQ(selectedPaths(nodes, "/preceding::node()", "/a[1]/b[1]/@i"), "");
}

TEST(FragmentSpec, StaysInTheDocumentOfTheMatch) {
    const MemoryNodeTable nodes =
        tableFromXml({{"1", "<a><b/></a>"}, {"2", "<a><b/><c/></a>"}, {"3", "<a><b/></a>"}});
    const NodeId c = nodes.documents()[1].last;
    const ByNodeDatabase database(nodes);
    const ResultSetPtr matches = setOf(database, std::span(&c, 1));
    const auto from = [&](const char *spec) {
        return selected(database, matches, specsOf(database, matches, spec));
    };
    EXPECT_EQ(from("/preceding::*"), std::vector<RecordId>{c - 1});
    EXPECT_EQ(from("/following::*"), std::vector<RecordId>{});
    EXPECT_EQ(from("/../following-sibling::*"), std::vector<RecordId>{});
}

struct ErrorFact {
    std::string spec;
    const char *reason;
};

const ErrorFact errorFacts[] = {
    {"a", "it must begin with \"/\""},
    {".", "it must begin with \"/\""},
    {"@id", "it must begin with \"/\""},
    {"[b]", "it must begin with \"/\""},
    {"/a|b", "every path of it must begin with \"/\""},
    {"//", "syntax error"},
    {"/a/", "syntax error"},
    {"/a[", "syntax error"},
    {"/a[b", "syntax error"},
    {"/a]", "syntax error"},
    {"/a[b='x]", "syntax error"},
    {"/a[b or c or d]", "syntax error"},
    {"/a[$x]", "syntax error"},
    {"/foo()", "Invalid node type \"foo\""},
    {"/chld::a", "Invalid axis \"chld\""},
    {"/namespace::a", "the namespace axis is not supported"},
    {"/a/contains(b, 'x')", "the function \"contains\" cannot be used here"},
    {"/position()", "the function \"position\" cannot be used here"},
    {"/a[contains(.,'x')/b]", "the function \"contains\" cannot be used here"},
    {"/a['x']", "a predicate must hold a path or a comparison"},
    {"/a[2.5]", "a predicate must hold a path or a comparison"},
    {"/a[1 + 1]", "Paired expressions are not yet fully implemented"},
    {"/a[b div c]", "Paired expressions are not yet fully implemented"},
    {"/a[2 = @x]", "A ZARN XPath comparison predicate requires a location step and a scalar value"},
    {"/a[@x = @y]",
     "A ZARN XPath comparison predicate requires a location step and a scalar value"},
    {"/a[descendant::b = 'x']", "Comparison using the \"descendant\" axis is not supported"},
    {"/a[comment() = 'x']", "Comparison using the \"child\" axis is not supported"},
    {"/a[b/. = 'x']", "Comparison using the \"self\" axis is not supported"},
    {"/a[@x = '']", "Specified comparison operator is not supported for emptry strings"},
    {"/a[count(b) = 1]", "Unsupported function \"count\" in comparison"},
    {"/a[contains(b, 'x')]", "Unpexpected lvalue type in contains()"},
    {"/a[contains(@x)]", "ERROR: Invalid number of arguments to contains function"},
    {"/a[contains('x', @x)]",
     "A contains() function must have a location path as first argument and a scalar value as "
     "second"},
    {"/a[starts-with(@x, '1')]", "ERROR: unknown or unsupported function \"starts-with\""},
    {"/a[last()]", "ERROR: unknown or unsupported function \"last\""},
    {"/a[position() = '']", "Cannot compare position() or last() to an empty string"},
    {"/a[position() = 'x']", "\"x\" is no position"},
    {"/a[b/c/position() = 1]", "position() and last() can follow one step, not more"},
};

std::string messageOf(const std::string &spec) {
    try {
        compileSpec(spec);
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.status(), Status::badFragmentSpec);
        return failure.what();
    }
    return "accepted";
}

TEST(FragmentSpec, WhatCannotBeUsedIsRefusedWithItsTextAndTheReason) {
    for (const ErrorFact &fact : errorFacts)
        EXPECT_EQ(messageOf(fact.spec), "The fragment specification cannot be used: " + fact.spec +
                                            "; " + fact.reason + ".");
}

TEST(FragmentSpec, ANulCharacterIsNotTakenForTheEnd) {
    EXPECT_EQ(messageOf(std::string("/a\0b", 4)),
              "The fragment specification cannot be used: /a; it holds a NUL character.");
}

TEST(FragmentSpec, PredicatesAreNestedToALimit) {
    const auto nested = [](int depth) {
        std::string spec = "/a";
        for (int level = 0; level < depth; ++level)
            spec += "[b";
        return spec + std::string(static_cast<std::size_t>(depth), ']');
    };
    EXPECT_EQ(messageOf(nested(100)), "accepted");
    EXPECT_NE(messageOf(nested(101)).find("nested too deep"), std::string::npos);
    EXPECT_NE(messageOf(nested(1500)), "accepted");
}

TEST(FragmentSpec, ALongPathIsFollowedToItsEnd) {
    std::string spec;
    for (int step = 0; step < 20000; ++step)
        spec += "/a";
    const MemoryNodeTable nodes = tableFromXml("<a><a><a/></a></a>");
    EXPECT_EQ(selectedPaths(nodes, spec, "/a[1]"), "");
    EXPECT_EQ(selectedPaths(nodes, "/a" + spec.substr(0, 2), "/a[1]"), "/a[1]/a[1]/a[1]");
}

}  // namespace
}  // namespace zdbs
