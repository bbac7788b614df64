#include "zdbs/serve/certificates.h"

#include <gnutls/gnutls.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <utility>

#include "zdbs/base/status.h"

namespace zdbs::serve {

namespace {

void require(int result, const std::string &file) {
    if (result < 0) throw Failure(Status::fileUnreadable, {file, gnutls_strerror(result)});
}

std::string contentOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file.is_open() || file.bad())
        throw Failure(Status::fileUnreadable, {path, "it cannot be read"});
    return text;
}

gnutls_datum_t datumOf(std::string &text) {
    return {reinterpret_cast<unsigned char *>(text.data()), static_cast<unsigned>(text.size())};
}

}  // namespace

class Certificates::Pair {
public:
    Pair(const std::string &chainFile, const std::string &keyFile) {
        std::string chain = contentOf(chainFile);
        const gnutls_datum_t chainData = datumOf(chain);
        length = static_cast<unsigned>(certificates.size());
        require(gnutls_pcert_list_import_x509_raw(certificates.data(), &length, &chainData,
                                                  GNUTLS_X509_FMT_PEM, 0),
                chainFile);
        std::string text = contentOf(keyFile);
        const gnutls_datum_t keyData = datumOf(text);
        require(gnutls_privkey_init(&key), keyFile);
        const int read =
            gnutls_privkey_import_x509_raw(key, &keyData, GNUTLS_X509_FMT_PEM, nullptr, 0);
        std::fill(text.begin(), text.end(), '\0');
        require(read, keyFile);
    }
    ~Pair() {
        for (unsigned i = 0; i < length; ++i)
            gnutls_pcert_deinit(&certificates[i]);
        if (key != nullptr) gnutls_privkey_deinit(key);
    }
    Pair(const Pair &) = delete;
    Pair &operator=(const Pair &) = delete;

    std::array<gnutls_pcert_st, 16> certificates{};
    unsigned length = 0;
    gnutls_privkey_t key = nullptr;
};

Certificates::Certificates(std::string chain, std::string key)
    : chain_(std::move(chain)), key_(std::move(key)) {
    reload();
}

Certificates::~Certificates() = default;

void Certificates::reload() {
    auto pair = std::make_unique<Pair>(chain_, key_);
    const std::lock_guard lock(mutex_);
    pairs_.push_back(std::move(pair));
}

void Certificates::show(gnutls_pcert_st **chain, unsigned *length, gnutls_privkey_t *key) const {
    const std::lock_guard lock(mutex_);
    Pair &newest = *pairs_.back();
    *chain = newest.certificates.data();
    *length = newest.length;
    *key = newest.key;
}

}  // namespace zdbs::serve
