#include "zdbs/xpath/text_search.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "zdbs/xpath/characters.h"

namespace zdbs::xpath {
namespace {

constexpr std::size_t longestPiece = 12;                   ///< characters
constexpr std::size_t readAtOnce = std::size_t{1} << 18U;  ///< texts

/** Texts that follow each other; something may begin in those before `lastBegin`. */
struct Run {
    std::size_t begin;
    std::size_t end;
    std::size_t lastBegin;
};

/** Where a text begins in one text and ends in a later one, the nearest for each; both ascend. */
struct Crossings {
    Nodes begins;
    Nodes ends;
};

NodeSet textsBelow(const Collection &collection, const NodeSet &containers) {
    return collection.reached(containers, Axis::descendant, {.kind = NodeTest::Kind::text});
}

/** Where characters begin, and the end. */
std::vector<std::size_t> charactersOf(std::string_view text) {
    std::vector<std::size_t> places;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if ((static_cast<unsigned char>(text[at]) & 0xC0U) != 0x80U) places.push_back(at);
    }
    places.push_back(text.size());
    return places;
}

/**
 * A piece from the middle of a text, and its halves. Where the text lies across several others, one
 * of them has one of the halves, or the one that has the last character of the first half has
 * neither the first nor the last one of the piece, so that it is a part of it.
 */
class Piece {
public:
    /** @param characters of the text; REQUIRES that they are four or more */
    Piece(std::string_view text, std::span<const std::size_t> characters)
        : text_(text), characters_(characters) {
        const std::size_t length = characters.size() - 1;
        const std::size_t size = std::min(length, longestPiece);
        begin_ = (length - size) / 2;
        end_ = begin_ + size;
        half_ = begin_ + size / 2;
        for (std::size_t off = 0; off + 2 <= size / 2; ++off) {
            for (const std::size_t place : {begin_ + size / 2 + off, begin_ + size / 2 - off}) {
                if (isInWord(place)) {
                    half_ = place;
                    return;
                }
            }
        }
    }

    /** What one of the texts passes. */
    std::vector<ValuePattern> patterns() const {
        std::vector<ValuePattern> patterns = {{Relation::contains, part(begin_, half_)},
                                              {Relation::contains, part(half_, end_)}};
        for (std::size_t begin = begin_ + 1; begin < half_; ++begin) {
            for (std::size_t end = half_; end < end_; ++end)
                patterns.push_back({Relation::equal, part(begin, end)});
        }
        return patterns;
    }

    /** Whether one that passes begins the text or ends it with its half, or lies in it. */
    bool mayBeOf(std::string_view value) const {
        const std::string_view text = text_;
        for (std::size_t place = half_; place < characters_.size() - 1; ++place) {
            if (value.ends_with(text.substr(0, characters_[place]))) return true;
        }
        for (std::size_t place = 1; place <= half_; ++place) {
            if (value.starts_with(text.substr(characters_[place]))) return true;
        }
        return text.find(value) != std::string_view::npos;
    }

private:
    /** Many a text between elements is white space alone. */
    bool isInWord(std::size_t place) const {
        return !isSpace(text_[characters_[place - 1]]) && !isSpace(text_[characters_[place]]);
    }

    std::string part(std::size_t begin, std::size_t end) const {
        return std::string(text_.substr(characters_[begin], characters_[end] - characters_[begin]));
    }

    std::string_view text_;
    std::span<const std::size_t> characters_;
    std::size_t begin_;
    std::size_t half_;
    std::size_t end_;
};

/**
 * Those of the texts that may be one of several that a piece lies across; nothing where it is as
 * well to look at all.
 */
std::optional<Nodes> havingPiece(const Collection &collection, const NodeSet &texts,
                                 const Piece &piece) {
    NodeSet having = collection.none();
    for (const ValuePattern &pattern : piece.patterns()) {
        having.nodes = collection.tree().united(
            *having.nodes, *collection.tree().withValue(*texts.nodes, pattern));
    }
    if (collection.sizeOf(having) > collection.sizeOf(texts) / 4) return std::nullopt;
    const Nodes nodes = collection.nodesOf(having);
    const std::vector<std::string_view> values = collection.tree().values(*having.nodes);
    Nodes left;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (piece.mayBeOf(values[i])) left.push_back(nodes[i]);
    }
    return left;
}

/** Looks for a text across the borders of others. */
class AcrossTexts {
public:
    /** @param reach in how many texts before and behind one it can lie, too: each has a character
     */
    AcrossTexts(const Collection &collection, const NodeSet &texts, const std::string &text,
                std::size_t reach)
        : collection_(collection),
          texts_(texts),
          all_(collection.nodesOf(texts)),
          text_(text),
          reach_(reach) {}

    Crossings everywhere() {
        for (std::size_t begin = 0; begin < all_.size(); begin += readAtOnce) {
            const std::size_t lastBegin = begin + std::min(all_.size() - begin, readAtOnce);
            const std::size_t end = lastBegin + std::min(all_.size() - lastBegin, reach_);
            const Run run{begin, end, lastBegin};
            search({&run, 1}, nullptr);
        }
        return std::move(found_);
    }

    /** Where some of the texts have a part of it. */
    Crossings around(const Nodes &some) {
        std::vector<Run> runs;
        for (const Node node : some) {
            const std::size_t place = placeIn(all_, node);
            if (place < all_.size()) addAround({place, place + 1, place + 1}, 1, runs);
        }
        std::vector<Run> longer;
        searchInBatches(runs, &longer);
        if (longer.empty()) return std::move(found_);
        searchInBatches(longer, nullptr);
        return inOrder();
    }

private:
    /** With so many texts more on both sides. */
    void addAround(const Run &run, std::size_t reach, std::vector<Run> &runs) const {
        const std::size_t begin = run.begin - std::min(run.begin, reach);
        const std::size_t end = run.end + std::min(all_.size() - run.end, reach);
        if (runs.empty() || begin > runs.back().end) runs.push_back({begin, begin, begin});
        runs.back().end = runs.back().lastBegin = end;
    }

    void searchInBatches(const std::vector<Run> &runs, std::vector<Run> *longer) {
        for (std::size_t first = 0, last = 0; first < runs.size(); first = last) {
            std::size_t texts = 0;
            for (; last < runs.size() && texts < readAtOnce; ++last)
                texts += runs[last].end - runs[last].begin;
            search({runs.data() + first, last - first}, longer);
        }
    }

    /** Those that it may go beyond are added to `longer` ones, if there are to be any. */
    void search(std::span<const Run> runs, std::vector<Run> *longer) {
        Nodes read;
        for (const Run &run : runs)
            read.insert(read.end(), all_.begin() + static_cast<std::ptrdiff_t>(run.begin),
                        all_.begin() + static_cast<std::ptrdiff_t>(run.end));
        const NodeSet set = collection_.picked(texts_, read);
        const std::vector<std::string_view> values = collection_.tree().values(*set.nodes);
        std::size_t first = 0;
        for (const Run &run : runs) {
            const auto ofRun = std::span(values).subspan(first, run.end - run.begin);
            first += ofRun.size();
            if (longer && goesBeyond(run, ofRun)) {
                addAround(run, reach_, *longer);
            } else {
                search(run, ofRun);
            }
        }
    }

    /** Whether what has a part between the ends of a run may begin before or end behind it. */
    bool goesBeyond(const Run &run, std::span<const std::string_view> values) const {
        const std::size_t enough = text_.size() - 1;
        return (run.begin > 0 && values.front().size() < enough) ||
               (run.end < all_.size() && values.back().size() < enough);
    }

    void search(const Run &run, std::span<const std::string_view> values) {
        std::string window;
        for (std::size_t begin = 0; begin < run.lastBegin - run.begin; ++begin) {
            const std::string_view value = values[begin];
            const std::string_view tail =
                value.substr(value.size() - std::min(value.size(), text_.size() - 1));
            if (tail.find(text_.front()) == std::string_view::npos) continue;
            window = tail;
            const std::size_t most = tail.size() + text_.size() - 1;
            for (std::size_t next = begin + 1; next < values.size() && window.size() < most; ++next)
                window += values[next].substr(0, most - window.size());
            const std::size_t at = window.find(text_);
            if (at == std::string::npos) continue;
            std::size_t left = at + text_.size() - tail.size();
            std::size_t end = begin + 1;
            for (; values[end].size() < left; ++end)
                left -= values[end].size();
            found_.begins.push_back(all_[run.begin + begin]);
            found_.ends.push_back(all_[run.begin + end]);
        }
    }

    /** Longer runs come behind the others, and may have some of theirs, too. */
    Crossings inOrder() const {
        std::map<Node, Node> endOf;
        for (std::size_t i = 0; i < found_.begins.size(); ++i)
            endOf.emplace(found_.begins[i], found_.ends[i]);
        Crossings sorted;
        for (const auto &[begin, end] : endOf) {
            sorted.begins.push_back(begin);
            sorted.ends.push_back(end);
        }
        return sorted;
    }

    const Collection &collection_;
    const NodeSet &texts_;
    const Nodes all_;
    const std::string &text_;
    const std::size_t reach_;
    Crossings found_;
};

/** Those of a set that have a beginning and its end below them. */
NodeSet around(const Collection &collection, const NodeSet &containers, const NodeSet &texts,
               const Crossings &crossings) {
    const NodeSet above = collection.leading(containers, Axis::descendant,
                                             collection.picked(texts, crossings.begins));
    const Nodes nodes = collection.nodesOf(above);
    const Nodes ends = collection.ends(nodes, above);
    Nodes left;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (crossings.ends[placeIn(crossings.begins, nodes[i])] <= ends[i])
            left.push_back(nodes[i]);
    }
    return collection.picked(above, left);
}

}  // namespace

NodeSet containing(const Collection &collection, const NodeSet &containers, const std::string &text,
                   std::size_t many) {
    NodeSet texts = textsBelow(collection, containers);
    const NodeSet having{collection.tree().withValue(*texts.nodes, {Relation::contains, text}), {}};
    const NodeSet within = collection.leading(containers, Axis::descendant, having);
    const std::vector<std::size_t> characters = charactersOf(text);
    const std::size_t length = characters.size() - 1;
    if (length < 2) return within;
    NodeSet others = collection.without(containers, within);
    constexpr std::size_t shortest = 4;  // pieces of less are almost everywhere
    std::optional<Nodes> some;
    if (collection.sizeOf(texts) > many && length >= shortest)
        some = havingPiece(collection, texts, Piece(text, characters));
    if (some)
        others = collection.leading(others, Axis::descendant, collection.picked(texts, *some));
    if (collection.isEmpty(others)) return within;
    texts = textsBelow(collection, others);
    AcrossTexts across(collection, texts, text, length - 1);
    const Crossings crossings = some ? across.around(*some) : across.everywhere();
    return collection.united(within, around(collection, others, texts, crossings));
}

}  // namespace zdbs::xpath
