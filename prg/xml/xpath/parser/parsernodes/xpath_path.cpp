#include "prg/xml/xpath/parser/parsernodes/xpath_path.h"

#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"

XPathPath::~XPathPath() = default;

void XPathPath::ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const {
    if (!bPaths) return;
    for (int i = 0; i < GetSize() && !XPathPrintLimit::IsReached(buffer); ++i) {
        if (const auto *step = Get(i)) step->ToString(buffer, bPaths, bPrefix, bSuffix);
    }
}

void XPathPath::ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathPath COUNT=")) return;
    buffer.append(GetSize());
    if (!bRecursive) return;
    for (int i = 0; i < GetSize(); ++i) {
        if (const auto *step = Get(i)) step->ToDebugString(buffer, true, nIndent + 1);
    }
}

XPathUnionExpression::~XPathUnionExpression() = default;

void XPathUnionExpression::ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix,
                                    bool bSuffix) const {
    for (int i = 0; i < GetSize(); ++i) {
        if (i > 0) appendText(buffer, "|", 1);
        if (const auto *path = Get(i)) path->ToString(buffer, bPaths, bPrefix, bSuffix);
    }
}

void XPathUnionExpression::ToDebugString(CStringBuffer &buffer, bool bRecursive,
                                         int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathUnionExpression PARTS=")) return;
    buffer.append(GetSize());
    if (!bRecursive) return;
    for (int i = 0; i < GetSize(); ++i) {
        if (const auto *path = Get(i)) path->ToDebugString(buffer, true, nIndent + 1);
    }
}
