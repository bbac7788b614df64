#ifndef PRG_XML_XPATH_PARSER_ZX_SYMBOL_H
#define PRG_XML_XPATH_PARSER_ZX_SYMBOL_H

#include <cstdint>

/// One entry of a ZXSymbolTable, which owns it and keeps the four links.
class ZXSymbol {
public:
    /// With bDoDelete the symbol keeps a copy of the name (null counts as ""); without it keeps
    /// the caller's pointer, which must live as long as the symbol.
    ZXSymbol(const char *pszName, int32_t nType, int32_t nBlockLevel, int32_t nHashValue,
             bool bDoDelete);
    ZXSymbol(const ZXSymbol &) = delete;
    ZXSymbol &operator=(const ZXSymbol &) = delete;
    virtual ~ZXSymbol();

    const char *getName() const { return m_pszName; }
    int32_t getType() const { return m_nType; }
    /// The table's block level when the symbol was created.
    int32_t getNestingLevel() const { return m_nBlockLevel; }
    int32_t getHashValue() const { return m_nHashValue; }

    /// Links in the list of all symbols, newest first.
    void setNext(ZXSymbol *pSymbol) { next = pSymbol; }
    ZXSymbol *getNext() const { return next; }
    void setPrev(ZXSymbol *pSymbol) { prev = pSymbol; }
    ZXSymbol *getPrev() const { return prev; }

    /// Links in the bucket's chain, newest first.
    void setHNext(ZXSymbol *pSymbol) { hnext = pSymbol; }
    ZXSymbol *getHNext() const { return hnext; }
    void setHPrev(ZXSymbol *pSymbol) { hprev = pSymbol; }
    ZXSymbol *getHPrev() const { return hprev; }

    /// A number for the table's user; starts at 0.
    void setUserSlot(int32_t nValue) { m_nValue = nValue; }
    int32_t getUserSlot() const { return m_nValue; }

private:
    const char *m_pszName;
    int32_t m_nType;
    int32_t m_nBlockLevel;
    int32_t m_nHashValue;
    bool m_bDoDelete;
    int32_t m_nValue = 0;
    ZXSymbol *next = nullptr;
    ZXSymbol *prev = nullptr;
    ZXSymbol *hnext = nullptr;
    ZXSymbol *hprev = nullptr;
};

#endif
