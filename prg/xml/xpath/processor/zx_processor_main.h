#ifndef PRG_XML_XPATH_PROCESSOR_ZX_PROCESSOR_MAIN_H
#define PRG_XML_XPATH_PROCESSOR_ZX_PROCESSOR_MAIN_H

#include <cstdint>
#include <memory>

#include "foundation/logger.h"
#include "foundation/pointer_list.h"
#include "foundation/stacks.h"
#include "foundation/string_buffer.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"
#include "prg/xml/xpath/processor/search_set.h"

class ShellSymbol;
struct Comparison;

// Turns one XPath request into search sets of the kernel and executes them.
//
// Use: Begin(), Query(text), End(), then read number and record count of the set that Query()
// returned, then destroy the processor. End() leaves only that set in the kernel, renumbered.
//
// Ownership: the processor owns the tree and every search set of the request; what Query() returned
// lives until the next Query(), Clean() or the end of the processor. It does not own its logger,
// which may be null.
// Errors: XPathException objects, thrown by pointer, for whoever catches them to delete. The sets
// created until then stay registered. End() and the destructor raise none.
// Stack: grows with the nesting of predicates only, which the parser limits.
// Threads: one at a time, the kernel session's. The kernel state that Begin() saves is the
// process's: one processor at a time.
class ZXProcessorMain {
public:
    explicit ZXProcessorMain(IZfxLogger *logger);
    ZXProcessorMain(const ZXProcessorMain &) = delete;
    ZXProcessorMain &operator=(const ZXProcessorMain &) = delete;

    // Runs End(), also while an exception passes, and Clean().
    virtual ~ZXProcessorMain();

    // Drops the tree, the expression stack and all search sets, newest set first, and starts the
    // numbering of set objects again.
    void Clean();

    // The stack of the expressions translated so far. It is only asked whether it is empty.
    // PopExpr and PeekExpr yield null on an empty stack.
    void PushExpr(XPathExpression *expression) { m_nodeStack.push(expression); }
    XPathExpression *PopExpr() { return static_cast<XPathExpression *>(m_nodeStack.pop()); }
    XPathExpression *PeekExpr() const { return static_cast<XPathExpression *>(m_nodeStack.top()); }

    // Takes ownership of `set`, as the last one, and returns it.
    SearchSet *AddSearchSet(SearchSet *set);

    std::int32_t GetSearchSetCount() const { return m_searchSets.size(); }

    // The set at `index`, 0 being the first one created; null when there is none.
    SearchSet *GetSearchSet(std::int32_t index) const;

    // Saves the kernel's state and has it record hits. When saving fails, nothing more is done,
    // and End() will do nothing.
    void Begin();

    // Deletes all sets but the last in the kernel, renumbers, gives the last set its new number and
    // restores the kernel's state. Does nothing without a successful Begin(). The words for it are
    // asked in any case, before anything else. A set that was never executed is executed first; one
    // whose execution fails is left out, and the failure with it.
    void End() noexcept;

    // Has the kernel keep empty result sets, so that every set named in a condition exists.
    void EnableEmptySets();

    // Parses and translates a request and executes its sets in the order of their creation. Returns
    // the last one, or null when the request needs none.
    SearchSet *Query(const char *text);

    // The step that an expression stands for: itself, the last one of a path, or the operand of a
    // unary expression. A unary expression of a path stands for none: meant.
    static XPathLocationStep *ToLocationStep(XPathExpression *expression);

    // The literal that an expression stands for: itself or the one in a filter expression.
    static XPathScalar *ToScalar(XPathExpression *expression);

    // Translates one node, and what is below it, into sets; returns the set that stands for the
    // node, or null for a node that stands for none. context: the number of the kernel set that the
    // result is restricted to; 0 or less: none.
    SearchSet *ProcessNode(XPathExpression *node, std::int32_t context);

    // Climbs `path` from its last step, for which `set` was found, to its first one. axis: joins
    // `set` to the step before it. indexOut, unless null, receives the index of the last set
    // registered for the step before the last. A path of one step returns `set`.
    SearchSet *ProcessLocPath(XPathPath *path, SearchSet *set, EAxisType axis,
                              std::int32_t *indexOut);

    // Evaluates the expression of a predicate for the set of the step that carries it. Null when
    // the expression stands for no set.
    SearchSet *ProcessPredicate(SearchSet *set, XPathExpression *expression);

    // Adds the type and name terms of a node test, which may be null, to a condition. Names are
    // written as they are stored: there is no escaping.
    void BuildNameCondition(XPathNodeTest *test, CStringBuffer &condition) const;

    // Joins two sets. mode: 1 answers the parent side, any other the child side. AXIS_INVALID
    // leaves the axis to the sets. A set that is null counts as all nodes.
    SearchSet *ConnectSets(SearchSet *parent, SearchSet *child, std::int32_t mode, EAxisType axis);

    // The union of two kernel sets. Not used by the translation.
    SearchSet *MergeSets(std::int32_t first, std::int32_t second);

private:
    // Query
    void ParseRequest(const char *text);
    void LogTree() const;
    void ExecuteSets();
    void DeleteIntermediateSets(const ShellSymbol &remove, const ShellSymbol &setPrefix) noexcept;
    void TakeRenumberedSet() noexcept;

    // Nodes
    SearchSet *AddExpressionSet(XPathExpression *expression, const char *condition);
    SearchSet *ProcessUnary(XPathUnaryExpression *unary, std::int32_t context);
    SearchSet *NegateSet(XPathUnaryExpression *unary, SearchSet *operand, std::int32_t context);
    SearchSet *ProcessUnion(XPathUnionExpression *paths, std::int32_t context);

    // Steps
    SearchSet *ProcessStep(XPathLocationStep *node, std::int32_t context);

    // The executed set of a step by itself.
    SearchSet *ProcessStepOf(XPathPath *path, int place);
    SearchSet *ProcessAxisStep(XPathAxisLocationStep *step, bool isRoot, std::int32_t context);
    SearchSet *ProcessDownStep(XPathAxisLocationStep *step, bool isRoot, std::int32_t context);
    SearchSet *ProcessSideStep(XPathAxisLocationStep *step, std::int32_t context);
    SearchSet *ProcessUpStep(XPathAxisLocationStep *step, std::int32_t context);
    SearchSet *ProcessAttributeStep(XPathAxisLocationStep *step, std::int32_t context);
    SearchSet *AddUniversalSet(XPathAxisLocationStep *step);

    // Paths and predicates
    SearchSet *ProcessPath(XPathPath *path, std::int32_t context);
    SearchSet *JoinStep(SearchSet *parent, SearchSet *stepSet, XPathLocationStep *step);
    SearchSet *ProcessPredicates(SearchSet *set, XPathLocationStep *step);
    SearchSet *IntersectPredicates(XPathExpression *expression, SearchSet *newest, SearchSet *held);
    SearchSet *RestrictToContext(SearchSet *set, std::int32_t context);
    SearchSet *ProcessAndOr(SearchSet *set, XPathExpressionPair *pair);
    SearchSet *ConnectPredicate(SearchSet *set, SearchSet *found, XPathExpression *expression);
    SearchSet *ClimbToStep(SearchSet *stepSet, SearchSet *below, EAxisType axis);

    // Comparisons and functions
    SearchSet *ProcessPair(XPathExpressionPair *pair, std::int32_t context);
    SearchSet *ProcessValueComparison(const Comparison &comparison, std::int32_t context);
    SearchSet *ProcessPosition(const Comparison &comparison, std::int32_t context);
    SearchSet *CountedSet(XPathPath *path, SearchSet *base, SearchSet **firstStep);
    SearchSet *AddPositionSet(const Comparison &comparison, SearchSet *counted, const char *value,
                              std::int32_t context);
    SearchSet *ProcessContains(XPathAxisLocationStep *step, std::int32_t context);
    SearchSet *ClimbFromContains(XPathPath *path, SearchSet *set, EAxisType axis);

    std::unique_ptr<XPathStatement> m_pCurrentStatement;
    CPtrStack m_nodeStack;    // XPathExpression, of the tree
    ZfxPtrList m_searchSets;  // SearchSet, owned, in the order of creation
    IZfxLogger *m_pLogger;
    bool m_bBeginCalled = false;
};

#endif
