/**
 * What XFIND makes of every way in which a query can end. The processor here is a stand-in with the
 * interface of the real one, because no request makes the real one end in some of these ways.
 */
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

#include "prg/xml/xpath/parser/xpath_exception.h"
#include "prg/xml/xpath/processor/zx_processor_main.h"
#include "prg/xml/xpath/utils/vexa/vexa.h"

namespace {

std::function<SearchSet *()> outcome;
std::string calls;

class Set : public SearchSet {
public:
    Set() : SearchSet(nullptr) { SetNumber(7); }
    std::int32_t GetRecordCount() override { return 42; }
    void Execute() override {}
};

}  // namespace

ZXProcessorMain::ZXProcessorMain(IZfxLogger *logger) : m_pLogger(logger) {
    calls += "created ";
}
ZXProcessorMain::~ZXProcessorMain() {
    calls += "destroyed";
}
void ZXProcessorMain::Begin() {
    calls += "Begin ";
}
void ZXProcessorMain::End() noexcept {
    calls += "End ";
}
SearchSet *ZXProcessorMain::Query(const char *text) {
    calls += std::string("Query(") + text + ") ";
    return outcome();
}

namespace {

class QueryOutcome : public ::testing::Test {
protected:
    QueryOutcome() { calls.clear(); }

    int find(const std::function<SearchSet *()> &result) {
        outcome = result;
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        const int status = vexa_.executeXPath("//a");
        out_ = ::testing::internal::GetCapturedStdout();
        err_ = ::testing::internal::GetCapturedStderr();
        return status;
    }

    Vexa vexa_{"ann", "secret", true, "", nullptr};
    std::string out_;
    std::string err_;
};

TEST_F(QueryOutcome, setIsPrintedWithItsNumberAndRecords) {
    Set set;
    EXPECT_EQ(find([&] { return &set; }), 0);
    EXPECT_EQ(out_, "<7>\t<42>\t//a\n");
    EXPECT_EQ(err_, "");
    EXPECT_EQ(calls, "created Begin Query(//a) End destroyed");
}

TEST_F(QueryOutcome, noSetIsAnException) {
    EXPECT_EQ(find([] { return nullptr; }), -666);
    EXPECT_EQ(out_, "");
    EXPECT_EQ(err_, "EXCEPTION: The request produced no search set.\n");
    EXPECT_EQ(calls, "created Begin Query(//a) End destroyed");
}

TEST_F(QueryOutcome, exceptionOfTheProcessorIsPrintedAndDeleted) {
    EXPECT_EQ(find([]() -> SearchSet * { throw new XPathException("100% wrong"); }), -666);
    EXPECT_EQ(out_, "");
    EXPECT_EQ(err_, "EXCEPTION: 100% wrong\n");
    EXPECT_EQ(calls, "created Begin Query(//a) destroyed");
}

TEST_F(QueryOutcome, exceptionWithoutAMessageIsPrintedWithoutOne) {
    EXPECT_EQ(find([]() -> SearchSet * { throw new XPathException(); }), -666);
    EXPECT_EQ(err_, "EXCEPTION: \n");
}

TEST_F(QueryOutcome, anyOtherExceptionIsUnknown) {
    for (const std::function<SearchSet *()> &result :
         {std::function<SearchSet *()>([]() -> SearchSet * { throw std::runtime_error("odd"); }),
          std::function<SearchSet *()>([]() -> SearchSet * { throw 1; })}) {
        calls.clear();
        EXPECT_EQ(find(result), -666);
        EXPECT_EQ(out_, "");
        EXPECT_EQ(err_, "Unknown exception occurred.\n");
        EXPECT_EQ(calls, "created Begin Query(//a) destroyed");
    }
}

TEST_F(QueryOutcome, requestThatIsParsedOnlyNeedsNoProcessor) {
    vexa_.setExecute(false);
    EXPECT_EQ(find([] { return nullptr; }), 0);
    EXPECT_EQ(err_, "/descendant-or-self::node()/child::a\n");
    EXPECT_EQ(calls, "");
}

TEST_F(QueryOutcome, requestThatCannotBeParsedGivesMinusOne) {
    vexa_.setExecute(false);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(vexa_.executeXPath("a/"), -1);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "ERROR: syntax error\n");
}

}  // namespace
