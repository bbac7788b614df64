// The kinds of set that are built from other sets.
//
// A combined set builds its condition when it is executed. Building it asks the members for their
// numbers and so executes them first, in the order in which the condition needs them. Members are
// never owned; they outlive the set, and no set is, directly or not, a member of itself.
//
// The stack that an execution needs does not grow with the depth of sets within sets.
#ifndef PRG_XML_XPATH_PROCESSOR_COMBINED_SEARCH_SETS_H
#define PRG_XML_XPATH_PROCESSOR_COMBINED_SEARCH_SETS_H

#include <cstdint>

#include "foundation/pointer_list.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_axis.h"
#include "prg/xml/xpath/processor/leaf_search_sets.h"

// The nodes that are in any of the members: "(S=3 OR S=5)".
class UnionSearchSet : public ExpressionSearchSet {
public:
    UnionSearchSet(XPathExpression *expression, IZfxLogger *logger);
    ~UnionSearchSet() override;

    void AddSearchSet(SearchSet *set) { m_sets.append(set); }
    const ZfxPtrList &GetSearchSets() const { return m_sets; }

    // Without members the condition is ")": kept.
    void CreateCondition() override;

private:
    ZfxPtrList m_sets;
};

// The nodes that are in all of the members: "(S=3 AND.T S=5)".
class IntersectionSearchSet : public ExpressionSearchSet {
public:
    IntersectionSearchSet(XPathExpression *expression, IZfxLogger *logger);
    ~IntersectionSearchSet() override;

    void AddSearchSet(SearchSet *set) { m_sets.append(set); }
    const ZfxPtrList &GetSearchSets() const { return m_sets; }

    // Without members the condition is ")": kept.
    void CreateCondition() override;

private:
    ZfxPtrList m_sets;
};

// The structural join of a parent set and a child set along an axis:
// "XPATH(child,<parent>,<child>,<direction>)". The direction tells which side is answered.
class CrossSearchSet : public SearchSet {
public:
    explicit CrossSearchSet(IZfxLogger *logger);
    ~CrossSearchSet() override;

    // useThisSet: the answer is taken from this side; else from the other one. The last call of
    // the two decides.
    void SetParentSearchSet(SearchSet *set, bool useThisSet);
    void SetChildSearchSet(SearchSet *set, bool useThisSet);
    SearchSet *GetParentSearchSet() const { return m_pParentSet; }
    SearchSet *GetChildSearchSet() const { return m_pChildSet; }

    // The direction itself: 1 answers the parent side, 2 the child side.
    void SetModus(std::int32_t direction) { m_nDirection = direction; }
    std::int32_t GetModus() const { return m_nDirection; }

    // Joins `parent` and `child` along the axis that the child comes with, answering the parent
    // side. On the parent axis the two change their places, and the answer is the child side.
    void Assign(SearchSet *parent, SearchSet *child);

    void SetAxisType(EAxisType axis) { m_eAxisType = axis; }

    // The axis that was set, or else the one that the child or the parent comes with, or else
    // AXIS_CHILD.
    EAxisType GetAxisType() const;

    // The expression of the parent set; null when it has none.
    XPathExpression *GetParentExpression() const;

    // A set that was not given counts as all nodes. Raises an XPathException for an axis that
    // there is not.
    void CreateCondition() override;

private:
    std::int32_t m_nDirection = 1;
    SearchSet *m_pChildSet = nullptr;
    SearchSet *m_pParentSet = nullptr;
    EAxisType m_eAxisType = AXIS_INVALID;
};

#endif
