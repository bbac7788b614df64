#include "zdbs/answers/excerpts.h"

#include <utility>

#include "zdbs/base/utf8.h"

namespace zdbs {

namespace {

/** Ends the telling of a node whose excerpt is full, and of which there is much more. */
struct Enough {};

/** Bytes behind an excerpt that are told in vain rather than beginning anew behind their node. */
constexpr std::size_t mostPassedOver = std::size_t{64} * 1024;

/** Puts together what XPath takes for the value of a node. */
class ExcerptMaker final : public FragmentVisitor, public NodeEvents {
public:
    explicit ExcerptMaker(std::size_t most) : most_(most) {}

    NodeEvents &beginFragment(RecordId record, std::string_view, std::string_view) override {
        last_ = record;
        excerpt_ = &excerpts_[record];
        left_ = most_;
        depth_ = 0;
        passedOver_ = 0;
        return *this;
    }
    void endFragment() override {}

    void startElement(const NumberedName &) override { ++depth_; }
    void namespaceDeclaration(std::string_view, std::string_view) override {}
    void endElement() override { --depth_; }

    void attribute(const NumberedName &, std::string_view value,
                   std::span<const HitRange> hits) override {
        if (depth_ == 0) take(value, hits);
    }
    void text(std::string_view value, std::span<const HitRange> hits) override {
        take(value, hits);
    }
    void comment(std::string_view value) override {
        if (depth_ == 0) take(value, unmarked);
    }
    void processingInstruction(std::string_view, std::string_view value) override {
        if (depth_ == 0) take(value, unmarked);
    }

    RecordId last() const { return last_; }
    Excerpts result() && { return std::move(excerpts_); }

private:
    void take(std::string_view value, std::span<const HitRange> hits) {
        std::size_t done = 0;
        for (const HitRange &hit : hits) {
            add(value.substr(done, hit.offset - done), false);
            add(value.substr(hit.offset, hit.length), true);
            done = hit.offset + hit.length;
        }
        add(value.substr(done), false);
    }

    void add(std::string_view text, bool isHit) {
        if (text.empty()) return;
        if (excerpt_->isCut) return passOver(text.size());
        const std::string_view fits = cutUtf8(text, left_);
        excerpt_->isCut = fits.size() < text.size();
        if (fits.empty()) return;
        std::vector<std::string> &pieces = excerpt_->pieces;
        const bool isLastHit = pieces.size() % 2 == 0;
        if (isHit != isLastHit) pieces.emplace_back();
        pieces.back() += fits;
        left_ -= fits.size();
    }

    void passOver(std::size_t bytes) {
        passedOver_ += bytes;
        if (passedOver_ > mostPassedOver) throw Enough();
    }

    std::size_t most_;
    Excerpts excerpts_;
    RecordId last_ = 0;
    Excerpt *excerpt_ = nullptr;  ///< of the last record
    std::size_t left_ = 0;        ///< bytes that it may take
    std::size_t depth_ = 0;
    std::size_t passedOver_ = 0;
};

ResultSetPtr behind(const OpenDatabase &database, const ResultSetPtr &nodes, RecordId last) {
    Conjunct terms;
    terms.push_back({false, SetReference{1, 0}});
    terms.push_back({false, FieldTerm{Field::id, Relation::greater, std::to_string(last)}});
    Condition condition;
    condition.conjuncts.push_back(std::move(terms));
    return database.evaluate(condition, [&](SetReference) { return nodes; });
}

}  // namespace

Excerpts excerptsOf(const OpenDatabase &database, ResultSetPtr nodes,
                    std::span<const ResultSetPtr> marked, std::size_t most) {
    const FragmentSpec itself{FragmentPath{}};
    ExcerptMaker maker(most);
    while (nodes->size() > 0) {
        try {
            database.fragments(*nodes, {&itself, 1}, marked, maker);
            break;
        } catch (const Enough &) {
            nodes = behind(database, nodes, maker.last());
        }
    }
    return std::move(maker).result();
}

void addExcerpt(JsonWriter &json, const Excerpt &excerpt) {
    json.key("excerpt").beginObject().key("pieces").beginArray();
    for (const std::string &piece : excerpt.pieces)
        json.value(piece);
    json.endArray().key("isCut").value(excerpt.isCut).endObject();
}

}  // namespace zdbs
