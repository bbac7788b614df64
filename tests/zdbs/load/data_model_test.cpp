// The XPath 1.0 data model (https://www.w3.org/TR/xpath-10/#data-model): one line, one fact.
#include <gtest/gtest.h>

#include <string>

#include "tests/zdbs/load/load_fixture.h"

namespace zdbs {
namespace {

struct TreeCase {
    std::string xml;
    const char *tree;
};

template <std::size_t count>
void expectTrees(const TreeCase (&cases)[count], const LoadOptions &options = {}) {
    LoadFixture fixture;
    for (const TreeCase &row : cases)
        EXPECT_EQ(fixture.tree(row.xml, options), row.tree) << row.xml;
}

TEST(DataModel, HasElementsTextsCommentsAndInstructions) {
    const TreeCase cases[] = {
        {"<a/>", "a()"},
        {"<a></a>", "a()"},
        {"<a>x</a>", "a('x')"},
        {"<a><b/><c/></a>", "a(b() c())"},
        {"<a><b>x</b>y<c/>z</a>", "a(b('x') 'y' c() 'z')"},
        {"<a><!--x--></a>", "a(<!--x-->)"},
        {"<a><!----></a>", "a(<!---->)"},
        {"<a><?t d?></a>", "a(<?t d?>)"},
        {"<a><?t?></a>", "a(<?t ?>)"},
        {"<a><?t   d  ?></a>", "a(<?t d  ?>)"},
        {"<a>x<!--c-->y</a>", "a('x' <!--c--> 'y')"},
        {"<a>x<?t?>y</a>", "a('x' <?t ?> 'y')"},
        {"<a>\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80</a>",
         "a('\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80')"},
        {"<\xc3\xa9t\xc3\xa9/>", "\xc3\xa9t\xc3\xa9()"},
        {"<a-b_c.d1/>", "a-b_c.d1()"},
    };
    expectTrees(cases);
}

TEST(DataModel, HasWhatStandsBeforeAndBehindTheRootElement) {
    const TreeCase cases[] = {
        {"<?xml version='1.0'?><a/>", "a()"},
        {"<!--x--><a/>", "<!--x--> a()"},
        {"<a/><!--x-->", "a() <!--x-->"},
        {"<?p q?><!--x--><a/><?r s?><!--y-->", "<?p q?> <!--x--> a() <?r s?> <!--y-->"},
        {" \n<!--x-->\n <a/> \n<!--y-->\n", "<!--x--> a() <!--y-->"},
        {"<!--x--><!DOCTYPE a><!--y--><a/>", "<!--x--> <!--y--> a()"},
        {"<?xml version='1.0'?><?xml-stylesheet href='s'?><a/>", "<?xml-stylesheet href='s'?> a()"},
    };
    expectTrees(cases);
}

TEST(DataModel, HasNothingOfWhatStandsInTheDtd) {
    const TreeCase cases[] = {
        {"<!DOCTYPE a><a/>", "a()"},
        {"<!DOCTYPE a SYSTEM 'nowhere.dtd'><a/>", "a()"},
        {"<!DOCTYPE a PUBLIC '-//x' 'http://nowhere.invalid/x.dtd'><a/>", "a()"},
        {"<!DOCTYPE a [<!--x-->]><a/>", "a()"},
        {"<!DOCTYPE a [<?t x?>]><a/>", "a()"},
        {"<!DOCTYPE a [<!--x--><!ELEMENT a ANY><?t y?><!--z-->]><!--c--><a/>", "<!--c--> a()"},
        {"<!DOCTYPE a [<!NOTATION n SYSTEM 'n'><!ENTITY e SYSTEM 'e' NDATA n>]><a/>", "a()"},
        {"<!DOCTYPE b><a/>", "a()"},  // validity is nobody's business here
    };
    expectTrees(cases);
}

TEST(DataModel, JoinsAdjacentCharacterDataToOneText) {
    const TreeCase cases[] = {
        {"<a><![CDATA[x]]></a>", "a('x')"},
        {"<a>x<![CDATA[y]]>z</a>", "a('xyz')"},
        {"<a><![CDATA[x]]><![CDATA[y]]></a>", "a('xy')"},
        {"<a><![CDATA[<b>&amp;]]></a>", "a('<b>&amp;')"},
        {"<a><![CDATA[]]></a>", "a()"},
        {"<a>x<![CDATA[]]>y</a>", "a('xy')"},
        {"<a><![CDATA[]]]]><![CDATA[>]]></a>", "a(']]>')"},
        {"<a>x&#65;y&#x42;z</a>", "a('xAyBz')"},
        {"<a>&lt;&gt;&amp;&apos;&quot;</a>", "a('<>&'\"')"},
        {"<a>1\n2\n3</a>", "a('1\\n2\\n3')"},
        {"<a>1\r\n2\r3</a>", "a('1\\n2\\n3')"},
        {"<a>&#13;&#10;&#9;</a>", "a('\\r\\n\\t')"},
        {"<!DOCTYPE a [<!ENTITY e 'y'>]><a>x&e;z</a>", "a('xyz')"},
        {"<!DOCTYPE a [<!ENTITY e 'y'>]><a>&e;&e;</a>", "a('yy')"},
        {"<!DOCTYPE a [<!ENTITY e 'x<b/>y'>]><a>1&e;2</a>", "a('1x' b() 'y2')"},
        {"<!DOCTYPE a [<!ENTITY e '<![CDATA[y]]>'>]><a>x&e;<![CDATA[z]]></a>", "a('xyz')"},
        {"<!DOCTYPE a [<!ENTITY e ''>]><a>x&e;y</a>", "a('xy')"},
        {"<!DOCTYPE a [<!ENTITY e ''>]><a>&e;</a>", "a()"},
    };
    expectTrees(cases);
}

TEST(DataModel, KeepsTextsOfWhiteSpace) {
    const TreeCase cases[] = {
        {"<a> </a>", "a(' ')"},
        {"<a>\n  <b/>\n</a>", "a('\\n  ' b() '\\n')"},
        {"<a>\t<b> x </b>\r\n</a>", "a('\\t' b(' x ') '\\n')"},
        {"<a> <!--c--> </a>", "a(' ' <!--c--> ' ')"},
    };
    expectTrees(cases);
}

TEST(DataModel, DropsTextsOfWhiteSpaceWhenAskedTo) {
    LoadOptions options;
    options.stripSpace = true;
    const TreeCase cases[] = {
        {"<a> </a>", "a()"},
        {"<a>\n  <b/>\n</a>", "a(b())"},
        {"<a>\t<b> x </b>\r\n</a>", "a(b(' x '))"},
        {"<a> <!--c--> </a>", "a(<!--c-->)"},
        {"<a>&#32;&#9;&#13;&#10;</a>", "a()"},
        {"<a> <![CDATA[ ]]> </a>", "a()"},
        {"<a> <![CDATA[x]]> </a>", "a(' x ')"},
        {"<a>&#160;</a>", "a('\xc2\xa0')"},  // a space, but not white space of XML
        {"<a xml:space='preserve'> <b> </b></a>",
         "a(@{http://www.w3.org/XML/1998/namespace}xml:space=preserve ' ' b(' '))"},
        {"<a xml:space='default'> </a>",
         "a(@{http://www.w3.org/XML/1998/namespace}xml:space=default)"},
        {"<a xml:space='preserve'><b xml:space='default'> </b> </a>",
         "a(@{http://www.w3.org/XML/1998/namespace}xml:space=preserve "
         "b(@{http://www.w3.org/XML/1998/namespace}xml:space=default) ' ')"},
        {"<a space='preserve'> </a>", "a(@space=preserve)"},
    };
    expectTrees(cases, options);
}

TEST(DataModel, HasAttributesInTheOrderWritten) {
    const TreeCase cases[] = {
        {"<a b='1'/>", "a(@b=1)"},
        {"<a z='1' b='2' m='3'>x</a>", "a(@z=1 @b=2 @m=3 'x')"},
        {"<a b=''/>", "a(@b=)"},
        {"<a b='&lt;&amp;&quot;&#65;'/>", "a(@b=<&\"A)"},
        {"<a b=' x  y '/>", "a(@b= x  y )"},
        {"<a b='x\ny\tz\r\nw'/>", "a(@b=x y z w)"},
        {"<a b='x&#10;y&#9;z&#13;'/>", "a(@b=x\\ny\\tz\\r)"},
        {"<!DOCTYPE a [<!ENTITY e 'v&#38;#10;w'>]><a b='&e;'/>", "a(@b=v\\nw)"},
        {"<!DOCTYPE a [<!ENTITY e 'v\nw'>]><a b='&e;'/>", "a(@b=v w)"},
        {"<!DOCTYPE a [<!ATTLIST a b NMTOKENS #IMPLIED>]><a b='  x   y '/>", "a(@b=x y)"},
        {"<!DOCTYPE a [<!ATTLIST a b CDATA #IMPLIED>]><a b='  x   y '/>", "a(@b=  x   y )"},
    };
    expectTrees(cases);
}

TEST(DataModel, CountsAttributeDefaultsOfTheInternalSubset) {
    const TreeCase cases[] = {
        {"<!DOCTYPE a [<!ATTLIST a b CDATA 'd'>]><a/>", "a(@b=d)"},
        {"<!DOCTYPE a [<!ATTLIST a b CDATA 'd'>]><a b='1'/>", "a(@b=1)"},
        {"<!DOCTYPE a [<!ATTLIST a b CDATA 'd'>]><a c='1'/>", "a(@c=1 @b=d)"},
        {"<!DOCTYPE a [<!ATTLIST a b CDATA #FIXED 'd'>]><a/>", "a(@b=d)"},
        {"<!DOCTYPE a [<!ATTLIST a b CDATA #IMPLIED>]><a/>", "a()"},
        {"<!DOCTYPE a [<!ATTLIST a b CDATA #REQUIRED>]><a/>", "a()"},
        {"<!DOCTYPE a [<!ATTLIST a b (x|y) 'y'>]><a><b/></a>", "a(@b=y b())"},
        {"<!DOCTYPE a [<!ATTLIST a b CDATA '1'><!ATTLIST a b CDATA '2'>]><a/>", "a(@b=1)"},
        {"<!DOCTYPE a [<!ENTITY e 'v'><!ATTLIST a b CDATA 'x&e;y'>]><a/>", "a(@b=xvy)"},
        {"<!DOCTYPE a SYSTEM 'x.dtd' [<!ATTLIST a b CDATA 'd'>]><a/>", "a(@b=d)"},
        {"<!DOCTYPE a [<!ATTLIST a xml:lang CDATA 'en'>]><a/>",
         "a(@{http://www.w3.org/XML/1998/namespace}xml:lang=en)"},
        {"<!DOCTYPE a [<!ENTITY % p \"<!ATTLIST a b CDATA 'd'>\">%p;]><a/>", "a(@b=d)"},
    };
    expectTrees(cases);
}

TEST(DataModel, KeepsNamespacesApartFromAttributes) {
    const TreeCase cases[] = {
        {"<a xmlns='u'/>", "{u}a(xmlns=u)"},
        {"<p:a xmlns:p='u'/>", "{u}p:a(xmlns:p=u)"},
        {"<a xmlns='u' b='1'/>", "{u}a(xmlns=u @b=1)"},
        {"<a b='1' xmlns:p='u' p:c='2' xmlns='v' d='3'/>",
         "{v}a(xmlns:p=u xmlns=v @b=1 @{u}p:c=2 @d=3)"},
        {"<a xmlns='u'><b xmlns=''/></a>", "{u}a(xmlns=u b(xmlns=))"},
        {"<a xmlns=''/>", "a(xmlns=)"},
        {"<a xmlns:p='u' xmlns:q='u'><p:b/><q:b/></a>", "a(xmlns:p=u xmlns:q=u {u}p:b() {u}q:b())"},
        {"<a xmlns:p='u'><b xmlns:p='v'><p:c/></b><p:c/></a>",
         "a(xmlns:p=u b(xmlns:p=v {v}p:c()) {u}p:c())"},
        {"<a xmlns:p='u'><b xmlns:p='u'/></a>", "a(xmlns:p=u b(xmlns:p=u))"},
        {"<a xmlns:p='u' xmlns:q='u' p:x='1' q:y='2'/>",
         "a(xmlns:p=u xmlns:q=u @{u}p:x=1 @{u}q:y=2)"},
        {"<a xml:lang='en'/>", "a(@{http://www.w3.org/XML/1998/namespace}xml:lang=en)"},
        {"<xml:a/>", "{http://www.w3.org/XML/1998/namespace}xml:a()"},
        {"<a xmlns=' u\tv '/>", "{ u v }a(xmlns= u v )"},
        {"<a xmlns='u&#10;v'/>", "{u\nv}a(xmlns=u\nv)"},
        {"<a xmlns='u|v'/>", "{u|v}a(xmlns=u|v)"},
    };
    expectTrees(cases);
}

TEST(DataModel, TakesNamespaceDefaultsOfTheDtdForDeclarations) {
    const TreeCase cases[] = {
        {"<!DOCTYPE a [<!ATTLIST a xmlns CDATA #FIXED 'u'>]><a/>", "{u}a(xmlns=u)"},
        {"<!DOCTYPE a [<!ATTLIST a xmlns:p CDATA #FIXED 'u'>]><a><p:b/></a>",
         "a(xmlns:p=u {u}p:b())"},
        {"<!DOCTYPE a [<!ATTLIST a xmlns CDATA 'u'>]><a xmlns='v'/>", "{v}a(xmlns=v)"},
        {"<!DOCTYPE a [<!ATTLIST b xmlns CDATA #FIXED 'u'>]><a><b><c/></b><c/></a>",
         "a({u}b(xmlns=u {u}c()) c())"},
        {"<!DOCTYPE p:a [<!ATTLIST p:a xmlns:p CDATA #FIXED 'u' p:x CDATA 'y'>]><p:a/>",
         "{u}p:a(xmlns:p=u @{u}p:x=y)"},
    };
    expectTrees(cases);
}

TEST(DataModel, ExpandsEntitiesOfTheInternalSubset) {
    const TreeCase cases[] = {
        {"<!DOCTYPE a [<!ENTITY e '<b c=\"1\">x</b>'>]><a>&e;&e;</a>",
         "a(b(@c=1 'x') b(@c=1 'x'))"},
        {"<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f 'x'>]><a>&e;</a>", "a('x')"},
        {"<!DOCTYPE a [<!ENTITY e '1'><!ENTITY e '2'>]><a>&e;</a>", "a('1')"},
        {"<!DOCTYPE a [<!ENTITY e '<!--c--><?t d?>'>]><a>&e;</a>", "a(<!--c--> <?t d?>)"},
        {"<!DOCTYPE a [<!ENTITY lt '&#38;#60;'>]><a>&lt;</a>", "a('<')"},
        {"<!DOCTYPE a [<!ENTITY e '&#38;lt;'>]><a>&e;</a>", "a('<')"},
        {"<!DOCTYPE a [<!ENTITY e '&#60;b/>'>]><a>&e;</a>", "a(b())"},
        {"<!DOCTYPE a [<!ENTITY % p '<!ENTITY e \"x\">'> %p;]><a>&e;</a>", "a('x')"},
        {"<!DOCTYPE a SYSTEM 'x.dtd' [<!ENTITY e 'x'>]><a b='&e;'>&e;</a>", "a(@b=x 'x')"},
        {"<!DOCTYPE a [<!ENTITY u 'urn:u'>]><a xmlns='&u;'/>", "{urn:u}a(xmlns=urn:u)"},
        {"<!DOCTYPE a [<!ENTITY e '<b xmlns=\"u\"/>'>]><a>&e;</a>", "a({u}b(xmlns=u))"},
    };
    expectTrees(cases);
}

}  // namespace
}  // namespace zdbs
