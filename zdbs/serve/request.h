/** A request, apart from how it came. */
#ifndef ZDBS_SERVE_REQUEST_H
#define ZDBS_SERVE_REQUEST_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "zdbs/base/private_files.h"
#include "zdbs/serve/target.h"

namespace zdbs::serve {

struct KernelSlot;
class RequestStop;
struct Route;

enum class Method : std::uint8_t { get, head, put, post, remove, other };

/**
 * What is sent with a request: in memory, or from a mebibyte on in a file without a name, which is
 * gone with it. One thread at a time. Throws Failure(storeFailed, diskFull).
 */
class Body {
public:
    Body() = default;
    Body(const Body &) = delete;
    Body &operator=(const Body &) = delete;
    ~Body();

    void append(std::string_view piece);
    std::uint64_t size() const { return size_; }

    /** As long as the body lives, and nothing is appended. */
    std::string_view text();

    /** A path of the body as a file, for as long as it lives. */
    std::string asFile();

private:
    void moveToFile();

    std::string inMemory_;
    FileDescriptor file_;
    std::uint64_t size_ = 0;
    void *mapped_ = nullptr;
};

/** The fields of a header that are asked for; empty where there is none. */
struct Fields {
    std::string accept;
    std::string authorization;
    std::string contentEncoding;
    std::string contentType;
    std::string host;
    std::string ifMatch;
    std::string ifNoneMatch;
    std::string origin;
    std::string upgrade;
};

/** What a target stands for. */
struct Place {
    bool isThere = false;
    const Route *route = nullptr;  ///< null where the place has none with this method
    std::string database;          ///< empty where there is none in it
    std::string document;          ///< or the file of the page
};

struct Request {
    Method method = Method::other;
    std::string word;  ///< of the method
    std::string rawTarget;
    Target target;
    Place place;
    Fields fields;
    std::string user;              ///< once it has proven who it is
    std::uint64_t usersState = 0;  ///< of the users, as it came
    Body body;
    std::shared_ptr<KernelSlot> kernel;   ///< of its connection
    const RequestStop *stop = nullptr;    ///< of its exchange
    std::shared_ptr<void> share;          ///< of what the user may have at once
    std::uint64_t mostBody = UINT64_MAX;  ///< bytes that it may have, unpacked too
};

Method methodOf(std::string_view word);

/** User and password of a Basic field (RFC 7617); nothing where it is none. */
struct Credentials {
    std::string user;
    std::string password;
};
std::optional<Credentials> credentialsIn(std::string_view authorization);

}  // namespace zdbs::serve

#endif
