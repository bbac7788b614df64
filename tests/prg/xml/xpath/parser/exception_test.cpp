#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <type_traits>

#include "parser_support.h"
#include "prg/xml/xpath/parser/xpath_exception.h"

namespace {

std::string message(const XPathException &exception, int size) {
    char buffer[64];
    std::memset(buffer, '#', sizeof buffer);
    exception.GetErrorMessage(buffer, size);
    EXPECT_EQ('#', buffer[size < 0 ? 0 : size]) << "behind the buffer";
    return size > 0 ? buffer : "";
}

}  // namespace

TEST(Exception, CarriesItsMessage) {
    EXPECT_EQ("something \"odd\"", message(XPathException("something \"odd\""), 40));
    EXPECT_EQ("", message(XPathException(), 40));
    EXPECT_EQ("", message(XPathException(nullptr), 40));
    EXPECT_EQ("", message(XPathException(""), 40));
}

TEST(Exception, ABufferOfOneGetsOnlyTheNul) {
    const XPathException exception("message");
    char buffer[] = "##";
    exception.GetErrorMessage(buffer, 1);
    EXPECT_EQ('\0', buffer[0]);
    EXPECT_EQ('#', buffer[1]);
}

TEST(Exception, ALongMessageIsCutToTheBuffer) {
    const XPathException exception("0123456789");
    EXPECT_EQ("0123456", message(exception, 8));
    EXPECT_EQ("012345678", message(exception, 10));
    EXPECT_EQ("0123456789", message(exception, 11));
}

TEST(Exception, ABufferOfNothingIsLeftAlone) {
    message(XPathException("message"), 0);
}

TEST(Exception, AMessageOfAnyLengthIsKeptWhole) {
    const std::string text(100000, 'm');
    const XPathException exception(text.c_str());
    std::string buffer(text.size() + 1, '#');
    exception.GetErrorMessage(buffer.data(), static_cast<int>(buffer.size()));
    EXPECT_EQ(text, buffer.c_str());
}

TEST(Exception, IsThrownAsAPointerThatTheCatcherOwns) {
    EXPECT_EQ("why", xpathtest::thrownMessage([] { throw new XPathException("why"); }));
    EXPECT_TRUE(std::has_virtual_destructor_v<XPathException>);
}
