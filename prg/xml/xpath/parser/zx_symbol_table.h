#ifndef PRG_XML_XPATH_PARSER_ZX_SYMBOL_TABLE_H
#define PRG_XML_XPATH_PARSER_ZX_SYMBOL_TABLE_H

#include <cstdint>

#include "prg/xml/xpath/parser/zx_symbol.h"

enum EZXScope {
    ZX_SCOPE_GLOBAL = 0,  ///< lookup sees the symbols of all blocks
    ZX_SCOPE_LOCAL = 1,   ///< lookup sees the current block (and blocks nested in it) only
};

enum EZXAllocMode {
    ZX_ALLOCMODE_OFF = 0,  ///< symbols keep the caller's name pointer
    ZX_ALLOCMODE_ON = 1,   ///< symbols copy the name
};

/// Called with a symbol of the table.
using ZXSymbolCallback = void (*)(ZXSymbol *);

/// A hashed symbol table with block nesting. Owns its symbols: a symbol lives until coalesce
/// removes it or the table is destroyed. Used by one thread.
class ZXSymbolTable {
public:
    /// fpNew, when given, is called after each symbol is created; fpDelete is kept, never called.
    explicit ZXSymbolTable(ZXSymbolCallback fpNew = nullptr, ZXSymbolCallback fpDelete = nullptr);
    ZXSymbolTable(const ZXSymbolTable &) = delete;
    ZXSymbolTable &operator=(const ZXSymbolTable &) = delete;
    virtual ~ZXSymbolTable();

    /// The low 8 bits of the sum of the name's bytes (as signed characters; upper-cased when the
    /// table is case-insensitive). A null name counts as "".
    int32_t createHashValue(const char *pszName) const;

    /// strcmp or strcasecmp, by the table's case sensitivity.
    int compare(const char *pszA, const char *pszB) const;

    /// Adds a symbol at the current block level, in front of all others.
    ZXSymbol *createSymbol(const char *pszName, int32_t nType);

    /// The newest symbol of that name, or null. In local scope the search ends at the first
    /// symbol of the bucket that belongs to an outer block.
    ZXSymbol *lookup(const char *pszName) const;

    /// A new symbol that shadows an existing one of that name; null, and nothing created, when
    /// there is none. The other way round than the name suggests, and meant so.
    ZXSymbol *intern(const char *pszName, int32_t nType);

    /// Removes and deletes the symbol; returns the next older one of an equal name, or null.
    ZXSymbol *coalesce(ZXSymbol *pSymbol);

    /// Leaving a block does not remove its symbols.
    void enterBlock() { ++blocklevel; }
    void leaveBlock() { --blocklevel; }

    void setScope(EZXScope eScope) { m_eScope = eScope; }
    EZXScope getScope() const { return m_eScope; }
    void setCaseSensetive(bool bCaseSensetive) { m_bCaseSensetive = bCaseSensetive; }
    bool getCaseSensetive() const { return m_bCaseSensetive; }
    void setAllocMode(EZXAllocMode eAllocMode) { m_eAllocMode = eAllocMode; }
    EZXAllocMode getAllocMode() const { return m_eAllocMode; }

protected:
    static constexpr int bucketCount = 256;

    ZXSymbol *m_pSymbols = nullptr;
    ZXSymbol *m_hash[bucketCount] = {};
    int32_t size = 0;  ///< kept for the layout's sake; never changed
    int32_t blocklevel = 0;
    bool m_bCaseSensetive = true;
    EZXScope m_eScope = ZX_SCOPE_GLOBAL;
    EZXAllocMode m_eAllocMode = ZX_ALLOCMODE_ON;
    ZXSymbolCallback m_fpNew;
    ZXSymbolCallback m_fpDelete;

private:
    void link(ZXSymbol *pSymbol);
    void unlink(ZXSymbol *pSymbol);
    ZXSymbol *findOlder(const ZXSymbol *pSymbol) const;
};

#endif
