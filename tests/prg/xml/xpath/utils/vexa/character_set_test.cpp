/** Character sets: the locale's for the processor, UTF-8 for the parser and the export filter. */
#include <string>

#include "tests/prg/xml/xpath/utils/vexa/vexa_fixture.h"
#include "tests/support/test_locale.h"

namespace {

using support::ProgramResult;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

const std::string executeOff = "XPath expressions will be be parsed, but not executed.\n";

// "é" in both character sets, and what stands for a byte that means nothing.
const std::string utf8 = "\xc3\xa9";
const std::string latin1 = "\xe9";
const std::string replacement = "\xef\xbf\xbd";

class CharacterSet : public VexaTest {
protected:
    void useLatin1() { environment_ = support::makeLocale(directory_, "en_US", "ISO-8859-1"); }
    void useUtf8() { environment_ = {{"LC_ALL", "C.UTF-8"}}; }

    std::string parsed(const std::string &request) const {
        return runStatements("NOEXECUTE;\nXFIND " + request + ";\n").err;
    }
    std::string exported(const std::string &query) const {
        runStatements("XGET " + query + " /;\n");
        const std::string call = kernelCalls("ZdbExport").back();
        const std::string begin = "arguments=\"XPATHQUERY=";
        const size_t from = call.find(begin) + begin.size();
        return call.substr(from, call.find("\\x0a", from) - from);
    }
    /** The request as printed and as sent to the kernel. */
    void expectExecutedAsTyped(const std::string &request, const std::string &recorded) const {
        expectResult(runStatements("XFIND " + request + ";\n"),
                     session({"<1>\t<1>\t" + request + "\n"}), "");
        EXPECT_THAT(kernelCommands().back(), HasSubstr(recorded));
    }
};

TEST_F(CharacterSet, parserGetsUtf8UnderAUtf8Locale) {
    useUtf8();
    EXPECT_EQ(parsed("caf" + utf8), "child::caf" + utf8 + "\n");
    EXPECT_THAT(parsed("a[b='" + utf8 + "']"), HasSubstr("\"" + utf8 + "\""));
}

TEST_F(CharacterSet, parserGetsUtf8UnderAnotherLocaleToo) {
    useLatin1();
    EXPECT_EQ(parsed("caf" + latin1), "child::caf" + utf8 + "\n");
}

TEST_F(CharacterSet, processorGetsTheRequestAsItWasTyped) {
    useUtf8();
    expectExecutedAsTyped("caf" + utf8, "N_NAME=\\\"caf\\xc3\\xa9\\\"");
}

TEST_F(CharacterSet, processorGetsTheRequestAsItWasTypedUnderAnotherLocaleToo) {
    useLatin1();
    // No UTF-8: to the scanner the request ends before the byte.
    expectExecutedAsTyped("caf" + latin1, "N_NAME=\\\"caf\\\"");
    runStatements("XFIND a[@b='" + latin1 + "'];\n");
    EXPECT_THAT(kernelCommands(), ::testing::Contains(HasSubstr("N_TVALUE=&\\xe9&")));
}

TEST_F(CharacterSet, exportArgumentsAreUtf8) {
    useUtf8();
    EXPECT_EQ(exported("caf" + utf8), "caf\\xc3\\xa9");
    useLatin1();
    EXPECT_EQ(exported("caf" + latin1), "caf\\xc3\\xa9");
}

TEST_F(CharacterSet, bytesThatMeanNothingAreReplaced) {
    useUtf8();
    EXPECT_THAT(parsed("a[b='" + latin1 + "']"), HasSubstr("\"" + replacement + "\""));
    EXPECT_EQ(exported("a[b='" + latin1 + "']"), "a[b='\\xef\\xbf\\xbd']");
}

TEST_F(CharacterSet, plainLocaleTakesTextsForUtf8) {
    environment_ = {{"LC_ALL", "C"}};
    expectExecutedAsTyped("caf" + utf8, "N_NAME=\\\"caf\\xc3\\xa9\\\"");
    EXPECT_EQ(exported("caf" + utf8), "caf\\xc3\\xa9");
    EXPECT_EQ(parsed("caf" + utf8), "child::caf" + utf8 + "\n");
}

TEST_F(CharacterSet, localeThatDoesNotExistIsThePlainOne) {
    environment_ = {{"LC_ALL", "xx_YY.UTF-8"}};
    expectExecutedAsTyped("caf" + utf8, "N_NAME=\\\"caf\\xc3\\xa9\\\"");
}

TEST_F(CharacterSet, commandsAreRecognisedWhereTheLowerCaseOfIIsAnotherLetter) {
    environment_ = support::makeLocale(directory_, "tr_TR", "UTF-8");
    expectResult(runStatements("highlight;\nxfind //a;\nbye;\n"),
                 session({"XGET fragment highlighting enabled.\n", "<1>\t<1>\t//a\n"}), "");
}

TEST_F(CharacterSet, numbersInCommandsHaveAPointUnderEveryLocale) {
    environment_ = support::makeLocale(directory_, "de_DE", "UTF-8");
    runStatements("XFIND a[position()<1.5];\n");
    EXPECT_THAT(kernelCommands(), ::testing::Contains(HasSubstr("1.5")));
}

TEST_F(CharacterSet, messagesOfTheKernelArePrintedAsTheyAre) {
    useUtf8();
    kernelAnswers("command-fails FIND * => caf\\xe9\n");
    EXPECT_EQ(runStatements("XFIND a;\n").err, "EXCEPTION: caf\xe9\n");
}

TEST_F(CharacterSet, echoPrintsBytesAsTheyAre) {
    useUtf8();
    EXPECT_EQ(runBatch("BASE " + latin1 + ";\n", {"-e"}).out,
              banner + "in[001]> BASE " + latin1 + "\n<1>\t<1>\tBASE " + latin1 + "\n");
}

}  // namespace
