/** Slow salted hashes of passwords (yescrypt, through libcrypt). */
#ifndef ZDBS_BASE_PASSWORD_H
#define ZDBS_BASE_PASSWORD_H

#include <string>
#include <string_view>

namespace zdbs {

/**
 * A new hash with a new salt. Any bytes but NUL, up to 511 of them, are a
 * password; the empty text too. Throws Failure: badPassword, storeFailed.
 */
std::string hashPassword(std::string_view password);

/** Does the text look like a hash of hashPassword()? */
bool isPasswordHash(std::string_view hash);

/**
 * Is `hash` a hash of `password`? Compares in constant time. A damaged hash and
 * a password that no hash can be of cost the same time and are false. Throws
 * std::bad_alloc where there is no memory to hash with.
 */
bool verifyPassword(std::string_view password, std::string_view hash);

/** Takes the time of one verifyPassword(); for users that do not exist. */
void verifyNothing(std::string_view password);

}  // namespace zdbs

#endif
