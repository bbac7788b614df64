#include "tests/exhaustive/both_sets.h"

#include <sstream>
#include <utility>

namespace exhaustive {

using zdbs::Axis;
using zdbs::ResultSetPtr;
using zdbs::embedded::Direction;
using zdbs::embedded::PositionTest;

namespace {

constexpr const char *operators[] = {"=", "<>", "<", "<=", ">", ">="};

}  // namespace

BothSets::BothSets(const MaskForest &forest, const zdbs::OpenDatabase &database)
    : forest_(forest), kernel_(forest, database), naive_(forest) {
    sets_.push_back(nullptr);
    made_.push_back({Operation::plain});
}

std::size_t BothSets::plain(Mask nodes) {
    return keep(kernel_.plain(nodes), naive_.plain(nodes), {Operation::plain});
}

std::size_t BothSets::join(Axis axis, std::size_t a, std::size_t b, Direction direction) {
    return keep(kernel_.join(axis, sets_[a], sets_[b], direction),
                naive_.join(axis, a, b, direction), {Operation::join, a, b, axis, direction});
}

std::size_t BothSets::select(std::size_t set, PositionTest test) {
    return keep(kernel_.select(sets_[set], test), naive_.select(set, test),
                {Operation::select, set, set, Axis::self, Direction::first, test});
}

std::size_t BothSets::intersect(std::size_t a, std::size_t b) {
    return keep(kernel_.intersect(sets_[a], sets_[b]), naive_.intersect(a, b),
                {Operation::intersect, a, b});
}

std::size_t BothSets::subtract(std::size_t a, std::size_t b) {
    return keep(kernel_.subtract(sets_[a], sets_[b]), naive_.subtract(a, b),
                {Operation::subtract, a, b});
}

std::size_t BothSets::unite(std::size_t a, std::size_t b) {
    return keep(kernel_.unite(sets_[a], sets_[b]), naive_.unite(a, b), {Operation::unite, a, b});
}

void BothSets::truncate(std::size_t size) {
    for (std::size_t number = sets_.size(); pending_ > 0; --pending_)
        compare(--number);
    naive_.truncate(size);
    sets_.resize(size);
    made_.erase(made_.begin() + static_cast<std::ptrdiff_t>(size), made_.end());
}

std::size_t BothSets::keep(ResultSetPtr set, std::size_t number, const Made &made) {
    sets_.push_back(std::move(set));
    made_.push_back(made);
    if (comparing_ == Comparing::atOnce) {
        compare(number);
    } else {
        ++pending_;
    }
    return number;
}

void BothSets::compare(std::size_t number) {
    if (made_[number].operation != Operation::plain) ++compared_;
    const Mask found = kernel_.maskOf(*sets_[number]);
    if (found == naive_.nodes(number) || !fault_.empty()) return;
    fault_ = story() + "\nS" + std::to_string(number) + " should be " +
             forest_.shown(naive_.nodes(number));
}

std::string BothSets::shown(const Made &made) {
    std::ostringstream text;
    switch (made.operation) {
        case Operation::plain:
            text << "nodes";
            break;
        case Operation::join:
            text << "XPATH(" << zdbs::nameOf(made.axis) << "," << made.a << "," << made.b << ","
                 << static_cast<int>(made.direction) << ")";
            break;
        case Operation::select:
            text << "position in " << made.a << " "
                 << operators[static_cast<std::size_t>(made.test.relation)] << made.test.place;
            break;
        case Operation::intersect:
            text << made.a << " AND " << made.b;
            break;
        case Operation::subtract:
            text << made.a << " NOT " << made.b;
            break;
        case Operation::unite:
            text << made.a << " OR " << made.b;
            break;
    }
    return text.str();
}

std::string BothSets::story() const {
    std::string text;
    for (std::size_t number = 1; number < sets_.size(); ++number) {
        const Mask nodes = kernel_.maskOf(*sets_[number]);
        text += "S" + std::to_string(number) + " = " + shown(made_[number]) + ": ";
        text += nodes == KernelSets::wrongSet ? "no set of nodes" : forest_.shown(nodes);
        if (number + 1 < sets_.size()) text += "\n";
    }
    return text;
}

}  // namespace exhaustive
