#include "prg/xml/xpath/parser/zx_symbol.h"

#include <cstring>

namespace {

char *copyName(const char *pszName) {
    if (pszName == nullptr) pszName = "";
    const size_t size = std::strlen(pszName) + 1;
    auto *copy = new char[size];
    std::memcpy(copy, pszName, size);
    return copy;
}

}  // namespace

ZXSymbol::ZXSymbol(const char *pszName, int32_t nType, int32_t nBlockLevel, int32_t nHashValue,
                   bool bDoDelete)
    : m_pszName(bDoDelete ? copyName(pszName) : pszName),
      m_nType(nType),
      m_nBlockLevel(nBlockLevel),
      m_nHashValue(nHashValue),
      m_bDoDelete(bDoDelete) {}

ZXSymbol::~ZXSymbol() {
    if (m_bDoDelete) delete[] m_pszName;
}
