/** Texts between a character set and UTF-8. */
#ifndef ZDBS_BOUNDARY_CHARSET_H
#define ZDBS_BOUNDARY_CHARSET_H

#include <cstddef>
#include <string>
#include <string_view>

namespace zdbs {

/**
 * A character set by name. In UTF-8 and US-ASCII, and in one that ICU does not know,
 * bytes are taken as they are; in others what cannot be converted is replaced.
 */
class Charset {
public:
    explicit Charset(const char *name);

    /**
     * The set of the process: ICU's default, which is that of the locale that the program
     * has set. Where ICU is built to take UTF-8 for the default whatever the locale says,
     * the locale is asked; the plain locale "C" means UTF-8 then. Valid until the thread asks
     * again.
     */
    static const Charset &ofProcess();

    /** Whether texts are UTF-8 already. */
    bool isTransparent() const { return isTransparent_; }

    std::string toUtf8(std::string_view text) const;

    /** A UTF-8 text in this set, cut between characters to `size` bytes. */
    std::string fromUtf8(std::string_view text, std::size_t size) const;

private:
    std::string name_;
    bool isTransparent_;
};

}  // namespace zdbs

#endif
