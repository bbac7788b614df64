/** Where the answer of a request goes. */
#ifndef ZDBS_SERVE_REPLY_H
#define ZDBS_SERVE_REPLY_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zdbs::serve {

/** What stands in front of an answer. */
struct ReplyHead {
    unsigned status = 200;
    std::string type;
    std::vector<std::pair<std::string, std::string>> fields = {};
};

/** One thread. */
class Reply {
public:
    virtual ~Reply() = default;

    /** Once, before the first piece. */
    virtual void begin(ReplyHead head) = 0;

    /**
     * Hands a piece on; waits where the client takes less than comes. Throws Failure(stopped) when
     * nobody waits for it any more, Problem when there is too much.
     */
    virtual void write(std::string_view piece) = 0;

    /**
     * Sends what was written so far without waiting for more, also where the request was stopped:
     * so what is written in pieces of less than 64 kilobytes can say at its end that it was. Throws
     * Failure(stopped) when nobody waits for it any more.
     */
    virtual void flush() = 0;

    /** All of a short answer. */
    void send(ReplyHead head, std::string_view text) {
        begin(std::move(head));
        write(text);
    }
};

}  // namespace zdbs::serve

#endif
