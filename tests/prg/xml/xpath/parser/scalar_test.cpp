// Literals: how they hold, copy and print their values.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "parser_support.h"

using namespace xpathtest;

namespace {

std::string value(const XPathScalar &scalar) {
    CStringBuffer buffer("what was there before");
    scalar.GetValue(buffer);
    return text(buffer);
}

std::unique_ptr<XPathExpression> clone(const XPathExpression &node) {
    return std::unique_ptr<XPathExpression>(node.Clone());
}

}  // namespace

TEST(Scalar, SignsAreNumbered) {
    EXPECT_EQ(0, SC_SIGN_OFF);
    EXPECT_EQ(1, SC_SIGN_PLUS);
    EXPECT_EQ(2, SC_SIGN_MINUS);
}

TEST(Scalar, StartsEmptyWithoutSign) {
    const XPathScalar scalar;
    EXPECT_EQ("", value(scalar));
    EXPECT_EQ(0, scalar.GetValueLength());
    EXPECT_EQ(SC_SIGN_OFF, scalar.GetSign());
    EXPECT_EQ("", text(scalar));
}

TEST(Scalar, SetValueTakesAWholeTextOrAsManyBytesAsSaid) {
    XPathScalar scalar;
    scalar.SetValue("abcdef", -1);
    EXPECT_EQ("abcdef", value(scalar));
    scalar.SetValue("abcdef", 3);
    EXPECT_EQ("abc", value(scalar));
    EXPECT_EQ(3, scalar.GetValueLength());
    scalar.SetValue("abcdef", 0);
    EXPECT_EQ("", value(scalar));
    scalar.SetValue("x", -1);
    scalar.SetValue(nullptr, -1);
    EXPECT_EQ("", value(scalar));
    const CStringBuffer buffer("from a buffer");
    scalar.SetValue(buffer);
    EXPECT_EQ("from a buffer", value(scalar));
}

TEST(Scalar, TheSignIsKeptAndNotPrinted) {
    XPathInt number;
    number = 5;
    number.SetSign(SC_SIGN_MINUS);
    EXPECT_EQ(SC_SIGN_MINUS, number.GetSign());
    EXPECT_EQ("5", text(number));
    const XPathInt copy(number);
    EXPECT_EQ(SC_SIGN_MINUS, copy.GetSign());
}

TEST(Scalar, FormatValueAppendsThePlainValue) {
    XPathChar literal("v");
    literal.SetParenthesized(true);
    CStringBuffer buffer("before ");
    literal.FormatValue(buffer);
    EXPECT_EQ("before v", text(buffer));
}

TEST(Scalar, PrintsBracketsAroundQuotesAroundTheValue) {
    XPathChar literal("v");
    EXPECT_EQ("\"v\"", text(literal, true, true, true));
    EXPECT_EQ("\"v", text(literal, true, true, false)) << "the opening quote alone";
    EXPECT_EQ("v\"", text(literal, true, false, true));
    EXPECT_EQ("v", text(literal, false, false, false));
    literal.SetParenthesized(true);
    EXPECT_EQ("(\"v\")", text(literal));
    EXPECT_EQ("(v)", text(literal, true, false, false));
}

TEST(Scalar, QuotesInsideAStringAreNotEscaped) {
    EXPECT_EQ("\"a\"b'c\"", text(XPathChar("a\"b'c")));
}

TEST(Scalar, NumbersHaveNoQuotes) {
    XPathInt number;
    number = 3;
    EXPECT_EQ("3", text(number));
    XPathFloat decimal;
    decimal = 1.5;
    EXPECT_EQ("1.50", text(decimal));
}

TEST(Scalar, AParenthesizedIntegerPrintsBracketsAndItsCloneNone) {
    XPathInt number;
    number = 3;
    number.SetParenthesized(true);
    EXPECT_EQ("(3)", text(number));
    const auto copy = clone(number);
    EXPECT_EQ("3", text(*copy));
    EXPECT_FALSE(copy->IsParenthesized());
}

TEST(Scalar, CloneGivesTheSameClassAndValue) {
    XPathInt number;
    number = 12;
    auto copy = clone(number);
    ASSERT_NE(nullptr, dynamic_cast<XPathInt *>(copy.get()));
    EXPECT_EQ("12", text(*copy));

    XPathFloat decimal;
    decimal = 2.5;
    copy = clone(decimal);
    ASSERT_NE(nullptr, dynamic_cast<XPathFloat *>(copy.get()));
    EXPECT_EQ("2.50", text(*copy));

    copy = clone(XPathChar("text"));
    ASSERT_NE(nullptr, dynamic_cast<XPathChar *>(copy.get()));
    EXPECT_EQ("\"text\"", text(*copy));

    copy = clone(XPathChar());
    EXPECT_EQ("\"\"", text(*copy)) << "the copy of an empty value";
    EXPECT_STREQ("", (*dynamic_cast<XPathChar *>(copy.get()))());
}

TEST(Scalar, CloneOfABareScalarIsNull) {
    const XPathScalar scalar;
    EXPECT_EQ(nullptr, XPathScalar::__clone(&scalar));
    EXPECT_EQ(nullptr, scalar.Clone());
    const XPathNumeric numeric;
    EXPECT_EQ(nullptr, XPathScalar::__clone(&numeric));
    EXPECT_EQ(nullptr, XPathScalar::__clone(nullptr));
}

TEST(Scalar, CopyOfABareScalarHasTheSignAndNoValue) {
    XPathScalar scalar;
    scalar.SetValue("v", -1);
    scalar.SetSign(SC_SIGN_PLUS);
    scalar.SetParenthesized(true);
    const XPathScalar copy(scalar);
    EXPECT_EQ(SC_SIGN_PLUS, copy.GetSign());
    EXPECT_EQ("", value(copy));
    EXPECT_FALSE(copy.IsParenthesized());
}

TEST(Scalar, StringAssignments) {
    XPathChar literal("one");
    EXPECT_STREQ("one", literal());
    literal = "two";
    EXPECT_STREQ("two", literal());
    const XPathChar other("three");
    literal = other;
    EXPECT_STREQ("three", literal());
    const XPathChar &same = literal;
    literal = same;
    EXPECT_STREQ("three", literal());
    EXPECT_STREQ("", XPathChar()());
}

TEST(Scalar, IntegersAreHeldAsText) {
    XPathInt number;
    EXPECT_EQ("", value(number));
    EXPECT_EQ(0, number());
    number = -7;
    EXPECT_EQ("-7", value(number));
    EXPECT_EQ(-7, number());
    number = -2147483647 - 1;
    EXPECT_EQ("-2147483648", value(number));
    EXPECT_EQ(-2147483647 - 1, number());
    XPathInt other;
    other = number;
    EXPECT_EQ("-2147483648", value(other));
    const XPathInt &same = other;
    other = same;
    EXPECT_EQ("-2147483648", value(other));
}

TEST(Scalar, IntegersAreReadAsFarAsTheyAreDecimal) {
    struct {
        const char *text;
        int number;
    } const facts[] = {
        {"12abc", 12},
        {"  42", 42},
        {"+5", 5},
        {"-5", -5},
        {"", 0},
        {"abc", 0},
        {"1.9", 1},
        {"0x10", 0},
        {"08", 8},
        {"2147483647", 2147483647},
        {"4294967298", 2},
        {"- 5", 0},
        {"99999999999999999999", -1},
    };
    for (const auto &fact : facts) {
        XPathInt number;
        number.SetValue(fact.text, -1);
        EXPECT_EQ(fact.number, number()) << fact.text;
    }
}

TEST(Scalar, DecimalsHaveTwoPlacesInTheirText) {
    struct {
        double number;
        const char *text;
    } const facts[] = {
        {2.5, "2.50"},   {3.14159, "3.14"},   {0.0, "0.00"},   {-1.0, "-1.00"},
        {2.999, "3.00"}, {1e6, "1000000.00"}, {0.001, "0.00"}, {-0.5, "-0.50"},
    };
    for (const auto &fact : facts) {
        XPathFloat decimal;
        decimal = fact.number;
        EXPECT_EQ(fact.text, value(decimal));
    }
}

TEST(Scalar, ADecimalReadsItsTextBack) {
    XPathFloat decimal;
    EXPECT_EQ(0.0, decimal());
    decimal = 3.14159;
    EXPECT_EQ(3.14, decimal());
    decimal.SetValue("2.75 and more", -1);
    EXPECT_EQ(2.75, decimal());
    EXPECT_EQ("2.75 and more", value(decimal));
}

TEST(Scalar, ADecimalKeepsItsNumberBesideItsText) {
    XPathFloat decimal;
    decimal = 3.14159;
    decimal.SetValue("7", -1);
    XPathFloat other;
    other = decimal;
    EXPECT_EQ("3.14", value(other)) << "assigned from the number, not from the text";
    const auto copy = clone(decimal);
    EXPECT_EQ("3.14", text(*copy)) << "so is the copy";
    const XPathFloat &same = decimal;
    decimal = same;
    EXPECT_EQ("7", value(decimal)) << "nothing happens on assignment to itself";
}

TEST(Scalar, AFloatIsWidened) {
    XPathFloat decimal;
    decimal = 0.25f;
    EXPECT_EQ("0.25", value(decimal));
    XPathFloat other;
    other = decimal;
    EXPECT_EQ(0.25, other());
}

TEST(Scalar, ADecimalOfHundredsOfDigitsIsCutToTheWorkBuffer) {
    XPathFloat decimal;
    decimal = 1e300;
    EXPECT_EQ(255, decimal.GetValueLength());
}

TEST(Scalar, NumbersAndStringsAreAtoms) {
    EXPECT_TRUE(XPathNumeric().IsAtom());
    EXPECT_TRUE(XPathInt().IsAtom());
    EXPECT_TRUE(XPathFloat().IsAtom());
    EXPECT_TRUE(XPathChar().IsAtom());
}

TEST(Scalar, DumpsOneLine) {
    XPathScalar scalar;
    scalar.SetValue("v", -1);
    EXPECT_EQ("\nXPathScalar ISPARENTHESIZED=N VALUE=\"v\"", dump(scalar));
    XPathChar literal("it's");
    literal.SetParenthesized(true);
    EXPECT_EQ("\nXPathChar SCALAR ISPARENTHESIZED=Y VALUE=\"it's\"", dump(literal));
    XPathNumeric numeric;
    numeric.SetValue("1", -1);
    EXPECT_EQ("\nXPathChar SCALAR ISPARENTHESIZED=N VALUE=1", dump(numeric))
        << "the label is meant";
    XPathInt number;
    number = 3;
    EXPECT_EQ("\n   XPathInt SCALAR ISPARENTHESIZED=N VALUE=3", dump(number, false, 1));
    XPathFloat decimal;
    decimal = 1.5;
    decimal.SetParenthesized(true);
    EXPECT_EQ("\n      XPathFloat SCALAR ISPARENTHESIZED=Y VALUE=1.50", dump(decimal, true, 2));
}

TEST(Name, PrintsItsNamespaceWhenItHasOne) {
    EXPECT_EQ("b", text(XPathName("b")));
    EXPECT_EQ("a:b", text(XPathName("a", "b")));
    EXPECT_EQ("b", text(XPathName("", "b")));
    EXPECT_EQ("a:", text(XPathName("a", "")));
    EXPECT_EQ("b", text(XPathName(nullptr, "b")));
    EXPECT_EQ("", text(XPathName(nullptr)));
}

TEST(Name, GivesItsParts) {
    const XPathName name("a", "b");
    CStringBuffer part("before");
    name.GetLocalName(part);
    EXPECT_EQ("b", text(part));
    name.GetNamespace(part);
    EXPECT_EQ("a", text(part));
    EXPECT_TRUE(name.HasNamespace());
    const XPathName plain("b");
    plain.GetNamespace(part);
    EXPECT_EQ("", text(part));
    EXPECT_FALSE(plain.HasNamespace());
}

TEST(Name, ClonesWithAndWithoutNamespace) {
    EXPECT_EQ("a:b", text(*clone(XPathName("a", "b"))));
    const auto copy = clone(XPathName("b"));
    EXPECT_EQ("b", text(*copy));
    EXPECT_FALSE(dynamic_cast<XPathName *>(copy.get())->HasNamespace());
}

TEST(Name, DumpsItsClassTwiceWithANamespace) {
    EXPECT_EQ("\nXPathName LOCALNAME=\"b\"", dump(XPathName("b")));
    EXPECT_EQ("\n   XPathNameXPathName NAMESPACE=\"a\" LOCALNAME=\"b\"",
              dump(XPathName("a", "b"), true, 1));
}

TEST(Name, HoldsNamesOfAnyLength) {
    const std::string longName = repeated("name", 1000);
    EXPECT_EQ(longName + ":" + longName, text(XPathName(longName.c_str(), longName.c_str())));
}
