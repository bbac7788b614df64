/** A growing stretch of bytes. */
#ifndef ZDBS_EMBEDDED_COLUMNS_BYTE_BUFFER_H
#define ZDBS_EMBEDDED_COLUMNS_BYTE_BUFFER_H

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

namespace zdbs::embedded {

/**
 * Bytes one behind the other, as std::string has them, but grown by realloc(), which moves many
 * megabytes by turning over their pages instead of copying them.
 */
class ByteBuffer {
public:
    void append(std::string_view bytes) {
        if (capacity_ - size_ < bytes.size()) grow(bytes.size());
        if (!bytes.empty()) std::memcpy(data_.get() + size_, bytes.data(), bytes.size());
        size_ += bytes.size();
    }

    /** REQUIRES size <= this->size(). */
    void truncate(std::size_t size) { size_ = size; }

    std::size_t size() const { return size_; }

    /** Valid until bytes are appended. */
    std::string_view view() const { return {data_.get(), size_}; }

private:
    struct Free {
        void operator()(char *bytes) const { std::free(bytes); }
    };

    void grow(std::size_t more) {
        std::size_t capacity = (size_ + more) * 2;
        void *grown = std::realloc(data_.get(), capacity);
        if (grown == nullptr) throw std::bad_alloc();
        // The old bytes are gone already, or are these.
        static_cast<void>(data_.release());
        data_.reset(static_cast<char *>(grown));
        capacity_ = capacity;
    }

    std::unique_ptr<char, Free> data_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace zdbs::embedded

#endif
