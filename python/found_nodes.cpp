#include "python/found_nodes.h"

#include <algorithm>
#include <utility>

#include "zdbs/base/sink.h"
#include "zdbs/export/export_document.h"
#include "zdbs/export/xml_writer.h"

namespace zdbs::python {

namespace {

constexpr std::size_t batchSize = 256;
constexpr std::size_t textAhead = std::size_t{64} * 1024;

/** Ends the telling of fragments: what was told is enough. */
struct Enough {};

FactsWanted wantedFor(Fact fact) {
    FactsWanted wanted;
    wanted.document = fact == Fact::document;
    wanted.path = fact == Fact::path;
    wanted.value = fact == Fact::value;
    return wanted;
}

std::string_view pickedFrom(const RecordFacts &facts, Fact fact) {
    if (fact == Fact::document) return facts.document;
    return fact == Fact::path ? facts.path : facts.value;
}

/** Writes the fragment of each record into a text of its own. */
class FragmentTexts final : public FragmentVisitor {
public:
    FragmentTexts(std::size_t place, std::vector<std::optional<std::string>> &texts)
        : place_(place), texts_(texts) {}

    NodeEvents &beginFragment(RecordId /*record*/, std::string_view /*document*/,
                              std::string_view path) override {
        isAttribute_ = path.substr(path.rfind('/') + 1).starts_with('@');
        return writer_;
    }

    void endFragment() override {
        if (isAttribute_) text_.insert(text_.find_first_of(" >"), declaration());
        length_ += text_.size();
        texts_[place_++] = std::exchange(text_, {});
        if (length_ > textAhead) throw Enough();
    }

private:
    /** What stands for an attribute is named by a prefix that an export document declares. */
    static std::string declaration() {
        return " xmlns:" + std::string(exportPrefix) + "=\"" + std::string(exportNamespace) + '"';
    }

    std::size_t place_;
    std::vector<std::optional<std::string>> &texts_;
    std::string text_;
    StringSink sink_{text_};
    XmlWriter writer_{sink_, {std::string(exportPrefix), std::string(exportNamespace)}};
    bool isAttribute_ = false;
    std::size_t length_ = 0;
};

}  // namespace

NodeBatch::NodeBatch(DatabaseStatePtr state, std::vector<RecordId> records)
    : state_(std::move(state)), records_(std::move(records)) {}

std::string NodeBatch::text(Fact fact, std::size_t place) {
    const Turn turn = state_->turn();
    Texts &texts = texts_[static_cast<std::size_t>(fact)];
    texts.resize(size());
    if (!texts[place]) {
        if (fact == Fact::xml) {
            write(place, texts);
        } else {
            describe(fact, place, texts);
        }
    }
    return *texts[place];
}

void NodeBatch::describe(Fact fact, std::size_t place, Texts &texts) const {
    const auto describer = state_->database().describer(wantedFor(fact));
    for (std::size_t length = 0; place < size() && length <= textAhead; ++place) {
        texts[place] = pickedFrom(describer->of(records_[place]), fact);
        length += texts[place]->size();
    }
}

void NodeBatch::write(std::size_t place, Texts &texts) const {
    const auto rest = std::span(records_).subspan(place);
    const ResultSetPtr set = state_->collection().tree().listed(rest);
    const std::vector<FragmentSpec> itself = {FragmentSpec{FragmentPath{}}};
    FragmentTexts visitor(place, texts);
    try {
        state_->database().fragments(*set, itself, {}, visitor);
    } catch (const Enough &) {
    }
}

FoundNodes::FoundNodes(DatabaseStatePtr state, ResultSetPtr set)
    : state_(std::move(state)), set_(std::move(set)) {}

FoundNode FoundNodes::at(std::uint64_t place) const {
    const Turn turn = state_->turn();
    const auto ordinal = static_cast<std::int64_t>(place) + 1;
    std::vector<RecordId> record = {state_->database().record(*set_, ordinal)};
    return {std::make_shared<NodeBatch>(state_, std::move(record)), 0};
}

FoundNodes FoundNodes::part(std::uint64_t from, std::uint64_t count) const {
    const Turn turn = state_->turn();
    const RequestAnswer whole{state_->database(), set_, {}};
    ResultSetPtr part = excerpt(whole, from, count);
    part->size();
    return {state_, std::move(part)};
}

std::optional<FoundNode> NodeIterator::next() {
    const Turn turn = nodes_.state_->turn();
    if (!isReady()) refill();
    if (!isReady()) return std::nullopt;
    return FoundNode{batch_, next_++};
}

void NodeIterator::refill() {
    if (!cursor_) cursor_ = nodes_.state_->database().records(*nodes_.set_);
    if (ahead_.empty()) ahead_ = cursor_->next();
    const auto taken = ahead_.first(std::min(ahead_.size(), batchSize));
    ahead_ = ahead_.subspan(taken.size());
    batch_ = std::make_shared<NodeBatch>(nodes_.state_, std::vector(taken.begin(), taken.end()));
    next_ = 0;
}

}  // namespace zdbs::python
