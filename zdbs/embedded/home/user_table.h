/** Users, the hashes of their passwords, and what they may read and write. */
#ifndef ZDBS_EMBEDDED_HOME_USER_TABLE_H
#define ZDBS_EMBEDDED_HOME_USER_TABLE_H

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zdbs::embedded {

/** The grant that covers every database, future ones too. */
constexpr std::string_view everyDatabase = "*";

/**
 * A value; the home reads it from its users file and writes it back:
 *
 *   zdbs-users 2
 *   user NAME HASH
 *   grant NAME DATABASE
 *   write NAME DATABASE
 *   checksum 1a2b3c4d
 *
 * What may be written has been granted in front of it. Version 1 had no checksum and no writers; it
 * is read, and written as version 2.
 */
class UserTable {
public:
    /** `file` is named in messages. Throws Failure: homeVersion, homeDamaged. */
    static UserTable parse(std::string_view text, std::string_view file);

    std::string serialize() const;

    bool contains(std::string_view user) const;
    std::vector<std::string> users() const;
    std::vector<std::string> grants(std::string_view user) const;
    std::vector<std::string> writingGrants(std::string_view user) const;

    /** As Home::authenticate(). */
    bool authenticate(std::string_view user, std::string_view password) const;

    bool mayRead(std::string_view user, std::string_view database) const;
    bool mayWrite(std::string_view user, std::string_view database) const;

    /** Each throws Failure as the operation of Home of that name. */
    void add(std::string_view user, std::string_view password);
    void setPassword(std::string_view user, std::string_view password);
    void remove(std::string_view user);
    void grant(std::string_view user, std::string_view database);
    void grantWriting(std::string_view user, std::string_view database);
    void revoke(std::string_view user, std::string_view database);
    void revokeWriting(std::string_view user, std::string_view database);

    /** Removes the grants that name a database which is dropped; `*` stays. */
    void forgetDatabase(std::string_view database);

private:
    using Names = std::set<std::string, std::less<>>;

    struct User {
        std::string hash;
        Names databases;
        Names written;  ///< some of these
    };

    bool parseLine(std::string_view line, bool mayNameWriters);
    static bool covers(const Names &granted, std::string_view database);
    User &find(std::string_view user);
    const User &find(std::string_view user) const;

    std::map<std::string, User, std::less<>> users_;
};

}  // namespace zdbs::embedded

#endif
