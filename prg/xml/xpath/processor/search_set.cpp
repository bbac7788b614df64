#include "prg/xml/xpath/processor/search_set.h"

#include <string>

#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_print_limit.h"
#include "prg/xml/xpath/processor/buffer_text.h"
#include "prg/xml/xpath/processor/raise_exception.h"
#include "prg/xml/xpath/processor/shell_symbol.h"

namespace {

void RunCommand(const std::string &command) {
    std::int32_t unused = 0;
    const std::int32_t status = ZdbExecuteCcl(command.c_str(), &unused);
    if ((status & 1) == 0) RaiseKernelError(status);
}

}  // namespace

SearchSet::SearchSet(IZfxLogger *logger) : m_pLogger(logger), m_nId(++m_nLastId) {}

SearchSet::~SearchSet() = default;

std::int32_t SearchSet::GetRecordCount() {
    if (m_nSearchNumber == 0) Execute();
    return m_nRecordCount;
}

void SearchSet::CreateCondition() {}

void SearchSet::Execute() {
    if (m_nSearchNumber > 0) return;
    const ShellSymbol find("FIN");
    if (!HasCondition()) CreateCondition();
    std::string command(find.GetWord());
    command.append(" ").append(BufferView(m_strCondition));
    LogText("SearchSet::Execute", "Executing", command.c_str());
    RunCommand(command);
    TakeMostRecentSet();
    LogProducedSet("SearchSet::Execute");
    LogHitTuples();
}

void SearchSet::ResetId() {
    m_nLastId = 0;
}

std::int32_t SearchSet::GetNumber() {
    if (m_nSearchNumber < 1) Execute();
    return m_nSearchNumber;
}

void SearchSet::SetCondition(const char *condition) {
    m_strCondition.set(condition);
    LogText("SearchSet::SetCondition", "Assigned CCL condition:", BufferText(m_strCondition));
}

void SearchSet::GetCondition(CStringBuffer &out) {
    if (!HasCondition()) CreateCondition();
    out.set(m_strCondition);
}

void SearchSet::TakeMostRecentSet() {
    m_nSearchNumber = 0;
    m_nRecordCount = 0;
    m_nHitCount = 0;
    ZdbGetSearch(&m_nSearchNumber, &m_nRecordCount, &m_nHitCount);
}

bool SearchSet::IsLoggedAtDebug() const {
    return m_pLogger != nullptr && m_pLogger->GetLogLevel() >= LL_DEBUG;
}

void SearchSet::LogText(const char *function, const char *label, const char *text) const {
    if (m_pLogger == nullptr) return;
    m_pLogger->Debug(function, "(SS/%02d) %s %s", static_cast<int>(m_nId), label, text);
}

void SearchSet::LogExpression(const char *function, const XPathExpression *expression) const {
    // Printing a tree costs its size for every set made from it: not without a reader.
    if (!IsLoggedAtDebug()) return;
    const XPathPrintLimit limit(zfxLogTextLength);  // nested predicates print what is in them, too
    CStringBuffer text;
    if (expression != nullptr) expression->ToString(text, false, true, true);
    if (text.length() > 0) {
        LogText(function, "Expression", BufferText(text));
    } else {
        m_pLogger->Debug(function, "(SS/%02d) Composite expression", static_cast<int>(m_nId));
    }
}

void SearchSet::LogProducedSet(const char *function) const {
    if (m_pLogger == nullptr) return;
    m_pLogger->Debug(function, "(SS/%02d) Produced set S%d with %d records",
                     static_cast<int>(m_nId), static_cast<int>(m_nSearchNumber),
                     static_cast<int>(m_nRecordCount));
}
