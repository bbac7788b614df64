// Executing sets within sets.
#ifndef PRG_XML_XPATH_PROCESSOR_MEMBER_EXECUTION_H
#define PRG_XML_XPATH_PROCESSOR_MEMBER_EXECUTION_H

#include <cstdint>

class SearchSet;

// Stands for one combined set that is building its condition. Building asks the members for their
// numbers, which may build theirs, and so on: as deep as a request has steps or predicates. Beyond
// a few levels this object executes everything below its set itself, without recursion and in the
// same order, so that the set then finds its members executed.
class MemberExecution {
public:
    explicit MemberExecution(SearchSet *set);
    ~MemberExecution();
    MemberExecution(const MemberExecution &) = delete;
    MemberExecution &operator=(const MemberExecution &) = delete;

private:
    inline static thread_local std::int32_t m_nDepth = 0;  // objects alive
};

#endif
