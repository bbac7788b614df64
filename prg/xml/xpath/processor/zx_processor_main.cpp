#include "prg/xml/xpath/processor/zx_processor_main.h"

#include <charconv>
#include <cstdio>
#include <iterator>
#include <string>

#include "kernel/zdbs.h"
#include "prg/xml/xpath/parser/xpath_exception.h"
#include "prg/xml/xpath/parser/zx_parser_main.h"
#include "prg/xml/xpath/processor/buffer_text.h"
#include "prg/xml/xpath/processor/raise_exception.h"
#include "prg/xml/xpath/processor/shell_symbol.h"
#include "prg/xml/xpath/processor/tree_printout.h"

namespace {

// The commands around a request are best effort: their results are ignored on purpose.
void RunIgnoringResult(const char *command) noexcept {
    std::int32_t unused = 0;
    ZdbExecuteCcl(command, &unused);
}

// The number of a set, which is executed now if it never was. 0 when that fails: the request is
// over, nobody waits for the error.
std::int32_t LateNumber(SearchSet &set) noexcept {
    try {
        return set.GetNumber();
    } catch (XPathException *exception) {
        delete exception;
    } catch (...) {
        // Out of memory at the most: the set is left to the kernel.
    }
    return 0;
}

}  // namespace

ZXProcessorMain::ZXProcessorMain(IZfxLogger *logger) : m_pLogger(logger) {}

ZXProcessorMain::~ZXProcessorMain() {
    End();
    Clean();
}

void ZXProcessorMain::Clean() {
    SearchSet::ResetId();
    m_pCurrentStatement.reset();
    while (m_nodeStack.size() > 0)
        m_nodeStack.pop();
    for (int last = m_searchSets.size() - 1; last >= 0; --last) {
        delete GetSearchSet(last);
        m_searchSets.remove(last);
    }
}

SearchSet *ZXProcessorMain::AddSearchSet(SearchSet *set) {
    m_searchSets.append(set);
    return set;
}

SearchSet *ZXProcessorMain::GetSearchSet(std::int32_t index) const {
    return static_cast<SearchSet *>(m_searchSets.get(index));
}

void ZXProcessorMain::Begin() {
    if ((ZdbSaveStatus() & 1) == 0) return;
    m_bBeginCalled = true;
    const ShellSymbol define("DEF");
    const ShellSymbol hits("HIL");
    char command[256];
    std::snprintf(command, sizeof command, "%s %s", define.GetWord(), hits.GetWord());
    RunIgnoringResult(command);
}

void ZXProcessorMain::EnableEmptySets() {
    const ShellSymbol define("DEF");
    const ShellSymbol find("FIN");
    const ShellSymbol minimum("MIN");
    char command[256];
    std::snprintf(command, sizeof command, "%s %s %s=0", define.GetWord(), find.GetWord(),
                  minimum.GetWord());
    RunIgnoringResult(command);
}

// Allocates nothing itself: it runs in the destructor, also when a request ran out of memory.
void ZXProcessorMain::End() noexcept {
    if (!m_bBeginCalled) return;
    const ShellSymbol remove("DEL");
    const ShellSymbol setPrefix("SXX");
    const ShellSymbol renumber("REN");
    if (GetSearchSetCount() > 1) {
        DeleteIntermediateSets(remove, setPrefix);
        RunIgnoringResult(renumber.GetWord());
        TakeRenumberedSet();
    }
    ZdbLoadStatus(1);
    m_bBeginCalled = false;
}

void ZXProcessorMain::DeleteIntermediateSets(const ShellSymbol &remove,
                                             const ShellSymbol &setPrefix) noexcept {
    char command[64];  // two words of 16 characters at the most, and a number
    const int length =
        std::snprintf(command, sizeof command, "%s %s=", remove.GetWord(), setPrefix.GetWord());
    for (std::int32_t i = 0; i < GetSearchSetCount() - 1; ++i) {
        const std::int32_t number = LateNumber(*GetSearchSet(i));
        if (number < 1) continue;
        *std::to_chars(command + length, std::end(command) - 1, number).ptr = '\0';
        RunIgnoringResult(command);
    }
}

void ZXProcessorMain::TakeRenumberedSet() noexcept {
    std::int32_t number = 0;
    std::int32_t records = 0;
    std::int32_t hits = 0;
    if ((ZdbGetSearch(&number, &records, &hits) & 1) == 0) return;
    GetSearchSet(GetSearchSetCount() - 1)->SetNumber(number);
}

SearchSet *ZXProcessorMain::Query(const char *text) {
    if (m_pLogger != nullptr) m_pLogger->Debug("ZXProcessorMain::Query", "Entered");
    Clean();
    EnableEmptySets();
    ParseRequest(text != nullptr ? text : "");
    LogTree();
    ProcessNode(m_pCurrentStatement.get(), 0);
    ExecuteSets();
    return GetSearchSet(GetSearchSetCount() - 1);
}

void ZXProcessorMain::ParseRequest(const char *text) {
    ZXParserMain parser;
    CStringBuffer error(256);
    if (m_pLogger != nullptr) {
        m_pLogger->Debug("ZXProcessorMain::Query", "Parsing XPath expression \"%s\"", text);
    }
    m_pCurrentStatement.reset(parser.Parse(text, &error));
    if (m_pCurrentStatement != nullptr) return;
    if (m_pLogger != nullptr) {
        m_pLogger->Error("ZXProcessorMain::Query", 0, "XPath parsing error: %s", BufferText(error));
    }
    RaiseXPathException(BufferText(error));
}

void ZXProcessorMain::LogTree() const {
    if (m_pLogger == nullptr || m_pLogger->GetLogLevel() != LL_DEBUG) return;
    const std::string printout = TreePrintoutFormat(*m_pCurrentStatement);
    m_pLogger->Debug("ZXProcessorMain::Query", printout.c_str());
    m_pLogger->Debug("ZXProcessorMain::Query", "XPath parser node printout completed.");
}

void ZXProcessorMain::ExecuteSets() {
    // Through their numbers: what was executed during the translation is not executed again.
    for (std::int32_t i = 0; i < GetSearchSetCount(); ++i)
        GetSearchSet(i)->GetNumber();
}

XPathLocationStep *ZXProcessorMain::ToLocationStep(XPathExpression *expression) {
    auto *unary = dynamic_cast<XPathUnaryExpression *>(expression);
    XPathExpression *operand = unary != nullptr ? unary->Get() : nullptr;
    if (operand != nullptr) return dynamic_cast<XPathLocationStep *>(operand);
    const auto *path = dynamic_cast<const XPathPath *>(expression);
    if (path != nullptr) return path->Get(path->GetSize() - 1);
    return dynamic_cast<XPathLocationStep *>(expression);
}

XPathScalar *ZXProcessorMain::ToScalar(XPathExpression *expression) {
    const auto *filter = dynamic_cast<const XPathFilterExpression *>(expression);
    if (filter != nullptr) expression = filter->GetExpression();
    return dynamic_cast<XPathScalar *>(expression);
}
