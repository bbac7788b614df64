/** Running text with marked words, as descriptions and letters have it. */
#ifndef BENCH_GENERATE_PROSE_H
#define BENCH_GENERATE_PROSE_H

#include <cstdint>

#include "bench/generate/document_output.h"
#include "bench/generate/random.h"
#include "bench/generate/vocabulary.h"

namespace bench {

class Prose {
public:
    Prose(DocumentOutput &out, Random &random, const Vocabulary &vocabulary)
        : out_(out), random_(random), vocabulary_(vocabulary) {}

    /** So many words, blanks between them. */
    void words(std::uint32_t count);

    /** The same, each with a capital letter. */
    void names(std::uint32_t count);

    /** A `text` element of about so many words, some in bold, keyword and emph elements. */
    void text(std::uint32_t wordCount);

    /** A `description` of one text or of a `parlist`, whose items may have lists again. */
    void description();

private:
    void marked(int depth);
    void list(int depth);

    DocumentOutput &out_;
    Random &random_;
    const Vocabulary &vocabulary_;
};

}  // namespace bench

#endif
