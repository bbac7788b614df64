#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "prg/xml/xpath/parser/zx_symbol_table.h"

namespace {

/// Lets the tests read the table's inside.
class OpenTable : public ZXSymbolTable {
public:
    using ZXSymbolTable::blocklevel;
    using ZXSymbolTable::m_fpDelete;
    using ZXSymbolTable::m_hash;
    using ZXSymbolTable::m_pSymbols;
    using ZXSymbolTable::size;
    using ZXSymbolTable::ZXSymbolTable;
};

int created = 0;
int deleted = 0;
void countCreated(ZXSymbol *symbol) {
    ++created;
    symbol->setUserSlot(symbol->getType() * 2);
}
void countDeleted(ZXSymbol *) {
    ++deleted;
}

/// Names with the same hash, case-sensitive: the same letters in another order.
constexpr const char *sameBucket[] = {"abc", "acb", "bac"};

}  // namespace

TEST(SymbolTable, StartsEmptyCaseSensitiveGlobalAndCopying) {
    const OpenTable table;
    EXPECT_EQ(nullptr, table.m_pSymbols);
    for (const ZXSymbol *bucket : table.m_hash)
        EXPECT_EQ(nullptr, bucket);
    EXPECT_EQ(0, table.size);
    EXPECT_EQ(0, table.blocklevel);
    EXPECT_TRUE(table.getCaseSensetive());
    EXPECT_EQ(ZX_SCOPE_GLOBAL, table.getScope());
    EXPECT_EQ(ZX_ALLOCMODE_ON, table.getAllocMode());
    EXPECT_EQ(0, ZX_SCOPE_GLOBAL);
    EXPECT_EQ(1, ZX_SCOPE_LOCAL);
    EXPECT_EQ(0, ZX_ALLOCMODE_OFF);
    EXPECT_EQ(1, ZX_ALLOCMODE_ON);
}

TEST(SymbolTable, HashIsTheLowByteOfTheSum) {
    ZXSymbolTable table;
    EXPECT_EQ(195, table.createHashValue("ab"));
    EXPECT_EQ(0, table.createHashValue(""));
    EXPECT_EQ((3 * 122) & 255, table.createHashValue("zzz"));
    EXPECT_EQ(0xC3 + 0xA9 - 256, table.createHashValue("\xC3\xA9"));
    table.setCaseSensetive(false);
    EXPECT_EQ(131, table.createHashValue("ab"));
    EXPECT_EQ(131, table.createHashValue("AB"));
}

TEST(SymbolTable, ComparesByItsCaseSensitivity) {
    ZXSymbolTable table;
    EXPECT_EQ(0, table.compare("ab", "ab"));
    EXPECT_GT(table.compare("ab", "AB"), 0);
    EXPECT_LT(table.compare("a", "b"), 0);
    table.setCaseSensetive(false);
    EXPECT_EQ(0, table.compare("ab", "AB"));
    EXPECT_GT(table.compare("b", "A"), 0);
}

TEST(SymbolTable, CreatedSymbolsAreLinkedNewestFirst) {
    OpenTable table;
    ZXSymbol *first = table.createSymbol("abc", 1);
    ZXSymbol *other = table.createSymbol("x", 2);
    ZXSymbol *last = table.createSymbol("acb", 3);

    EXPECT_EQ(last, table.m_pSymbols);
    EXPECT_EQ(other, last->getNext());
    EXPECT_EQ(first, other->getNext());
    EXPECT_EQ(nullptr, first->getNext());
    EXPECT_EQ(other, first->getPrev());
    EXPECT_EQ(nullptr, last->getPrev());

    EXPECT_EQ(last, table.m_hash[first->getHashValue()]);
    EXPECT_EQ(first, last->getHNext());
    EXPECT_EQ(last, first->getHPrev());
    EXPECT_EQ(nullptr, first->getHNext());
    EXPECT_EQ(other, table.m_hash['x']);
    EXPECT_EQ(0, table.size) << "never changed";
}

TEST(SymbolTable, ASymbolKnowsWhatItWasCreatedWith) {
    ZXSymbolTable table;
    table.enterBlock();
    ZXSymbol *symbol = table.createSymbol("ab", 42);
    EXPECT_STREQ("ab", symbol->getName());
    EXPECT_EQ(42, symbol->getType());
    EXPECT_EQ(1, symbol->getNestingLevel());
    EXPECT_EQ(195, symbol->getHashValue());
    EXPECT_EQ(0, symbol->getUserSlot());
    symbol->setUserSlot(-5);
    EXPECT_EQ(-5, symbol->getUserSlot());
}

TEST(SymbolTable, NamesAreCopiedOrKeptByTheAllocMode) {
    ZXSymbolTable table;
    const char name[] = "ab";
    const char *copied = table.createSymbol(name, 1)->getName();
    EXPECT_NE(name, copied);
    EXPECT_STREQ(name, copied);
    EXPECT_STREQ("", table.createSymbol(nullptr, 1)->getName());
    table.setAllocMode(ZX_ALLOCMODE_OFF);
    EXPECT_EQ(name, table.createSymbol(name, 1)->getName());
    EXPECT_EQ(nullptr, table.createSymbol(nullptr, 1)->getName());
    EXPECT_EQ(nullptr, table.lookup("")->getNext()->getNext()) << "the null name is passed over";
}

TEST(SymbolTable, TheCreationCallbackIsCalledAndTheDeletionCallbackIsNot) {
    created = deleted = 0;
    {
        OpenTable table(countCreated, countDeleted);
        EXPECT_EQ(&countDeleted, table.m_fpDelete);
        EXPECT_EQ(14, table.createSymbol("a", 7)->getUserSlot());
        table.createSymbol("b", 1);
        table.coalesce(table.lookup("b"));
    }
    EXPECT_EQ(2, created);
    EXPECT_EQ(0, deleted);
}

TEST(SymbolTable, LookupFindsTheNewestOfAName) {
    ZXSymbolTable table;
    EXPECT_EQ(nullptr, table.lookup("abc"));
    table.createSymbol("abc", 1);
    ZXSymbol *newest = table.createSymbol("abc", 2);
    table.createSymbol("acb", 3);
    EXPECT_EQ(newest, table.lookup("abc"));
    EXPECT_EQ(nullptr, table.lookup("ABC"));
    EXPECT_EQ(nullptr, table.lookup("bca"));
    EXPECT_EQ(nullptr, table.lookup(nullptr));
}

TEST(SymbolTable, LookupFindsAnyLetterCaseWhenToldSo) {
    ZXSymbolTable table;
    table.setCaseSensetive(false);
    ZXSymbol *symbol = table.createSymbol("Div", 1);
    EXPECT_EQ(symbol, table.lookup("dIV"));
}

TEST(SymbolTable, LocalScopeStopsAtTheFirstSymbolOfAnOuterBlock) {
    ZXSymbolTable table;
    table.setScope(ZX_SCOPE_LOCAL);
    ZXSymbol *outer = table.createSymbol(sameBucket[0], 1);
    EXPECT_EQ(outer, table.lookup(sameBucket[0]));

    table.enterBlock();
    EXPECT_EQ(nullptr, table.lookup(sameBucket[0])) << "of level 0";
    ZXSymbol *inner = table.createSymbol(sameBucket[1], 2);
    EXPECT_EQ(inner, table.lookup(sameBucket[1]));

    table.leaveBlock();
    EXPECT_EQ(inner, table.lookup(sameBucket[1])) << "its level is not below the current one";
    table.createSymbol(sameBucket[2], 3);
    table.enterBlock();
    EXPECT_EQ(nullptr, table.lookup(sameBucket[1])) << "behind a symbol of level 0";
    table.setScope(ZX_SCOPE_GLOBAL);
    EXPECT_EQ(inner, table.lookup(sameBucket[1]));
}

TEST(SymbolTable, InternShadowsAKnownNameAndRefusesAnUnknownOne) {
    OpenTable table;
    EXPECT_EQ(nullptr, table.intern("a", 1));
    EXPECT_EQ(nullptr, table.m_pSymbols);
    ZXSymbol *old = table.createSymbol("a", 1);
    ZXSymbol *shadow = table.intern("a", 2);
    ASSERT_NE(nullptr, shadow);
    EXPECT_NE(old, shadow);
    EXPECT_EQ(2, shadow->getType());
    EXPECT_EQ(shadow, table.lookup("a"));
}

TEST(SymbolTable, CoalesceRemovesASymbolAndGivesTheOneItShadowed) {
    OpenTable table;
    EXPECT_EQ(nullptr, table.coalesce(nullptr));
    ZXSymbol *oldest = table.createSymbol("abc", 1);
    ZXSymbol *between = table.createSymbol("acb", 2);
    ZXSymbol *newest = table.createSymbol("abc", 3);

    EXPECT_EQ(oldest, table.coalesce(newest));
    EXPECT_EQ(between, table.m_pSymbols);
    EXPECT_EQ(nullptr, between->getPrev());
    EXPECT_EQ(between, table.m_hash[between->getHashValue()]);
    EXPECT_EQ(nullptr, between->getHPrev());
    EXPECT_EQ(oldest, table.lookup("abc"));

    EXPECT_EQ(nullptr, table.coalesce(oldest));
    EXPECT_EQ(nullptr, between->getNext());
    EXPECT_EQ(nullptr, between->getHNext());
    EXPECT_EQ(nullptr, table.coalesce(between));
    EXPECT_EQ(nullptr, table.m_pSymbols);
    EXPECT_EQ(nullptr, table.m_hash[table.createHashValue("abc")]);
}

TEST(SymbolTable, CoalesceInTheMiddleKeepsBothChainsWhole) {
    OpenTable table;
    ZXSymbol *oldest = table.createSymbol("abc", 1);
    ZXSymbol *middle = table.createSymbol("acb", 2);
    ZXSymbol *newest = table.createSymbol("bac", 3);
    table.coalesce(middle);
    EXPECT_EQ(oldest, newest->getNext());
    EXPECT_EQ(newest, oldest->getPrev());
    EXPECT_EQ(oldest, newest->getHNext());
    EXPECT_EQ(newest, oldest->getHPrev());
}

TEST(SymbolTable, LeavingABlockKeepsItsSymbols) {
    OpenTable table;
    table.enterBlock();
    table.enterBlock();
    EXPECT_EQ(2, table.blocklevel);
    ZXSymbol *symbol = table.createSymbol("a", 1);
    table.leaveBlock();
    table.leaveBlock();
    EXPECT_EQ(0, table.blocklevel);
    EXPECT_EQ(symbol, table.lookup("a"));
}

TEST(Symbol, LinksAreWhatTheyAreSetTo) {
    ZXSymbol symbol("a", 1, 2, 3, true);
    ZXSymbol other("b", 1, 2, 3, false);
    symbol.setNext(&other);
    symbol.setPrev(&other);
    symbol.setHNext(&other);
    symbol.setHPrev(&other);
    EXPECT_EQ(&other, symbol.getNext());
    EXPECT_EQ(&other, symbol.getPrev());
    EXPECT_EQ(&other, symbol.getHNext());
    EXPECT_EQ(&other, symbol.getHPrev());
    EXPECT_EQ(3, symbol.getHashValue());
    EXPECT_EQ(2, symbol.getNestingLevel());
}
