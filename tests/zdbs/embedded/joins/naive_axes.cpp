#include "tests/zdbs/embedded/joins/naive_axes.h"

#include <random>
#include <string>

namespace zdbs::testing {
namespace {

bool isAttribute(const NodeTable &table, Point point) {
    return point.node != noNode && table.kind(point.node) == NodeKind::attribute;
}

Point parentOf(const NodeTable &table, Point point) {
    return {table.parent(point.node), point.document};
}

/** Whether `up` is reached from `point` by going to the parent once or more often. */
bool isAncestor(const NodeTable &table, Point up, Point point) {
    while (point.node != noNode) {
        point = parentOf(table, point);
        if (point == up) return true;
    }
    return false;
}

bool areSiblings(const NodeTable &table, Point x, Point y) {
    if (x.node == noNode || y.node == noNode) return false;
    if (isAttribute(table, x) || isAttribute(table, y)) return false;
    return parentOf(table, x) == parentOf(table, y);
}

/** Document order puts a root before its nodes and follows the numbers otherwise. */
bool isBefore(Point x, Point y) {
    return x.document == y.document && x.node < y.node;
}

bool isChild(const NodeTable &table, Step step, Point x, Point y) {
    if (y.node == noNode || parentOf(table, y) != x) return false;
    return !isAttribute(table, y) || step.attributesAreChildren;
}

bool isDescendant(const NodeTable &table, Point x, Point y) {
    return isAncestor(table, x, y) && !isAttribute(table, y);
}

/** One way to continue a forest: depth of the next node, 0 for a new document. */
void grow(std::vector<int> &codes, int count, std::vector<std::vector<int>> &result);

/** Whether a sequence of depths and kinds can be built. Negative codes are attributes. */
bool canFollow(const std::vector<int> &codes, int code) {
    if (codes.empty()) return code == 0;
    int last = codes.back();
    bool lastIsAttribute = last < 0;
    int lastDepth = lastIsAttribute ? -last : last;
    if (code < 0) {
        // An attribute comes right after its element or after another attribute of it.
        return lastIsAttribute ? code == last : -code == (last == 0 ? 1 : last) + 1;
    }
    if (code == 0) return true;
    // Depth 1 is the top of a document; a new document begins with code 0 at depth 1.
    int deepest = lastIsAttribute ? lastDepth : (last == 0 ? 1 : last) + 1;
    return code <= deepest;
}

void grow(std::vector<int> &codes, int count, std::vector<std::vector<int>> &result) {
    if (static_cast<int>(codes.size()) == count) {
        result.push_back(codes);
        return;
    }
    for (int code = -(count + 1); code <= count + 1; ++code) {
        if (code == -1 || !canFollow(codes, code)) continue;
        codes.push_back(code);
        grow(codes, count, result);
        codes.pop_back();
    }
}

MemoryNodeTable tableOf(const std::vector<int> &codes) {
    MemoryNodeTable table;
    int open = 0;
    bool hasDocument = false;
    auto close = [&](int depth) {
        for (; open > depth; --open)
            table.endElement();
    };
    for (std::size_t i = 0; i < codes.size(); ++i) {
        int code = codes[i];
        if (code < 0) {
            table.attribute({"a" + std::to_string(i)}, "v");
            continue;
        }
        if (code == 0) {
            close(0);
            if (hasDocument) {
                table.endDocument();
                table.skipIds(3);
            }
            table.startDocument("d" + std::to_string(i));
            hasDocument = true;
        } else {
            close(code - 1);
        }
        table.startElement({"e"});
        ++open;
    }
    close(0);
    if (hasDocument) table.endDocument();
    return table;
}

}  // namespace

std::vector<Point> nodesOf(const NodeTable &table) {
    std::vector<Point> result;
    DocumentIndex index = 0;
    for (const DocumentRange &document : table.documents()) {
        for (NodeId node = document.first; node <= document.last; ++node) {
            result.push_back({node, index});
        }
        ++index;
    }
    return result;
}

std::vector<Point> rootsOf(const NodeTable &table) {
    std::vector<Point> result;
    for (DocumentIndex i = 0; i < table.documents().size(); ++i)
        result.push_back({noNode, i});
    return result;
}

bool related(const NodeTable &table, Step step, Point x, Point y) {
    if (x.document != y.document) return false;
    switch (step.axis) {
        case Axis::self:
            return x == y;
        case Axis::child:
            return isChild(table, step, x, y);
        case Axis::attribute:
            return isAttribute(table, y) && parentOf(table, y) == x;
        case Axis::parent:
            return x.node != noNode && parentOf(table, x) == y;
        case Axis::descendant:
            return isDescendant(table, x, y);
        case Axis::descendantOrSelf:
            return x == y || isDescendant(table, x, y);
        case Axis::ancestor:
            return isAncestor(table, y, x);
        case Axis::ancestorOrSelf:
            return x == y || isAncestor(table, y, x);
        case Axis::followingSibling:
            return areSiblings(table, x, y) && isBefore(x, y);
        case Axis::precedingSibling:
            return areSiblings(table, x, y) && isBefore(y, x);
        case Axis::following:
            return isBefore(x, y) && !isAncestor(table, x, y) && !isAttribute(table, y);
        case Axis::preceding:
            return isBefore(y, x) && !isAncestor(table, y, x) && !isAttribute(table, y);
        case Axis::namespaceNode:
            return false;
    }
    return false;
}

std::vector<MemoryNodeTable> forestsOf(int count) {
    std::vector<std::vector<int>> codes;
    std::vector<int> begin;
    grow(begin, count, codes);
    std::vector<MemoryNodeTable> result;
    for (const std::vector<int> &code : codes)
        result.push_back(tableOf(code));
    return result;
}

MemoryNodeTable randomTable(unsigned seed, int size) {
    std::mt19937 random(seed);
    auto upTo = [&random](unsigned end) { return static_cast<int>(random() % end); };
    MemoryNodeTable table;
    int left = size;
    while (left > 0) {
        table.startDocument("d" + std::to_string(left));
        int open = 0;
        int inDocument = 1 + upTo(static_cast<unsigned>(left));
        for (int i = 0; i < inDocument; ++i, --left) {
            while (open > 0 && upTo(3) == 0) {
                table.endElement();
                --open;
            }
            int what = upTo(10);
            if (what == 0) {
                table.comment("c");
            } else if (what == 1) {
                table.instruction("p", "i");
            } else if (what <= 3 && open > 0) {
                table.text("t" + std::to_string(upTo(3)));
            } else {
                table.startElement({std::string(1, static_cast<char>('a' + upTo(3)))});
                ++open;
                for (int j = upTo(3); j > 0 && i + 1 < inDocument; --j, ++i, --left) {
                    table.attribute({"x" + std::to_string(j)}, std::to_string(upTo(3)));
                }
            }
        }
        for (; open > 0; --open)
            table.endElement();
        table.endDocument();
        if (upTo(2) == 0) table.skipIds(static_cast<NodeId>(1 + upTo(100)));
    }
    return table;
}

namespace {

void appendShape(const NodeTable &table, NodeId node, std::string &text) {
    text += table.kind(node) == NodeKind::attribute ? '@' : '<';
    text += std::to_string(node);
    for (NodeId below = node + 1; below <= table.lastBelow(node);
         below = table.lastBelow(below) + 1) {
        text += ' ';
        appendShape(table, below, text);
    }
    if (table.kind(node) != NodeKind::attribute) text += '>';
}

}  // namespace

std::string shapeOf(const NodeTable &table) {
    std::string text;
    for (const DocumentRange &document : table.documents()) {
        if (!text.empty()) text += " | ";
        for (NodeId node = document.first; node <= document.last;
             node = table.lastBelow(node) + 1) {
            if (node != document.first) text += ' ';
            appendShape(table, node, text);
        }
    }
    return text;
}

}  // namespace zdbs::testing
