#include "zdbs/serve/visit.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <mutex>
#include <new>
#include <utility>

#include "foundation/keyword.h"

namespace zdbs::serve {

namespace {

constexpr std::size_t readerBlock = std::size_t{32} * 1024;
constexpr const char *policyField = "Content-Security-Policy";
constexpr const char *documentPolicy = "default-src 'none'; frame-ancestors 'none'; sandbox";

/** What headers have to be for their ends, and the body's, to be the same to everybody. */
struct Framing {
    unsigned lengths = 0;
    unsigned hosts = 0;
    unsigned encodings = 0;
    bool isOdd = false;
    std::string length;
    std::string encoding;
    Fields fields;
};

bool isToken(std::string_view name) {
    constexpr std::string_view marks = "!#$%&'*+-.^_`|~";
    return !name.empty() && std::all_of(name.begin(), name.end(), [&](char character) {
        const bool isLetter = (character >= 'a' && character <= 'z') ||
                              (character >= 'A' && character <= 'Z') ||
                              (character >= '0' && character <= '9');
        return isLetter || marks.find(character) != std::string_view::npos;
    });
}

struct FieldName {
    std::string_view name;
    std::string Fields::*place;
};

constexpr std::array<FieldName, 9> fieldNames = {{{"Accept", &Fields::accept},
                                                  {"Authorization", &Fields::authorization},
                                                  {"Content-Encoding", &Fields::contentEncoding},
                                                  {"Content-Type", &Fields::contentType},
                                                  {"Host", &Fields::host},
                                                  {"If-Match", &Fields::ifMatch},
                                                  {"If-None-Match", &Fields::ifNoneMatch},
                                                  {"Origin", &Fields::origin},
                                                  {"Upgrade", &Fields::upgrade}}};

void take(Framing &framing, std::string_view name, std::string_view value) {
    framing.isOdd = framing.isOdd || !isToken(name);
    if (equalsNoCase(name, "Content-Length")) {
        ++framing.lengths;
        framing.length = value;
    } else if (equalsNoCase(name, "Transfer-Encoding")) {
        ++framing.encodings;
        framing.encoding = value;
    }
    if (equalsNoCase(name, "Host")) ++framing.hosts;
    for (const FieldName &field : fieldNames) {
        if (!equalsNoCase(name, field.name)) continue;
        std::string &known = framing.fields.*field.place;
        known += (known.empty() ? "" : ", ") + std::string(value);
    }
}

/**
 * Whether nothing but the colon and blanks is between them in what was received. The library hangs
 * a folded line (RFC 9112, 5.2) on the end of the name, which it moves for that: a length becomes a
 * field of another name, and the body a request.
 */
bool isBeside(const char *name, std::size_t nameSize, const char *value) {
    constexpr std::ptrdiff_t mostBlanks = 256;
    const char *end = name + nameSize;
    return value > end && value - end <= mostBlanks && std::all_of(end, value, [](char each) {
               return each == '\0' || each == ':' || each == ' ' || each == '\t';
           });
}

bool isText(std::string_view value) {
    return std::all_of(value.begin(), value.end(), [](unsigned char each) {
        return (each >= ' ' && each != 0x7f) || each == '\t';
    });
}

MHD_Result takeHeader(void *framing, MHD_ValueKind, const char *name, std::size_t nameSize,
                      const char *value, std::size_t valueSize) {
    try {
        if (value == nullptr || !isBeside(name, nameSize, value) || !isText({value, valueSize}))
            static_cast<Framing *>(framing)->isOdd = true;
        take(*static_cast<Framing *>(framing), {name, nameSize},
             {value == nullptr ? "" : value, value == nullptr ? 0 : valueSize});
        return MHD_YES;
    } catch (const std::exception &) {
        static_cast<Framing *>(framing)->isOdd = true;
        return MHD_NO;
    }
}

MHD_Response *bufferOf(const std::string &text) {
    // It is copied, and not written to.
    return MHD_create_response_from_buffer(text.size(), const_cast<char *>(text.data()),
                                           MHD_RESPMEM_MUST_COPY);
}

void addHeaders(MHD_Response *response, const ReplyHead &head) {
    if (!head.type.empty())
        MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, head.type.c_str());
    MHD_add_response_header(response, "X-Content-Type-Options", "nosniff");
    bool hasPolicy = false;
    for (const auto &[name, value] : head.fields) {
        hasPolicy = hasPolicy || name == policyField;
        MHD_add_response_header(response, name.c_str(), value.c_str());
    }
    // Documents are anybody's, and a browser that is shown one must not do what it says.
    if (!hasPolicy) MHD_add_response_header(response, policyField, documentPolicy);
}

}  // namespace

Visit::Visit(Front &front, Connection &connection, MHD_Connection *library, std::string target)
    : front_(front), connection_(connection), library_(library), limits_(front.limits()) {
    exchange_->request.rawTarget = std::move(target);
    exchange_->request.kernel = connection_.kernel;
    exchange_->request.stop = &exchange_->stop;
    exchange_->request.mostBody = limits_->body * megabyte;
    exchange_->attach({[library] { MHD_suspend_connection(library); },
                       [library, &server = connection_.server()] {
                           MHD_resume_connection(library);
                           server.wake();
                       }});
}

bool Visit::come(std::string_view method, std::string_view version, std::string_view piece) {
    switch (stage_) {
        case Stage::fresh:
            return begin(method, version);
        case Stage::proving:
            stage_ = Stage::receiving;
            if (exchange_->request.user.empty()) {
                isRefused_ = true;
                exchange_->finish();
                return !hasLargeBody() || respond();
            }
            return proceed();
        case Stage::receiving:
            return piece.empty() ? finish() : receive(piece);
        case Stage::working:
            return respond();
        case Stage::answered:
            return true;
    }
    return false;
}

bool Visit::begin(std::string_view method, std::string_view version) {
    Request &request = exchange_->request;
    request.word = method;
    request.method = methodOf(method);
    connection_.expect(std::chrono::seconds(limits_->stall));
    stage_ = Stage::receiving;
    front_.requestBegins();
    isCounted_ = true;
    try {
        readHeaders(version);
        auto target = parseTarget(request.rawTarget);
        if (!target) throw Problem(400, "The target of the request is not well formed.");
        request.target = std::move(*target);
        request.place = placeOf(request.method, request.target);
        if (!front_.identify(exchange_)) {
            stage_ = Stage::proving;
            connection_.expectNothing();
            front_.connections.watch(connection_, exchange_);
            return true;
        }
        return proceed();
    } catch (const Problem &problem) {
        return refuse(problem, problem.http() == 400);
    } catch (const Failure &failure) {
        return refuse(Problem(failure), false);
    }
}

/** Throws Problem for what proxies and servers have been known to read in different ways. */
void Visit::readHeaders(std::string_view version) {
    Framing framing;
    MHD_get_connection_values_n(library_, MHD_HEADER_KIND, takeHeader, &framing);
    const bool isEnd = framing.length.find_first_not_of("0123456789") == std::string::npos;
    const bool hasBoth = framing.lengths > 0 && framing.encodings > 0;
    const bool isKnown = framing.encodings == 0 || equalsNoCase(framing.encoding, "chunked");
    if (framing.isOdd || framing.lengths > 1 || framing.encodings > 1 || framing.hosts > 1 ||
        !isEnd || hasBoth || !isKnown || (version == "HTTP/1.1" && framing.hosts == 0))
        throw Problem(400, "The headers do not say for certain where the request ends.");
    isChunked_ = framing.encodings > 0;
    const char *end = framing.length.data() + framing.length.size();
    if (framing.lengths > 0 &&
        std::from_chars(framing.length.data(), end, declared_).ec != std::errc())
        throw Problem(413, "What is sent is larger than it may be.");
    exchange_->request.fields = std::move(framing.fields);
}

/** The user is known; the body is next. */
bool Visit::proceed() {
    connection_.expect(std::chrono::seconds(limits_->stall));
    try {
        kept_ = front_.keptAnswer(exchange_->request);
        if (!kept_) front_.admit(*exchange_);
        const Method method = exchange_->request.method;
        const bool takesBody = method == Method::put || method == Method::post;
        if (!takesBody && (isChunked_ || declared_ > 0))
            throw Problem(400, "Nothing can be sent with such a request.");
        if (declared_ > exchange_->request.mostBody)
            throw Problem(413, "What is sent is larger than it may be.");
        return true;
    } catch (const Problem &problem) {
        return refuse(problem, hasLargeBody());
    } catch (const Failure &failure) {
        return refuse(Problem(failure), hasLargeBody());
    }
}

bool Visit::receive(std::string_view piece) {
    connection_.expect(std::chrono::seconds(limits_->stall));
    if (isRefused_) return (passedOver_ += piece.size()) <= longestPassedOver;
    Body &body = exchange_->request.body;
    try {
        if (body.size() + piece.size() > exchange_->request.mostBody)
            throw Problem(413, "What is sent is larger than it may be.");
        body.append(piece);
        return true;
    } catch (const Problem &problem) {
        return refuse(problem, false);
    } catch (const Failure &failure) {
        return refuse(Problem(failure), false);
    }
}

bool Visit::finish() {
    if (isRefused_) return respond();
    if (kept_) return respond(*kept_);
    stage_ = Stage::working;
    connection_.expectNothing();
    exchange_->isKernelCall = exchange_->request.fields.contentType == kernelType;
    front_.connections.watch(connection_, exchange_);
    try {
        front_.work(exchange_);
        return true;
    } catch (const Problem &problem) {
        return refuse(problem, true);
    }
}

/** @param atOnce without waiting for what else comes; the connection ends with it then */
bool Visit::refuse(const Problem &problem, bool atOnce) {
    isRefused_ = true;
    exchange_->refuse(problem);
    exchange_->finish();
    return !atOnce || respond();
}

bool Visit::respond() {
    stage_ = Stage::answered;
    if (exchange_->head().status == MHD_HTTP_SWITCHING_PROTOCOLS) {
        connection_.expectNothing();
        return queueOnce(MHD_create_response_for_upgrade(goOver, this));
    }
    connection_.expect(std::chrono::seconds(limits_->stall));
    if (!exchange_->isWhole())
        return queueOnce(
            MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, readerBlock, read, this, nullptr));
    std::string text(exchange_->written(), '\0');
    for (std::size_t done = 0; done < text.size();) {
        const Exchange::Taken taken = exchange_->take(text.data() + done, text.size() - done);
        if (taken.kind != Exchange::Taken::Kind::bytes) return false;
        done += taken.size;
    }
    sent_ = text.size();
    return queueOnce(bufferOf(text));
}

bool Visit::respond(const KeptAnswer &kept) {
    stage_ = Stage::answered;
    connection_.expect(std::chrono::seconds(limits_->stall));
    std::call_once(kept.isMade, [&] {
        MHD_Response *response = bufferOf(kept.text);
        if (response == nullptr) throw std::bad_alloc();  // and is tried with the next
        addHeaders(response, kept.head);
        kept.made = {response, MHD_destroy_response};
    });
    sent_ = kept.text.size();
    return queue(static_cast<MHD_Response *>(kept.made.get()), kept.head.status);
}

bool Visit::queueOnce(MHD_Response *response) {
    if (response == nullptr) return false;
    addHeaders(response, exchange_->head());
    const bool isQueued = queue(response, exchange_->head().status);
    MHD_destroy_response(response);
    return isQueued;
}

bool Visit::queue(MHD_Response *response, unsigned status) {
    status_ = status;
    return MHD_queue_response(library_, status, response) == MHD_YES;
}

/** From here on the connection carries messages, in a thread of its own. */
void Visit::goOver(void *context, MHD_Connection *library, void *, const char *, std::size_t early,
                   MHD_socket socket, MHD_UpgradeResponseHandle *handle) {
    auto &visit = *static_cast<Visit *>(context);
    const auto close = [handle, &server = visit.connection_.server()] {
        MHD_upgrade_action(handle, MHD_UPGRADE_ACTION_CLOSE);
        server.wake();
    };
    const int immediately = 1;
    const auto *info = MHD_get_connection_info(library, MHD_CONNECTION_INFO_CONNECTION_FD);
    ::setsockopt(info->connect_fd, IPPROTO_TCP, TCP_NODELAY, &immediately, sizeof immediately);
    visit.front_.requestEnds();
    visit.isCounted_ = false;
    // What is sent before the server has agreed is no message.
    if (early > 0) return close();
    Exchange &exchange = *visit.exchange_;
    visit.front_.openSession({socket, info->connect_fd, close, exchange.request.user,
                              std::exchange(exchange.request.share, nullptr)});
}

ssize_t Visit::read(void *context, std::uint64_t /*position*/, char *buffer, std::size_t room) {
    auto &visit = *static_cast<Visit *>(context);
    const Exchange::Taken taken = visit.exchange_->take(buffer, room);
    switch (taken.kind) {
        case Exchange::Taken::Kind::bytes:
            visit.sent_ += taken.size;
            visit.connection_.expect(std::chrono::seconds(visit.limits_->stall));
            return static_cast<ssize_t>(taken.size);
        case Exchange::Taken::Kind::nothingYet:
            visit.connection_.expectNothing();
            return 0;
        case Exchange::Taken::Kind::end:
            return MHD_CONTENT_READER_END_OF_STREAM;
        case Exchange::Taken::Kind::broken:
            break;
    }
    return MHD_CONTENT_READER_END_WITH_ERROR;
}

std::string Visit::loggedPlace() const {
    const Request &request = exchange_->request;
    return front_.logsValues ? request.rawTarget : loggedPath(request);
}

void Visit::end(bool isComplete) {
    if (isCounted_) front_.requestEnds();
    if (!isComplete) exchange_->abandon(StopReason::clientGone);
    // Where it is broken off, a worker may still be at it, and nothing comes behind it.
    const bool hasSession = isComplete && connection_.kernel->room != nullptr;
    connection_.expect(std::chrono::seconds(hasSession ? limits_->sessionIdle : limits_->idle));
    const auto time = Exchange::Clock::now() - exchange_->begun;
    front_.metrics.count(status_, sent_, time);
    std::string remark;
    if (status_ == 0) remark = "no request";
    if (!isComplete && status_ != 0) remark = "broken off";
    front_.log.add({connection_.client(), exchange_->request.user, exchange_->request.word,
                    loggedPlace(), status_, sent_, time, remark});
}

}  // namespace zdbs::serve
