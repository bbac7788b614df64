/**
 * TLS by GnuTLS, which is loaded here and not with the program: starting it takes longer than most
 * requests of a home on this machine.
 */
#include <dlfcn.h>
#include <gnutls/gnutls.h>

#include <algorithm>
#include <string>

#include "zdbs/base/status.h"
#include "zdbs/engine/registry.h"
#include "zdbs/remote/stream.h"

namespace zdbs::remote {

namespace {

constexpr const char *libraryName = "libgnutls.so.30";

[[noreturn]] void failWithout() {
    throw Failure(Status::serverUnreachable, {std::string("TLS needs ") + libraryName});
}

/** A function of the library, by its name. */
template <typename Function>
class Loaded {
public:
    Loaded(void *library, const char *name)
        : function_(reinterpret_cast<Function *>(::dlsym(library, name))) {
        if (function_ == nullptr) failWithout();
    }

    template <typename... Arguments>
    auto operator()(Arguments... arguments) const {
        return function_(arguments...);
    }

private:
    Function *function_;
};

/** What is used of the library; it stays loaded. */
struct Library {
    void *handle = ::dlopen(libraryName, RTLD_NOW | RTLD_LOCAL);
    Loaded<decltype(gnutls_init)> init{handle, "gnutls_init"};
    Loaded<decltype(gnutls_deinit)> deinit{handle, "gnutls_deinit"};
    Loaded<decltype(gnutls_set_default_priority)> usual{handle, "gnutls_set_default_priority"};
    Loaded<decltype(gnutls_credentials_set)> setCredentials{handle, "gnutls_credentials_set"};
    Loaded<decltype(gnutls_server_name_set)> setName{handle, "gnutls_server_name_set"};
    Loaded<decltype(gnutls_session_set_verify_cert)> verify{handle,
                                                            "gnutls_session_set_verify_cert"};
    Loaded<decltype(gnutls_session_get_verify_cert_status)> verified{
        handle, "gnutls_session_get_verify_cert_status"};
    Loaded<decltype(gnutls_certificate_verification_status_print)> explain{
        handle, "gnutls_certificate_verification_status_print"};
    Loaded<decltype(gnutls_transport_set_int2)> setSocket{handle, "gnutls_transport_set_int2"};
    Loaded<decltype(gnutls_handshake)> handshake{handle, "gnutls_handshake"};
    Loaded<decltype(gnutls_record_send)> send{handle, "gnutls_record_send"};
    Loaded<decltype(gnutls_record_recv)> receive{handle, "gnutls_record_recv"};
    Loaded<decltype(gnutls_record_check_pending)> held{handle, "gnutls_record_check_pending"};
    Loaded<decltype(gnutls_error_is_fatal)> isFatal{handle, "gnutls_error_is_fatal"};
    Loaded<decltype(gnutls_strerror)> message{handle, "gnutls_strerror"};
    Loaded<decltype(gnutls_certificate_allocate_credentials)> allocate{
        handle, "gnutls_certificate_allocate_credentials"};
    Loaded<decltype(gnutls_certificate_free_credentials)> release{
        handle, "gnutls_certificate_free_credentials"};
    Loaded<decltype(gnutls_certificate_set_x509_system_trust)> trustSystem{
        handle, "gnutls_certificate_set_x509_system_trust"};
    Loaded<decltype(gnutls_certificate_set_x509_trust_file)> trustFile{
        handle, "gnutls_certificate_set_x509_trust_file"};
};

const Library &library() {
    static const Library loaded;
    return loaded;
}

class TlsStream final : public Stream {
public:
    TlsStream(FileDescriptor socket, const ServerAddress &address)
        : socket_(std::move(socket)), address_(address), tls_(library()) {
        trust();
        if (tls_.init(&session_, GNUTLS_CLIENT | GNUTLS_NO_SIGNAL) != GNUTLS_E_SUCCESS)
            throw std::bad_alloc();
        try {
            shakeHands();
        } catch (...) {
            tls_.deinit(session_);
            tls_.release(credentials_);
            throw;
        }
    }

    // What is sent to say goodbye could make it wait, and nothing depends on it.
    ~TlsStream() override {
        tls_.deinit(session_);
        tls_.release(credentials_);
    }
    TlsStream(const TlsStream &) = delete;
    TlsStream &operator=(const TlsStream &) = delete;

    bool send(std::string_view bytes) override {
        while (!bytes.empty()) {
            const ssize_t sent = tls_.send(session_, bytes.data(), bytes.size());
            if (sent < 0 && mayGoOn(sent)) continue;
            if (sent < 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }

    /** An end without its announcement is an end, too: messages have their lengths. */
    std::size_t receive(std::span<char> room) override {
        for (;;) {
            const ssize_t got = tls_.receive(session_, room.data(), room.size());
            if (got >= 0) return static_cast<std::size_t>(got);
            if (!mayGoOn(got)) return 0;
        }
    }

    bool holdsBytes() const override { return tls_.held(session_) > 0; }
    int socket() const override { return socket_.get(); }

private:
    /** Not after the time that a step may take. */
    bool mayGoOn(ssize_t status) const {
        return status != GNUTLS_E_AGAIN && tls_.isFatal(static_cast<int>(status)) == 0;
    }

    void trust() {
        if (tls_.allocate(&credentials_) != GNUTLS_E_SUCCESS) throw std::bad_alloc();
        const std::string file = configured("ZDBS_CA_FILE");
        const int count = file.empty()
                              ? tls_.trustSystem(credentials_)
                              : tls_.trustFile(credentials_, file.c_str(), GNUTLS_X509_FMT_PEM);
        if (count > 0 || file.empty()) return;
        tls_.release(credentials_);
        throw Failure(Status::badSetting, {"ZDBS_CA_FILE", file});
    }

    bool isNumeric() const {
        return address_.host.find(':') != std::string::npos ||
               address_.host.find_first_not_of("0123456789.") == std::string::npos;
    }

    void shakeHands() {
        tls_.usual(session_);
        tls_.setCredentials(session_, GNUTLS_CRD_CERTIFICATE, static_cast<void *>(credentials_));
        if (!isNumeric())
            tls_.setName(session_, GNUTLS_NAME_DNS, static_cast<const void *>(address_.host.data()),
                         address_.host.size());
        tls_.verify(session_, address_.host.c_str(), 0U);
        tls_.setSocket(session_, socket_.get(), socket_.get());
        int status = GNUTLS_E_SUCCESS;
        do {
            status = tls_.handshake(session_);
        } while (status != GNUTLS_E_SUCCESS && mayGoOn(status));
        if (status != GNUTLS_E_SUCCESS) fail(status);
    }

    [[noreturn]] void fail(int status) const {
        if (status == GNUTLS_E_AGAIN)
            throw Failure(Status::serverUnreachable, {address_.name, "it does not answer"});
        if (status != GNUTLS_E_CERTIFICATE_VERIFICATION_ERROR)
            throw Failure(
                Status::serverUnreachable,
                {address_.name, withoutStop(std::string("TLS: ") + tls_.message(status))});
        throw Failure(Status::serverUntrusted, {address_.name, reason()});
    }

    static std::string withoutStop(std::string text) {
        text.erase(text.find_last_not_of(" .") + 1);
        return text;
    }

    /** What is wrong with the certificate, in the library's words. */
    std::string reason() const {
        gnutls_datum_t text{};
        const unsigned found = tls_.verified(session_);
        if (tls_.explain(found, GNUTLS_CRT_X509, &text, 0U) != GNUTLS_E_SUCCESS)
            return "its certificate is not valid";
        std::string reason(reinterpret_cast<const char *>(text.data), text.size);
        (*freeFunction())(text.data);
        return withoutStop(std::move(reason));
    }

    /** The library keeps a pointer to it. */
    gnutls_free_function *freeFunction() const {
        return reinterpret_cast<gnutls_free_function *>(::dlsym(tls_.handle, "gnutls_free"));
    }

    FileDescriptor socket_;
    ServerAddress address_;
    const Library &tls_;
    gnutls_certificate_credentials_t credentials_ = nullptr;
    gnutls_session_t session_ = nullptr;
};

}  // namespace

std::unique_ptr<Stream> tlsStream(FileDescriptor socket, const ServerAddress &address) {
    return std::make_unique<TlsStream>(std::move(socket), address);
}

}  // namespace zdbs::remote
