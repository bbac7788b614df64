#include "zdbs/remote/channel.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "zdbs/base/stop.h"
#include "zdbs/base/visible_text.h"
#include "zdbs/export/export_document.h"

namespace zdbs::remote {

namespace {

constexpr std::size_t block = std::size_t{64} * 1024;

/** Milliseconds in which a server has to heed a stop, at least by a word. */
constexpr int patienceForStop = 10000;

bool isInterruptHeld() {
    sigset_t held;
    sigemptyset(&held);
    pthread_sigmask(SIG_BLOCK, nullptr, &held);
    return sigismember(&held, SIGINT) == 1;
}

bool isInterruptWaiting() {
    sigset_t waiting;
    sigemptyset(&waiting);
    sigpending(&waiting);
    return sigismember(&waiting, SIGINT) == 1;
}

FileDescriptor interruptDescriptor() {
    sigset_t interrupt;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    return FileDescriptor(::signalfd(-1, &interrupt, SFD_CLOEXEC | SFD_NONBLOCK));
}

bool isStopRequested() {
    try {
        heedStop();
    } catch (const Failure &) {
        return true;
    }
    return false;
}

}  // namespace

ToldFailure::ToldFailure(Status status, std::string_view sentence)
    : Failure(status), sentence_(visibleText(sentence)) {}

void throwTold(MessageReader &reader) {
    const auto status = static_cast<Status>(reader.number());
    const std::string_view sentence = reader.text();
    reader.end();
    if (succeeded(status) || rowOf(status) == nullptr) throw MessageReader::Malformed();
    throw ToldFailure(status, sentence);
}

void Channel::lose(const Failure &why) {
    lost_.emplace(why.status(), why.what());
    stream_.reset();
    throw *lost_;
}

void Channel::lose(std::string_view why) {
    lose(Failure(Status::serverLost, {why}));
}

void Channel::requireOpen() const {
    if (lost_) throw *lost_;
}

void Channel::send(std::string_view message) {
    requireOpen();
    isStopSent_ = false;
    stream_->send(message);
}

std::string_view Channel::take(std::size_t size) {
    const std::string_view taken = buffered().substr(0, size);
    begin_ += size;
    return taken;
}

/** More bytes behind those that are there. */
void Channel::fill() {
    await(-1, heedsStop_);
    if (begin_ > 0) {
        buffer_.erase(0, begin_);
        begin_ = 0;
    }
    const std::size_t before = buffer_.size();
    buffer_.resize(before + block);
    const std::size_t got = stream_->receive({buffer_.data() + before, block});
    buffer_.resize(before + got);
    if (got == 0) lose("the server has ended it or cannot be reached any more");
}

void Channel::require(std::size_t size) {
    while (buffered().size() < size)
        fill();
}

void Channel::heedOrTell() {
    if (!isStopRequested() && !(isInterruptHeld() && isInterruptWaiting())) return;
    isStopSent_ = true;
    stream_->send(MessageWriter(Kind::stop).bytes());
}

/** The interrupt goes on waiting: whoever holds it back takes it. */
bool Channel::await(int other, bool heedsStop) {
    // Before, for where there is always something to receive.
    if (heedsStop && !isStopSent_) heedOrTell();
    while (!stream_->holdsBytes()) {
        const bool looks = heedsStop && !isStopSent_;
        if (looks && isInterruptHeld() && !interrupt_) interrupt_ = interruptDescriptor();
        const int interrupt = looks && isInterruptHeld() ? interrupt_.get() : -1;
        std::array<pollfd, 3> places = {
            {{stream_->socket(), POLLIN, 0}, {interrupt, POLLIN, 0}, {other, POLLIN, 0}}};
        const int ready = ::poll(places.data(), places.size(), isStopSent_ ? patienceForStop : -1);
        if (ready == 0) lose("the server does not answer any more");
        if (ready < 0 && errno != EINTR) lose("waiting for it failed");
        if (ready > 0 && places[0].revents != 0) return true;
        if (looks) heedOrTell();
        if (ready > 0 && places[2].revents != 0) return false;
    }
    return true;
}

void Channel::endAnswer() {
    if (!buffered().empty() || !stream_->endAnswer()) endMalformed();
}

bool Channel::awaitMessage(int other) {
    requireOpen();
    return !buffered().empty() || await(other, true);
}

Channel::Received Channel::receive(bool heedsStop) {
    requireOpen();
    heedsStop_ = heedsStop;
    require(headSize);
    const auto head = headOf(take(headSize));
    if (!head) endMalformed();
    if (head->kind == Kind::document) return readDocument(head->length);
    if (head->length > longestCall) endMalformed();
    require(head->length);
    const std::string_view content = take(head->length);
    if (head->kind != Kind::farewell) return {head->kind, content, {}, {}};
    try {
        MessageReader reader(content);
        const auto status = static_cast<Status>(reader.number());
        const bool isRefusal = status == Status::serverRefused;
        lose(ToldFailure(isRefusal ? status : Status::serverLost, reader.text()));
    } catch (const MessageReader::Malformed &) {
        endMalformed();
    }
}

/** Memory is taken for what has come, whatever its length is said to be. */
Channel::Received Channel::readDocument(std::size_t length) {
    constexpr std::size_t stateSize = 16;
    if (length < stateSize || length - stateSize >= maxExportLength) endMalformed();
    require(stateSize);
    MessageReader reader(take(stateSize));
    Received received;
    received.kind = Kind::document;
    received.state = readState(reader);
    DocumentSink sink(maxExportLength);
    for (std::size_t left = length - stateSize; left > 0;) {
        require(1);
        const std::string_view piece = take(std::min(left, buffered().size()));
        sink.write(piece);
        left -= piece.size();
    }
    received.document = sink.take();
    return received;
}

}  // namespace zdbs::remote
