/** The axes by definition, pair by pair: what the joins are compared with. */
#ifndef TESTS_ZDBS_EMBEDDED_JOINS_NAIVE_AXES_H
#define TESTS_ZDBS_EMBEDDED_JOINS_NAIVE_AXES_H

#include <compare>
#include <string>
#include <vector>

#include "tests/zdbs/support/memory_node_table.h"
#include "zdbs/embedded/joins/join.h"

namespace zdbs::testing {

/** A node, or the root of a document: then `node` is noNode. */
struct Point {
    NodeId node = noNode;
    DocumentIndex document = 0;

    friend auto operator<=>(const Point &, const Point &) = default;
};

/** Every node of a table, by document. */
std::vector<Point> nodesOf(const NodeTable &table);

/** The root of every document. */
std::vector<Point> rootsOf(const NodeTable &table);

/** Whether y is on the axis of x, as XPath 1.0, section 2.2, has it. */
bool related(const NodeTable &table, Step step, Point x, Point y);

/**
 * Every forest of `count` nodes that documents can be made of: elements and
 * attributes, in one document or several, document after document.
 */
std::vector<MemoryNodeTable> forestsOf(int count);

/** A random table: documents, elements, attributes, texts, comments, instructions. */
MemoryNodeTable randomTable(unsigned seed, int size);

/** The shape of a table for messages: "<1 @2 <3>> | <4>". */
std::string shapeOf(const NodeTable &table);

}  // namespace zdbs::testing

#endif
