#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_SCALAR_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_SCALAR_H

#include "prg/xml/xpath/parser/parsernodes/xpath_expression.h"

/// The sign written before a number. No scalar prints it; the processor reads it.
enum EScalarSign {
    SC_SIGN_OFF = 0,
    SC_SIGN_PLUS = 1,
    SC_SIGN_MINUS = 2,
};

/// A literal. Its value is kept as text, also for numbers; numeric views are computed on demand.
class XPathScalar : public virtual XPathExpression {
public:
    XPathScalar();
    /// Copies the sign only: the value starts empty (a derived class fills it), and the copy is
    /// not parenthesized (meant, also for the derived classes).
    XPathScalar(const XPathScalar &source);
    XPathScalar &operator=(const XPathScalar &) = delete;
    ~XPathScalar() override;

    XPathExpression *Clone() const override;
    /// "(" and ")" when parenthesized, around prefix (bPrefix), value and suffix (bSuffix).
    void ToString(CStringBuffer &buffer, bool bPaths, bool bPrefix, bool bSuffix) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

    virtual void AppendPrefix(CStringBuffer &buffer) const;
    virtual void AppendSuffix(CStringBuffer &buffer) const;
    /// Appends the value text unchanged.
    virtual void FormatValue(CStringBuffer &buffer) const;

    void SetSign(EScalarSign eSign) { m_eSign = eSign; }
    EScalarSign GetSign() const { return m_eSign; }

    /// Replaces the value. A negative length takes the whole zero-terminated text (null counts as
    /// ""), any other takes exactly that many bytes.
    void SetValue(const char *pszText, int nLength);
    void SetValue(const CStringBuffer &text);
    /// Replaces the contents of `out` by the value.
    void GetValue(CStringBuffer &out) const;
    /// Bytes.
    int GetValueLength() const;

    /// A new XPathInt, XPathFloat or XPathChar like `*pScalar`; null for null and for an object
    /// that is none of the three.
    static XPathScalar *__clone(const XPathScalar *pScalar);

protected:
    /// The value as zero-terminated text, never null.
    const char *ValueText() const;
    /// Copies the other's value text, in place.
    void CopyValue(const XPathScalar &source);
    /// One line: the label, Y or N for the round brackets, the value between `pszQuote`.
    void DumpScalar(CStringBuffer &buffer, int nIndent, const char *pszLabel,
                    const char *pszQuote) const;

    EScalarSign m_eSign = SC_SIGN_OFF;
    CStringBuffer m_strValue;
};

/// A number.
class XPathNumeric : public virtual XPathScalar {
public:
    XPathNumeric() = default;
    XPathNumeric(const XPathNumeric &source);
    XPathNumeric &operator=(const XPathNumeric &) = delete;
    ~XPathNumeric() override;

    virtual bool IsAtom() const;
    /// Carries the label of XPathChar (meant).
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;
};

/// An integer, held as decimal text.
class XPathInt : public XPathNumeric {
public:
    XPathInt() = default;
    XPathInt(const XPathInt &source);
    ~XPathInt() override;

    /// The text read as a decimal integer: leading blanks and a sign accepted, reading stops at
    /// the first non-digit, no digits give 0; the low 32 bits of a number that does not fit.
    int operator()() const;
    XPathInt &operator=(int nValue);
    XPathInt &operator=(const XPathInt &source);

    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;
};

/// A decimal number, held as a double and as text with two decimals.
class XPathFloat : public XPathNumeric {
public:
    XPathFloat() = default;
    /// Takes the source's number, not its text: the copy's text has two decimals.
    XPathFloat(const XPathFloat &source);
    ~XPathFloat() override;

    /// The text read as a decimal number; not the number that was assigned.
    double operator()() const;
    XPathFloat &operator=(double fValue);
    XPathFloat &operator=(float fValue);
    XPathFloat &operator=(const XPathFloat &source);

    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;

private:
    double m_fValue = 0.0;
};

/// A string literal, without its quotes.
class XPathChar : public virtual XPathScalar {
public:
    XPathChar() = default;
    explicit XPathChar(const char *pszText);
    XPathChar(const XPathChar &source);
    ~XPathChar() override;

    /// The value; lives until the value changes.
    const char *operator()() const;
    XPathChar &operator=(const char *pszText);
    XPathChar &operator=(const XPathChar &source);

    virtual bool IsAtom() const;
    /// A double quote each, whatever quote the request used; quotes inside are not escaped.
    void AppendPrefix(CStringBuffer &buffer) const override;
    void AppendSuffix(CStringBuffer &buffer) const override;
    void ToDebugString(CStringBuffer &buffer, bool bRecursive, int nIndent) const override;
};

#endif
