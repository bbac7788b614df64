// What the comparisons share.
#ifndef PRG_XML_XPATH_PROCESSOR_COMPARISON_H
#define PRG_XML_XPATH_PROCESSOR_COMPARISON_H

#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"

class CStringBuffer;

// The operands of a comparison, told apart. All belong to the tree.
struct Comparison {
    XPathExpressionPair *pair;
    XPathPath *path;              // the side of the step when it is a path, else null
    XPathAxisLocationStep *step;  // has an axis
    XPathScalar *scalar;
};

// How the command language writes a comparison operator.
struct OperatorWords {
    const char *sign;  // before a quoted value; null for equality, which is written otherwise
    const char *word;  // between position and number
};

// REQUIRES: the operator compares.
const OperatorWords &WordsOf(EPairOperator op);

// The function that a step calls instead of testing nodes; null when it calls none.
XPathFunction *CalledFunction(const XPathAxisLocationStep &step);

bool HasTypeTest(const XPathAxis &axis, ENodeType type);

// Whether a function has that name, in any letter case.
bool HasName(const XPathFunction &function, const char *name);

// Replaces `value` by the text of a literal: no quotes and no escaping, but the round brackets if
// it was written in some.
void LiteralText(const XPathScalar &scalar, CStringBuffer &value);

#endif
