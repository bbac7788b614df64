/** The certificate that a server shows, which may be exchanged while it runs. */
#ifndef ZDBS_SERVE_CERTIFICATES_H
#define ZDBS_SERVE_CERTIFICATES_H

#include <gnutls/abstract.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zdbs::serve {

/** Any thread may call. What was shown once is kept, for handshakes may still use it. */
class Certificates {
public:
    /** PEM files: the chain, the server's own first, and its key. Throws as reload(). */
    Certificates(std::string chain, std::string key);
    ~Certificates();

    /** Reads the files; the old ones stay where that fails. Throws Failure(fileUnreadable). */
    void reload();

    /** The newest; valid as long as this lives. */
    void show(gnutls_pcert_st **chain, unsigned *length, gnutls_privkey_t *key) const;

private:
    class Pair;

    std::string chain_;
    std::string key_;
    mutable std::mutex mutex_;
    std::vector<std::unique_ptr<Pair>> pairs_;
};

}  // namespace zdbs::serve

#endif
