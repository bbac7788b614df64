#include "prg/xml/xpath/parser/parsernodes/xpath_list.h"

#include <memory>

#include "prg/xml/xpath/parser/parsernodes/xpath_disposal.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_location_step.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_path.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print.h"

namespace {

/// The copy of an entry as a T; null (and the copy deleted) when the copy is not one.
template <typename T>
T *cloneEntry(const T &entry) {
    std::unique_ptr<XPathExpression> copy(entry.Clone());
    auto *typed = dynamic_cast<T *>(copy.get());
    if (typed != nullptr) static_cast<void>(copy.release());
    return typed;
}

}  // namespace

template <typename T>
XPathList<T>::~XPathList() {
    for (int i = 0; i < GetSize(); ++i)
        disposeNode(Get(i));
}

template <typename T>
XPathExpression *XPathList<T>::Clone() const {
    auto copy = std::make_unique<XPathList<T>>();
    for (int i = 0; i < GetSize(); ++i) {
        if (const T *entry = Get(i)) copy->Add(cloneEntry(*entry));
    }
    return copy.release();
}

template class XPathList<XPathExpression>;
template class XPathList<XPathLocationStep>;
template class XPathList<XPathPath>;

XPathExpressionList::~XPathExpressionList() = default;

void XPathExpressionList::ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix,
                                   bool bSuffix) const {
    for (int i = 0; i < GetSize() && !XPathPrintLimit::IsReached(buffer); ++i) {
        if (const auto *entry = Get(i)) entry->ToString(buffer, bPaths, bPrefix, bSuffix);
    }
}

void XPathExpressionList::ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const {
    if (!DumpLine(buffer, nIndent, "XPathExpressionList COUNT=")) return;
    buffer.append(GetSize());
    if (!bRecursive) return;
    for (int i = 0; i < GetSize(); ++i) {
        if (const auto *entry = Get(i)) entry->ToDebugString(buffer, bRecursive, nIndent + 1);
    }
}
