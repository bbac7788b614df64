#include "zdbs/base/password.h"

#include <crypt.h>

#include <cstddef>
#include <memory>
#include <new>

#include "zdbs/base/status.h"

namespace zdbs {

namespace {

constexpr const char *method = "$y$";  // yescrypt
constexpr unsigned long cost = 7;      // about 65 ms and 16 MiB a hash

// A hash of nothing in particular at the same cost: what unknown users are checked against.
constexpr std::string_view nobodysHash =
    "$y$jBT$jqssKrSll/N.phk9K5Qrc1$bVB03N.t5AvG8WC.1FWZDXBkgniqB0zaUDHR4xIfCu0";

// The comparison reads all bytes of both texts, however early they differ.
bool equalInConstantTime(std::string_view left, std::string_view right) {
    if (left.size() != right.size()) return false;
    unsigned difference = 0;
    for (std::size_t i = 0; i < left.size(); ++i)
        difference |= static_cast<unsigned char>(left[i]) ^ static_cast<unsigned char>(right[i]);
    return difference == 0;
}

bool canBeHashed(std::string_view password) {
    return password.size() < CRYPT_MAX_PASSPHRASE_SIZE &&
           password.find('\0') == std::string_view::npos;
}

// The hash under a salt or an earlier hash; empty when libcrypt refuses it.
std::string crypt(std::string_view password, std::string_view setting) {
    auto data = std::make_unique<crypt_data>();
    const std::string passwordText(password);
    const std::string settingText(setting);
    const char *hash = ::crypt_rn(passwordText.c_str(), settingText.c_str(), data.get(),
                                  static_cast<int>(sizeof(crypt_data)));
    return hash ? hash : "";
}

}  // namespace

std::string hashPassword(std::string_view password) {
    if (!canBeHashed(password)) throw Failure(Status::badPassword);
    char salt[CRYPT_GENSALT_OUTPUT_SIZE];
    // No random bytes given: libcrypt takes them from the system.
    if (!::crypt_gensalt_rn(method, cost, nullptr, 0, salt, sizeof salt))
        throw Failure(Status::storeFailed, {"no salt for the password"});
    std::string hash = crypt(password, salt);
    if (hash.empty()) throw Failure(Status::storeFailed, {"the password cannot be hashed"});
    return hash;
}

bool isPasswordHash(std::string_view hash) {
    return hash.starts_with(method);
}

bool verifyPassword(std::string_view password, std::string_view hash) {
    const bool hashable = canBeHashed(password);
    // Without its own mark a text would select one of libcrypt's old, fast methods.
    const std::string computed =
        isPasswordHash(hash) ? crypt(hashable ? password : std::string_view(), hash) : "";
    if (computed.empty()) {
        verifyNothing(password);
        return false;
    }
    return equalInConstantTime(computed, hash) && hashable;
}

void verifyNothing(std::string_view password) {
    // There is nothing wrong with this hash, so that only memory can be wanting. libcrypt gives no
    // reason, and a password that could not be hashed is not a wrong one.
    if (crypt(canBeHashed(password) ? password : std::string_view(), nobodysHash).empty())
        throw std::bad_alloc();
}

}  // namespace zdbs
