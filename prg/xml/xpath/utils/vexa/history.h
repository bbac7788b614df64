#ifndef PRG_XML_XPATH_UTILS_VEXA_HISTORY_H
#define PRG_XML_XPATH_UTILS_VEXA_HISTORY_H

#include <string>
#include <vector>

/**
 * Lines that were typed, the oldest first, each once, in a file that only its owner may read:
 * $XDG_STATE_HOME/vexa/history, with ~/.local/state where that is not set. In the file they are
 * UTF-8. At most 1000 lines and 256 KB; a line of more than 16 KB is not kept.
 *
 * Nothing is kept, and nothing said, where the file cannot be read or written. Sessions that run at
 * the same time all keep theirs.
 */
class LineHistory {
public:
    LineHistory();

    /** Keeps a line, and takes up what other sessions have kept meanwhile. */
    void add(const std::wstring &line);

    const std::vector<std::wstring> &lines() const { return lines_; }

private:
    void read();
    void keep(const std::wstring &line);
    void bound();
    void write() const;

    std::string path_;  // empty: none
    std::vector<std::wstring> lines_;
};

#endif
