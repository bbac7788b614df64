// Trees for tests: parsed ones, and those that no request leads to.
#ifndef TESTS_PRG_XML_XPATH_PROCESSOR_TREES_H
#define TESTS_PRG_XML_XPATH_PROCESSOR_TREES_H

#include <memory>
#include <stdexcept>
#include <string>

#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"
#include "prg/xml/xpath/parser/zx_parser_main.h"
#include "prg/xml/xpath/processor/buffer_text.h"

using Tree = std::unique_ptr<XPathExpression>;

inline Tree parseTree(const std::string &request) {
    ZXParserMain parser;
    CStringBuffer error;
    XPathStatement *statement = parser.Parse(request.c_str(), &error);
    if (statement == nullptr) throw std::runtime_error(request + ": " + BufferText(error));
    return Tree(statement);
}

// The first step of a parsed path. Lives in the tree.
inline XPathAxisLocationStep *firstStep(const Tree &tree) {
    return dynamic_cast<XPathAxisLocationStep *>(dynamic_cast<XPathPath &>(*tree).Get(0));
}

// The expression of the first predicate of the first step. Lives in the tree.
inline XPathExpression *firstPredicate(const Tree &tree) {
    XPathExpression *entry = firstStep(tree)->GetPredicates()->Get(0);
    return dynamic_cast<XPathPredicate &>(*entry).GetExpression();
}

inline XPathAxisLocationStep *newStep(EAxisType axis, XPathNodeTest *test,
                                      XPathExpressionList *predicates = nullptr) {
    return new XPathAxisLocationStep(new XPathAxis(axis, test), predicates);
}

inline XPathAxisLocationStep *newNameStep(EAxisType axis, const char *name) {
    return newStep(axis, new XPathNodeNameTest(new XPathName(name)));
}

inline XPathPath *newPath(XPathLocationStep *first, XPathLocationStep *second = nullptr) {
    auto *path = new XPathPath;
    path->Add(first);
    if (second != nullptr) path->Add(second);
    return path;
}

// A path of one child step with one predicate.
inline Tree pathWithPredicate(XPathExpression *predicate) {
    auto *predicates = new XPathExpressionList;
    predicates->Add(predicate);
    auto *test = new XPathNodeNameTest(new XPathName("a"));
    return Tree(newPath(newStep(AXIS_CHILD, test, predicates)));
}

inline std::string surfaceText(const XPathExpression &expression) {
    CStringBuffer text;
    expression.ToString(text, true, true, true);
    return BufferText(text);
}

#endif
