// The restriction of a condition to an earlier set.
#ifndef PRG_XML_XPATH_PROCESSOR_CONTEXT_WRAP_H
#define PRG_XML_XPATH_PROCESSOR_CONTEXT_WRAP_H

#include <cstdint>
#include <cstdio>

// What stands around a condition: "S=12 AND (" and ")", or nothing without a context.
class ContextWrap {
public:
    // context: a set number; 0 or less: none.
    explicit ContextWrap(std::int32_t context) : m_bWraps(context > 0) {
        if (m_bWraps) {
            std::snprintf(m_szPrefix, sizeof m_szPrefix, "S=%d AND (", static_cast<int>(context));
        }
    }

    const char *Prefix() const { return m_szPrefix; }
    const char *Suffix() const { return m_bWraps ? ")" : ""; }

private:
    char m_szPrefix[32] = "";
    bool m_bWraps;
};

#endif
