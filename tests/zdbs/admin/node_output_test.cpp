#include "zdbs/answers/node_output.h"

#include <gtest/gtest.h>

#include "zdbs/admin/answer_output.h"
#include "zdbs/admin/usage_error.h"

namespace zdbs::admin {
namespace {

TEST(CsvField, StandsInQuotesWhereItNeedsThem) {
    EXPECT_EQ(csvField(""), "");
    EXPECT_EQ(csvField("plain text, no"), "\"plain text, no\"");
    EXPECT_EQ(csvField("plain 'text'; \t"), "plain 'text'; \t");
    EXPECT_EQ(csvField("say \"no\""), "\"say \"\"no\"\"\"");
    EXPECT_EQ(csvField("\""), "\"\"\"\"");
    EXPECT_EQ(csvField("a\nb"), "\"a\nb\"");
    EXPECT_EQ(csvField("a\rb"), "\"a\rb\"");
    EXPECT_EQ(csvField("m\xc3\xa4r"), "m\xc3\xa4r");
}

/** Whether forms go together. */
bool fit(const NodeForms &forms, bool asJson = false, bool hasFragments = false) {
    try {
        checkForms(forms, asJson, hasFragments);
        return true;
    } catch (const UsageError &) {
        return false;
    }
}

TEST(NodeForms, OfOneColumnAreLines) {
    EXPECT_TRUE(fit({}));
    EXPECT_TRUE(fit({.ids = true}));
    EXPECT_TRUE(fit({.values = true, .endsInNul = true, .limit = 3, .offset = 1}));
    EXPECT_FALSE(fit({.ids = true, .values = true}));
    EXPECT_FALSE(fit({.ids = true}, false, true));
}

TEST(NodeForms, OfSeveralColumnsAreCsvOrJson) {
    EXPECT_TRUE(fit({.paths = true, .values = true, .asCsv = true}));
    EXPECT_TRUE(fit({.documents = true, .values = true}, true));
    EXPECT_TRUE(fit({.documents = true, .values = true}, true, true));
    EXPECT_TRUE(fit({.asCsv = true}));
    EXPECT_FALSE(fit({.asCsv = true}, true));
    EXPECT_FALSE(fit({.asCsv = true}, false, true));
}

TEST(NodeForms, AskForPartsOfWhatIsListedOnly) {
    EXPECT_FALSE(fit({.limit = 3}));
    EXPECT_FALSE(fit({.offset = 3}, true));
    EXPECT_TRUE(fit({.limit = 3}, false, true));
    EXPECT_TRUE(fit({.asCsv = true, .offset = 3}));
    EXPECT_FALSE(fit({.endsInNul = true}));
    EXPECT_FALSE(fit({.values = true, .endsInNul = true}, true));
    EXPECT_FALSE(fit({.values = true, .asCsv = true, .endsInNul = true}));
}

}  // namespace
}  // namespace zdbs::admin
