#include "zdbs/remote/remote_command.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace zdbs::remote {

namespace {

/** An end, and what cannot be read, is an end to the command, too. */
void sendInput(Channel &channel, int file) {
    std::array<char, std::size_t{16} * 1024> buffer{};
    ssize_t got = 0;
    do {
        got = ::read(file, buffer.data(), buffer.size());
    } while (got < 0 && errno == EINTR);
    const auto size = static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    channel.send(MessageWriter(Kind::input).text({buffer.data(), size}).bytes());
}

}  // namespace

int runCommand(Channel &channel, const std::vector<std::string> &words,
               const CommandStreams &streams) {
    MessageWriter message(Kind::command);
    for (const std::string &word : words)
        message.text(word);
    channel.send(message.bytes());
    try {
        for (bool isWanted = false;;) {
            if (!channel.awaitMessage(isWanted ? streams.input : -1)) {
                isWanted = false;
                sendInput(channel, streams.input);
                continue;
            }
            const Channel::Received received = channel.receive(true);
            MessageReader reader(received.content);
            if (received.kind == Kind::failed) {
                readState(reader);
                throwTold(reader);
            }
            if (received.kind == Kind::output)
                streams.output(reader.text());
            else if (received.kind == Kind::errors)
                streams.errors(reader.text());
            else if (received.kind == Kind::ended)
                return reader.number();
            else if (received.kind != Kind::wanted)
                throw MessageReader::Malformed();
            reader.end();
            isWanted = received.kind == Kind::wanted;
            if (isWanted) channel.endAnswer();
        }
    } catch (const MessageReader::Malformed &) {
        channel.endMalformed();
    }
}

}  // namespace zdbs::remote
