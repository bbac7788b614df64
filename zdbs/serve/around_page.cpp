/** A node in its document, as much of it as a screen shows. */
#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "zdbs/answers/excerpts.h"
#include "zdbs/answers/json.h"
#include "zdbs/answers/request_desk.h"
#include "zdbs/serve/pages.h"
#include "zdbs/serve/problem.h"

namespace zdbs::serve {

namespace {

constexpr std::uint64_t usualExcerpt = 200;

/** N_ID or N_PARENT is a number. */
Condition numberCondition(Field field, RecordId number) {
    Conjunct terms;
    terms.push_back({false, FieldTerm{field, Relation::equal, std::to_string(number)}});
    Condition condition;
    condition.conjuncts.push_back(std::move(terms));
    return condition;
}

/** A node as it is told: where it is among its siblings, and what is in it. */
struct ToldNode {
    RecordId node = 0;
    std::uint64_t place = 0;  ///< among the nodes in its element, from 0; of an attribute too
    std::uint64_t children = 0;
    std::vector<RecordId> attributes = {};
};

/** Finds the elements around a node, and the nodes in one. One state. */
class Surroundings {
public:
    /** It must outlive this. */
    explicit Surroundings(const OpenDatabase &database)
        : database_(database), describer_(database.describer({.document = true, .path = true})) {}

    /** The elements around a node, and itself unless it is an attribute; from the top down. */
    std::vector<ToldNode> lineTo(RecordId node) const {
        const std::unique_ptr<NodeTree> tree = database_.tree();
        std::vector<RecordId> line;
        for (RecordId each = node; each != 0;) {
            if (!isAttribute(each)) line.push_back(each);
            const RecordId one[] = {each};
            each = tree->parents(*tree->listed(one)).front();
        }
        std::vector<ToldNode> told;
        RecordId around = 0;
        for (auto each = line.rbegin(); each != line.rend(); around = *each++)
            told.push_back(toldOf(*each, around == 0 ? 0 : placeOf(*each, around)));
        return told;
    }

    /** The nodes in an element, without its attributes. */
    std::vector<ToldNode> inside(const ToldNode &element, std::uint64_t offset,
                                 std::uint64_t limit) const {
        const ResultSetPtr all = below(element.node);
        const std::uint64_t first = std::min(offset, element.children);
        const std::uint64_t last = first + std::min(limit, element.children - first);
        std::vector<ToldNode> told;
        for (std::uint64_t place = first; place < last; ++place)
            told.push_back(toldOf(at(*all, element.attributes.size() + place), place));
        return told;
    }

    /** As long as nothing else is asked. */
    const RecordFacts &factsOf(RecordId node) const { return describer_->of(node); }

private:
    /** Attributes, and behind them the nodes in an element. */
    ResultSetPtr below(RecordId element) const {
        return database_.evaluate(numberCondition(Field::parent, element), {});
    }

    RecordId at(const ResultSet &nodes, std::uint64_t place) const {
        return database_.record(nodes, static_cast<std::int64_t>(place) + 1);
    }

    bool isAttribute(RecordId node) const {
        const std::string_view path = describer_->of(node).path;
        return path.substr(path.rfind('/') + 1).starts_with('@');
    }

    std::vector<RecordId> attributesIn(const ResultSet &below) const {
        std::vector<RecordId> found;
        const auto size = static_cast<std::uint64_t>(below.size());
        while (found.size() < size && isAttribute(at(below, found.size())))
            found.push_back(at(below, found.size()));
        return found;
    }

    ToldNode toldOf(RecordId node, std::uint64_t place) const {
        const ResultSetPtr inside = below(node);
        ToldNode told{node, place};
        told.attributes = attributesIn(*inside);
        told.children = static_cast<std::uint64_t>(inside->size()) - told.attributes.size();
        return told;
    }

    /** Numbers ascend in document order. */
    std::uint64_t placeOf(RecordId node, RecordId element) const {
        const ResultSetPtr all = below(element);
        std::uint64_t low = attributesIn(*all).size();
        const std::uint64_t first = low;
        for (auto high = static_cast<std::uint64_t>(all->size()); low < high;) {
            const std::uint64_t middle = low + (high - low) / 2;
            if (at(*all, middle) < node)
                low = middle + 1;
            else
                high = middle;
        }
        return low - first;
    }

    const OpenDatabase &database_;
    std::unique_ptr<RecordDescriber> describer_;
};

/** Writes nodes with the beginnings of their values. */
class NodeTeller {
public:
    NodeTeller(JsonWriter &json, const Surroundings &surroundings, Excerpts excerpts)
        : json_(json), surroundings_(surroundings), excerpts_(std::move(excerpts)) {}

    void tell(std::string_view key, const std::vector<ToldNode> &nodes) {
        json_.key(key).beginArray();
        for (const ToldNode &told : nodes) {
            tellPlain(told.node);
            json_.key("place").value(told.place).key("children").value(told.children);
            json_.key("attributes").beginArray();
            for (const RecordId attribute : told.attributes) {
                tellPlain(attribute);
                json_.endObject();
            }
            json_.endArray().endObject();
        }
        json_.endArray();
    }

private:
    void tellPlain(RecordId node) {
        json_.beginObject().key("id").value(node);
        json_.key("path").value(surroundings_.factsOf(node).path);
        addExcerpt(json_, excerpts_.at(node));
    }

    JsonWriter &json_;
    const Surroundings &surroundings_;
    Excerpts excerpts_;
};

ResultSetPtr setOf(const OpenDatabase &database, const std::vector<ToldNode> &line,
                   const std::vector<ToldNode> &inside) {
    std::vector<RecordId> records;
    for (const auto *list : {&line, &inside}) {
        for (const ToldNode &told : *list) {
            records.push_back(told.node);
            records.insert(records.end(), told.attributes.begin(), told.attributes.end());
        }
    }
    std::sort(records.begin(), records.end());
    return database.tree()->listed(records);
}

RecordId nodeOf(const Call &call, const OpenDatabase &database) {
    call.required("node");
    const RecordId node = call.number("node", 0);
    if (database.evaluate(numberCondition(Field::id, node), {})->size() == 0)
        throw Problem(404, "The database has no node of this number.", Status::noSuchRecord);
    return node;
}

}  // namespace

void tellAround(const Call &call) {
    const std::uint64_t longest = call.number("excerpt", usualExcerpt);
    const SessionPool::Lease lease(call.service.sessions, call.database);
    RequestDesk desk(lease.session());
    const OpenDatabase &database = desk.database();
    if (call.isKnown(database.state())) return;
    const RecordId node = nodeOf(call, database);
    std::vector<ResultSetPtr> marked;
    if (const std::string *request = call.parameter("q")) marked = desk.answer(*request).made;
    const std::uint64_t offset = call.number("offset", 0);
    const std::uint64_t limit = call.number("limit", usualLimit);
    const Surroundings surroundings(database);
    const std::vector<ToldNode> line = surroundings.lineTo(node);
    const std::vector<ToldNode> inside = surroundings.inside(line.back(), offset, limit);
    JsonWriter json;
    json.beginObject().key("database").value(call.database);
    json.key("state").value(database.state()).key("node").value(node);
    json.key("document").value(surroundings.factsOf(node).document);
    NodeTeller teller(json, surroundings,
                      excerptsOf(database, setOf(database, line, inside), marked, longest));
    teller.tell("line", line);
    json.key("offset").value(offset).key("limit").value(limit);
    teller.tell("nodes", inside);
    call.reply.send(call.headFor(database.state()), json.endObject().text() + '\n');
}

}  // namespace zdbs::serve
