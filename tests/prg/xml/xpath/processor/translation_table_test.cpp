// Every entry of the table through the processor, on the kernel that the table describes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <tuple>

#include "prg/xml/xpath/processor/zx_processor_main.h"
#include "tests/prg/xml/xpath/processor/fake_kernel.h"
#include "tests/prg/xml/xpath/processor/raised_message.h"
#include "tests/prg/xml/xpath/processor/recording_logger.h"
#include "tests/prg/xml/xpath/processor/translation_table.h"

namespace {

const std::vector<TranslationEntry> &table() {
    static const std::vector<TranslationEntry> entries = readTranslationTable(TRANSLATION_TABLE);
    return entries;
}

void script(const TranslationEntry &entry, FakeKernel::TextStyle style) {
    FakeKernel &kernel = FakeKernel::instance();
    kernel.reset();
    kernel.setTextStyle(style);
    for (const auto &[command, message] : entry.failures)
        kernel.failCommand(command, message);
    for (const auto &[find, records] : entry.records)
        kernel.setFound(find, records);
    if (entry.saveFails) kernel.failSaveStatus();
}

void runEntry(const TranslationEntry &entry, IZfxLogger *logger) {
    ZXProcessorMain processor(logger);
    processor.Begin();
    SearchSet *result = nullptr;
    const std::string message =
        raisedMessage([&] { result = processor.Query(entry.request.c_str()); });
    processor.End();
    if (entry.raises) {
        EXPECT_EQ(message, entry.message);
        return;
    }
    EXPECT_EQ(message, "(nothing raised)");
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->GetNumber(), entry.number);
    EXPECT_EQ(result->GetRecordCount(), entry.recordCount);
}

void runTable(FakeKernel::TextStyle style, IZfxLogger *logger) {
    for (const TranslationEntry &entry : table()) {
        SCOPED_TRACE(std::string(TRANSLATION_TABLE) + ":" + std::to_string(entry.line) + ": " +
                     entry.request);
        script(entry, style);
        runEntry(entry, logger);
        EXPECT_EQ(FakeKernel::instance().trace(), entry.trace);
        EXPECT_EQ(FakeKernel::instance().openRecordControls(), 0);
    }
}

std::set<std::string> expectedMessages() {
    std::set<std::string> messages;
    for (const TranslationEntry &entry : table()) {
        if (entry.raises) messages.insert(entry.message);
    }
    return messages;
}

bool isInTrace(const std::string &piece) {
    return std::any_of(table().begin(), table().end(), [&](const TranslationEntry &entry) {
        return std::any_of(entry.trace.begin(), entry.trace.end(), [&](const std::string &line) {
            return line.find(piece) != std::string::npos;
        });
    });
}

TEST(TranslationTable, RequestsSendTheListedCommandsWhenWordsAreTerminated) {
    runTable(FakeKernel::TextStyle::terminated, nullptr);
}

TEST(TranslationTable, RequestsSendTheListedCommandsWhenOnlyTheLengthEndsAWord) {
    runTable(FakeKernel::TextStyle::padded, nullptr);
}

TEST(TranslationTable, RequestsSendTheListedCommandsWhileEverythingIsLogged) {
    RecordingLogger logger;
    runTable(FakeKernel::TextStyle::terminated, &logger);
    EXPECT_GT(logger.lines().size(), table().size());
}

TEST(TranslationTable, EveryEntryStandsForItself) {
    EXPECT_GE(table().size(), 260u);
    using Key = std::tuple<std::string, std::vector<std::pair<int, std::string>>,
                           std::vector<std::pair<int, std::int32_t>>, bool>;
    std::set<Key> keys;
    for (const TranslationEntry &entry : table()) {
        const Key key{entry.request, entry.failures, entry.records, entry.saveFails};
        EXPECT_TRUE(keys.insert(key).second) << "line " << entry.line << ": " << entry.request;
    }
}

// The messages that no request can lead to are in the tests of the processor's operations.
TEST(TranslationTable, EveryMessageThatARequestCanLeadToIsListed) {
    const std::set<std::string> messages = expectedMessages();
    for (const char *message :
         {"syntax error",
          "Invalid axis \"chld\"",
          "Invalid node type \"foo\"",
          "Unknown field N_NAME at column 1.",
          "The following axis cannot be used without a context.",
          "The followingfollowing-sibling axis cannot be used without a context.",
          "The preceding axis cannot be used without a context.",
          "The precedingfollowing-sibling axis cannot be used without a context.",
          "The parent axis cannot be used without a parent context.",
          "The ancestor axis cannot be used without a parent context.",
          "The ancestor-or-self axis cannot be used without a parent context.",
          "Location step expressions for axis \"self\" are not yet implemented.",
          "Location step expressions for axis \"namespace\" are not yet implemented.",
          "INTERNAL ERROR: Invalid location step type!",
          "Paired expressions are not yet fully implemented.",
          "A ZARN XPath comparison predicate requires a location step and a scalar value.",
          "Unsupported function \"foo\" in comparison.",
          "Cannot compare position() or last() to an empty string.",
          "Comparison using the \"descendant\" axis is not supported.",
          "Specified comparison operator is not supported for emptry strings.",
          "ERROR: unknown or unsupported function \"foo\"",
          "ERROR: Invalid number of arguments to contains function.",
          "A contains() function must have a location path as first argument and a scalar value as "
          "second.",
          "Unpexpected lvalue type in contains()."}) {
        EXPECT_EQ(messages.count(message), 1u) << message;
    }
}

TEST(TranslationTable, EveryAxisTypeAndRelationOccurs) {
    for (const char *piece : {"XPATH(child,",
                              "XPATH(attribute,",
                              "XPATH(descendant,",
                              "XPATH(ancestor,",
                              "XPATH(ancestor-or-self,",
                              "XPATH(descendant-or-self,",
                              "XPATH(self,",
                              "XPATH(following-sibling,",
                              "XPATH(preceding-sibling,",
                              "XPATH(parent,",
                              "XPATH(following,",
                              "XPATH(preceding,",
                              "N_TYPE=ELEMENT",
                              "N_TYPE=TEXT",
                              "N_TYPE=ATTRIBUTE",
                              "N_TYPE=COMMENT",
                              "N_TYPE=PROCESSING_INSTRUCTION",
                              "N_ID=$",
                              "N_PARENT=0",
                              "N_NAMESPACE=",
                              "N_TVALUE=&",
                              "N_TVALUE<>\"",
                              "N_TVALUE<\"",
                              "N_TVALUE>\"",
                              "N_TVALUE<=\"",
                              "N_TVALUE>=\"",
                              "N_TVALUE=$",
                              "N_TVALUE=\"\"",
                              ",1,EQ,",
                              ",1,NE,",
                              ",1,LT,",
                              ",1,GT,",
                              ",1,LE,",
                              ",1,GE,",
                              " OR S=",
                              " AND.T S=",
                              "DELETE S=",
                              "RENUMBER"}) {
        EXPECT_TRUE(isInTrace(piece)) << piece;
    }
}

TEST(TranslationTable, ALineThatMeansNothingIsReported) {
    EXPECT_THROW(readTranslationTable("/nowhere/translation_table.txt"), std::runtime_error);
}

}  // namespace
