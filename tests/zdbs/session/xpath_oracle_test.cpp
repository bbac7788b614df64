/** Requests through translation and kernel, compared with libxml2's XPath on the same document. */
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/zdbs/session/fake_engine.h"
#include "zdbs/session/nested_request.h"
#include "zdbs/session/session.h"

namespace zdbs {
namespace {

using testing::FakeEngine;

/** A request and the XPath 1.0 expression that says the same; itself when empty. */
struct Question {
    std::string request;
    std::string xpath;
};

/** Number of nodes that libxml2 selects, a document root not counted. */
int countByLibxml(const std::string &xml, const std::string &expression) {
    std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
        xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "test.xml", nullptr, 0),
        xmlFreeDoc);
    std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context(
        xmlXPathNewContext(document.get()), xmlXPathFreeContext);
    const auto *text = reinterpret_cast<const xmlChar *>(expression.c_str());
    std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> object(
        xmlXPathEvalExpression(text, context.get()), xmlXPathFreeObject);
    if (!object || object->type != XPATH_NODESET) return -1;
    int count = 0;
    for (int i = 0; object->nodesetval != nullptr && i < object->nodesetval->nodeNr; ++i) {
        if (object->nodesetval->nodeTab[i]->type != XML_DOCUMENT_NODE) ++count;
    }
    return count;
}

class XPathOracle : public ::testing::Test {
protected:
    void compare(const std::string &xml, const std::vector<Question> &questions) {
        auto engine = std::make_shared<FakeEngine>();
        engine->store("plays", xml);
        engine->grant("reader", "plays");
        Session session(engine, "reader", "secret");
        session.execute("BASE plays");
        for (const Question &question : questions) {
            int expected =
                countByLibxml(xml, question.xpath.empty() ? question.request : question.xpath);
            ASSERT_GE(expected, 0) << question.request;
            answered_ += expected > 0 ? 1 : 0;
            try {
                EXPECT_EQ(NestedRequest(session, question.request).records(), expected)
                    << question.request;
            } catch (const Failure &failure) {
                ADD_FAILURE() << question.request << ": " << failure.what();
            }
        }
    }

    void TearDown() override { EXPECT_GT(answered_, 0) << "no question has an answer"; }

private:
    int answered_ = 0;
};

const char *const library =
    "<!--head--><library xml:lang='en'><?sort by name?>"
    "<shelf id='1' kind='wide'><book id='b1' price='10'><title>Alpha</title>"
    "<author>Ann</author><author>Bob</author></book>"
    "<book id='b2' price='9.50'><title>Beta</title><author>Bob</author>"
    "<note>see <ref to='b1'>Alpha</ref> first</note></book><!--gap--></shelf>"
    "<shelf id='2'><book id='b3' price='100'><title>Gamma</title></book>"
    "<box><book id='b4'><title>Alpha</title><author>Ann</author></book>"
    "<book id='b5' price='none'><title/></book></box></shelf>"
    "<book id='b6' price=' 10.0 '><title>Delta two</title></book></library><?end?>";

TEST_F(XPathOracle, AgreesOnPaths) {
    compare(library, {
                         {"/library", ""},
                         {"/book", ""},
                         {"//book", ""},
                         {"//book/title", ""},
                         {"//shelf/book", ""},
                         {"//shelf//book", ""},
                         {"/library/book", ""},
                         {"/library//title", ""},
                         {"/library/shelf/book/author", ""},
                         {"//shelf/box/book/title", ""},
                         {"//text()", ""},
                         {"//comment()", ""},
                         {"//book//text()", ""},
                         {"//@id", ""},
                         {"//book/@price", ""},
                         {"//@*", ""},
                         {"//shelf/*", ""},
                         {"//*", ""},
                         {"//book | //title", ""},
                         {"//title | //@id | //shelf/book", ""},
                     });
}

TEST_F(XPathOracle, AgreesOnAxes) {
    compare(library, {
                         {"//book/parent::shelf", ""},
                         {"//title/ancestor::shelf", ""},
                         {"//ref/ancestor::book", ""},
                         {"//title/ancestor-or-self::node()", ""},
                         {"//shelf/descendant::book", ""},
                         {"//shelf/descendant-or-self::node()", ""},
                         {"//title/following-sibling::author", ""},
                         {"//author/preceding-sibling::title", ""},
                         {"//author/following::title", ""},
                         {"//author/preceding::title", ""},
                         {"//box/preceding::author", ""},
                         {"//note/following::book", ""},
                         {"//shelf/attribute::id", ""},
                         {"//shelf/child::book", ""},
                         {"//book/@id/parent::book", ""},
                     });
}

TEST_F(XPathOracle, AgreesOnPredicates) {
    compare(library, {
                         {"//book[author]", ""},
                         {"//book[@price]", ""},
                         {"//shelf[book/author]", ""},
                         {"//library[shelf/book/title]", ""},
                         {"//shelf[box/book/author]", ""},
                         {"//book[author and note]", ""},
                         {"//book[author or @price]", ""},
                         {"//book[author][@price]", ""},
                         {"//book[note/ref]", ""},
                         {"//book[note/ref/@to]", ""},
                         {"//book[descendant::ref]", ""},
                         {"//book[ancestor::box]", ""},
                         {"//title[parent::book]", ""},
                         {"//author[preceding-sibling::author]", ""},
                         {"//author[following-sibling::author]", ""},
                         {"//shelf[book[author]]", ""},
                     });
}

TEST_F(XPathOracle, AgreesOnValues) {
    compare(library, {
                         {"//book[@id='b1']", ""},
                         {"//book[@price=10]", ""},
                         {"//book[@price='10']", "//book[@price=10]"},
                         {"//book[@price!=10]", "//book[@price!=10]"},
                         {"//book[@price>9.5]", ""},
                         {"//book[@price>=9.5]", ""},
                         {"//book[@price<10]", ""},
                         {"//book[@price<=10]", ""},
                         {"//book[@price!='']", ""},
                         {"//title[text()='Alpha']", ""},
                         {"//book[title/text()='Alpha']", ""},
                         {"//author[text()!='Ann']", ""},
                         {"//title[contains(text(),'two')]", ""},
                         {"//book[contains(@id,'b')]", ""},
                         {"//book[contains(title/text(),'a')]", ""},
                         {"//note[contains(.,'Alpha')]", ""},
                         {"//shelf[@kind='wide' and @id=1]", ""},
                         {"//book[@id='b1' or @id='b3']", ""},
                     });
}

TEST_F(XPathOracle, AgreesOnPositions) {
    compare(library, {
                         {"//book[position()=1]", ""},
                         {"//book[position()=2]", ""},
                         {"//book[position()>1]", ""},
                         {"//book[position()!=1]", ""},
                         {"//shelf/book[position()=2]", ""},
                         {"//book/author[position()=2]", ""},
                         {"//book/author[position()<=1]", ""},
                         {"//title/preceding::author[position()=1]", ""},
                         {"//title/following::author[position()=2]", ""},
                         {"//ref/ancestor::node()[position()=2]", ""},
                         {"//author/preceding-sibling::node()[position()=1]", ""},
                         {"//box/preceding-sibling::node()[position()=1]", ""},
                         {"//book[position()=2.5]", ""},
                         {"//book[position()>1.5]", ""},
                         {"//book[last()=1]", "//book[position()=last()]"},
                         {"//book[last()=2]", "//book[position()=last()-1]"},
                         {"//book[last()!=1]", "//book[position()!=last()]"},
                     });
}

/** Elements, attributes and texts in many constellations. */
const std::vector<std::string> &smallDocuments() {
    static const std::vector<std::string> documents{
        "<a/>",
        "<a><a/></a>",
        "<a><b/><a/></a>",
        "<a x='1'><b x='1' y='2'/>t<b><a y='1'>u</a></b></a>",
        "<b><a>t</a><a>t<b/><b/></a><b x='1'><a/><a/></b></b>",
        "<a><a><a><b>t</b><a x='1'/></a></a><b y='2'><a/></b>u</a>",
        "<a x='1' y='2'>t<a>u<b/>v</a><b>w</b><a><b/><b><a/></b></a></a>",
    };
    return documents;
}

const std::vector<std::string> &someSteps() {
    static const std::vector<std::string> steps = [] {
        std::vector<std::string> result{"@x", "@*", "attribute::y"};
        for (const char *axis :
             {"child", "descendant", "descendant-or-self", "parent", "ancestor", "ancestor-or-self",
              "following", "preceding", "following-sibling", "preceding-sibling"}) {
            std::string name(axis);
            bool orSelf = name.ends_with("-or-self");
            for (const char *test : {"a", "b", "*", "text()", "node()"}) {
                // The translation takes these axes for every node, whatever the test.
                if (orSelf && std::string(test) != "node()") continue;
                result.push_back(name + "::" + test);
            }
        }
        return result;
    }();
    return steps;
}

std::string replaced(std::string text, const std::string &what, const std::string &by) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at)) {
        text.replace(at, what.size(), by);
        at += by.size();
    }
    return text;
}

/**
 * What the translation makes of a request, in XPath: node() on the way up is every record,
 * and a document root is none.
 */
std::string withoutRoots(const std::string &request) {
    std::string text = replaced(request, "parent::node()", "parent::*");
    text = replaced(text, "ancestor::node()", "ancestor::*");
    // Only a predicate that begins with it sees the root, which set 0 has.
    text = replaced(text, "/ancestor-or-self::node()", "/ancestor-or-self::node()[parent::node()]");
    return text;
}

/**
 * libxml2 lets what follows an attribute begin after its element. XPath 1.0 says "after the
 * context node in document order", so what is below the element follows its attributes.
 */
bool isAttributeThenFollowing(const std::string &first, const std::string &second) {
    bool isAttribute = first.starts_with('@') || first.starts_with("attribute::");
    return isAttribute && second.starts_with("following::");
}

std::vector<Question> questionsOf(const std::vector<std::string> &requests) {
    std::vector<Question> questions;
    for (const std::string &request : requests) {
        questions.push_back({request, withoutRoots(request)});
    }
    return questions;
}

TEST_F(XPathOracle, AgreesOnEveryStep) {
    std::vector<std::string> requests;
    for (const std::string &step : someSteps()) {
        for (const char *begin : {"//a/", "//b/", "//*/", "/a/"})
            requests.push_back(begin + step);
    }
    for (const std::string &xml : smallDocuments())
        compare(xml, questionsOf(requests));
}

TEST_F(XPathOracle, AgreesOnEveryStepInAPredicate) {
    std::vector<std::string> requests;
    for (const std::string &step : someSteps()) {
        for (const char *begin : {"//a[", "//b[", "//*[", "/a["}) {
            requests.push_back(begin + step + "]");
        }
    }
    for (const std::string &xml : smallDocuments())
        compare(xml, questionsOf(requests));
}

TEST_F(XPathOracle, AgreesOnEveryTwoSteps) {
    std::vector<Question> questions;
    for (const std::string &first : someSteps()) {
        for (const std::string &second : someSteps()) {
            std::string request = "//a/" + first + "/" + second;
            std::string xpath = withoutRoots(request);
            if (isAttributeThenFollowing(first, second)) {
                xpath = "//a/" + first + "/../" + second + " | //a/" + first +
                        "/../descendant::" + second.substr(11);
            }
            questions.push_back({request, xpath});
        }
    }
    for (const std::string &xml : smallDocuments())
        compare(xml, questions);
}

TEST_F(XPathOracle, AgreesOnEveryTwoStepsInAPredicate) {
    std::vector<Question> questions;
    for (const std::string &first : someSteps()) {
        for (const std::string &second : someSteps()) {
            std::string request = "//a[" + first + "/" + second + "]";
            std::string xpath = withoutRoots(request);
            if (isAttributeThenFollowing(first, second)) {
                xpath = "//a[" + first + "/../" + second + " or " + first +
                        "/../descendant::" + second.substr(11) + "]";
            }
            questions.push_back({request, xpath});
        }
    }
    for (const std::string &xml : smallDocuments())
        compare(xml, questions);
}

TEST_F(XPathOracle, AgreesOnManyThreeStepsInAPredicate) {
    std::mt19937 random(1);
    const std::vector<std::string> &steps = someSteps();
    auto someStep = [&] { return steps[random() % steps.size()]; };
    std::vector<std::string> requests;
    while (requests.size() < 1500) {
        std::string first = someStep();
        std::string second = someStep();
        std::string third = someStep();
        bool differs =
            isAttributeThenFollowing(first, second) || isAttributeThenFollowing(second, third);
        if (!differs) requests.push_back("//*[" + first + "/" + second + "/" + third + "]");
    }
    for (const std::string &xml : smallDocuments())
        compare(xml, questionsOf(requests));
}

TEST_F(XPathOracle, AgreesOnPositionsOfEveryStep) {
    std::vector<std::string> requests;
    for (const std::string &step : someSteps()) {
        for (const char *test : {"=1", "=2", ">1", "<=2", "!=2"}) {
            requests.push_back("//a/" + step + "[position()" + test + "]");
        }
    }
    for (const std::string &xml : smallDocuments())
        compare(xml, questionsOf(requests));
}

}  // namespace
}  // namespace zdbs
