#include "zdbs/base/password.h"

#include <crypt.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <new>
#include <string>
#include <vector>

#include "zdbs/base/status.h"

namespace {

std::vector<std::string> hashedUnder;

}  // namespace

// Stands in front of libcrypt's own, which does the work, and notes the setting of each hash.
extern "C" char *crypt_rn(const char *phrase, const char *setting, void *data, int size) {
    hashedUnder.emplace_back(setting);
    using Crypt = char *(const char *, const char *, void *, int);
    static Crypt *const next = reinterpret_cast<Crypt *>(dlsym(RTLD_NEXT, "crypt_rn"));
    return next(phrase, setting, data, size);
}

namespace zdbs {
namespace {

constexpr const char *methodAndCost = "$y$jBT$";  // yescrypt, cost 7

TEST(Password, HashesAreSaltedYescryptOfCostSeven) {
    const std::string first = hashPassword("secret");
    const std::string second = hashPassword("secret");
    EXPECT_NE(first, second);
    EXPECT_TRUE(first.starts_with(methodAndCost)) << first;
    EXPECT_TRUE(isPasswordHash(first));
    EXPECT_TRUE(verifyPassword("secret", first));
    EXPECT_TRUE(verifyPassword("secret", second));
}

TEST(Password, IsTakenByteForByte) {
    const std::string hash = hashPassword(
        "Sesam \xc3\xb6"
        "ffne dich");
    EXPECT_TRUE(
        verifyPassword("Sesam \xc3\xb6"
                       "ffne dich",
                       hash));
    for (const char *wrong : {"",
                              "sesam \xc3\xb6"
                              "ffne dich",
                              "Sesam \xf6"
                              "ffne dich",
                              "Sesam \xc3\xb6"
                              "ffne dich ",
                              "Sesam \xc3\xb6"
                              "ffne dic"})
        EXPECT_FALSE(verifyPassword(wrong, hash)) << wrong;
}

TEST(Password, MayBeEmpty) {
    const std::string hash = hashPassword("");
    EXPECT_TRUE(verifyPassword("", hash));
    EXPECT_FALSE(verifyPassword(" ", hash));
}

TEST(Password, Has511BytesAtMostAndNoNul) {
    const std::string longest(511, 'p');
    const std::string hash = hashPassword(longest);
    EXPECT_TRUE(verifyPassword(longest, hash));
    EXPECT_FALSE(verifyPassword(longest + 'p', hash));
    for (const std::string &bad : {std::string(512, 'p'), std::string("a\0b", 3)}) {
        try {
            hashPassword(bad);
            FAIL();
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.status(), Status::badPassword);
        }
    }
}

TEST(Password, WithANulIsNotThePasswordInFrontOfIt) {
    EXPECT_FALSE(verifyPassword(std::string("a\0b", 3), hashPassword("a")));
    EXPECT_FALSE(verifyPassword(std::string("\0", 1), hashPassword("")));
}

TEST(Password, DamagedHashesMatchNothing) {
    const std::string hash = hashPassword("secret");
    for (const std::string &damaged :
         {std::string(), std::string("*"), std::string("$y$"), hash.substr(0, hash.size() - 1),
          hash + 'x', std::string("$y$jBT$"), std::string("$y$$$$")})
        EXPECT_FALSE(verifyPassword("secret", damaged)) << damaged;
}

TEST(Password, HashesOfFastMethodsAreNotTaken) {
    crypt_data data{};
    const std::string weak = crypt_rn("secret", "xx", &data, sizeof data);
    ASSERT_EQ(weak.size(), 13U);
    EXPECT_FALSE(isPasswordHash(weak));
    EXPECT_FALSE(verifyPassword("secret", weak));
}

TEST(Password, OfAnUnknownUserCostsOneHashLikeAnyOther) {
    const std::string hash = hashPassword("secret");
    hashedUnder.clear();
    verifyPassword("secret", hash);
    verifyPassword("wrong", hash);
    verifyPassword(std::string(600, 'x'), hash);
    verifyNothing("secret");
    verifyNothing(std::string(600, 'x'));
    verifyPassword("secret", "damaged");
    ASSERT_EQ(hashedUnder.size(), 6U);
    for (const std::string &setting : hashedUnder)
        EXPECT_TRUE(setting.starts_with(methodAndCost)) << setting;
}

#ifndef __SANITIZE_ADDRESS__  // which needs address space of its own

/** In a process that may not have more memory than it has: 0 when that is told. */
[[noreturn]] void verifyWithoutMemory(const std::string &hash) {
    constexpr rlimit nothing{1, 1};
    if (setrlimit(RLIMIT_AS, &nothing) != 0) _exit(2);
    try {
        verifyPassword("secret", hash);
    } catch (const std::bad_alloc &) {
        _exit(0);
    }
    _exit(1);
}

TEST(PasswordDeathTest, ThatCannotBeHashedForWantOfMemoryIsNotAWrongOne) {
    const std::string hash = hashPassword("secret");
    EXPECT_EXIT(verifyWithoutMemory(hash), testing::ExitedWithCode(0), "");
}

#endif

}  // namespace
}  // namespace zdbs
