#ifndef PRG_XML_XPATH_PROCESSOR_SEARCH_SET_H
#define PRG_XML_XPATH_PROCESSOR_SEARCH_SET_H

#include <cstdint>

#include "foundation/logger.h"
#include "foundation/string_buffer.h"
#include "kernel/zdbs.h"

class XPathExpression;

// One numbered result set of the kernel (S1, S2, ...) together with the condition that makes it.
//
// A set is executed late: the first time its number or its size is wanted. Until then its number is
// 0; afterwards it keeps its number, unless the processor replaces it after a renumbering.
//
// Ownership: a set owns neither its logger (which may be null) nor other sets nor expressions. The
// processor owns all sets of a request.
// Errors: a failed search raises an XPathException, by pointer, with the kernel's sentence; the set
// stays unexecuted.
// Threads: one at a time, the kernel session's.
class SearchSet {
public:
    explicit SearchSet(IZfxLogger *logger);
    SearchSet(const SearchSet &) = delete;
    SearchSet &operator=(const SearchSet &) = delete;

    // The virtual operations keep this order.
    virtual ~SearchSet();

    // The number of records in the set, executing it when it has no number.
    virtual std::int32_t GetRecordCount();

    // Makes the condition, if the set is of a kind that builds its own. Called by GetCondition()
    // for a set without one.
    virtual void CreateCondition();

    // Sends the condition to the kernel and takes number, records and hits of the new set. Nothing
    // happens when the set has a number. At LL_DEBUG the hits of the first records are logged, if
    // the kernel told a number.
    virtual void Execute();

    // Starts the numbering of set objects again: the next one gets the id 1.
    static void ResetId();

    // The number of this object among those made since ResetId(), from 1; it marks its log lines.
    std::int32_t GetId() const { return m_nId; }

    // The kernel's number of the set, executing it when it has none. 0 when it still has none.
    std::int32_t GetNumber();
    void SetNumber(std::int32_t number) { m_nSearchNumber = number; }

    // Whether the kernel has given a number already. Never executes.
    bool HasNumber() const { return m_nSearchNumber > 0; }

    // Whether a predicate's set has still to be joined with the step that carries the predicate.
    // True at the start.
    void SetCrossConnect(bool crossConnect) { m_bCrossConnect = crossConnect; }
    bool GetCrossConnect() const { return m_bCrossConnect; }

    void SetCondition(const char *condition);
    bool HasCondition() const { return m_strCondition.length() > 0; }

    // Replaces `out` by the condition, which is created first when there is none.
    void GetCondition(CStringBuffer &out);

    // Collects the hits of the first `maxRecords` records (all when it is below 1). `*tuples`
    // receives an array for the caller to release with ZfxMemFree: the number of tuples, then that
    // many pairs of record id and hit. Returns the number of tuples. Records that cannot be read
    // are skipped.
    std::int32_t GetHitTuples(std::int32_t **tuples, std::int32_t maxRecords);

    // Collects the hits of the record under a record control, ascending and each once: part, or
    // item when there is no part. `*values` receives an array for the caller to release with
    // ZfxMemFree. Returns the number of values.
    std::int32_t GetHitTuplesFromRecord(ZdbHandle recordControl, std::int32_t **values);

protected:
    // Takes number, records and hits of the kernel's most recent set; 0 each when there is none.
    void TakeMostRecentSet();

    // Log lines of this set, under the name of the reporting function. LogExpression prints
    // `expression`, which may be null, without its paths.
    void LogText(const char *function, const char *label, const char *text) const;
    void LogExpression(const char *function, const XPathExpression *expression) const;
    void LogProducedSet(const char *function) const;

    bool IsLoggedAtDebug() const;

private:
    void LogHitTuples();

    IZfxLogger *m_pLogger;
    std::int32_t m_nRecordCount = 0;
    std::int32_t m_nId;
    std::int32_t m_nSearchNumber = 0;  // 0: not executed
    std::int32_t m_nHitCount = 0;
    CStringBuffer m_strCondition{256};
    bool m_bCrossConnect = true;

    inline static thread_local std::int32_t m_nLastId = 0;
};

#endif
