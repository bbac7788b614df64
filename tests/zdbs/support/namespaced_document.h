/** Small XML documents at random with all kinds of nodes and with namespaces of all sorts. */
#ifndef TESTS_ZDBS_SUPPORT_NAMESPACED_DOCUMENT_H
#define TESTS_ZDBS_SUPPORT_NAMESPACED_DOCUMENT_H

#include <random>
#include <string>

#include "tests/support/choices.h"

namespace zdbs::testing {

/**
 * Elements with and without prefixes that are bound to two namespaces in turn, so that
 * siblings are written alike and named differently; default namespaces that come and go;
 * comments and instructions of several targets, on top of the document too; values with all
 * that must be escaped. The same choices make the same document.
 */
class NamespacedDocument {
public:
    explicit NamespacedDocument(support::Choices choices) : random_(choices) {}

    std::string make() {
        aside();
        element(0, false);
        aside();
        return text_;
    }

private:
    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }

    void aside() {
        for (int count = below(3); count > 0; --count)
            text_ += asides[below(4)];
    }

    void content(int depth, bool isBound) {
        bool afterText = false;
        for (int count = below(6); count > 0; --count) {
            const int kind = below(10);
            if (kind < 2) text_ += asides[below(4)];
            const bool isText = kind >= 2 && kind < 5;
            if (isText && !afterText) text_ += texts[below(4)];
            if (kind >= 5 && depth < 6 && ++elements_ < 40) element(depth, isBound);
            afterText = isText;
        }
    }

    void element(int depth, bool isBound) {
        const bool binds = below(4) == 0;
        const bool prefixed = (isBound || binds) && below(2) == 0;
        const std::string name = (prefixed ? "p:" : "") + std::string(names[below(3)]);
        text_ += "<" + name;
        if (binds) text_ += std::string(" xmlns:p=\"") + uris[below(2)] + "\"";
        if (below(6) == 0) text_ += std::string(" xmlns=\"") + defaults[below(3)] + "\"";
        if (below(8) == 0) text_ += " xmlns:vexa=\"urn:other\"";
        if (below(3) == 0) text_ += std::string(" x=\"") + values[below(4)] + "\"";
        if ((isBound || binds) && below(4) == 0)
            text_ += std::string(" p:x=\"") + values[below(4)] + "\"";
        text_ += ">";
        content(depth + 1, isBound || binds);
        text_ += "</" + name + ">";
    }

    static constexpr const char *names[] = {"a", "b", "c.d"};
    static constexpr const char *uris[] = {"urn:1", "urn:2&amp;"};
    static constexpr const char *defaults[] = {"", "urn:1", "urn:default"};
    static constexpr const char *asides[] = {"<!--v1-->", "<!---->", "<?p v1?>", "<?q?>"};
    static constexpr const char *texts[] = {"1", "v1 &lt;&amp;&gt; \"v1\" &#13;", "v1",
                                            "a value that is longer than sixteen &gt; bytes v1"};
    static constexpr const char *values[] = {"1", "v1", "&quot;&#9;&#10;&#13;&lt;&gt;&amp;'",
                                             "longer than sixteen bytes &amp; v1"};

    support::Choices random_;
    std::string text_;
    int elements_ = 0;
};

}  // namespace zdbs::testing

#endif
