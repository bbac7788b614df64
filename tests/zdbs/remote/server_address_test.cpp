#include "zdbs/remote/server_address.h"

#include <gtest/gtest.h>

#include "zdbs/base/status.h"

namespace zdbs::remote {
namespace {

TEST(ServerAddress, IsReadFromALocation) {
    const struct {
        const char *location;
        const char *user;
        const char *host;
        const char *port;
        const char *folder;
        const char *authority;
    } rows[] = {
        {"https://host", "", "host", "443", "", "host:443"},
        {"http://host", "", "host", "80", "", "host:80"},
        {"https://host:8443/", "", "host", "8443", "", "host:8443"},
        {"https://ann@host:8443/a/b/", "ann", "host", "8443", "/a/b", "host:8443"},
        {"http://[::1]:8080", "", "::1", "8080", "", "[::1]:8080"},
        {"http://ann@[::1]", "ann", "::1", "80", "", "[::1]:80"},
        {"unix:/run/zdbs.sock", "", "/run/zdbs.sock", "", "", "localhost"},
    };
    for (const auto &row : rows) {
        const ServerAddress address = parseServerAddress(row.location);
        EXPECT_EQ(address.user, row.user) << row.location;
        EXPECT_EQ(address.host, row.host) << row.location;
        EXPECT_EQ(address.port, row.port) << row.location;
        EXPECT_EQ(address.folder, row.folder) << row.location;
        EXPECT_EQ(address.authority(), row.authority) << row.location;
    }
}

TEST(ServerAddress, IsRefusedWhereItIsNone) {
    for (const char *location :
         {"https://", "https:///a", "http://host:", "http://host:x", "http://host:123456",
          "http://[::1", "http://[::1]x", "http://[]", "http://a b", "http://a\r\nX: y",
          "unix:", "http://ann:pw@host", "http://ann@", "http://h\xc3\xb6st"})
        EXPECT_THROW(parseServerAddress(location), Failure) << location;
}

}  // namespace
}  // namespace zdbs::remote
