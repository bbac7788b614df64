/** The entry points over an engine whose numbers of records need more than 32 bits. */
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string>

#include "kernel/zdbs.h"
#include "tests/support/temporary_directory.h"

namespace {

class FarRecords : public ::testing::Test {
protected:
    ~FarRecords() override { ZdbStopZarn(0); }

    /** Opens a database whose records have numbers from this one on. */
    void open(const std::string &firstRecord) {
        std::filesystem::create_directory(directory_.path() / "db");
        directory_.write("users", "reader secret db\n");
        directory_.write("first_record", firstRecord);
        directory_.write("db/plays.xml", "<a><b>to be</b><b/></a>");
        setenv("ZDBS_HOME", directory_.path().c_str(), 1);
        ASSERT_EQ(ZdbStartZarn("reader", "secret", 0, 0), 1);
        ASSERT_EQ(ZdbExecuteCcl("BASE db", nullptr), 1);
    }

    /** The record at a place of the newest set; or the message when there is none to hand out. */
    static std::string record(std::int32_t set, std::int32_t ordinal) {
        ZdbHandle control = nullptr;
        ZdbCreateRecordControl(&control);
        std::int32_t record = 0;
        std::array<char, 64> database{};
        const std::int32_t status =
            ZdbGetRecordInSearchRis(control, &set, ordinal, &record, database.data());
        ZdbDeleteRecordControl(&control);
        return status == 1 ? std::to_string(record) : message(status);
    }

    static std::string message(std::int32_t status) {
        std::array<char, 256> text{};
        auto length = static_cast<std::int32_t>(text.size());
        ZdbMessage(status, text.data(), &length);
        return text.data();
    }

    static std::string found(const char *command) {
        const std::int32_t status = ZdbExecuteCcl(command, nullptr);
        if (status != 1) return message(status);
        std::int32_t number = 0;
        std::int32_t records = 0;
        std::int32_t hits = 0;
        ZdbGetSearch(&number, &records, &hits);
        return std::to_string(records) + " " + std::to_string(hits);
    }

private:
    support::TemporaryDirectory directory_;
};

TEST_F(FarRecords, AreFoundJoinedAndCountedAsAllOthers) {
    open("4294967303");
    EXPECT_EQ(found("FIND N_NAME=\"b\""), "2 2");
    EXPECT_EQ(found("FIND XPATH(CHILD,2,0,2)"), "1 1");
    EXPECT_EQ(found("FIND N_ID=4294967304"), "1 1");
    EXPECT_EQ(found("FIND N_PARENT=4294967304"), "1 1");
    // What would be left of it in 32 bits.
    EXPECT_EQ(found("FIND N_ID=8"), message(122));
}

TEST_F(FarRecords, AreNotCutWhenTheyAreHandedOut) {
    open("4294967303");
    EXPECT_NE(record(1, 1).find("4294967303"), std::string::npos) << record(1, 1);
}

TEST_F(FarRecords, AreHandedOutUpToTheLargestThatFits) {
    open(std::to_string(std::numeric_limits<std::int32_t>::max() - 1));
    EXPECT_EQ(record(1, 1), "2147483646");
    EXPECT_EQ(record(1, 2), "2147483647");
    EXPECT_NE(record(1, 3).find("2147483648"), std::string::npos) << record(1, 3);
}

}  // namespace
