#include "prg/xml/xpath/parser/zx_symbol_table.h"

#include <strings.h>

#include <cctype>
#include <cstring>

ZXSymbolTable::ZXSymbolTable(ZXSymbolCallback fpNew, ZXSymbolCallback fpDelete)
    : m_fpNew(fpNew), m_fpDelete(fpDelete) {}

ZXSymbolTable::~ZXSymbolTable() {
    while (m_pSymbols != nullptr) {
        ZXSymbol *symbol = m_pSymbols;
        m_pSymbols = symbol->getNext();
        delete symbol;
    }
    for (auto &bucket : m_hash)
        bucket = nullptr;
}

int32_t ZXSymbolTable::createHashValue(const char *pszName) const {
    if (pszName == nullptr) return 0;
    uint32_t sum = 0;  // the low 8 bits are the same as those of the signed sum
    for (const char *p = pszName; *p != '\0'; ++p) {
        const int byte = m_bCaseSensetive ? static_cast<signed char>(*p)
                                          : std::toupper(static_cast<unsigned char>(*p));
        sum += static_cast<uint32_t>(byte);
    }
    return static_cast<int32_t>(sum & (bucketCount - 1));
}

int ZXSymbolTable::compare(const char *pszA, const char *pszB) const {
    return m_bCaseSensetive ? std::strcmp(pszA, pszB) : strcasecmp(pszA, pszB);
}

ZXSymbol *ZXSymbolTable::createSymbol(const char *pszName, int32_t nType) {
    auto *symbol = new ZXSymbol(pszName, nType, blocklevel, createHashValue(pszName),
                                m_eAllocMode == ZX_ALLOCMODE_ON);
    link(symbol);
    if (m_fpNew != nullptr) m_fpNew(symbol);
    return symbol;
}

ZXSymbol *ZXSymbolTable::lookup(const char *pszName) const {
    if (pszName == nullptr) return nullptr;
    for (ZXSymbol *symbol = m_hash[createHashValue(pszName)]; symbol != nullptr;
         symbol = symbol->getHNext()) {
        if (m_eScope == ZX_SCOPE_LOCAL && symbol->getNestingLevel() < blocklevel) return nullptr;
        if (symbol->getName() != nullptr && compare(symbol->getName(), pszName) == 0) return symbol;
    }
    return nullptr;
}

ZXSymbol *ZXSymbolTable::intern(const char *pszName, int32_t nType) {
    return lookup(pszName) != nullptr ? createSymbol(pszName, nType) : nullptr;
}

ZXSymbol *ZXSymbolTable::coalesce(ZXSymbol *pSymbol) {
    if (pSymbol == nullptr) return nullptr;
    ZXSymbol *older = findOlder(pSymbol);
    unlink(pSymbol);
    delete pSymbol;
    return older;
}

void ZXSymbolTable::link(ZXSymbol *pSymbol) {
    pSymbol->setNext(m_pSymbols);
    if (m_pSymbols != nullptr) m_pSymbols->setPrev(pSymbol);
    m_pSymbols = pSymbol;

    ZXSymbol *&bucket = m_hash[pSymbol->getHashValue()];
    pSymbol->setHNext(bucket);
    if (bucket != nullptr) bucket->setHPrev(pSymbol);
    bucket = pSymbol;
}

void ZXSymbolTable::unlink(ZXSymbol *pSymbol) {
    ZXSymbol *next = pSymbol->getNext();
    ZXSymbol *prev = pSymbol->getPrev();
    if (next != nullptr) next->setPrev(prev);
    if (prev != nullptr) {
        prev->setNext(next);
    } else {
        m_pSymbols = next;
    }

    ZXSymbol *hnext = pSymbol->getHNext();
    ZXSymbol *hprev = pSymbol->getHPrev();
    if (hnext != nullptr) hnext->setHPrev(hprev);
    if (hprev != nullptr) {
        hprev->setHNext(hnext);
    } else {
        m_hash[pSymbol->getHashValue()] = hnext;
    }
}

ZXSymbol *ZXSymbolTable::findOlder(const ZXSymbol *pSymbol) const {
    if (pSymbol->getName() == nullptr) return nullptr;
    for (ZXSymbol *symbol = pSymbol->getHNext(); symbol != nullptr; symbol = symbol->getHNext()) {
        if (symbol->getName() != nullptr && compare(symbol->getName(), pSymbol->getName()) == 0) {
            return symbol;
        }
    }
    return nullptr;
}
