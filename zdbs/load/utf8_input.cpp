#include "zdbs/load/utf8_input.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>

#include "zdbs/base/status.h"

namespace zdbs {

namespace {

constexpr std::size_t bytesAtOnce = std::size_t{64} * 1024;
constexpr std::size_t unitsAtOnce = std::size_t{64} * 1024;

std::string hexadecimal(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += {' ', digits[value >> 4], digits[value & 15]};
    }
    return text;
}

}  // namespace

Utf8Input::Utf8Input(Input &input, std::string_view file)
    : input_(input), file_(file), bytes_(longestDeclaration) {
    readBeginning();
    const std::string_view beginning(bytes_.data(), bytesEnd_);
    if (bytesEnd_ >= longestDeclaration && needsMore(beginning))
        throw Failure(Status::malformed,
                      {file_ + ":1:1", "its XML declaration does not end within " +
                                           std::to_string(longestDeclaration) + " bytes"});
    encoding_ = findEncoding(beginning, file_);
    bytesBegin_ = encoding_.markLength;
    if (!encoding_.converter) return;
    bytes_.resize(bytesAtOnce);
    units_.resize(unitsAtOnce);
}

// No more than it takes: who writes a document into a pipe may wait for an answer.
void Utf8Input::readBeginning() {
    while (bytesEnd_ < longestDeclaration && !inputEnded_ && needsMore({bytes_.data(), bytesEnd_}))
        bytesEnd_ += readInput(std::span(bytes_).subspan(bytesEnd_));
}

std::size_t Utf8Input::readInput(std::span<char> buffer) {
    if (inputEnded_) return 0;
    const std::size_t size = input_.read(buffer);
    inputEnded_ = size == 0;
    size_ += size;
    return size;
}

std::size_t Utf8Input::read(std::span<char> buffer) {
    assert(buffer.size() >= U8_MAX_LENGTH);
    if (!encoding_.converter) return takeBytes(buffer);
    for (;;) {
        if (const std::size_t size = toUtf8(buffer)) return size;
        if (isDamaged_) throwMalformed();
        if (isDecoded_) return 0;
        toUnits();
    }
}

// As they are: those of the beginning first, and then the input's without a detour.
std::size_t Utf8Input::takeBytes(std::span<char> buffer) {
    const std::size_t size = std::min(bytesEnd_ - bytesBegin_, buffer.size());
    if (size == 0) return readInput(buffer);
    std::memcpy(buffer.data(), bytes_.data() + bytesBegin_, size);
    bytesBegin_ += size;
    return size;
}

// A first half of a pair may be left over from the last time.
void Utf8Input::toUnits() {
    std::copy(units_.begin() + static_cast<std::ptrdiff_t>(unitsBegin_),
              units_.begin() + static_cast<std::ptrdiff_t>(unitsEnd_), units_.begin());
    unitsEnd_ -= unitsBegin_;
    unitsBegin_ = 0;
    if (bytesBegin_ == bytesEnd_) {
        bytesBegin_ = 0;
        bytesEnd_ = readInput(bytes_);
    }
    const char *source = bytes_.data() + bytesBegin_;
    char16_t *target = units_.data() + unitsEnd_;
    UErrorCode error = U_ZERO_ERROR;
    UConverter *converter = encoding_.converter.get();
    ::ucnv_toUnicode(converter, &target, units_.data() + units_.size(), &source,
                     bytes_.data() + bytesEnd_, nullptr, inputEnded_, &error);
    bytesBegin_ = static_cast<std::size_t>(source - bytes_.data());
    unitsEnd_ = static_cast<std::size_t>(target - units_.data());
    if (error == U_BUFFER_OVERFLOW_ERROR) return;
    isDamaged_ = U_FAILURE(error);
    isDecoded_ = isDamaged_ || inputEnded_;
    if (!isDamaged_) return;
    std::array<char, 16> bad;
    auto length = static_cast<std::int8_t>(bad.size());
    UErrorCode ignored = U_ZERO_ERROR;
    ::ucnv_getInvalidChars(converter, bad.data(), &length, &ignored);
    if (U_SUCCESS(ignored)) badBytes_.assign(bad.data(), static_cast<std::size_t>(length));
}

std::size_t Utf8Input::toUtf8(std::span<char> buffer) {
    std::size_t size = 0;
    while (unitsBegin_ < unitsEnd_ && size + U8_MAX_LENGTH <= buffer.size()) {
        UChar32 code = 0;
        std::size_t next = unitsBegin_;
        U16_NEXT(units_, next, unitsEnd_, code);
        if (U_IS_SURROGATE(code)) {
            if (next == unitsEnd_ && !isDecoded_) break;  // its other half is to come
            isDamaged_ = isDecoded_ = true;
            break;
        }
        U8_APPEND_UNSAFE(buffer, size, code);
        unitsBegin_ = next;
    }
    place_.pass({buffer.data(), size});
    return size;
}

void Utf8Input::throwMalformed() const {
    const bool isOneByte = badBytes_.size() == 1;
    std::string reason = "bytes";
    if (!badBytes_.empty())
        reason = (isOneByte ? "the byte" : "the bytes") + hexadecimal(badBytes_);
    reason += std::string(isOneByte ? " is" : " are") + " no character of " + encoding_.name;
    throw Failure(Status::malformed, {file_ + ':' + place_.text(), reason});
}

}  // namespace zdbs
