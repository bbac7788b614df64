/** Users and what they may read and write. */
#ifndef ZDBS_SQL_USERS_H
#define ZDBS_SQL_USERS_H

#include <string>
#include <string_view>
#include <vector>

#include "zdbs/sql/connection.h"

namespace zdbs::sql {

/** Tables of a location. Failures are those of Engine and Administration. */
class Users {
public:
    explicit Users(Connection &connection) : connection_(connection) {}

    bool authenticate(std::string_view user, std::string_view password);
    bool has(std::string_view user, std::string_view database, bool toWrite);
    std::vector<std::string> databases(std::string_view user);

    std::vector<std::string> list();
    std::vector<std::string> grants(std::string_view user, bool toWrite);
    void add(std::string_view user, std::string_view password);
    void setPassword(std::string_view user, std::string_view password);
    void remove(std::string_view user);
    void grant(std::string_view user, std::string_view database, bool toWrite);
    void revoke(std::string_view user, std::string_view database);
    void revokeWriting(std::string_view user, std::string_view database);

private:
    void require(std::string_view user);

    Connection &connection_;
};

/** The first column. */
std::vector<std::string> textsIn(const Rows &rows);

}  // namespace zdbs::sql

#endif
