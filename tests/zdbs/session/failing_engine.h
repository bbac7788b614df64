/** An engine whose calls fail when tests say so. */
#ifndef TESTS_ZDBS_SESSION_FAILING_ENGINE_H
#define TESTS_ZDBS_SESSION_FAILING_ENGINE_H

#include <memory>
#include <string>
#include <vector>

#include "zdbs/base/status.h"
#include "zdbs/engine/engine.h"

namespace zdbs::testing {

/** What fails. */
enum class Failing { nothing, evaluate, size, hits, refresh };

inline void failIf(bool fails) {
    if (fails) throw Failure(Status::homeDamaged, {"a place", "a test says so"});
}

/** Ten records and twelve hits. What was told once is known. */
class FailingSet : public ResultSet {
public:
    explicit FailingSet(const Failing &failing) : failing_(failing) {}

    std::int64_t size() const override {
        failIf(!sizeIsKnown_ && failing_ == Failing::size);
        sizeIsKnown_ = true;
        return 10;
    }

    std::int64_t hits() const override {
        failIf(!hitsAreKnown_ && failing_ == Failing::hits);
        hitsAreKnown_ = true;
        return 12;
    }

private:
    const Failing &failing_;
    mutable bool sizeIsKnown_ = false;
    mutable bool hitsAreKnown_ = false;
};

class FailingDatabase : public OpenDatabase {
public:
    FailingDatabase(std::string name, const Failing &failing)
        : name_(std::move(name)), failing_(failing) {}

    const std::string &name() const override { return name_; }
    std::uint64_t state() const override { return 1; }
    void refresh(std::span<ResultSetPtr>) override { failIf(failing_ == Failing::refresh); }
    ResultSetPtr everything() const override { return newSet(); }
    std::unique_ptr<NodeTree> tree() const override { return nullptr; }
    ResultSetPtr evaluate(const Condition &, const SetLookup &) const override { return newSet(); }
    std::string plan(const ResultSet &) const override { return {}; }
    RecordId record(const ResultSet &, std::int64_t) const override { return 1; }
    std::unique_ptr<RecordCursor> records(const ResultSet &) const override { return nullptr; }
    std::unique_ptr<RecordDescriber> describer(FactsWanted) const override { return nullptr; }
    std::vector<HitWord> hitWords(const ResultSet &, RecordId) const override { return {{}}; }
    void fragments(const ResultSet &, std::span<const FragmentSpec>, std::span<const ResultSetPtr>,
                   FragmentVisitor &) const override {}

private:
    ResultSetPtr newSet() const {
        failIf(failing_ == Failing::evaluate);
        return std::make_shared<FailingSet>(failing_);
    }

    std::string name_;
    const Failing &failing_;
};

/** Has every database for everybody. `failing` must outlive what it opens. */
class FailingEngine : public Engine {
public:
    Failing failing = Failing::nothing;

    bool authenticate(std::string_view, std::string_view) const override { return true; }
    bool hasDatabase(std::string_view, std::string_view) const override { return true; }
    std::unique_ptr<OpenDatabase> open(std::string_view, std::string_view database) const override {
        return std::make_unique<FailingDatabase>(std::string(database), failing);
    }
};

}  // namespace zdbs::testing

#endif
