#include "tests/answers/random_requests.h"

#include <iterator>

namespace answers {
namespace {

/** The same step or condition as a request and as XPath 1.0. */
struct Form {
    const char *request;
    const char *xpath;
};

constexpr Form same(const char *text) {
    return {text, text};
}

/** What docs/deviations.md says about the axes is kept out. The root is no record. */
constexpr Form steps[] = {
    same("a"),
    same("b"),
    same("*"),
    same("node()"),
    same("text()"),
    same("comment()"),
    same("processing-instruction()"),
    same("@x"),
    same("@*"),
    same("attribute::node()"),
    same("descendant::a"),
    same("descendant::*"),
    same("descendant::node()"),
    same("descendant::text()"),
    same("descendant-or-self::node()"),
    same("parent::b"),
    same("parent::*"),
    {"..", "parent::*"},
    {"parent::node()", "parent::*"},
    same("ancestor::b"),
    same("ancestor::*"),
    {"ancestor::node()", "ancestor::*"},
    {"ancestor-or-self::node()", "ancestor-or-self::node()[parent::node()]"},
    same("following-sibling::b"),
    same("following-sibling::*"),
    same("following-sibling::text()"),
    same("preceding-sibling::b"),
    same("preceding-sibling::*"),
    same("preceding-sibling::text()"),
    same("following::b"),
    same("following::*"),
    same("following::text()"),
    same("preceding::b"),
    same("preceding::*"),
    same("preceding::text()"),
};

constexpr Form conditions[] = {
    same(""),
    same("[1]"),
    same("[2]"),
    same("[position()=last()]"),
    same("[last()-1]"),
    same("[position()>1]"),
    same("[position()<3]"),
    same("[position()<=2]"),
    same("[position()!=2]"),
    same("[position()>=2]"),
    same("[position()<last()]"),
    same("[position()=last()-1]"),
    same("[position()>1.5]"),
    {"[last()=2]", "[position()=last()-1]"},
    same("[b]"),
    same("[@x]"),
    same("[@*]"),
    same("[b/c]"),
    same("[b/@x]"),
    {"[..]", "[parent::*]"},
    same("[../b]"),
    {"[//c]", "[.//c]"},
    {"[/b/c]", "[b/c]"},
    same("[b/c/@x]"),
    same("[b[@x]]"),
    same("[b[c]]"),
    same("[following-sibling::b]"),
    same("[preceding-sibling::*]"),
    same("[ancestor::b]"),
    same("[ancestor::b/c]"),
    same("[descendant::b/@y]"),
    same("[parent::a/b]"),
    same("[following-sibling::a/following-sibling::b]"),
    same("[@x='1']"),
    same("[@x!='1']"),
    same("[@x<2]"),
    same("[@x>=2]"),
    same("[b/@x='v1']"),
    same("[../@x='1']"),
    same("[ancestor::b/@x='1']"),
    {"[text()='v1']", "[.//text()='v1']"},
    {"[text()=2]", "[.//text()=2]"},
    {"[text()!='1']", "[.//text()!='1']"},
    {"[b='1']", "[b//text()='1']"},
    {"[b/c='1']", "[b/c//text()='1']"},
    {"[*>1]", "[*//text()>1]"},
    {"[b!='']", "[b//text()!='']"},
    same("[@x!='']"),
    {"[contains(.,'v')]", "[.//text()[contains(.,'v')]]"},
    {"[contains(text(),'v')]", "[.//text()[contains(.,'v')]]"},
    same("[contains(@x,'v')]"),
    {"[contains(@y,'')]", "[@y]"},
    {"[contains(b/text(),'v')]", "[.//b//text()[contains(.,'v')]]"},
    {"[contains(b/@x,'v')]", "[b[contains(@x,'v')]]"},
    {"[.='v1']", ""},
    same("[a and b]"),
    same("[a or b]"),
    {"[@x and contains(.,'1')]", "[@x and .//text()[contains(.,'1')]]"},
    same("[@x or @y='1']"),
    {"[@x and position()=1]", "[@x][1]"},
    same("[position()=1 and @x]"),
    same("[position()=1 or @x]"),
    {"[@x or position()=1]", "[@x]"},
    {"[position()=1 or position()=3]", "[1]"},
    {"[position()>1 and position()<3]", "[position()>1][position()<3]"},
    same("[@x][1]"),
    same("[1][@x]"),
    {"[@x][b][position()=last()]", "[@x][b][last()]"},
    same("[position()>1][2]"),
    {"[b/position()=2]", "[b[2]]"},
    {"[b/last()=1]", "[b[last()]]"},
    {"[@x][b/position()=2]", "[@x][b[2]]"},
};

/** A step with an axis needs nodes to start from. */
bool hasAxis(const std::string &step) {
    return step.find("::") != std::string::npos || step == "..";
}

}  // namespace

void RandomRequests::make(std::string &request, std::string &xpath) {
    request.clear();
    xpath.clear();
    const std::size_t count = 1 + below(3);
    bool meetsAttributes = false;
    for (std::size_t step = 0; step < count; ++step) {
        const Form &form = steps[below(std::size(steps))];
        const Form &condition = conditions[below(std::size(conditions))];
        const std::string text = form.request;
        // libxml2 leaves out what is below the element of an attribute.
        if (meetsAttributes && text.starts_with("following::")) break;
        const std::string before = separator(step == 0, text);
        request += before + form.request;
        xpath += before + form.xpath;
        if (text != "..") {  // which takes no predicates
            request += condition.request;
            xpath += condition.xpath;
        }
        meetsAttributes |= text.starts_with('@') || text.starts_with("attribute");
    }
}

std::string RandomRequests::separator(bool first, const std::string &step) {
    if (first) return hasAxis(step) ? "//*/" : "//";
    return below(3) == 0 ? "//" : "/";
}

}  // namespace answers
