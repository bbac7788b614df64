/** Where a server is. */
#ifndef ZDBS_REMOTE_SERVER_ADDRESS_H
#define ZDBS_REMOTE_SERVER_ADDRESS_H

#include <cstdint>
#include <string>
#include <string_view>

namespace zdbs::remote {

struct ServerAddress {
    enum class Kind : std::uint8_t { unixSocket, plain, tls };

    Kind kind = Kind::unixSocket;
    std::string name;  ///< as it was given, for messages
    std::string user;  ///< in front of the host; empty: none
    std::string host;  ///< without brackets; the path of a unix socket
    std::string port;
    std::string folder;  ///< in front of the places of the server; empty or "/a/b"

    /** The field Host. */
    std::string authority() const;
};

/**
 * https://[USER@]HOST[:PORT][/FOLDER], the same with http, or unix:PATH. Throws
 * Failure(badSetting); a password has no place in it.
 */
ServerAddress parseServerAddress(std::string_view location);

}  // namespace zdbs::remote

#endif
