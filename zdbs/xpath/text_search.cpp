#include "zdbs/xpath/text_search.h"

#include <algorithm>
#include <string_view>
#include <utility>

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
        half_ = begin_ + size / 2;
        end_ = begin_ + size;
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
    std::string part(std::size_t begin, std::size_t end) const {
        return std::string(text_.substr(characters_[begin], characters_[end] - characters_[begin]));
    }

    std::string_view text_;
    std::span<const std::size_t> characters_;
    std::size_t begin_;
    std::size_t half_;
    std::size_t end_;
};

class AcrossTexts {
public:
    /** @param many texts of which those with pieces are searched, fewer are read as they come */
    AcrossTexts(const Collection &collection, NodeSet texts, const std::string &text,
                std::size_t many)
        : collection_(collection),
          texts_(std::move(texts)),
          all_(collection.nodesOf(texts_)),
          text_(text),
          characters_(charactersOf(text)) {
        constexpr std::size_t shortest = 4;  // pieces of less are almost everywhere
        const std::size_t length = characters_.size() - 1;
        if (length < 2) return;
        if (all_.size() <= many || length < shortest || !searchAroundPieces()) searchEverywhere();
    }

    const Crossings &found() const { return found_; }

private:
    /** In how many texts before and behind one it can lie, too: each has a character. */
    std::size_t reach() const { return characters_.size() - 2; }

    /** False where it is as well to read all. */
    bool searchAroundPieces() {
        const Piece piece(text_, characters_);
        NodeSet having = collection_.none();
        for (const ValuePattern &pattern : piece.patterns()) {
            having.nodes = collection_.tree().united(
                *having.nodes, *collection_.tree().withValue(*texts_.nodes, pattern));
        }
        const std::size_t most = all_.size() / 4;
        if (collection_.sizeOf(having) > most) return false;
        const Nodes nodes = collection_.nodesOf(having);
        const std::vector<std::string_view> values = collection_.tree().values(*having.nodes);
        std::vector<Run> runs;
        std::size_t size = 0;
        for (std::size_t i = 0; i < nodes.size() && size <= most; ++i) {
            if (!piece.mayBeOf(values[i])) continue;
            const std::size_t place = placeIn(all_, nodes[i]);
            const std::size_t begin = place - std::min(place, reach());
            const std::size_t end = place + std::min(all_.size() - place, reach() + 1);
            if (runs.empty() || begin > runs.back().end) runs.push_back({begin, begin, begin});
            size += end - runs.back().end;
            runs.back().end = runs.back().lastBegin = end;
        }
        if (size > most) return false;
        for (std::size_t first = 0, last = 0; first < runs.size(); first = last) {
            std::size_t texts = 0;
            for (; last < runs.size() && texts < readAtOnce; ++last)
                texts += runs[last].end - runs[last].begin;
            search({runs.data() + first, last - first});
        }
        return true;
    }

    void searchEverywhere() {
        for (std::size_t begin = 0; begin < all_.size(); begin += readAtOnce) {
            const std::size_t lastBegin = begin + std::min(all_.size() - begin, readAtOnce);
            const std::size_t end = lastBegin + std::min(all_.size() - lastBegin, reach());
            const Run run{begin, end, lastBegin};
            search({&run, 1});
        }
    }

    void search(std::span<const Run> runs) {
        Nodes read;
        for (const Run &run : runs)
            read.insert(read.end(), all_.begin() + static_cast<std::ptrdiff_t>(run.begin),
                        all_.begin() + static_cast<std::ptrdiff_t>(run.end));
        const NodeSet set = collection_.picked(texts_, read);
        const std::vector<std::string_view> values = collection_.tree().values(*set.nodes);
        std::size_t first = 0;
        for (const Run &run : runs) {
            search(run, std::span(values).subspan(first, run.end - run.begin));
            first += run.end - run.begin;
        }
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

    const Collection &collection_;
    const NodeSet texts_;
    const Nodes all_;
    const std::string &text_;
    const std::vector<std::size_t> characters_;
    Crossings found_;
};

}  // namespace

NodeSet containing(const Collection &collection, const NodeSet &containers, const std::string &text,
                   std::size_t many) {
    const auto textsBelow = [&](const NodeSet &set) {
        return collection.reached(set, Axis::descendant, {.kind = NodeTest::Kind::text});
    };
    const NodeSet holding{
        collection.tree().withValue(*textsBelow(containers).nodes, {Relation::contains, text}), {}};
    const NodeSet within = collection.leading(containers, Axis::descendant, holding);
    const NodeSet others = collection.without(containers, within);
    const NodeSet texts = textsBelow(others);
    const Crossings crossings = AcrossTexts(collection, texts, text, many).found();
    if (crossings.begins.empty()) return within;
    const NodeSet above =
        collection.leading(others, Axis::descendant, collection.picked(texts, crossings.begins));
    const Nodes nodes = collection.nodesOf(above);
    const Nodes ends = collection.ends(nodes, above);
    Nodes around;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (crossings.ends[placeIn(crossings.begins, nodes[i])] <= ends[i])
            around.push_back(nodes[i]);
    }
    return collection.united(within, collection.picked(above, around));
}

}  // namespace zdbs::xpath
