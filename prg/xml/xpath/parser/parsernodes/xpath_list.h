#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_LIST_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_LIST_H

#include <concepts>

#include "foundation/pointer_list.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_statement.h"

class XPathLocationStep;
class XPathPath;

/// An owning list of nodes of type T, in order. Entries may be null.
/// Made for T = XPathExpression, XPathLocationStep and XPathPath (instantiated in the .cpp).
template <typename T>
class XPathList : public virtual XPathStatement {
public:
    XPathList() = default;
    XPathList(const XPathList &) = delete;
    XPathList &operator=(const XPathList &) = delete;
    /// Deletes the entries that are not null, first to last.
    ~XPathList() override;

    /// A new list of the plain class XPathList<T>, also for an object of a derived class (meant:
    /// a copied expression list, path or union is not one any more, and does not print). Null
    /// entries are left out; an entry whose copy is not a T becomes null.
    XPathExpression *Clone() const override;

    /// Appends an entry and takes ownership of it.
    void Add(T *pEntry) { m_list.append(pEntry); }

    /// The entry at a zero-based index; null when the index is out of range.
    T *Get(int nIndex) const { return static_cast<T *>(m_list.get(nIndex)); }

    int GetSize() const { return m_list.size(); }

    /// Inserts a step before the index (0 up to the size) and takes ownership of it.
    void Insert(int nIndex, T *pEntry) requires std::same_as<T, XPathLocationStep> {
        m_list.insert(nIndex, pEntry);
    }

private:
    ZfxPtrList m_list;
};

extern template class XPathList<XPathExpression>;
extern template class XPathList<XPathLocationStep>;
extern template class XPathList<XPathPath>;

/// Arguments of a function, predicates of a step.
class XPathExpressionList : public virtual XPathList<XPathExpression> {
public:
    XPathExpressionList() = default;
    ~XPathExpressionList() override;

    /// The entries in order, with nothing between them.
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;
};

#endif
