/** One request at a connection of libmicrohttpd, from its first line to its end. */
#ifndef ZDBS_SERVE_VISIT_H
#define ZDBS_SERVE_VISIT_H

#include <microhttpd.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "zdbs/serve/front.h"

namespace zdbs::serve {

/** The thread of the connection's. */
class Visit {
public:
    Visit(Front &front, Connection &connection, MHD_Connection *library, std::string target);

    /**
     * The library calls it when the headers are there, for each piece of the body, at its end, and
     * when the connection is resumed. False: the connection is to be closed.
     */
    bool come(std::string_view method, std::string_view version, std::string_view piece);

    /** Counts and logs it. */
    void end(bool isComplete);

private:
    enum class Stage : std::uint8_t { fresh, proving, receiving, working, answered };

    bool begin(std::string_view method, std::string_view version);
    void readHeaders(std::string_view version);
    bool proceed();
    bool receive(std::string_view piece);
    bool finish();
    bool refuse(const Problem &problem, bool atOnce);
    bool hasLargeBody() const { return isChunked_ || declared_ > longestPassedOver; }
    bool respond();
    bool respond(const KeptAnswer &kept);
    bool queueOnce(MHD_Response *response);
    bool queue(MHD_Response *response, unsigned status);
    static void goOver(void *visit, MHD_Connection *library, void *, const char *early,
                       std::size_t earlyBytes, MHD_socket socket,
                       MHD_UpgradeResponseHandle *handle);
    static ssize_t read(void *visit, std::uint64_t position, char *buffer, std::size_t room);
    std::string loggedPlace() const;

    /** Of a body that nobody wants: passed over, so that the answer gets through. */
    static constexpr std::uint64_t longestPassedOver = std::uint64_t{1} << 20U;

    Front &front_;
    Connection &connection_;
    MHD_Connection *library_;
    std::shared_ptr<Exchange> exchange_ = std::make_shared<Exchange>();
    std::shared_ptr<const Limits> limits_;
    std::shared_ptr<const KeptAnswer> kept_;  ///< that answers it
    Stage stage_ = Stage::fresh;
    bool isCounted_ = false;  ///< among those that are open
    bool isRefused_ = false;
    bool closes_ = false;
    bool isChunked_ = false;
    std::uint64_t declared_ = 0;    ///< bytes of the body
    std::uint64_t passedOver_ = 0;  ///< of it
    std::uint64_t sent_ = 0;
    unsigned status_ = 0;
};

}  // namespace zdbs::serve

#endif
