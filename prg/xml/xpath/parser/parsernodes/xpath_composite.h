#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_COMPOSITE_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_COMPOSITE_H

#include "prg/xml/xpath/parser/parsernodes/xpath_expression.h"

/// Marks nodes that are built from other parts; behaves as XPathExpression does.
class XPathComposite : public virtual XPathExpression {
public:
    XPathComposite() = default;
    XPathComposite(const XPathComposite &source);
    XPathComposite &operator=(const XPathComposite &) = delete;
    ~XPathComposite() override;
};

#endif
